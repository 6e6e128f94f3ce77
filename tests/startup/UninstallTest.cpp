// The uninstallation for each of its callers.
#include <windows.h>

#include <gtest/gtest.h>

#include "run/Uninstall.h"
#include "package/CPackage.h"
#include "platform/FileTools.h"
#include "platform/RegTools.h"
#include "platform/SharedFiles.h"
#include "platform/WinString.h"
#include "startup/StartupWorld.h"
#include "startup/WizardFlow.h"

namespace kv::test {
namespace {

const char* const kSharedKey = "Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs";
const std::string kIndex = "Software\\Kivra\\Setup\\Packages\\";
// The old version's removal macros leave which of them ran.
std::string Macro(const std::string& group, const std::string& data) {
  return "<" + group + ">\r\n[regsetstring]\r\nKey=HKEY_CURRENT_USER\\Software\\Kivra\\Spur\r\nValue=Makro\r\nData=" +
         data + "\r\n[/regsetstring]\r\n</" + group + ">\r\n";
}
const std::string kMacros = Macro("onuninstallatupdate", "update") + Macro("oncompleteuninstall", "komplett");

class Uninstalling : public ::testing::Test {
 protected:
  StartupWorld world;
  std::vector<MediumFile> files{{"a.txt", "A"}, {"s.dat", "S", "SharedFile=YES\r\n"}, {"demo.exe", "MZ"}};

  std::string Install(const std::string& name, const std::string& version, const std::vector<MediumFile>& withFiles,
                      const std::string& extraGroups = "") {
    std::string ini = SetupIni(name, version, withFiles, "demo.exe", extraGroups);
    // With a Publisher the entry carries more values; the key must still go whole.
    ini.replace(ini.find("</header>"), 0, "Publisher=Kivra\r\n");
    return world.InstallComplete(world.MakeMedium("m_" + name + version, ini, withFiles))->session.Package->InstalledIn;
  }
  // A start with -m and the given Uninstall flags (the maintenance page's
  // uninstall choice: none; a rollback of a registered package: skipLinks).
  std::unique_ptr<StartRun> Uninstall(const std::string& key, bool cancelled = false, bool skipLinks = false) {
    auto run = world.Start("-m \"" + key + "\"");
    EXPECT_TRUE(run->session.Package);
    run->session.Cancelled = cancelled;  // as after a confirmed cancel at a macro's prompt
    if (run->session.Package)
      modInstall::Uninstall(run->session, *run->session.Package, false, nullptr, false, false, skipLinks);
    return run;
  }
  // A second start with a newer medium, removing the installed version first.
  std::unique_ptr<StartRun> Update(const std::vector<MediumFile>& newFiles, bool isUpdate,
                                   const std::string& folder = "") {
    auto run = world.Start("-ifp \"" + world.MakeMedium("m2", SetupIni("Demo", "2.0", newFiles), newFiles) + "\"");
    Session& s = run->session;
    EXPECT_TRUE(s.OtherPackage);
    if (!s.OtherPackage) return run;
    s.PackageToRemoveFirst = s.OtherPackage;
    s.IsUpdate = isUpdate;
    if (!folder.empty()) s.Package->InstalledIn = folder;
    modSetup::StartInstallation(s);
    EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kIndex + "Demo_1.0"));
    EXPECT_FALSE(modTools::FileExists(world.appDir + "Packages\\Demo_1.0"));
    EXPECT_TRUE(run->ui.Boxes().empty()) << "no message about a folder that is about to be filled";
    return run;
  }
};

