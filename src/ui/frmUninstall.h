#pragma once
#include "ui/Form.h"

namespace kv::ui {

// The page on screen while a package is removed; no buttons.
class frmUninstall : public Form {
 public:
  frmUninstall(RealUi& ui, Session& session) : Form(ui, session, L"frmUninstall") {}

 protected:
  void OnLoad() override;
  void OnClose() override {}  // the removal cannot be interrupted

 private:
  void Init(const std::string& displayName);
};

}  // namespace kv::ui
