#include "unattended/InstallerMain.h"

#include <optional>

#include "package/CPackage.h"
#include "base/StringTools.h"
#include "platform/FileTools.h"
#include "platform/LogFile.h"
#include "platform/RegTools.h"
#include "platform/SystemRestart.h"
#include "platform/WinString.h"
#include "startup/CommandLine.h"
#include "startup/Elevation.h"
#include "startup/InstanceGuard.h"
#include "startup/PackageIndex.h"
#include "startup/Startup.h"
#include "startup/Switches.h"
#include "startup/WizardFlow.h"
#include "ui/RealUi.h"
#include "unattended/UnattendedRun.h"
#include "unattended/UnattendedUi.h"

namespace kv::unattended {
namespace {

using namespace modSetup::exitcode;
using modSetup::Switches;
using modSetup::UiLevel;

const char* const kAlreadyRunningText =
    "Es wird bereits eine andere Installation mit Kivra Setup ausgeführt. Bitte warten Sie, bis sie beendet ist, "
    "und starten Sie Setup dann erneut.";

std::string RunningExecutable() {
  std::wstring buffer(32768, L'\0');
  buffer.resize(GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size())));
  return win::Narrow(buffer);
}

void Tell(const std::string& text) { ui::GermanMessageBox(nullptr, text, "Kivra Setup", MB_OK | MB_ICONEXCLAMATION); }

std::string ModeName(UiLevel level) {
  switch (level) {
    case UiLevel::Quiet: return "ohne Fenster (/quiet)";
    case UiLevel::Passive: return "nur Fortschritt (/passive)";
    case UiLevel::Full: break;
  }
  return "Assistent";
}

// Keeps the registry's reports in the run log while the run lasts.
class RegistryReports {
 public:
  explicit RegistryReports(RunLog* log) {
    if (log) modRegTools::SetChangeObserver([log](const std::string& line) { log->Line(line); });
  }
  ~RegistryReports() { modRegTools::SetChangeObserver(nullptr); }
};

// What can be decided before anything changes: a newer version of the
// product is installed (1638), or /repair or /uninstall names a package that
// is not installed (1605). 0: go on.
int Preflight(Session& session, const Switches& sw, const modSetup::StartCommand& command) {
  if (command.mode == modSetup::StartMode::Maintenance) {
    const std::string product =
        modRegTools::GetString(modSetup::PackageIndexKey(command.argument), "Product", "", HKEY_LOCAL_MACHINE);
    return product.empty() ? kNotInstalled : 0;
  }
  const std::string definition = modTools::JoinPath(command.argument, "setup.ini");
  if (!modTools::FileExists(definition)) return 0;  // the start-up reports it
  auto probe = std::make_shared<CPackage>(session.Context());
  // A damaged file is the start-up's to report.
  try {
    if (!probe->Load(definition)) return 0;
  } catch (...) {
    return 0;
  }
  probe->PackageDir = session.AppDir + "Packages\\" + modSetup::PackageIdentifier(*probe);
  int code = 0;
  if (!modSetup::IsPackageKnown(session, *probe)) {
    if (sw.action != modSetup::SetupAction::Default) {
      code = kNotInstalled;
    } else {
      session.Package = probe;
      modSetup::FindOtherVersion(session);
      if (session.OtherPackage && session.OtherIsNewer) code = kNewerInstalled;
    }
  }
  session.Package.reset();
  session.OtherPackage.reset();
  session.OtherIsNewer = false;
  return code;
}

int RunWizard(HINSTANCE instance, const std::string& engineCommand, RunLog* log) {
  ui::RealUi real(instance);
  Session session(real);
  real.Attach(session);
  session.Logger = log;
  RegistryReports reports(log);
  modSetup::Main(session, engineCommand, {std::string(), /*elevate=*/false});
  real.RunMessageLoop();
  // An uninstallation from the maintenance page may have removed the last
  // package: the installer's folder goes once this process has ended.
  modSetup::StartSelfRemoval(session);
  if (session.WindowIcon) DestroyIcon(reinterpret_cast<HICON>(session.WindowIcon));
  return ExitCode(session, std::string(), RunOutcome{});
}

