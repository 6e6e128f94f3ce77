#pragma once
// The installation path page: the folder shown, the folder browser and the checks behind "Weiter".
// The window (ui/) displays these texts and forwards its clicks here, so that
// all of it runs under the scripted user in tests.
#include <string>

#include "session/Session.h"

namespace kv::pages {

struct PathPageSetup {
  std::string lblText;
  std::string txtPath;
  bool locked = false;  // txtPath read-only on button-face colour, cmdChoose disabled
};
PathPageSetup frmPath_Form_Load(const Session& session);
// The folder browser; returns the new text of txtPath (unchanged when cancelled).
std::string frmPath_cmdChoose_Click(Session& session, const std::string& current);
// The folder chosen in the browser joined with the last component of DefaultPath.
std::string frmPath_ChosenPath(const std::string& folder, const std::string& defaultPath);
// Cleans `path` in place (the page shows the cleaned text) and checks it; may
// create the folder. Messages go to the user through session.Ui.
bool frmPath_ValidatePath(Session& session, std::string& path);
// Validates; on success stores the folder and goes on to the licence page.
bool frmPath_Command1_Click(Session& session, std::string& path);
// Back to the maintenance page, or the cancel procedure on a new installation.
void frmPath_Command5_Click(Session& session);

}  // namespace kv::pages
