#include "platform/ProcessStart.h"

#include <windows.h>

#include <string>
#include <vector>

#include "platform/WinString.h"

namespace kv::modTools {
namespace {

// The started process's handle, or nullptr.
HANDLE Start(const std::string& commandLine, int32_t showMode, const std::string& folder) {
  if (commandLine.empty()) return nullptr;
  // CreateProcessW may write into the command-line buffer, so it gets a copy.
  std::wstring wide = win::Widen(commandLine);
  std::vector<wchar_t> buffer(wide.begin(), wide.end());
  buffer.push_back(L'\0');

  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = static_cast<WORD>(showMode);
  PROCESS_INFORMATION process{};
  const std::wstring wideFolder = win::Widen(folder);
  if (!CreateProcessW(nullptr, buffer.data(), nullptr, nullptr, FALSE, 0, nullptr,
                      wideFolder.empty() ? nullptr : wideFolder.c_str(), &startup, &process)) {
    return nullptr;
  }
  CloseHandle(process.hThread);
  return process.hProcess;
}

}  // namespace

bool StartCommandLine(const std::string& commandLine, int32_t showMode, bool wait, uint32_t* exitCode,
                      const std::string& folder) {
  HANDLE process = Start(commandLine, showMode, folder);
  if (!process) return false;
  if (wait) {
    WaitForSingleObject(process, INFINITE);
    DWORD code = 0;
    if (exitCode != nullptr && GetExitCodeProcess(process, &code)) *exitCode = code;
  }
  CloseHandle(process);
  return true;
}

StartedProgram::~StartedProgram() {
  if (process_) CloseHandle(process_);
}

StartedProgram::StartedProgram(StartedProgram&& other) noexcept : process_(other.process_) { other.process_ = nullptr; }

bool StartedProgram::EndsWithin(uint32_t timeoutMs) const {
  return process_ && WaitForSingleObject(process_, timeoutMs) == WAIT_OBJECT_0;
}

StartedProgram StartProgram(const std::string& commandLine, int32_t showMode) {
  StartedProgram program;
  program.process_ = Start(commandLine, showMode, {});
  return program;
}

bool StartProgramReady(const std::string& commandLine, const std::string& folder, uint32_t timeoutMs) {
  HANDLE process = Start(commandLine, kShowNormalFocus, folder);
  if (!process) return false;
  WaitForInputIdle(process, timeoutMs);
  CloseHandle(process);
  return true;
}

}  // namespace kv::modTools
