#include "pages/frmOtherInstalled.h"

#include "package/CPackage.h"
#include "startup/WizardFlow.h"

namespace kv::pages {

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

}  // namespace kv::pages
