#pragma once
// A scripted user with a title, and a temporary folder that hands out paths in
// the product's form (UTF-8, "\" before the name) and is removed afterwards.
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

inline std::filesystem::path HostPath(std::string p) {
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
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();  // unique across programs
    auto dir = std::filesystem::temp_directory_path() /
               ("kvpkg-" + std::string(test ? test->name() : "") + "-" + std::to_string(++counter));
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    auto u8 = dir.u8string();
    path_.assign(u8.begin(), u8.end());
  }
  ~TempFolder() {
    std::error_code ec;
    std::filesystem::remove_all(HostPath(path_), ec);
  }
  const std::string& Path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "\\" + name; }
  std::string Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(HostPath(*this / name), std::ios::binary) << bytes;
    return *this / name;
  }

 private:
  std::string path_;
};

inline std::string ReadBytes(const std::string& path) {
  std::ifstream in(HostPath(path), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

inline bool Exists(const std::string& path) { return std::filesystem::exists(HostPath(path)); }

}  // namespace kv::test
