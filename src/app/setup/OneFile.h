#pragma once
// The one-file medium's start: setup.exe with the whole medium appended (see
// onefile/Format.h). Before anything is written the file is checked against
// its digest; then the medium goes into a private folder under the user's
// temporary folder, the installation runs from there exactly as from a
// folder medium, and the folder is removed again when the installer ends.
#include <cstdint>
#include <functional>
#include <string>

#include "app/setup/SetupRoles.h"

namespace kv::setupexe {

// A damaged or truncated download, or a medium that could not be unpacked.
inline constexpr int kMediumDamaged = 1603;
// The user declined the administrator rights.
inline constexpr int kUserDeclined = 1602;

// Whether bytes follow the program image of `exePath`: a one-file medium,
// or what is left of one. Reads only the headers and the size.
bool HasAppendedMedium(const std::string& exePath);

// Runs the installation from the downloaded one-file medium `exePath`:
// check, get the administrator rights (a non-elevated start runs `exePath`
// again elevated with `commandTail` and returns its exit code), unpack into
// a private folder, `runMedium(folder)` (which starts the installer and
// returns its exit code once it has ended), remove the folder. Problems go
// to `tell` and end with kMediumDamaged.
int RunOneFile(const std::string& exePath, const std::string& commandTail, const Tell& tell,
               const std::function<int(const std::string&)>& runMedium);

// A new folder under the user's temporary folder with an unguessable name that
// only the current user may open. Empty (and `error` filled) on failure.
std::string CreatePrivateFolder(std::string& error);

// Deletes `folder` with everything in it; what cannot be deleted now goes at
// the next restart. True when nothing is left.
bool RemoveFolderTree(const std::string& folder);

}  // namespace kv::setupexe
