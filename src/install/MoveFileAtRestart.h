#pragma once
// Replacement and removal of files that are in use: scheduled for the next
// start of Windows.
#include <string>

namespace kv {
struct Session;
}

namespace kv::modInstall {

// Schedules renaming `source` onto `destination` at the next restart, or
// deleting `source` when `destination` is empty. Sets session.RestartRequired
// first, whatever happens after. On the NT family MoveFileEx with
// MOVEFILE_DELAY_UNTIL_REBOOT alone (no replace: delete an existing
// destination first); on the 9x family a "[rename]" line in wininit.ini in
// session.WinInitFolder (empty: the Windows folder), short paths, ANSI code
// page. Errors are swallowed.
void MoveFileAtRestart(Session& session, const std::string& source, const std::string& destination);

}  // namespace kv::modInstall
