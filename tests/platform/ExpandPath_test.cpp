// Path placeholders.
#include "install/ExpandPath.h"

#include <windows.h>

#include <gtest/gtest.h>

#include "package/CPackage.h"
#include "platform/WinString.h"
#include "session/Session.h"
#include "support/ScriptedUi.h"

namespace kv {
namespace {

using modInstall::ExpandPath;

std::string WindowsDir() {
  wchar_t b[MAX_PATH] = {};
  return win::Narrow(std::wstring(b, GetWindowsDirectoryW(b, MAX_PATH)));
}
std::string SystemDir() {
  wchar_t b[MAX_PATH] = {};
  return win::Narrow(std::wstring(b, GetSystemDirectoryW(b, MAX_PATH)));
}

class ExpandPathTest : public ::testing::Test {
 protected:
  test::ScriptedUi ui;
  Session s{ui};
  void SetUp() override { s.ProgramFilesDir = "C:\\Programme"; }
};

TEST_F(ExpandPathTest, ProgramsInAnyCaseAndEveryOccurrence) {
  EXPECT_EQ(ExpandPath(s, "*programs*\\Kivra\\", nullptr), "C:\\Programme\\Kivra\\");
  EXPECT_EQ(ExpandPath(s, "*PROGRAMS*\\Kivra", nullptr), "C:\\Programme\\Kivra");
  EXPECT_EQ(ExpandPath(s, "*ProGrams*\\Übung", nullptr), "C:\\Programme\\Übung");
  EXPECT_EQ(ExpandPath(s, "*programs**Programs*", nullptr), "C:\\ProgrammeC:\\Programme");
  EXPECT_EQ(ExpandPath(s, "", nullptr), "");
  EXPECT_EQ(ExpandPath(s, "C:\\ohne\\Platzhalter", nullptr), "C:\\ohne\\Platzhalter");
  EXPECT_EQ(ExpandPath(s, "*program*\\*other*\\*", nullptr), "*program*\\*other*\\*");
}

TEST_F(ExpandPathTest, WindowsAndSystemFolder) {
  EXPECT_EQ(ExpandPath(s, "*windir*\\Fonts", nullptr), WindowsDir() + "\\Fonts");
  EXPECT_EQ(ExpandPath(s, "*WinSysDir*\\kv.dll", nullptr), SystemDir() + "\\kv.dll");
  // No separator is added: the text around the placeholder decides.
  EXPECT_EQ(ExpandPath(s, "*windir*temp", nullptr), WindowsDir() + "temp");
  EXPECT_EQ(ExpandPath(s, "*programs*|*windir*|*winsysdir*", nullptr),
            "C:\\Programme|" + WindowsDir() + "|" + SystemDir());
}

TEST_F(ExpandPathTest, AppDirOnlyWithAPackage) {
  EXPECT_EQ(ExpandPath(s, "*appdir*\\bin", nullptr), "*appdir*\\bin");
  CPackage package(s.Context());
  package.InstalledIn = "D:\\Kivra\\Produkt";
  EXPECT_EQ(ExpandPath(s, "*APPDIR*\\bin", &package), "D:\\Kivra\\Produkt\\bin");
  EXPECT_EQ(ExpandPath(s, "*appdir*bin", &package), "D:\\Kivra\\Produktbin");
  EXPECT_EQ(ExpandPath(s, "*programs*\\*appdir*", &package), "C:\\Programme\\D:\\Kivra\\Produkt");
}

TEST_F(ExpandPathTest, SubstitutedTextIsNotExpandedAgain) {
  s.ProgramFilesDir = "C:\\*windir*";
  EXPECT_EQ(ExpandPath(s, "*programs*\\x", nullptr), "C:\\*windir*\\x");
  CPackage package(s.Context());
  package.InstalledIn = "*winsysdir*";
  EXPECT_EQ(ExpandPath(s, "*appdir*", &package), "*winsysdir*");
  // The decision is taken on the given text; once a placeholder is there,
  // every occurrence in the working text is replaced, substituted ones too.
  EXPECT_EQ(ExpandPath(s, "*programs*;*WINDIR*", nullptr), "C:\\" + WindowsDir() + ";" + WindowsDir());
}

}  // namespace
}  // namespace kv
