#pragma once
// How a package is named in the system's list of installed software. The
// installer writes the entry under these names, and the package-manager
// manifest of kvpack must name it identically, so both take them from here.
#include <string>

#include "package/CPackage.h"

namespace kv {

// Name + "_" + Version: the -m argument, the package data folder, the index key.
inline std::string PackageIdentifier(const CPackage& package) { return package.Name + "_" + package.Version; }

// The entry's key name below ...\CurrentVersion\Uninstall.
inline std::string UninstallEntryName(const CPackage& package) {
  return "Kivra Setup - " + PackageIdentifier(package);
}

inline std::string UninstallDisplayName(const CPackage& package) {
  return package.Caption + " (Version " + package.Version + ")";
}

}  // namespace kv
