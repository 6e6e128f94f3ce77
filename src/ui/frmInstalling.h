#pragma once
#include "ui/ProgressPage.h"

namespace kv::ui {

// The installation progress page: runs the installation once from its timer,
// so that the page is on screen before the long call starts. "Abbrechen" and
// the close box ask the cancel questions; the run stops between two files.
class frmInstalling : public ProgressPage {
 public:
  frmInstalling(RealUi& ui, Session& session) : ProgressPage(ui, session, L"frmInstalling") {}

 protected:
  void OnLoad() override;
  void OnTimer(UINT_PTR id) override;
  void OnCommand(int id, int code) override;
  void OnClose() override;

 private:
  void tmrStart_Timer();
  static constexpr UINT_PTR tmrStart = 1;
  static constexpr UINT kInterval = 200;  // ms; only long enough to paint first
  bool running_ = false;
  bool closing_ = false;
};

}  // namespace kv::ui
