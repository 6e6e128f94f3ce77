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
using test::ScratchFolder;

std::string LanguageName(uint16_t language) {
  wchar_t name[200] = {};
  VerLanguageNameW(language, name, 200);
  return win::Narrow(name);
}

TEST(Version, FixedVersionWordsAreSigned) {
  ScratchFolder dir;
  const std::string file = dir / "a.dll";
  MakeVersionedFile(file, {1, 2, 3, 40000}, test::kLangGerman, test::kOsDosWin32);
  FixedVersion v;
  ASSERT_TRUE(GetFixedVersion(file, v));
  EXPECT_EQ(v.Words[0], 1);
  EXPECT_EQ(v.Words[1], 2);
  EXPECT_EQ(v.Words[2], 3);
  EXPECT_EQ(v.Words[3], -25536);
  EXPECT_EQ(v.FileOS, 0x00010004u);

  FixedVersion none;
  MakeUnversionedFile(dir / "plain.dll");
  EXPECT_FALSE(GetFixedVersion(dir / "plain.dll", none));
  EXPECT_FALSE(GetFixedVersion(dir.WriteFile("text.txt", "no PE here"), none));
  EXPECT_FALSE(GetFixedVersion(dir / "missing.dll", none));
}

TEST(Version, CompareFileVersions) {
  ScratchFolder dir;
  struct Case {
    std::array<uint16_t, 4> a, b;
    int32_t expected;
  };
  const Case cases[] = {
      {{1, 2, 3, 4}, {1, 2, 10, 0}, 2},
      {{1, 2, 10, 0}, {1, 2, 3, 4}, 1},
      {{1, 2, 3, 4}, {1, 2, 3, 4}, 0},
      {{2, 0, 0, 0}, {1, 9, 9, 9}, 1},
      {{1, 0, 0, 5}, {1, 0, 0, 6}, 2},
      // Words of 32768 and more count as negative.
      {{1, 40000, 0, 0}, {1, 5, 0, 0}, 2},
      {{32768, 0, 0, 0}, {32767, 0, 0, 0}, 2},
      {{65535, 0, 0, 0}, {0, 0, 0, 0}, 2},
      {{1, 2, 3, 65535}, {1, 2, 3, 65534}, 1},
  };
  int n = 0;
  for (const Case& c : cases) {
    const std::string a = dir / ("a" + std::to_string(n) + ".dll");
    const std::string b = dir / ("b" + std::to_string(n) + ".dll");
    MakeVersionedFile(a, c.a);
    MakeVersionedFile(b, c.b);
    EXPECT_EQ(CompareFileVersions(a, b), c.expected) << "case " << n;
    ++n;
  }
}

TEST(Version, CompareWithoutResources) {
  ScratchFolder dir;
  const std::string versioned = dir / "v.dll";
  const std::string plain = dir / "p.dll";
  MakeVersionedFile(versioned, {0, 0, 0, 0});
  MakeUnversionedFile(plain);
  EXPECT_EQ(CompareFileVersions(plain, dir / "p2.dll"), -1);  // second one missing
  EXPECT_EQ(CompareFileVersions(plain, plain), -1);
  EXPECT_EQ(CompareFileVersions(plain, versioned), 2);
  EXPECT_EQ(CompareFileVersions(dir / "missing.dll", versioned), 2);
  EXPECT_EQ(CompareFileVersions(versioned, plain), 1);
}

TEST(Version, LanguageOfFirstTranslation) {
  ScratchFolder dir;
  MakeVersionedFile(dir / "de.dll", {1, 0, 0, 0}, test::kLangGerman);
  MakeVersionedFile(dir / "en.dll", {1, 0, 0, 0}, test::kLangEnglishUS);
  MakeVersionedFile(dir / "none.dll", {1, 0, 0, 0}, test::kLangGerman, test::kOsNtWin32, false);
  MakeUnversionedFile(dir / "plain.dll");
  const std::string german = GetFileLanguage(dir / "de.dll");
  const std::string english = GetFileLanguage(dir / "en.dll");
  std::printf("language names: '%s' / '%s'\n", german.c_str(), english.c_str());
  EXPECT_FALSE(german.empty());
  EXPECT_NE(german, english);
  EXPECT_EQ(german, LanguageName(0x0407));
  EXPECT_EQ(english, LanguageName(0x0409));
  EXPECT_EQ(GetFileLanguage(dir / "none.dll"), "");
  EXPECT_EQ(GetFileLanguage(dir / "plain.dll"), "");
}

TEST(Version, OSNames) {
  EXPECT_EQ(GetOSName(0x00010001), "DOS-Win16");
  EXPECT_EQ(GetOSName(0x00010004), "DOS-Win32");
  EXPECT_EQ(GetOSName(0x00020002), "OS/2-16 PM-16");
  EXPECT_EQ(GetOSName(0x00030003), "OS/2-16 PM-32");
  EXPECT_EQ(GetOSName(0x00040004), "NT-Win32");
  EXPECT_EQ(GetOSName(0x00000004), "Unbekannt");  // VOS__WINDOWS32 alone
  EXPECT_EQ(GetOSName(0x00040000), "Unbekannt");
}

TEST(Version, DescribeFileVersion) {
  ScratchFolder dir;
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
