#include "ui/Pages.h"

#include "ui/frmEULA.h"
#include "ui/frmFinished.h"
#include "ui/frmInstalling.h"
#include "ui/frmLinks.h"
#include "ui/frmMaintenance.h"
#include "ui/frmOtherInstalled.h"
#include "ui/frmPath.h"
#include "ui/frmStart.h"
#include "ui/frmUninstall.h"

namespace kv::ui {

std::unique_ptr<Form> MakePage(PageId page, RealUi& ui, Session& session) {
  switch (page) {
    case PageId::Start: return std::make_unique<frmStart>(ui, session);
    case PageId::OtherInstalled: return std::make_unique<frmOtherInstalled>(ui, session);
    case PageId::Path: return std::make_unique<frmPath>(ui, session);
    case PageId::EULA: return std::make_unique<frmEULA>(ui, session);
    case PageId::Installing: return std::make_unique<frmInstalling>(ui, session);
    case PageId::Links: return std::make_unique<frmLinks>(ui, session);
    case PageId::Finished: return std::make_unique<frmFinished>(ui, session);
    case PageId::Maintenance: return std::make_unique<frmMaintenance>(ui, session);
    case PageId::Uninstall: return std::make_unique<frmUninstall>(ui, session);
    case PageId::None: break;
  }
  return nullptr;
}

}  // namespace kv::ui
