#pragma once
// The administrators' switches of setup.exe and KVSetup.exe (/quiet,
// /passive, /log ...). They are an addition to the installer's own command
// forms (-o, -ifp, -m): a command counts as switches only when its first
// word is one of ours, so every command that started the installer before
// keeps exactly its old meaning.
#include <string>

namespace kv::modSetup {

enum class UiLevel { Full, Passive, Quiet };
enum class SetupAction { Default, Repair, Uninstall };
// A shortcut choice of the links page: as the package proposes, or forced.
enum class Choice { Default, Yes, No };

struct Switches {
  UiLevel ui = UiLevel::Full;
  SetupAction action = SetupAction::Default;
  bool noRestart = false;
  bool forceRestart = false;
  bool help = false;  // /?
  std::string logFile;
  std::string dir;
  Choice startMenu = Choice::Default;
  Choice desktop = Choice::Default;
  Choice autoStart = Choice::Default;
  Choice allUsers = Choice::Default;
  // KVSetup.exe: the installer's own command that follows the switches
  // (-ifp "..." or -m "..."), passed to the start-up as it stands.
  std::string engineCommand;
  // Why the command is unusable (German, for the message box and the log);
  // empty when it is fine.
  std::string error;

  bool Unattended() const { return ui != UiLevel::Full; }
};

// Where the switches come from: the medium's setup.exe adds -ifp itself, the
// staged KVSetup.exe needs one of -ifp/-m after the switches.
enum class SwitchHost { SetupExe, Installer };

// True when the first word of the command tail is one of our switches.
bool BeginsWithSwitch(const std::string& commandTail);

Switches ParseSwitches(const std::string& commandTail, SwitchHost host);

// The switches again as a command tail (without engineCommand), for
// setup.exe to hand on to KVSetup.exe.
std::string SwitchesCommand(const Switches& switches);

// The text of the /? box.
extern const char* const kSwitchHelp;

// Exit codes that deployment tools know from the system's installer service.
namespace exitcode {
inline constexpr int kSuccess = 0;
inline constexpr int kBadSwitches = 87;
inline constexpr int kCancelled = 1602;
inline constexpr int kFatal = 1603;
inline constexpr int kNotInstalled = 1605;
inline constexpr int kAlreadyRunning = 1618;
inline constexpr int kNewerInstalled = 1638;
inline constexpr int kRestartStarted = 1641;
inline constexpr int kRestartNeeded = 3010;
}  // namespace exitcode

}  // namespace kv::modSetup
