// The uninstallation for each of its callers.
#include <windows.h>

#include <gtest/gtest.h>

#include "install/Uninstall.h"
#include "package/CPackage.h"
#include "platform/FileTools.h"
#include "platform/RegTools.h"
#include "platform/WinString.h"
#include "platform/SharedFiles.h"
#include "startup/StartupWorld.h"
#include "startup/WizardFlow.h"

namespace kv::test {
namespace {

const char* const kSharedKey = "Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs";

class Uninstalling : public ::testing::Test {
 protected:
  StartupWorld world;
  std::vector<MediumFile> files{{"a.txt", "A"}, {"s.dat", "S", "SharedFile=YES\r\n"}, {"demo.exe", "MZ"}};

  std::unique_ptr<StartRun> Install(const std::string& name, const std::string& version,
                                    const std::vector<MediumFile>& withFiles) {
    std::string medium =
        world.MakeMedium("m_" + name + version, SetupIni(name, version, withFiles, "demo.exe"), withFiles);
    return world.InstallComplete(medium);
  }
  // The maintenance page's uninstall choice on a fresh start with -m.
  std::unique_ptr<StartRun> UninstallFromMaintenance(const std::string& key) {
    auto run = world.Start("-m \"" + key + "\"");
    EXPECT_TRUE(run->session.Package);
    if (run->session.Package)
      modInstall::Uninstall(run->session, *run->session.Package, false, nullptr, false, false, false);
    return run;
  }
  int32_t SharedCount(const std::string& path) {
    return modRegTools::GetNumber(kSharedKey, path, -1, HKEY_LOCAL_MACHINE);
  }
};

TEST_F(Uninstalling, TheLastPackageTakesTheInstallerWithIt) {
  auto installed = Install("Demo", "1.0", files);
  const std::string folder = installed->session.Package->InstalledIn;
  ASSERT_TRUE(modTools::FileExists(folder + "\\a.txt"));

  auto run = UninstallFromMaintenance("Demo_1.0");
  Session& s = run->session;
  EXPECT_EQ(run->ui.Pages().back(), PageId::Uninstall);
  EXPECT_EQ(s.UninstallingName, "Demo 1.0");
  EXPECT_GE(run->ui.Now() - 1000.0, 0.5);  // the page stayed up its minimum time (scripted clock)
  EXPECT_TRUE(run->ui.Boxes().empty());
  EXPECT_FALSE(modTools::FileExists(folder));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Kivra\\Setup\\Packages\\Demo_1.0"));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kivra Setup - Demo_1.0"));
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, "KivraSetup.Link.Demo_1.0"));

  // Self-removal: the helper copied out, the original gone, the installer's
  // empty subfolders removed, no restart asked for just for the helper.
  EXPECT_TRUE(s.SelfRemovalPending);
  EXPECT_EQ(s.SelfDeleteHelper, world.windows + "\\DelKVStp.exe");
  EXPECT_EQ(ReadFileBytes(s.SelfDeleteHelper), ReadFileBytes(RecorderExe()));
  EXPECT_FALSE(modTools::FileExists(world.appDir + "dllregsv.exe"));
  EXPECT_FALSE(modTools::FileExists(world.appDir + "Packages"));
  EXPECT_TRUE(modTools::FileExists(world.appDir + "KVSetup.exe"));  // the helper's business, once we ended
  EXPECT_FALSE(s.RestartRequired);

  // The entry point starts the helper once the last page has closed.
  modSetup::StartSelfRemoval(s);
  EXPECT_FALSE(s.SelfRemovalPending);
  EXPECT_NE(WaitForFile(world.windows + "\\DelKVStp.log").find("/d \""), std::string::npos);
}

TEST_F(Uninstalling, WithoutTheHelperNothingOfTheInstallerFolderIsRemoved) {
  Install("Demo", "1.0", files);
  DeleteFileW(win::Widen(world.appDir + "dllregsv.exe").c_str());
  auto run = UninstallFromMaintenance("Demo_1.0");
  EXPECT_FALSE(run->session.SelfRemovalPending);
  EXPECT_TRUE(modTools::FolderExists(world.appDir + "Packages"));
  EXPECT_FALSE(modTools::FileExists(world.windows + "\\DelKVStp.exe"));
}

