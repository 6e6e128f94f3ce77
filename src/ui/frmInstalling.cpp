#include "ui/frmInstalling.h"

#include "session/Session.h"
#include "startup/WizardFlow.h"
#include "ui/ControlIds.h"
#include "pages/frmInstalling.h"
#include "ui/RealUi.h"

namespace kv::ui {

using namespace pages;  // this window's page logic

void frmInstalling::OnLoad() {
  const int w = Layout::kRight - Layout::kLeft;
  const int h = MeasureText(kInstallingText, w, FontKind::Bold);
  // Text, bar and file line together stand in the middle of the page.
  ProgressRows(ids::frmInstalling_lblText, kInstallingText, (Layout::kHeight - h) / 2 - 28, h);
  SeparatorLines(Layout::kLineY, Layout::kLeft, Layout::kRight);
  Button(ids::frmInstalling_cmdCancel, "&Abbrechen", Layout::kRight - Layout::kButtonW, Layout::kButtonY,
         Layout::kButtonW, Layout::kButtonH, true);
  cancelId_ = ids::frmInstalling_cmdCancel;
  // Laid out again on another monitor while running: no second start.
  if (!running_) SetTimer(hwnd_, tmrStart, kInterval, nullptr);
  ui_.SetMousePointer(MousePointer::Hourglass);
}

void frmInstalling::OnTimer(UINT_PTR id) {
  if (id == tmrStart) tmrStart_Timer();
}

void frmInstalling::tmrStart_Timer() {
  KillTimer(hwnd_, tmrStart);  // exactly once
  if (running_) return;
  running_ = true;
  frmInstalling_tmrStart_Timer(session_);
}

void frmInstalling::OnCommand(int id, int code) {
  if (code == BN_CLICKED && id == ids::frmInstalling_cmdCancel) OnClose();
}

void frmInstalling::OnClose() {
  // The page has no buttons; closing it is the user's way to stop the work.
  if (session_.Finished || closing_) return;
  closing_ = true;
  // The question boxes pump messages: the start timer must not begin the
  // run while the user is still deciding whether to cancel.
  const bool beforeRun = !running_;
  if (beforeRun) KillTimer(hwnd_, tmrStart);
  modSetup::CancelSetup(session_);
  if (beforeRun && !session_.Cancelled && hwnd_) SetTimer(hwnd_, tmrStart, kInterval, nullptr);
  closing_ = false;
}

}  // namespace kv::ui
