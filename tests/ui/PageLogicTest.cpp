// What the pages do behind their windows, run with the scripted user: the
// path check and its messages, the shortcut files and the Run value, the
// choices of the other-version and maintenance pages, the licence text and
// the finish page's texts and closing.
#include <windows.h>

#include <gtest/gtest.h>

#include <memory>

#include "package/CPackage.h"
#include "platform/FileTools.h"
#include "platform/RegTools.h"
#include "platform/SpecialFolders.h"
#include "platform/SystemRestart.h"
#include "support/RegistryGuard.h"
#include "support/ScratchFolder.h"
#include "support/ScriptedUi.h"
#include "ui/PageLogic.h"
#include "ui/frmEULA.h"

namespace kv::ui {
namespace {

using test::ScratchFolder;
using test::ScriptedUi;

class PageLogic : public ::testing::Test {
 protected:
  PageLogic() : session(ui) {
    session.SetupTitle = "Kivra Setup: Demo Tool";
    session.ProgramFilesDir = "C:\\Programme";
    session.AppDir = scratch.Path() + "\\Setup\\";
    session.Package = NewPackage("DemoTool", "Demo Tool", "1.0");
  }

  std::shared_ptr<CPackage> NewPackage(const std::string& name, const std::string& caption,
                                       const std::string& version) {
    auto p = std::make_shared<CPackage>(session.Context());
    p->Name = name;
    p->Caption = caption;
    p->Version = version;
    p->DefaultPath = "*programs*\\Kivra\\" + name;
    p->EXEFile = "demo.exe";
    p->StartMenuGroup = "Kivra Test " + std::to_string(GetCurrentProcessId());
    p->PackageDir = scratch.Path();
    return p;
  }

  std::vector<std::string> Texts() const { return ui.BoxTexts(); }

