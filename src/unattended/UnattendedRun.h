#pragma once
// The page driver of an unattended run: answers each page the wizard shows
// as the administrator's switches say (or as the page proposes), until the
// run has ended, and turns the outcome into the exit code.
#include <string>

#include "session/Session.h"
#include "startup/Switches.h"
#include "unattended/UnattendedUi.h"

namespace kv::modTools {
class RestartApi;
}

namespace kv::unattended {

struct RunOutcome {
  bool restartStarted = false;
  int forcedCode = 0;  // a code decided on the way (1638, 1605); 0: none
};

// Runs until no page is left. `restart` is what the finish page restarts
// the computer with.
RunOutcome DrivePages(Session& session, UnattendedUi& ui, const modSetup::Switches& switches,
                      modTools::RestartApi& restart);

// 0, 3010, 1641, 1602 or 1603 (or the forced code) for a run that has ended.
int ExitCode(const Session& session, const std::string& failure, const RunOutcome& outcome);

}  // namespace kv::unattended
