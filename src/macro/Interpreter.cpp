// The macro interpreter: walks a macro group and runs its commands through
// the host.
#include "macro/Interpreter.h"

#include "base/Text.h"
#include "macro/CommandContext.h"
#include "macro/MacroCommands.h"
#include "package/CStructuredFile.h"

namespace kv {

namespace macro {

std::string CommandContext::Param(std::string_view name, std::string_view def) const {
  return parameters.GetValue(name, def);
}

std::string CommandContext::PathParam(std::string_view name) const {
  std::string raw = Param(name);
  // "*appdir*" expands to the installation folder, which is empty until the
  // path page has run (a rollback of an early macro's work, an uninstallation
  // of a kept cancelled run). "*appdir*\x" would then name "\x" at the root
  // of the current drive, a file the package never put there: the command is
  // refused without a word. The expansion itself stays as defined.
  if (host.InstallationFolder().empty() && LowerCase(raw).find("*appdir*") != std::string::npos) throw NoFolderYet{};
  return host.ExpandPath(raw);
}

void CommandContext::SetMessage(std::string_view text, std::string_view path) {
  errorMessage.assign(text);
  errorMessage += "\r\n";
  errorMessage += path;
}

namespace {

class Interpreter {
 public:
  explicit Interpreter(MacroHost& host) : host_(host) {}

  // Square-bracket children are commands; values and named groups are not.
  // An abort confirmed at a prompt ends the walk after that command.
  void Walk(const CStructuredFileGroup& group) {
    for (const auto& item : group.Items) {
      const CStructuredFileGroup* command = item ? item->AsGroup() : nullptr;
      if (!command || !command->CollectionItem) continue;
      RunCommand(*command);
      if (host_.Cancelled()) return;
    }
  }

 private:
  void RunCommand(const CStructuredFileGroup& group) {
    for (;;) {
      // Everything is read again on every pass: a retry after the user fixed
      // something (or the definition changed) sees the new state.
      std::string errorMessage = macro::kInternalError;
      std::string name = NormaliseCommandName(group.Name);
      errorMessage = GenericMessage(name);
      std::optional<CommandInfo> info = LookupCommand(name);
      if (!info) return;

      CommandContext context{host_, group, errorMessage,
                             [this](const CStructuredFileGroup& body) { Walk(body); }};
      try {
        Perform(info->command, context);
        host_.Log("Makro: " + Describe(group) + " - ausgeführt");
        return;
      } catch (const NoFolderYet&) {
        return;
      } catch (...) {
        host_.Log("Makro: " + Describe(group) + " - fehlgeschlagen" + (info->silent ? " (ohne Rückfrage)" : ""));
        if (info->silent) return;
      }
      // 0 abort (cancellation confirmed: the walk ends), 1 retry, 2 ignore.
      if (host_.AskAbortRetryIgnore(errorMessage) != Answer::Retry) return;
    }
  }

  // The command with its parameters, for the run log.
  static std::string Describe(const CStructuredFileGroup& group) {
    std::string text = "[" + group.Name + "]";
    for (const auto& item : group.Items) {
      if (const CStructuredFileProp* prop = item ? item->AsProp() : nullptr) text += " " + prop->Name + "=" + prop->Value;
    }
    return text;
  }

  static void Perform(Command command, CommandContext& context) {
    switch (command) {
      case Command::RegDelete:
      case Command::RegSetString:
      case Command::RegSetDword:
      case Command::IfRegString:
        RunRegistryCommand(command, context);
        return;
      default:
        RunFileCommand(command, context);
        return;
    }
  }

  MacroHost& host_;
};

}  // namespace

void Execute(const CMacro& macro, MacroHost& host) {
  // Keep the group alive while it runs, whatever the commands do.
  std::shared_ptr<CStructuredFileGroup> group = macro.Group();
  if (!group) return;
  Interpreter(host).Walk(*group);
}

}  // namespace macro
}  // namespace kv