  ScratchFolder scratch;
  test::RegistryGuard registry;
  ScriptedUi ui;
  Session session;
};

// ---- frmPath -----------------------------------------------------------------

TEST_F(PageLogic, PathPageTextAndFolderFollowWhatTheEarlierPagesChose) {
  PathPageSetup fresh = frmPath_Form_Load(session);
  EXPECT_EQ(fresh.lblText,
            "Die Installation von Demo Tool kann nun beginnen. Wenn Sie wünschen, können Sie unten den Pfad ändern, "
            "in dem das Programm installiert werden soll.");
  EXPECT_EQ(fresh.txtPath, "C:\\Programme\\Kivra\\DemoTool");
  EXPECT_FALSE(fresh.locked);

  session.Package->InstalledIn = "D:\\Tools\\Demo";
  session.ExistingFolder = true;
  PathPageSetup fixed = frmPath_Form_Load(session);
  EXPECT_EQ(fixed.lblText, "Die Installation von Demo Tool kann nun beginnen.");
  EXPECT_EQ(fixed.txtPath, "D:\\Tools\\Demo");
  EXPECT_TRUE(fixed.locked);

  session.IsUpdate = true;
  session.OtherPackage = NewPackage("DemoTool", "Demo Tool", "0.9");
  session.OtherPackage->InstalledIn = "E:\\Old\\Demo";
  PathPageSetup update = frmPath_Form_Load(session);
  EXPECT_EQ(update.lblText,
            "Die Installation von Demo Tool kann nun beginnen. Unten sehen Sie den Pfad, in dem das Programm "
            "installiert wird (der Pfad, in dem die bisherige Version installiert ist).");
  EXPECT_EQ(update.txtPath, "E:\\Old\\Demo");
  EXPECT_TRUE(update.locked);
}

TEST_F(PageLogic, ChosenFolderTakesTheLastPartOfTheDefaultPath) {
  EXPECT_EQ(frmPath_ChosenPath("D:\\Apps", "*programs*\\Kivra\\Tool"), "D:\\Apps\\Tool");
  EXPECT_EQ(frmPath_ChosenPath("D:\\", "*programs*\\Kivra\\Tool"), "D:\\Tool");

  ui.AnswerBrowse("");  // cancelled browser: unchanged
  EXPECT_EQ(frmPath_cmdChoose_Click(session, "C:\\x"), "C:\\x");
  ui.AnswerBrowse("F:\\Software");
  EXPECT_EQ(frmPath_cmdChoose_Click(session, "C:\\x"), "F:\\Software\\DemoTool");
}

TEST_F(PageLogic, PathsWithoutDriveAndDriveRootsAreRefused) {
  const std::string complete =
      "Bitte geben Sie einen kompletten Pfad (inklusive Laufwerksbuchstaben) an, z.B. c:\\Ordner";
  const std::string root =
      "Sie können das Programm nicht direkt in den Basisordner eines Laufwerks installieren. Das Programm muss in "
      "einen Unterordner installiert werden.";
  std::string p = "  c:\\  ";
  EXPECT_FALSE(frmPath_ValidatePath(session, p));
  EXPECT_EQ(p, "c:");
  p = "Programme\\Demo";
  EXPECT_FALSE(frmPath_ValidatePath(session, p));
  p = "\\\\server\\share\\Demo";
  EXPECT_FALSE(frmPath_ValidatePath(session, p));
  p = "";
  EXPECT_FALSE(frmPath_ValidatePath(session, p));
  ASSERT_EQ(ui.Boxes().size(), 4u);
  EXPECT_EQ(ui.Boxes()[0].request.text, root);
  for (int i = 1; i < 4; ++i) EXPECT_EQ(ui.Boxes()[i].request.text, complete);
  for (const auto& b : ui.Boxes()) {
    EXPECT_EQ(b.request.title, "Kivra Setup: Demo Tool");
    EXPECT_EQ(b.request.buttons, MsgButtons::OK);
    EXPECT_EQ(b.request.icon, MsgIcon::Exclamation);
  }
}

TEST_F(PageLogic, DriveRootWithTwoBackslashesReachesTheOverwriteQuestion) {
  std::string p = "c:\\\\";
  ui.Answer(MsgResult::No);
  EXPECT_FALSE(frmPath_ValidatePath(session, p));
  EXPECT_EQ(p, "c:\\");
  ASSERT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ui.Boxes()[0].request.buttons, MsgButtons::YesNo);
  EXPECT_EQ(ui.Boxes()[0].request.icon, MsgIcon::Exclamation);
  EXPECT_NE(ui.Boxes()[0].request.text.find("existiert bereits"), std::string::npos);
}

TEST_F(PageLogic, ExistingFolderAsksOnlyOnAFreshPath) {
  std::string folder = scratch.MakeFolder("exists");
  std::string p = " " + folder + "\\ ";
  ui.Answer(MsgResult::Yes);
  EXPECT_TRUE(frmPath_ValidatePath(session, p));
  EXPECT_EQ(p, folder);
  EXPECT_EQ(ui.Boxes().size(), 1u);

  session.ExistingFolder = true;
  EXPECT_TRUE(frmPath_ValidatePath(session, p));
  EXPECT_EQ(ui.Boxes().size(), 1u);  // no second question
}

TEST_F(PageLogic, AFileOfThatNameIsRefusedEvenOnAFixedPath) {
  std::string file = scratch.WriteFile("taken", "x");
  session.ExistingFolder = true;
  std::string p = file;
  EXPECT_FALSE(frmPath_ValidatePath(session, p));
  ASSERT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ui.Boxes()[0].request.text,
            "Der angegebene Installationspfad ist der Pfad einer Datei. Bitte geben Sie einen anderen ein.");
}

TEST_F(PageLogic, MissingFoldersAreCreatedOrReported) {
  std::string p = scratch.Path() + "\\neu\\tiefer\\Demo";
  EXPECT_TRUE(frmPath_ValidatePath(session, p));
  EXPECT_TRUE(modTools::FolderExists(p));
  EXPECT_TRUE(ui.Boxes().empty());

  // A folder below an existing file cannot be created.
  std::string file = scratch.WriteFile("blocker", "x");
  p = file + "\\Demo";
  EXPECT_FALSE(frmPath_ValidatePath(session, p));
  ASSERT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ui.Boxes()[0].request.text,
            "Der angegebene Installationspfad konnte nicht erstellt werden. Bitte geben Sie einen anderen ein.");
}

