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

bool ShellFails(HWND, int32_t, std::string&) { return false; }
bool ShellAnswersQuoted(HWND, int32_t, std::string& path) { return path = "\"C:\\Shell\\Folder\"", true; }

TEST(SpecialFolders, ShellAnswersEvenUnderTheRegistryGuard) {
  test::RegistryGuard guard;  // engine tests run with redirected hives
  const std::string programs = GetSpecialFolder(nullptr, kPrograms, "DEFAULT");
  const std::string desktop = GetSpecialFolder(nullptr, kCommonDesktopDirectory, "DEFAULT");
  EXPECT_TRUE(modTools::FolderExists(programs)) << programs;
  EXPECT_TRUE(modTools::FolderExists(desktop)) << desktop;
  EXPECT_NE(desktop, programs);
  EXPECT_EQ(GetSpecialFolder(nullptr, kPrograms, "def", &ShellAnswersQuoted), "C:\\Shell\\Folder");
}

TEST(SpecialFolders, RegistryFallbacksAndDefault) {
  test::RegistryGuard guard;
  const std::pair<const char*, const char*> user[] = {
      {"Programs", "\"C:\\Users\\kv\\Programme\""}, {"AppData", "C:\\Users\\kv\\AppData"},
      {"Start Menu", "C:\\Users\\kv\\Startmenü"},    {"Windows", "C:\\Nope"}};
  const std::pair<const char*, const char*> machine[] = {
      {"Common Desktop", "C:\\Users\\Public\\Desktop"}, {"Common Start Menu", ""}, {"Startup", "C:\\HKLM"}};
  const char key[] = "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";
  for (const auto& [name, value] : user) modRegTools::SetString(key, name, value, HKEY_CURRENT_USER);
  for (const auto& [name, value] : machine) modRegTools::SetString(key, name, value, HKEY_LOCAL_MACHINE);

  struct Row { int32_t id; const char* def; const char* expected; };
  const Row rows[] = {
      {kPrograms, "def", "C:\\Users\\kv\\Programme"},  // quotes removed
      {kAppData, "def", "C:\\Users\\kv\\AppData"},
      {kCommonDesktopDirectory, "def", "C:\\Users\\Public\\Desktop"},  // machine value first
      {kCommonPrograms, "def", "C:\\Users\\kv\\Programme"},         // none there: the user's
      {kCommonStartMenu, "def", "C:\\Users\\kv\\Startmenü"},        // empty counts as none
      {kStartup, "def", "def"}, {kCommonStartup, "def", "def"},     // personal folders only in HKCU
      {36, "C:\\Default", "C:\\Default"}, {36, "\"C:\\Def\"", "C:\\Def"}, {36, "\"", ""}};  // not in the table
  for (const Row& r : rows) EXPECT_EQ(GetSpecialFolder(nullptr, r.id, r.def, &ShellFails), r.expected) << r.id;
}

}  // namespace
}  // namespace kv
