#pragma once
#include "ui/ProgressPage.h"

namespace kv::ui {

// The page on screen while a package is removed; no buttons.
// The removal cannot be interrupted: no cancel, and the close box is disabled.
class frmUninstall : public ProgressPage {
 public:
  frmUninstall(RealUi& ui, Session& session) : ProgressPage(ui, session, L"frmUninstall") {}

 protected:
  void OnLoad() override;

 private:
  void Init(const std::string& displayName);
};

}  // namespace kv::ui