TEST_F(PageLogic, InstallButtonStoresTheCleanedFolderAndGoesToTheLicence) {
  std::string p = scratch.Path() + "\\Ziel\\";
  EXPECT_TRUE(frmPath_Command1_Click(session, p));
  EXPECT_EQ(session.Package->InstalledIn, scratch.Path() + "\\Ziel");
  ASSERT_EQ(ui.Pages().size(), 1u);
  EXPECT_EQ(ui.Pages()[0], PageId::EULA);

  std::string bad = "ohne Laufwerk";
  EXPECT_FALSE(frmPath_Command1_Click(session, bad));
  EXPECT_EQ(ui.Pages().size(), 1u);
}

TEST_F(PageLogic, PathPageCancelGoesBackToMaintenanceUnlessNew) {
  session.IsNewInstall = false;
  frmPath_Command5_Click(session);
  ASSERT_EQ(ui.Pages().size(), 1u);
  EXPECT_EQ(ui.Pages()[0], PageId::Maintenance);
  EXPECT_FALSE(session.Cancelled);

  session.IsNewInstall = true;
  frmPath_Command5_Click(session);
  EXPECT_TRUE(session.Cancelled);
}

// ---- frmLinks ----------------------------------------------------------------

TEST_F(PageLogic, LinksPageTextAndDefaults) {
  LinksPageSetup plain = frmLinks_Form_Load(session);
  EXPECT_EQ(plain.lblWelcome,
            "Bitte legen Sie fest, ob Sie im Startmenü und/oder auf dem Desktop eine Verknüpfung zu Demo Tool "
            "erstellen möchten.");
  EXPECT_FALSE(plain.showWinStart);
  EXPECT_FALSE(plain.startMenu);

  session.Package->AllowWinStart = true;
  session.Package->DefaultInStartMenu = true;
  session.Package->DefaultWinStart = true;
  LinksPageSetup win = frmLinks_Form_Load(session);
  EXPECT_EQ(win.lblWelcome,
            "Bitte legen Sie fest, ob Sie im Startmenü und/oder auf dem Desktop eine Verknüpfung zu Demo Tool "
            "erstellen möchten sowie ob das Programm immer beim Start von Windows gestartet werden soll.");
  EXPECT_TRUE(win.showWinStart);
  EXPECT_TRUE(win.startMenu);
  EXPECT_FALSE(win.desktop);
  EXPECT_TRUE(win.winStart);
}

TEST_F(PageLogic, LinksWriteEmptyProxiesAndTheRunValue) {
  CPackage& pkg = *session.Package;
  pkg.InstalledIn = "C:\\Programme\\Demo";
  pkg.AllowWinStart = true;
  // For all users: the common folders are real folders in the test prefix,
  // while the user's desktop may point into the home directory of the host.
  const std::string programs = modSpclFolder::GetSpecialFolder(nullptr, modSpclFolder::kCommonPrograms, "");
  const std::string desktop = modSpclFolder::GetSpecialFolder(nullptr, modSpclFolder::kCommonDesktopDirectory, "");
  ASSERT_FALSE(programs.empty());
  ASSERT_FALSE(desktop.empty());
  const std::string group = programs + "\\" + pkg.StartMenuGroup;
  const std::string proxy = "Demo Tool.kvsetuplink_DemoTool_1_0";

  frmLinks_WriteLinks(session, {true, true, true, true});
  const std::string menuProxy = group + "\\" + proxy;
  const std::string deskProxy = desktop + "\\" + proxy;
  EXPECT_TRUE(modTools::FileExists(menuProxy));
  EXPECT_TRUE(modTools::FileExists(deskProxy));
  EXPECT_EQ(test::ReadFileBytes(menuProxy), "");
  // The Run value is the current user's, also for all users.
  EXPECT_EQ(modRegTools::GetString(kRunKey, "DemoTool", "-", HKEY_CURRENT_USER), "\"C:\\Programme\\Demo\\demo.exe\"");
  EXPECT_EQ(modRegTools::GetString(kRunKey, "DemoTool", "-", HKEY_LOCAL_MACHINE), "-");

  // Unchecked: the value goes; without AllowWinStart the Run key is not touched.
  frmLinks_WriteLinks(session, {false, false, false, false});
  EXPECT_EQ(modRegTools::GetString(kRunKey, "DemoTool", "-", HKEY_CURRENT_USER), "-");
  modRegTools::SetString(kRunKey, "DemoTool", "kept", HKEY_CURRENT_USER);
  pkg.AllowWinStart = false;
  frmLinks_WriteLinks(session, {false, false, false, false});
  EXPECT_EQ(modRegTools::GetString(kRunKey, "DemoTool", "-", HKEY_CURRENT_USER), "kept");

  DeleteFileW(std::wstring(menuProxy.begin(), menuProxy.end()).c_str());
  test::RemoveTree(group);
  DeleteFileW(std::wstring(deskProxy.begin(), deskProxy.end()).c_str());
}

