#pragma once
// The finish page: its texts, and the restart and program start behind its one button.
// The window (ui/) displays these texts and forwards its clicks here, so that
// all of it runs under the scripted user in tests.
#include <functional>
#include <string>

#include "session/Session.h"

namespace kv::modTools {
class RestartApi;
}

namespace kv::pages {

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
// Starts a program's command line in `folder`, its working folder; the real
// one starts it normally, focused, as the user who started setup.
using ProgramStarter = std::function<bool(const std::string& commandLine, const std::string& folder)>;
void frmFinished_cmdNext_Click(Session& session, const FinishedChoice& choice, modTools::RestartApi& restart,
                               const ProgramStarter& start);

}  // namespace kv::pages
