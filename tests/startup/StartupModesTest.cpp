// The installer's start in each mode, on a machine of its own.
#include <windows.h>

#include <gtest/gtest.h>

#include "package/CPackage.h"
#include "platform/FileTools.h"
#include "platform/RegTools.h"
#include "platform/WinString.h"
#include "startup/PackageIndex.h"
#include "startup/StartupWorld.h"

namespace kv::test {
namespace {

const char* const kIndexKey = "Software\\Kivra\\Setup\\Packages\\Demo_1.0";

class StartupModes : public ::testing::Test {
 protected:
  StartupWorld world;
  std::vector<MediumFile> files{{"a.txt", "A"}, {"b.txt", "B"}};
  std::string DemoIni() { return SetupIni("Demo", "1.0", files); }
};

TEST_F(StartupModes, LaunchStartsTheProgramAndTouchesNothingElse) {
  const std::string program = world.scratch / "app.exe";
  CopyFileW(win::Widen(RecorderExe()).c_str(), win::Widen(program).c_str(), FALSE);
  auto run = world.Start("-O \"" + program + " /arg\" ignored \"text\"");

  std::string log = WaitForFile(world.scratch / "app.log");
  EXPECT_EQ(log, program + " /arg\r\n");
  const Session& s = run->session;
  EXPECT_EQ(s.AppDir, "");
  EXPECT_EQ(s.SetupTitle, "Kivra Setup: ");
  EXPECT_FALSE(s.Package);
  EXPECT_FALSE(run->ui.EmptyFormLoaded());
  EXPECT_TRUE(run->ui.Pages().empty());
  EXPECT_TRUE(run->ui.Boxes().empty());
  EXPECT_FALSE(modTools::FileExists(world.appDir + "Packages"));
}

TEST_F(StartupModes, LaunchOfAMissingProgramEndsSilently) {
  auto run = world.Start("-o \"" + world.scratch / "missing.exe" + "\"");
  EXPECT_TRUE(run->ui.Boxes().empty());
  EXPECT_TRUE(run->ui.Pages().empty());
}

TEST_F(StartupModes, AnythingElseSaysTheInstallerCannotBeStartedDirectly) {
  for (const std::string tail : {"/d \"C:\\x\"", "hallo", "", "-ifp x", "-m\"x\""}) {
    SCOPED_TRACE(tail);
    auto run = world.Start(tail);
    ASSERT_EQ(run->ui.Boxes().size(), 1u);
    const MessageBoxRequest& box = run->ui.Boxes()[0].request;
    EXPECT_EQ(box.text, modSetup::kDirectStartMessage);
    EXPECT_EQ(box.title, "Kivra Setup");
    EXPECT_EQ(box.icon, MsgIcon::Exclamation);
    EXPECT_EQ(box.buttons, MsgButtons::OK);
    EXPECT_TRUE(run->ui.Pages().empty());
    EXPECT_FALSE(run->ui.EmptyFormLoaded());
    // The session was prepared before the mode was known.
    EXPECT_TRUE(modTools::FolderExists(world.appDir + "Packages"));
    EXPECT_EQ(run->session.ProgramFilesDir, world.programFiles);
  }
}

TEST_F(StartupModes, NewInstallationStagesIndexesAndShowsTheWelcomePage) {
  std::string medium = world.MakeMedium("medium", DemoIni(), files);
  auto run = world.Start("-ifp \"" + medium + "\\\"");  // trailing backslash inside the quotes
  const Session& s = run->session;
  ASSERT_TRUE(s.Package);
  EXPECT_EQ(s.Package->SourcePath, medium);
  const std::string packageDir = world.appDir + "Packages\\Demo_1.0";
  EXPECT_EQ(s.Package->PackageDir, packageDir);
  EXPECT_EQ(ReadFileBytes(packageDir + "\\setup.ini"), DemoIni());
  EXPECT_EQ(ReadFileBytes(packageDir + "\\eula.txt"), "Lizenz\r\n");
  EXPECT_EQ(modRegTools::GetString(kIndexKey, "Product", "-", HKEY_LOCAL_MACHINE), "Demo");
  EXPECT_EQ(modRegTools::GetString(kIndexKey, "Version", "-", HKEY_LOCAL_MACHINE), "1.0");
  // The medium's start program is kept as the registration helper.
  EXPECT_EQ(ReadFileBytes(world.appDir + "dllregsv.exe"), ReadFileBytes(RecorderExe()));
  EXPECT_TRUE(s.IsNewInstall);
  EXPECT_TRUE(s.FilesInstalled);
  EXPECT_TRUE(s.PackageRegistered);
  EXPECT_FALSE(s.OtherPackage);
  EXPECT_EQ(run->ui.Pages(), std::vector<PageId>{PageId::Start});
  EXPECT_EQ(run->ui.LastCaption(), "Kivra Setup: Demo Programm");
  EXPECT_EQ(s.SetupTitle, "Kivra Setup: Demo Programm");
  EXPECT_TRUE(run->ui.EmptyFormLoaded());
  EXPECT_TRUE(run->ui.Boxes().empty());
  EXPECT_TRUE(static_cast<bool>(s.CancelSetup));
}

TEST_F(StartupModes, MissingClosingQuoteEndsQuietlyWithoutAPackageFolder) {
  std::string medium = world.MakeMedium("medium", DemoIni(), files);
  auto run = world.Start("-ifp \"" + medium);
  EXPECT_TRUE(run->ui.Boxes().empty());
  EXPECT_TRUE(run->ui.Pages().empty());
  EXPECT_FALSE(run->ui.EmptyFormLoaded());
  EXPECT_TRUE(modTools::FolderExists(world.appDir + "Packages"));
  EXPECT_FALSE(modTools::FileExists(world.appDir + "Packages\\Demo_1.0"));
  EXPECT_TRUE(modRegTools::ListSubkeys("Software\\Kivra\\Setup\\Packages", HKEY_LOCAL_MACHINE).empty());
}

TEST_F(StartupModes, MissingEulaEndsAfterSetupIniWasStaged) {
  std::string medium = world.MakeMedium("medium", DemoIni(), files, /*withEula=*/false);
  auto run = world.Start("-ifp \"" + medium + "\"");
  ASSERT_EQ(run->ui.Boxes().size(), 1u);
  EXPECT_EQ(run->ui.Boxes()[0].request.text,
            "Die Datei \"eula.txt\" konnte nicht auf die Festplatte kopiert werden; Setup wird beendet.");
  EXPECT_EQ(run->ui.Boxes()[0].request.title, "Kivra Setup");
  EXPECT_TRUE(run->ui.Pages().empty());
  EXPECT_FALSE(run->ui.EmptyFormLoaded());
  EXPECT_TRUE(modTools::FileExists(world.appDir + "Packages\\Demo_1.0\\setup.ini"));
  EXPECT_FALSE(modTools::FileExists(world.appDir + "Packages\\Demo_1.0\\eula.txt"));
  EXPECT_FALSE(test::KeyExists(HKEY_LOCAL_MACHINE, kIndexKey));  // ended before the index
}

TEST_F(StartupModes, StagedFilesAreReplacedByTheMediumInHand) {
  std::string medium = world.MakeMedium("medium", DemoIni(), files);
  world.Start("-ifp \"" + medium + "\"");
  // A later medium of the same version carries a corrected licence text.
  std::string medium2 = world.MakeMedium("medium2", DemoIni(), files);
  world.scratch.WriteFile("medium2\\eula.txt", "Lizenz, korrigiert\r\n");
  world.Start("-ifp \"" + medium2 + "\"");
  EXPECT_EQ(ReadFileBytes(world.appDir + "Packages\\Demo_1.0\\eula.txt"), "Lizenz, korrigiert\r\n");
}

TEST_F(StartupModes, SecondStartAfterACompleteInstallationIsMaintenanceFromTheNewMedium) {
  std::string medium = world.MakeMedium("medium", DemoIni(), files);
  auto first = world.InstallComplete(medium);
  ASSERT_FALSE(first->session.Package->InstalledIn.empty());

  std::string medium2 = world.MakeMedium("medium2", DemoIni(), files);
  auto run = world.Start("-ifp \"" + medium2 + "\"");
  const Session& s = run->session;
  ASSERT_TRUE(s.Package);
  EXPECT_EQ(run->ui.Pages(), std::vector<PageId>{PageId::Maintenance});
  EXPECT_FALSE(s.IsNewInstall);
  EXPECT_TRUE(s.PackageRegistered);
  EXPECT_FALSE(s.FilesInstalled);
  EXPECT_EQ(s.Package->SourcePath, medium2);
  EXPECT_EQ(s.Package->InstalledIn, first->session.Package->InstalledIn);
  EXPECT_EQ(s.Package->Files.Item("a.txt")->Installed, 1);
}

TEST_F(StartupModes, CancelledAndKeptInstallationIsTreatedAsNew) {
  std::string medium = world.MakeMedium("medium", DemoIni(), files);
  world.Start("-ifp \"" + medium + "\"");
  // Index entry and staged data exist, but status.ini records no installation
  // folder. Take the version value away to see the entry written again.
  modRegTools::Delete(kIndexKey, "Version", HKEY_LOCAL_MACHINE);

  auto run = world.Start("-ifp \"" + medium + "\"");
  EXPECT_EQ(run->ui.Pages(), std::vector<PageId>{PageId::Start});
  EXPECT_TRUE(run->session.IsNewInstall);
  EXPECT_TRUE(run->session.FilesInstalled);
  EXPECT_EQ(modRegTools::GetString(kIndexKey, "Version", "-", HKEY_LOCAL_MACHINE), "1.0");
}

TEST_F(StartupModes, MaintenanceLoadsTheStagedPackageAndItsStatus) {
  std::string medium = world.MakeMedium("medium", DemoIni(), files);
  auto first = world.InstallComplete(medium);

  auto run = world.Start("-m \"Demo_1.0\"");
  const Session& s = run->session;
  ASSERT_TRUE(s.Package);
  EXPECT_EQ(run->ui.Pages(), std::vector<PageId>{PageId::Maintenance});
  EXPECT_EQ(s.Package->SourcePath, medium);  // from status.ini
  EXPECT_EQ(s.Package->InstalledIn, first->session.Package->InstalledIn);
  EXPECT_FALSE(s.IsNewInstall);
  EXPECT_FALSE(s.FilesInstalled);
  EXPECT_EQ(s.SetupTitle, "Kivra Setup: Demo Programm");
}

TEST_F(StartupModes, MaintenanceOfAnUnknownPackageEndsAfterTheLoadReport) {
  auto run = world.Start("-m \"Nichts_9\"");
  EXPECT_TRUE(run->ui.Pages().empty());
  EXPECT_FALSE(run->ui.EmptyFormLoaded());
  ASSERT_FALSE(run->ui.Boxes().empty());  // the structured file's own report
  EXPECT_NE(run->ui.Boxes()[0].request.text.find("setup.ini"), std::string::npos);
}

TEST_F(StartupModes, DefinitionWithoutFilesEndsWithoutAWord) {
  std::string medium = world.MakeMedium("medium", SetupIni("Leer", "1.0", {}), {});
  auto run = world.Start("-ifp \"" + medium + "\"");
  EXPECT_TRUE(run->ui.Pages().empty());
  EXPECT_TRUE(run->ui.Boxes().empty());
  EXPECT_FALSE(run->ui.EmptyFormLoaded());
}

TEST_F(StartupModes, DamagedDefinitionIsReportedAndNothingIsStaged) {
  std::string ini = SetupIni("Demo", "1.0", {{"a.txt", "A"}, {"A.TXT", "A"}});  // same name twice
  std::string medium = world.MakeMedium("medium", ini, {{"a.txt", "A"}});
  auto run = world.Start("-ifp \"" + medium + "\"");
  ASSERT_EQ(run->ui.Boxes().size(), 1u);
  EXPECT_NE(run->ui.Boxes()[0].request.text.find("fehlerhaft (Fehler 457)"), std::string::npos);
  EXPECT_TRUE(run->ui.Pages().empty());
  EXPECT_FALSE(modTools::FileExists(world.appDir + "Packages\\Demo_1.0"));
  EXPECT_FALSE(test::KeyExists(HKEY_LOCAL_MACHINE, kIndexKey));
}

}  // namespace
}  // namespace kv::test
