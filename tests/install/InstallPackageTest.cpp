// The whole installation run on a package of several files with macros:
// what it records and registers, files in use, repairs and cancellation.
#include <gtest/gtest.h>
#include <winternl.h>

#include <cstring>

#include "install/AppPaths.h"
#include "run/InstallPackage.h"
#include "install/InstallTestSupport.h"
#include "install/Links.h"
#include "install/UninstallEntry.h"
#include "base/Text.h"
#include "platform/RegTools.h"
#include "platform/SharedFiles.h"

namespace kv::test {
namespace {

namespace reg = modRegTools;

// Three files (one in a subfolder), a macro per kind of run and oninstall.
const char* kSetupIni =
    "<header>\n Name=Testprogramm\n Caption=Testprogramm 2.0\n Version=2.0\n EXEFile=%EXE%\n</header>\n"
    "<files>\n [file]\n  Name=prog.exe|hilfe.txt\n  DestinationPath=*appdir*\n [/file]\n"
    " [file]\n  Name=daten.txt\n  DestinationPath=*appdir*\\Daten\n  %DATENFLAGS%\n [/file]\n</files>\n"
    "<onfreshinstall>\n [makedir]\n  Path=*appdir*\\Frisch\n [/makedir]\n</onfreshinstall>\n"
    "<onupdate>\n [makedir]\n  Path=*appdir*\\Update\n [/makedir]\n</onupdate>\n"
    "<oninstall>\n"
    " [regsetstring]\n  Key=HKEY_LOCAL_MACHINE\\Software\\Kivra\\Test\n  Value=Ordner\n  Data=gesetzt\n [/regsetstring]\n"
    " [copyfile]\n  FromPath=*appdir*\\hilfe.txt\n  ToPath=*appdir*\\Daten\\hilfe-kopie.txt\n [/copyfile]\n"
    "</oninstall>\n";

std::string Replace(std::string text, const std::string& what, const std::string& with) {
  return text.replace(text.find(what), what.size(), with);
}

class InstallRun : public InstallFixture {
 protected:
  // Writes the medium (setup.ini and the three files) and loads the package.
  void MakePackage(const std::string& exeFile = "prog.exe", const std::string& datenFlags = "") {
    Scratch.WriteFile("medium\\setup.ini", Replace(Replace(kSetupIni, "%EXE%", exeFile), "%DATENFLAGS%", datenFlags));
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
  bool Registered() { return KeyExists(HKEY_LOCAL_MACHINE, modInstall::UninstallEntryKey(*Package)); }
};

TEST_F(InstallRun, FreshRunInstallsRecordsRegistersAndRunsTheMacros) {
  MakePackage();
  session.PackageRegistered = true;
  const double start = ui.Now();
  RunInstall();

  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_EQ(ReadFileBytes(App + "\\prog.exe"), "PROGRAMM");
  EXPECT_EQ(ReadFileBytes(App + "\\hilfe.txt"), "HILFE");
  EXPECT_EQ(ReadFileBytes(App + "\\Daten\\daten.txt"), "DATEN");
  for (const char* name : {"prog.exe", "hilfe.txt"}) {  // status.ini on disk has every file
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
  // The page stayed up for its minimum time; the pointer is back.
  EXPECT_GT(ui.Now() - start, 1.0);
  EXPECT_EQ(ui.GetMousePointer(), MousePointer::Default);
}

// An update without a program over files already on record: those are left
// alone; the update macro runs; no link class, application path or icon.
TEST_F(InstallRun, UpdateWithoutAProgramOverInstalledFiles) {
  MakePackage("");
  for (auto& f : Package->Files) {
    f->Installed = 1;
    f->InstalledIn = App;
  }
  Scratch.MakeFolder("Programme\\Testprogramm\\Daten");
  Scratch.WriteFile("Programme\\Testprogramm\\hilfe.txt", "VORHANDEN");
  DeleteFileW(win::Widen(Medium + "\\prog.exe").c_str());  // would ask if it were looked for
  RunInstall(false, true);
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_FALSE(Exists(App + "\\prog.exe"));
  EXPECT_EQ(ReadFileBytes(App + "\\hilfe.txt"), "VORHANDEN");
  EXPECT_TRUE(Marked("Update"));
  EXPECT_FALSE(Marked("Frisch"));
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, modInstall::LinkExtension(*Package)));
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, modInstall::LinkClassName(*Package)));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Windows\\CurrentVersion\\App Paths"));
  const std::string entry = modInstall::UninstallEntryKey(*Package);
  EXPECT_TRUE(ValueExists(HKEY_LOCAL_MACHINE, entry, "UninstallString"));
  EXPECT_FALSE(ValueExists(HKEY_LOCAL_MACHINE, entry, "DisplayIcon"));
}

