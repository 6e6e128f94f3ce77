#include "unattended/UnattendedRun.h"

#include "package/CPackage.h"
#include "platform/SystemRestart.h"
#include "startup/WizardFlow.h"
#include "pages/frmEULA.h"
#include "pages/frmFinished.h"
#include "pages/frmInstalling.h"
#include "pages/frmLinks.h"
#include "pages/frmMaintenance.h"
#include "pages/frmOtherInstalled.h"
#include "pages/frmPath.h"
#include "pages/frmStart.h"

namespace kv::unattended {
namespace {

using modSetup::Choice;
using modSetup::SetupAction;
using modSetup::Switches;

bool Pick(Choice choice, bool proposed) { return choice == Choice::Default ? proposed : choice == Choice::Yes; }

// Records whether Windows accepted the restart, for the exit code.
class RecordingRestart : public modTools::RestartApi {
 public:
  explicit RecordingRestart(modTools::RestartApi& real) : real_(real) {}
  bool OpenProcessToken(HANDLE& token) override { return real_.OpenProcessToken(token); }
  void LookupShutdownPrivilege(LUID& luid) override { real_.LookupShutdownPrivilege(luid); }
  bool AdjustTokenPrivileges(HANDLE token, TOKEN_PRIVILEGES& p) override { return real_.AdjustTokenPrivileges(token, p); }
  bool ExitWindowsEx(UINT flags, DWORD reason) override { return started = real_.ExitWindowsEx(flags, reason); }
  bool started = false;

 private:
  modTools::RestartApi& real_;
};

class Driver {
 public:
  Driver(Session& session, UnattendedUi& ui, const Switches& sw, modTools::RestartApi& restart)
      : s_(session), ui_(ui), sw_(sw), restart_(restart) {}

  void Answer(PageId page) {
    switch (page) {
      case PageId::Start:
        if (sw_.action != SetupAction::Default) return Stop("Das Programm ist nicht installiert.");
        return pages::frmStart_cmdNext_Click(s_);
      case PageId::OtherInstalled:
        if (s_.OtherIsNewer) {
          outcome_.forcedCode = modSetup::exitcode::kNewerInstalled;
          return Stop("Eine neuere Version ist bereits installiert.");
        }
        s_.Log("Seite Andere Version: ältere Version wird aktualisiert");
        return pages::frmOtherInstalled_Command1_Click(s_);
      case PageId::Path: return AnswerPath();
      case PageId::EULA:
        s_.Log("Seite Lizenzvertrag: angenommen mit dem unbeaufsichtigten Aufruf");
        return pages::frmEULA_cmdYes_Click(s_);
      case PageId::Installing:
        // With a display the page's own timer starts the work.
        if (!ui_.Passive()) pages::frmInstalling_tmrStart_Timer(s_);
        return;
      case PageId::Links: return AnswerLinks();
      case PageId::Finished: return AnswerFinished();
      case PageId::Maintenance: return AnswerMaintenance();
      case PageId::Uninstall:
      case PageId::None: return;
    }
  }

  RunOutcome outcome_;

 private:
  // No safe answer: the run ends as a cancel would, rolling back what this
  // run brought in.
  void Stop(const std::string& reason) {
    ui_.Fail(reason);
    modSetup::CancelSetup(s_);
    if (!s_.Cancelled) modSetup::CancelSetup(s_, /*unconditional=*/true);
  }

  void AnswerPath() {
    const pages::PathPageSetup page = pages::frmPath_Form_Load(s_);
    std::string path = page.txtPath;
    if (!sw_.dir.empty()) {
      if (page.locked) {
        s_.Log("Ordner aus /dir nicht verwendet: das Programm bleibt in seinem bisherigen Ordner " + page.txtPath);
      } else {
        path = sw_.dir;
      }
    }
    s_.Log("Seite Installationspfad: " + path);
    if (!pages::frmPath_Command1_Click(s_, path)) Stop("Der Installationspfad ist nicht verwendbar: " + path);
  }

