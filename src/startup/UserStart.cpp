#include "startup/UserStart.h"

#include <vector>

#include "platform/ProcessStart.h"
#include "platform/WinString.h"

namespace kv::modSetup {
namespace {

// One starter per desktop session: the elevated copy may run under another
// account (an administrator typed in their password), so the names carry the
// session, not the user. Pipes have no session namespace of their own.
std::wstring PipeName() {
  DWORD session = 0;
  ProcessIdToSessionId(GetCurrentProcessId(), &session);
  return L"\\\\.\\pipe\\KVSetup.UserStart." + std::to_wstring(session);
}
constexpr wchar_t kMarker[] = L"Local\\KVSetup.UserStart";
constexpr DWORD kBuffer = 65536;       // a command line and a folder, UTF-16
constexpr DWORD kRequestWaitMs = 5000;  // a connected client writes at once
// The wizard, and with it this process, ends right after the start: the
// program gets this long to come up first.
constexpr DWORD kProgramReadyMs = 10000;

// The request: command line and folder, each ended by a zero character.
std::wstring Request(const std::string& commandLine, const std::string& folder) {
  std::wstring r = win::Widen(commandLine);
  r.push_back(L'\0');
  r += win::Widen(folder);
  r.push_back(L'\0');
  return r;
}

}  // namespace

UserStarter::UserStarter() {
  marker_ = CreateEventW(nullptr, TRUE, FALSE, kMarker);
  // Only the first instance: a pipe of that name already there is not ours,
  // and nothing is served through it.
  pipe_ = CreateNamedPipeW(PipeName().c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
                           PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT, 1, kBuffer, kBuffer, 0, nullptr);
}

UserStarter::~UserStarter() {
  if (pipe_ != INVALID_HANDLE_VALUE) CloseHandle(pipe_);
  if (marker_) CloseHandle(marker_);
}

void UserStarter::ServeUntil(HANDLE process) {
  HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (pipe_ == INVALID_HANDLE_VALUE || !event) {
    WaitForSingleObject(process, INFINITE);
    if (event) CloseHandle(event);
    return;
  }
  while (Serve(process, event)) {
  }
  CloseHandle(event);
}

// One client: false when `process` ended instead.
bool UserStarter::Serve(HANDLE process, HANDLE event) {
  OVERLAPPED io{};
  io.hEvent = event;
  ResetEvent(event);
  if (!ConnectNamedPipe(pipe_, &io)) {
    const DWORD error = GetLastError();
    if (error == ERROR_IO_PENDING) {
      const HANDLE both[] = {process, event};
      if (WaitForMultipleObjects(2, both, FALSE, INFINITE) != WAIT_OBJECT_0 + 1) {
        CancelIo(pipe_);
        return false;
      }
    } else if (error != ERROR_PIPE_CONNECTED) {
      WaitForSingleObject(process, INFINITE);
      return false;
    }
  }
  std::vector<wchar_t> request(kBuffer / sizeof(wchar_t) + 1, L'\0');
  DWORD got = 0;
  ResetEvent(event);
  bool read = ReadFile(pipe_, request.data(), kBuffer, &got, &io) || GetLastError() == ERROR_IO_PENDING;
  if (read && WaitForSingleObject(event, kRequestWaitMs) != WAIT_OBJECT_0) {
    CancelIo(pipe_);
    read = false;
  }
  read = read && GetOverlappedResult(pipe_, &io, &got, TRUE);
  if (read) {
    // The buffer is zeroed and one character longer than a request: a
    // missing folder reads as empty, and the program then starts in ours.
    const std::wstring commandLine(request.data());
    const std::wstring folder(request.data() + commandLine.size() + 1);
    const DWORD started =
        modTools::StartProgramReady(win::Narrow(commandLine), win::Narrow(folder), kProgramReadyMs) ? 1 : 0;
    ResetEvent(event);
    DWORD written = 0;
    if (WriteFile(pipe_, &started, sizeof(started), &written, &io) || GetLastError() == ERROR_IO_PENDING) {
      if (WaitForSingleObject(event, kRequestWaitMs) != WAIT_OBJECT_0) CancelIo(pipe_);
      GetOverlappedResult(pipe_, &io, &written, TRUE);
    }
  }
  DisconnectNamedPipe(pipe_);
  return true;
}

bool UserStarterWaiting() {
  HANDLE marker = OpenEventW(SYNCHRONIZE, FALSE, kMarker);
  // Under another account the user's mark may be there but closed to us.
  if (!marker) return GetLastError() == ERROR_ACCESS_DENIED;
  CloseHandle(marker);
  return true;
}

bool StartProgramAsUser(const std::string& commandLine, const std::string& folder) {
  const std::wstring name = PipeName();
  HANDLE pipe = CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  if (pipe == INVALID_HANDLE_VALUE && GetLastError() == ERROR_PIPE_BUSY && WaitNamedPipeW(name.c_str(), 5000)) {
    pipe = CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  }
  if (pipe == INVALID_HANDLE_VALUE) {
    // Nobody waits: this run has the token it was started with.
    return modTools::StartCommandLine(commandLine, modTools::kShowNormalFocus, false, nullptr, folder);
  }
  DWORD mode = PIPE_READMODE_MESSAGE;
  SetNamedPipeHandleState(pipe, &mode, nullptr, nullptr);
  // The program's window may come to the front although the starter has
  // none of its own.
  ULONG server = 0;
  if (GetNamedPipeServerProcessId(pipe, &server)) AllowSetForegroundWindow(server);
  std::wstring request = Request(commandLine, folder);
  DWORD started = 0, got = 0;
  const bool answered =
      TransactNamedPipe(pipe, request.data(), static_cast<DWORD>(request.size() * sizeof(wchar_t)), &started,
                        sizeof(started), &got, nullptr) &&
      got == sizeof(started);
  CloseHandle(pipe);
  // Never the elevated start instead: the program would run with the
  // administrator's rights, which is what the starter is there to avoid.
  return answered && started == 1;
}

}  // namespace kv::modSetup
