#include "ui/ProgressPage.h"

#include <commctrl.h>

#include "platform/WinString.h"
#include "ui/ControlIds.h"

namespace kv::ui {

void ProgressPage::ProgressRows(int textId, const std::string& text, int top, int textHeight) {
  const int x = Layout::kLeft, w = Layout::kRight - Layout::kLeft;
  Label(textId, text, x, top, w, textHeight, FontKind::Bold, SS_CENTER);
  INITCOMMONCONTROLSEX icc{sizeof icc, ICC_PROGRESS_CLASS};
  InitCommonControlsEx(&icc);
  const int barY = top + textHeight + 14;
  CreateWindowExW(0, PROGRESS_CLASSW, L"", WS_CHILD | WS_VISIBLE | WS_GROUP, S(x), S(barY), S(w), S(18), hwnd_,
                  reinterpret_cast<HMENU>(static_cast<INT_PTR>(ids::progress_barProgress)), GetModuleHandleW(nullptr),
                  nullptr);
  // Paths can be long: the end of the name matters most.
  Label(ids::progress_lblFile, "", x, barY + 24, w, 18, FontKind::Normal, SS_CENTER | SS_PATHELLIPSIS);
}

void ProgressPage::OnProgress(int done, int total, const std::string& item) {
  HWND bar = Item(ids::progress_barProgress);
  if (!bar) return;
  SendMessageW(bar, PBM_SETRANGE32, 0, total > 0 ? total : 1);
  SendMessageW(bar, PBM_SETPOS, total > 0 ? done : 0, 0);
  SetText(ids::progress_lblFile, item);
}

}  // namespace kv::ui