int RunUnattended(HINSTANCE instance, const Switches& sw, const modSetup::StartCommand& command, RunLog& log) {
  std::optional<ui::RealUi> display;
  if (sw.ui == UiLevel::Passive) display.emplace(instance);
  UnattendedUi unattendedUi(display ? &*display : nullptr);
  Session session(unattendedUi);
  unattendedUi.Attach(session);
  if (display) display->Attach(session);
  session.Logger = &log;
  session.AppDir = modTools::ParentFolder(RunningExecutable()) + "\\";

  if (int code = Preflight(session, sw, command)) {
    log.Line(code == kNewerInstalled ? "Abbruch: eine neuere Version ist bereits installiert; nichts wurde geändert"
                                     : "Abbruch: das Paket ist nicht installiert; nichts wurde geändert");
    return code;
  }
  RegistryReports reports(&log);
  modSetup::Main(session, sw.engineCommand, {std::string(), /*elevate=*/false});
  RunOutcome outcome = DrivePages(session, unattendedUi, sw, modTools::SystemRestartApi());
  modSetup::StartSelfRemoval(session);
  if (session.WindowIcon) DestroyIcon(reinterpret_cast<HICON>(session.WindowIcon));
  if (!session.Finished && unattendedUi.Failure().empty() && !session.Cancelled) {
    unattendedUi.Fail("Setup wurde vorzeitig beendet (siehe Meldungen oben)");
  }
  if (session.Cancelled && unattendedUi.Failure().empty() && !session.Finished) {
    log.Line("Abgebrochen durch den Benutzer");
  }
  return ExitCode(session, unattendedUi.Failure(), outcome);
}

}  // namespace

int InstallerMain(HINSTANCE instance, const std::string& commandTail) {
  if (!modSetup::BeginsWithSwitch(commandTail)) {
    // The installer's own command forms, exactly as they always were.
    const modSetup::StartCommand command = modSetup::ParseCommand(commandTail);
    const bool needsRights = (command.mode == modSetup::StartMode::Install && !command.unterminated) ||
                             command.mode == modSetup::StartMode::Maintenance;
    if (needsRights && modSetup::NeedsRelaunch()) {
      modSetup::RelaunchElevated(RunningExecutable(), commandTail);
      return kSuccess;
    }
    std::optional<modSetup::InstanceGuard> guard;
    if (needsRights) {
      guard.emplace();
      if (!guard->Acquired()) {
        Tell(kAlreadyRunningText);
        return kAlreadyRunning;
      }
    }
    const int code = RunWizard(instance, commandTail, nullptr);
    return needsRights ? code : kSuccess;
  }

  Switches sw = modSetup::ParseSwitches(commandTail, modSetup::SwitchHost::Installer);
  modTools::LogFile log;
  if (!sw.logFile.empty()) {
    if (!modTools::LogFolderExists(sw.logFile)) {
      if (sw.error.empty()) sw.error = "Der Ordner für die Protokolldatei existiert nicht: " + sw.logFile;
    } else if (!log.Open(sw.logFile)) {
      if (!sw.Unattended()) Tell("Die Protokolldatei \"" + sw.logFile + "\" konnte nicht angelegt werden.");
      return kFatal;
    }
  }
  auto finish = [&log](int code) {
    log.Line("Exitcode: " + std::to_string(code));
    return code;
  };
  log.Line("Befehlszeile: " + commandTail);
  log.Line("Modus: " + ModeName(sw.ui));
  if (!sw.error.empty()) {
    log.Line("Fehler: " + sw.error);
    if (!sw.Unattended()) Tell(sw.error);
    return finish(kBadSwitches);
  }
  if (sw.help) {
    Tell(modSetup::kSwitchHelp);
    return finish(kSuccess);
  }
  if (modSetup::NeedsRelaunch()) {
    // The elevated copy writes the log anew and reports its own code.
    log.Line("Setup wird mit Administratorrechten neu gestartet");
    log.Close();
    uint32_t code = kFatal;
    if (!modSetup::RelaunchElevated(RunningExecutable(), commandTail, &code)) return finish(kCancelled);
    return static_cast<int>(code);
  }
  modSetup::InstanceGuard guard;
  if (!guard.Acquired()) {
    log.Line("Abbruch: " + std::string(kAlreadyRunningText));
    if (!sw.Unattended()) Tell(kAlreadyRunningText);
    return finish(kAlreadyRunning);
  }
  if (!sw.Unattended()) return finish(RunWizard(instance, sw.engineCommand, &log));
  const modSetup::StartCommand command = modSetup::ParseCommand(sw.engineCommand);
  return finish(RunUnattended(instance, sw, command, log));
}

}  // namespace kv::unattended
