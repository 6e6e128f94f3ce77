#pragma once
// Removal of an installed package: its macros, files, links, registrations,
// uninstall entry, index key and staged data, the folders the installation
// created and - when no package is left on the machine - the installer itself.
#include <string>

namespace kv {
struct Session;
class CPackage;
}  // namespace kv

namespace kv::modInstall {

// Callers and their flags:
//   maintenance "uninstall":    newPackage null, keepPackageData false, fileFlag false, skipLinks false
//   removal before an install:  newPackage = the package being installed (update only),
//                               keepPackageData = (package is that very object), fileFlag true
//   rollback after a cancel:    newPackage null, keepPackageData false, fileFlag false,
//                               skipLinks = session.PackageRegistered
// skipRegistrations leaves out everything after the files (nobody passes true).
// fileFlag is UnregisterFile's keepFile; with it (an installation follows) the
// files-left and folder-left boxes are not shown. Nothing is thrown and nothing is
// returned: the outcome is in session.FilesLeft, FolderLeft, RestartRequired,
// SelfRemovalPending and SelfDeleteHelper. A cancel during the macros ends it
// with nothing removed.
void Uninstall(Session& session, CPackage& package, bool skipRegistrations, CPackage* newPackage,
               bool keepPackageData, bool fileFlag, bool skipLinks);

// Removes `folder` and every empty folder below it (names starting with "."
// are not entered). Files are never deleted. When `folder` itself stays and
// the call is not quiet, session.FolderLeft is set.
void RemoveFolder(Session& session, const std::string& folder, bool quiet);

// After an update was rolled back: the old version's files that the new one
// brings again were left on disk for it to take over (see Uninstall with a
// new package). Those the new version has not taken over yet belong to
// nobody and go with their registrations (a shared one only when no other
// program still counts on it); of those taken over, a shared file's count
// loses the use that stood for the old version, and the new version's
// removal deals with the file.
void ReleaseFilesKeptForUpdate(Session& session, CPackage& old, CPackage& replacing);

// The helper name under which the copy of dllregsv.exe removes the installer.
inline constexpr const char* kSelfDeleteHelperName = "DelKVStp.exe";

}  // namespace kv::modInstall
