#include "pages/frmInstalling.h"

#include "package/CPackage.h"
#include "run/InstallPackage.h"
#include "startup/WizardFlow.h"

namespace kv::pages {

void frmInstalling_tmrStart_Timer(Session& session) {
  modInstall::InstallPackage(session, *session.Package, session.IsRepair, false);
  if (session.Cancelled) return;  // the cancel procedure has taken over
  session.Finished = true;
  modSetup::ShowPage(session, session.Package->EXEFile.empty() ? PageId::Finished : PageId::Links);
}

}  // namespace kv::pages
