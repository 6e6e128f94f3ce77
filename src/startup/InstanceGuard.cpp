#include "startup/InstanceGuard.h"

namespace kv::modSetup {
namespace {
const wchar_t kName[] = L"Global\\KivraSetup.Installation";
}

InstanceGuard::InstanceGuard() {
  mutex_ = CreateMutexW(nullptr, FALSE, kName);
  acquired_ = mutex_ != nullptr && GetLastError() != ERROR_ALREADY_EXISTS;
  if (!acquired_ && mutex_) {
    CloseHandle(mutex_);
    mutex_ = nullptr;
  }
}

InstanceGuard::~InstanceGuard() {
  if (mutex_) CloseHandle(mutex_);
}

bool InstanceGuard::AnotherRunning() {
  HANDLE existing = OpenMutexW(SYNCHRONIZE, FALSE, kName);
  if (!existing) return false;
  CloseHandle(existing);
  return true;
}

}  // namespace kv::modSetup
