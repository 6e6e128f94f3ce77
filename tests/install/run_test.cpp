// The whole installation run on a package of several files with macros:
// what it records and registers, files in use, repairs and cancellation.
#include <gtest/gtest.h>
#include <winternl.h>

#include <algorithm>

#include "install/AppPaths.h"
#include "install/InstallPackage.h"
#include "install/InstallTestSupport.h"
#include "install/Links.h"
#include "install/UninstallEntry.h"
#include "package/Text.h"
#include "platform/RegTools.h"
#include "platform/SharedFiles.h"

namespace kv::test {
namespace {

namespace reg = modRegTools;

const char* kSetupIni =
    "<header>\r\n"
    " Name=Testprogramm\r\n"
    " Caption=Testprogramm 2.0\r\n"
    " Version=2.0\r\n"
    " EXEFile=%EXE%\r\n"
    "</header>\r\n"
    "<files>\r\n"
    " [file]\r\n"
    "  Name=prog.exe|hilfe.txt\r\n"
    "  DestinationPath=*appdir*\r\n"
    " [/file]\r\n"
    " [file]\r\n"
    "  Name=daten.txt\r\n"
    "  DestinationPath=*appdir*\\Daten\r\n"
    "  %DATENFLAGS%\r\n"
    " [/file]\r\n"
    "</files>\r\n"
    "<onfreshinstall>\r\n"
    " [makedir]\r\n"
    "  Path=*appdir*\\Frisch\r\n"
    " [/makedir]\r\n"
    "</onfreshinstall>\r\n"
    "<onupdate>\r\n"
    " [makedir]\r\n"
    "  Path=*appdir*\\Update\r\n"
    " [/makedir]\r\n"
    "</onupdate>\r\n"
    "<oninstall>\r\n"
    " [regsetstring]\r\n"
    "  Key=HKEY_LOCAL_MACHINE\\Software\\Kivra\\Test\r\n"
    "  Value=Ordner\r\n"
    "  Data=gesetzt\r\n"
    " [/regsetstring]\r\n"
    " [copyfile]\r\n"
    "  FromPath=*appdir*\\hilfe.txt\r\n"
    "  ToPath=*appdir*\\Daten\\hilfe-kopie.txt\r\n"
    " [/copyfile]\r\n"
    "</oninstall>\r\n";

std::string Replace(std::string text, const std::string& what, const std::string& with) {
  size_t at = text.find(what);
  if (at != std::string::npos) text.replace(at, what.size(), with);
  return text;
}

class InstallRun : public InstallFixture {
 protected:
  // Writes the medium (setup.ini and the three files) and loads the package.
  void MakePackage(const std::string& exeFile = "prog.exe", const std::string& datenFlags = "") {
    std::string ini = Replace(Replace(kSetupIni, "%EXE%", exeFile), "%DATENFLAGS%", datenFlags);
    Scratch.WriteFile("medium\\setup.ini", ini);
    Scratch.WriteFile("medium\\prog.exe", "PROGRAMM");
    Scratch.WriteFile("medium\\hilfe.txt", "HILFE");
    Scratch.WriteFile("medium\\daten.txt", "DATEN");
    Package->Load(Medium + "\\setup.ini");
    ASSERT_EQ(Package->Files.size(), 3u);
  }
  void RunInstall(bool repair = false, bool update = false) {
    modInstall::InstallPackage(session, *Package, repair, update);
  }
  CFile& File(const std::string& name) { return **Package->Files.Find(name); }
  bool Marked(const char* folder) { return Exists(App + "\\" + folder); }
};

TEST_F(InstallRun, FreshRunInstallsRecordsRegistersAndRunsTheMacros) {
  MakePackage();
  session.PackageRegistered = true;
  ui.SetMousePointer(MousePointer::Default);
  const double start = ui.Now();
  RunInstall();

  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_EQ(ReadFileBytes(App + "\\prog.exe"), "PROGRAMM");
  EXPECT_EQ(ReadFileBytes(App + "\\hilfe.txt"), "HILFE");
  EXPECT_EQ(ReadFileBytes(App + "\\Daten\\daten.txt"), "DATEN");
  // status.ini on disk has every file.
  for (const char* name : {"prog.exe", "hilfe.txt"}) {
    auto [installed, in] = SavedRecord(name);
    EXPECT_EQ(installed, 1) << name;
    EXPECT_TRUE(EqualsNoCase(in, App)) << name << ": " << in;
  }
  EXPECT_TRUE(EqualsNoCase(SavedRecord("daten.txt").second, App + "\\Daten"));
  EXPECT_TRUE(session.FilesInstalled);
  EXPECT_FALSE(session.PackageRegistered);
  EXPECT_FALSE(session.RestartRequired);
  EXPECT_FALSE(session.Cancelled);

  // Registration phase.
  EXPECT_EQ(reg::GetString(modInstall::LinkExtension(*Package), "", "-", HKEY_CLASSES_ROOT),
            "KivraSetup.Link.Testprogramm_2.0");
  EXPECT_EQ(reg::GetString(modInstall::AppPathKey(*Package), "", "-", HKEY_LOCAL_MACHINE), App + "\\prog.exe");
  const std::string entry = modInstall::UninstallEntryKey(*Package);
  EXPECT_EQ(reg::GetString(entry, "DisplayName", "-", HKEY_LOCAL_MACHINE), "Testprogramm 2.0 (Version 2.0)");
  EXPECT_EQ(reg::GetString(entry, "DisplayIcon", "-", HKEY_LOCAL_MACHINE), App + "\\prog.exe,0");

  // Macro phase: onfreshinstall, then oninstall (which sees the installed files).
  EXPECT_TRUE(Marked("Frisch"));
  EXPECT_FALSE(Marked("Update"));
  EXPECT_EQ(reg::GetString("Software\\Kivra\\Test", "Ordner", "-", HKEY_LOCAL_MACHINE), "gesetzt");
  EXPECT_EQ(ReadFileBytes(App + "\\Daten\\hilfe-kopie.txt"), "HILFE");

  // The page stayed up for the minimum time on the interaction's clock, and
  // the pointer is back.
  EXPECT_GT(ui.Now() - start, 1.0);
  EXPECT_EQ(ui.GetMousePointer(), MousePointer::Default);
}

TEST_F(InstallRun, UpdateRunsTheUpdateMacroInsteadOfTheFreshOne) {
  MakePackage();
  RunInstall(false, true);
  EXPECT_TRUE(Marked("Update"));
  EXPECT_FALSE(Marked("Frisch"));
}

TEST_F(InstallRun, WithoutAProgramNoLinkClassNoAppPathNoIcon) {
  MakePackage("");
  RunInstall();
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, modInstall::LinkExtension(*Package)));
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, modInstall::LinkClassName(*Package)));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Windows\\CurrentVersion\\App Paths"));
  const std::string entry = modInstall::UninstallEntryKey(*Package);
  EXPECT_TRUE(ValueExists(HKEY_LOCAL_MACHINE, entry, "DisplayName"));
  EXPECT_TRUE(ValueExists(HKEY_LOCAL_MACHINE, entry, "UninstallString"));
  EXPECT_FALSE(ValueExists(HKEY_LOCAL_MACHINE, entry, "DisplayIcon"));
}

