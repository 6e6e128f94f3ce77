#include "ui/frmOtherInstalled.h"

#include <algorithm>

#include "ui/ControlIds.h"
#include "pages/frmOtherInstalled.h"

namespace kv::ui {

using namespace pages;  // this window's page logic

void frmOtherInstalled::OnLoad() {
  const OtherInstalledSetup s = frmOtherInstalled_Form_Load(session_);
  const int x = Layout::kLeft, w = Layout::kRight - Layout::kLeft;
  int y = FlowLabel(ids::frmOtherInstalled_lblTitle, s.lblTitle, x, 18, w, FontKind::Title, 12);
  y = FlowLabel(ids::frmOtherInstalled_lblText, s.lblText, x, y, w, FontKind::Normal, 16);
  struct Row {
    int button, label;
    const char* caption;
    const char* text;
  };
  const Row rows[] = {
      {ids::frmOtherInstalled_Command1, ids::frmOtherInstalled_Label2, "A&ktualisieren",
       "Die ältere Version auf die neue Version updaten (empfohlen)."},
      {ids::frmOtherInstalled_Command2, ids::frmOtherInstalled_Label3, "&Ersetzen",
       "Die bisherige Version deinstallieren und dann diese Version installieren (Ihre Einstellungen gehen dabei "
       "verloren)"},
      {ids::frmOtherInstalled_Command3, ids::frmOtherInstalled_Label4, "&Parallel installieren",
       "Die bisherige Version installiert lassen und diese Version parallel dazu installieren (nicht empfohlen - kann "
       "unvorhersehbare Folgen haben!)"},
  };
  const int bw = 130, lx = x + bw + 12, lw = w - bw - 12;
  for (const Row& r : rows) {
    const bool visible = r.button != ids::frmOtherInstalled_Command1 || s.offerUpdate;
    int h = MeasureText(r.text, lw, FontKind::Normal);
    Button(r.button, r.caption, x, y, bw, Layout::kButtonH, r.button == ids::frmOtherInstalled_Command1 && visible);
    Describe(r.button, r.text);
    Label(r.label, r.text, lx, y + 4, lw, h);
    Show(r.button, visible);
    Show(r.label, visible);
    // The hidden update row takes no room: the remaining rows move up.
    if (visible) y += std::max(h + 4, Layout::kButtonH) + 14;
  }
  SeparatorLines(Layout::kLineY, Layout::kLeft, Layout::kRight);
  // Without the update, Enter cancels: neither removing the newer version nor
  // installing beside it should happen by a stray key.
  Button(ids::frmOtherInstalled_Command5, "&Abbrechen", Layout::kRight - Layout::kButtonW, Layout::kButtonY,
         Layout::kButtonW, Layout::kButtonH, !s.offerUpdate);
  cancelId_ = ids::frmOtherInstalled_Command5;
}

void frmOtherInstalled::OnCommand(int id, int code) {
  if (code != BN_CLICKED) return;
  switch (id) {
    case ids::frmOtherInstalled_Command1: frmOtherInstalled_Command1_Click(session_); break;
    case ids::frmOtherInstalled_Command2: frmOtherInstalled_Command2_Click(session_); break;
    case ids::frmOtherInstalled_Command3: frmOtherInstalled_Command3_Click(session_); break;
    case ids::frmOtherInstalled_Command5: frmOtherInstalled_Command5_Click(session_); break;
    default: break;
  }
}

}  // namespace kv::ui
