#include "startup/WizardFlow.h"

#include "install/InstallFile.h"
#include "run/Uninstall.h"
#include "package/CPackage.h"
#include "platform/ProcessStart.h"

namespace kv::modSetup {
namespace {

const char* const kReallyCancelUpdate =
    "Wenn Sie Setup jetzt abbrechen, können Sie auch die bisher installierte Version dieses Programms nicht "
    "mehr verwenden. Möchten Sie Setup wirklich abbrechen?";
const char* const kReallyCancelReplaced =
    "Die bisherige Installation dieses Programms wurde bereits deinstalliert. Wenn Sie Setup jetzt abbrechen, "
    "können Sie auch die bisherige Version nicht mehr verwenden. Möchten Sie Setup wirklich abbrechen?";

std::string RollbackQuestion() {
  return std::string("Es wurden bereits Dateien installiert. Möchten Sie die Installation rückgängig machen?") +
         "\r\n\r\n" +
         "- Klicken Sie auf Ja, um die Installation rückgängig zu machen. Bereits installierte Dateien werden "
         "dann gelöscht." +
         "\r\n" +
         "- Klicken Sie auf Nein, um die bereits installierten Dateien beizubehalten. Wenn Sie das "
         "Installationsprogramm später erneut starten, können Sie die Installation entweder fortsetzen oder die "
         "bereits installierten Dateien entfernen lassen." +
         "\r\n" + "- Klicken Sie auf Abbrechen, wenn Sie die Installation doch fortsetzen möchten.";
}

}  // namespace

void ShowPage(Session& session, PageId page) {
  session.Ui.ShowPage(page, session.SetupTitle);
  // A page the window side could not make has ended the run.
  if (!session.Cancelled) session.CurrentPage = page;
}

void CancelSetup(Session& session, bool unconditional) {
  // Abbrechen at a prompt of the rollback itself: the user has decided
  // already; the removal stops where it is and the procedure under way ends
  // the wizard, once.
  if (session.CancelRunning) {
    session.Cancelled = true;
    return;
  }
  session.CancelRunning = true;
  struct Done {
    bool& running;
    ~Done() { running = false; }
  } done{session.CancelRunning};
  UserInteraction& ui = session.Ui;
  const MousePointer pointer = ui.GetMousePointer();

  bool rollBack = false;
  if (session.FilesInstalled && !session.Finished) {
    if (!session.InstallationStarted || unconditional) {
      rollBack = true;
    } else {
      ui.SetMousePointer(MousePointer::Arrow);
      if (session.OtherPackage) {
        MessageBoxRequest really;
        really.text = session.IsUpdate ? kReallyCancelUpdate : kReallyCancelReplaced;
        really.title = session.SetupTitle;
        really.buttons = MsgButtons::YesNo;
        really.icon = MsgIcon::Exclamation;
        really.defaultButton = 2;
        if (ui.MsgBox(really) == MsgResult::No) {
          ui.SetMousePointer(pointer);
          return;
        }
      }
      MessageBoxRequest undo;
      undo.text = RollbackQuestion();
      undo.title = session.SetupTitle;
      undo.buttons = MsgButtons::YesNoCancel;
      undo.icon = MsgIcon::Question;
      undo.defaultButton = 3;
      MsgResult answer = ui.MsgBox(undo);
      if (answer == MsgResult::Cancel) {
        ui.SetMousePointer(pointer);
        return;
      }
      rollBack = answer == MsgResult::Yes;
    }
  }

  if (rollBack && session.Package) {
    std::shared_ptr<CPackage> old = session.PackageToRemoveFirst;
    if (session.IsUpdate && session.InstallationStarted && old && old != session.Package) {
      // Before the new version's removal, so that its folder can go too.
      modInstall::ReleaseFilesKeptForUpdate(session, *old, *session.Package);
    }
    // While the package is registered from an earlier complete installation,
    // its links and registrations belong to that one and must survive.
    modInstall::Uninstall(session, *session.Package, /*skipRegistrations=*/false, /*newPackage=*/nullptr,
                          /*keepPackageData=*/false, /*fileFlag=*/false, /*skipLinks=*/session.PackageRegistered);
  }
  if (session.Package && session.Package->Removed) {
    // Its staged data is gone: a status write still pending in the
    // interrupted run must not bring the package folder back.
    session.Package->NoStatusSave = true;
    session.StatusUnsaved = false;
  } else if (session.Package && session.StatusUnsaved) {
    // Kept, or a rollback stopped at one of its own prompts: what is
    // installed must be on record for the next start.
    modInstall::FlushInstallStatus(session, *session.Package);
  }

  ui.UnloadPage();
  session.Cancelled = true;
  session.CurrentPage = PageId::None;
  ui.UnloadEmptyForm();

  StartSelfRemoval(session);
  ui.SetMousePointer(pointer);
}

void StartInstallation(Session& session) {
  session.InstallationStarted = true;
  if (session.OtherPackage) session.PackageRegistered = false;
  if (auto old = session.PackageToRemoveFirst) {
    CPackage* replacing = session.IsUpdate ? session.Package.get() : nullptr;
    // Reinstalling removes the very package that is installed again: its
    // staged data and index entry must stay.
    bool keepData = old == session.Package;
    modInstall::Uninstall(session, *old, /*skipRegistrations=*/false, replacing, keepData, /*fileFlag=*/true,
                          /*skipLinks=*/false);
    if (session.Cancelled) return;  // cancelled at a prompt of the removal: the wizard has ended
  }
  ShowPage(session, PageId::Installing);
}

std::string SelfDeleteCommandLine(const Session& session) {
  std::string folder = session.AppDir;
  if (!folder.empty() && folder.back() == '\\') folder.pop_back();
  return "\"" + session.SelfDeleteHelper + "\" \"" + session.AppDir + "KVSetup.exe\" /d \"" + folder + "\"";
}

void StartSelfRemoval(Session& session) {
  if (!session.SelfRemovalPending) return;
  session.SelfRemovalPending = false;
  modTools::StartCommandLine(SelfDeleteCommandLine(session), modTools::kShowNormalFocus);
}

}  // namespace kv::modSetup
