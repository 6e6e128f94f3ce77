#include "startup/CommandLine.h"

#include <cctype>

namespace kv::modSetup {
namespace {

// Lower-cases only ASCII letters: the prefixes are ASCII, and a UTF-8 byte of
// a non-ASCII character must never turn into one of them.
std::string LowerPrefix(const std::string& s, size_t n) {
  std::string p = s.substr(0, n);
  for (char& c : p) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return p;
}

// Text from the fifth character up to the first quote at or after it; without
// a closing quote the rest of the command is taken.
std::string QuotedFromFifth(const std::string& command) {
  size_t close = command.find('"', 4);
  if (close == std::string::npos) return command.substr(4);
  return command.substr(4, close - 4);
}

}  // namespace

StartCommand ParseCommand(const std::string& command) {
  StartCommand result;
  if (LowerPrefix(command, 4) == "-o \"") {
    result.mode = StartMode::Launch;
    result.argument = QuotedFromFifth(command);
    return result;
  }
  if (LowerPrefix(command, 6) == "-ifp \"") {
    result.mode = StartMode::Install;
    if (command.size() < 7 || command.back() != '"') {
      result.unterminated = true;
      return result;
    }
    std::string folder = command.substr(6, command.size() - 7);
    if (!folder.empty() && folder.back() == '\\') folder.pop_back();
    result.argument = folder;
    return result;
  }
  if (LowerPrefix(command, 4) == "-m \"") {
    result.mode = StartMode::Maintenance;
    result.argument = QuotedFromFifth(command);
    return result;
  }
  return result;
}

std::string CommandTailOf(const std::string& commandLine) {
  size_t i = 0;
  if (!commandLine.empty() && commandLine[0] == '"') {
    size_t close = commandLine.find('"', 1);
    i = close == std::string::npos ? commandLine.size() : close + 1;
  } else {
    while (i < commandLine.size() && commandLine[i] != ' ' && commandLine[i] != '\t') ++i;
  }
  while (i < commandLine.size() && (commandLine[i] == ' ' || commandLine[i] == '\t')) ++i;
  return commandLine.substr(i);
}

}  // namespace kv::modSetup