// What is gone from the machine afterwards, the installer's folder included,
// is checked end to end by the maintenance scenario; here the page, the
// helper, and when the installer stays (no helper, an unreadable index).
TEST_F(Uninstalling, TheLastPackageTakesTheInstallerWithIt) {
  // From a CD: the medium is read-only, and so is a plain copy of it.
  const std::string cd = world.MakeMedium("cd", SetupIni("Demo", "1.0", files, "demo.exe"), files);
  for (const char* f : {"\\setup.ini", "\\eula.txt"}) SetFileAttributesW(win::Widen(cd + f).c_str(), FILE_ATTRIBUTE_READONLY);
  world.InstallComplete(cd);
  auto run = Uninstall("Demo_1.0");
  Session& s = run->session;
  EXPECT_EQ(run->ui.Pages().back(), PageId::Uninstall);
  EXPECT_EQ(s.UninstallingName, "Demo 1.0");
  EXPECT_GE(run->ui.Now() - 1000.0, 0.5);  // the page stayed up its minimum time (scripted clock)
  EXPECT_TRUE(run->ui.Boxes().empty());
  EXPECT_TRUE(s.Package->Removed && !s.RestartRequired);
  // Self-removal: the helper copied out, KVSetup.exe left for it; started
  // once the last page has closed.
  EXPECT_TRUE(s.SelfRemovalPending);
  EXPECT_EQ(ReadFileBytes(world.windows + "\\DelKVStp.exe"), ReadFileBytes(RecorderExe()));
  EXPECT_TRUE(modTools::FileExists(world.appDir + "KVSetup.exe") && !modTools::FileExists(world.appDir + "dllregsv.exe"));
  modSetup::StartSelfRemoval(s);
  EXPECT_FALSE(s.SelfRemovalPending);
  EXPECT_NE(WaitForFile(world.windows + "\\DelKVStp.log").find("/d \""), std::string::npos);

  // Installed again: without the helper, or with an index nobody may list,
  // nothing of the installer's folder is removed.
  for (bool helper : {false, true}) {
    Install("Demo", "1.0", files);
    HKEY index = nullptr;
    SECURITY_DESCRIPTOR sd;
    ACL none;
    InitializeSecurityDescriptor(&sd, SECURITY_DESCRIPTOR_REVISION);
    InitializeAcl(&none, sizeof none, ACL_REVISION);
    if (!helper) {
      DeleteFileW(win::Widen(world.appDir + "dllregsv.exe").c_str());
    } else {
      ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Kivra\\Setup\\Packages", 0, KEY_ALL_ACCESS, &index), 0);
      SetSecurityDescriptorDacl(&sd, TRUE, &none, FALSE);
      ASSERT_EQ(RegSetKeySecurity(index, DACL_SECURITY_INFORMATION, &sd), 0);
    }
    EXPECT_FALSE(Uninstall("Demo_1.0")->session.SelfRemovalPending) << helper;
    EXPECT_TRUE(modTools::FolderExists(world.appDir + "Packages")) << helper;
    if (index) {
      SetSecurityDescriptorDacl(&sd, TRUE, nullptr, FALSE);  // open again for the clean-up
      RegSetKeySecurity(index, DACL_SECURITY_INFORMATION, &sd);
      RegCloseKey(index);
    }
  }
}

TEST_F(Uninstalling, OneOfTwoPackagesLeavesTheOtherAlone) {
  const std::string zfolder = Install("Zweit", "3.0", {{"z.txt", "Z"}, {"s.dat", "S", "SharedFile=YES\r\n"}});
  const std::string folder = Install("Demo", "1.0", files);
  EXPECT_FALSE(Uninstall("Demo_1.0")->session.SelfRemovalPending);
  EXPECT_TRUE(modTools::FileExists(world.appDir + "dllregsv.exe"));
  EXPECT_TRUE(modTools::FileExists(world.appDir + "Packages\\Zweit_3.0\\setup.ini"));
  EXPECT_TRUE(modTools::FileExists(world.appDir + "Packages\\Zweit_3.0\\status.ini"));
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, kIndex + "Zweit_3.0"));
  EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, "KivraSetup.Link.Zweit_3.0"));
  EXPECT_TRUE(modTools::FileExists(zfolder + "\\z.txt"));
  EXPECT_FALSE(modTools::FileExists(folder + "\\s.dat"));
}

TEST_F(Uninstalling, UpdateKeepsWhatTheNewVersionBringsAndLowersItsSharedCount) {
  const std::string folder = Install("Demo", "1.0", files, kMacros);
  modTools::AddSharedFileReference(folder + "\\s.dat", true);  // another program uses it too
  ASSERT_EQ(modRegTools::GetNumber(kSharedKey, folder + "\\s.dat", -1, HKEY_LOCAL_MACHINE), 2);
  // The new version has s.dat and demo.exe, no longer a.txt.
  auto run = Update({{"s.dat", "S2", "SharedFile=YES\r\n"}, {"demo.exe", "MZ2"}}, true, folder);
  EXPECT_TRUE(modTools::FileExists(folder + "\\s.dat"));
  EXPECT_TRUE(modTools::FileExists(folder + "\\demo.exe"));
  EXPECT_EQ(modRegTools::GetNumber(kSharedKey, folder + "\\s.dat", -1, HKEY_LOCAL_MACHINE), 1);
  // a.txt is unregistered; the removal before an install keeps files on disk.
  EXPECT_EQ(run->session.OtherPackage->Files.Item("a.txt")->Installed, 0);
  EXPECT_EQ(modRegTools::GetString("Software\\Kivra\\Spur", "Makro", "", HKEY_CURRENT_USER), "update");
  EXPECT_FALSE(run->session.SelfRemovalPending);
  EXPECT_EQ(run->ui.CurrentPage(), PageId::Installing);
}

TEST_F(Uninstalling, RemovalBeforeAPlainInstallRunsTheCompleteUninstallMacro) {
  Install("Demo", "1.0", files, kMacros);
  Update({{"a.txt", "A"}}, false);
  EXPECT_EQ(modRegTools::GetString("Software\\Kivra\\Spur", "Makro", "", HKEY_CURRENT_USER), "komplett");
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, kIndex + "Demo_2.0"));
}