// ---- frmOtherInstalled -------------------------------------------------------

TEST_F(PageLogic, OtherVersionPageOffersTheUpdateOnlyForAnOlderVersion) {
  session.OtherPackage = NewPackage("DemoTool", "Demo Tool", "0.9");
  OtherInstalledSetup older = frmOtherInstalled_Form_Load(session);
  EXPECT_EQ(older.lblTitle, "Ältere Version bereits installiert");
  EXPECT_EQ(older.lblText,
            "Es ist bereits eine ältere Version von DemoTool auf Ihrem Computer installiert. Wie möchten Sie vorgehen?");
  EXPECT_TRUE(older.offerUpdate);

  session.OtherIsNewer = true;
  OtherInstalledSetup newer = frmOtherInstalled_Form_Load(session);
  EXPECT_EQ(newer.lblTitle, "Neuere Version bereits installiert");
  EXPECT_NE(newer.lblText.find("eine neuere Version von DemoTool"), std::string::npos);
  EXPECT_FALSE(newer.offerUpdate);
}

TEST_F(PageLogic, OtherVersionChoicesSetTheSessionFlags) {
  session.OtherPackage = NewPackage("DemoTool", "Demo Tool", "0.9");
  frmOtherInstalled_Command1_Click(session);
  EXPECT_EQ(session.PackageToRemoveFirst, session.OtherPackage);
  EXPECT_TRUE(session.IsUpdate);
  EXPECT_TRUE(session.ExistingFolder);

  frmOtherInstalled_Command2_Click(session);
  EXPECT_EQ(session.PackageToRemoveFirst, session.OtherPackage);
  EXPECT_FALSE(session.IsUpdate);
  EXPECT_FALSE(session.ExistingFolder);

  session.PackageToRemoveFirst.reset();
  frmOtherInstalled_Command3_Click(session);
  EXPECT_EQ(session.PackageToRemoveFirst, nullptr);
  EXPECT_FALSE(session.IsUpdate);
  ASSERT_EQ(ui.Pages().size(), 3u);
  for (PageId p : ui.Pages()) EXPECT_EQ(p, PageId::Path);
}

// ---- frmEULA -----------------------------------------------------------------

TEST_F(PageLogic, LicenceIsReadInTheAnsiCodePageOrReplacedByTheFailureText) {
  EXPECT_EQ(frmEULA_Form_Load(session), kEulaFailureText);
  scratch.WriteFile("eula.txt", "Lizenz f\xfcr \xc4rzte\r\n");  // Windows-1252
  EXPECT_EQ(frmEULA_Form_Load(session), "Lizenz für Ärzte\r\n");
  scratch.WriteFile("eula.txt", "");
  EXPECT_EQ(frmEULA_Form_Load(session), "");
}

TEST(EditLineBreaks, EveryKindOfLineEndBecomesCrLf) {
  EXPECT_EQ(ToEditLineBreaks("a\nb\r\nc\rd"), "a\r\nb\r\nc\r\nd");
  EXPECT_EQ(ToEditLineBreaks("\n\n"), "\r\n\r\n");
  EXPECT_EQ(ToEditLineBreaks("plain"), "plain");
}

// ---- frmFinished -------------------------------------------------------------

