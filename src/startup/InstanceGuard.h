#pragma once
// One installation at a time per machine: two runs working on the same
// installer folder, package index and shared-file counts would spoil each
// other's work. A named mutex in the global namespace marks a running one.
#include <windows.h>

namespace kv::modSetup {

class InstanceGuard {
 public:
  InstanceGuard();
  ~InstanceGuard();
  InstanceGuard(const InstanceGuard&) = delete;
  InstanceGuard& operator=(const InstanceGuard&) = delete;

  // False when another installer process holds the mark already.
  bool Acquired() const { return acquired_; }

  // Only looks: setup.exe must not hold the mark for the installer it starts.
  static bool AnotherRunning();

 private:
  HANDLE mutex_ = nullptr;
  bool acquired_ = false;
};

}  // namespace kv::modSetup
