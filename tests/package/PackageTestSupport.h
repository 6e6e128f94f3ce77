#pragma once
// Helpers for the package tests: a scripted user with a title, and a fresh
// temporary folder (host temp on the native build, the Windows temp folder
// under wine) that is removed afterwards. Paths are handed out in the
// product's form: UTF-8 with "\" between folder and name.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "package/UserInteraction.h"
#include "support/ScriptedUi.h"

namespace kv::test {

struct UiFixture {
  ScriptedUi ui;
  std::string title = "Kivra Setup: Testpaket";
  UiContext Context() { return UiContext{ui, title}; }
};

inline std::filesystem::path HostPath(const std::string& productPath) {
  std::string p = productPath;
#ifndef _WIN32
  for (char& c : p)
    if (c == '\\') c = '/';
#endif
  return std::filesystem::path(std::u8string(p.begin(), p.end()));
}

class TempFolder {
 public:
  TempFolder() {
    static std::atomic<int> counter{0};
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string leaf = "kvpkg-" + std::string(info ? info->name() : "test") + "-" + std::to_string(++counter);
    auto dir = std::filesystem::temp_directory_path() / leaf;
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    auto u8 = dir.u8string();
    path_.assign(u8.begin(), u8.end());
  }
  ~TempFolder() {
    std::error_code ec;
    std::filesystem::remove_all(HostPath(path_), ec);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::string& Path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "\\" + name; }

  std::string Write(const std::string& name, const std::string& bytes) const {
    std::string full = *this / name;
    std::ofstream out(HostPath(full), std::ios::binary);
    out << bytes;
    return full;
  }

 private:
  std::string path_;
};

inline std::string ReadBytes(const std::string& productPath) {
  std::ifstream in(HostPath(productPath), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline bool Exists(const std::string& productPath) { return std::filesystem::exists(HostPath(productPath)); }

}  // namespace kv::test
