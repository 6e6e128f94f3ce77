#include "pages/frmMaintenance.h"

#include <windows.h>

#include "run/Uninstall.h"
#include "package/CPackage.h"
#include "platform/SpecialFolders.h"
#include "platform/WinString.h"
#include "startup/WizardFlow.h"

namespace kv::pages {

namespace {

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

// A one-file medium records the downloaded setup.exe itself as its source;
// the installer cannot read files out of it, only the file can unpack itself.
bool IsDownloadedSetup(const std::string& sourcePath) {
  const std::string lower = Lower(sourcePath);
  return lower.size() > 4 && lower.compare(lower.size() - 4, 4, ".exe") == 0;
}

}  // namespace

std::string frmMaintenance_MoreText(const std::string& sourcePath) {
  if (IsDownloadedSetup(sourcePath)) {
    return "Um das Programm zu ändern oder zu reparieren, starten Sie bitte die heruntergeladene Datei \"" +
           sourcePath + "\" erneut. Falls Sie sie nicht mehr haben, laden Sie sie bitte erneut von unserer Homepage "
           "herunter.";
  }
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
  s.sourceReachable = !IsDownloadedSetup(pkg.SourcePath) &&
                      GetFileAttributesW(win::Widen(pkg.SourcePath).c_str()) != INVALID_FILE_ATTRIBUTES;
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
  if (session.Cancelled) return false;  // cancelled at a macro's prompt: nothing is finished
  session.Finished = true;
  modSetup::ShowPage(session, PageId::Finished);
  return true;
}

void frmMaintenance_Command5_Click(Session& session) { modSetup::CancelSetup(session); }

}  // namespace kv::pages
