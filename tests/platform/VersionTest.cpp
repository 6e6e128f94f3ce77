// Version resources of real PE files made by the version fixtures.
#include "platform/Version.h"

#include <windows.h>

#include <gtest/gtest.h>

#include "platform/WinString.h"
#include "support/ScratchFolder.h"
#include "support/VersionFixtures.h"

namespace kv {
namespace {

using namespace modVersion;
using test::MakeUnversionedFile;
using test::MakeVersionedFile;

std::string LanguageName(uint16_t language) {
  wchar_t name[200] = {};
  VerLanguageNameW(language, name, 200);
  return win::Narrow(name);
}

TEST(Version, CompareFileVersions) {
  test::ScratchFolder dir;
  // Words of 32768 and more count as negative. v: no version resource, -: missing.
  const std::pair<const char*, int32_t> cases[] = {
      {"1.2.3.4 1.2.10.0", 2}, {"1.2.10.0 1.2.3.4", 1},     {"1.2.3.4 1.2.3.4", 0},     {"2.0.0.0 1.9.9.9", 1},
      {"1.40000.0.0 1.5.0.0", 2}, {"32768.0.0.0 32767.0.0.0", 2}, {"65535.0.0.0 0.0.0.0", 2},
      {"1.2.3.65535 1.2.3.65534", 1}, {"v v", -1}, {"v -", -1}, {"v 0.0.0.0", 2}, {"- 0.0.0.0", 2},
      {"0.0.0.0 v", 1}};
  int n = 0;
  auto make = [&](const std::string& what) {
    const std::string file = dir / (std::to_string(n++) + ".dll");
    std::array<uint16_t, 4> w = {};
    if (what == "v") MakeUnversionedFile(file);
    else if (what != "-" && sscanf(what.c_str(), "%hu.%hu.%hu.%hu", &w[0], &w[1], &w[2], &w[3]) == 4)
      MakeVersionedFile(file, w);
    else EXPECT_EQ(what, "-");
    return file;
  };
  for (const auto& [text, expected] : cases) {
    const std::string both = text, a = make(both.substr(0, both.find(' '))), b = make(both.substr(both.find(' ') + 1));
    EXPECT_EQ(CompareFileVersions(a, b), expected) << text;
  }
}

TEST(Version, DescribeFileVersion) {
  test::ScratchFolder dir;
  MakeVersionedFile(dir / "a.dll", {1, 2, 3, 40000}, test::kLangGerman, test::kOsNtWin32);
  EXPECT_EQ(DescribeFileVersion(dir / "a.dll"),
            "Version: 1.2.3.-25536\r\nSprache: " + LanguageName(0x0407) + "\r\nBetriebssystem: NT-Win32");
  MakeVersionedFile(dir / "b.dll", {5, 0, 65535, 0}, test::kLangEnglishUS, 0x00000004, false);
  EXPECT_EQ(DescribeFileVersion(dir / "b.dll"), "Version: 5.0.-1.0\r\nSprache: \r\nBetriebssystem: Unbekannt");
  MakeUnversionedFile(dir / "plain.dll");
  EXPECT_EQ(DescribeFileVersion(dir / "plain.dll"), "");
}

}  // namespace
}  // namespace kv
