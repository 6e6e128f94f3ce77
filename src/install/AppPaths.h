#pragma once
// The package's main program in the system's application-path list, so that
// it starts by its file name alone (Run dialog, command line).
#include <string>

namespace kv {
class CPackage;
}

namespace kv::modInstall {

// HKEY_LOCAL_MACHINE key "Software\Microsoft\Windows\CurrentVersion\App Paths\"
// + EXEFile.
std::string AppPathKey(const CPackage& package);

// Default value := installation folder (InstalledIn) joined with EXEFile,
// then "Path" := the installation folder. Creates the key as needed.
void SetAppPath(const CPackage& package);

// Deletes the key only when its default value still names this installation's
// program (compared trimmed of blanks and without regard to case); otherwise
// another installation owns it and it stays.
void RemoveAppPath(const CPackage& package);

}  // namespace kv::modInstall
