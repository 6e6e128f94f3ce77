#include "macro/MacroCommands.h"

#include <array>

#include "base/Text.h"
#include "platform/RegTools.h"

namespace kv::macro {

namespace {

struct NamedCommand {
  std::string_view name;
  CommandInfo info;
};

constexpr std::array<NamedCommand, 15> kCommands{{
    {"installfile", {Command::InstallFile, false}},
    {"deletefile", {Command::DeleteFile, false}},
    {"silentdeletefile", {Command::SilentDeleteFile, true}},
    {"removedir", {Command::RemoveDir, true}},
    {"makedir", {Command::MakeDir, false}},
    {"copyfile", {Command::CopyFile, false}},
    {"silentcopyfile", {Command::SilentCopyFile, true}},
    {"movefile", {Command::MoveFile, false}},
    {"silentmovefile", {Command::SilentMoveFile, true}},
    {"renamefile", {Command::RenameFile, false}},
    {"silentrenamefile", {Command::SilentRenameFile, true}},
    {"regdelete", {Command::RegDelete, false}},
    {"regsetstring", {Command::RegSetString, false}},
    {"regsetdword", {Command::RegSetDword, false}},
    {"ifregstring", {Command::IfRegString, false}},
}};

}  // namespace

std::string GenericMessage(std::string_view commandName) {
  return "Ein interner Makrofehler ist aufgetreten (Befehl: " + std::string(commandName) + ").";
}

std::string NormaliseCommandName(std::string_view name) { return LowerCase(TrimBlanks(name)); }

std::optional<CommandInfo> LookupCommand(std::string_view normalisedName) {
  for (const auto& c : kCommands)
    if (c.name == normalisedName) return c.info;
  return std::nullopt;
}

bool PassesWildcardGuard(std::string_view expandedPath) {
  std::string_view trimmed = TrimBlanks(expandedPath);
  return !trimmed.empty() && trimmed.find_first_of("*?") == std::string_view::npos;
}

RegistryLocation SplitRegistryKey(const std::string& key) {
  // Only the three roots the installer writes are recognised; anything else
  // (HKEY_USERS\... included) is a key below HKEY_CURRENT_USER as it stands.
  HKEY root = HKEY_CURRENT_USER;
  std::string subKey = modRegTools::SplitRoot(key, root);
  return {root, subKey};
}

}  // namespace kv::macro
