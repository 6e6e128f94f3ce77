// Cancelling the wizard: when it asks, what each answer does, and that a
// rollback leaves the machine as it was before the start.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>

#include "install/ExpandPath.h"
#include "install/InstallPackage.h"
#include "package/CPackage.h"
#include "platform/FileTools.h"
#include "platform/RegTools.h"
#include "platform/SpecialFolders.h"
#include "platform/WinString.h"
#include "startup/StartupWorld.h"
#include "startup/WizardFlow.h"

namespace kv::test {
namespace {

const std::string kUndoQuestion =
    "Es wurden bereits Dateien installiert. Möchten Sie die Installation rückgängig machen?\r\n\r\n"
    "- Klicken Sie auf Ja, um die Installation rückgängig zu machen. Bereits installierte Dateien werden dann "
    "gelöscht.\r\n"
    "- Klicken Sie auf Nein, um die bereits installierten Dateien beizubehalten. Wenn Sie das "
    "Installationsprogramm später erneut starten, können Sie die Installation entweder fortsetzen oder die bereits "
    "installierten Dateien entfernen lassen.\r\n"
    "- Klicken Sie auf Abbrechen, wenn Sie die Installation doch fortsetzen möchten.";

// A package that leaves traces everywhere: plain and shared files, a program
// (link class, App Paths), a macro writing a registry key that regkeys names.
const std::vector<MediumFile> kFiles{
    {"a.txt", "A"}, {"b.txt", "B"}, {"s.dat", "S", "SharedFile=YES\r\n"}, {"demo.exe", "MZ"}};
std::string DemoIni(const std::string& version = "1.0") {
  return SetupIni("Demo", version, kFiles, "demo.exe",
                  "<oninstall>\r\n[regsetstring]\r\nKey=HKEY_CURRENT_USER\\Software\\Kivra\\Demo\r\nValue=Farbe\r\n"
                  "Data=blau\r\n[/regsetstring]\r\n</oninstall>\r\n"
                  "<regkeys>\r\n[regkey]\r\nName=HKEY_CURRENT_USER\\Software\\Kivra\\Demo\r\n[/regkey]\r\n</regkeys>\r\n");
}

class Cancel : public ::testing::Test {
 protected:
  StartupWorld world;
  std::string medium = world.MakeMedium("medium", DemoIni(), kFiles);

  void SetUp() override {
    // The shell records the special folders in the hives the first time it
    // is asked for them; that is the system's doing, not ours, so it happens
    // before the first snapshot.
    for (int32_t id : {modSpclFolder::kCommonStartMenu, modSpclFolder::kStartMenu,
                       modSpclFolder::kCommonDesktopDirectory, modSpclFolder::kDesktopDirectory})
      modSpclFolder::GetSpecialFolder(nullptr, id, "");
  }

