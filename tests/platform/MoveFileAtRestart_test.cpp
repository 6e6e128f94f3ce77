// Replacement at restart: the NT branch through the system's own pending
// rename list, the 9x branch through wininit.ini in a scratch folder.
#include "install/MoveFileAtRestart.h"

#include <windows.h>

#include <gtest/gtest.h>

#include "platform/FileTools.h"
#include "platform/SpecialFolders.h"
#include "platform/WinString.h"
#include "session/Session.h"
#include "support/RegistryGuard.h"
#include "support/ScratchFolder.h"
#include "support/ScriptedUi.h"

namespace kv {
namespace {

using modInstall::MoveFileAtRestart;
using test::ScratchFolder;

const char kSessionManager[] = "System\\CurrentControlSet\\Control\\Session Manager";
const char kPending[] = "PendingFileRenameOperations";

// The system's list of renames for the next start, as UTF-16 strings; kept
// and put back by the fixture so the prefix does not rename anything later.
class PendingRenames {
 public:
  PendingRenames() { existed_ = test::ReadRawValue(HKEY_LOCAL_MACHINE, kSessionManager, kPending, type_, saved_); }
  ~PendingRenames() {
    if (existed_) {
      test::WriteRawValue(HKEY_LOCAL_MACHINE, kSessionManager, kPending, type_, saved_.data(),
                          static_cast<DWORD>(saved_.size()));
    } else {
      HKEY key = nullptr;
      if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, win::Widen(kSessionManager).c_str(), 0, KEY_SET_VALUE, &key) ==
          ERROR_SUCCESS) {
        RegDeleteValueW(key, win::Widen(kPending).c_str());
        RegCloseKey(key);
      }
    }
  }
  // Entries added since construction (the value is a list of NUL-ended strings).
  std::vector<std::wstring> Added() const {
    DWORD type = 0;
    std::string now;
    if (!test::ReadRawValue(HKEY_LOCAL_MACHINE, kSessionManager, kPending, type, now)) return {};
    std::vector<std::wstring> all = Split(now), before = Split(saved_);
    return std::vector<std::wstring>(all.begin() + static_cast<std::ptrdiff_t>(std::min(before.size(), all.size())),
                                     all.end());
  }

 private:
  // Each entry ends in a NUL; the list may end in one more, which would
  // otherwise look like an empty (deletion) destination. Entries come in pairs.
  static std::vector<std::wstring> Split(const std::string& bytes) {
    const std::wstring text(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2);
    std::vector<std::wstring> items;
    for (size_t from = 0; from < text.size();) {
      const size_t nul = text.find(L'\0', from);
      items.push_back(text.substr(from, nul == std::wstring::npos ? std::wstring::npos : nul - from));
      if (nul == std::wstring::npos) break;
      from = nul + 1;
    }
    if (items.size() % 2 == 1 && items.back().empty()) items.pop_back();
    return items;
  }
  bool existed_ = false;
  DWORD type_ = REG_MULTI_SZ;
  std::string saved_;
};

std::wstring NtPath(const std::string& path) { return L"\\??\\" + win::Widen(path); }

TEST(MoveFileAtRestart, NtSchedulesRenameAndDeleteWithTheSystem) {
  ScratchFolder dir;
  const std::string temp = dir.WriteFile("kvtmp0001.tmp", "new");
  const std::string target = dir.WriteFile("Programm Datei.dll", "old");
  test::ScriptedUi ui;
  Session s(ui);
  s.IsWindowsNT = true;
  PendingRenames pending;

  MoveFileAtRestart(s, target, "");
  MoveFileAtRestart(s, temp, target);
  EXPECT_TRUE(s.RestartRequired);
  // Nothing happens now.
  EXPECT_EQ(test::ReadFileBytes(target), "old");
  EXPECT_EQ(test::ReadFileBytes(temp), "new");

  // Wine records what MoveFileEx was asked for: source, then destination (an
  // empty one for a deletion); a "!" before the destination would mean
  // MOVEFILE_REPLACE_EXISTING, which we must not ask for.
  const std::vector<std::wstring> added = pending.Added();
  ASSERT_EQ(added.size(), 4u);
  EXPECT_EQ(added[0], NtPath(target));
  EXPECT_EQ(added[1], L"");
  EXPECT_EQ(added[2], NtPath(temp));
  EXPECT_EQ(added[3], NtPath(target));
}

TEST(MoveFileAtRestart, NtRenameLandsInTheRealHiveEvenUnderTheGuard) {
  ScratchFolder dir;
  const std::string file = dir.WriteFile("x.dll", "x");
  test::ScriptedUi ui;
  Session s(ui);
  PendingRenames pending;
  {
    test::RegistryGuard guard;
    MoveFileAtRestart(s, file, "");
    // The system writes by its own path, not through the redirected root.
    EXPECT_FALSE(test::ValueExists(HKEY_LOCAL_MACHINE, kSessionManager, kPending));
  }
  const std::vector<std::wstring> added = pending.Added();
  ASSERT_EQ(added.size(), 2u);
  EXPECT_EQ(added[0], NtPath(file));
}

