#include "platform/SharedFiles.h"

#include <windows.h>

#include "platform/FileTools.h"
#include "platform/RegTools.h"

namespace kv::modTools {

void AddSharedFileReference(const std::string& path, bool existedBefore) {
  const int32_t count = modRegTools::GetNumber(kSharedDllsKey, path, -1, HKEY_LOCAL_MACHINE);
  if (count > 0) {
    modRegTools::SetNumber(kSharedDllsKey, path, count + 1, HKEY_LOCAL_MACHINE);
    return;
  }
  // A file that was already there without a count had a user before us.
  modRegTools::SetNumber(kSharedDllsKey, path, existedBefore ? 2 : 1, HKEY_LOCAL_MACHINE);
}

bool ReleaseSharedFileReference(const std::string& path) {
  if (path.empty()) return false;
  int32_t count = modRegTools::GetNumber(kSharedDllsKey, path, -1, HKEY_LOCAL_MACHINE);
  // Older installers registered short names; such a count is honoured, but
  // from now on the long name is the one we write and delete.
  if (count == -1) count = modRegTools::GetNumber(kSharedDllsKey, GetShortPath(path), -1, HKEY_LOCAL_MACHINE);
  if (count <= 0) return false;
  if (count == 1) {
    modRegTools::Delete(kSharedDllsKey, path, HKEY_LOCAL_MACHINE);
    return true;
  }
  modRegTools::SetNumber(kSharedDllsKey, path, count - 1, HKEY_LOCAL_MACHINE);
  return false;
}

}  // namespace kv::modTools