  std::string InstallFolder() const { return world.programFiles + "\\Kivra\\Demo"; }
  void ChoosePath(Session& s) {
    modSetup::ShowPage(s, PageId::Path);
    s.Package->InstalledIn = modInstall::ExpandPath(s, s.Package->DefaultPath, s.Package.get());
    modSetup::ShowPage(s, PageId::EULA);
  }
  // Runs the installation as the progress page does; `afterFiles` files into
  // the file phase the user presses "Abbrechen".
  void InstallCancellingAfter(StartRun& run, size_t afterFiles) {
    Session& s = run.session;
    bool pressed = false;
    run.ui.OnDoEvents = [&] {
      if (pressed || s.CurrentPage != PageId::Installing) return;
      size_t done = 0;
      for (const auto& f : s.Package->Files) done += f->Installed > 0 ? 1 : 0;
      if (done >= afterFiles) {
        pressed = true;
        modSetup::CancelSetup(s);
      }
    };
    modSetup::StartInstallation(s);
    modInstall::InstallPackage(s, *s.Package, false, false);
    run.ui.OnDoEvents = nullptr;
  }
  // The self-delete helper (the recorder standing in) was started for the
  // installer folder; its log is one of the allowed traces.
  void ExpectSelfDeleteStarted() {
    std::string log = WaitForFile(world.windows + "\\DelKVStp.log");
    std::string folder = world.appDir.substr(0, world.appDir.size() - 1);
    EXPECT_EQ(log, "\"" + world.windows + "\\DelKVStp.exe\" \"" + world.appDir + "KVSetup.exe\" /d \"" + folder +
                       "\"\r\n");
  }
  void CancelBeforeTheInstallation(bool afterPath);
  static std::vector<std::string> Sorted(std::vector<std::string> v) {
    std::sort(v.begin(), v.end());
    return v;
  }
};

// What a rollback may leave, by design: parent keys created on the way to
// keys that were removed again (registry deletions remove the key itself, not
// its parents), the self-delete helper in the Windows folder (deleted at the
// next restart) with the stand-in's log, and - once files were installed -
// the parent of the installation folder (only the destination folder itself
// is recorded as created).
const std::vector<std::string> kIndexParents{"HKLM\\Software\\Kivra", "HKLM\\Software\\Kivra\\Setup",
                                             "HKLM\\Software\\Kivra\\Setup\\Packages"};
const std::vector<std::string> kHelperTraces{"disk:windows\\DelKVStp.exe", "disk:windows\\DelKVStp.log"};

void Cancel::CancelBeforeTheInstallation(bool afterPath) {
  Snapshot before = TakeSnapshot(world.scratch.Path());
  auto run = world.Start("-ifp \"" + medium + "\"");
  Session& s = run->session;
  ASSERT_EQ(s.CurrentPage, PageId::Start);
  if (afterPath) ChoosePath(s);
  modSetup::CancelSetup(s);

  EXPECT_TRUE(run->ui.Boxes().empty()) << (run->ui.Boxes().empty() ? "" : run->ui.BoxTexts()[0]);
  EXPECT_TRUE(s.Cancelled);
  EXPECT_EQ(s.CurrentPage, PageId::None);
  EXPECT_EQ(run->ui.CurrentPage(), PageId::None);
  EXPECT_FALSE(run->ui.EmptyFormLoaded());
  EXPECT_FALSE(s.SelfRemovalPending);  // the helper has been started
  ExpectSelfDeleteStarted();

  Snapshot after = TakeSnapshot(world.scratch.Path());
  std::vector<std::string> allowed = kIndexParents;
  allowed.insert(allowed.end(), kHelperTraces.begin(), kHelperTraces.end());
  EXPECT_EQ(Sorted(Added(before, after)), Sorted(allowed));
  EXPECT_TRUE(Removed(before, after).empty());
}

TEST_F(Cancel, OnTheWelcomePageRollsBackWithoutAQuestion) { CancelBeforeTheInstallation(false); }
TEST_F(Cancel, AfterThePathPageRollsBackWithoutAQuestion) { CancelBeforeTheInstallation(true); }

TEST_F(Cancel, InTheMiddleOfTheFilePhaseRollsBackWhatWasCopied) {
  Snapshot before = TakeSnapshot(world.scratch.Path());
  auto run = world.Start("-ifp \"" + medium + "\"");
  Session& s = run->session;
  ChoosePath(s);
  run->ui.Answer(MsgResult::Yes);
  InstallCancellingAfter(*run, 2);

  ASSERT_EQ(run->ui.Boxes().size(), 1u);
  const MessageBoxRequest& q = run->ui.Boxes()[0].request;
  EXPECT_EQ(q.text, kUndoQuestion);
  EXPECT_EQ(q.buttons, MsgButtons::YesNoCancel);
  EXPECT_EQ(q.icon, MsgIcon::Question);
  EXPECT_EQ(q.defaultButton, 3);
  EXPECT_EQ(q.title, "Kivra Setup: Demo Programm");
  EXPECT_TRUE(s.Cancelled);
  EXPECT_FALSE(modTools::FileExists(InstallFolder() + "\\a.txt"));
  EXPECT_FALSE(modTools::FileExists(InstallFolder()));
  EXPECT_EQ(run->ui.Pages().back(), PageId::Uninstall);
  ExpectSelfDeleteStarted();

  Snapshot after = TakeSnapshot(world.scratch.Path());
  std::vector<std::string> allowed = kIndexParents;
  allowed.insert(allowed.end(), kHelperTraces.begin(), kHelperTraces.end());
  allowed.push_back("disk:pf\\Kivra");
  EXPECT_EQ(Sorted(Added(before, after)), Sorted(allowed));
  EXPECT_TRUE(Removed(before, after).empty());
}

TEST_F(Cancel, AfterTheRegistrationPhaseRemovesLinksAndRegistrationsToo) {
  Snapshot before = TakeSnapshot(world.scratch.Path());
  auto run = world.Start("-ifp \"" + medium + "\"");
  Session& s = run->session;
  ChoosePath(s);
  modSetup::StartInstallation(s);
  modInstall::InstallPackage(s, *s.Package, false, false);
  ASSERT_FALSE(s.PackageRegistered);
  ASSERT_TRUE(KeyExists(HKEY_CLASSES_ROOT, "KivraSetup.Link.Demo_1.0"));
  ASSERT_EQ(modRegTools::GetString("Software\\Kivra\\Demo", "Farbe", "", HKEY_CURRENT_USER), "blau");

  run->ui.Answer(MsgResult::Yes);
  modSetup::CancelSetup(s);  // still on the progress page: not finished yet
  EXPECT_EQ(run->ui.Boxes().size(), 1u);
  ExpectSelfDeleteStarted();

  Snapshot after = TakeSnapshot(world.scratch.Path());
  std::vector<std::string> allowed = kIndexParents;
  allowed.insert(allowed.end(), kHelperTraces.begin(), kHelperTraces.end());
  allowed.push_back("disk:pf\\Kivra");
  // Parents of the removed uninstall entry, App Paths entry, shared count and
  // the macro's key.
  for (const char* key : {"HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall",
                          "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\App Paths",
                          "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs", "HKCU\\Software\\Kivra"}) {
    allowed.push_back(key);
  }
  EXPECT_EQ(Sorted(Added(before, after)), Sorted(allowed));
  EXPECT_TRUE(Removed(before, after).empty());
}

TEST_F(Cancel, TheEnginesOwnAbortRollsBackWithoutAsking) {
  auto run = world.Start("-ifp \"" + medium + "\"");
  Session& s = run->session;
  ChoosePath(s);
  modSetup::StartInstallation(s);
  bool aborted = false;
  run->ui.OnDoEvents = [&] {
    if (aborted || !modTools::FileExists(InstallFolder() + "\\a.txt")) return;
    aborted = true;
    s.CancelSetup(/*ask=*/false);  // what the file installation calls when the system fails it
  };
  modInstall::InstallPackage(s, *s.Package, false, false);
  EXPECT_TRUE(aborted);
  EXPECT_TRUE(run->ui.Boxes().empty());
  EXPECT_TRUE(s.Cancelled);
  EXPECT_FALSE(modTools::FileExists(InstallFolder()));
  EXPECT_FALSE(modTools::FileExists(world.appDir + "Packages\\Demo_1.0"));
}

TEST_F(Cancel, AbbrechenInTheThreeButtonQuestionChangesNothing) {
  auto run = world.Start("-ifp \"" + medium + "\"");
  Session& s = run->session;
  ChoosePath(s);
  run->ui.Answer(MsgResult::Cancel);
  InstallCancellingAfter(*run, 1);

  EXPECT_EQ(run->ui.Boxes().size(), 1u);
  EXPECT_FALSE(s.Cancelled);
  EXPECT_EQ(s.CurrentPage, PageId::Installing);
  EXPECT_TRUE(run->ui.EmptyFormLoaded());
  for (const auto& f : s.Package->Files) EXPECT_EQ(f->Installed, 1) << f->Name;  // the run went on
  EXPECT_TRUE(modTools::FileExists(InstallFolder() + "\\demo.exe"));
}

TEST_F(Cancel, DuringTheFilePhaseOfAnUpdateBothQuestionsComeAndNeinKeepsTheFiles) {
  auto old = world.InstallComplete(medium);
  std::string medium2 = world.MakeMedium("medium2", DemoIni("2.0"), kFiles);
  auto run = world.Start("-ifp \"" + medium2 + "\"");
  Session& s = run->session;
  ASSERT_EQ(s.CurrentPage, PageId::OtherInstalled);
  // "Update the older version": remove it first, install into its folder.
  s.PackageToRemoveFirst = s.OtherPackage;
  s.IsUpdate = true;
  s.ExistingFolder = true;
  modSetup::ShowPage(s, PageId::Path);
  s.Package->InstalledIn = s.OtherPackage->InstalledIn;
  modSetup::ShowPage(s, PageId::EULA);

  run->ui.Answer(MsgResult::Yes);  // really cancel
  run->ui.Answer(MsgResult::No);   // keep the files
  InstallCancellingAfter(*run, 2);

  ASSERT_EQ(run->ui.Boxes().size(), 2u);
  const MessageBoxRequest& really = run->ui.Boxes()[0].request;
  EXPECT_EQ(really.text,
            "Wenn Sie Setup jetzt abbrechen, können Sie auch die bisher installierte Version dieses Programms nicht "
            "mehr verwenden. Möchten Sie Setup wirklich abbrechen?");
  EXPECT_EQ(really.buttons, MsgButtons::YesNo);
  EXPECT_EQ(really.icon, MsgIcon::Exclamation);
  EXPECT_EQ(really.defaultButton, 2);
  EXPECT_EQ(run->ui.Boxes()[1].request.text, kUndoQuestion);
  EXPECT_TRUE(s.Cancelled);
  EXPECT_FALSE(run->ui.EmptyFormLoaded());

  // Kept: the new version's status records what is on disk; a later start
  // offers to continue.
  EXPECT_TRUE(modTools::FileExists(InstallFolder() + "\\a.txt"));
  EXPECT_TRUE(modTools::FileExists(world.appDir + "Packages\\Demo_2.0\\status.ini"));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Kivra\\Setup\\Packages\\Demo_1.0"));
  EXPECT_FALSE(s.SelfRemovalPending);
}

TEST_F(Cancel, NeinToReallyCancelAfterTheOldVersionWasRemovedWithdrawsIt) {
  ScriptedUi ui;
  Session s(ui);
  s.SetupTitle = "Kivra Setup: Demo";
  s.FilesInstalled = true;
  s.InstallationStarted = true;
  s.CurrentPage = PageId::Installing;
  s.OtherPackage = std::make_shared<CPackage>(s.Context());
  ui.SetMousePointer(MousePointer::Hourglass);
  ui.Answer(MsgResult::No);
  modSetup::CancelSetup(s);
  ASSERT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ui.Boxes()[0].request.text,
            "Die bisherige Installation dieses Programms wurde bereits deinstalliert. Wenn Sie Setup jetzt "
            "abbrechen, können Sie auch die bisherige Version nicht mehr verwenden. Möchten Sie Setup wirklich "
            "abbrechen?");
  EXPECT_FALSE(s.Cancelled);
  EXPECT_EQ(s.CurrentPage, PageId::Installing);
  EXPECT_EQ(ui.GetMousePointer(), MousePointer::Hourglass);
}

TEST_F(Cancel, MaintenanceCancelEndsWithoutQuestionOrRollback) {
  auto first = world.InstallComplete(medium);
  auto run = world.Start("-m \"Demo_1.0\"");
  modSetup::CancelSetup(run->session);
  EXPECT_TRUE(run->ui.Boxes().empty());
  EXPECT_TRUE(run->session.Cancelled);
  EXPECT_TRUE(modTools::FileExists(InstallFolder() + "\\a.txt"));
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Kivra\\Setup\\Packages\\Demo_1.0"));
}

}  // namespace
}  // namespace kv::test
