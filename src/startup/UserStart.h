#pragma once
// Programs started as the user who started setup. Installing needs the
// administrator's token, so the unelevated process that asked for it stays
// and waits; when the elevated wizard starts the installed program, it asks
// that process to start it, with the user's own token and profile. Without
// such a process (the run was elevated from the start) the wizard starts the
// program itself.
#include <windows.h>

#include <string>

namespace kv::modSetup {

// Set up by the unelevated process before it starts the elevated copy; while
// it lives, the copy (and the installer it starts) can ask it for starts.
class UserStarter {
 public:
  UserStarter();
  ~UserStarter();
  UserStarter(const UserStarter&) = delete;
  UserStarter& operator=(const UserStarter&) = delete;

  // Starts what the elevated side asks for until `process` ends.
  void ServeUntil(HANDLE process);

 private:
  bool Serve(HANDLE process, HANDLE event);
  HANDLE marker_ = nullptr;
  HANDLE pipe_ = INVALID_HANDLE_VALUE;
};

// True while a user starter of this desktop session waits: this process was
// started for the rights, and asking for them again would only repeat the
// question (where the system gave none, the run goes on without).
bool UserStarterWaiting();

// Starts `commandLine` in `folder` through the waiting user starter, else
// directly. False when the program could not be started.
bool StartProgramAsUser(const std::string& commandLine, const std::string& folder);

}  // namespace kv::modSetup
