#pragma once
// Registry isolation for a test: while a RegistryGuard lives, HKEY_LOCAL_MACHINE,
// HKEY_CURRENT_USER and HKEY_CLASSES_ROOT of this process point to fresh scratch
// keys, removed again by the destructor. Process-wide: one guard at a time.
// Only calls through the predefined handles are redirected; what the system
// writes by its own path (pending renames of MoveFileEx) lands in the real hive.
#include <windows.h>

#include <string>

namespace kv::test {

class RegistryGuard {
 public:
  RegistryGuard();
  ~RegistryGuard();
  RegistryGuard(const RegistryGuard&) = delete;
  RegistryGuard& operator=(const RegistryGuard&) = delete;

 private:
  std::wstring scratchPath_;
  HKEY keys_[3] = {};
};

// Raw access for values the product code would never write itself; through
// the (possibly redirected) predefined root. ReadRawValue is false when missing.
void WriteRawValue(HKEY root, const std::string& keyPath, const std::string& valueName, DWORD type,
                   const void* data, DWORD size);
bool KeyExists(HKEY root, const std::string& keyPath);
bool ValueExists(HKEY root, const std::string& keyPath, const std::string& valueName);
bool ReadRawValue(HKEY root, const std::string& keyPath, const std::string& valueName, DWORD& type,
                  std::string& bytes);

}  // namespace kv::test