TEST_F(PageLogic, FinishPageTextsForEveryModeAndRestartState) {
  FinishedSetup install = frmFinished_Init(session, false);
  EXPECT_EQ(install.lblTitle, "Die Installation ist abgeschlossen.");
  EXPECT_EQ(install.lblWelcome.rfind("Wir wünschen Ihnen viel Vergnügen mit Demo Tool und hoffen", 0), 0u);
  EXPECT_NE(install.lblWelcome.find("\r\n\r\nBesuchen Sie uns!"), std::string::npos);
  EXPECT_TRUE(install.showStartProg);
  EXPECT_FALSE(install.showRestart);

  FinishedSetup uninstall = frmFinished_Init(session, true);
  EXPECT_EQ(uninstall.lblTitle, "Die Deinstallation ist abgeschlossen.");
  EXPECT_EQ(uninstall.lblWelcome.rfind("Sollten Sie Demo Tool deinstalliert haben", 0), 0u);
  EXPECT_FALSE(uninstall.showStartProg);  // never after an uninstallation

  session.RestartRequired = true;
  FinishedSetup restart = frmFinished_Init(session, false);
  EXPECT_EQ(restart.lblTitle, "Die Installation ist fast abgeschlossen.");
  EXPECT_NE(restart.lblWelcome.find("\r\n\r\nUm die Installation vollständig abzuschließen, muss der Computer neu "
                                    "gestartet werden."),
            std::string::npos);
  EXPECT_TRUE(restart.showRestart);
  EXPECT_FALSE(restart.showStartProg);
  FinishedSetup unRestart = frmFinished_Init(session, true);
  EXPECT_EQ(unRestart.lblTitle, "Die Deinstallation ist fast abgeschlossen.");
  EXPECT_NE(unRestart.lblWelcome.find("Um die Deinstallation vollständig abzuschließen"), std::string::npos);

  session.RestartRequired = false;
  session.Package->EXEFile.clear();
  EXPECT_FALSE(frmFinished_Init(session, false).showStartProg);
}

TEST_F(PageLogic, FinishPageModeFollowsWhetherAnInstallationStarted) {
  EXPECT_TRUE(frmFinished_UninstallMode(session));
  session.InstallationStarted = true;
  EXPECT_FALSE(frmFinished_UninstallMode(session));
}

// Stands in for the system calls of the restart: nothing restarts here.
class RefusingRestart : public modTools::RestartApi {
 public:
  bool OpenProcessToken(HANDLE& token) override {
    token = nullptr;
    return true;
  }
  void LookupShutdownPrivilege(LUID&) override {}
  bool AdjustTokenPrivileges(HANDLE, TOKEN_PRIVILEGES&) override { return true; }
  bool ExitWindowsEx(UINT, DWORD) override {
    ++exits;
    return false;
  }
  int exits = 0;
};

TEST_F(PageLogic, ClosingWithAFailedRestartWarnsAndStillEnds) {
  session.RestartRequired = true;
  session.Finished = true;
  session.InstallationStarted = true;
  RefusingRestart restart;
  int started = 0;
  frmFinished_cmdNext_Click(session, {true, true}, restart, [&](const std::string&) {
    ++started;
    return true;
  });
  EXPECT_EQ(restart.exits, 1);
  EXPECT_EQ(started, 0);  // a restart excludes starting the program
  ASSERT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ui.Boxes()[0].request.text,
            "Der Computer konnte nicht neu gestartet werden. Bitte starten Sie ihn manuell neu.");
  EXPECT_TRUE(session.Cancelled);  // the session ends normally
}

TEST_F(PageLogic, ClosingStartsTheProgramWhenChosenAndNoRestartIsWanted) {
  session.Finished = true;
  session.InstallationStarted = true;
  session.Package->InstalledIn = "C:\\Programme\\Demo Tool";
  RefusingRestart restart;
  std::vector<std::string> started;
  // optRestart's state does not matter without a needed restart.
  frmFinished_cmdNext_Click(session, {true, true}, restart, [&](const std::string& c) {
    started.push_back(c);
    return true;
  });
  EXPECT_EQ(restart.exits, 0);
  ASSERT_EQ(started.size(), 1u);
  EXPECT_EQ(started[0], "\"C:\\Programme\\Demo Tool\\demo.exe\"");
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_TRUE(session.Cancelled);

  // "Selbst neu starten": nothing is started and nothing restarts.
  session.Cancelled = false;
  session.RestartRequired = true;
  started.clear();
  frmFinished_cmdNext_Click(session, {false, false}, restart, [&](const std::string& c) {
    started.push_back(c);
    return true;
  });
  EXPECT_TRUE(started.empty());
  EXPECT_EQ(restart.exits, 0);
}

