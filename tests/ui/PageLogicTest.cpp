// Page logic behind the windows, run with the scripted user.
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
#include "pages/frmEULA.h"
#include "pages/frmFinished.h"
#include "pages/frmInstalling.h"
#include "pages/frmLinks.h"
#include "pages/frmMaintenance.h"
#include "pages/frmOtherInstalled.h"
#include "pages/frmPath.h"
#include "ui/frmEULA.h"

namespace kv::pages {
namespace {

using ui::ToEditLineBreaks;

using test::ScratchFolder;
using test::ScriptedUi;

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

class PageLogic : public ::testing::Test {
 protected:
  PageLogic() : session(ui) {
    session.SetupTitle = "Kivra Setup: Demo Tool";
    session.ProgramFilesDir = "C:\\Programme";
    session.AppDir = scratch.Path() + "\\Setup\\";
    session.Package = NewPackage("1.0");
  }

  std::shared_ptr<CPackage> NewPackage(const std::string& version) {
    auto p = std::make_shared<CPackage>(session.Context());
    p->Name = "DemoTool";
    p->Caption = "Demo Tool";
    p->Version = version;
    p->DefaultPath = "*programs*\\Kivra\\DemoTool";
    p->EXEFile = "demo.exe";
    p->StartMenuGroup = "Kivra Test " + std::to_string(GetCurrentProcessId());
    p->PackageDir = scratch.Path();
    return p;
  }

