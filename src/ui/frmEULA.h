#pragma once
#include "ui/Form.h"

namespace kv::ui {

// The licence agreement page.
class frmEULA : public Form {
 public:
  frmEULA(RealUi& ui, Session& session) : Form(ui, session, L"frmEULA") {}

 protected:
  void OnLoad() override;
  void OnCommand(int id, int code) override;
};

// Line breaks as the multi-line text box needs them (CR LF): licence files
// written with bare LF or CR would otherwise show as one long line.
std::string ToEditLineBreaks(const std::string& text);

}  // namespace kv::ui
