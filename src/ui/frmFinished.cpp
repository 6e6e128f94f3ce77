#include "ui/frmFinished.h"

#include "startup/UserStart.h"
#include "platform/SystemRestart.h"
#include "ui/ControlIds.h"
#include "pages/frmFinished.h"
#include "ui/Pages.h"
#include "ui/RealUi.h"

namespace kv::ui {

using namespace pages;  // this window's page logic

void frmFinished::OnLoad() { Init(frmFinished_UninstallMode(session_)); }

void frmFinished::Init(bool uninstallMode) {
  const FinishedSetup s = frmFinished_Init(session_, uninstallMode);
  const int x = Layout::kLeft, w = Layout::kRight - Layout::kLeft;
  int y = FlowLabel(ids::frmFinished_lblTitle, s.lblTitle, x, 18, w, FontKind::Title, 12);
  y = FlowLabel(ids::frmFinished_lblWelcome, s.lblWelcome, x, y, w, FontKind::Normal, 12);
  Option(ids::frmFinished_optRestart, "&Ja, Computer jetzt neu starten", x, y, w, 20, true);
  Option(ids::frmFinished_optSelf, "&Nein, ich möchte den Computer selbst neu starten", x, y + 22, w, 20, false);
  SetChecked(ids::frmFinished_optRestart, true);
  CheckBox(ids::frmFinished_chkStartProg, "&Programm jetzt starten", x, y, w, 20);
  Show(ids::frmFinished_optRestart, s.showRestart);
  Show(ids::frmFinished_optSelf, s.showRestart);
  Show(ids::frmFinished_chkStartProg, s.showStartProg);
  SetChecked(ids::frmFinished_chkStartProg, s.showStartProg);
  SeparatorLines(Layout::kLineY, Layout::kLeft, Layout::kRight);
  // The maker's web address is left out on purpose: the texts say
  // "Homepage" without naming one.
  Button(ids::frmFinished_cmdNext, "&Schließen", Layout::kRight - Layout::kButtonW, Layout::kButtonY,
         Layout::kButtonW, Layout::kButtonH, true);
}

void frmFinished::OnCommand(int id, int code) {
  if (code == BN_CLICKED && id == ids::frmFinished_cmdNext) cmdNext_Click();
}

void frmFinished::cmdNext_Click() {
  FinishedChoice c;
  c.restartSelected = Checked(ids::frmFinished_optRestart);
  c.startProgram = IsWindowVisible(Item(ids::frmFinished_chkStartProg)) && Checked(ids::frmFinished_chkStartProg);
  Leave(c);
}

// As if the user had chosen to restart later and not to start the program.
void frmFinished::OnClose() { Leave(FinishedChoice{}); }

void frmFinished::Leave(const FinishedChoice& choice) {
  modTools::RestartApi& restart = ui_.restartApi ? *ui_.restartApi : modTools::SystemRestartApi();
  ProgramStarter start = ui_.startProgram;
  if (!start) {
    start = [](const std::string& commandLine, const std::string& folder) {
      return modSetup::StartProgramAsUser(commandLine, folder);
    };
  }
  frmFinished_cmdNext_Click(session_, choice, restart, start);
}

}  // namespace kv::ui
