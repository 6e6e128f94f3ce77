#include "macro/MacroCommands.h"

#include <array>
#include <utility>

#include "base/Text.h"

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
  static constexpr std::array<std::pair<std::string_view, RegistryRoot>, 3> kRoots{{
      {"hkey_current_user\\", RegistryRoot::CurrentUser},
      {"hkey_local_machine\\", RegistryRoot::LocalMachine},
      {"hkey_classes_root\\", RegistryRoot::ClassesRoot},
  }};
  for (const auto& [prefix, root] : kRoots)
    if (key.size() >= prefix.size() && EqualsNoCase(std::string_view(key).substr(0, prefix.size()), prefix))
      return {root, key.substr(prefix.size())};
  return {RegistryRoot::CurrentUser, key};
}

}  // namespace kv::macro
