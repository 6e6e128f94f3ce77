// The application-path entry: exact values, and removal only while the entry
// still belongs to this installation.
#include <gtest/gtest.h>

#include "install/AppPaths.h"
#include "install/InstallTestSupport.h"
#include "platform/RegTools.h"

namespace kv::test {
namespace {

namespace reg = modRegTools;

class AppPath : public InstallFixture {
 protected:
  AppPath() { Package->EXEFile = "Prog.exe"; }
  const std::string key = "Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\Prog.exe";
};

TEST_F(AppPath, SetWritesProgramAndFolder) {
  modInstall::SetAppPath(*Package);
  EXPECT_EQ(reg::GetString(key, "", "-", HKEY_LOCAL_MACHINE), App + "\\Prog.exe");
  EXPECT_EQ(reg::GetString(key, "Path", "-", HKEY_LOCAL_MACHINE), App);
}

TEST_F(AppPath, RemovedWhenItNamesThisProgramIgnoringCaseAndBlanks) {
  std::string variant = "  " + App + "\\PROG.EXE ";
  for (char& c : variant) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  reg::SetString(key, "", variant, HKEY_LOCAL_MACHINE);
  reg::SetString(key + "\\Extra", "", "x", HKEY_LOCAL_MACHINE);
  modInstall::RemoveAppPath(*Package);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, key));
}

TEST_F(AppPath, KeptWhenAnotherInstallationOwnsIt) {
  reg::SetString(key, "", "D:\\Anderswo\\Prog.exe", HKEY_LOCAL_MACHINE);
  modInstall::RemoveAppPath(*Package);
  EXPECT_EQ(reg::GetString(key, "", "-", HKEY_LOCAL_MACHINE), "D:\\Anderswo\\Prog.exe");
}

}  // namespace
}  // namespace kv::test
