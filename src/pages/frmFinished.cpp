#include "pages/frmFinished.h"

#include "pages/PageTools.h"
#include "package/CPackage.h"
#include "base/StringTools.h"
#include "platform/SpecialFolders.h"
#include "platform/SystemRestart.h"
#include "startup/WizardFlow.h"

namespace kv::pages {

using modTools::JoinPath;

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
    const std::string exe = JoinPath(pkg.InstalledIn, pkg.EXEFile);
    // A program that finds its files relative to where it starts must not
    // start in the installer's folder.
    start("\"" + exe + "\"", modTools::ParentFolder(exe));
  }
  session.Ui.UnloadPage();
  modSetup::CancelSetup(session);
}

}  // namespace kv::pages
