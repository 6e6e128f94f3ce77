// Cancelling the wizard: when it asks, what each answer does, and that a
// rollback leaves the machine as it was before the start.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>

#include "install/ExpandPath.h"
#include "run/InstallPackage.h"
#include "package/CPackage.h"
#include "platform/FileTools.h"
#include "platform/RegTools.h"
#include "platform/SpecialFolders.h"
#include "startup/StartupWorld.h"
#include "startup/WizardFlow.h"

namespace kv::test {
namespace {

const MessageBoxRequest kUndoBox{
    "Es wurden bereits Dateien installiert. Möchten Sie die Installation rückgängig machen?\r\n\r\n"
    "- Klicken Sie auf Ja, um die Installation rückgängig zu machen. Bereits installierte Dateien werden dann "
    "gelöscht.\r\n"
    "- Klicken Sie auf Nein, um die bereits installierten Dateien beizubehalten. Wenn Sie das "
    "Installationsprogramm später erneut starten, können Sie die Installation entweder fortsetzen oder die bereits "
    "installierten Dateien entfernen lassen.\r\n"
    "- Klicken Sie auf Abbrechen, wenn Sie die Installation doch fortsetzen möchten.",
    "Kivra Setup: Demo Programm", MsgButtons::YesNoCancel, MsgIcon::Question, 3};

// Traces everywhere: plain and shared files, a program (link class, App
// Paths), a macro writing a registry key that regkeys names.
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
  const std::string installFolder = world.programFiles + "\\Kivra\\Demo";
  Snapshot before;
  std::unique_ptr<StartRun> run;

