// Replacement at restart: the NT branch through the system's own pending
// rename list, the 9x branch through wininit.ini in a scratch folder.
#include "install/MoveFileAtRestart.h"

#include <windows.h>

#include <gtest/gtest.h>

#include "platform/FileTools.h"
#include "platform/WinString.h"
#include "session/Session.h"
#include "support/RegistryGuard.h"
#include "support/ScratchFolder.h"
#include "support/ScriptedUi.h"

namespace kv {
namespace {

using modInstall::MoveFileAtRestart;
using modTools::GetShortPath;
using test::ReadFileBytes;

const char kSessionManager[] = "System\\CurrentControlSet\\Control\\Session Manager";
const char kPending[] = "PendingFileRenameOperations";

// The system's renames for the next start, cleared before and after so the
// test prefix never carries them out.
struct PendingRenames {
  PendingRenames() { Clear(); }
  ~PendingRenames() { Clear(); }
  static void Clear() {
    RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, win::Widen(kSessionManager).c_str(), win::Widen(kPending).c_str());
  }
  // The list as text: NUL-ended entries in pairs, maybe one more NUL at the end.
  static std::wstring Text() {
    DWORD type = 0;
    std::string bytes;
    test::ReadRawValue(HKEY_LOCAL_MACHINE, kSessionManager, kPending, type, bytes);
    std::wstring text(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2);
    if (text.size() >= 2 && text.ends_with(std::wstring(2, L'\0'))) text.pop_back();
    return text;
  }
};

TEST(MoveFileAtRestart, NtSchedulesRenameAndDeleteWithTheSystem) {
  test::ScratchFolder dir;
  const std::string temp = dir.WriteFile("kvtmp0001.tmp", "new");
  const std::string target = dir.WriteFile("Programm Datei.dll", "old");
  test::ScriptedUi ui;
  Session s(ui);
  PendingRenames pending;
  {
    test::RegistryGuard guard;
    MoveFileAtRestart(s, target, "");
    MoveFileAtRestart(s, temp, target);
    // The system writes by its own path, not through the redirected root.
    EXPECT_FALSE(test::ValueExists(HKEY_LOCAL_MACHINE, kSessionManager, kPending));
  }
  EXPECT_TRUE(s.RestartRequired);
  EXPECT_EQ(ReadFileBytes(target) + ReadFileBytes(temp), "oldnew");  // nothing happens now
  // Source, then destination (empty: deletion); a "!" before the destination
  // would mean MOVEFILE_REPLACE_EXISTING, which must not be asked for.
  const std::wstring t = L"\\??\\" + win::Widen(target) + L'\0';
  EXPECT_EQ(pending.Text(), t + L'\0' + L"\\??\\" + win::Widen(temp) + L'\0' + t);

  s.RestartRequired = false;  // a failing call is swallowed; the flag is set all the same
  MoveFileAtRestart(s, "", "");
  EXPECT_TRUE(s.RestartRequired);
}

// Windows 9x: short names in wininit.ini, appended at the end of the file
// whatever section stands last; an unwritable folder is swallowed.
TEST(MoveFileAtRestart, Win9xWritesShortNamesToWininit) {
  test::ScratchFolder dir;
  const std::string temp = dir.WriteFile("Neue Version.dll", "new"), target = dir.WriteFile("Alte Version.dll", "old");
  const std::string ini = dir.WriteFile("wininit.ini", "[rename]\r\nNUL=C:\\OLD.DLL\r\n[other]\r\nx=1\r\n");
  test::ScriptedUi ui;
  Session s(ui);
  s.IsWindowsNT = false;
  s.WinInitFolder = dir.Path();
  MoveFileAtRestart(s, target, "");
  MoveFileAtRestart(s, temp, target);
  EXPECT_TRUE(s.RestartRequired);
  const std::string shortTemp = GetShortPath(temp), shortTarget = GetShortPath(target);
  ASSERT_FALSE(shortTemp.empty());
  EXPECT_EQ(ReadFileBytes(ini), "[rename]\r\nNUL=C:\\OLD.DLL\r\n[other]\r\nx=1\r\nNUL=" + shortTarget + "\r\n" +
                                    shortTarget + "=" + shortTemp + "\r\n");
  EXPECT_EQ(ReadFileBytes(target), "old");
  s.WinInitFolder = dir / "Neu";  // a fresh file starts with its section
  MoveFileAtRestart(s, temp, "");
  EXPECT_EQ(ReadFileBytes(dir / "Neu\\wininit.ini"), "");
  dir.MakeFolder("Neu");
  MoveFileAtRestart(s, temp, "");
  EXPECT_EQ(ReadFileBytes(dir / "Neu\\wininit.ini"), "[rename]\r\nNUL=" + shortTemp + "\r\n");
  EXPECT_FALSE(modTools::FileExists(dir / "Neu\\Neu"));
}

}  // namespace
}  // namespace kv
