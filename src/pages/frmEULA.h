#pragma once
// The licence agreement page: the licence text and its two answers.
// The window (ui/) displays these texts and forwards its clicks here, so that
// all of it runs under the scripted user in tests.
#include <string>

#include "session/Session.h"

namespace kv::pages {

extern const char* const kEulaFailureText;
// The licence text (eula.txt in the package folder, ANSI code page), or the
// failure text when it cannot be read.
std::string frmEULA_Form_Load(const Session& session);
void frmEULA_cmdYes_Click(Session& session);
void frmEULA_cmdNo_Click(Session& session);

}  // namespace kv::pages