  // The shell records the special folders in the hives when first asked:
  // the system's doing, so before the snapshot.
  void SetUp() override {
    for (int32_t id : {modSpclFolder::kCommonStartMenu, modSpclFolder::kStartMenu,
                       modSpclFolder::kCommonDesktopDirectory, modSpclFolder::kDesktopDirectory})
      modSpclFolder::GetSpecialFolder(nullptr, id, "");
    before = TakeSnapshot(world.scratch.Path());
  }
  // Starts with the medium and, if asked, passes the path page.
  Session& StartNew(bool choosePath = true, const std::string& from = "") {
    run = world.Start("-ifp \"" + (from.empty() ? medium : from) + "\"");
    Session& s = run->session;
    if (choosePath && s.Package) {
      modSetup::ShowPage(s, PageId::Path);
      s.Package->InstalledIn = modInstall::ExpandPath(s, s.Package->DefaultPath, s.Package.get());
      modSetup::ShowPage(s, PageId::EULA);
    }
    return s;
  }
  // Installs as the progress page does; once `afterFiles` files are in (never
  // if negative) the user presses "Abbrechen" or, with !ask, the file
  // installation gives up as it does when the system fails it.
  void Install(int afterFiles, bool ask = true) {
    Session& s = run->session;
    bool pressed = false;
    run->ui.OnDoEvents = [&] {
      if (pressed || afterFiles < 0 || s.CurrentPage != PageId::Installing) return;
      int done = 0;
      for (const auto& f : s.Package->Files) done += f->Installed > 0 ? 1 : 0;
      if (done >= afterFiles) {
        pressed = true;
        ask ? modSetup::CancelSetup(s) : s.CancelSetup(false);
      }
    };
    modSetup::StartInstallation(s);
    modInstall::InstallPackage(s, *s.Package, false, false);
    run->ui.OnDoEvents = nullptr;
  }
  // What a rollback may leave, by design: parents of keys removed again (a
  // key's removal leaves its parents), the self-delete helper (deleted at the
  // next restart) with the stand-in's log, and `more`.
  void ExpectRolledBack(std::vector<std::string> more) {
    const std::string folder = world.appDir.substr(0, world.appDir.size() - 1);
    EXPECT_EQ(WaitForFile(world.windows + "\\DelKVStp.log"),
              "\"" + world.windows + "\\DelKVStp.exe\" \"" + world.appDir + "KVSetup.exe\" /d \"" + folder + "\"\r\n");
    EXPECT_FALSE(run->session.SelfRemovalPending);
    for (const char* key : {"HKLM\\Software\\Kivra", "HKLM\\Software\\Kivra\\Setup",
                            "HKLM\\Software\\Kivra\\Setup\\Packages", "disk:windows\\DelKVStp.exe",
                            "disk:windows\\DelKVStp.log"})
      more.push_back(key);
    std::sort(more.begin(), more.end());
    EXPECT_EQ(Changes(before, TakeSnapshot(world.scratch.Path())), more);
  }
  void BeforeTheInstallation(bool afterPath);
};

void Cancel::BeforeTheInstallation(bool afterPath) {
  Session& s = StartNew(afterPath);
  ASSERT_EQ(s.CurrentPage, afterPath ? PageId::EULA : PageId::Start);
  modSetup::CancelSetup(s);
  EXPECT_TRUE(run->ui.Boxes().empty());
  EXPECT_TRUE(s.Cancelled);
  EXPECT_EQ(run->ui.CurrentPage(), PageId::None);
  EXPECT_FALSE(run->ui.EmptyFormLoaded());
  ExpectRolledBack({});
}

TEST_F(Cancel, OnTheWelcomePageRollsBackWithoutAQuestion) { BeforeTheInstallation(false); }
TEST_F(Cancel, AfterThePathPageRollsBackWithoutAQuestion) { BeforeTheInstallation(true); }

TEST_F(Cancel, AfterTheRegistrationPhaseRemovesLinksAndRegistrationsToo) {
  Session& s = StartNew();
  Install(-1);
  ASSERT_FALSE(s.PackageRegistered);
  ASSERT_TRUE(KeyExists(HKEY_CLASSES_ROOT, "KivraSetup.Link.Demo_1.0"));
  ASSERT_EQ(modRegTools::GetString("Software\\Kivra\\Demo", "Farbe", "", HKEY_CURRENT_USER), "blau");
  run->ui.Answer(MsgResult::Yes);
  modSetup::CancelSetup(s);  // still on the progress page: not finished yet
  EXPECT_EQ(run->ui.Boxes().size(), 1u);
  // Also the parents of the uninstall entry, App Paths entry, shared count and the macro's key.
  ExpectRolledBack({"disk:pf\\Kivra", "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall",
                    "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\App Paths",
                    "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs", "HKCU\\Software\\Kivra"});
}

TEST_F(Cancel, TheEnginesOwnAbortRollsBackWithoutAsking) {
  StartNew();
  Install(1, /*ask=*/false);
  EXPECT_TRUE(run->ui.Boxes().empty());
  EXPECT_TRUE(run->session.Cancelled);
  ExpectRolledBack({"disk:pf\\Kivra"});
}

TEST_F(Cancel, AbbrechenInTheThreeButtonQuestionChangesNothing) {
  Session& s = StartNew();
  run->ui.Answer(MsgResult::Cancel);
  Install(1);
  EXPECT_EQ(run->ui.Boxes().size(), 1u);
  EXPECT_FALSE(s.Cancelled);
  EXPECT_EQ(s.CurrentPage, PageId::Installing);
  EXPECT_TRUE(run->ui.EmptyFormLoaded());
  for (const auto& f : s.Package->Files) EXPECT_EQ(f->Installed, 1) << f->Name;  // the run went on
}

TEST_F(Cancel, DuringTheFilePhaseOfAnUpdateBothQuestionsComeAndNeinKeepsTheFiles) {
  world.InstallComplete(medium);
  Session& s = StartNew(false, world.MakeMedium("medium2", DemoIni("2.0"), kFiles));
  ASSERT_EQ(run->ui.Pages(), std::vector<PageId>{PageId::OtherInstalled});
  ASSERT_TRUE(s.OtherPackage);
  EXPECT_EQ(s.OtherPackage->InstalledIn, installFolder);  // its status was loaded
  EXPECT_FALSE(s.OtherIsNewer);
  // "Update the older version": remove it first, install into its folder.
  s.PackageToRemoveFirst = s.OtherPackage;
  s.IsUpdate = s.ExistingFolder = true;
  modSetup::ShowPage(s, PageId::Path);
  s.Package->InstalledIn = s.OtherPackage->InstalledIn;
  modSetup::ShowPage(s, PageId::EULA);
  run->ui.Answer(MsgResult::Yes);  // really cancel
  run->ui.Answer(MsgResult::No);   // keep the files
  Install(2);

  ASSERT_EQ(run->ui.Boxes().size(), 2u);
  EXPECT_EQ(BoxOf(run->ui.Boxes()[0].request),
            BoxOf({"Wenn Sie Setup jetzt abbrechen, können Sie auch die bisher installierte Version dieses Programms "
                   "nicht mehr verwenden. Möchten Sie Setup wirklich abbrechen?",
                   "Kivra Setup: Demo Programm", MsgButtons::YesNo, MsgIcon::Exclamation, 2}));
  EXPECT_EQ(BoxOf(run->ui.Boxes()[1].request), BoxOf(kUndoBox));
  EXPECT_TRUE(s.Cancelled);
  EXPECT_FALSE(run->ui.EmptyFormLoaded());
  EXPECT_FALSE(s.SelfRemovalPending);
  // Kept: the new version's status records what is on disk for a later start.
  EXPECT_TRUE(modTools::FileExists(installFolder + "\\a.txt"));
  EXPECT_TRUE(modTools::FileExists(world.appDir + "Packages\\Demo_2.0\\status.ini"));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Kivra\\Setup\\Packages\\Demo_1.0"));
}

TEST(CancelQuestion, NeinToReallyCancelAfterTheOldVersionWasRemovedWithdrawsIt) {
  ScriptedUi ui;
  Session s(ui);
  s.FilesInstalled = s.InstallationStarted = true;
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
  world.InstallComplete(medium);
  run = world.Start("-m \"Demo_1.0\"");
  modSetup::CancelSetup(run->session);
  EXPECT_TRUE(run->ui.Boxes().empty());
  EXPECT_TRUE(run->session.Cancelled);
  EXPECT_TRUE(modTools::FileExists(installFolder + "\\a.txt"));
}

}  // namespace
}  // namespace kv::test
