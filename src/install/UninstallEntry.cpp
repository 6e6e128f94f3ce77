// The package's entry in the system's list of installed software.
#include "install/UninstallEntry.h"

#include "package/CPackage.h"
#include "base/StringTools.h"
#include "platform/RegTools.h"
#include "session/Session.h"

namespace kv::modInstall {

std::string UninstallEntryKey(const CPackage& package) {
  return "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kivra Setup - " + package.Name + "_" +
         package.Version;
}

void WriteUninstallEntry(const Session& session, const CPackage& package) {
  const std::string key = UninstallEntryKey(package);
  const std::string identifier = package.Name + "_" + package.Version;
  modRegTools::SetString(key, "DisplayName", package.Caption + " (Version " + package.Version + ")",
                         HKEY_LOCAL_MACHINE);
  modRegTools::SetString(key, "UninstallString",
                         "\"" + session.AppDir + "KVSetup.exe\" -m \"" + identifier + "\"", HKEY_LOCAL_MACHINE);
  if (!package.EXEFile.empty())
    modRegTools::SetString(key, "DisplayIcon", modTools::JoinPath(package.InstalledIn, package.EXEFile) + ",0",
                           HKEY_LOCAL_MACHINE);
}

}  // namespace kv::modInstall
