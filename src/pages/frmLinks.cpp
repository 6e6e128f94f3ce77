#include "pages/frmLinks.h"

#include <windows.h>

#include "install/Links.h"
#include "package/CPackage.h"
#include "base/StringTools.h"
#include "platform/FileTools.h"
#include "platform/RegTools.h"
#include "platform/SpecialFolders.h"
#include "platform/WinString.h"
#include "startup/WizardFlow.h"

namespace kv::pages {

using modTools::JoinPath;

namespace {

// An empty file: opened for writing and closed at once.
void TouchEmptyFile(const std::string& path) {
  HANDLE h = CreateFileW(win::Widen(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                         nullptr);
  if (h != INVALID_HANDLE_VALUE) CloseHandle(h);
}

}  // namespace

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

}  // namespace kv::pages
