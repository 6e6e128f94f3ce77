#pragma once
// The quick way to put a new file in place. The system's version-aware copy
// reads and writes the file in small blocks through its decompression layer
// and costs several times a plain copy; for a file that does not exist yet
// its outcome is fixed, so there we copy directly and keep the system call
// for every other case.
#include <windows.h>

#include <functional>
#include <string>

namespace kv::modInstall {

enum class NewFileCopy {
  Copied,    // the file is in place
  Occupied,  // something is already at folder\name; nothing was touched
  Failed,    // nothing of ours is left; the system copy decides
};

// Told each path the quick copy is about to create, before its first byte
// is written, so that the caller can note it (a run ended hard then leaves
// only named files).
using Announce = std::function<void(const std::wstring& path)>;

// Installs sourcePath as folder\name where nothing exists yet, as the system's
// version-aware copy would. Its outcome can then only be "copied" (result 0)
// or a physical failure, given that
//   - the system is of the NT family (long names, no short-name detour);
//   - the version search reported no current copy anywhere;
//   - nothing exists at folder\name (so no version to compare, nothing to
//     delete, nothing in use, nothing write-protected);
//   - the source is not compressed (the system copy would expand it).
// The caller ensures the first two; this function checks the source and
// proves the third:
//   - a small file is created new at its name, which fails when anything is
//     there. The system copy works under a temporary name and renames;
//     creating at the name saves two look-ups of a missing name per file,
//     which dominate a small file's cost under wine. While the bytes are
//     written a partial file is visible at the name, already announced.
//   - a large file is copied under a temporary name and renamed without
//     replacing, as the system copy does (see CopyLargeFile).
// On Copied the file has the last-write time of the source (as the system
// copy leaves it), no attributes and the creation time `creationTime`
// (universal time). On Occupied nothing was touched. On Failed nothing of
// ours is left and the caller makes the system call, which then also reports
// any failure.
NewFileCopy CopyNewFile(const std::wstring& sourcePath, const std::wstring& folder, const std::wstring& name,
                        const FILETIME& creationTime, const Announce& announce);

}  // namespace kv::modInstall
