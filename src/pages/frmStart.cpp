#include "pages/frmStart.h"

#include "package/CPackage.h"
#include "startup/WizardFlow.h"

namespace kv::pages {

StartPageTexts frmStart_Texts(const Session& session) {
  const std::string caption = session.Package ? session.Package->Caption : std::string();
  StartPageTexts t;
  t.title = "Herzlich willkommen bei Kivra Setup!";
  t.welcome = "Zunächst möchten wir uns dafür bedanken, dass Sie sich für " + caption +
              " entschieden haben. Wir hoffen und sind davon überzeugt, dass Sie viel Freude an diesem "
              "Produkt aus unserem Hause haben werden.";
  t.welcome2 = "Dieser Installationsassistent wird Sie Schritt für Schritt bei der Installation von " + caption +
               " unterstützen.";
  t.cont = "Klicken Sie nun bitte auf die Schaltfläche \"Weiter\", um mit der Installation von " + caption +
           " zu beginnen.";
  t.note =
      "Sie können die Installation jederzeit abbrechen, indem Sie auf die Schaltfläche \"Abbrechen\" klicken. "
      "Sie werden dann gefragt, ob Sie die Installation komplett rückgängig machen oder später fortsetzen "
      "möchten.";
  t.next = "Weiter >";
  t.cancel = "Abbrechen";
  return t;
}

void frmStart_cmdNext_Click(Session& session) {
  modSetup::ShowPage(session, session.OtherPackage ? PageId::OtherInstalled : PageId::Path);
}

void frmStart_cmdCancel_Click(Session& session) { modSetup::CancelSetup(session); }

}  // namespace kv::pages
