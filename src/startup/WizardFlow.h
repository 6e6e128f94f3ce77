#pragma once
// The three routines every page uses: ShowPage replaces the page on screen,
// CancelSetup asks, rolls back where chosen and ends the wizard,
// StartInstallation leaves the questions behind and starts the work.
#include "session/Session.h"

namespace kv::modSetup {

// Shows `page` in place of the current one. Placement (centred on the screen
// for the first page, over the old page afterwards) and the window icon are
// the window side's business; here the caption becomes SetupTitle and
// CurrentPage follows.
void ShowPage(Session& session, PageId page);

// Every "Abbrechen" and every abort inside the engine comes here. Returns
// with session.Cancelled set when the setup ends, unchanged when the user
// withdrew the cancellation. `unconditional` is the engine's own abort (a
// failing system call in the middle of a file): no questions, and whatever
// this run installed is rolled back as if nothing had started.
void CancelSetup(Session& session, bool unconditional = false);

// The licence page's "Weiter": removes the package to remove first (as an
// uninstallation at update when the update flag is set) and shows the
// progress page.
void StartInstallation(Session& session);

// The command line that starts the self-delete helper for this installer:
// "<helper>" "<AppDir>KVSetup.exe" /d "<AppDir without trailing \>".
std::string SelfDeleteCommandLine(const Session& session);

// When the last package was removed, the installer's folder must go once the
// process has ended: starts the self-delete helper (normal, focused window)
// and clears SelfRemovalPending. Called by CancelSetup and, for an
// uninstallation from the maintenance page, by the entry point after the last
// page has closed. Does nothing when no self-removal is pending.
void StartSelfRemoval(Session& session);

}  // namespace kv::modSetup