TEST_F(InstallRun, InstalledFilesAreLeftAloneButRegistrationAndMacrosRun) {
  MakePackage();
  for (auto& f : Package->Files) {
    f->Installed = 1;
    f->InstalledIn = App;
  }
  Scratch.MakeFolder("Programme\\Testprogramm\\Daten");
  Scratch.WriteFile("Programme\\Testprogramm\\hilfe.txt", "VORHANDEN");
  DeleteFileW(win::Widen(Medium + "\\prog.exe").c_str());  // would ask if it were looked for
  RunInstall();
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_FALSE(Exists(App + "\\prog.exe"));
  EXPECT_EQ(ReadFileBytes(App + "\\hilfe.txt"), "VORHANDEN");
  EXPECT_TRUE(ValueExists(HKEY_LOCAL_MACHINE, modInstall::UninstallEntryKey(*Package), "DisplayName"));
  EXPECT_TRUE(Marked("Frisch"));
}

TEST_F(InstallRun, CancelDuringTheFilePhaseSkipsRegistrationAndMacros) {
  MakePackage();
  session.PackageRegistered = true;
  ui.OnDoEvents = [this] { session.Cancelled = true; };  // "Abbrechen" after the first file
  RunInstall();

  EXPECT_TRUE(Exists(App + "\\prog.exe"));
  EXPECT_FALSE(Exists(App + "\\hilfe.txt"));
  EXPECT_FALSE(Exists(App + "\\Daten\\daten.txt"));
  EXPECT_EQ(SavedRecord("prog.exe").first, 1);  // what is on disk is on record
  EXPECT_EQ(SavedRecord("hilfe.txt").first, 0);
  EXPECT_TRUE(session.PackageRegistered);  // the registration phase never began
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, modInstall::UninstallEntryKey(*Package)));
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, modInstall::LinkClassName(*Package)));
  EXPECT_FALSE(Marked("Frisch"));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Kivra\\Test"));
}

