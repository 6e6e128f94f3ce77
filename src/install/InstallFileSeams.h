#pragma once
// The system calls InstallFile makes that decide its path: the drive type of
// the source, the two version-installation functions and the quick copy of a
// new file. Tests replace them to reach answers the test machine cannot
// produce (a removable medium, a language conflict) or to hold the quick copy
// against the system's; unset members mean the real functions. A replaced
// VerInstallFile turns the quick copy off unless that is replaced too.
#include <windows.h>

#include <functional>
#include <string>

#include "install/FastCopy.h"

namespace kv::modInstall::seams {

struct SystemFunctions {
  std::function<UINT(LPCWSTR rootPath)> GetDriveType;
  std::function<DWORD(DWORD flags, LPCWSTR fileName, LPCWSTR winDir, LPCWSTR appDir, LPWSTR curDir, PUINT curDirLen,
                      LPWSTR destDir, PUINT destDirLen)>
      VerFindFile;
  std::function<DWORD(DWORD flags, LPCWSTR srcFileName, LPCWSTR destFileName, LPCWSTR srcDir, LPCWSTR destDir,
                      LPCWSTR curDir, LPWSTR tmpFile, PUINT tmpFileLen)>
      VerInstallFile;
  std::function<NewFileCopy(const std::wstring& sourcePath, const std::wstring& folder, const std::wstring& name,
                            const FILETIME& creationTime, const Announce& announce)>
      CopyNewFile;
};

// Replaces the functions for the lifetime of the object (not nestable).
class ScopedSystemFunctions {
 public:
  explicit ScopedSystemFunctions(SystemFunctions functions);
  ~ScopedSystemFunctions();
  ScopedSystemFunctions(const ScopedSystemFunctions&) = delete;
  ScopedSystemFunctions& operator=(const ScopedSystemFunctions&) = delete;

 private:
  SystemFunctions functions_;
};

}  // namespace kv::modInstall::seams
