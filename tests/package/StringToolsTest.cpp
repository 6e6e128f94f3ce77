// Path and text helpers of the tools module.
#include "base/StringTools.h"

#include <gtest/gtest.h>

namespace kv::modTools {
namespace {

TEST(PathTools, JoinSplitCleanAndCutNames) {
  // Only the folder's end is looked at.
  EXPECT_EQ(JoinPath("C:\\A", "x") + JoinPath("C:\\", "x") + JoinPath("", "x") + JoinPath("C:\\Ä", "\\ö.txt"),
            "C:\\A\\xC:\\x\\xC:\\Ä\\\\ö.txt");
  struct Case {
    const char* path;
    const char* parent;
    const char* name;
  } cases[] = {
      {"C:\\A\\B\\", "C:\\A", "B"}, {"C:\\A\\B", "C:\\A", "B"}, {"C:\\A", "C:", "A"},
      {"C:\\", "", "C:"},           {"name.txt", "", "name.txt"}, {"C:\\A\\\\", "C:\\A", ""},
      {"", "", ""},                 {"\\", "", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(ParentFolder(c.path), c.parent);
    EXPECT_EQ(FileNamePart(c.path), c.name);
  }
  EXPECT_EQ(ValidFileName("*/\\:?\"<>|"), "");  // the nine forbidden characters
  EXPECT_EQ(ValidFileName(" Größe: 5\".txt. "), " Größe 5.txt. ");  // nothing else is touched
  EXPECT_EQ(CutAtNull(std::string("abc\0def\0", 8)) + CutAtNull(std::string("\0x", 2)) + CutAtNull("plain"), "abcplain");
  EXPECT_EQ(CutAtNull(std::wstring(L"ab\0c", 4)), L"ab");
}

}  // namespace
}  // namespace kv::modTools