TEST_F(InstallRun, CancelDuringTheFilePhaseSkipsRegistrationAndMacros) {
  MakePackage();
  session.PackageRegistered = true;
  ui.OnDoEvents = [this] { session.Cancelled = true; };  // "Abbrechen" after the first file
  RunInstall();
  EXPECT_TRUE(Exists(App + "\\prog.exe"));
  EXPECT_FALSE(Exists(App + "\\hilfe.txt"));
  EXPECT_EQ(SavedRecord("prog.exe").first, 1);  // what is on disk is on record
  EXPECT_EQ(SavedRecord("hilfe.txt").first, 0);
  EXPECT_TRUE(session.PackageRegistered);  // the registration phase never began
  EXPECT_FALSE(Registered());
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, modInstall::LinkClassName(*Package)));
  EXPECT_FALSE(Marked("Frisch"));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Kivra\\Test"));
}

TEST_F(InstallRun, NothingIsWrittenBackAfterARollbackRemovedThePackageData) {
  MakePackage();
  int calls = 0;
  ui.OnDoEvents = [&] {  // after the second file the cancel procedure rolled everything back
    if (++calls < 2) return;
    session.Cancelled = true;
    RemoveTree(PackageData);
  };
  RunInstall();
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_FALSE(Exists(PackageData));
}

// The renames the system keeps for the next start, written past our registry
// redirection, so read from the real machine hive through the native API. The
// value is put back as it was when the test ends.
class PendingRenames {
 public:
  PendingRenames() {
    using NtOpenKeyFn = LONG(NTAPI*)(PHANDLE, ACCESS_MASK, POBJECT_ATTRIBUTES);
    auto open = reinterpret_cast<NtOpenKeyFn>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtOpenKey")));
    wchar_t path[] = L"\\Registry\\Machine\\System\\CurrentControlSet\\Control\\Session Manager";
    UNICODE_STRING name{static_cast<USHORT>(wcslen(path) * 2), static_cast<USHORT>(wcslen(path) * 2), path};
    OBJECT_ATTRIBUTES attributes;
    InitializeObjectAttributes(&attributes, &name, OBJ_CASE_INSENSITIVE, nullptr, nullptr);
    HANDLE h = nullptr;
    if (open && open(&h, KEY_QUERY_VALUE | KEY_SET_VALUE, &attributes) == 0) key_ = static_cast<HKEY>(h);
    had_ = key_ && Read(saved_);
  }
  ~PendingRenames() {
    if (!key_) return;
    if (had_)
      RegSetValueExW(key_, kValue, 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(saved_.data()),
                     static_cast<DWORD>(saved_.size() * sizeof(wchar_t)));
    else
      RegDeleteValueW(key_, kValue);
    RegCloseKey(key_);
  }
  bool IsOpen() const { return key_ != nullptr; }

  // Pairs of (source, target) added since the start; an empty target deletes.
  std::vector<std::string> Added() const {
    std::wstring now;
    Read(now);
    std::vector<std::string> entries;
    for (size_t at = saved_.size() - (had_ && !saved_.empty() ? 1 : 0); at < now.size();) {
      size_t end = now.find(L'\0', at);
      if (end == std::wstring::npos) end = now.size();
      entries.push_back(win::Narrow(now.substr(at, end - at)));
      at = end + 1;
    }
    if (entries.size() % 2 == 1 && entries.back().empty()) entries.pop_back();
    return entries;
  }

 private:
  static constexpr const wchar_t* kValue = L"PendingFileRenameOperations";
  bool Read(std::wstring& out) const {
    DWORD type = 0, size = 0;
    if (RegQueryValueExW(key_, kValue, nullptr, &type, nullptr, &size) != ERROR_SUCCESS) return false;
    out.assign(size / sizeof(wchar_t), L'\0');
    RegQueryValueExW(key_, kValue, nullptr, &type, reinterpret_cast<BYTE*>(out.data()), &size);
    out.resize(size / sizeof(wchar_t));
    return true;
  }
  HKEY key_ = nullptr;
  std::wstring saved_;
  bool had_ = false;
};

bool SamePath(std::string e, const std::string& path) {
  for (const char* prefix : {"\\??\\", "!", "\\??\\"})
    if (e.rfind(prefix, 0) == 0) e = e.substr(strlen(prefix));
  return EqualsNoCase(e, path);
}

// A running program: the medium carries version 2, the disk holds version 1
// and keeps it open.
class InUseRun : public InstallRun {
 protected:
  void SetUp() override {
    MakePackage();
    Scratch.MakeFolder("Programme\\Testprogramm");
    MakeVersionedFile(Medium + "\\prog.exe", {2, 0, 0, 0});
    MakeVersionedFile(target, {1, 0, 0, 0});
    oldBytes = ReadFileBytes(target);
    ASSERT_TRUE(pending.IsOpen());
  }
  const std::string target = App + "\\prog.exe";
  const std::string temporary = App + "\\prog (1).exe";  // the new file waits under a free name
  std::string oldBytes;
  PendingRenames pending;
};

