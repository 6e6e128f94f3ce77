#pragma once
// Registry isolation for a test: while a RegistryGuard lives, the predefined
// keys HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER and HKEY_CLASSES_ROOT of this
// process point to fresh, empty scratch keys. The destructor restores them
// and removes the scratch keys. Process-wide: one guard at a time.
//
// Note: only calls through the predefined handles are redirected. Things the
// system writes by its own path (for example the pending renames MoveFileEx
// records under the session manager key) still land in the real hive.
#include <windows.h>

#include <string>

namespace kv::test {

class RegistryGuard {
 public:
  RegistryGuard();
  ~RegistryGuard();
  RegistryGuard(const RegistryGuard&) = delete;
  RegistryGuard& operator=(const RegistryGuard&) = delete;

  // Where the scratch keys live, relative to the real HKEY_CURRENT_USER
  // (for diagnostics).
  const std::wstring& ScratchPath() const { return scratchPath_; }

 private:
  std::wstring scratchPath_;
  HKEY machine_ = nullptr;
  HKEY user_ = nullptr;
  HKEY classes_ = nullptr;
};

// Test helpers for raw values the product code would never write itself.
// They go through the (possibly redirected) predefined root.
void WriteRawValue(HKEY root, const std::string& keyPath, const std::string& valueName, DWORD type,
                   const void* data, DWORD size);
bool KeyExists(HKEY root, const std::string& keyPath);
bool ValueExists(HKEY root, const std::string& keyPath, const std::string& valueName);
// Raw bytes and type of a value (false when missing).
bool ReadRawValue(HKEY root, const std::string& keyPath, const std::string& valueName, DWORD& type,
                  std::string& bytes);

}  // namespace kv::test
