#pragma once
#include "ui/Form.h"

namespace kv::ui {

// The installation progress page: runs the installation once from its timer,
// so that the page is on screen before the long call starts.
class frmInstalling : public Form {
 public:
  frmInstalling(RealUi& ui, Session& session) : Form(ui, session, L"frmInstalling") {}

 protected:
  void OnLoad() override;
  void OnTimer(UINT_PTR id) override;
  void OnClose() override;

 private:
  void tmrStart_Timer();
  static constexpr UINT_PTR tmrStart = 1;
  static constexpr UINT kInterval = 200;  // ms; only long enough to paint first
  bool running_ = false;
  bool closing_ = false;
};

}  // namespace kv::ui
