#include "pages/frmPath.h"

#include <windows.h>

#include "pages/PageTools.h"
#include "install/ExpandPath.h"
#include "package/CPackage.h"
#include "base/StringTools.h"
#include "platform/FileTools.h"
#include "platform/SpecialFolders.h"
#include "platform/WinString.h"
#include "startup/WizardFlow.h"

namespace kv::pages {

using modTools::JoinPath;

namespace {

constexpr size_t kLongestFolder = MAX_PATH - 12 - 1;

std::string TrimBlanks(const std::string& s) {
  size_t b = s.find_first_not_of(' ');
  if (b == std::string::npos) return std::string();
  size_t e = s.find_last_not_of(' ');
  return s.substr(b, e - b + 1);
}

}  // namespace

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
  // The longest folder the system creates without the long-path prefix: room
  // is left for an 8.3 name. The version functions that copy the files know
  // no prefix, so a longer folder could be created but never filled.
  if (path.size() > kLongestFolder) {
    Tell(session, "Der angegebene Installationspfad ist zu lang (mehr als " + std::to_string(kLongestFolder) +
                      " Zeichen). Bitte geben Sie einen kürzeren ein.");
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

}  // namespace kv::pages
