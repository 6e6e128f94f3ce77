#pragma once
// The installation progress page: runs the installation once from its timer.
// The window (ui/) displays these texts and forwards its clicks here, so that
// all of it runs under the scripted user in tests.
#include <string>

#include "session/Session.h"

namespace kv::pages {

inline constexpr const char* kInstallingText = "Die Dateien werden Installiert, bitte warten Sie...";
// Runs the installation once and moves on (links page, or the finish page
// for a package without EXEFile); does nothing more after a cancellation.
void frmInstalling_tmrStart_Timer(Session& session);

}  // namespace kv::pages