TEST_F(Uninstalling, ReinstallKeepsThePackageDataOfThePackageItself) {
  std::vector<MediumFile> keep = files;
  keep[0].extraKeys = "DontUninstall=YES\r\n";
  Install("Demo", "1.0", keep);
  auto run = world.Start("-m \"Demo_1.0\"");
  Session& s = run->session;
  s.PackageToRemoveFirst = s.Package;  // "Das Programm neu installieren"
  s.ExistingFolder = true;
  modSetup::StartInstallation(s);
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, kIndex + "Demo_1.0"));
  EXPECT_TRUE(modTools::FileExists(world.appDir + "Packages\\Demo_1.0\\setup.ini"));
  EXPECT_FALSE(s.SelfRemovalPending);
  EXPECT_TRUE(run->ui.Boxes().empty()) << "no message about a folder that is about to be filled";
  for (const auto& f : s.Package->Files) EXPECT_EQ(f->Installed, f->DontUninstall ? 1 : 0) << f->Name;  // to be installed again
}

TEST_F(Uninstalling, RollbackOfARegisteredPackageKeepsItsLinksAndACancelAtAMacroRemovesNothing) {
  const std::string folder = Install("Demo", "1.0", files);
  Uninstall("Demo_1.0", /*cancelled=*/true);
  EXPECT_TRUE(modTools::FileExists(folder + "\\a.txt"));
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, kIndex + "Demo_1.0"));
  EXPECT_TRUE(modTools::FileExists(world.appDir + "dllregsv.exe"));

  Uninstall("Demo_1.0", false, /*skipLinks=*/true);
  EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, "KivraSetup.Link.Demo_1.0"));
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\demo.exe"));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE,
                         "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kivra Setup - Demo_1.0"));
}

// Abbrechen at a failing removal macro, confirmed: nothing goes on after it,
// and the cancel procedure runs once.
TEST_F(Uninstalling, ACancelAtARemovalMacroEndsTheWizardOnce) {
  const std::string failing = "[deletefile]\r\nPath=C:\\kv-fehlt\\x.txt\r\n[/deletefile]\r\n";
  Install("Demo", "1.0", files, "<onuninstallatupdate>\r\n" + failing + "</onuninstallatupdate>\r\n");
  auto run = world.Start("-ifp \"" + world.MakeMedium("m2", SetupIni("Demo", "2.0", files, "",
      "<oncompleteuninstall>\r\n" + failing + "</oncompleteuninstall>\r\n"), files) + "\"");
  Session& s = run->session;
  s.PackageToRemoveFirst = s.OtherPackage;
  s.IsUpdate = true;
  for (MsgResult r : {MsgResult::Abort, MsgResult::Yes, MsgResult::No}) run->ui.Answer(r);  // keep the files
  modSetup::StartInstallation(s);
  EXPECT_TRUE(s.Cancelled);
  EXPECT_EQ(run->ui.Pages(), (std::vector<PageId>{PageId::OtherInstalled, PageId::Uninstall}));
  // The undo on the welcome page, its own macro cancelled: no second round.
  run = world.Start("-ifp \"" + world.scratch / "m2" + "\"");
  run->ui.Answer(MsgResult::Abort);
  modSetup::CancelSetup(run->session);
  EXPECT_EQ(run->ui.Boxes().size(), 1u);
  EXPECT_TRUE(run->session.Cancelled && !run->session.Package->Removed);
}

TEST_F(Uninstalling, FilesLeftAndFolderLeftAreTold) {
  std::vector<MediumFile> keep = files;
  keep[0].extraKeys = "DontUninstall=YES\r\n";
  const std::string folder = Install("Demo", "1.0", keep);
  auto run = Uninstall("Demo_1.0");
  ASSERT_EQ(run->ui.Boxes().size(), 1u);
  EXPECT_EQ(BoxOf(run->ui.Boxes()[0].request),
            BoxOf({"Es konnten leider nicht alle Dateien entfernt werden. Bitte überprüfen Sie, welche Dateien noch im "
                   "Ordner \"" + folder + "\" verblieben sind und löschen Sie diesen Ordner bei Bedarf \"von Hand\".",
                   "Kivra Setup: Demo Programm", MsgButtons::OK, MsgIcon::Information}));
  EXPECT_TRUE(modTools::FileExists(folder + "\\a.txt"));
  // A file of the user's own keeps the folder.
  Install("Demo", "1.0", files);
  world.scratch.WriteFile(folder.substr(world.scratch.Path().size() + 1) + "\\notizen.txt", "meins");
  run = Uninstall("Demo_1.0");
  ASSERT_EQ(run->ui.Boxes().size(), 1u);
  EXPECT_EQ(run->ui.Boxes()[0].request.text,
            "Der Programmordner konnte nicht entfernt werden, da er möglicherweise noch Dateien enthält. Bitte "
            "überprüfen Sie, welche Dateien noch im Ordner \"" + folder +
                "\" verblieben sind und löschen Sie diesen Ordner bei Bedarf \"von Hand\".");
  EXPECT_TRUE(modTools::FileExists(folder + "\\notizen.txt"));
  EXPECT_FALSE(modTools::FileExists(folder + "\\demo.exe"));
}

}  // namespace
}  // namespace kv::test
