// Windows family probe and the restart sequence. ExitWindowsEx is always the
// recording stand-in; the token calls go to the real system where a test
// says so.
#include "platform/SystemRestart.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "session/Session.h"
#include "support/ScriptedUi.h"

namespace kv {
namespace {

using namespace modTools;

TEST(SystemRestart, DecodesGetVersion) {
  test::ScriptedUi ui;
  Session s(ui);
  DecodeWindowsVersion(s, 0x1DB10106u);  // NT 6.1 build 7601
  EXPECT_TRUE(s.IsWindowsNT);
  EXPECT_EQ(s.WinMajorVersion, 6);
  EXPECT_EQ(s.WinMinorVersion, 1);
  DecodeWindowsVersion(s, 0xC0000A04u);  // Windows 98: 4.10, top bit set
  EXPECT_FALSE(s.IsWindowsNT);
  EXPECT_EQ(s.WinMajorVersion, 4);
  EXPECT_EQ(s.WinMinorVersion, 10);
  DecodeWindowsVersion(s, 0x80000000u);
  EXPECT_FALSE(s.IsWindowsNT);

  ProbeWindowsVersion(s);  // wine presents itself as an NT system
  EXPECT_TRUE(s.IsWindowsNT);
  EXPECT_GE(s.WinMajorVersion, 5);
}

// Records the sequence; token calls optionally go to the real system.
class RecordingRestart : public RestartApi {
 public:
  bool realToken = false;
  bool tokenResult = true;
  bool adjustResult = true;
  bool exitResult = true;
  std::vector<std::string> calls;
  TOKEN_PRIVILEGES lastPrivileges = {};
  UINT exitFlags = 0xFFFF;
  DWORD exitReason = 0xFFFF;

  bool OpenProcessToken(HANDLE& token) override {
    calls.push_back("OpenProcessToken");
    if (realToken) return SystemRestartApi().OpenProcessToken(token);
    token = reinterpret_cast<HANDLE>(0x1234);
    return tokenResult;
  }
  void LookupShutdownPrivilege(LUID& luid) override {
    calls.push_back("LookupPrivilegeValue");
    if (realToken) SystemRestartApi().LookupShutdownPrivilege(luid);
  }
  bool AdjustTokenPrivileges(HANDLE token, TOKEN_PRIVILEGES& privileges) override {
    calls.push_back("AdjustTokenPrivileges");
    lastPrivileges = privileges;
    if (realToken) return SystemRestartApi().AdjustTokenPrivileges(token, privileges);
    return adjustResult;
  }
  bool ExitWindowsEx(UINT flags, DWORD reason) override {
    calls.push_back("ExitWindowsEx");
    exitFlags = flags;
    exitReason = reason;
    return exitResult;
  }
};

using Calls = std::vector<std::string>;

TEST(SystemRestart, Windows9xRestartsWithoutPrivileges) {
  test::ScriptedUi ui;
  Session s(ui);
  s.IsWindowsNT = false;
  RecordingRestart api;
  EXPECT_TRUE(RestartWindows(s, api));
  EXPECT_EQ(api.calls, Calls{"ExitWindowsEx"});
  EXPECT_EQ(api.exitFlags, 2u);
  EXPECT_EQ(api.exitReason, 0u);
  api.exitResult = false;
  EXPECT_FALSE(RestartWindows(s, api));
}

TEST(SystemRestart, NoTokenNoRestart) {
  test::ScriptedUi ui;
  Session s(ui);
  RecordingRestart api;
  api.tokenResult = false;
  EXPECT_FALSE(RestartWindows(s, api));
  EXPECT_EQ(api.calls, Calls{"OpenProcessToken"});
}

TEST(SystemRestart, RefusedPrivilegeNoRestart) {
  test::ScriptedUi ui;
  Session s(ui);
  RecordingRestart api;
  api.adjustResult = false;
  EXPECT_FALSE(RestartWindows(s, api));
  EXPECT_EQ(api.calls, (Calls{"OpenProcessToken", "LookupPrivilegeValue", "AdjustTokenPrivileges"}));
}

TEST(SystemRestart, NtEnablesShutdownPrivilegeThenRestarts) {
  test::ScriptedUi ui;
  Session s(ui);
  RecordingRestart api;
  api.realToken = true;  // real token and privilege calls, recorded exit
  EXPECT_TRUE(RestartWindows(s, api));
  EXPECT_EQ(api.calls, (Calls{"OpenProcessToken", "LookupPrivilegeValue", "AdjustTokenPrivileges", "ExitWindowsEx"}));
  EXPECT_EQ(api.exitFlags, static_cast<UINT>(EWX_REBOOT));
  EXPECT_EQ(api.lastPrivileges.PrivilegeCount, 1u);
  EXPECT_EQ(api.lastPrivileges.Privileges[0].Attributes, static_cast<DWORD>(SE_PRIVILEGE_ENABLED));
  LUID shutdown = {};
  ASSERT_TRUE(LookupPrivilegeValueW(nullptr, L"SeShutdownPrivilege", &shutdown));
  EXPECT_EQ(api.lastPrivileges.Privileges[0].Luid.LowPart, shutdown.LowPart);
  EXPECT_EQ(api.lastPrivileges.Privileges[0].Luid.HighPart, shutdown.HighPart);
  // The exit's answer is the result.
  api.exitResult = false;
  EXPECT_FALSE(RestartWindows(s, api));
}

}  // namespace
}  // namespace kv
