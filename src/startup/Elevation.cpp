#include "startup/Elevation.h"

#include <windows.h>
#include <shellapi.h>

#include "platform/WinString.h"
#include "startup/UserStart.h"

namespace kv::modSetup {

bool IsElevated() {
  HANDLE token = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) return false;
  TOKEN_ELEVATION elevation{};
  DWORD size = 0;
  BOOL ok = GetTokenInformation(token, TokenElevation, &elevation, sizeof(elevation), &size);
  DWORD error = ok ? ERROR_SUCCESS : GetLastError();
  CloseHandle(token);
  // Systems without elevation have no such information class: the token's
  // rights are all there is.
  if (!ok) return error == ERROR_INVALID_PARAMETER;
  return elevation.TokenIsElevated != 0;
}

bool NeedsRelaunch() { return !IsElevated() && !UserStarterWaiting(); }

bool RelaunchElevated(const std::string& exePath, const std::string& commandTail, uint32_t* exitCode) {
  std::wstring file = win::Widen(exePath);
  std::wstring parameters = win::Widen(commandTail);
  // Ready before the elevated copy can ask.
  UserStarter starter;
  SHELLEXECUTEINFOW info{};
  info.cbSize = sizeof(info);
  info.fMask = SEE_MASK_NOASYNC | SEE_MASK_NOCLOSEPROCESS;
  info.lpVerb = L"runas";
  info.lpFile = file.c_str();
  info.lpParameters = parameters.c_str();
  info.nShow = SW_SHOWNORMAL;
  if (!ShellExecuteExW(&info)) return false;
  if (info.hProcess) {
    starter.ServeUntil(info.hProcess);
    DWORD code = 0;
    if (exitCode && GetExitCodeProcess(info.hProcess, &code)) *exitCode = code;
    CloseHandle(info.hProcess);
  }
  return true;
}

}  // namespace kv::modSetup
