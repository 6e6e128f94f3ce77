#include "ui/PageLogic.h"

#include <windows.h>

#include "install/ExpandPath.h"
#include "install/InstallPackage.h"
#include "install/Links.h"
#include "install/Uninstall.h"
#include "package/CPackage.h"
#include "package/FileIo.h"
#include "package/StringTools.h"
#include "platform/FileTools.h"
#include "platform/ProcessStart.h"
#include "platform/RegTools.h"
#include "platform/SpecialFolders.h"
#include "platform/SystemRestart.h"
#include "platform/WinString.h"
#include "startup/WizardFlow.h"

namespace kv::ui {

using modTools::JoinPath;

namespace {

std::string TrimBlanks(const std::string& s) {
  size_t b = s.find_first_not_of(' ');
  if (b == std::string::npos) return std::string();
  size_t e = s.find_last_not_of(' ');
  return s.substr(b, e - b + 1);
}

void Tell(Session& session, const std::string& text) {
  session.Ui.MsgBox({text, session.SetupTitle, MsgButtons::OK, MsgIcon::Exclamation, 1});
}

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

// An empty file: opened for writing and closed at once.
void TouchEmptyFile(const std::string& path) {
  HANDLE h = CreateFileW(win::Widen(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                         nullptr);
  if (h != INVALID_HANDLE_VALUE) CloseHandle(h);
}

}  // namespace

// ---- frmPath -------------------------------------------------------------

PathPageSetup frmPath_Form_Load(const Session& session) {
  const CPackage& pkg = *session.Package;
  PathPageSetup s;
  s.lblText = "Die Installation von " + pkg.Caption;
  if (session.ExistingFolder) {
    if (session.IsUpdate) {
      s.lblText +=
          " kann nun beginnen. Unten sehen Sie den Pfad, in dem das Programm installiert wird (der Pfad, in dem die "
          "bisherige Version installiert ist).";
      s.txtPath = session.OtherPackage ? session.OtherPackage->InstalledIn : pkg.InstalledIn;
    } else {
      s.lblText += " kann nun beginnen.";
      s.txtPath = pkg.InstalledIn;
    }
    s.locked = true;
  } else {
    s.lblText +=
        " kann nun beginnen. Wenn Sie wünschen, können Sie unten den Pfad ändern, in dem das Programm installiert "
        "werden soll.";
    s.txtPath = modInstall::ExpandPath(session, pkg.DefaultPath, &pkg);
  }
  return s;
}

std::string frmPath_ChosenPath(const std::string& folder, const std::string& defaultPath) {
  return JoinPath(folder, modTools::FileNamePart(defaultPath));
}

std::string frmPath_cmdChoose_Click(Session& session, const std::string& current) {
  std::string folder = modTools::BrowseForFolder(session.Ui, "Installationsordner auswählen");
  if (folder.empty()) return current;
  return frmPath_ChosenPath(folder, session.Package->DefaultPath);
}

bool frmPath_ValidatePath(Session& session, std::string& path) {
  path = TrimBlanks(path);
  if (!path.empty() && path.back() == '\\') path.pop_back();
  path = TrimBlanks(path);

  if (path.size() < 2 || path[1] != ':') {
    Tell(session, "Bitte geben Sie einen kompletten Pfad (inklusive Laufwerksbuchstaben) an, z.B. c:\\Ordner");
    return false;
  }
  if (path.size() == 2) {
    Tell(session,
         "Sie können das Programm nicht direkt in den Basisordner eines Laufwerks installieren. Das Programm muss "
         "in einen Unterordner installiert werden.");
    return false;
  }
  DWORD attributes = GetFileAttributesW(win::Widen(path).c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES) {
    if (!(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
      Tell(session, "Der angegebene Installationspfad ist der Pfad einer Datei. Bitte geben Sie einen anderen ein.");
      return false;
    }
    if (!session.ExistingFolder) {
      MsgResult r = session.Ui.MsgBox(
          {"Der angegebene Installationspfad existiert bereits. Darin enthaltene Dateien werden möglicherweise "
           "überschrieben. Sind Sie sicher, dass Sie diesen Pfad verwenden möchten?",
           session.SetupTitle, MsgButtons::YesNo, MsgIcon::Exclamation, 1});
      return r != MsgResult::No;
    }
    return true;
  }
  modTools::MakePath(path);
  if (modTools::FileExists(path)) return true;
  Tell(session, "Der angegebene Installationspfad konnte nicht erstellt werden. Bitte geben Sie einen anderen ein.");
  return false;
}

bool frmPath_Command1_Click(Session& session, std::string& path) {
  if (!frmPath_ValidatePath(session, path)) return false;
  session.Package->InstalledIn = path;
  modSetup::ShowPage(session, PageId::EULA);
  return true;
}

void frmPath_Command5_Click(Session& session) {
  if (session.IsNewInstall) {
    modSetup::CancelSetup(session);
  } else {
    modSetup::ShowPage(session, PageId::Maintenance);
  }
}

// ---- frmLinks ------------------------------------------------------------

LinksPageSetup frmLinks_Form_Load(const Session& session) {
  const CPackage& pkg = *session.Package;
  LinksPageSetup s;
  const std::string begin =
      "Bitte legen Sie fest, ob Sie im Startmenü und/oder auf dem Desktop eine Verknüpfung zu " + pkg.Caption;
  s.lblWelcome = pkg.AllowWinStart
                     ? begin + " erstellen möchten sowie ob das Programm immer beim Start von Windows gestartet "
                               "werden soll."
                     : begin + " erstellen möchten.";
  s.showWinStart = pkg.AllowWinStart;
  s.winStart = pkg.DefaultWinStart;
  s.startMenu = pkg.DefaultInStartMenu;
  s.desktop = pkg.DefaultOnDesktop;
  return s;
}

void frmLinks_WriteLinks(Session& session, const LinksChoice& choice) {
  const CPackage& pkg = *session.Package;
  const std::string proxyName = pkg.Caption + modInstall::LinkExtension(pkg);
  const std::string windows = modSpclFolder::GetWindowsFolder();
  if (choice.startMenu) {
    std::string programs =
        modSpclFolder::GetSpecialFolder(nullptr, choice.forAll ? modSpclFolder::kCommonPrograms : modSpclFolder::kPrograms, "");
    if (programs.empty()) programs = windows + "\\Startmenü\\Programme";
    std::string group = JoinPath(programs, pkg.StartMenuGroup);
    modTools::MakePath(group);
    TouchEmptyFile(JoinPath(group, proxyName));
  }
  if (choice.desktop) {
    std::string desktop = modSpclFolder::GetSpecialFolder(
        nullptr, choice.forAll ? modSpclFolder::kCommonDesktopDirectory : modSpclFolder::kDesktopDirectory, "");
    if (desktop.empty()) desktop = windows + "\\Desktop";
    TouchEmptyFile(JoinPath(desktop, proxyName));
  }
  if (pkg.AllowWinStart) {
    // Always for the current user, also when the links are for everybody.
    if (choice.winStart) {
      modRegTools::SetString(kRunKey, pkg.Name, "\"" + JoinPath(pkg.InstalledIn, pkg.EXEFile) + "\"",
                             HKEY_CURRENT_USER);
    } else {
      modRegTools::Delete(kRunKey, pkg.Name, HKEY_CURRENT_USER);
    }
  }
}

void frmLinks_cmdNext_Click(Session& session, const LinksChoice& choice) {
  frmLinks_WriteLinks(session, choice);
  modSetup::ShowPage(session, PageId::Finished);
}

// ---- frmInstalling -------------------------------------------------------

void frmInstalling_tmrStart_Timer(Session& session) {
  modInstall::InstallPackage(session, *session.Package, session.IsRepair, false);
  if (session.Cancelled) return;  // the cancel procedure has taken over
  session.Finished = true;
  modSetup::ShowPage(session, session.Package->EXEFile.empty() ? PageId::Finished : PageId::Links);
}

// ---- frmOtherInstalled ---------------------------------------------------

OtherInstalledSetup frmOtherInstalled_Form_Load(const Session& session) {
  OtherInstalledSetup s;
  const std::string& name = session.Package->Name;
  if (session.OtherIsNewer) {
    s.lblTitle = "Neuere Version bereits installiert";
    s.lblText = "Es ist bereits eine neuere Version von " + name + " auf Ihrem Computer installiert. Wie möchten Sie vorgehen?";
    s.offerUpdate = false;
  } else {
    s.lblTitle = "Ältere Version bereits installiert";
    s.lblText = "Es ist bereits eine ältere Version von " + name + " auf Ihrem Computer installiert. Wie möchten Sie vorgehen?";
  }
  return s;
}

void frmOtherInstalled_Command1_Click(Session& session) {
  if (session.OtherIsNewer) return;  // hidden: never update to an older version
  session.PackageToRemoveFirst = session.OtherPackage;
  session.IsUpdate = true;
  session.ExistingFolder = true;
  modSetup::ShowPage(session, PageId::Path);
}

void frmOtherInstalled_Command2_Click(Session& session) {
  session.PackageToRemoveFirst = session.OtherPackage;
  session.IsUpdate = false;
  session.ExistingFolder = false;
  modSetup::ShowPage(session, PageId::Path);
}

void frmOtherInstalled_Command3_Click(Session& session) { modSetup::ShowPage(session, PageId::Path); }

void frmOtherInstalled_Command5_Click(Session& session) { modSetup::CancelSetup(session); }

// ---- frmEULA -------------------------------------------------------------

const char* const kEulaFailureText =
    "Der EULA konnte nicht geladen werden. Bitte suchen Sie die Datei \"EULA.txt\" unter den Installationsdateien "
    "und lesen Sie sie. Wenn Sie sie nicht finden, fordern Sie den EULA bitte auf unserer Homepage an. Sie dürfen "
    "das Produkt nur installieren, wenn Sie bestätigen, ihn gelesen zu haben und ihm zustimmen.";

std::string frmEULA_Form_Load(const Session& session) {
  std::string bytes;
  if (fileio::ReadWholeFile(JoinPath(session.Package->PackageDir, "eula.txt"), bytes) != 0) return kEulaFailureText;
  return win::FromAnsi(bytes);
}

void frmEULA_cmdYes_Click(Session& session) { modSetup::StartInstallation(session); }

void frmEULA_cmdNo_Click(Session& session) { modSetup::CancelSetup(session); }

// ---- frmFinished ---------------------------------------------------------

bool frmFinished_UninstallMode(const Session& session) { return !session.InstallationStarted; }

FinishedSetup frmFinished_Init(const Session& session, bool uninstallMode) {
  const CPackage& pkg = *session.Package;
  const std::string& caption = pkg.Caption;
  const std::string crlf = "\r\n";
  FinishedSetup s;
  const bool restart = session.RestartRequired;
  if (uninstallMode) {
    std::string text =
        "Sollten Sie " + caption +
        " deinstalliert haben, weil das Programm Ihre Anforderungen nicht erfüllt hat oder Sie andere Kritik an der "
        "Software haben, warum teilen Sie uns Ihre Meinung dann nicht mit? Wir sind immer für Kritik und "
        "Verbesserungsvorschläge offen! Besuchen Sie unsere Homepage, dort können Sie uns Ihr Feedback mitteilen "
        "und sich zudem über die anderen Softwareprodukte aus unserem Hause informieren. Vielleicht ist da ja was "
        "für Sie dabei!";
    if (restart) {
      s.lblTitle = "Die Deinstallation ist fast abgeschlossen.";
      s.lblWelcome = text + crlf + crlf +
                     "Um die Deinstallation vollständig abzuschließen, muss der Computer neu gestartet werden. "
                     "Möchten Sie, dass der Computer jetzt neu gestartet wird?";
    } else {
      s.lblTitle = "Die Deinstallation ist abgeschlossen.";
      s.lblWelcome = text;
    }
  } else {
    std::string text =
        "Wir wünschen Ihnen viel Vergnügen mit " + caption +
        " und hoffen, dass es Ihre Anforderungen erfüllt oder vielleicht sogar übertrifft." + crlf + crlf +
        "Halten Sie sich immer über " + caption +
        " auf dem Laufenden: besuchen Sie den Supportbereich auf unserer Homepage, denn dort finden Sie aktuelle "
        "Informationen und Updates zu unserer Software. Außerdem gibt es auf der Homepage noch viele weitere "
        "interessante Softwareprodukte zu entdecken." +
        crlf + crlf + "Besuchen Sie uns!";
    if (restart) {
      s.lblTitle = "Die Installation ist fast abgeschlossen.";
      s.lblWelcome = text + crlf + crlf +
                     "Um die Installation vollständig abzuschließen, muss der Computer neu gestartet werden. Möchten "
                     "Sie, dass der Computer jetzt neu gestartet wird?";
    } else {
      s.lblTitle = "Die Installation ist abgeschlossen.";
      s.lblWelcome = text;
    }
  }
  if (restart) {
    s.showRestart = true;
  } else if (!uninstallMode && !pkg.EXEFile.empty()) {
    s.showStartProg = true;
  }
  return s;
}

void frmFinished_cmdNext_Click(Session& session, const FinishedChoice& choice, modTools::RestartApi& restart,
                               const ProgramStarter& start) {
  const bool restartWanted = session.RestartRequired && choice.restartSelected;
  if (restartWanted) {
    session.Ui.UnloadPage();
    if (!modTools::RestartWindows(session, restart)) {
      Tell(session, "Der Computer konnte nicht neu gestartet werden. Bitte starten Sie ihn manuell neu.");
    }
  } else if (choice.startProgram) {
    const CPackage& pkg = *session.Package;
    start("\"" + JoinPath(pkg.InstalledIn, pkg.EXEFile) + "\"");
  }
  session.Ui.UnloadPage();
  modSetup::CancelSetup(session);
}

// ---- frmMaintenance ------------------------------------------------------

std::string frmMaintenance_MoreText(const std::string& sourcePath) {
  std::string lower = Lower(sourcePath);
  if (lower.find("tmp") != std::string::npos || lower.find("temp") != std::string::npos) {
    return "Um das Programm neu zu installieren, laden Sie bitte das Installationsprogramm erneut von unserer "
           "Homepage herunter und führen Sie es aus.";
  }
  return "Für mehr Optionen legen Sie bitte die CD ein, auf der Sie das Programm erhalten haben, und starten Sie "
         "Setup erneut.";
}

MaintenanceSetup frmMaintenance_Form_Load(const Session& session) {
  const CPackage& pkg = *session.Package;
  MaintenanceSetup s;
  s.lblChoose = "Bitte wählen Sie aus, was Sie mit Ihrer derzeitigen Installation von " + pkg.Caption + " tun möchten.";
  s.sourceReachable = GetFileAttributesW(win::Widen(pkg.SourcePath).c_str()) != INVALID_FILE_ATTRIBUTES;
  if (!s.sourceReachable) s.lblMore = frmMaintenance_MoreText(pkg.SourcePath);
  return s;
}

void frmMaintenance_Command1_Click(Session& session) {
  session.PackageToRemoveFirst.reset();
  session.IsRepair = false;
  session.ExistingFolder = true;
  modSetup::ShowPage(session, PageId::Path);
}

void frmMaintenance_Command2_Click(Session& session) {
  session.PackageToRemoveFirst.reset();
  session.IsRepair = true;
  modSetup::ShowPage(session, PageId::EULA);
}

void frmMaintenance_Command3_Click(Session& session) {
  session.PackageToRemoveFirst = session.Package;
  session.IsRepair = false;
  session.ExistingFolder = true;
  modSetup::ShowPage(session, PageId::Path);
}

bool frmMaintenance_Command4_Click(Session& session) {
  MsgResult r = session.Ui.MsgBox(
      {"Sind Sie sicher, dass Sie das Programm deinstallieren möchten? Dieser Vorgang kann nicht rückgängig gemacht "
       "werden. Wenn Sie das Programm wieder verwenden möchten, müssen Sie es erneut installieren. Ihre "
       "Einstellungen gehen dabei jedoch verloren.\r\n\r\nMöchten Sie das Programm dennoch deinstallieren?",
       session.SetupTitle, MsgButtons::YesNo, MsgIcon::Exclamation, 2});
  if (r != MsgResult::Yes) return false;
  session.PackageToRemoveFirst.reset();
  modInstall::Uninstall(session, *session.Package, false, nullptr, false, false, false);
  session.Finished = true;
  modSetup::ShowPage(session, PageId::Finished);
  return true;
}

void frmMaintenance_Command5_Click(Session& session) { modSetup::CancelSetup(session); }

}  // namespace kv::ui
