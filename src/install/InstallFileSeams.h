#pragma once
// The system calls InstallFile makes that decide its path: the drive type of
// the source and the two version-installation functions. Tests replace them
// to reach answers the test machine cannot produce (a removable medium, a
// language conflict); unset members mean the real functions.
#include <windows.h>

#include <functional>

namespace kv::modInstall::seams {

struct SystemFunctions {
  std::function<UINT(LPCWSTR rootPath)> GetDriveType;
  std::function<DWORD(DWORD flags, LPCWSTR fileName, LPCWSTR winDir, LPCWSTR appDir, LPWSTR curDir, PUINT curDirLen,
                      LPWSTR destDir, PUINT destDirLen)>
      VerFindFile;
  std::function<DWORD(DWORD flags, LPCWSTR srcFileName, LPCWSTR destFileName, LPCWSTR srcDir, LPCWSTR destDir,
                      LPCWSTR curDir, LPWSTR tmpFile, PUINT tmpFileLen)>
      VerInstallFile;
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
