#pragma once
// The uninstall progress page frmUninstall: the text of its one label and
// where the label stands. The window (ui/) applies both.
#include <string>

#include "session/Session.h"

namespace kv::pages {

// lblPlease for the package being removed (`displayName` is Name + " " +
// Version). During an update the name is not shown at all.
std::string frmUninstall_PleaseText(const Session& session, const std::string& displayName);

// Top of the label, centred vertically in the page's inner height: the
// difference is rounded to a whole number first, then halved in whole
// numbers (truncating). A label taller than the page gets a negative top.
int frmUninstall_LabelTop(double innerHeight, double labelHeight);

}  // namespace kv::pages
