#include "pages/frmEULA.h"

#include "package/CPackage.h"
#include "base/FileIo.h"
#include "base/StringTools.h"
#include "platform/WinString.h"
#include "startup/WizardFlow.h"

namespace kv::pages {

using modTools::JoinPath;

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

}  // namespace kv::pages
