#pragma once
#include "ui/Form.h"

namespace kv::ui {

// The finish page, after an installation or an uninstallation.
class frmFinished : public Form {
 public:
  frmFinished(RealUi& ui, Session& session) : Form(ui, session, L"frmFinished") {}

 protected:
  void OnLoad() override;
  void OnCommand(int id, int code) override;

 private:
  void Init(bool uninstallMode);
  void cmdNext_Click();
};

}  // namespace kv::ui
