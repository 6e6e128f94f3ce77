// Cancelling the wizard: when it asks, what each answer does, and that a
// rollback leaves the machine as it was before the start.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "install/ExpandPath.h"
#include "run/InstallPackage.h"
#include "package/CPackage.h"
#include "platform/FileTools.h"
#include "platform/RegTools.h"
#include "platform/SpecialFolders.h"
#include "platform/WinString.h"
#include "startup/StartupWorld.h"
#include "startup/WizardFlow.h"

namespace kv::test {
namespace {

using namespace std::string_literals;

const MessageBoxRequest kUndoBox{
    "Es wurden bereits Dateien installiert. Möchten Sie die Installation rückgängig machen?\r\n\r\n"
    "- Klicken Sie auf Ja, um die Installation rückgängig zu machen. Bereits installierte Dateien werden dann "
    "gelöscht.\r\n"
    "- Klicken Sie auf Nein, um die bereits installierten Dateien beizubehalten. Wenn Sie das "
    "Installationsprogramm später erneut starten, können Sie die Installation entweder fortsetzen oder die bereits "
    "installierten Dateien entfernen lassen.\r\n"
    "- Klicken Sie auf Abbrechen, wenn Sie die Installation doch fortsetzen möchten.",
    "Kivra Setup: Demo Programm", MsgButtons::YesNoCancel, MsgIcon::Question, 3};

// What a confirmed rollback may leave behind, and why:
const std::vector<std::string> kLeftovers{
    // Parents of keys the installation created and the rollback removed: a
    // key's removal leaves its parents, which may be shared with others.
    "HKLM\\Software\\Kivra", "HKLM\\Software\\Kivra\\Setup", "HKLM\\Software\\Kivra\\Setup\\Packages",
    "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall",
    "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\App Paths",
    "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs", "HKCU\\Software\\Kivra",
    // The parent of the destination folder, made on the way: only the
    // destination folder itself is recorded as created.
    "disk:pf\\Kivra",
    // The self-delete helper, which deletes the installer and is itself
    // deleted at the next restart, and its stand-in's log.
    "disk:windows\\DelKVStp.exe", "disk:windows\\DelKVStp.log"};

// A medium shaped like the demo: plain files, a shared one, one in a folder of
// its own, the program, and macros that copy a file and write the registry.
const std::vector<MediumFile> kFiles{{"a.txt", "A"},
                                     {"b.txt", "B"},
                                     {"s.dat", "S", "SharedFile=YES\r\n"},
                                     {"d.txt", "D", "DestinationPath=*appdir*\\Daten\r\n"},
                                     {"e.txt", "E"},
                                     {"demo.exe", "MZ"}};
std::string DemoIni(const std::string& version) {
  return SetupIni("Demo", version, kFiles, "demo.exe",
                  "<oninstall>\r\n[copyfile]\r\nFromPath=*appdir*\\a.txt\r\nToPath=*appdir*\\Kopie.txt\r\n[/copyfile]\r\n"
                  "[regsetstring]\r\nKey=HKEY_CURRENT_USER\\Software\\Kivra\\Demo\r\nValue=Farbe\r\nData=blau\r\n"
                  "[/regsetstring]\r\n</oninstall>\r\n"
                  "<onfreshinstall>\r\n[regsetdword]\r\nKey=HKEY_CURRENT_USER\\Software\\Kivra\\Demo\r\nValue=Starts\r\n"
                  "[/regsetdword]\r\n</onfreshinstall>\r\n"
                  "<oncompleteuninstall>\r\n[silentdeletefile]\r\nPath=*appdir*\\Kopie.txt\r\n[/silentdeletefile]\r\n"
                  "</oncompleteuninstall>\r\n"
                  "<regkeys>\r\n[regkey]\r\nName=HKEY_CURRENT_USER\\Software\\Kivra\\Demo\r\n[/regkey]\r\n</regkeys>\r\n");
}
constexpr int kCancelPoints = 8;  // six files, two macros

// A machine of its own with the demo medium, snapshot taken before anything
// ran. The shell records the special folders in the hives when first asked:
// the system's doing, so before the snapshot.
struct Machine {
  StartupWorld world;
  Snapshot before;
  std::string medium;
  Machine() {
    for (int32_t id : {modSpclFolder::kCommonStartMenu, modSpclFolder::kStartMenu,
                       modSpclFolder::kCommonDesktopDirectory, modSpclFolder::kDesktopDirectory})
      modSpclFolder::GetSpecialFolder(nullptr, id, "");
    before = TakeSnapshot(world.scratch.Path());
    medium = world.MakeMedium("medium", DemoIni("1.0"), kFiles);
  }
  // Everything that changed and is not a documented leftover; the medium is
  // the user's and stays.
  std::vector<std::string> Unexplained() {
    WaitForFile(world.windows + "\\DelKVStp.log");  // the helper has done its part
    Snapshot after = TakeSnapshot(world.scratch.Path());
    std::erase_if(after, [](const auto& e) { return e.first.rfind("disk:medium", 0) == 0; });
    std::vector<std::string> out;
    for (const std::string& change : Changes(before, after))
      if (std::find(kLeftovers.begin(), kLeftovers.end(), change) == kLeftovers.end()) out.push_back(change);
    return out;
  }
};

// The installation as the wizard runs it, from -ifp to the end of the
// progress page; the user presses "Abbrechen" at pump `cancelAt` (1-based,
// 0 = never) and answers with `answers`; with !ask the file installation
// gives up there instead, as it does when the system fails it.
std::unique_ptr<StartRun> RunInstall(StartupWorld& world, const std::string& medium, int cancelAt,
                                     std::vector<MsgResult> answers, bool update = false, bool ask = true) {
  auto run = world.Start("-ifp \"" + medium + "\"");
  Session& s = run->session;
  if (!s.Package) return run;
  if (update) {  // "update the older version" on the other-version page
    s.PackageToRemoveFirst = s.OtherPackage;
    s.IsUpdate = s.ExistingFolder = true;
    s.Package->InstalledIn = s.OtherPackage->InstalledIn;
  } else if (s.IsNewInstall) {
    s.Package->InstalledIn = modInstall::ExpandPath(s, s.Package->DefaultPath, s.Package.get());
  } else {  // maintenance, "continue the installation"
    s.PackageToRemoveFirst.reset();
    s.IsRepair = false;
    s.ExistingFolder = true;
  }
  for (MsgResult a : answers) run->ui.Answer(a);
  int pumps = 0;
  run->ui.OnDoEvents = [&] {
    if (s.CurrentPage == PageId::Installing && ++pumps == cancelAt) ask ? modSetup::CancelSetup(s) : s.CancelSetup(false);
  };
  modSetup::StartInstallation(s);
  modInstall::InstallPackage(s, *s.Package, s.IsRepair, update);
  run->ui.OnDoEvents = nullptr;
  if (!s.Cancelled) s.Finished = true;
  return run;
}

// Before the installation began (welcome page, licence page after the path)
// nothing is asked and everything goes; the self-delete helper is started
// with the installer and its folder.
TEST(Cancel, BeforeTheInstallationRollsBackWithoutAQuestion) {
  for (bool afterPath : {false, true}) {
    SCOPED_TRACE(afterPath);
    Machine m;
    auto run = m.world.Start("-ifp \"" + m.medium + "\"");
    Session& s = run->session;
    if (afterPath) {
      modSetup::ShowPage(s, PageId::Path);
      s.Package->InstalledIn = modInstall::ExpandPath(s, s.Package->DefaultPath, s.Package.get());
      modSetup::ShowPage(s, PageId::EULA);
    }
    modSetup::CancelSetup(s);
    EXPECT_TRUE(run->ui.Boxes().empty());
    EXPECT_TRUE(s.Cancelled && !s.SelfRemovalPending);
    EXPECT_EQ(run->ui.CurrentPage(), PageId::None);
    EXPECT_FALSE(run->ui.EmptyFormLoaded());
    const std::string folder = m.world.appDir.substr(0, m.world.appDir.size() - 1);
    EXPECT_EQ(WaitForFile(m.world.windows + "\\DelKVStp.log"), "\"" + m.world.windows + "\\DelKVStp.exe\" \"" +
                                                                    m.world.appDir + "KVSetup.exe\" /d \"" + folder + "\"\r\n");
    EXPECT_EQ(m.Unexplained(), std::vector<std::string>{});
  }
}

TEST(Cancel, AnswersToTheQuestionsDuringTheFilePhase) {
  {  // the engine's own abort rolls back without asking
    Machine m;
    auto run = RunInstall(m.world, m.medium, 1, {}, false, /*ask=*/false);
    EXPECT_TRUE(run->ui.Boxes().empty() && run->session.Cancelled);
    EXPECT_EQ(m.Unexplained(), std::vector<std::string>{});
  }
  {  // "Abbrechen" in the three-button question changes nothing: the run goes on
    Machine m;
    auto run = RunInstall(m.world, m.medium, 1, {MsgResult::Cancel});
    EXPECT_EQ(run->ui.Boxes().size(), 1u);
    EXPECT_FALSE(run->session.Cancelled);
    for (const auto& f : run->session.Package->Files) EXPECT_EQ(f->Installed, 1) << f->Name;
  }
  {  // an update: both questions come, and "Nein" keeps the new version's files
    Machine m;
    RunInstall(m.world, m.medium, 0, {});
    auto run = RunInstall(m.world, m.world.MakeMedium("medium2", DemoIni("2.0"), kFiles), 2,
                          {MsgResult::Yes, MsgResult::No}, true);
    Session& s = run->session;
    EXPECT_EQ(run->ui.Pages().front(), PageId::OtherInstalled);
    ASSERT_EQ(run->ui.Boxes().size(), 2u);
    EXPECT_EQ(BoxOf(run->ui.Boxes()[0].request),
              BoxOf({"Wenn Sie Setup jetzt abbrechen, können Sie auch die bisher installierte Version dieses Programms "
                     "nicht mehr verwenden. Möchten Sie Setup wirklich abbrechen?",
                     "Kivra Setup: Demo Programm", MsgButtons::YesNo, MsgIcon::Exclamation, 2}));
    EXPECT_EQ(BoxOf(run->ui.Boxes()[1].request), BoxOf(kUndoBox));
    EXPECT_TRUE(s.Cancelled && !s.SelfRemovalPending);
    EXPECT_FALSE(run->ui.EmptyFormLoaded());
    EXPECT_TRUE(modTools::FileExists(s.Package->InstalledIn + "\\a.txt"));
    EXPECT_TRUE(modTools::FileExists(m.world.appDir + "Packages\\Demo_2.0\\status.ini"));
    EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Kivra\\Setup\\Packages\\Demo_1.0"));
  }
}

TEST(Cancel, NeinToReallyCancelAfterTheOldVersionWasRemovedWithdrawsIt) {
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

TEST(Cancel, MaintenanceCancelEndsWithoutQuestionOrRollback) {
  Machine m;
  const std::string folder = m.world.InstallComplete(m.medium)->session.Package->InstalledIn;
  auto run = m.world.Start("-m \"Demo_1.0\"");
  modSetup::CancelSetup(run->session);
  EXPECT_TRUE(run->ui.Boxes().empty());
  EXPECT_TRUE(run->session.Cancelled);
  EXPECT_TRUE(modTools::FileExists(folder + "\\a.txt"));
}

// ---- The campaign: cancel at every point the progress page offers ----------
//
// The user can press "Abbrechen" whenever the engine pumps messages on the
// progress page: after each file and after each macro of the closing phase
// (the link class, App Paths and uninstall entry are written in one stretch
// without a pump, so there is no point between them). Each point runs in a
// machine of its own. KV_CAMPAIGN=full runs every point; `make test` a sample.

std::vector<int> CampaignPoints() {
  const char* mode = getenv("KV_CAMPAIGN");
  if (mode && std::string(mode) == "full") {
    std::vector<int> all;
    for (int k = 1; k <= kCancelPoints; ++k) all.push_back(k);
    return all;
  }
  return {1, 4, kCancelPoints};
}

// A snapshot with the machine's own folder written as "<S>", so that two
// machines can be compared.
Snapshot Portable(const Snapshot& snap, const std::string& root) {
  const std::wstring wide = win::Widen(root);
  const std::string root16(reinterpret_cast<const char*>(wide.data()), wide.size() * sizeof(wchar_t));
  auto scrub = [](std::string text, const std::string& what, const std::string& by) {
    for (size_t at; (at = text.find(what)) != std::string::npos;) text.replace(at, what.size(), by);
    return text;
  };
  Snapshot out;
  for (const auto& [k, v] : snap) out[scrub(k, root, "<S>")] = scrub(scrub(v, root, "<S>"), root16, "<\0S\0>\0"s);
  return out;
}

struct Tally {
  const char* name;
  int passed = 0, failed = 0;
  void Count(bool ok) { ok ? ++passed : ++failed; }
  ~Tally() { printf("%s: %d passed, %d failed\n", name, passed, failed); }
};

TEST(CancelCampaign, RollbackAtEveryPointLeavesOnlyTheDocumentedLeftovers) {
  Tally tally{"cancel campaign, rollback"};
  for (bool update : {false, true}) {
    for (int point : CampaignPoints()) {
      SCOPED_TRACE((update ? "update, pump " : "fresh, pump ") + std::to_string(point));
      Machine m;
      std::unique_ptr<StartRun> run;
      if (update) {
        RunInstall(m.world, m.medium, 0, {});
        const std::string medium2 = m.world.MakeMedium("medium2", DemoIni("2.0"), kFiles);
        // Really cancel (the old version is gone), then roll back.
        run = RunInstall(m.world, medium2, point, {MsgResult::Yes, MsgResult::Yes}, true);
      } else {
        run = RunInstall(m.world, m.medium, point, {MsgResult::Yes});
      }
      EXPECT_TRUE(run->session.Cancelled);
      EXPECT_EQ(run->ui.UnusedAnswers(), 0u);
      ASSERT_FALSE(run->ui.Boxes().empty());
      EXPECT_EQ(BoxOf(run->ui.Boxes().back().request), BoxOf(kUndoBox));
      EXPECT_EQ(run->ui.Pages().back(), PageId::Uninstall);
      const std::vector<std::string> left = m.Unexplained();
      EXPECT_EQ(left, std::vector<std::string>{});
      tally.Count(left.empty() && run->session.Cancelled);
    }
  }
}

// "Nein" in the three-button question keeps the files; the next start offers
// maintenance, and continuing there ends where an uninterrupted run ends.
TEST(CancelCampaign, ContinueLaterThenResumeEqualsAnUninterruptedInstallation) {
  Tally tally{"cancel campaign, continue later"};
  Snapshot reference;
  {
    StartupWorld world;
    RunInstall(world, world.MakeMedium("medium", DemoIni("1.0"), kFiles), 0, {});
    reference = Portable(TakeSnapshot(world.scratch.Path()), world.scratch.Path());
  }
  for (int point : CampaignPoints()) {
    SCOPED_TRACE("pump " + std::to_string(point));
    StartupWorld world;
    const std::string medium = world.MakeMedium("medium", DemoIni("1.0"), kFiles);
    auto first = RunInstall(world, medium, point, {MsgResult::No});
    EXPECT_TRUE(first->session.Cancelled);
    first.reset();
    auto resumed = RunInstall(world, medium, 0, {});
    EXPECT_EQ(resumed->ui.Pages().front(), PageId::Maintenance);
    EXPECT_FALSE(resumed->session.Cancelled);
    const std::vector<std::string> diff =
        Changes(reference, Portable(TakeSnapshot(world.scratch.Path()), world.scratch.Path()));
    EXPECT_EQ(diff, std::vector<std::string>{});
    tally.Count(diff.empty() && !resumed->session.Cancelled);
  }
}

}  // namespace
}  // namespace kv::test
