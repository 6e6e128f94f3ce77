// The macro commands that work on files and folders.
#include "macro/CommandContext.h"
#include "package/CStructuredFile.h"
#include "base/Text.h"

namespace kv::macro {

void RunFileCommand(Command command, CommandContext& c) {
  switch (command) {
    case Command::InstallFile: {
      std::string toPath = c.PathParam("ToPath");
      // No folder given means the installation folder: the same refusal.
      if (toPath.empty() && c.host.InstallationFolder().empty()) throw NoFolderYet{};
      c.host.InstallPackageFile(c.Param("SrcName"), c.Param("DestName"), toPath);
      return;
    }
    case Command::DeleteFile:
    case Command::SilentDeleteFile: {
      std::string path = c.PathParam("Path");
      c.SetMessage("Die Datei konnte nicht gelöscht werden.", path);
      if (PassesWildcardGuard(path)) c.host.RemoveFile(path);
      return;
    }
    case Command::RemoveDir: {
      std::string path = c.PathParam("Path");
      if (PassesWildcardGuard(path)) c.host.RemoveEmptyFolder(path);
      return;
    }
    case Command::MakeDir: {
      std::string path = c.PathParam("Path");
      c.SetMessage("Der Ordner konnte nicht erstellt werden.", path);
      if (!TrimBlanks(path).empty()) c.host.CreateFolder(path);
      return;
    }
    case Command::CopyFile:
    case Command::SilentCopyFile: {
      std::string from = c.PathParam("FromPath");
      std::string to = c.PathParam("ToPath");
      c.SetMessage("Die Datei konnte nicht kopiert werden.", from);
      c.host.CopyOver(from, to);
      return;
    }
    case Command::MoveFile: {
      std::string from = c.PathParam("FromPath");
      std::string to = c.PathParam("ToPath");
      c.SetMessage("Die Datei konnte nicht kopiert werden.", from);
      c.host.CopyOver(from, to);
      c.host.RemoveFile(from);
      return;
    }
    case Command::SilentMoveFile: {
      std::string from = c.PathParam("FromPath");
      std::string to = c.PathParam("ToPath");
      c.host.CopyOver(from, to);  // a failed copy keeps the source
      if (PassesWildcardGuard(from)) c.host.RemoveFile(from);
      return;
    }
    case Command::RenameFile:
    case Command::SilentRenameFile: {
      std::string from = c.PathParam("FromPath");
      std::string to = c.PathParam("ToPath");
      c.SetMessage("Die Datei konnte nicht umbenannt werden.", from);
      c.host.RenamePath(from, to);
      return;
    }
    default:
      return;
  }
}

}  // namespace kv::macro
