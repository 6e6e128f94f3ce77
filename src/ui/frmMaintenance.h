#pragma once
#include "ui/Form.h"

namespace kv::ui {

// Maintenance of an installed package: extend/continue, repair, reinstall,
// uninstall.
class frmMaintenance : public Form {
 public:
  frmMaintenance(RealUi& ui, Session& session) : Form(ui, session, L"frmMaintenance") {}

 protected:
  void OnLoad() override;
  void OnCommand(int id, int code) override;
};

}  // namespace kv::ui
