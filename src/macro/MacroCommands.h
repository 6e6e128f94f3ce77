#pragma once
// The macro instruction set.
//
// A macro is a group of setup.ini ("oninstall", "onupdate", ...). Each of its
// square-bracket children is one command: the child's type word names the
// command (blanks around it and letter case do not matter) and the child's
// values are the parameters. Values and angle-bracket groups inside a macro
// are skipped. Commands run in file order; an unknown command does nothing.
//
// Path parameters are expanded ("*programs*", "*windir*", "*winsysdir*",
// "*appdir*") for the package the macro runs for. Registry keys start with
// "HKEY_CURRENT_USER\", "HKEY_LOCAL_MACHINE\" or "HKEY_CLASSES_ROOT\" (any
// case); any other text - also "HKEY_USERS\..." - is a key below
// HKEY_CURRENT_USER, written out in full.
//
// A failing non-silent command shows the Abort/Retry/Ignore prompt with its
// message. Retry runs the whole command again, parameters read anew; Ignore
// goes on with the next command; Abort (once the cancellation is confirmed)
// ends the macro. Silent commands never ask. docs/macros.md is the authors'
// reference for the same table.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "macro/MacroHost.h"

namespace kv::macro {

enum class Command {
  // installfile SrcName DestName ToPath
  //   Installs package file SrcName (from the package's source folder) as
  //   DestName into ToPath, with the package's file installation: no sharing,
  //   no registration, existing files replaced by the version rules. A file
  //   in use is reported, not deferred. That routine shows its own prompts.
  InstallFile,
  // deletefile Path
  //   Deletes the file. A path that is empty or holds "*" or "?" is refused
  //   without a word. A missing file is a failure (use silentdeletefile).
  //   Message: "Die Datei konnte nicht gelöscht werden." CR LF path.
  DeleteFile,
  // silentdeletefile Path - deletefile without any prompt.
  SilentDeleteFile,
  // removedir Path
  //   Removes the folder if it is empty; wildcard guard as deletefile. Never
  //   asks (a folder that still holds files simply stays).
  RemoveDir,
  // makedir Path
  //   Creates one folder; its parent must exist. An existing folder fails.
  //   Message: "Der Ordner konnte nicht erstellt werden." CR LF path.
  MakeDir,
  // copyfile FromPath ToPath
  //   Copies the file to the full file path ToPath, replacing a file there.
  //   Message: "Die Datei konnte nicht kopiert werden." CR LF FromPath.
  CopyFile,
  // silentcopyfile FromPath ToPath - copyfile without any prompt.
  SilentCopyFile,
  // movefile FromPath ToPath
  //   copyfile, then deletes FromPath. Both failures show copyfile's message.
  MoveFile,
  // silentmovefile FromPath ToPath
  //   Copies; only when the copy worked and FromPath passes the wildcard
  //   guard, deletes FromPath. Never asks.
  SilentMoveFile,
  // renamefile FromPath ToPath
  //   Renames (moves) the file or folder; ToPath must not exist yet.
  //   Message: "Die Datei konnte nicht umbenannt werden." CR LF FromPath.
  RenameFile,
  // silentrenamefile FromPath ToPath - renamefile without any prompt.
  SilentRenameFile,
  // regdelete Key Value
  //   Deletes the value Value of Key; nothing when Value is empty.
  RegDelete,
  // regsetstring Key Value Data
  //   Writes Data (taken literally) as string value Value ("" = the key's
  //   default value); nothing when the key below the root is empty.
  RegSetString,
  // regsetdword Key Value Data(="0")
  //   Writes Data as a 32-bit DWORD value. Data that is not a number, or lies
  //   outside -2147483648..2147483647, fails with the generic message.
  RegSetDword,
  // ifregstring Key Value Data(absent) DataNot(absent) ...commands...
  //   Runs the commands inside when the string value Value of Key equals
  //   Data (exactly, with case) - or, without Data, when it differs from
  //   DataNot. A missing value reads as "". Neither given: never runs.
  //   Blocks may nest.
  IfRegString,
};

// The message of a command without one of its own, and the start of every
// command's run.
inline constexpr const char* kInternalError = "Ein interner Makrofehler ist aufgetreten.";
std::string GenericMessage(std::string_view commandName);  // "... (Befehl: <name>)."

// What marks Data and DataNot of ifregstring as not given.
inline constexpr const char* kAbsentMarker = "\\\\\\INVALID\\\\\\";

struct CommandInfo {
  Command command;
  bool silent;  // errors are swallowed, the user is never asked
};

// The command's name as the interpreter matches it: blanks around it removed,
// lower-cased.
std::string NormaliseCommandName(std::string_view name);
// Looks a normalised name up; nothing for an unknown command.
std::optional<CommandInfo> LookupCommand(std::string_view normalisedName);

// What the deleting commands insist on before they touch anything: the path,
// trimmed of blanks, is not empty and holds neither "*" nor "?".
bool PassesWildcardGuard(std::string_view expandedPath);

// Root and key below it, as the macro commands read "Key".
struct RegistryLocation {
  RegistryRoot root;
  std::string subKey;
};
RegistryLocation SplitRegistryKey(const std::string& key);

}  // namespace kv::macro
