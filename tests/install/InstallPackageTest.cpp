// The whole installation run on a package of several files with macros:
// what it records and registers, files in use, repairs and cancellation.
#include <gtest/gtest.h>

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
    ASSERT_TRUE(Package->Load(Medium + "\\setup.ini"));
    ASSERT_EQ(Package->Files.size(), 3u);
  }
  void RunInstall(bool repair = false, bool update = false) {
    modInstall::InstallPackage(session, *Package, repair, update);
  }
  CFile& File(const std::string& name) { return **Package->Files.Find(name); }
  bool Marked(const char* folder) { return Exists(App + "\\" + folder); }
  bool Registered() { return KeyExists(HKEY_LOCAL_MACHINE, modInstall::UninstallEntryKey(*Package)); }
};

// A fresh run (files, status, registrations, macros, links) is checked end
// to end by the fresh installation scenario; here what only the engine can tell.
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
  EXPECT_TRUE(Marked("Update") && !Marked("Frisch"));
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, modInstall::LinkExtension(*Package)) ||
               KeyExists(HKEY_CLASSES_ROOT, modInstall::LinkClassName(*Package)) ||
               KeyExists(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Windows\\CurrentVersion\\App Paths"));
  const std::string entry = modInstall::UninstallEntryKey(*Package);
  EXPECT_TRUE(ValueExists(HKEY_LOCAL_MACHINE, entry, "UninstallString"));
  EXPECT_FALSE(ValueExists(HKEY_LOCAL_MACHINE, entry, "DisplayIcon"));
}

// "Abbrechen" after the first file, prog.exe, which is in use: the run stops
// before the registration and macro phases, and hands nothing to the
// replacement at restart (which would set the restart flag); the waiting copy
// stays for the cancel procedure to decide on.
TEST_F(InstallRun, CancelDuringTheFilePhaseSkipsRegistrationMacrosAndReplacement) {
  MakePackage();
  session.PackageRegistered = true;
  Scratch.MakeFolder("Programme\\Testprogramm");
  MakeVersionedFile(Medium + "\\prog.exe", {2, 0, 0, 0});
  MakeVersionedFile(App + "\\prog.exe", {1, 0, 0, 0});
  {
    HeldOpen running(App + "\\prog.exe");
    ASSERT_TRUE(running.Holding());
    ui.OnDoEvents = [this] { session.Cancelled = true; };
    RunInstall();
  }
  EXPECT_FALSE(Exists(App + "\\hilfe.txt"));
  EXPECT_EQ(SavedRecord("prog.exe").first, 1);  // what is on disk is on record
  EXPECT_EQ(SavedRecord("hilfe.txt").first, 0);
  EXPECT_EQ(ReadFileBytes(App + "\\prog (1).exe"), ReadFileBytes(Medium + "\\prog.exe"));
  EXPECT_FALSE(session.RestartRequired);
  EXPECT_TRUE(session.PackageRegistered);  // the registration phase never began
  EXPECT_FALSE(Registered() || KeyExists(HKEY_CLASSES_ROOT, modInstall::LinkClassName(*Package)) || Marked("Frisch"));
}

// Nothing written back after a rollback removed the package data: the cancel
// campaign compares the whole machine after every cancel point.

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
  // Back on record, so that an uninstallation still removes it.
  EXPECT_EQ(SavedRecord("hilfe.txt"), std::make_pair(1, App));
}

// A repair is not one more user of a shared file, whether it succeeds or not.
TEST_F(RepairRun, SharedCountsStayWhatTheyWere) {
  const std::string path = App + "\\Daten\\daten.txt";
  for (bool missing : {false, true}) {
    CFile& data = File("daten.txt");
    data.SharedFile = data.DontUninstall = true;
    data.DontOverwrite = false;
    reg::SetNumber(modTools::kSharedDllsKey, path, 3, HKEY_LOCAL_MACHINE);
    RemoveDirectoryW(win::Widen(App + "\\Frisch").c_str());
    if (missing && DeleteFileW(win::Widen(Medium + "\\daten.txt").c_str())) ui.Answer(MsgResult::Ignore);
    RunInstall(true);
    EXPECT_EQ(reg::GetNumber(modTools::kSharedDllsKey, path, -1, HKEY_LOCAL_MACHINE), 3) << missing;
    EXPECT_EQ(data.Installed, 1);
  }
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

// The medium goes away after the first file (its folder renamed); the user
// puts it back at the prompt and retries: the run completes.
TEST_F(InstallRun, MediumRemovedMidRunIsAskedForAndTheRetryCompletes) {
  MakePackage();
  const std::wstring medium = win::Widen(Medium), away = medium + L"-weg";
  bool moved = false;
  ui.OnDoEvents = [&] { moved = moved || (File("prog.exe").Installed && MoveFileW(medium.c_str(), away.c_str())); };
  ui.BeforeBox = [&](const MessageBoxRequest&) { MoveFileW(away.c_str(), medium.c_str()); };
  ui.Answer(MsgResult::Retry);
  RunInstall();
  ASSERT_TRUE(moved);
  ASSERT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ui.Boxes()[0].request.text,
            "Eine Quelldatei konnte nicht gefunden werden:\r\n    " + Medium + "\\hilfe.txt" + kAriTail);
  for (const char* name : {"prog.exe", "hilfe.txt", "daten.txt"}) EXPECT_EQ(SavedRecord(name).first, 1) << name;
}

}  // namespace
}  // namespace kv::test
