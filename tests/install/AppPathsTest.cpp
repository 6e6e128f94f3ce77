// The application-path entry: exact values, and removal only while the entry
// still names this installation's program.
#include <gtest/gtest.h>

#include "install/AppPaths.h"
#include "install/InstallTestSupport.h"
#include "platform/RegTools.h"

namespace kv::test {
namespace {

using AppPath = InstallFixture;

TEST_F(AppPath, SetAndRemoveOnlyWhenItNamesThisProgram) {
  Package->EXEFile = "Prog.exe";
  const std::string key = "Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\Prog.exe";
  modInstall::SetAppPath(*Package);  // its values are checked end to end (fresh installation)
  ASSERT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, key));
  modRegTools::SetString(key, "", "D:\\Anderswo\\Prog.exe", HKEY_LOCAL_MACHINE);
  modInstall::RemoveAppPath(*Package);
  EXPECT_EQ(modRegTools::GetString(key, "", "-", HKEY_LOCAL_MACHINE), "D:\\Anderswo\\Prog.exe");

  std::string variant = "  " + App + "\\PROG.EXE ";
  for (char& c : variant) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  modRegTools::SetString(key, "", variant, HKEY_LOCAL_MACHINE);
  modRegTools::SetString(key + "\\Extra", "", "x", HKEY_LOCAL_MACHINE);
  modInstall::RemoveAppPath(*Package);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, key));
}

}  // namespace
}  // namespace kv::test
