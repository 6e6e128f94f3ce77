#include "ui/frmMaintenance.h"

#include <algorithm>

#include "ui/ControlIds.h"
#include "pages/frmMaintenance.h"

namespace kv::ui {

using namespace pages;  // this window's page logic

void frmMaintenance::OnLoad() {
  const MaintenanceSetup s = frmMaintenance_Form_Load(session_);
  const int x = Layout::kLeft, w = Layout::kRight - Layout::kLeft;
  int y = FlowLabel(ids::frmMaintenance_Label1, "Wartung/Deinstallation", x, 18, w, FontKind::Title, 10);
  y = FlowLabel(ids::frmMaintenance_lblChoose, s.lblChoose, x, y, w, FontKind::Normal, 12);
  struct Row {
    int button, label;
    const char* caption;
    const char* text;
  };
  const Row rows[] = {
      {ids::frmMaintenance_Command1, ids::frmMaintenance_Label2, "&Erweitern",
       "Neue Komponenten installieren bzw. die Installation fortsetzen, wenn sie zuvor abgebrochen wurde."},
      {ids::frmMaintenance_Command2, ids::frmMaintenance_Label3, "&Reparieren",
       "Die vorhandene Installation reparieren, d.h. alle bisher vorhandenen Komponenten erneut installieren (Ihre "
       "Einstellungen bleiben erhalten)"},
      {ids::frmMaintenance_Command3, ids::frmMaintenance_Label4, "&Neu installieren",
       "Das Programm neu installieren (Ihre Einstellungen gehen dabei verloren)"},
      {ids::frmMaintenance_Command4, ids::frmMaintenance_Label5, "&Deinstallieren",
       "Das Programm komplett deinstallieren und alle installierten Dateien des Programms von der Festplatte "
       "entfernen"},
  };
  // Without the source only the uninstall is possible: its row moves to the
  // top, the others stay visible below it, disabled.
  int order[4] = {0, 1, 2, 3};
  if (!s.sourceReachable) {
    order[0] = 3, order[1] = 0, order[2] = 1, order[3] = 2;
  }
  const int bw = 120, lx = x + bw + 12, lw = w - bw - 12;
  int heights[4], used = 0;
  for (int i = 0; i < 4; ++i) used += heights[i] = std::max(MeasureText(rows[i].text, lw, FontKind::Normal) + 4,
                                                            static_cast<int>(Layout::kButtonH));
  const int moreH = s.sourceReachable ? 0 : MeasureText(s.lblMore, w - 20, FontKind::Normal) + 20;
  // Large fonts or a long caption: the gaps shrink before the note's frame
  // would reach the separator.
  const int room = Layout::kLineY - 10 - y - used - moreH;
  const int gap = std::clamp(room / 4, 2, 8);
  // Tab order follows the creation order, so rows are created top to bottom.
  // The first row that can be chosen is the default button.
  for (int i : order) {
    const Row& r = rows[i];
    Button(r.button, r.caption, x, y, bw, Layout::kButtonH, i == order[0]);
    Describe(r.button, r.text);
    Label(r.label, r.text, lx, y + 4, lw, heights[i] - 4);
    y += heights[i] + gap;
  }
  if (!s.sourceReachable) {
    for (int i = 0; i < 3; ++i) {
      Enable(rows[i].button, false);
      Enable(rows[i].label, false);
    }
    Frame(ids::frmMaintenance_Frame1, "", x, y, w, moreH);
    Label(ids::frmMaintenance_lblMore, s.lblMore, x + 10, y + 10, w - 20, moreH - 20);
  }
  SeparatorLines(Layout::kLineY, Layout::kLeft, Layout::kRight);
  Button(ids::frmMaintenance_Command5, "&Abbrechen", Layout::kRight - Layout::kButtonW, Layout::kButtonY,
         Layout::kButtonW, Layout::kButtonH);
  cancelId_ = ids::frmMaintenance_Command5;
}

void frmMaintenance::OnCommand(int id, int code) {
  if (code != BN_CLICKED) return;
  switch (id) {
    case ids::frmMaintenance_Command1: frmMaintenance_Command1_Click(session_); break;
    case ids::frmMaintenance_Command2: frmMaintenance_Command2_Click(session_); break;
    case ids::frmMaintenance_Command3: frmMaintenance_Command3_Click(session_); break;
    case ids::frmMaintenance_Command4: frmMaintenance_Command4_Click(session_); break;
    case ids::frmMaintenance_Command5: frmMaintenance_Command5_Click(session_); break;
    default: break;
  }
}

}  // namespace kv::ui
