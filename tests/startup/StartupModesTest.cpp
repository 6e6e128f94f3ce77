// The installer's start in each mode, on a machine of its own.
#include <windows.h>

#include <gtest/gtest.h>

#include "package/CPackage.h"
#include "platform/FileTools.h"
#include "platform/RegTools.h"
#include "platform/WinString.h"
#include "startup/StartupWorld.h"

namespace kv::test {
namespace {

const char* const kIndexKey = "Software\\Kivra\\Setup\\Packages\\Demo_1.0";

class StartupModes : public ::testing::Test {
 protected:
  StartupWorld world;
  std::vector<MediumFile> files{{"a.txt", "A"}, {"b.txt", "B"}};
  std::string medium = world.MakeMedium("medium", SetupIni("Demo", "1.0", files), files);
  std::string Ifp(const std::string& folder) { return "-ifp \"" + folder + "\""; }
  bool Staged(const std::string& name) { return modTools::FileExists(world.appDir + "Packages\\Demo_1.0" + name); }
};

TEST_F(StartupModes, AnythingElseSaysTheInstallerCannotBeStartedDirectly) {
  for (const std::string tail : {"", "-m\"x\""}) {  // which tails are unknown: the command-line test
    SCOPED_TRACE(tail);
    auto run = world.Start(tail);
    ASSERT_EQ(run->ui.Boxes().size(), 1u);
    EXPECT_EQ(BoxOf(run->ui.Boxes()[0].request),
              BoxOf({modSetup::kDirectStartMessage, "Kivra Setup", MsgButtons::OK, MsgIcon::Exclamation}));
    EXPECT_TRUE(run->ui.Pages().empty());
    EXPECT_TRUE(modTools::FolderExists(world.appDir + "Packages"));  // prepared before the mode was known
    EXPECT_EQ(run->session.ProgramFilesDir, world.programFiles);
  }
}

TEST_F(StartupModes, EarlyEndsStageNothingAndSayOnlyWhatTheyMust) {
  std::string noFiles = world.MakeMedium("leer", SetupIni("Demo", "1.0", {}), {});
  std::string twice = world.MakeMedium("twice", SetupIni("Demo", "1.0", {{"a.txt"}, {"A.TXT"}}), {{"a.txt", "A"}});
  std::string keyTwice = world.MakeMedium("key", SetupIni("Demo", "1.0", files, "a.txt\r\nexefile=b.txt"), files);
  struct Row { std::string tail; const char* report; size_t boxes; };
  const Row rows[] = {
      {"-ifp \"" + medium, nullptr, 0},                  // no closing quote
      {Ifp(noFiles), nullptr, 0},                        // nothing to install
      {Ifp(twice), "fehlerhaft (Fehler 457)", 1},        // the same name twice: told here, once
      {Ifp(keyTwice), "Beim Laden der Datei", 2},        // the file's own two boxes, nothing more
      {"-m \"Nichts_9\"", "Beim Laden der Datei", 2},    // unknown package: the same
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.tail);
    auto run = world.Start(row.tail);
    ASSERT_EQ(run->ui.Boxes().size(), row.boxes);
    if (row.report) { EXPECT_NE(run->ui.Boxes()[0].request.text.find(row.report), std::string::npos); }
    EXPECT_TRUE(run->ui.Pages().empty());
    EXPECT_FALSE(run->ui.EmptyFormLoaded());
    EXPECT_FALSE(Staged(""));
    EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kIndexKey));
  }
  // A fault after the file list: the two boxes, then on with what was read.
  auto late = world.Start(Ifp(world.MakeMedium("late", SetupIni("Demo", "1.0", files) + "</x>\r\n", files)));
  EXPECT_EQ(late->ui.Boxes().size(), 2u);
  EXPECT_EQ(late->ui.Pages(), std::vector<PageId>{PageId::Start});
}

TEST_F(StartupModes, CancelledAndKeptInstallationIsNewAndRestagedFromTheMediumInHand) {
  world.Start(Ifp(medium));
  // Index entry and staged data exist, status.ini has no installation folder.
  // Without the version value the entry must be written again.
  modRegTools::Delete(kIndexKey, "Version", HKEY_LOCAL_MACHINE);
  std::string medium2 = world.MakeMedium("medium2", SetupIni("Demo", "1.0", files), files);
  world.scratch.WriteFile("medium2\\eula.txt", "Lizenz, korrigiert\r\n");
  auto run = world.Start(Ifp(medium2));
  EXPECT_EQ(run->ui.Pages(), std::vector<PageId>{PageId::Start});
  EXPECT_TRUE(run->session.IsNewInstall && run->session.FilesInstalled);
  EXPECT_EQ(modRegTools::GetString(kIndexKey, "Version", "-", HKEY_LOCAL_MACHINE), "1.0");
  EXPECT_EQ(ReadFileBytes(world.appDir + "Packages\\Demo_1.0\\eula.txt"), "Lizenz, korrigiert\r\n");
}

TEST_F(StartupModes, AfterACompleteInstallationASecondMediumLeadsToMaintenance) {
  const std::string installedIn = world.InstallComplete(medium)->session.Package->InstalledIn;
  ASSERT_FALSE(installedIn.empty());
  std::string medium2 = world.MakeMedium("medium2", SetupIni("Demo", "1.0", files), files);
  // -m takes the source from status.ini (maintenance scenarios); a second
  // -ifp from the medium in hand.
  auto run = world.Start(Ifp(medium2));
  const Session& s = run->session;
  ASSERT_TRUE(s.Package);
  EXPECT_EQ(run->ui.Pages(), std::vector<PageId>{PageId::Maintenance});
  EXPECT_FALSE(s.IsNewInstall || s.FilesInstalled);
  EXPECT_TRUE(s.PackageRegistered);
  EXPECT_EQ(s.Package->SourcePath, medium2);
  EXPECT_EQ(s.Package->InstalledIn, installedIn);
  EXPECT_EQ(s.Package->Files.Item("a.txt")->Installed, 1);
  EXPECT_EQ(s.SetupTitle, "Kivra Setup: Demo Programm");
}

}  // namespace
}  // namespace kv::test
