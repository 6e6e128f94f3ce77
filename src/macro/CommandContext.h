#pragma once
// What one command of a macro sees while it runs: the host it works through,
// its own group of parameters and the message the prompt will show if it
// fails. Internal to the macro layer.
#include <functional>
#include <string>
#include <string_view>

#include "macro/MacroCommands.h"
#include "macro/MacroHost.h"

namespace kv {
class CStructuredFileGroup;
}  // namespace kv

namespace kv::macro {

// Thrown by PathParam for a path built on an installation folder that is
// still empty; the interpreter skips the command without asking.
struct NoFolderYet {};

struct CommandContext {
  MacroHost& host;
  const CStructuredFileGroup& parameters;
  // Starts as the generic message; a command with a text of its own replaces
  // it before it touches anything, so a failure names what went wrong.
  std::string& errorMessage;
  // Walks a group of commands (the body of ifregstring) for the same package.
  std::function<void(const CStructuredFileGroup&)> walk;

  std::string Param(std::string_view name, std::string_view def = {}) const;
  // The parameter with the path placeholders expanded for the package;
  // NoFolderYet when it needs the installation folder and there is none.
  std::string PathParam(std::string_view name) const;
  // errorMessage := text + CR LF + path.
  void SetMessage(std::string_view text, std::string_view path);
};

// Each throws VbError when the operation fails; the caller decides whether the
// user is asked (non-silent) or the failure is swallowed (silent).
void RunFileCommand(Command command, CommandContext& context);
void RunRegistryCommand(Command command, CommandContext& context);

}  // namespace kv::macro
