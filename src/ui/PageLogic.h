#pragma once
// What the pages do, apart from the windows: texts filled on load, the checks
// and the session changes behind each button. The page windows (frm*.cpp)
// display these texts and forward their clicks here, so that all of it runs
// in tests with the scripted user instead of real windows.
#include <functional>
#include <string>

#include "session/Session.h"

namespace kv::modTools {
class RestartApi;
}

namespace kv::ui {

// ---- frmPath ---------------------------------------------------------------
struct PathPageSetup {
  std::string lblText;
  std::string txtPath;
  bool locked = false;  // txtPath read-only on button-face colour, cmdChoose disabled
};
PathPageSetup frmPath_Form_Load(const Session& session);
// The folder browser; returns the new text of txtPath (unchanged when cancelled).
std::string frmPath_cmdChoose_Click(Session& session, const std::string& current);
// The folder chosen in the browser joined with the last component of DefaultPath.
std::string frmPath_ChosenPath(const std::string& folder, const std::string& defaultPath);
// Cleans `path` in place (the page shows the cleaned text) and checks it; may
// create the folder. Messages go to the user through session.Ui.
bool frmPath_ValidatePath(Session& session, std::string& path);
// Validates; on success stores the folder and goes on to the licence page.
bool frmPath_Command1_Click(Session& session, std::string& path);
// Back to the maintenance page, or the cancel procedure on a new installation.
void frmPath_Command5_Click(Session& session);

// ---- frmLinks --------------------------------------------------------------
struct LinksPageSetup {
  std::string lblWelcome;
  bool showWinStart = false;
  bool startMenu = false, desktop = false, winStart = false;
};
LinksPageSetup frmLinks_Form_Load(const Session& session);
struct LinksChoice {
  bool forAll = false;
  bool startMenu = false, desktop = false, winStart = false;
};
// Writes the proxy files and the Run value; no navigation.
void frmLinks_WriteLinks(Session& session, const LinksChoice& choice);
// WriteLinks, then the finish page.
void frmLinks_cmdNext_Click(Session& session, const LinksChoice& choice);
inline constexpr const char* kRunKey = "Software\\Microsoft\\Windows\\CurrentVersion\\Run";

// ---- frmInstalling ---------------------------------------------------------
inline constexpr const char* kInstallingText = "Die Dateien werden Installiert, bitte warten Sie...";
// Runs the installation once and moves on (links page, or the finish page
// for a package without EXEFile); does nothing more after a cancellation.
void frmInstalling_tmrStart_Timer(Session& session);

// ---- frmOtherInstalled -----------------------------------------------------
struct OtherInstalledSetup {
  std::string lblTitle;
  std::string lblText;
  bool offerUpdate = true;  // Command1/Label2 visible
};
OtherInstalledSetup frmOtherInstalled_Form_Load(const Session& session);
void frmOtherInstalled_Command1_Click(Session& session);  // update
void frmOtherInstalled_Command2_Click(Session& session);  // remove, then install
void frmOtherInstalled_Command3_Click(Session& session);  // install beside it
void frmOtherInstalled_Command5_Click(Session& session);  // cancel

// ---- frmEULA ---------------------------------------------------------------
extern const char* const kEulaFailureText;
// The licence text (eula.txt in the package folder, ANSI code page), or the
// failure text when it cannot be read.
std::string frmEULA_Form_Load(const Session& session);
void frmEULA_cmdYes_Click(Session& session);
void frmEULA_cmdNo_Click(Session& session);

// ---- frmFinished -----------------------------------------------------------
struct FinishedSetup {
  std::string lblTitle;
  std::string lblWelcome;
  bool showRestart = false;    // optRestart/optSelf visible
  bool showStartProg = false;  // chkStartProg visible and checked
};
FinishedSetup frmFinished_Init(const Session& session, bool uninstallMode);
// The page is shown in uninstall mode when no installation was started in
// this run (the maintenance page's uninstall is the only other way here).
bool frmFinished_UninstallMode(const Session& session);
struct FinishedChoice {
  bool restartSelected = false;  // optRestart
  bool startProgram = false;     // chkStartProg checked (and visible)
};
// Starts a program's command line; the real one starts it normally, focused.
using ProgramStarter = std::function<bool(const std::string& commandLine)>;
void frmFinished_cmdNext_Click(Session& session, const FinishedChoice& choice, modTools::RestartApi& restart,
                               const ProgramStarter& start);

// ---- frmMaintenance --------------------------------------------------------
struct MaintenanceSetup {
  std::string lblChoose;
  bool sourceReachable = true;  // all four choices; else only the uninstall
  std::string lblMore;          // shown in Frame1 when the source is gone
};
MaintenanceSetup frmMaintenance_Form_Load(const Session& session);
std::string frmMaintenance_MoreText(const std::string& sourcePath);
void frmMaintenance_Command1_Click(Session& session);  // new components / continue
void frmMaintenance_Command2_Click(Session& session);  // repair
void frmMaintenance_Command3_Click(Session& session);  // reinstall
// Asks; on Yes uninstalls and shows the finish page. False when refused.
bool frmMaintenance_Command4_Click(Session& session);
void frmMaintenance_Command5_Click(Session& session);  // cancel

}  // namespace kv::ui
