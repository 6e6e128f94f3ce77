#pragma once
// Recognising the working mode from the command tail (everything after the
// executable's name, exactly as Windows passes it).
#include <string>

namespace kv::modSetup {

enum class StartMode {
  Launch,       // -o "<command line>"   start a program and end
  Install,      // -ifp "<medium folder>"
  Maintenance,  // -m "<package identifier>"
  Unknown,      // anything else: the installer cannot be started directly
};

struct StartCommand {
  StartMode mode = StartMode::Unknown;
  // Launch: the command to run; Install: the medium folder without a trailing
  // backslash; Maintenance: the package identifier.
  std::string argument;
  // Install mode only: the closing quote at the very end is missing. No
  // package is touched then, and the run ends without a word.
  bool unterminated = false;
};

// Order of the tests matters: the prefixes are compared lower-cased, but the
// blank and the opening quote must be there exactly.
StartCommand ParseCommand(const std::string& command);

// The command tail of a process: its command line without the executable's
// name (quoted or not) and the blanks after it.
std::string CommandTailOf(const std::string& commandLine);

}  // namespace kv::modSetup