TEST_F(InstallRun, NothingIsWrittenBackAfterARollbackRemovedThePackageData) {
  MakePackage();
  int calls = 0;
  ui.OnDoEvents = [&] {
    // After the second file (whose record is not written yet) the cancel
    // procedure rolled everything back, package data included.
    if (++calls < 2) return;
    session.Cancelled = true;
    RemoveTree(PackageData);
  };
  RunInstall();
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_FALSE(Exists(PackageData));
}

TEST_F(InstallRun, AbortAtAFileSkipsTheRestOfTheRun) {
  MakePackage();
  DeleteFileW(win::Widen(Medium + "\\hilfe.txt").c_str());
  ui.Answer(MsgResult::Abort);  // at the missing-source prompt; the cancel is confirmed
  RunInstall();
  EXPECT_TRUE(session.Cancelled);
  EXPECT_FALSE(Exists(App + "\\Daten\\daten.txt"));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, modInstall::UninstallEntryKey(*Package)));
  EXPECT_FALSE(Marked("Frisch"));
}

// --- files in use -----------------------------------------------------------

// The pending renames the system keeps for the next start. They are written
// by the system itself, past our registry redirection, so they are read from
// the real machine hive through the native API.
class SessionManagerKey {
 public:
  SessionManagerKey() {
    using NtOpenKeyFn = LONG(NTAPI*)(PHANDLE, ACCESS_MASK, POBJECT_ATTRIBUTES);
    auto open = reinterpret_cast<NtOpenKeyFn>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtOpenKey")));
    UNICODE_STRING name;
    wchar_t path[] = L"\\Registry\\Machine\\System\\CurrentControlSet\\Control\\Session Manager";
    name.Buffer = path;
    name.Length = static_cast<USHORT>(wcslen(path) * sizeof(wchar_t));
    name.MaximumLength = name.Length;
    OBJECT_ATTRIBUTES attributes;
    InitializeObjectAttributes(&attributes, &name, OBJ_CASE_INSENSITIVE, nullptr, nullptr);
    HANDLE h = nullptr;
    if (open && open(&h, KEY_QUERY_VALUE | KEY_SET_VALUE, &attributes) == 0) key_ = static_cast<HKEY>(h);
  }
  ~SessionManagerKey() {
    if (key_) RegCloseKey(key_);
  }
  bool IsOpen() const { return key_ != nullptr; }

  std::vector<std::wstring> Entries() const {
    std::vector<std::wstring> entries;
    DWORD type = 0, size = 0;
    if (RegQueryValueExW(key_, L"PendingFileRenameOperations", nullptr, &type, nullptr, &size) != ERROR_SUCCESS)
      return entries;
    std::wstring buffer(size / sizeof(wchar_t) + 1, L'\0');
    RegQueryValueExW(key_, L"PendingFileRenameOperations", nullptr, &type, reinterpret_cast<BYTE*>(buffer.data()),
                     &size);
    buffer.resize(size / sizeof(wchar_t));
    // Pairs of (source, target); an empty target means deletion. Split at
    // every NUL, keeping empty pieces, and drop the list's final terminator.
    size_t at = 0;
    while (at < buffer.size()) {
      size_t end = buffer.find(L'\0', at);
      if (end == std::wstring::npos) end = buffer.size();
      entries.push_back(buffer.substr(at, end - at));
      at = end + 1;
    }
    if (entries.size() % 2 == 1 && entries.back().empty()) entries.pop_back();
    return entries;
  }