TEST(MoveFileAtRestart, FailureIsSwallowedButRestartStillRequired) {
  test::ScriptedUi ui;
  Session s(ui);
  PendingRenames pending;
  MoveFileAtRestart(s, "", "");
  EXPECT_TRUE(s.RestartRequired);
  s.RestartRequired = false;
  s.IsWindowsNT = false;
  s.WinInitFolder = "C:\\kvtest-does-not-exist\\nowhere";
  MoveFileAtRestart(s, "C:\\a.dll", "C:\\b.dll");
  EXPECT_TRUE(s.RestartRequired);
  EXPECT_FALSE(modTools::FileExists("C:\\kvtest-does-not-exist"));
}

TEST(MoveFileAtRestart, Win9xWritesRenameSection) {
  ScratchFolder dir;
  dir.MakeFolder("Windows");
  dir.MakeFolder("Lange Namen");
  const std::string temp = dir.WriteFile("Lange Namen\\Neue Version.dll", "new");
  const std::string target = dir.WriteFile("Lange Namen\\Alte Version.dll", "old");
  test::ScriptedUi ui;
  Session s(ui);
  s.IsWindowsNT = false;
  s.WinInitFolder = dir / "Windows";

  MoveFileAtRestart(s, target, "");
  MoveFileAtRestart(s, temp, target);
  EXPECT_TRUE(s.RestartRequired);
  const std::string shortTemp = modTools::GetShortPath(temp), shortTarget = modTools::GetShortPath(target);
  ASSERT_FALSE(shortTemp.empty());
  EXPECT_EQ(test::ReadFileBytes(dir / "Windows\\wininit.ini"),
            "[rename]\r\nNUL=" + shortTarget + "\r\n" + shortTarget + "=" + shortTemp + "\r\n");
  EXPECT_EQ(test::ReadFileBytes(target), "old");
}

TEST(MoveFileAtRestart, Win9xAppendsToExistingFileWithoutHeader) {
  ScratchFolder dir;
  const std::string ini = dir.WriteFile("wininit.ini", "[rename]\r\nNUL=C:\\OLD.DLL\r\n[other]\r\nx=1\r\n");
  const std::string file = dir.WriteFile("f.dll", "x");
  test::ScriptedUi ui;
  Session s(ui);
  s.IsWindowsNT = false;
  s.WinInitFolder = dir.Path();
  MoveFileAtRestart(s, file, "");
  EXPECT_EQ(test::ReadFileBytes(ini),
            "[rename]\r\nNUL=C:\\OLD.DLL\r\n[other]\r\nx=1\r\nNUL=" + modTools::GetShortPath(file) + "\r\n");
}

TEST(MoveFileAtRestart, Win9xUsesTheWindowsFolderByDefault) {
  const std::string ini = modSpclFolder::GetWindowsFolder() + "\\wininit.ini";
  if (modTools::FileExists(ini)) GTEST_SKIP() << ini << " already exists; not touching it";
  ScratchFolder dir;
  const std::string file = dir.WriteFile("f.dll", "x");
  test::ScriptedUi ui;
  Session s(ui);
  s.IsWindowsNT = false;
  MoveFileAtRestart(s, file, "");
  const std::string bytes = test::ReadFileBytes(ini);
  DeleteFileW(win::Widen(ini).c_str());
  EXPECT_EQ(bytes, "[rename]\r\nNUL=" + modTools::GetShortPath(file) + "\r\n");
}

// The real thing: wine carries out pending renames when the prefix "restarts"
// (wineboot -r), just as Windows does at boot.
TEST(MoveFileAtRestart, NtRenameIsCarriedOutAtRestart) {
  ScratchFolder dir;
  const std::string temp = dir.WriteFile("kvtmp0002.tmp", "new");
  const std::string target = dir.WriteFile("in use.dll", "old");
  const std::string gone = dir.WriteFile("obsolete.dll", "x");
  test::ScriptedUi ui;
  Session s(ui);
  PendingRenames pending;
  MoveFileAtRestart(s, target, "");
  MoveFileAtRestart(s, temp, target);
  MoveFileAtRestart(s, gone, "");

  std::wstring command = win::Widen(modSpclFolder::GetSystemFolder() + "\\wineboot.exe -r");
  STARTUPINFOW si = {};
  si.cb = sizeof(si);
  PROCESS_INFORMATION pi = {};
  ASSERT_TRUE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi));
  WaitForSingleObject(pi.hProcess, INFINITE);
  CloseHandle(pi.hThread);
  CloseHandle(pi.hProcess);

  EXPECT_EQ(test::ReadFileBytes(target), "new");
  EXPECT_FALSE(modTools::FileExists(temp));
  EXPECT_FALSE(modTools::FileExists(gone));
  EXPECT_TRUE(pending.Added().empty());
}


}  // namespace
}  // namespace kv
