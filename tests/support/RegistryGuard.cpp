#include "support/RegistryGuard.h"

#include <atomic>
#include <stdexcept>

#include "platform/WinString.h"

namespace kv::test {

using win::Widen;

namespace {

const wchar_t kScratchRoot[] = L"Software\\KVSetupTests";
const HKEY kRoots[3] = {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER, HKEY_CLASSES_ROOT};
const wchar_t* const kNames[3] = {L"\\HKLM", L"\\HKCU", L"\\HKCR"};

HKEY CreateKey(HKEY root, const std::wstring& path) {
  HKEY key = nullptr;
  if (RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) != ERROR_SUCCESS)
    throw std::runtime_error("RegistryGuard: cannot create key");
  return key;
}

void RestoreRoots() {
  for (HKEY root : kRoots) RegOverridePredefKey(root, nullptr);
}

}  // namespace

RegistryGuard::RegistryGuard() {
  static std::atomic<int> counter{0};
  scratchPath_ = std::wstring(kScratchRoot) + L"\\" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                 std::to_wstring(++counter);
  RegDeleteTreeW(HKEY_CURRENT_USER, scratchPath_.c_str());  // leftover of a crashed run
  for (int i = 0; i < 3; ++i) keys_[i] = CreateKey(HKEY_CURRENT_USER, scratchPath_ + kNames[i]);
  for (int i = 0; i < 3; ++i)
    if (RegOverridePredefKey(kRoots[i], keys_[i]) != ERROR_SUCCESS) {
      RestoreRoots();
      throw std::runtime_error("RegistryGuard: RegOverridePredefKey failed");
    }
}

RegistryGuard::~RegistryGuard() {
  RestoreRoots();
  for (HKEY key : keys_) RegCloseKey(key);
  RegDeleteTreeW(HKEY_CURRENT_USER, scratchPath_.c_str());
  RegDeleteKeyW(HKEY_CURRENT_USER, kScratchRoot);  // only succeeds when no other guard is alive
}

void WriteRawValue(HKEY root, const std::string& keyPath, const std::string& valueName, DWORD type, const void* data,
                   DWORD size) {
  HKEY key = CreateKey(root, Widen(keyPath));
  const LSTATUS status = RegSetValueExW(key, Widen(valueName).c_str(), 0, type, static_cast<const BYTE*>(data), size);
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
  DWORD size = 1 << 20;  // more than any test value
  bytes.assign(size, '\0');
  const bool ok = RegQueryValueExW(key, Widen(valueName).c_str(), nullptr, &type, reinterpret_cast<BYTE*>(bytes.data()),
                                   &size) == ERROR_SUCCESS;
  RegCloseKey(key);
  bytes.resize(ok ? size : 0);
  return ok;
}

bool ValueExists(HKEY root, const std::string& keyPath, const std::string& valueName) {
  DWORD type = 0;
  std::string bytes;
  return ReadRawValue(root, keyPath, valueName, type, bytes);
}

}  // namespace kv::test
