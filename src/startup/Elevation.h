#pragma once
// Administrator rights. KVSetup.exe carries an asInvoker manifest so that the
// launch mode (-o) starts the user's program with the user's own rights;
// installing and maintenance need the rights, so those modes restart the
// installer elevated when it is not.
#include <cstdint>
#include <string>

namespace kv::modSetup {

// True when the process token is elevated (or the system knows no
// elevation, as before Vista; wine reports an elevated administrator).
bool IsElevated();

// Whether this process should restart itself elevated: it is not elevated,
// and it was not itself started for the rights (where the system started it
// without them, asking again would repeat the question endlessly).
bool NeedsRelaunch();

// Starts `exePath` again with the same command tail through the "runas" verb
// (the consent prompt). False when it could not be started, for instance
// when the user declined. The call waits for the elevated process, starting
// programs for it as this process's user meanwhile (see UserStart.h), and
// passes its exit code on in `exitCode` (unattended runs report it).
bool RelaunchElevated(const std::string& exePath, const std::string& commandTail, uint32_t* exitCode = nullptr);

}  // namespace kv::modSetup
