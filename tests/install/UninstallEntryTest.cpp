// The uninstall entry: exactly three string values, the icon only with a
// program.
#include <gtest/gtest.h>

#include "install/InstallTestSupport.h"
#include "install/UninstallEntry.h"
#include "platform/RegTools.h"

namespace kv::test {
namespace {

using UninstallEntry = InstallFixture;

TEST_F(UninstallEntry, ThreeStringValuesWithAProgramNoIconWithout) {
  Package->EXEFile = "Prog.exe";
  modInstall::WriteUninstallEntry(session, *Package);
  const std::string key = "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kivra Setup - Testprogramm_2.0";
  EXPECT_EQ(modInstall::UninstallEntryKey(*Package), key);
  auto value = [&](const char* name) { return modRegTools::GetString(key, name, "-", HKEY_LOCAL_MACHINE); };
  EXPECT_EQ(value("DisplayName"), "Testprogramm 2.0 (Version 2.0)");
  EXPECT_EQ(value("UninstallString"), "\"" + session.AppDir + "KVSetup.exe\" -m \"Testprogramm_2.0\"");
  EXPECT_EQ(value("DisplayIcon"), App + "\\Prog.exe,0");
  HKEY h = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, win::Widen(key).c_str(), 0, KEY_READ, &h), ERROR_SUCCESS);
  DWORD values = 0, subkeys = 0;
  RegQueryInfoKeyW(h, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, &values, nullptr, nullptr, nullptr,
                   nullptr);
  RegCloseKey(h);
  EXPECT_EQ(values, 3u);
  EXPECT_EQ(subkeys, 0u);

  modRegTools::DeleteTree(key, HKEY_LOCAL_MACHINE);
  Package->EXEFile = "";
  modInstall::WriteUninstallEntry(session, *Package);
  EXPECT_EQ(value("DisplayName"), "Testprogramm 2.0 (Version 2.0)");
  EXPECT_FALSE(ValueExists(HKEY_LOCAL_MACHINE, key, "DisplayIcon"));
}

}  // namespace
}  // namespace kv::test
