#pragma once
#include "ui/Form.h"

namespace kv::ui {

// The shortcut options page.
class frmLinks : public Form {
 public:
  frmLinks(RealUi& ui, Session& session) : Form(ui, session, L"frmLinks") {}

 protected:
  void OnLoad() override;
  void OnCommand(int id, int code) override;

 private:
  void cmdNext_Click();
};

}  // namespace kv::ui
