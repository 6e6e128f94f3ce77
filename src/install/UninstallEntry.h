#pragma once
// The package's entry in the system's list of installed software. It points
// back at KVSetup.exe in the installer folder with -m "<package identifier>".
#include <cstdint>
#include <string>

namespace kv {
struct Session;
class CPackage;
}  // namespace kv

namespace kv::modInstall {

// "Software\Microsoft\Windows\CurrentVersion\Uninstall\Kivra Setup - " +
// Name + "_" + Version (under HKEY_LOCAL_MACHINE).
std::string UninstallEntryKey(const CPackage& package);

// Writes DisplayName, UninstallString and - only when EXEFile is not empty -
// DisplayIcon, all REG_SZ. A package without a Publisher gets nothing else.
// One with a Publisher also gets what package managers and deployment tools
// read: DisplayVersion, Publisher, InstallLocation, HelpLink (when given),
// EstimatedSize (KiB, REG_DWORD), QuietUninstallString and NoRepair.
// Write failures are not reported.
void WriteUninstallEntry(const Session& session, const CPackage& package);

// The installed size of the package's files in KiB, rounded up: every file on
// record as installed, where it lies now.
uint32_t InstalledSizeKiB(const CPackage& package);

}  // namespace kv::modInstall
