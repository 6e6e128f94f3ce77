#pragma once
// The welcome page frmStart: its texts and what its buttons do. The window
// itself (ui/) only displays these texts and forwards the clicks here.
#include <string>

#include "session/Session.h"

namespace kv::pages {

struct StartPageTexts {
  std::string title;     // "Herzlich willkommen bei Kivra Setup!"
  std::string welcome;   // lblWelcome
  std::string welcome2;  // the second welcome text
  std::string cont;      // lblContinue
  std::string note;      // fixed note about cancelling
  std::string next;      // cmdNext caption
  std::string cancel;    // cmdCancel caption
};

StartPageTexts frmStart_Texts(const Session& session);

// "Weiter >": the other-version page when another version is installed,
// otherwise the path page.
void frmStart_cmdNext_Click(Session& session);
// "Abbrechen".
void frmStart_cmdCancel_Click(Session& session);

}  // namespace kv::pages