  // Drops every pair whose source lies below `folder`, so that no later
  // restart of the test prefix acts on this test's files.
  void ForgetBelow(const std::string& folder) {
    std::vector<std::wstring> entries = Entries();
    std::wstring kept;
    const std::wstring needle = win::Widen(LowerCase(folder));
    for (size_t i = 0; i + 1 < entries.size(); i += 2) {
      if (win::Widen(LowerCase(win::Narrow(entries[i]))).find(needle) != std::wstring::npos) continue;
      kept += entries[i] + L'\0' + entries[i + 1] + L'\0';
    }
    if (kept.empty()) {
      RegDeleteValueW(key_, L"PendingFileRenameOperations");
      return;
    }
    kept += L'\0';
    RegSetValueExW(key_, L"PendingFileRenameOperations", 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(kept.data()),
                   static_cast<DWORD>(kept.size() * sizeof(wchar_t)));
  }

 private:
  HKEY key_ = nullptr;
};

bool SamePath(const std::wstring& entry, const std::string& path) {
  std::string e = win::Narrow(entry);
  if (e.rfind("\\??\\", 0) == 0) e = e.substr(4);
  if (!e.empty() && e[0] == '!') e = e.substr(1);
  if (e.rfind("\\??\\", 0) == 0) e = e.substr(4);
  return EqualsNoCase(e, path);
}

// A running program's file: the medium carries version 2, the disk holds
// version 1 and keeps it open.
class InUseRun : public InstallRun {
 protected:
  void SetUp() override {
    MakePackage();
    Scratch.MakeFolder("Programme\\Testprogramm");
    MakeVersionedFile(Medium + "\\prog.exe", {2, 0, 0, 0});
    MakeVersionedFile(target, {1, 0, 0, 0});
    oldBytes = ReadFileBytes(target);
  }
  const std::string target = App + "\\prog.exe";
  std::string oldBytes;
};

TEST_F(InUseRun, FileInUseIsReplacedAtRestartDeletionFirst) {
  SessionManagerKey sessionManager;
  ASSERT_TRUE(sessionManager.IsOpen());
  {
    HeldOpen running(target);
    ASSERT_TRUE(running.Holding());
    RunInstall();
  }
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_TRUE(session.RestartRequired);
  EXPECT_EQ(ReadFileBytes(target), oldBytes);
  EXPECT_EQ(File("prog.exe").Installed, 1);

  // The new file waits beside the old one under a free name.
  const std::string temporary = App + "\\prog (1).exe";
  EXPECT_EQ(ReadFileBytes(temporary), ReadFileBytes(Medium + "\\prog.exe"));

  std::vector<std::wstring> entries = sessionManager.Entries();
  sessionManager.ForgetBelow(Scratch.Path());
  // Ours are the last two pairs: delete the old file, then rename the copy.
  ASSERT_GE(entries.size(), 4u);
  size_t n = entries.size();
  EXPECT_TRUE(SamePath(entries[n - 4], target)) << win::Narrow(entries[n - 4]);
  EXPECT_TRUE(entries[n - 3].empty());
  EXPECT_TRUE(SamePath(entries[n - 2], temporary)) << win::Narrow(entries[n - 2]);
  EXPECT_TRUE(SamePath(entries[n - 1], target)) << win::Narrow(entries[n - 1]);
}

TEST_F(InUseRun, CancelledRunSchedulesNoReplacement) {
  SessionManagerKey sessionManager;
  ASSERT_TRUE(sessionManager.IsOpen());
  {
    HeldOpen running(target);
    ui.OnDoEvents = [this] { session.Cancelled = true; };  // right after prog.exe
    RunInstall();
  }
  std::vector<std::wstring> entries = sessionManager.Entries();
  sessionManager.ForgetBelow(Scratch.Path());
  EXPECT_FALSE(session.RestartRequired);
  for (const std::wstring& entry : entries)
    EXPECT_EQ(LowerCase(win::Narrow(entry)).find(LowerCase(Scratch.Path())), std::string::npos) << win::Narrow(entry);
  // The run ends at once; the copy it made stays untouched (the cancel
  // procedure, not the run, decides what is removed).
  EXPECT_EQ(ReadFileBytes(App + "\\prog (1).exe"), ReadFileBytes(Medium + "\\prog.exe"));
  EXPECT_EQ(ReadFileBytes(target), oldBytes);
}

// --- repair -----------------------------------------------------------------

