// Windows family probe and the restart sequence through a recording stand-in.
#include "platform/SystemRestart.h"

#include <gtest/gtest.h>

#include "session/Session.h"
#include "support/ScriptedUi.h"

namespace kv {
namespace {

using namespace modTools;

TEST(SystemRestart, DecodesGetVersion) {
  test::ScriptedUi ui;
  Session s(ui);
  DecodeWindowsVersion(s, 0x1DB10106u);  // NT 6.1 build 7601
  EXPECT_EQ((std::vector<int>{s.IsWindowsNT, s.WinMajorVersion, s.WinMinorVersion}), (std::vector<int>{1, 6, 1}));
  DecodeWindowsVersion(s, 0xC0000A04u);  // Windows 98: 4.10, top bit set
  EXPECT_EQ((std::vector<int>{s.IsWindowsNT, s.WinMajorVersion, s.WinMinorVersion}), (std::vector<int>{0, 4, 10}));
  ProbeWindowsVersion(s);  // wine presents itself as an NT system
  EXPECT_TRUE(s.IsWindowsNT);
  EXPECT_GE(s.WinMajorVersion, 5);
}

// Records the calls as one letter each: T(oken), L(ookup), A(djust), E(xit).
struct RecordingRestart : RestartApi {
  bool token = true, adjust = true, exit = true;
  std::string calls;
  TOKEN_PRIVILEGES privileges = {};
  UINT flags = 0xFFFF;
  DWORD reason = 0xFFFF;
  bool OpenProcessToken(HANDLE&) override { return calls += 'T', token; }
  void LookupShutdownPrivilege(LUID& luid) override { calls += 'L', luid = {0x77, 0}; }
  bool AdjustTokenPrivileges(HANDLE, TOKEN_PRIVILEGES& p) override { return calls += 'A', privileges = p, adjust; }
  bool ExitWindowsEx(UINT f, DWORD r) override { return calls += 'E', flags = f, reason = r, exit; }
};

TEST(SystemRestart, PathsThroughTheSeam) {
  struct Row { bool nt, token, adjust, exit, result; const char* calls; };
  const Row rows[] = {{false, true, true, true, true, "E"},   {false, true, true, false, false, "E"},
                      {true, false, true, true, false, "T"},  {true, true, false, true, false, "TLA"},
                      {true, true, true, false, false, "TLAE"}, {true, true, true, true, true, "TLAE"}};
  for (const Row& r : rows) {
    SCOPED_TRACE(r.calls);
    test::ScriptedUi ui;
    Session s(ui);
    s.IsWindowsNT = r.nt;
    RecordingRestart api;
    api.token = r.token, api.adjust = r.adjust, api.exit = r.exit;
    EXPECT_EQ(RestartWindows(s, api), r.result);
    EXPECT_EQ(api.calls, r.calls);
    if (std::string(r.calls).back() == 'E') { EXPECT_TRUE(api.flags == EWX_REBOOT && api.reason == 0); }
    if (std::string(r.calls).find('A') != std::string::npos) {  // one privilege, the looked-up one, enabled
      EXPECT_EQ(api.privileges.PrivilegeCount, 1u);
      EXPECT_EQ(api.privileges.Privileges[0].Luid.LowPart, 0x77u);
      EXPECT_EQ(api.privileges.Privileges[0].Attributes, static_cast<DWORD>(SE_PRIVILEGE_ENABLED));
    }
  }
}

}  // namespace
}  // namespace kv
