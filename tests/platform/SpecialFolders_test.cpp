// Special folders: the real shell answer, and the registry fallbacks with a
// shell that cannot answer (values in the redirected hives).
#include "platform/SpecialFolders.h"

#include <gtest/gtest.h>

#include "platform/FileTools.h"
#include "platform/RegTools.h"
#include "platform/WinString.h"
#include "support/RegistryGuard.h"

namespace kv {
namespace {

using namespace modSpclFolder;
using test::RegistryGuard;

const char kShellFolders[] = "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";

bool ShellFails(HWND, int32_t, std::string&) { return false; }
bool ShellAnswersQuoted(HWND, int32_t, std::string& path) {
  path = "\"C:\\Quoted Shell\\Folder\"";
  return true;
}

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
  return s;
}

TEST(SpecialFolders, ShellAnswersForRealFolders) {
  const std::string programs = GetSpecialFolder(nullptr, kPrograms, "DEFAULT");
  EXPECT_NE(programs, "DEFAULT");
  EXPECT_TRUE(modTools::FolderExists(programs)) << programs;
  const std::string desktop = GetSpecialFolder(nullptr, kDesktopDirectory, "DEFAULT");
  EXPECT_TRUE(modTools::FolderExists(desktop)) << desktop;
  EXPECT_NE(desktop, programs);
}

TEST(SpecialFolders, ShellStillAnswersUnderTheRegistryGuard) {
  // Engine tests run with redirected hives; the shell must keep answering
  // there (wine falls back to its built-in profile folders).
  RegistryGuard guard;
  const std::string desktop = GetSpecialFolder(nullptr, kCommonDesktopDirectory, "DEFAULT");
  std::printf("common desktop under the guard: %s\n", desktop.c_str());
  EXPECT_NE(desktop, "DEFAULT");
  EXPECT_TRUE(modTools::FolderExists(desktop)) << desktop;
}

TEST(SpecialFolders, FallbackReadsShellFoldersWithoutQuotes) {
  RegistryGuard guard;
  modRegTools::SetString(kShellFolders, "Programs", "\"C:\\Users\\kv\\Programme\"", HKEY_CURRENT_USER);
  modRegTools::SetString(kShellFolders, "AppData", "C:\\Users\\kv\\AppData", HKEY_CURRENT_USER);
  modRegTools::SetString(kShellFolders, "Desktop", "C:\\Users\\kv\\Desktop", HKEY_CURRENT_USER);
  modRegTools::SetString(kShellFolders, "Common Desktop", "C:\\Users\\Public\\Desktop", HKEY_LOCAL_MACHINE);

  EXPECT_EQ(GetSpecialFolder(nullptr, kPrograms, "def", &ShellFails), "C:\\Users\\kv\\Programme");
  EXPECT_EQ(GetSpecialFolder(nullptr, kAppData, "def", &ShellFails), "C:\\Users\\kv\\AppData");
  // Per-machine value first for the common folders ...
  EXPECT_EQ(GetSpecialFolder(nullptr, kCommonDesktopDirectory, "def", &ShellFails), "C:\\Users\\Public\\Desktop");
  // ... and the user's matching folder when the machine has none.
  EXPECT_EQ(GetSpecialFolder(nullptr, kCommonPrograms, "def", &ShellFails), "C:\\Users\\kv\\Programme");
  // The per-user value of a common folder is not looked up under HKLM.
  modRegTools::SetString(kShellFolders, "Startup", "C:\\HKLM\\Startup", HKEY_LOCAL_MACHINE);
  EXPECT_EQ(GetSpecialFolder(nullptr, kStartup, "def", &ShellFails), "def");
  EXPECT_EQ(GetSpecialFolder(nullptr, kCommonStartup, "def", &ShellFails), "def");
}

TEST(SpecialFolders, DefaultWhenNothingKnown) {
  RegistryGuard guard;
  EXPECT_EQ(GetSpecialFolder(nullptr, kCommonStartMenu, "C:\\Default", &ShellFails), "C:\\Default");
  // Not in the fallback table at all (CSIDL_WINDOWS), even with values around.
  modRegTools::SetString(kShellFolders, "Windows", "C:\\Nope", HKEY_CURRENT_USER);
  EXPECT_EQ(GetSpecialFolder(nullptr, 36, "C:\\Default", &ShellFails), "C:\\Default");
  // An empty per-machine value counts as missing.
  modRegTools::SetString(kShellFolders, "Common Start Menu", "", HKEY_LOCAL_MACHINE);
  modRegTools::SetString(kShellFolders, "Start Menu", "C:\\Users\\kv\\Startmenü", HKEY_CURRENT_USER);
  EXPECT_EQ(GetSpecialFolder(nullptr, kCommonStartMenu, "C:\\Default", &ShellFails), "C:\\Users\\kv\\Startmenü");
  // Quotes go from whatever ends up as the result: default and shell answer.
  EXPECT_EQ(GetSpecialFolder(nullptr, 36, "\"C:\\Def\"", &ShellFails), "C:\\Def");
  EXPECT_EQ(GetSpecialFolder(nullptr, 36, "\"", &ShellFails), "");
  EXPECT_EQ(GetSpecialFolder(nullptr, kPrograms, "def", &ShellAnswersQuoted), "C:\\Quoted Shell\\Folder");
}

TEST(SpecialFolders, WindowsAndSystemFolder) {
  const std::string windows = GetWindowsFolder();
  const std::string system = GetSystemFolder();
  wchar_t env[MAX_PATH] = {};
  ASSERT_GT(GetEnvironmentVariableW(L"windir", env, MAX_PATH), 0u);
  EXPECT_EQ(Lower(windows), Lower(win::Narrow(env)));
  EXPECT_NE(windows.back(), '\\');
  EXPECT_NE(system.back(), '\\');
  EXPECT_EQ(Lower(system), Lower(windows) + "\\system32");
  EXPECT_TRUE(modTools::FolderExists(system));
}

}  // namespace
}  // namespace kv
