// Path placeholders.
#include "install/ExpandPath.h"

#include <gtest/gtest.h>

#include "package/CPackage.h"
#include "base/Text.h"
#include "platform/SpecialFolders.h"
#include "session/Session.h"
#include "support/ScriptedUi.h"

namespace kv {
namespace {

using modInstall::ExpandPath;

TEST(ExpandPathTest, Placeholders) {
  test::ScriptedUi ui;
  Session s{ui};
  s.ProgramFilesDir = "C:\\Programme";
  CPackage package(s.Context());
  package.InstalledIn = "D:\\Kivra\\Produkt";
  const std::string win = modSpclFolder::GetWindowsFolder(), sys = modSpclFolder::GetSystemFolder();
  EXPECT_TRUE(EqualsNoCase(sys, win + "\\system32")) << sys;  // the Windows folder as the system reports it
  // "+" before the input: with the package.
  const std::pair<std::string, std::string> rows[] = {
      {"*programs*\\Kivra\\", "C:\\Programme\\Kivra\\"},   {"*PROGRAMS*\\Übung", "C:\\Programme\\Übung"},
      {"*ProGrams**programs*", "C:\\ProgrammeC:\\Programme"}, {"", ""},
      {"*program*\\*other*\\*", "*program*\\*other*\\*"},   {"*windir*temp", win + "temp"},  // no separator added
      {"*programs*|*WinDir*|*WINSYSDIR*", "C:\\Programme|" + win + "|" + sys},
      {"*appdir*\\bin", "*appdir*\\bin"},  // no package: left alone
      {"+*APPDIR*\\bin", "D:\\Kivra\\Produkt\\bin"},        {"+*programs*\\*appdir*", "C:\\Programme\\D:\\Kivra\\Produkt"}};
  for (const auto& [in, expected] : rows) {
    const bool withPackage = !in.empty() && in[0] == '+';
    EXPECT_EQ(ExpandPath(s, in.substr(withPackage), withPackage ? &package : nullptr), expected) << in;
  }

  s.ProgramFilesDir = "C:\\*windir*";  // substituted text is not expanded again ...
  EXPECT_EQ(ExpandPath(s, "*programs*\\x", nullptr), "C:\\*windir*\\x");
  package.InstalledIn = "*winsysdir*";
  EXPECT_EQ(ExpandPath(s, "*appdir*", &package), "*winsysdir*");
  // ... but once the given text holds a placeholder, every occurrence in the
  // working text is replaced, substituted ones too.
  EXPECT_EQ(ExpandPath(s, "*programs*;*windir*", nullptr), "C:\\" + win + ";" + win);
}

}  // namespace
}  // namespace kv
