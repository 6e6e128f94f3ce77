// KVSetup.exe: gathers the command tail, prepares common controls and COM,
// and hands over to the installer's run, whose result is the exit code.
#include <windows.h>
#include <commctrl.h>
#include <objbase.h>

#include "platform/WinString.h"
#include "startup/CommandLine.h"
#include "ui/Theme.h"
#include "unattended/InstallerMain.h"

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int) {
  INITCOMMONCONTROLSEX icc{sizeof icc, ICC_STANDARD_CLASSES | ICC_WIN95_CLASSES};
  InitCommonControlsEx(&icc);
  // The folder browser needs COM on this thread.
  HRESULT com = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE);

  const std::string tail = kv::modSetup::CommandTailOf(kv::win::Narrow(GetCommandLineW()));
  const int code = kv::unattended::InstallerMain(instance, tail);
  kv::ui::ReleaseFonts();
  if (SUCCEEDED(com)) CoUninitialize();
  return code;
}
