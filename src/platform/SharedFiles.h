#pragma once
// Usage counts of shared files: one REG_DWORD per file under
// HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\SharedDLLs,
// named by the file's full path.
#include <string>

namespace kv::modTools {

inline constexpr const char* kSharedDllsKey = "Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs";

// Raises the count of `path`. Without a count yet: 1, or 2 when the file was
// already at its destination before we copied it (someone else used it).
void AddSharedFileReference(const std::string& path, bool existedBefore);

// Lowers the count of `path`; true when it reached zero (value removed) and
// the file may go. False for an empty path or a file not known as shared.
// A count missing under the long name is looked for under the short (8.3)
// name; writes and deletes still use the long name.
bool ReleaseSharedFileReference(const std::string& path);

}  // namespace kv::modTools