// ---- frmMaintenance ----------------------------------------------------------

TEST(MaintenanceMoreText, DownloadTextWhenTheSourceLooksTemporary) {
  const std::string download =
      "Um das Programm neu zu installieren, laden Sie bitte das Installationsprogramm erneut von unserer Homepage "
      "herunter und führen Sie es aus.";
  const std::string disc =
      "Für mehr Optionen legen Sie bitte die CD ein, auf der Sie das Programm erhalten haben, und starten Sie Setup "
      "erneut.";
  EXPECT_EQ(frmMaintenance_MoreText("C:\\Users\\a\\AppData\\Local\\TEMP\\setup"), download);
  EXPECT_EQ(frmMaintenance_MoreText("C:\\Windows\\Tmp"), download);
  EXPECT_EQ(frmMaintenance_MoreText("D:\\Attempts"), download);  // merely contains "temp"
  EXPECT_EQ(frmMaintenance_MoreText("D:\\"), disc);
  EXPECT_EQ(frmMaintenance_MoreText(""), disc);
}

TEST_F(PageLogic, MaintenancePageOffersEverythingOnlyWithTheSourceAtHand) {
  session.Package->SourcePath = scratch.Path();
  MaintenanceSetup here = frmMaintenance_Form_Load(session);
  EXPECT_EQ(here.lblChoose,
            "Bitte wählen Sie aus, was Sie mit Ihrer derzeitigen Installation von Demo Tool tun möchten.");
  EXPECT_TRUE(here.sourceReachable);
  EXPECT_TRUE(here.lblMore.empty());

  session.Package->SourcePath = scratch.Path() + "\\gone";
  MaintenanceSetup gone = frmMaintenance_Form_Load(session);
  EXPECT_FALSE(gone.sourceReachable);
  EXPECT_EQ(gone.lblMore, frmMaintenance_MoreText(session.Package->SourcePath));
}

TEST_F(PageLogic, MaintenanceChoicesSetTheFlagsAndPages) {
  frmMaintenance_Command1_Click(session);
  EXPECT_EQ(session.PackageToRemoveFirst, nullptr);
  EXPECT_FALSE(session.IsRepair);
  EXPECT_TRUE(session.ExistingFolder);

  session.ExistingFolder = false;
  frmMaintenance_Command2_Click(session);
  EXPECT_TRUE(session.IsRepair);
  EXPECT_FALSE(session.ExistingFolder);  // unchanged by the repair

  frmMaintenance_Command3_Click(session);
  EXPECT_EQ(session.PackageToRemoveFirst, session.Package);
  EXPECT_FALSE(session.IsRepair);
  EXPECT_TRUE(session.ExistingFolder);

  ASSERT_EQ(ui.Pages().size(), 3u);
  EXPECT_EQ(ui.Pages()[0], PageId::Path);
  EXPECT_EQ(ui.Pages()[1], PageId::EULA);  // repair skips the path page
  EXPECT_EQ(ui.Pages()[2], PageId::Path);
}

TEST_F(PageLogic, RefusingTheUninstallQuestionChangesNothing) {
  session.PackageToRemoveFirst = session.Package;
  ui.Answer(MsgResult::No);
  EXPECT_FALSE(frmMaintenance_Command4_Click(session));
  ASSERT_EQ(ui.Boxes().size(), 1u);
  const auto& box = ui.Boxes()[0].request;
  EXPECT_EQ(box.buttons, MsgButtons::YesNo);
  EXPECT_EQ(box.defaultButton, 2);
  EXPECT_NE(box.text.find("\r\n\r\nMöchten Sie das Programm dennoch deinstallieren?"), std::string::npos);
  EXPECT_TRUE(ui.Pages().empty());
  EXPECT_FALSE(session.Finished);
  EXPECT_EQ(session.PackageToRemoveFirst, session.Package);
}

}  // namespace
}  // namespace kv::ui
