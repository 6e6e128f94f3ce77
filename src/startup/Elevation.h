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

// Starts `exePath` again with the same command tail through the "runas" verb
// (the consent prompt). False when it could not be started, for instance
// when the user declined. With `exitCode` the call waits for the new process
// and stores its exit code there.
bool RelaunchElevated(const std::string& exePath, const std::string& commandTail, uint32_t* exitCode = nullptr);

}  // namespace kv::modSetup
