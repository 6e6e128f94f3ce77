#pragma once
// The whole run of KVSetup.exe: the installer's own command forms as the
// wizard, or the administrators' switches (/quiet, /passive, /log ...) in
// front of -ifp/-m; the one-installation-at-a-time guard; the exit code.
#include <windows.h>

#include <string>

namespace kv::unattended {

// `commandTail` is everything after the executable's name. Returns the
// process's exit code.
int InstallerMain(HINSTANCE instance, const std::string& commandTail);

}  // namespace kv::unattended