TEST_F(InUseRun, FileInUseIsReplacedAtRestartDeletionFirst) {
  {
    HeldOpen running(target);
    ASSERT_TRUE(running.Holding());
    RunInstall();
  }
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_TRUE(session.RestartRequired);
  EXPECT_EQ(ReadFileBytes(target), oldBytes);
  EXPECT_EQ(File("prog.exe").Installed, 1);
  EXPECT_EQ(ReadFileBytes(temporary), ReadFileBytes(Medium + "\\prog.exe"));
  const std::vector<std::string> added = pending.Added();  // delete the old file, then rename the copy
  ASSERT_EQ(added.size(), 4u);
  EXPECT_TRUE(SamePath(added[0], target)) << added[0];
  EXPECT_EQ(added[1], "");
  EXPECT_TRUE(SamePath(added[2], temporary)) << added[2];
  EXPECT_TRUE(SamePath(added[3], target)) << added[3];
}

TEST_F(InUseRun, CancelledRunSchedulesNoReplacement) {
  {
    HeldOpen running(target);
    ui.OnDoEvents = [this] { session.Cancelled = true; };  // right after prog.exe
    RunInstall();
  }
  EXPECT_FALSE(session.RestartRequired);
  EXPECT_TRUE(pending.Added().empty());
  // The copy stays: the cancel procedure, not the run, decides what goes.
  EXPECT_EQ(ReadFileBytes(temporary), ReadFileBytes(Medium + "\\prog.exe"));
  EXPECT_EQ(ReadFileBytes(target), oldBytes);
}

class RepairRun : public InstallRun {
 protected:
  void SetUp() override {
    MakePackage("prog.exe", "DontOverwrite=YES");
    RunInstall();
    ASSERT_TRUE(ui.Boxes().empty());
    ASSERT_EQ(File("hilfe.txt").Installed, 1);
    Scratch.WriteFile("medium\\prog.exe", "PROGRAMM 2");  // the medium now carries newer contents
    Scratch.WriteFile("medium\\hilfe.txt", "HILFE 2");
    Scratch.WriteFile("medium\\daten.txt", "DATEN 2");
    RemoveDirectoryW(win::Widen(App + "\\Frisch").c_str());
  }
};

TEST_F(RepairRun, ReinstallsEveryFileKeepsNoOldCopyAndSkipsRegistration) {
  DeleteFileW(win::Widen(App + "\\prog.exe").c_str());  // missing from the disk: comes back
  reg::DeleteTree(modInstall::UninstallEntryKey(*Package), HKEY_LOCAL_MACHINE);
  session.PackageRegistered = true;
  RunInstall(true);
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_EQ(ReadFileBytes(App + "\\prog.exe"), "PROGRAMM 2");
  EXPECT_EQ(ReadFileBytes(App + "\\hilfe.txt"), "HILFE 2");
  EXPECT_EQ(SavedRecord("prog.exe").first, 1);
  EXPECT_EQ(ListFolder(App), (std::vector<std::string>{"Daten", "Frisch", "hilfe.txt", "prog.exe"}));
  EXPECT_TRUE(Marked("Frisch"));  // a repair runs the macros too
  EXPECT_EQ(ReadFileBytes(App + "\\Daten\\daten.txt"), "DATEN");  // DontOverwrite: untouched
  EXPECT_EQ(ListFolder(App + "\\Daten"), (std::vector<std::string>{"daten.txt", "hilfe-kopie.txt"}));
  EXPECT_FALSE(Registered());
  EXPECT_TRUE(session.PackageRegistered);
}

TEST_F(RepairRun, FailedReinstallLeavesTheOldFileUnderItsOwnName) {
  DeleteFileW(win::Widen(Medium + "\\hilfe.txt").c_str());
  ui.Answer(MsgResult::Ignore);  // at the missing-source prompt
  RunInstall(true);
  ASSERT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ReadFileBytes(App + "\\hilfe.txt"), "HILFE");
  EXPECT_EQ(ReadFileBytes(App + "\\prog.exe"), "PROGRAMM 2");  // the others were repaired
  EXPECT_EQ(ListFolder(App), (std::vector<std::string>{"Daten", "Frisch", "hilfe.txt", "prog.exe"}));
  EXPECT_EQ(File("hilfe.txt").Installed, 0);  // as the unregistration left it...
  EXPECT_EQ(SavedRecord("hilfe.txt").first, 0);

  Scratch.WriteFile("medium\\hilfe.txt", "HILFE 3");  // ...so the next run installs it again
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

}  // namespace
}  // namespace kv::test
