#pragma once
// The package's entry in the system's list of installed software. It points
// back at KVSetup.exe in the installer folder with -m "<package identifier>".
#include <string>

namespace kv {
struct Session;
class CPackage;
}  // namespace kv

namespace kv::modInstall {

// "Software\Microsoft\Windows\CurrentVersion\Uninstall\Kivra Setup - " +
// Name + "_" + Version (under HKEY_LOCAL_MACHINE).
std::string UninstallEntryKey(const CPackage& package);

// Writes exactly DisplayName, UninstallString and - only when EXEFile is not
// empty - DisplayIcon, all REG_SZ. Nothing else: no publisher, size or flags.
// Write failures are not reported.
void WriteUninstallEntry(const Session& session, const CPackage& package);

}  // namespace kv::modInstall
