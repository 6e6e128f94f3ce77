#pragma once
// Registration of installed files with the system and its reverse: component
// libraries (through the helper "dllregsv.exe" in the installer folder), type
// libraries, executable servers and fonts.
#include <cstdint>
#include <string>

#include "platform/ProcessStart.h"

namespace kv {
struct Session;
class CFile;
}  // namespace kv

namespace kv::modInstall {

// Values of a file's "Register" key.
inline constexpr int32_t kRegisterNone = 0;
inline constexpr int32_t kRegisterComponent = 1;    // through dllregsv.exe
inline constexpr int32_t kRegisterTypeLibrary = 2;
inline constexpr int32_t kRegisterServer = 3;       // executable, /REGSERVER
inline constexpr int32_t kRegisterFont = 4;

// The command line started for kinds 1 and 3; "" for the other kinds.
// Kind 1: "<appDir>dllregsv.exe" "<filePath>" /r (or /u),
// kind 3: "<filePath>" /REGSERVER (or /UNREGSERVER).
std::string RegistrationCommandLine(const std::string& appDir, int32_t kind, const std::string& filePath,
                                    bool install);

// Loads the type library at `path` and registers it (no help folder).
// 0 on success, else the failing status code.
int32_t RegisterTypeLibrary(const std::string& path);

// Registers `filePath` by `kind`. Helper and server programs are started
// without waiting and fonts are added without checking, so only a type
// library can fail: the result is its status (0 = success).
int32_t RegisterFile(Session& session, const std::string& filePath, int32_t kind);
// The reverse; type libraries keep their registration. Never fails. Gives
// back the helper or server program it started, if any (not waited for).
modTools::StartedProgram UnregisterComponent(Session& session, const std::string& filePath, int32_t kind);

// Removes one installed file of a package: lowers its shared count,
// unregisters it and, unless keepFile, deletes it. Returns false only for a
// shared file still used elsewhere (left in place, still registered). Files
// marked DontUninstall and files that cannot be deleted set
// session.FilesLeft.
bool UnregisterFile(Session& session, CFile& file, bool keepFile);

}  // namespace kv::modInstall
