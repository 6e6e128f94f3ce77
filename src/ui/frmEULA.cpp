#include "ui/frmEULA.h"

#include "ui/ControlIds.h"
#include "pages/frmEULA.h"

namespace kv::ui {

using namespace pages;  // this window's page logic

std::string ToEditLineBreaks(const std::string& text) {
  std::string out;
  out.reserve(text.size() + text.size() / 16);
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c == '\r') {
      out += "\r\n";
      if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
    } else if (c == '\n') {
      out += "\r\n";
    } else {
      out += c;
    }
  }
  return out;
}

void frmEULA::OnLoad() {
  const int x = Layout::kLeft, w = Layout::kRight - Layout::kLeft;
  const std::string title = "Endbenutzer-&Lizenzvertrag (EULA)";
  const int titleH = MeasureText(title, w, FontKind::Title);
  Label(ids::frmEULA_Label1, title, x, 18, w, titleH, FontKind::Title, 0, true);
  const int y = 18 + titleH + 10;
  const int boxBottom = Layout::kLineY - 54;
  Edit(ids::frmEULA_txtEULA, ToEditLineBreaks(frmEULA_Form_Load(session_)), x, y, w, boxBottom - y,
       ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | WS_VSCROLL, FontKind::Small);
  FlowLabel(ids::frmEULA_Label2, "Stimmen Sie diesem Vertrag und allen darin genannten Bedingungen zu?", x,
            boxBottom + 10, w, FontKind::Bold);
  SeparatorLines(Layout::kLineY, Layout::kLeft, Layout::kRight);
  Button(ids::frmEULA_cmdYes, "&Ja", Layout::kRight - 2 * Layout::kButtonW - 8, Layout::kButtonY, Layout::kButtonW,
         Layout::kButtonH, true);
  Button(ids::frmEULA_cmdNo, "&Nein", Layout::kRight - Layout::kButtonW, Layout::kButtonY, Layout::kButtonW,
         Layout::kButtonH);
  cancelId_ = ids::frmEULA_cmdNo;
}

void frmEULA::OnCommand(int id, int code) {
  if (code != BN_CLICKED) return;
  if (id == ids::frmEULA_cmdYes) frmEULA_cmdYes_Click(session_);
  if (id == ids::frmEULA_cmdNo) frmEULA_cmdNo_Click(session_);
}

}  // namespace kv::ui
