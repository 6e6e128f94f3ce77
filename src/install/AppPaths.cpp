// The "App Paths" entry of the package's main program.
#include "install/AppPaths.h"

#include "package/CPackage.h"
#include "base/StringTools.h"
#include "base/Text.h"
#include "platform/RegTools.h"

namespace kv::modInstall {

namespace {

std::string ProgramPath(const CPackage& package) { return modTools::JoinPath(package.InstalledIn, package.EXEFile); }

}  // namespace

std::string AppPathKey(const CPackage& package) {
  return "Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\" + package.EXEFile;
}

void SetAppPath(const CPackage& package) {
  const std::string key = AppPathKey(package);
  modRegTools::SetString(key, "", ProgramPath(package), HKEY_LOCAL_MACHINE);
  modRegTools::SetString(key, "Path", package.InstalledIn, HKEY_LOCAL_MACHINE);
}

void RemoveAppPath(const CPackage& package) {
  const std::string key = AppPathKey(package);
  std::string registered = modRegTools::GetString(key, "", "", HKEY_LOCAL_MACHINE);
  // Another installation of a program with the same file name may have taken
  // the entry over since; then it is theirs and stays.
  if (LowerCase(TrimBlanks(registered)) != LowerCase(TrimBlanks(ProgramPath(package)))) return;
  modRegTools::DeleteTree(key, HKEY_LOCAL_MACHINE);
}

}  // namespace kv::modInstall
