#pragma once
// What a run killed between two status writes leaves behind. status.ini is
// written at most every quarter second (see InstallFile.cpp), so a run that
// is ended hard (a crash, a power cut, a kill by a deployment tool) may have
// copied files whose records never reached the disk; the uninstallation
// works from the records and would leave those files behind. Before each
// copy that creates a file of the package, its path is appended to a small
// journal beside status.ini; every status write empties it. The next start
// deletes what the journal names and no record claims: the copy may be half
// written, and the continued installation copies it again.
#include <string>

namespace kv {
struct Session;
class CPackage;
}  // namespace kv

namespace kv::modInstall {

// The journal of `package`: copies.log in its package folder.
std::string CopyJournalPath(const CPackage& package);

// Notes that `path` is about to be created by a copy. Costs one write to a
// journal kept open until the next ForgetCopies; does nothing when the
// package keeps no status.
void JournalCopy(const CPackage& package, const std::string& path);

// The status was written: every journaled copy is now recorded or gone.
// Closes and deletes the journal.
void ForgetCopies(const CPackage& package);

// After status.ini was read: deletes each journaled file that no record of
// the package names as installed, then the journal.
void DropUnrecordedCopies(Session& session, CPackage& package);

}  // namespace kv::modInstall
