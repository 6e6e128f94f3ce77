// The uninstall entry: exactly three string values, the icon only with a
// program.
#include <gtest/gtest.h>

#include "install/InstallTestSupport.h"
#include "install/UninstallEntry.h"
#include "platform/RegTools.h"

namespace kv::test {
namespace {

namespace reg = modRegTools;

using UninstallEntry = InstallFixture;

TEST_F(UninstallEntry, ThreeStringValuesWithAProgram) {
  Package->EXEFile = "Prog.exe";
  modInstall::WriteUninstallEntry(session, *Package);
  const std::string key = "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kivra Setup - Testprogramm_2.0";
  EXPECT_EQ(modInstall::UninstallEntryKey(*Package), key);
  EXPECT_EQ(reg::GetString(key, "DisplayName", "-", HKEY_LOCAL_MACHINE), "Testprogramm 2.0 (Version 2.0)");
  EXPECT_EQ(reg::GetString(key, "UninstallString", "-", HKEY_LOCAL_MACHINE),
            "\"" + session.AppDir + "KVSetup.exe\" -m \"Testprogramm_2.0\"");
  EXPECT_EQ(reg::GetString(key, "DisplayIcon", "-", HKEY_LOCAL_MACHINE), App + "\\Prog.exe,0");

  HKEY h = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, win::Widen(key).c_str(), 0, KEY_READ, &h), ERROR_SUCCESS);
  DWORD values = 0, subkeys = 0;
  RegQueryInfoKeyW(h, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, &values, nullptr, nullptr, nullptr,
                   nullptr);
  RegCloseKey(h);
  EXPECT_EQ(values, 3u);
  EXPECT_EQ(subkeys, 0u);
}

TEST_F(UninstallEntry, NoIconWithoutAProgram) {
  modInstall::WriteUninstallEntry(session, *Package);
  const std::string key = modInstall::UninstallEntryKey(*Package);
  EXPECT_TRUE(ValueExists(HKEY_LOCAL_MACHINE, key, "DisplayName"));
  EXPECT_TRUE(ValueExists(HKEY_LOCAL_MACHINE, key, "UninstallString"));
  EXPECT_FALSE(ValueExists(HKEY_LOCAL_MACHINE, key, "DisplayIcon"));
}

}  // namespace
}  // namespace kv::test
