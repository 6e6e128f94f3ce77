// KVSetup.exe: gathers the command tail, builds the window side and the
// session, runs the start-up routine and then the message loop for as long
// as a form is loaded.
#include <windows.h>
#include <commctrl.h>
#include <objbase.h>

#include "platform/WinString.h"
#include "session/Session.h"
#include "startup/Startup.h"
#include "startup/WizardFlow.h"
#include "ui/RealUi.h"
#include "ui/Theme.h"

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int) {
  INITCOMMONCONTROLSEX icc{sizeof icc, ICC_STANDARD_CLASSES | ICC_WIN95_CLASSES};
  InitCommonControlsEx(&icc);
  // The folder browser needs COM on this thread.
  HRESULT com = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE);

  const std::string tail = kv::modSetup::CommandTailOf(kv::win::Narrow(GetCommandLineW()));
  {
    kv::ui::RealUi ui(instance);
    kv::Session session(ui);
    ui.Attach(session);
    kv::modSetup::Main(session, tail);
    ui.RunMessageLoop();
    // An uninstallation from the maintenance page may have removed the last
    // package: the installer's folder goes once this process has ended.
    kv::modSetup::StartSelfRemoval(session);
    if (session.WindowIcon) DestroyIcon(reinterpret_cast<HICON>(session.WindowIcon));
  }
  kv::ui::ReleaseFonts();
  if (SUCCEEDED(com)) CoUninitialize();
  return 0;
}
