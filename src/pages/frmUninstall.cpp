#include "pages/frmUninstall.h"

#include <cmath>

namespace kv::pages {

std::string frmUninstall_PleaseText(const Session& session, const std::string& displayName) {
  if (session.IsUpdate) return "Nicht mehr benötigte Dateien der alten Version werden entfernt...";
  return "Bitte warten Sie, während " + displayName + " deinstalliert wird...";
}

int frmUninstall_LabelTop(double innerHeight, double labelHeight) {
  // Rounding to even on .5, as the old integer conversion did.
  long diff = std::lrint(innerHeight - labelHeight);
  return static_cast<int>(diff / 2);  // C++ division truncates toward zero
}

}  // namespace kv::pages
