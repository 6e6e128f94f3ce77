// Path and text helpers of the tools module.
#include "package/StringTools.h"

#include <gtest/gtest.h>

namespace kv::modTools {
namespace {

TEST(PathTools, JoinPutsExactlyOneSeparatorUnlessNameBringsOne) {
  EXPECT_EQ(JoinPath("C:\\A", "x"), "C:\\A\\x");
  EXPECT_EQ(JoinPath("C:\\", "x"), "C:\\x");
  EXPECT_EQ(JoinPath("", "x"), "\\x");
  EXPECT_EQ(JoinPath("C:\\A", "\\x"), "C:\\A\\\\x");
  EXPECT_EQ(JoinPath("C:\\Ä", "ö.txt"), "C:\\Ä\\ö.txt");
}

TEST(PathTools, ParentAndNameIgnoreOneTrailingSeparator) {
  struct Case {
    const char* path;
    const char* parent;
    const char* name;
  } cases[] = {
      {"C:\\A\\B\\", "C:\\A", "B"}, {"C:\\A\\B", "C:\\A", "B"}, {"C:\\A", "C:", "A"},
      {"C:\\", "", "C:"},           {"name.txt", "", "name.txt"}, {"C:\\A\\x.dll", "C:\\A", "x.dll"},
      {"C:\\A\\\\", "C:\\A", ""},   {"", "", ""},                 {"\\", "", ""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ParentFolder(c.path), c.parent) << c.path;
    EXPECT_EQ(FileNamePart(c.path), c.name) << c.path;
  }
}

TEST(PathTools, ValidFileNameDropsTheNineForbiddenCharacters) {
  EXPECT_EQ(ValidFileName("a<b>c|d"), "abcd");
  EXPECT_EQ(ValidFileName("??"), "");
  EXPECT_EQ(ValidFileName("*/\\:?\"<>|"), "");
  EXPECT_EQ(ValidFileName(" Bericht 1.txt. "), " Bericht 1.txt. ");  // nothing else is touched
  EXPECT_EQ(ValidFileName("Größe: 5\""), "Größe 5");
}

TEST(PathTools, CutAtNullStopsAtTheFirstNul) {
  EXPECT_EQ(CutAtNull(std::string("abc\0def\0", 8)), "abc");
  EXPECT_EQ(CutAtNull(std::string("\0x", 2)), "");
  EXPECT_EQ(CutAtNull("plain"), "plain");
  EXPECT_EQ(CutAtNull(std::wstring(L"ab\0c", 4)), L"ab");
}

}  // namespace
}  // namespace kv::modTools
