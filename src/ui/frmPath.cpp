#include "ui/frmPath.h"

#include "startup/WizardFlow.h"
#include "ui/ControlIds.h"
#include "pages/frmPath.h"

namespace kv::ui {

using namespace pages;  // this window's page logic

void frmPath::OnLoad() {
  const PathPageSetup s = frmPath_Form_Load(session_);
  const int x = Layout::kLeft, w = Layout::kRight - Layout::kLeft;
  int y = FlowLabel(ids::frmPath_lblText, s.lblText, x, 24, w, FontKind::Normal, 16);
  Frame(ids::frmPath_Frame1, "Installations&pfad", x, y, w, 66);
  Edit(ids::frmPath_txtPath, s.txtPath, x + 12, y + 31, w - 24 - 100, 23, ES_AUTOHSCROLL | (s.locked ? ES_READONLY : 0));
  Button(ids::frmPath_cmdChoose, "Aus&wählen...", x + w - 12 - 92, y + 30, 92, 25);
  Enable(ids::frmPath_cmdChoose, !s.locked);
  y += 66 + 22;
  const int labelW = w - Layout::kButtonW - 12;
  int h = MeasureText("Um das Programm und all seine Komponenten jetzt zu installieren, klicken Sie bitte auf diese "
                      "Schaltfläche:", labelW, FontKind::Normal);
  Label(ids::frmPath_Label1,
        "Um das Programm und all seine Komponenten jetzt zu installieren, klicken Sie bitte auf diese Schaltfläche:", x,
        y, labelW, h);
  Button(ids::frmPath_Command1, "&Installieren", Layout::kRight - Layout::kButtonW, y + (h - Layout::kButtonH) / 2,
         Layout::kButtonW, Layout::kButtonH, true);
  SeparatorLines(Layout::kLineY, Layout::kLeft, Layout::kRight);
  Button(ids::frmPath_Command5, "&Abbrechen", Layout::kRight - Layout::kButtonW, Layout::kButtonY, Layout::kButtonW,
         Layout::kButtonH);
  cancelId_ = ids::frmPath_Command5;
}

void frmPath::OnCommand(int id, int code) {
  if (code != BN_CLICKED) return;
  if (id == ids::frmPath_cmdChoose) cmdChoose_Click();
  if (id == ids::frmPath_Command1) Command1_Click();
  if (id == ids::frmPath_Command5) Command5_Click();
}

void frmPath::cmdChoose_Click() { SetText(ids::frmPath_txtPath, frmPath_cmdChoose_Click(session_, Text(ids::frmPath_txtPath))); }

void frmPath::Command1_Click() {
  // The check cleans the text; on failure the page stays with the cleaned
  // text, on success it has already been replaced by the licence page.
  std::string path = Text(ids::frmPath_txtPath);
  if (!frmPath_Command1_Click(session_, path) && hwnd_) {
    SetText(ids::frmPath_txtPath, path);
    SetFocus(Item(ids::frmPath_txtPath));
  }
}

void frmPath::Command5_Click() { frmPath_Command5_Click(session_); }

void frmPath::OnClose() { modSetup::CancelSetup(session_); }

}  // namespace kv::ui
