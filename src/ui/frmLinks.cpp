#include "ui/frmLinks.h"

#include "ui/ControlIds.h"
#include "pages/frmLinks.h"

namespace kv::ui {

using namespace pages;  // this window's page logic

void frmLinks::OnLoad() {
  const LinksPageSetup s = frmLinks_Form_Load(session_);
  const int x = Layout::kLeft, w = Layout::kRight - Layout::kLeft;
  int y = FlowLabel(ids::frmLinks_lblTitle, "Verknüpfungen", x, 18, w, FontKind::Title, 12);
  y = FlowLabel(ids::frmLinks_lblWelcome, s.lblWelcome, x, y, w, FontKind::Normal, 14);
  Option(ids::frmLinks_optForMe, "Nur für &mich", x, y, w, 20, true);
  Option(ids::frmLinks_optForAll, "Für a&lle Benutzer dieses Computers", x, y + 22, w, 20, false);
  SetChecked(ids::frmLinks_optForMe, true);
  y += 56;
  CheckBox(ids::frmLinks_chkStartmenu, "Verknüpfung im &Startmenü erstellen", x, y, w, 20);
  CheckBox(ids::frmLinks_chkDesktop, "Verknüpfung auf dem &Desktop erstellen", x, y + 24, w, 20);
  SetChecked(ids::frmLinks_chkStartmenu, s.startMenu);
  SetChecked(ids::frmLinks_chkDesktop, s.desktop);
  y += 56;
  // The start-with-Windows choice and its decorative lines, only when the
  // package allows it.
  Label(ids::frmLinks_lineWinStart, "", x, y, w, 1, FontKind::Normal, SS_ETCHEDHORZ);
  CheckBox(ids::frmLinks_chkWinStart, "&Programm bei jedem Start von Windows automatisch starten", x, y + 12, w, 20);
  SetChecked(ids::frmLinks_chkWinStart, s.winStart);
  Show(ids::frmLinks_lineWinStart, s.showWinStart);
  Show(ids::frmLinks_chkWinStart, s.showWinStart);
  SeparatorLines(Layout::kLineY, Layout::kLeft, Layout::kRight);
  Button(ids::frmLinks_cmdNext, "&Weiter >", Layout::kRight - Layout::kButtonW, Layout::kButtonY, Layout::kButtonW,
         Layout::kButtonH, true);
}

void frmLinks::OnCommand(int id, int code) {
  if (code == BN_CLICKED && id == ids::frmLinks_cmdNext) cmdNext_Click();
}

void frmLinks::cmdNext_Click() {
  LinksChoice c;
  c.forAll = Checked(ids::frmLinks_optForAll);
  c.startMenu = Checked(ids::frmLinks_chkStartmenu);
  c.desktop = Checked(ids::frmLinks_chkDesktop);
  c.winStart = Checked(ids::frmLinks_chkWinStart);
  frmLinks_cmdNext_Click(session_, c);
}

}  // namespace kv::ui