TEST_F(Uninstalling, OneOfTwoPackagesLeavesTheOtherAlone) {
  auto other = Install("Zweit", "3.0", {{"z.txt", "Z"}, {"s.dat", "S", "SharedFile=YES\r\n"}});
  auto demo = Install("Demo", "1.0", files);
  const std::string shared = demo->session.Package->InstalledIn + "\\s.dat";
  const std::string zfolder = other->session.Package->InstalledIn;

  auto run = UninstallFromMaintenance("Demo_1.0");
  EXPECT_FALSE(run->session.SelfRemovalPending);
  EXPECT_TRUE(modTools::FileExists(world.appDir + "dllregsv.exe"));
  EXPECT_TRUE(modTools::FileExists(world.appDir + "Packages\\Zweit_3.0\\setup.ini"));
  EXPECT_TRUE(modTools::FileExists(world.appDir + "Packages\\Zweit_3.0\\status.ini"));
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Kivra\\Setup\\Packages\\Zweit_3.0"));
  EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, "KivraSetup.Link.Zweit_3.0"));
  EXPECT_TRUE(modTools::FileExists(zfolder + "\\z.txt"));
  EXPECT_FALSE(modTools::FileExists(shared));
}

TEST_F(Uninstalling, UpdateKeepsWhatTheNewVersionBringsAndLowersItsSharedCount) {
  auto old = Install("Demo", "1.0", files);
  const std::string folder = old->session.Package->InstalledIn;
  modTools::AddSharedFileReference(folder + "\\s.dat", true);  // another program uses it too
  ASSERT_EQ(SharedCount(folder + "\\s.dat"), 2);

  // The new version has s.dat and demo.exe, no longer a.txt.
  std::vector<MediumFile> newFiles{{"s.dat", "S2", "SharedFile=YES\r\n"}, {"demo.exe", "MZ2"}};
  std::string medium2 = world.MakeMedium("m2", SetupIni("Demo", "2.0", newFiles, "demo.exe"), newFiles);
  auto run = world.Start("-ifp \"" + medium2 + "\"");
  Session& s = run->session;
  ASSERT_TRUE(s.OtherPackage);
  s.PackageToRemoveFirst = s.OtherPackage;
  s.IsUpdate = true;
  s.Package->InstalledIn = folder;
  modSetup::StartInstallation(s);

  EXPECT_TRUE(modTools::FileExists(folder + "\\s.dat"));
  EXPECT_TRUE(modTools::FileExists(folder + "\\demo.exe"));
  EXPECT_EQ(SharedCount(folder + "\\s.dat"), 1);
  // a.txt is unregistered; the removal before an install keeps files on disk.
  EXPECT_EQ(s.OtherPackage->Files.Item("a.txt")->Installed, 0);
  EXPECT_TRUE(run->ui.Boxes().empty());  // never a message during an update
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Kivra\\Setup\\Packages\\Demo_1.0"));
  EXPECT_FALSE(modTools::FileExists(world.appDir + "Packages\\Demo_1.0"));
  EXPECT_FALSE(s.SelfRemovalPending);
  EXPECT_EQ(run->ui.CurrentPage(), PageId::Installing);
}

// A machine of its own per round (one registry guard at a time), so no fixture.
TEST(RemovingTheOldVersion, RunsTheUpdateMacrosOnlyForAnUpdate) {
  // The old version marks which of its removal macros ran.
  const std::string macros =
      "<onuninstallatupdate>\r\n[regsetstring]\r\nKey=HKEY_CURRENT_USER\\Software\\Kivra\\Spur\r\n"
      "Value=Makro\r\nData=update\r\n[/regsetstring]\r\n</onuninstallatupdate>\r\n"
      "<oncompleteuninstall>\r\n[regsetstring]\r\nKey=HKEY_CURRENT_USER\\Software\\Kivra\\Spur\r\n"
      "Value=Makro\r\nData=komplett\r\n[/regsetstring]\r\n</oncompleteuninstall>\r\n";
  for (bool update : {true, false}) {
    SCOPED_TRACE(update ? "update" : "uninstall, then install");
    StartupWorld fresh;
    std::vector<MediumFile> one{{"a.txt", "A"}};
    fresh.InstallComplete(fresh.MakeMedium("m1", SetupIni("Demo", "1.0", one, "", macros), one));
    auto run = fresh.Start("-ifp \"" + fresh.MakeMedium("m2", SetupIni("Demo", "2.0", one), one) + "\"");
    Session& s = run->session;
    ASSERT_TRUE(s.OtherPackage);
    s.PackageToRemoveFirst = s.OtherPackage;
    s.IsUpdate = update;
    modSetup::StartInstallation(s);
    EXPECT_EQ(modRegTools::GetString("Software\\Kivra\\Spur", "Makro", "", HKEY_CURRENT_USER),
              update ? "update" : "komplett");
    EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Kivra\\Setup\\Packages\\Demo_1.0"));
    EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Kivra\\Setup\\Packages\\Demo_2.0"));
  }
}

