#include "ui/frmInstalling.h"

#include "session/Session.h"
#include "startup/WizardFlow.h"
#include "ui/ControlIds.h"
#include "pages/frmInstalling.h"
#include "ui/RealUi.h"

namespace kv::ui {

using namespace pages;  // this window's page logic

void frmInstalling::OnLoad() {
  const int x = Layout::kLeft, w = Layout::kRight - Layout::kLeft;
  int h = MeasureText(kInstallingText, w, FontKind::Bold);
  Label(ids::frmInstalling_lblText, kInstallingText, x, (Layout::kHeight - h) / 2, w, h, FontKind::Bold, SS_CENTER);
  SetTimer(hwnd_, tmrStart, kInterval, nullptr);
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
