#pragma once
// Installing one file of a package: source check (asking for the medium),
// destination folder, the system's version-aware copy, version conflicts,
// files in use, shared-file counts, registration and the status record.
#include <cstdint>
#include <string>

namespace kv {
struct Session;
class CPackage;
class CFile;
class CStringLongStringStack;
}  // namespace kv

namespace kv::modInstall {

// Results of AskAbortRetryIgnore.
inline constexpr int32_t kAbort = 0;
inline constexpr int32_t kRetry = 1;
inline constexpr int32_t kIgnore = 2;

// The one prompt for failed file operations: `message` followed by what each
// button does, under session.SetupTitle. Abort runs the wizard's cancel
// procedure (asking form); when the user withdraws the cancellation the
// prompt comes back. Returns kAbort only when session.Cancelled is set.
int32_t AskAbortRetryIgnore(Session& session, const std::string& message);

// Installs sourceFolder\sourceName as destinationFolder\destinationName (empty
// name: the source name; empty folder: package.InstalledIn). With `pending`,
// a destination in use gets the new file under a free name beside it and the
// pair (temporary copy as ItemData, final path as ItemText) is added for
// replacement at restart; without it the user is asked. The outcome is in
// the package's record of sourceName (Installed, InstalledIn), in
// session.FilesInstalled and session.Cancelled. Nothing is thrown.
void InstallFile(Session& session, CPackage& package, const std::string& sourceName, const std::string& sourceFolder,
                 const std::string& destinationName, const std::string& destinationFolder, bool sharedFile,
                 int32_t registerKind, bool dontOverwrite, CStringLongStringStack* pending);

// InstallFile for one record of the package's file list: source folder
// package.SourcePath, destination path expanded with the package.
void InstallPackageFile(Session& session, CPackage& package, CFile& file, CStringLongStringStack* pending);

// Writes the package's status.ini if InstallFile recorded anything since the
// last write. The installation run calls it when the file phase ends or is
// cancelled. False when the write failed (the failure was shown to the user).
bool FlushInstallStatus(Session& session, CPackage& package);

// Copies `source` over the existing file `target` (a read-only target is made
// writable first). Throws VbError: FileNotFound (53) for a missing source,
// PathNotFound (76) for a missing target folder, PermissionDenied (70) else.
void ReplaceExistingFile(const std::string& source, const std::string& target);

}  // namespace kv::modInstall