  void AnswerLinks() {
    const pages::LinksPageSetup page = pages::frmLinks_Form_Load(s_);
    pages::LinksChoice c;
    c.forAll = Pick(sw_.allUsers, false);
    c.startMenu = Pick(sw_.startMenu, page.startMenu);
    c.desktop = Pick(sw_.desktop, page.desktop);
    c.winStart = page.showWinStart && Pick(sw_.autoStart, page.winStart);
    if (!page.showWinStart && sw_.autoStart == Choice::Yes) s_.Log("/autostart: das Paket bietet keinen Autostart an");
    s_.Log(std::string("Seite Verknüpfungen: Startmenü ") + (c.startMenu ? "ja" : "nein") + ", Desktop " +
           (c.desktop ? "ja" : "nein") + ", Autostart " + (c.winStart ? "ja" : "nein") + ", für " +
           (c.forAll ? "alle Benutzer" : "den aktuellen Benutzer"));
    pages::frmLinks_cmdNext_Click(s_, c);
  }

  void AnswerFinished() {
    pages::FinishedChoice c;
    c.restartSelected = sw_.forceRestart;
    c.startProgram = false;
    if (s_.RestartRequired) {
      s_.Log(sw_.forceRestart ? "Neustart erforderlich: der Computer wird neu gestartet (/forcerestart)"
                              : "Neustart erforderlich: kein Neustart ohne /forcerestart");
    }
    RecordingRestart restart(restart_);
    pages::frmFinished_cmdNext_Click(s_, c, restart, [](const std::string&, const std::string&) { return false; });
    outcome_.restartStarted = restart.started;
  }

  void AnswerMaintenance() {
    const pages::MaintenanceSetup page = pages::frmMaintenance_Form_Load(s_);
    switch (sw_.action) {
      case SetupAction::Uninstall:
        s_.Log("Seite Wartung: deinstallieren");
        if (!pages::frmMaintenance_Command4_Click(s_)) Stop("Die Deinstallation wurde nicht bestätigt.");
        return;
      case SetupAction::Repair:
        if (!page.sourceReachable) return Stop("Das Installationsmedium ist nicht erreichbar: " + s_.Package->SourcePath);
        s_.Log("Seite Wartung: reparieren");
        return pages::frmMaintenance_Command2_Click(s_);
      case SetupAction::Default:
        if (!page.sourceReachable) return Stop("Das Installationsmedium ist nicht erreichbar: " + s_.Package->SourcePath);
        s_.Log("Seite Wartung: Installation fortsetzen");
        return pages::frmMaintenance_Command1_Click(s_);
    }
  }

  Session& s_;
  UnattendedUi& ui_;
  const Switches& sw_;
  modTools::RestartApi& restart_;
};

}  // namespace

RunOutcome DrivePages(Session& session, UnattendedUi& ui, const Switches& switches, modTools::RestartApi& restart) {
  Driver driver(session, ui, switches, restart);
  for (;;) {
    if (std::optional<PageId> page = ui.TakePendingPage()) {
      driver.Answer(*page);
      continue;
    }
    // /passive: the progress page works from its timer; let it.
    if (ui.Passive() && session.CurrentPage == PageId::Installing && !session.Cancelled) {
      ui.Display()->WaitForEvents(0.2);
      continue;
    }
    break;
  }
  return driver.outcome_;
}

int ExitCode(const Session& session, const std::string& failure, const RunOutcome& outcome) {
  using namespace modSetup::exitcode;
  if (outcome.forcedCode != 0) return outcome.forcedCode;
  if (!failure.empty()) return kFatal;
  if (session.Finished) {
    if (outcome.restartStarted) return kRestartStarted;
    return session.RestartRequired ? kRestartNeeded : kSuccess;
  }
  return session.Cancelled ? kCancelled : kFatal;
}

}  // namespace kv::unattended
