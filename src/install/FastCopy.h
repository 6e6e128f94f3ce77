#pragma once
// The quick way to put a new file in place. The system's version-aware copy
// reads and writes the file in small blocks through its decompression layer
// and costs several times a plain copy; for a file that does not exist yet
// its outcome is fixed, so there we copy directly and keep the system call
// for every other case.
#include <windows.h>

#include <string>

namespace kv::modInstall {

// Installs sourcePath as folder\name where nothing exists yet, as the system's
// version-aware copy would: a copy under a temporary name in `folder`, then a
// rename that never replaces. These together leave the system copy no
// outcome but "copied" (result 0) or a physical failure:
//   - the system is of the NT family (long names, no short-name detour);
//   - the version search reported no current copy anywhere;
//   - nothing exists at folder\name (so no version to compare, nothing to
//     delete, nothing in use, nothing write-protected).
// The caller ensures the first two; the third is proven by the rename, which
// fails when anything is there. The source being compressed is the one
// remaining difference (the system copy expands it); such a source is left
// to the system copy.
// On true the file is in place with the last-write time of the source (as the
// system copy leaves it), its attributes cleared and its creation time set to
// `creationTime` (universal time). On false nothing of ours is left and the
// caller makes the system call, which then also reports any failure.
bool CopyNewFile(const std::wstring& sourcePath, const std::wstring& folder, const std::wstring& name,
                 const FILETIME& creationTime);

}  // namespace kv::modInstall
