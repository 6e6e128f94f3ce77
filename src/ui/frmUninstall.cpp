#include "ui/frmUninstall.h"

#include "package/CPackage.h"
#include "session/Session.h"
#include "pages/frmUninstall.h"
#include "ui/ControlIds.h"
#include "ui/RealUi.h"

namespace kv::ui {

void frmUninstall::OnLoad() {
  // The package being removed: the one chosen to go first (an older version
  // or the package itself before a reinstall) until the installation has
  // started; after that only a rollback of the package itself removes things.
  const CPackage* pkg = session_.Package.get();
  if (session_.PackageToRemoveFirst && !ui_.InstallingPageShown()) pkg = session_.PackageToRemoveFirst.get();
  Init(pkg ? pkg->Name + " " + pkg->Version : std::string());
  ui_.SetMousePointer(MousePointer::Hourglass);
}

void frmUninstall::Init(const std::string& displayName) {
  const std::string text = pages::frmUninstall_PleaseText(session_, displayName);
  const int w = Layout::kRight - Layout::kLeft;
  const int h = MeasureText(text, w, FontKind::Bold);
  ProgressRows(ids::frmUninstall_lblPlease, text, pages::frmUninstall_LabelTop(Layout::kHeight, h), h);
}

}  // namespace kv::ui
