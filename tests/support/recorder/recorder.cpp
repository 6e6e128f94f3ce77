// kv_recorder: a stand-in for programs the installer starts (registration
// helper, component servers, self-delete helper). It appends its complete
// command line, exactly as Windows passed it, as one UTF-8 line to a log.
//
// Log file: the environment variable KV_RECORDER_LOG, else "<own name>.log"
// beside the executable (so a copy named dllregsv.exe writes dllregsv.log).
#include <windows.h>

#include <cwchar>
#include <string>

#include "platform/WinString.h"

namespace {

std::wstring EnvVar(const wchar_t* name) {
  wchar_t buffer[32768];
  DWORD n = GetEnvironmentVariableW(name, buffer, 32768);
  if (n == 0 || n >= 32768) return {};
  return std::wstring(buffer, n);
}

std::wstring OwnPathWithoutExtension() {
  wchar_t buffer[32768];
  DWORD n = GetModuleFileNameW(nullptr, buffer, 32768);
  std::wstring path(buffer, n);
  size_t slash = path.find_last_of(L"\\/");
  size_t dot = path.find_last_of(L'.');
  if (dot != std::wstring::npos && (slash == std::wstring::npos || dot > slash)) path.resize(dot);
  return path;
}

}  // namespace

int wmain() {
  std::wstring base = OwnPathWithoutExtension();
  std::wstring log = EnvVar(L"KV_RECORDER_LOG");
  if (log.empty()) log = base + L".log";

  std::string line = kv::win::Narrow(GetCommandLineW()) + "\r\n";
  // Several recorders may run at once: append in one write, retrying while
  // another one holds the file.
  for (int attempt = 0; attempt < 200; ++attempt) {
    HANDLE h = CreateFileW(log.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h != INVALID_HANDLE_VALUE) {
      DWORD written = 0;
      WriteFile(h, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
      CloseHandle(h);
      break;
    }
    Sleep(10);
  }
  return 0;
}
