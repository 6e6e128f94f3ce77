#pragma once
// Shared by the package tests: a scripted user with a title, a temporary folder
// that hands out paths in the product's form (UTF-8, "\" before the name), and
// one-line views of errors, message boxes and structured trees.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "package/CStructuredFile.h"
#include "base/UserInteraction.h"
#include "base/VbError.h"
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
    static int counter = 0;
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();  // unique across programs
    auto dir = std::filesystem::temp_directory_path() / ("kvpkg-" + std::string(test->name()) + std::to_string(++counter));
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    path_ = reinterpret_cast<const char*>(dir.u8string().c_str());
  }
  ~TempFolder() {
    std::error_code ec;  // never throw from here
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

// The error number `action` throws, 0 if none.
inline int32_t ErrorOf(auto&& action) {
  try {
    action();
  } catch (const VbError& e) {
    return e.Number();
  }
  return 0;
}

// Each box as "<icon + buttons>|<title>|<text>", the numbers as MsgBox takes them.
inline std::vector<std::string> Boxes(const ScriptedUi& ui) {
  std::vector<std::string> out;
  for (const RecordedBox& b : ui.Boxes())
    out.push_back(std::to_string(int(b.request.icon) + int(b.request.buttons)) + "|" + b.request.title + "|" +
                  b.request.text);
  return out;
}

// A tree in one line: values as name="value", groups as <name>{...} or [type]{...}.
inline std::string Dump(const CStructuredFileGroup& group) {
  std::string out;
  for (const auto& item : group.Items) {
    if (const CStructuredFileProp* p = item->AsProp()) {
      out += p->Name + "=\"" + p->Value + "\"";
    } else {
      const CStructuredFileGroup& g = *item->AsGroup();
      out += (g.CollectionItem ? "[" + g.Name + "]{" : "<" + g.Name + ">{") + Dump(g) + "}";
    }
  }
  return out;
}

}  // namespace kv::test
