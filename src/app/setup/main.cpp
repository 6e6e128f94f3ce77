// setup.exe: the medium's start, the component-registration helper
// (dllregsv.exe) and the installer's self-delete helper (DelKVStp.exe).
#include <windows.h>

#include <string>

#include "app/setup/SetupRoles.h"
#include "platform/WinString.h"
#include "startup/CommandLine.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
  std::wstring own(32768, L'\0');
  own.resize(GetModuleFileNameW(nullptr, own.data(), static_cast<DWORD>(own.size())));
  const std::string tail = kv::modSetup::CommandTailOf(kv::win::Narrow(GetCommandLineW()));
  return kv::setupexe::Run(tail, kv::win::Narrow(own));
}
