#include "startup/Startup.h"

#include <windows.h>

#include "install/CopyJournal.h"
#include "install/InstallFile.h"
#include "onefile/Format.h"
#include "package/CPackage.h"
#include "base/FileIo.h"
#include "base/StringTools.h"
#include "platform/FileTools.h"
#include "platform/ProcessStart.h"
#include "platform/RegTools.h"
#include "platform/SystemRestart.h"
#include "platform/WinString.h"
#include "startup/CommandLine.h"
#include "startup/Elevation.h"
#include "startup/PackageIndex.h"
#include "startup/WizardFlow.h"

namespace kv::modSetup {

const char* const kDirectStartMessage =
    "Dieses Programm ist das Installationsprogramm für Kivra-Produkte. Sie können es jedoch nicht direkt starten. "
    "Klicken Sie im Startmenü oder auf dem Desktop mit der rechten Maustaste auf das gewünschte Programm und dann "
    "auf \"Setup\" oder verwenden Sie die Systemsteuerungsoption \"Software\", um das Installationsprogramm für "
    "ein Kivra-Produkt zu starten.";

namespace {

std::string RunningExecutable() {
  std::wstring buffer(32768, L'\0');
  DWORD n = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
  buffer.resize(n);
  return win::Narrow(buffer);
}

void Tell(Session& session, const std::string& text) {
  MessageBoxRequest box;
  box.text = text;
  box.title = "Kivra Setup";
  box.buttons = MsgButtons::OK;
  box.icon = MsgIcon::Exclamation;
  session.Ui.SetMousePointer(MousePointer::Arrow);
  session.Ui.MsgBox(box);
}

// Loads a definition; false when the run must end. A file that could not be
// read to its end has been reported by the structured file already: the run
// goes on with what was read. A definition that breaks the schema has been
// reported by nobody yet: it is told here, once, and the run ends, since a
// half-read definition must never start an installation.
bool LoadDefinition(Session& session, CPackage& package, const std::string& path) {
  std::string number;
  try {
    (void)package.Load(path);
    return true;
  } catch (const VbError& e) {
    number = " (Fehler " + std::to_string(e.Number()) + ")";
  } catch (...) {
  }
  Tell(session, "Die Datei \"" + path + "\" mit den Setup-Informationen ist fehlerhaft" + number +
                    "; Setup wird beendet.");
  return false;
}

// Copies the medium's file onto the staged one. A missing source is a
// failure like any other. A copy takes the read-only attribute of a CD with
// it; the staged copy must stay deletable by the uninstallation.
bool StageFile(const std::string& source, const std::string& target) {
  try {
    if (modTools::FileExists(target)) {
      modInstall::ReplaceExistingFile(source, target);
    } else if (!CopyFileW(win::Widen(source).c_str(), win::Widen(target).c_str(), TRUE)) {
      return false;
    }
  } catch (...) {
    return false;
  }
  const std::wstring staged = win::Widen(target);
  const DWORD attributes = GetFileAttributesW(staged.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0)
    SetFileAttributesW(staged.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
  return true;
}

void EndEarly(Session& session) {
  session.Ui.UnloadEmptyForm();
  session.CurrentPage = PageId::None;
}

void PrepareSession(Session& session, const std::string& appDir) {
  modTools::ProbeWindowsVersion(session);
  session.RestartRequired = false;
  session.IsNewInstall = false;
  session.SetupTitle = "Kivra Setup: ";
  session.Ui.LoadEmptyForm();
  session.AppDir = appDir;
  if (session.AppDir.empty() || session.AppDir.back() != '\\') session.AppDir += '\\';
  modTools::MakePath(session.AppDir + "Packages");
  std::string programFiles = modRegTools::GetString("Software\\Microsoft\\Windows\\CurrentVersion",
                                                    "ProgramFilesDir", "c:\\Program Files", HKEY_LOCAL_MACHINE);
  if (!programFiles.empty() && programFiles.back() == '\\') programFiles.pop_back();
  session.ProgramFilesDir = programFiles;
  if (!modTools::FolderExists(programFiles)) modTools::MakePath(programFiles);
}

// Returns false when the run has ended on the way (message shown, or the
// user cancelled); true to go on to the common end.
bool InstallFromMedium(Session& session, const std::string& medium) {
  auto package = std::make_shared<CPackage>(session.Context());
  session.Package = package;
  if (!LoadDefinition(session, *package, modTools::JoinPath(medium, "setup.ini"))) return false;
  // Nothing to install (an empty list, or a file that broke off before its
  // files): the common end stops quietly, and nothing is staged or indexed
  // for a package that never gets installed.
  if (package->Files.empty()) return true;
  package->SourcePath = medium;
  // A medium unpacked from a downloaded setup.exe says which file that was.
  std::string origin;
  if (fileio::ReadWholeFile(modTools::JoinPath(medium, onefile::kOriginFile), origin) == 0)
    package->DownloadedFrom = origin;
  package->PackageDir = session.AppDir + "Packages\\" + PackageIdentifier(*package);
  modTools::MakePath(package->PackageDir);

  if (!StageFile(modTools::JoinPath(medium, "setup.ini"), modTools::JoinPath(package->PackageDir, "setup.ini"))) {
    Tell(session, std::string("Die Datei \"") + "setup.ini" +
                      "\" mit den Setup-Informationen konnte nicht auf die Festplatte kopiert werden; Setup wird "
                      "beendet.");
    return false;
  }
  if (!StageFile(modTools::JoinPath(medium, "eula.txt"), modTools::JoinPath(package->PackageDir, "eula.txt"))) {
    Tell(session, std::string("Die Datei \"") + "eula.txt" +
                      "\" konnte nicht auf die Festplatte kopiert werden; Setup wird beendet.");
    return false;
  }

  if (IsPackageKnown(session, *package)) {
    session.IsNewInstall = false;
    session.PackageRegistered = true;
    package->Load2();
    modInstall::DropUnrecordedCopies(session, *package);
    // A recorded download cannot be read from; the unpacked medium can.
    if (!package->DownloadedFrom.empty()) package->SourcePath = medium;
    if (!package->InstalledIn.empty()) {
      // The medium in hand wins over the source recorded in status.ini.
      package->SourcePath = medium;
      return true;
    }
    // Installed before but cancelled and kept: treated as new.
  }

  session.IsNewInstall = true;
  WritePackageIndex(*package);
  session.FilesInstalled = true;
  session.PackageRegistered = true;

  // The medium's start program stays on disk as the component-registration
  // helper; the new name is deliberate.
  std::string appFolder = session.AppDir.substr(0, session.AppDir.size() - 1);
  modInstall::InstallFile(session, *package, "setup.exe", medium, "dllregsv.exe", appFolder, false, 0, false,
                          nullptr);
  session.Ui.SetMousePointer(MousePointer::Default);
  if (session.Cancelled) return false;

  FindOtherVersion(session);
  return true;
}

bool Maintain(Session& session, const std::string& key) {
  auto package = std::make_shared<CPackage>(session.Context());
  session.Package = package;
  package->PackageDir = session.AppDir + "Packages\\" + key;
  if (!LoadDefinition(session, *package, session.AppDir + "Packages\\" + key + "\\setup.ini")) return false;
  session.IsNewInstall = false;
  package->Load2();
  modInstall::DropUnrecordedCopies(session, *package);
  return true;
}

void CommonEnd(Session& session) {
  if (!session.Package || session.Package->Files.empty()) {
    EndEarly(session);
    return;
  }
  session.SetupTitle += session.Package->Caption;
  PageId first = !session.IsNewInstall     ? PageId::Maintenance
                 : !session.OtherPackage ? PageId::Start
                                           : PageId::OtherInstalled;
  ShowPage(session, first);
}

}  // namespace

void Main(Session& session, const std::string& commandTail, const StartOptions& options) {
  const StartCommand command = ParseCommand(commandTail);
  if (command.mode == StartMode::Launch) {
    // Nothing else: no window, no registry, no session state. A failed start
    // is not reported.
    modTools::StartCommandLine(command.argument, modTools::kShowNormalFocus);
    return;
  }

  const bool needsRights = (command.mode == StartMode::Install && !command.unterminated) ||
                           command.mode == StartMode::Maintenance;
  if (needsRights && options.elevate && NeedsRelaunch()) {
    // The elevated copy does the work; if the user declines, nothing happens.
    RelaunchElevated(RunningExecutable(), commandTail);
    return;
  }

  // The engine's own aborts reach the wizard's cancel procedure through this.
  session.CancelSetup = [s = &session](bool ask) { CancelSetup(*s, !ask); };

  std::string appDir = options.appDir;
  if (appDir.empty()) appDir = modTools::ParentFolder(RunningExecutable());
  PrepareSession(session, appDir);

  switch (command.mode) {
    case StartMode::Install:
      // Without the closing quote nothing is created; the common end finds no
      // package and the run ends quietly.
      if (!command.unterminated && !InstallFromMedium(session, command.argument)) {
        if (!session.Cancelled) EndEarly(session);
        return;
      }
      break;
    case StartMode::Maintenance:
      if (!Maintain(session, command.argument)) {
        EndEarly(session);
        return;
      }
      break;
    default:
      session.Ui.UnloadEmptyForm();
      Tell(session, kDirectStartMessage);
      return;
  }
  CommonEnd(session);
}

}  // namespace kv::modSetup
