#pragma once
// setup.exe is one small program with three roles, chosen by its arguments:
//   (none)                        the medium's start: puts KVSetup.exe into the
//                                 installer folder when needed and starts it
//                                 with -ifp "<medium folder>"; a one-file
//                                 medium (OneFile.h) is unpacked first;
//   "<file>" /r  |  "<file>" /u   as dllregsv.exe: registers or unregisters a
//                                 component library (no window);
//   /quiet, /passive, /log ... (our switches first, see startup/Switches.h)
//                                 the medium's start for administrators;
//   "<installer exe>" /d "<folder>"  as DelKVStp.exe: waits until the
//                                 installer has ended, deletes its files and
//                                 removes the folder (no window).
#include <cstdint>
#include <functional>
#include <string>

namespace kv::setupexe {

enum class Role { Bootstrap, Register, Unregister, SelfDelete, Invalid };

struct Arguments {
  Role role = Role::Invalid;
  std::string file;    // Register/Unregister: the library; SelfDelete: the installer executable
  std::string folder;  // SelfDelete: the installer folder
};

// Splits the command tail (without the program's own name) into blank-
// separated arguments, double quotes grouping (no escapes: paths end in "\").
Arguments ParseArguments(const std::string& commandTail);

// Exit codes.
inline constexpr int kOk = 0;
inline constexpr int kBadArguments = 1;
inline constexpr int kLoadFailed = 2;
inline constexpr int kNoEntryPoint = 3;
inline constexpr int kRegistrationFailed = 4;
inline constexpr int kCopyFailed = 5;
inline constexpr int kStartFailed = 6;
inline constexpr int kFolderLeft = 7;
inline constexpr int kInstallerStillRunning = 8;

// Where the message boxes go (tests collect them instead).
using Tell = std::function<void(const std::string& text)>;
void ShowMessage(const std::string& text);

// ProgramFilesDir (as KVSetup.exe reads it) + "\Kivra\Setup\".
std::string InstallerFolder();

// The installer must be copied unless the copy there has the same or a newer
// file version. Without a version resource on either side we copy.
bool NeedsCopy(const std::string& source, const std::string& target);

// Puts the medium's KVSetup.exe into `installerFolder` (ending in "\")
// unless the copy there is as new; kOk or kCopyFailed (told why).
int PlaceInstaller(const std::string& mediumFolder, const std::string& installerFolder, const Tell& tell);

// The medium's start: `mediumFolder` holds setup.exe and KVSetup.exe;
// `installerFolder` ends in "\". With `engineExit` the call waits until the
// installer has ended and stores its exit code there.
int Bootstrap(const std::string& mediumFolder, const std::string& installerFolder, const Tell& tell,
              uint32_t* engineExit = nullptr);

// DllRegisterServer / DllUnregisterServer of `file`.
int RegisterServer(const std::string& file, bool unregister);

// Waits (at most `timeoutMs`) until no process runs `installerExe` and the
// file can be deleted, then deletes the installer's own files in `folder`
// and removes the folder with its empty subfolders. Unknown files stay (and
// so does the folder). `installerExe` must lie directly in `folder`.
int SelfDelete(const std::string& installerExe, const std::string& folder, uint32_t timeoutMs = 60000);

// The medium's start with the administrators' switches (/quiet, /log ...,
// /?): places the installer, starts it with the switches and -ifp, waits
// and returns its exit code. Errors of its own: 87, 1603, 1618.
int RunWithSwitches(const std::string& commandTail, const std::string& ownPath);

// The whole program: dispatch on the arguments.
int Run(const std::string& commandTail, const std::string& ownPath);

}  // namespace kv::setupexe
