#pragma once
// The Windows family probe (run once at start-up) and the restart of the
// computer that the finish page offers.
#include <windows.h>

#include <cstdint>

namespace kv {
struct Session;
}

namespace kv::modTools {

// Fills Session.IsWindowsNT, WinMajorVersion and WinMinorVersion from GetVersion.
void ProbeWindowsVersion(Session& session);
// The same decoding for a given GetVersion result (tests feed 9x values).
void DecodeWindowsVersion(Session& session, uint32_t getVersionResult);

// The system calls RestartWindows makes. The real implementation is the
// default; tests put a stand-in in front of ExitWindowsEx so that nothing
// ever restarts the machine they run on.
class RestartApi {
 public:
  virtual ~RestartApi() = default;
  // OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY).
  virtual bool OpenProcessToken(HANDLE& token) = 0;
  // LookupPrivilegeValue(NULL, "SeShutdownPrivilege"); its result is not used.
  virtual void LookupShutdownPrivilege(LUID& luid) = 0;
  // AdjustTokenPrivileges(token, FALSE, &privileges, 28-byte previous state).
  virtual bool AdjustTokenPrivileges(HANDLE token, TOKEN_PRIVILEGES& privileges) = 0;
  virtual bool ExitWindowsEx(UINT flags, DWORD reason) = 0;
};
// The real calls.
RestartApi& SystemRestartApi();

// On the NT family enables the shutdown privilege first (no token: false,
// ExitWindowsEx not called); then ExitWindowsEx(EWX_REBOOT, 0). True when
// Windows accepted the restart.
bool RestartWindows(const Session& session, RestartApi& api);
bool RestartWindows(const Session& session);

}  // namespace kv::modTools
