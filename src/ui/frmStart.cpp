#include "ui/frmStart.h"

#include "pages/frmStart.h"
#include "ui/ControlIds.h"

namespace kv::ui {

void frmStart::OnLoad() {
  const auto t = pages::frmStart_Texts(session_);
  const int x = Layout::kLeft, w = Layout::kRight - Layout::kLeft;
  int y = FlowLabel(ids::frmStart_lblTitle, t.title, x, 18, w, FontKind::Title, 16);
  y = FlowLabel(ids::frmStart_lblWelcome, t.welcome, x, y, w);
  y = FlowLabel(ids::frmStart_lblWelcome2, t.welcome2, x, y, w);
  y = FlowLabel(ids::frmStart_lblContinue, t.cont, x, y, w);
  FlowLabel(ids::frmStart_lblNote, t.note, x, y + 6, w);
  SeparatorLines(Layout::kLineY, Layout::kLeft, Layout::kRight);
  // The access keys: W(eiter), A(bbrechen).
  Button(ids::frmStart_cmdNext, "&" + t.next, Layout::kRight - 2 * Layout::kButtonW - 8, Layout::kButtonY,
         Layout::kButtonW, Layout::kButtonH, true);
  Button(ids::frmStart_cmdCancel, "&" + t.cancel, Layout::kRight - Layout::kButtonW, Layout::kButtonY, Layout::kButtonW,
         Layout::kButtonH);
  cancelId_ = ids::frmStart_cmdCancel;
}

void frmStart::OnCommand(int id, int code) {
  if (code != BN_CLICKED) return;
  if (id == ids::frmStart_cmdNext) cmdNext_Click();
  if (id == ids::frmStart_cmdCancel) cmdCancel_Click();
}

void frmStart::cmdNext_Click() { pages::frmStart_cmdNext_Click(session_); }
void frmStart::cmdCancel_Click() { pages::frmStart_cmdCancel_Click(session_); }

}  // namespace kv::ui
