#include "platform/SystemRestart.h"

#include "session/Session.h"

namespace kv::modTools {

namespace {

class RealRestartApi final : public RestartApi {
 public:
  bool OpenProcessToken(HANDLE& token) override {
    return ::OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token) != 0;
  }
  void LookupShutdownPrivilege(LUID& luid) override { LookupPrivilegeValueW(nullptr, L"SeShutdownPrivilege", &luid); }
  bool AdjustTokenPrivileges(HANDLE token, TOKEN_PRIVILEGES& privileges) override {
    // Room for the previous state of one privilege, as the restart always asked for.
    alignas(TOKEN_PRIVILEGES) BYTE previous[28] = {};
    DWORD returned = 0;
    return ::AdjustTokenPrivileges(token, FALSE, &privileges, sizeof(previous),
                                   reinterpret_cast<TOKEN_PRIVILEGES*>(previous), &returned) != 0;
  }
  bool ExitWindowsEx(UINT flags, DWORD reason) override { return ::ExitWindowsEx(flags, reason) != 0; }
};

}  // namespace

void DecodeWindowsVersion(Session& session, uint32_t version) {
  session.WinMajorVersion = static_cast<int32_t>(version & 255u);
  session.WinMinorVersion = static_cast<int32_t>((version & 65280u) / 256u);
  session.IsWindowsNT = static_cast<int32_t>(version) >= 0;
}

void ProbeWindowsVersion(Session& session) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
  DecodeWindowsVersion(session, GetVersion());
#pragma GCC diagnostic pop
}

RestartApi& SystemRestartApi() {
  static RealRestartApi api;
  return api;
}

bool RestartWindows(const Session& session, RestartApi& api) {
  bool permitted = true;
  if (session.IsWindowsNT) {
    HANDLE token = nullptr;
    if (!api.OpenProcessToken(token)) {
      permitted = false;
    } else {
      TOKEN_PRIVILEGES privileges = {};
      privileges.PrivilegeCount = 1;
      api.LookupShutdownPrivilege(privileges.Privileges[0].Luid);
      privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
      // Success here does not mean the privilege was assigned; ExitWindowsEx
      // has the last word. The token stays open until the process ends.
      permitted = api.AdjustTokenPrivileges(token, privileges);
    }
  }
  if (!permitted) return false;
  return api.ExitWindowsEx(EWX_REBOOT, 0);
}

bool RestartWindows(const Session& session) { return RestartWindows(session, SystemRestartApi()); }

}  // namespace kv::modTools
