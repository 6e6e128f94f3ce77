#include "ui/frmConflict.h"

#include "ui/ControlIds.h"
#include "ui/frmEULA.h"

namespace kv::ui {

void frmConflict::OnLoad() {
  const int x = 16, w = kWidth - 32;
  int y = FlowLabel(ids::frmConflict_lblText, question_.text, x, 14, w, FontKind::Normal, 10);
  const int half = (w - 12) / 2;
  // Each label right before its box, so that its access key leads there.
  const DWORD box = ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | WS_VSCROLL;
  Label(ids::frmConflict_Label1, "&Installierte Version:", x, y, half, 18, FontKind::Bold, 0, true);
  Edit(ids::frmConflict_txtOld, ToEditLineBreaks(question_.oldDescription), x, y + 20, half, 70, box);
  Label(ids::frmConflict_Label2, "&Mitgelieferte Version:", x + half + 12, y, half, 18, FontKind::Bold, 0, true);
  Edit(ids::frmConflict_txtNew, ToEditLineBreaks(question_.newDescription), x + half + 12, y + 20, half, 70, box);
  y += 20 + 82;
  y = FlowLabel(ids::frmConflict_lblWhatDo, question_.whatToDo, x, y, w, FontKind::Normal, 14);
  const int bw = 180;
  Button(ids::frmConflict_Command1, "Bisherige Version &behalten", x, y, bw, 26, true);
  Button(ids::frmConflict_Command2, "Durch neue Version &ersetzen", x + bw + 8, y, bw, 26);
  Button(ids::frmConflict_cmdCancel, "&Abbrechen", kWidth - 16 - 100, y, 100, 26);
  cancelId_ = ids::frmConflict_cmdCancel;
  // As tall as its content: the buttons right below the question.
  FitClientHeight(y + 26 + 14);
}

void frmConflict::OnCommand(int id, int code) {
  if (code != BN_CLICKED) return;
  if (id == ids::frmConflict_Command1) Finish(ConflictAnswer::KeepInstalled);
  if (id == ids::frmConflict_Command2) Finish(ConflictAnswer::Replace);
  if (id == ids::frmConflict_cmdCancel) Finish(ConflictAnswer::Cancel);
}

void frmConflict::Finish(ConflictAnswer answer) {
  result_ = answer;
  done_ = true;
  ShowWindow(hwnd_, SW_HIDE);
}

}  // namespace kv::ui
