#pragma once
// One file of a package: where it comes from, where it goes, how it is
// treated, and (from the status file) whether and where it was installed.
#include <cstdint>
#include <string>

namespace kv {

class CFile {
 public:
  std::string Name;             // source name inside the package; key in CPackage::Files
  std::string DestinationName;  // name at the destination; Name when not given
  std::string DestinationPath;  // destination folder, may hold path placeholders
  bool SharedFile = false;      // reference counted between applications
  bool DontOverwrite = false;   // an existing destination file is kept
  int32_t Register = 0;         // registration mode; 0 = not registered
  bool DontUninstall = false;   // left in place on uninstallation
  int32_t Installed = 0;        // installation state; 0 = not installed
  std::string InstalledIn;      // folder the file was installed into
};

}  // namespace kv