  ScratchFolder scratch;
  test::RegistryGuard registry;
  ScriptedUi ui;
  Session session;
};

TEST_F(PageLogic, ChosenFolderTakesTheLastPartOfTheDefaultPath) {
  EXPECT_EQ(frmPath_ChosenPath("D:\\Apps", "*programs*\\Kivra\\Tool"), "D:\\Apps\\Tool");
  EXPECT_EQ(frmPath_ChosenPath("D:\\", "*programs*\\Kivra\\Tool"), "D:\\Tool");
  ui.AnswerBrowse("");  // cancelled browser: unchanged
  EXPECT_EQ(frmPath_cmdChoose_Click(session, "C:\\x"), "C:\\x");
  ui.AnswerBrowse("F:\\Software");
  EXPECT_EQ(frmPath_cmdChoose_Click(session, "C:\\x"), "F:\\Software\\DemoTool");
}

// A relative path, a drive root, a file and a fresh folder are refused or
// taken end to end (cancel scenario); here the rest of the rules.
TEST_F(PageLogic, PathValidationMessagesAndCleanedPath) {
  const std::string complete =
      "Bitte geben Sie einen kompletten Pfad (inklusive Laufwerksbuchstaben) an, z.B. c:\\Ordner";
  const std::string folder = scratch.MakeFolder("exists");
  const std::string file = scratch.WriteFile("taken", "x");
  struct Row {
    std::string path;
    bool existingFolder;
    bool ok;
    std::string cleaned;  // empty: not checked
    std::string box;      // part of the only message, empty: no message
  };
  const Row rows[] = {
      {"\\\\server\\share\\Demo", false, false, "", complete},
      {"", false, false, "", complete},
      // Two backslashes slip past the root check and reach the overwrite question (answered No).
      {"c:\\\\", false, false, "c:\\", "existiert bereits"},
      {" " + folder + "\\ ", false, true, folder, "existiert bereits"},  // answered Yes
      {folder, true, true, folder, ""},                                  // fixed folder: no question
      {file, true, false, "",
       "Der angegebene Installationspfad ist der Pfad einer Datei. Bitte geben Sie einen anderen ein."},
      {file + "\\Demo", false, false, "",
       "Der angegebene Installationspfad konnte nicht erstellt werden. Bitte geben Sie einen anderen ein."},
      {"C:\\" + std::string(245, 'x'), false, false, "",
       "Der angegebene Installationspfad ist zu lang (mehr als 247 Zeichen). Bitte geben Sie einen kürzeren ein."},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.path);
    const size_t before = ui.Boxes().size();
    session.ExistingFolder = row.existingFolder;
    const bool question = row.box == "existiert bereits";
    if (question) ui.Answer(row.ok ? MsgResult::Yes : MsgResult::No);
    std::string p = row.path;
    EXPECT_EQ(frmPath_ValidatePath(session, p), row.ok);
    if (!row.cleaned.empty()) {
      EXPECT_EQ(p, row.cleaned);
    }
    ASSERT_EQ(ui.Boxes().size() - before, row.box.empty() ? 0u : 1u);
    if (row.box.empty()) continue;
    const auto& box = ui.Boxes().back().request;
    EXPECT_TRUE(question ? Has(box.text, row.box) : box.text == row.box) << box.text;
    EXPECT_EQ(box.title, "Kivra Setup: Demo Tool");
    EXPECT_EQ(box.buttons, question ? MsgButtons::YesNo : MsgButtons::OK);
    EXPECT_EQ(box.icon, MsgIcon::Exclamation);
  }
}

// The user's own proxies are checked end to end (fresh installation,
// uninstallation); here those for all users and the Run value's rules.
TEST_F(PageLogic, LinksForAllUsersAndTheRunValueOnlyWhereAllowed) {
  CPackage& pkg = *session.Package;
  pkg.InstalledIn = "C:\\Programme\\Demo";
  pkg.AllowWinStart = true;
  const std::string group = modSpclFolder::GetSpecialFolder(nullptr, modSpclFolder::kCommonPrograms, "") + "\\" +
                            pkg.StartMenuGroup;
  const std::string deskProxy = modSpclFolder::GetSpecialFolder(nullptr, modSpclFolder::kCommonDesktopDirectory, "") +
                                "\\Demo Tool.kvsetuplink_DemoTool_1_0";
  auto run = [](HKEY root) { return modRegTools::GetString(kRunKey, "DemoTool", "-", root); };
  frmLinks_WriteLinks(session, {true, true, true, true});
  EXPECT_TRUE(modTools::FileExists(group + "\\Demo Tool.kvsetuplink_DemoTool_1_0") && modTools::FileExists(deskProxy));
  test::RemoveTree(group);
  DeleteFileW(std::wstring(deskProxy.begin(), deskProxy.end()).c_str());
  // The Run value is the current user's, also for all users.
  EXPECT_EQ(run(HKEY_CURRENT_USER) + run(HKEY_LOCAL_MACHINE), "\"C:\\Programme\\Demo\\demo.exe\"-");
  frmLinks_WriteLinks(session, {true, false, false, false});  // unchecked: the value goes
  EXPECT_EQ(run(HKEY_CURRENT_USER), "-");
  modRegTools::SetString(kRunKey, "DemoTool", "kept", HKEY_CURRENT_USER);
  pkg.AllowWinStart = false;  // not offered: the Run key is not touched
  frmLinks_WriteLinks(session, {true, false, false, false});
  EXPECT_EQ(run(HKEY_CURRENT_USER), "kept");
}

// The older version's page and its update choice are driven end to end
// (update scenario), the newer one's by the window tests.
TEST_F(PageLogic, OtherVersionPageChoices) {
  session.OtherPackage = NewPackage("0.9");
  EXPECT_EQ(frmOtherInstalled_Form_Load(session).lblText,
            "Es ist bereits eine ältere Version von DemoTool auf Ihrem Computer installiert. Wie möchten Sie vorgehen?");
  frmOtherInstalled_Command1_Click(session);  // update
  EXPECT_TRUE(session.PackageToRemoveFirst == session.OtherPackage && session.IsUpdate && session.ExistingFolder);
  frmOtherInstalled_Command2_Click(session);  // remove, then install anew
  EXPECT_TRUE(session.PackageToRemoveFirst == session.OtherPackage && !session.IsUpdate && !session.ExistingFolder);
  session.PackageToRemoveFirst.reset();
  frmOtherInstalled_Command3_Click(session);  // install beside it
  EXPECT_TRUE(session.PackageToRemoveFirst == nullptr && !session.IsUpdate);
  EXPECT_EQ(ui.Pages(), std::vector<PageId>(3, PageId::Path));
}

TEST_F(PageLogic, LicenceIsReadInTheAnsiCodePageOrReplacedByTheFailureText) {
  EXPECT_EQ(frmEULA_Form_Load(session), kEulaFailureText);
  scratch.WriteFile("eula.txt", "Lizenz f\xfcr \xc4rzte\r\n");  // Windows-1252
  EXPECT_EQ(frmEULA_Form_Load(session), "Lizenz für Ärzte\r\n");
  scratch.WriteFile("eula.txt", "");
  EXPECT_EQ(frmEULA_Form_Load(session), "");
  EXPECT_EQ(ToEditLineBreaks("a\nb\r\nc\rd\n\n"), "a\r\nb\r\nc\r\nd\r\n\r\n");
}

// The installation's titles and texts, the uninstallation's title and the
// restart state's boxes are checked on the real page (end to end, window
// tests); here the uninstallation's texts and when the program is offered.
TEST_F(PageLogic, FinishPageTextsForEveryModeAndRestartState) {
  EXPECT_TRUE(frmFinished_UninstallMode(session));
  session.InstallationStarted = true;
  EXPECT_FALSE(frmFinished_UninstallMode(session));
  FinishedSetup install = frmFinished_Init(session, false);
  EXPECT_TRUE(Has(install.lblWelcome, "\r\n\r\nBesuchen Sie uns!") && install.showStartProg && !install.showRestart);
  EXPECT_EQ(frmFinished_Init(session, true).lblWelcome.rfind("Sollten Sie Demo Tool deinstalliert haben", 0), 0u);
  session.RestartRequired = true;
  FinishedSetup unRestart = frmFinished_Init(session, true);
  EXPECT_EQ(unRestart.lblTitle, "Die Deinstallation ist fast abgeschlossen.");
  EXPECT_TRUE(Has(unRestart.lblWelcome, "\r\n\r\nUm die Deinstallation vollständig abzuschließen, muss der "
                                        "Computer neu gestartet werden."));
  session.RestartRequired = false;
  session.Package->EXEFile.clear();
  EXPECT_FALSE(frmFinished_Init(session, false).showStartProg);
}

// Stands in for the system calls of the restart: nothing restarts here. A
// restart asks for the looked-up shutdown privilege, enabled, then reboots.
struct RefusingRestart : modTools::RestartApi {
  bool OpenProcessToken(HANDLE& token) override { return token = nullptr, true; }
  void LookupShutdownPrivilege(LUID& luid) override { luid = {0x77, 0}; }
  bool AdjustTokenPrivileges(HANDLE, TOKEN_PRIVILEGES& p) override {
    return privilegeOk = p.PrivilegeCount == 1 && p.Privileges[0].Luid.LowPart == 0x77 &&
                         p.Privileges[0].Attributes == SE_PRIVILEGE_ENABLED;
  }
  bool ExitWindowsEx(UINT flags, DWORD reason) override { return exits += flags == EWX_REBOOT && !reason, false; }
  int exits = 0;
  bool privilegeOk = false;
};

TEST_F(PageLogic, ClosingTheFinishPageRestartsOrStartsTheProgram) {
  session.Finished = session.InstallationStarted = true;
  session.Package->InstalledIn = "C:\\Programme\\Demo Tool";
  struct Row {
    bool restartRequired;
    FinishedChoice choice;  // {optRestart, chkStartProg}
    int exits;
    std::vector<std::string> started;  // command line, then its working folder
    std::string box;
    std::string exe = "demo.exe";
  };
  const Row rows[] = {
      // A failed restart warns and still ends; a restart excludes starting the program.
      {true, {true, true}, 1, {}, "Der Computer konnte nicht neu gestartet werden. Bitte starten Sie ihn manuell neu."},
      // Without a needed restart optRestart does not matter.
      {false, {true, true}, 0, {"\"C:\\Programme\\Demo Tool\\demo.exe\"", "C:\\Programme\\Demo Tool"}, ""},
      {true, {false, false}, 0, {}, ""},  // "Selbst neu starten"
      // The program starts in its own folder, wherever it lies in the package.
      {false, {false, true}, 0,
       {"\"C:\\Programme\\Demo Tool\\bin\\demo.exe\"", "C:\\Programme\\Demo Tool\\bin"}, "", "bin\\demo.exe"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    const size_t before = ui.Boxes().size();
    session.Cancelled = false;
    session.RestartRequired = row.restartRequired;
    session.Package->EXEFile = row.exe;
    RefusingRestart restart;
    std::vector<std::string> started;
    frmFinished_cmdNext_Click(session, row.choice, restart, [&](const std::string& c, const std::string& folder) {
      started.insert(started.end(), {c, folder});
      return true;
    });
    EXPECT_EQ(restart.exits, row.exits);
    EXPECT_EQ(restart.privilegeOk, row.exits > 0);
    EXPECT_EQ(started, row.started);
    ASSERT_EQ(ui.Boxes().size() - before, row.box.empty() ? 0u : 1u);
    EXPECT_EQ(row.box.empty() ? "" : ui.Boxes().back().request.text, row.box);
    EXPECT_TRUE(session.Cancelled);  // the session ends normally
  }
}

// The medium gone (the disc text) is checked end to end.
TEST_F(PageLogic, MaintenancePageOffersEverythingOnlyWithTheSourceAtHand) {
  session.Package->SourcePath = scratch.Path();
  MaintenanceSetup here = frmMaintenance_Form_Load(session);
  EXPECT_TRUE(here.sourceReachable && here.lblMore.empty());
  session.Package->SourcePath = scratch.Path() + "\\gone";
  EXPECT_EQ(frmMaintenance_Form_Load(session).lblMore, frmMaintenance_MoreText(session.Package->SourcePath));
  // "D:\\Attempts" merely contains "temp" and still counts.
  for (const char* p : {"C:\\Users\\a\\AppData\\Local\\TEMP\\setup", "C:\\Windows\\Tmp", "D:\\Attempts"})
    EXPECT_EQ(frmMaintenance_MoreText(p),
              "Um das Programm neu zu installieren, laden Sie bitte das Installationsprogramm erneut von unserer "
              "Homepage herunter und führen Sie es aus.") << p;
  EXPECT_EQ(frmMaintenance_MoreText(""), frmMaintenance_MoreText("D:\\"));
  // A one-file medium's source is the downloaded file: present, yet nothing
  // can be read from it; the text names it (also inside a "Temp" folder).
  const std::string setup = scratch.WriteFile("Demo Setup.EXE", "MZ");
  session.Package->SourcePath = setup;
  MaintenanceSetup downloaded = frmMaintenance_Form_Load(session);
  EXPECT_FALSE(downloaded.sourceReachable);
  EXPECT_TRUE(Has(downloaded.lblMore, "starten Sie bitte die heruntergeladene Datei \"" + setup + "\" erneut"))
      << downloaded.lblMore;
}

TEST_F(PageLogic, MaintenanceChoicesSetTheFlagsAndPages) {
  frmMaintenance_Command1_Click(session);  // extend
  EXPECT_EQ(session.PackageToRemoveFirst, nullptr);
  EXPECT_TRUE(!session.IsRepair && session.ExistingFolder);
  session.ExistingFolder = false;
  frmMaintenance_Command2_Click(session);  // repair
  EXPECT_TRUE(session.IsRepair && !session.ExistingFolder);
  frmMaintenance_Command3_Click(session);  // reinstall
  EXPECT_EQ(session.PackageToRemoveFirst, session.Package);
  EXPECT_TRUE(!session.IsRepair && session.ExistingFolder);
  // Repair skips the path page.
  EXPECT_EQ(ui.Pages(), (std::vector<PageId>{PageId::Path, PageId::EULA, PageId::Path}));

  // Refusing the uninstall question changes nothing.
  session.PackageToRemoveFirst = session.Package;
  ui.Answer(MsgResult::No);
  EXPECT_FALSE(frmMaintenance_Command4_Click(session));
  ASSERT_EQ(ui.Boxes().size(), 1u);
  const auto& box = ui.Boxes()[0].request;
  EXPECT_EQ(box.buttons, MsgButtons::YesNo);
  EXPECT_EQ(box.defaultButton, 2);
  EXPECT_TRUE(Has(box.text, "\r\n\r\nMöchten Sie das Programm dennoch deinstallieren?"));
  EXPECT_TRUE(ui.Pages().size() == 3u && !session.Finished);
  EXPECT_EQ(session.PackageToRemoveFirst, session.Package);
}

}  // namespace
}  // namespace kv::pages
