#pragma once
// The other-version page: its texts and the three ways on (update, remove then install, install beside).
// The window (ui/) displays these texts and forwards its clicks here, so that
// all of it runs under the scripted user in tests.
#include <string>

#include "session/Session.h"

namespace kv::pages {

struct OtherInstalledSetup {
  std::string lblTitle;
  std::string lblText;
  bool offerUpdate = true;  // Command1/Label2 visible
};
OtherInstalledSetup frmOtherInstalled_Form_Load(const Session& session);
void frmOtherInstalled_Command1_Click(Session& session);  // update
void frmOtherInstalled_Command2_Click(Session& session);  // remove, then install
void frmOtherInstalled_Command3_Click(Session& session);  // install beside it
void frmOtherInstalled_Command5_Click(Session& session);  // cancel

}  // namespace kv::pages
