#pragma once
// Small helpers shared by the page logic.
#include <string>

#include "session/Session.h"

namespace kv::pages {

// A plain message with the exclamation icon under the wizard's title.
inline void Tell(Session& session, const std::string& text) {
  session.Ui.MsgBox({text, session.SetupTitle, MsgButtons::OK, MsgIcon::Exclamation, 1});
}

}  // namespace kv::pages