TEST_F(Uninstalling, ReinstallKeepsThePackageDataOfThePackageItself) {
  Install("Demo", "1.0", files);
  auto run = world.Start("-m \"Demo_1.0\"");
  Session& s = run->session;
  s.PackageToRemoveFirst = s.Package;  // "Das Programm neu installieren"
  s.ExistingFolder = true;
  modSetup::StartInstallation(s);
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Kivra\\Setup\\Packages\\Demo_1.0"));
  EXPECT_TRUE(modTools::FileExists(world.appDir + "Packages\\Demo_1.0\\setup.ini"));
  EXPECT_FALSE(s.SelfRemovalPending);
  for (const auto& f : s.Package->Files) EXPECT_EQ(f->Installed, 0) << f->Name;  // all to be installed again
}

TEST_F(Uninstalling, RollbackOfARegisteredPackageKeepsItsLinks) {
  Install("Demo", "1.0", files);
  auto run = world.Start("-m \"Demo_1.0\"");
  modInstall::Uninstall(run->session, *run->session.Package, false, nullptr, false, false, /*skipLinks=*/true);
  EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, "KivraSetup.Link.Demo_1.0"));
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\demo.exe"));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kivra Setup - Demo_1.0"));
}

TEST_F(Uninstalling, FilesLeftAndFolderLeftAreTold) {
  std::vector<MediumFile> keep = files;
  keep[0].extraKeys = "DontUninstall=YES\r\n";
  auto installed = Install("Demo", "1.0", keep);
  const std::string folder = installed->session.Package->InstalledIn;
  auto run = UninstallFromMaintenance("Demo_1.0");
  ASSERT_EQ(run->ui.Boxes().size(), 1u);
  const MessageBoxRequest& box = run->ui.Boxes()[0].request;
  EXPECT_EQ(box.text, "Es konnten leider nicht alle Dateien entfernt werden. Bitte überprüfen Sie, welche Dateien "
                      "noch im Ordner \"" + folder +
                          "\" verblieben sind und löschen Sie diesen Ordner bei Bedarf \"von Hand\".");
  EXPECT_EQ(box.icon, MsgIcon::Information);
  EXPECT_EQ(box.title, "Kivra Setup: Demo Programm");
  EXPECT_TRUE(modTools::FileExists(folder + "\\a.txt"));

  // A file of the user's own keeps the folder.
  auto again = Install("Demo", "1.0", files);
  world.scratch.WriteFile(folder.substr(world.scratch.Path().size() + 1) + "\\notizen.txt", "meins");
  auto run2 = UninstallFromMaintenance("Demo_1.0");
  ASSERT_EQ(run2->ui.Boxes().size(), 1u);
  EXPECT_EQ(run2->ui.Boxes()[0].request.text,
            "Der Programmordner konnte nicht entfernt werden, da er möglicherweise noch Dateien enthält. Bitte "
            "überprüfen Sie, welche Dateien noch im Ordner \"" + folder +
                "\" verblieben sind und löschen Sie diesen Ordner bei Bedarf \"von Hand\".");
  EXPECT_TRUE(modTools::FileExists(folder + "\\notizen.txt"));
  EXPECT_FALSE(modTools::FileExists(folder + "\\demo.exe"));
}

TEST_F(Uninstalling, CancelDuringTheMacrosRemovesNothing) {
  auto installed = Install("Demo", "1.0", files);
  auto run = world.Start("-m \"Demo_1.0\"");
  run->session.Cancelled = true;  // the user confirmed a cancel at a macro's prompt
  modInstall::Uninstall(run->session, *run->session.Package, false, nullptr, false, false, false);
  EXPECT_TRUE(modTools::FileExists(installed->session.Package->InstalledIn + "\\a.txt"));
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Kivra\\Setup\\Packages\\Demo_1.0"));
  EXPECT_TRUE(modTools::FileExists(world.appDir + "dllregsv.exe"));
}

}  // namespace
}  // namespace kv::test
