#pragma once
#include "ui/Form.h"

namespace kv::ui {

// The welcome page.
class frmStart : public Form {
 public:
  frmStart(RealUi& ui, Session& session) : Form(ui, session, L"frmStart") {}

 protected:
  void OnLoad() override;
  void OnCommand(int id, int code) override;

 private:
  void cmdNext_Click();
  void cmdCancel_Click();
};

}  // namespace kv::ui
