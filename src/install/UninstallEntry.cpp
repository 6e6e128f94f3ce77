// The package's entry in the system's list of installed software.
#include "install/UninstallEntry.h"

#include <windows.h>

#include "base/StringTools.h"
#include "package/CPackage.h"
#include "package/UninstallNames.h"
#include "platform/RegTools.h"
#include "platform/WinString.h"
#include "session/Session.h"

namespace kv::modInstall {

std::string UninstallEntryKey(const CPackage& package) {
  return "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\" + UninstallEntryName(package);
}

uint32_t InstalledSizeKiB(const CPackage& package) {
  uint64_t bytes = 0;
  for (const auto& file : package.Files) {
    if (!file || file->Installed <= 0 || file->InstalledIn.empty()) continue;
    const std::string& name = file->DestinationName.empty() ? file->Name : file->DestinationName;
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (GetFileAttributesExW(win::Widen(modTools::JoinPath(file->InstalledIn, name)).c_str(), GetFileExInfoStandard,
                             &data) &&
        !(data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
      bytes += (static_cast<uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
  }
  const uint64_t kib = (bytes + 1023) / 1024;
  return kib > 0xFFFFFFFFull ? 0xFFFFFFFFu : static_cast<uint32_t>(kib);
}

void WriteUninstallEntry(const Session& session, const CPackage& package) {
  const std::string key = UninstallEntryKey(package);
  const std::string identifier = PackageIdentifier(package);
  const std::string program = "\"" + session.AppDir + "KVSetup.exe\"";
  modRegTools::SetString(key, "DisplayName", UninstallDisplayName(package), HKEY_LOCAL_MACHINE);
  modRegTools::SetString(key, "UninstallString", program + " -m \"" + identifier + "\"", HKEY_LOCAL_MACHINE);
  if (!package.EXEFile.empty())
    modRegTools::SetString(key, "DisplayIcon", modTools::JoinPath(package.InstalledIn, package.EXEFile) + ",0",
                           HKEY_LOCAL_MACHINE);
  if (package.Publisher.empty()) return;

  modRegTools::SetString(key, "DisplayVersion", package.Version, HKEY_LOCAL_MACHINE);
  modRegTools::SetString(key, "Publisher", package.Publisher, HKEY_LOCAL_MACHINE);
  modRegTools::SetString(key, "InstallLocation", package.InstalledIn, HKEY_LOCAL_MACHINE);
  if (!package.HelpLink.empty()) modRegTools::SetString(key, "HelpLink", package.HelpLink, HKEY_LOCAL_MACHINE);
  modRegTools::SetNumber(key, "EstimatedSize", static_cast<int32_t>(InstalledSizeKiB(package)), HKEY_LOCAL_MACHINE);
  // Deployment tools run this one without anybody watching.
  modRegTools::SetString(key, "QuietUninstallString", program + " /quiet /uninstall -m \"" + identifier + "\"",
                         HKEY_LOCAL_MACHINE);
  // UninstallString opens the maintenance page, which changes, repairs and
  // removes; there is no separate repair command for a Repair button to run.
  // The change button stays: it leads to that same page.
  modRegTools::SetNumber(key, "NoRepair", 1, HKEY_LOCAL_MACHINE);
}

}  // namespace kv::modInstall