class RepairRun : public InstallRun {
 protected:
  void SetUp() override {
    MakePackage("prog.exe", "DontOverwrite=YES");
    RunInstall();
    ASSERT_TRUE(ui.Boxes().empty());
    ASSERT_EQ(File("hilfe.txt").Installed, 1);
    // The medium now carries newer contents.
    Scratch.WriteFile("medium\\prog.exe", "PROGRAMM 2");
    Scratch.WriteFile("medium\\hilfe.txt", "HILFE 2");
    Scratch.WriteFile("medium\\daten.txt", "DATEN 2");
    RemoveDirectoryW(win::Widen(App + "\\Frisch").c_str());
  }
};

TEST_F(RepairRun, ReinstallsEveryFileAndKeepsNoOldCopy) {
  RunInstall(true);
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_EQ(ReadFileBytes(App + "\\prog.exe"), "PROGRAMM 2");
  EXPECT_EQ(ReadFileBytes(App + "\\hilfe.txt"), "HILFE 2");
  EXPECT_EQ(File("prog.exe").Installed, 1);
  std::vector<std::string> names = ListFolder(App);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"Daten", "Frisch", "hilfe.txt", "prog.exe"}));
  EXPECT_TRUE(Marked("Frisch"));  // a repair runs the macros too
}

TEST_F(RepairRun, AFileMissingFromTheDiskComesBack) {
  DeleteFileW(win::Widen(App + "\\hilfe.txt").c_str());
  RunInstall(true);
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_EQ(ReadFileBytes(App + "\\hilfe.txt"), "HILFE 2");
  EXPECT_EQ(SavedRecord("hilfe.txt").first, 1);
}

TEST_F(RepairRun, DontOverwriteFileIsNotTouched) {
  RunInstall(true);
  EXPECT_EQ(ReadFileBytes(App + "\\Daten\\daten.txt"), "DATEN");
  std::vector<std::string> names = ListFolder(App + "\\Daten");
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"daten.txt", "hilfe-kopie.txt"}));
}

TEST_F(RepairRun, FailedReinstallLeavesTheOldFileUnderItsOwnName) {
  DeleteFileW(win::Widen(Medium + "\\hilfe.txt").c_str());
  ui.Answer(MsgResult::Ignore);  // at the missing-source prompt
  RunInstall(true);

  ASSERT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ReadFileBytes(App + "\\hilfe.txt"), "HILFE");
  EXPECT_EQ(ReadFileBytes(App + "\\prog.exe"), "PROGRAMM 2");  // the others were repaired
  std::vector<std::string> names = ListFolder(App);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"Daten", "Frisch", "hilfe.txt", "prog.exe"}));
  // The record says "not installed", as the unregistration left it...
  EXPECT_EQ(File("hilfe.txt").Installed, 0);
  EXPECT_EQ(SavedRecord("hilfe.txt").first, 0);

  // ...so the next ordinary run installs it again over the old copy.
  Scratch.WriteFile("medium\\hilfe.txt", "HILFE 3");
  RemoveDirectoryW(win::Widen(App + "\\Frisch").c_str());
  RunInstall();
  EXPECT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ReadFileBytes(App + "\\hilfe.txt"), "HILFE 3");
  EXPECT_EQ(SavedRecord("hilfe.txt").first, 1);
}

TEST_F(RepairRun, SharedFileStillUsedElsewhereIsLeftAsItIs) {
  CFile& help = File("hilfe.txt");
  help.SharedFile = true;
  const std::string path = App + "\\hilfe.txt";
  reg::SetNumber(modTools::kSharedDllsKey, path, 2, HKEY_LOCAL_MACHINE);
  RunInstall(true);

  EXPECT_EQ(ReadFileBytes(path), "HILFE");  // neither moved aside nor replaced
  EXPECT_EQ(reg::GetNumber(modTools::kSharedDllsKey, path, -1, HKEY_LOCAL_MACHINE), 1);
  EXPECT_EQ(help.Installed, 0);  // our reference is given up, on record too
  EXPECT_EQ(SavedRecord("hilfe.txt").first, 0);
  EXPECT_EQ(ReadFileBytes(App + "\\prog.exe"), "PROGRAMM 2");
}

TEST_F(RepairRun, RegistrationPhaseIsSkipped) {
  reg::DeleteTree(modInstall::UninstallEntryKey(*Package), HKEY_LOCAL_MACHINE);
  session.PackageRegistered = true;
  RunInstall(true);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, modInstall::UninstallEntryKey(*Package)));
  EXPECT_TRUE(session.PackageRegistered);
}

}  // namespace
}  // namespace kv::test
