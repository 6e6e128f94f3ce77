// The macro commands that work on files and folders.
#include <windows.h>

#include "install/ExpandPath.h"
#include "install/InstallFile.h"
#include "macro/CommandContext.h"
#include "package/CPackage.h"
#include "package/CStructuredFile.h"
#include "base/Text.h"
#include "base/VbError.h"
#include "platform/WinString.h"

namespace kv::macro {

namespace {

// The classic number for what the system reported; the prompt shows our own
// text, the number only helps when debugging.
[[noreturn]] void Fail(const char* what) {
  DWORD code = GetLastError();
  int32_t number = vberr::PathFileAccessError;
  if (code == ERROR_FILE_NOT_FOUND) number = vberr::FileNotFound;
  else if (code == ERROR_PATH_NOT_FOUND) number = vberr::PathNotFound;
  else if (code == ERROR_ACCESS_DENIED || code == ERROR_SHARING_VIOLATION) number = vberr::PermissionDenied;
  throw VbError(number, std::string(what) + " failed, system error " + std::to_string(code));
}

// A file that is not there fails too: the author asked for a deletion, and
// silentdeletefile is the form for files that may be missing.
void DeleteOneFile(const std::string& path) {
  if (!DeleteFileW(win::Widen(path).c_str())) Fail("DeleteFile");
}

void CopyOneFile(const std::string& from, const std::string& to) {
  if (!CopyFileW(win::Widen(from).c_str(), win::Widen(to).c_str(), FALSE)) Fail("CopyFile");
}

void RenameOne(const std::string& from, const std::string& to) {
  if (!MoveFileW(win::Widen(from).c_str(), win::Widen(to).c_str())) Fail("MoveFile");
}

// One folder, no parents; an existing folder fails like any other refusal.
void MakeOneFolder(const std::string& path) {
  if (!CreateDirectoryW(win::Widen(path).c_str(), nullptr)) Fail("CreateDirectory");
}

}  // namespace

void RunFileCommand(Command command, CommandContext& c) {
  switch (command) {
    case Command::InstallFile: {
      std::string toPath = c.PathParam("ToPath");
      // No folder given means the installation folder: the same refusal.
      if (toPath.empty() && c.package.InstalledIn.empty()) throw NoFolderYet{};
      modInstall::InstallFile(c.session, c.package, c.Param("SrcName"), c.package.SourcePath, c.Param("DestName"),
                              toPath, /*sharedFile=*/false, /*registerKind=*/0, /*dontOverwrite=*/false,
                              /*pending=*/nullptr);
      return;
    }
    case Command::DeleteFile:
    case Command::SilentDeleteFile: {
      std::string path = c.PathParam("Path");
      c.SetMessage("Die Datei konnte nicht gelöscht werden.", path);
      if (PassesWildcardGuard(path)) DeleteOneFile(path);
      return;
    }
    case Command::RemoveDir: {
      std::string path = c.PathParam("Path");
      if (PassesWildcardGuard(path)) RemoveDirectoryW(win::Widen(path).c_str());
      return;
    }
    case Command::MakeDir: {
      std::string path = c.PathParam("Path");
      c.SetMessage("Der Ordner konnte nicht erstellt werden.", path);
      if (!TrimBlanks(path).empty()) MakeOneFolder(path);
      return;
    }
    case Command::CopyFile:
    case Command::SilentCopyFile: {
      std::string from = c.PathParam("FromPath");
      std::string to = c.PathParam("ToPath");
      c.SetMessage("Die Datei konnte nicht kopiert werden.", from);
      CopyOneFile(from, to);
      return;
    }
    case Command::MoveFile: {
      std::string from = c.PathParam("FromPath");
      std::string to = c.PathParam("ToPath");
      c.SetMessage("Die Datei konnte nicht kopiert werden.", from);
      CopyOneFile(from, to);
      DeleteOneFile(from);
      return;
    }
    case Command::SilentMoveFile: {
      std::string from = c.PathParam("FromPath");
      std::string to = c.PathParam("ToPath");
      CopyOneFile(from, to);  // a failed copy keeps the source
      if (PassesWildcardGuard(from)) DeleteOneFile(from);
      return;
    }
    case Command::RenameFile:
    case Command::SilentRenameFile: {
      std::string from = c.PathParam("FromPath");
      std::string to = c.PathParam("ToPath");
      c.SetMessage("Die Datei konnte nicht umbenannt werden.", from);
      RenameOne(from, to);
      return;
    }
    default:
      return;
  }
}

}  // namespace kv::macro
