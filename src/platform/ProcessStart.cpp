#include "platform/ProcessStart.h"

#include <windows.h>

#include <string>
#include <vector>

#include "platform/WinString.h"

namespace kv::modTools {

bool StartCommandLine(const std::string& commandLine, int32_t showMode, bool wait, uint32_t* exitCode) {
  if (commandLine.empty()) return false;
  // CreateProcessW may write into the command-line buffer, so it gets a copy.
  std::wstring wide = win::Widen(commandLine);
  std::vector<wchar_t> buffer(wide.begin(), wide.end());
  buffer.push_back(L'\0');

  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = static_cast<WORD>(showMode);
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(nullptr, buffer.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
    return false;
  }
  CloseHandle(process.hThread);
  if (wait) {
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    if (exitCode != nullptr && GetExitCodeProcess(process.hProcess, &code)) *exitCode = code;
  }
  CloseHandle(process.hProcess);
  return true;
}

}  // namespace kv::modTools
