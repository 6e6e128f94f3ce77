#pragma once
#include "ui/Form.h"

namespace kv::ui {

// The installation path page.
class frmPath : public Form {
 public:
  frmPath(RealUi& ui, Session& session) : Form(ui, session, L"frmPath") {}

 protected:
  void OnLoad() override;
  void OnCommand(int id, int code) override;
  // "Abbrechen" of a maintenance run goes back to the maintenance page; the
  // close box always ends the wizard, as it does on every other page.
  void OnClose() override;

 private:
  void cmdChoose_Click();
  void Command1_Click();
  void Command5_Click();
};

}  // namespace kv::ui
