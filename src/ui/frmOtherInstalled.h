#pragma once
#include "ui/Form.h"

namespace kv::ui {

// Another version of the product is installed: update it, replace it or
// install beside it.
class frmOtherInstalled : public Form {
 public:
  frmOtherInstalled(RealUi& ui, Session& session) : Form(ui, session, L"frmOtherInstalled") {}

 protected:
  void OnLoad() override;
  void OnCommand(int id, int code) override;
};

}  // namespace kv::ui
