#pragma once
// The shortcut options page: which choices it offers, and the link proxies and Run value it writes.
// The window (ui/) displays these texts and forwards its clicks here, so that
// all of it runs under the scripted user in tests.
#include <string>

#include "session/Session.h"

namespace kv::pages {

struct LinksPageSetup {
  std::string lblWelcome;
  bool showWinStart = false;
  bool startMenu = false, desktop = false, winStart = false;
};
LinksPageSetup frmLinks_Form_Load(const Session& session);
struct LinksChoice {
  bool forAll = false;
  bool startMenu = false, desktop = false, winStart = false;
};
// Writes the proxy files and the Run value; no navigation.
void frmLinks_WriteLinks(Session& session, const LinksChoice& choice);
// WriteLinks, then the finish page.
void frmLinks_cmdNext_Click(Session& session, const LinksChoice& choice);
inline constexpr const char* kRunKey = "Software\\Microsoft\\Windows\\CurrentVersion\\Run";

}  // namespace kv::pages
