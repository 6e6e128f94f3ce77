#pragma once
#include "pages/frmFinished.h"
#include "ui/Form.h"

namespace kv::ui {

// The finish page, after an installation or an uninstallation.
class frmFinished : public Form {
 public:
  frmFinished(RealUi& ui, Session& session) : Form(ui, session, L"frmFinished") {}

 protected:
  void OnLoad() override;
  void OnCommand(int id, int code) override;
  // The close box and Escape end the wizard, but never restart the computer
  // or start the program: only "Schließen" acts on those choices.
  bool Closable() const override { return true; }
  void OnClose() override;

 private:
  void Init(bool uninstallMode);
  void cmdNext_Click();
  void Leave(const pages::FinishedChoice& choice);
};

}  // namespace kv::ui
