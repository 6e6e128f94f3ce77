#pragma once
// The maintenance page: the choices offered and what each of them starts.
// The window (ui/) displays these texts and forwards its clicks here, so that
// all of it runs under the scripted user in tests.
#include <string>

#include "session/Session.h"

namespace kv::pages {

struct MaintenanceSetup {
  std::string lblChoose;
  bool sourceReachable = true;  // all four choices; else only the uninstall
  std::string lblMore;          // shown in Frame1 when the source is gone
};
MaintenanceSetup frmMaintenance_Form_Load(const Session& session);
std::string frmMaintenance_MoreText(const std::string& sourcePath);
void frmMaintenance_Command1_Click(Session& session);  // new components / continue
void frmMaintenance_Command2_Click(Session& session);  // repair
void frmMaintenance_Command3_Click(Session& session);  // reinstall
// Asks; on Yes uninstalls and shows the finish page. False when refused, or
// when the user cancelled at one of the removal's prompts.
bool frmMaintenance_Command4_Click(Session& session);
void frmMaintenance_Command5_Click(Session& session);  // cancel

}  // namespace kv::pages
