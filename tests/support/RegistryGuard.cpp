#include "support/RegistryGuard.h"

#include <atomic>
#include <stdexcept>
#include <vector>

#include "platform/WinString.h"

namespace kv::test {

using win::Widen;

namespace {

const wchar_t kScratchRoot[] = L"Software\\KVSetupTests";

HKEY CreateKey(HKEY root, const std::wstring& path) {
  HKEY key = nullptr;
  if (RegCreateKeyExW(root, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &key,
                      nullptr) != ERROR_SUCCESS)
    throw std::runtime_error("RegistryGuard: cannot create scratch key");
  return key;
}

}  // namespace

RegistryGuard::RegistryGuard() {
  static std::atomic<int> counter{0};
  scratchPath_ = std::wstring(kScratchRoot) + L"\\" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                 std::to_wstring(++counter);
  // A leftover from a crashed run under the same name would leak old values in.
  RegDeleteTreeW(HKEY_CURRENT_USER, scratchPath_.c_str());
  machine_ = CreateKey(HKEY_CURRENT_USER, scratchPath_ + L"\\HKLM");
  user_ = CreateKey(HKEY_CURRENT_USER, scratchPath_ + L"\\HKCU");
  classes_ = CreateKey(HKEY_CURRENT_USER, scratchPath_ + L"\\HKCR");
  if (RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine_) != ERROR_SUCCESS ||
      RegOverridePredefKey(HKEY_CLASSES_ROOT, classes_) != ERROR_SUCCESS ||
      RegOverridePredefKey(HKEY_CURRENT_USER, user_) != ERROR_SUCCESS) {
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
    RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    throw std::runtime_error("RegistryGuard: RegOverridePredefKey failed");
  }
}

RegistryGuard::~RegistryGuard() {
  // Real roots back first: the scratch keys live under the real HKCU.
  RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
  RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
  RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
  RegCloseKey(machine_);
  RegCloseKey(user_);
  RegCloseKey(classes_);
  RegDeleteTreeW(HKEY_CURRENT_USER, scratchPath_.c_str());
  RegDeleteKeyW(HKEY_CURRENT_USER, kScratchRoot);  // only succeeds when no other guard is alive
}

void WriteRawValue(HKEY root, const std::string& keyPath, const std::string& valueName, DWORD type, const void* data,
                   DWORD size) {
  HKEY key = CreateKey(root, Widen(keyPath));
  const LSTATUS status =
      RegSetValueExW(key, Widen(valueName).c_str(), 0, type, static_cast<const BYTE*>(data), size);
  RegCloseKey(key);
  if (status != ERROR_SUCCESS) throw std::runtime_error("WriteRawValue failed");
}

bool KeyExists(HKEY root, const std::string& keyPath) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(root, Widen(keyPath).c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
  RegCloseKey(key);
  return true;
}

bool ReadRawValue(HKEY root, const std::string& keyPath, const std::string& valueName, DWORD& type,
                  std::string& bytes) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(root, Widen(keyPath).c_str(), 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS) return false;
  const std::wstring name = Widen(valueName);
  DWORD size = 0;
  bool ok = RegQueryValueExW(key, name.c_str(), nullptr, &type, nullptr, &size) == ERROR_SUCCESS;
  if (ok) {
    bytes.assign(size, '\0');
    ok = RegQueryValueExW(key, name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(bytes.data()), &size) ==
         ERROR_SUCCESS;
    bytes.resize(size);
  }
  RegCloseKey(key);
  return ok;
}

bool ValueExists(HKEY root, const std::string& keyPath, const std::string& valueName) {
  DWORD type = 0;
  std::string bytes;
  return ReadRawValue(root, keyPath, valueName, type, bytes);
}

}  // namespace kv::test
