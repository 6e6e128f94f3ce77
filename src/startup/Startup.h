#pragma once
// The installer's start: reads the command tail, chooses the working mode,
// prepares the session, stages the package data and shows the first page -
// or ends. The run goes on as long as a page is loaded; when this returns
// with session.CurrentPage == PageId::None, the process ends.
#include <string>

#include "session/Session.h"
#include "startup/CommandLine.h"  // CommandTailOf for the entry point

namespace kv::modSetup {

struct StartOptions {
  // The folder of the running executable (with or without trailing "\");
  // empty: taken from the running process. Tests point it to a scratch folder.
  std::string appDir;
  // Install and maintenance need administrator rights: restart elevated when
  // the process is not. The launch mode never elevates what it starts.
  bool elevate = true;
};

// `commandTail` is everything after the executable's name, exactly as Windows
// passed it (leading blanks removed).
void Main(Session& session, const std::string& commandTail, const StartOptions& options = {});

// The message shown when the installer is started without a known mode.
extern const char* const kDirectStartMessage;

}  // namespace kv::modSetup
