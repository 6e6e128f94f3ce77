#include "ui/frmUninstall.h"

#include "session/Session.h"
#include "pages/frmUninstall.h"
#include "ui/ControlIds.h"
#include "ui/RealUi.h"

namespace kv::ui {

void frmUninstall::OnLoad() {
  // The uninstallation names the package it removes; guessing it here from
  // the wizard's state names the wrong one on a rollback.
  Init(session_.UninstallingName);
  ui_.SetMousePointer(MousePointer::Hourglass);
}

void frmUninstall::Init(const std::string& displayName) {
  const std::string text = pages::frmUninstall_PleaseText(session_, displayName);
  const int w = Layout::kRight - Layout::kLeft;
  const int h = MeasureText(text, w, FontKind::Bold);
  ProgressRows(ids::frmUninstall_lblPlease, text, pages::frmUninstall_LabelTop(Layout::kHeight, h), h);
}

}  // namespace kv::ui
