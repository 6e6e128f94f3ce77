#include "app/setup/SetupRoles.h"

#include <windows.h>
#include <objbase.h>
#include <tlhelp32.h>

#include <vector>

#include "app/setup/OneFile.h"
#include "base/StringTools.h"
#include "base/Text.h"
#include "platform/FileTools.h"
#include "platform/ProcessStart.h"
#include "platform/RegTools.h"
#include "platform/Version.h"
#include "platform/WinString.h"
#include "platform/LogFile.h"
#include "startup/Elevation.h"
#include "startup/InstanceGuard.h"
#include "startup/UserStart.h"
#include "startup/Switches.h"

namespace kv::setupexe {
namespace {

const char* const kTitle = "Kivra Setup";
const char* const kInstallerName = "KVSetup.exe";
// What the installer puts into its folder besides the staged packages.
const char* const kInstallerFiles[] = {"KVSetup.exe", "dllregsv.exe", "DelKVStp.exe"};

std::vector<std::string> SplitArguments(const std::string& tail) {
  std::vector<std::string> args;
  size_t i = 0;
  while (i < tail.size()) {
    while (i < tail.size() && (tail[i] == ' ' || tail[i] == '\t')) ++i;
    if (i >= tail.size()) break;
    std::string arg;
    bool quoted = false;
    while (i < tail.size() && (quoted || (tail[i] != ' ' && tail[i] != '\t'))) {
      if (tail[i] == '"') {
        quoted = !quoted;
      } else {
        arg += tail[i];
      }
      ++i;
    }
    args.push_back(arg);
  }
  return args;
}

std::string WithoutTrailingBackslash(std::string path) {
  // A drive root keeps its backslash: "D:" alone means the current folder there.
  if (path.size() > 3 && path.back() == '\\') path.pop_back();
  return path;
}

bool DeleteIfPresent(const std::string& path) {
  std::wstring wide = win::Widen(path);
  if (GetFileAttributesW(wide.c_str()) == INVALID_FILE_ATTRIBUTES) return true;
  SetFileAttributesW(wide.c_str(), FILE_ATTRIBUTE_NORMAL);
  return DeleteFileW(wide.c_str()) != FALSE;
}

// Removes the empty folders below `folder` and then the folder itself;
// true when it is gone.
bool RemoveEmptyTree(const std::string& folder) {
  WIN32_FIND_DATAW found;
  HANDLE search = FindFirstFileW(win::Widen(folder + "\\*").c_str(), &found);
  if (search != INVALID_HANDLE_VALUE) {
    do {
      if (found.cFileName[0] == L'.') continue;
      if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) RemoveEmptyTree(folder + "\\" + win::Narrow(found.cFileName));
    } while (FindNextFileW(search, &found));
    FindClose(search);
  }
  return RemoveDirectoryW(win::Widen(folder).c_str()) != FALSE;
}

std::string ProcessImage(HANDLE process) {
  std::wstring buffer(32768, L'\0');
  DWORD size = static_cast<DWORD>(buffer.size());
  if (!QueryFullProcessImageNameW(process, 0, buffer.data(), &size)) return {};
  buffer.resize(size);
  return win::Narrow(buffer);
}

// Waits for every running process whose image is `exe`; false when one is
// still running at the deadline.
bool WaitForProcessesOf(const std::string& exe, ULONGLONG deadline) {
  HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  if (snapshot == INVALID_HANDLE_VALUE) return true;
  std::vector<HANDLE> running;
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof(entry);
  const DWORD self = GetCurrentProcessId();
  for (BOOL more = Process32FirstW(snapshot, &entry); more; more = Process32NextW(snapshot, &entry)) {
    if (entry.th32ProcessID == self || entry.th32ProcessID == 0) continue;
    HANDLE process = OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, entry.th32ProcessID);
    if (!process) continue;
    if (EqualsNoCase(ProcessImage(process), exe)) {
      running.push_back(process);
    } else {
      CloseHandle(process);
    }
  }
  CloseHandle(snapshot);
  bool ended = true;
  for (HANDLE process : running) {
    ULONGLONG now = GetTickCount64();
    DWORD wait = now >= deadline ? 0 : static_cast<DWORD>(deadline - now);
    if (WaitForSingleObject(process, wait) != WAIT_OBJECT_0) ended = false;
    CloseHandle(process);
  }
  return ended;
}

// Nothing of ours is a DLL: the start never looks for one beside itself (a
// downloads folder holds whatever else was downloaded). version.dll comes
// after this (see CMakeLists.txt). Systems without the call are left as they
// are.
void LoadDllsFromSystemOnly() {
  using SetDirs = BOOL(WINAPI*)(DWORD);
  if (auto set = reinterpret_cast<SetDirs>(reinterpret_cast<void*>(
          GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "SetDefaultDllDirectories"))))
    set(LOAD_LIBRARY_SEARCH_SYSTEM32);
}

}  // namespace

Arguments ParseArguments(const std::string& commandTail) {
  Arguments result;
  std::vector<std::string> args = SplitArguments(commandTail);
  if (args.empty()) {
    result.role = Role::Bootstrap;
    return result;
  }
  if (args.size() == 2 && !args[0].empty()) {
    std::string option = LowerCase(args[1]);
    if (option == "/r" || option == "/u") {
      result.role = option == "/r" ? Role::Register : Role::Unregister;
      result.file = args[0];
    }
    return result;
  }
  if (args.size() == 3 && LowerCase(args[1]) == "/d" && !args[0].empty() && !args[2].empty()) {
    result.role = Role::SelfDelete;
    result.file = args[0];
    result.folder = args[2];
  }
  return result;
}

void ShowMessage(const std::string& text) {
  MessageBoxW(nullptr, win::Widen(text).c_str(), win::Widen(kTitle).c_str(), MB_OK | MB_ICONEXCLAMATION);
}

std::string InstallerFolder() {
  std::string programFiles = modRegTools::GetString("Software\\Microsoft\\Windows\\CurrentVersion", "ProgramFilesDir",
                                                    "c:\\Program Files", HKEY_LOCAL_MACHINE);
  if (!programFiles.empty() && programFiles.back() == '\\') programFiles.pop_back();
  return programFiles + "\\Kivra\\Setup\\";
}

bool NeedsCopy(const std::string& source, const std::string& target) {
  if (!modTools::FileExists(target)) return true;
  // 1: the installed copy is newer; 0: the same version.
  int32_t answer = modVersion::CompareFileVersions(target, source);
  return !(answer == 0 || answer == 1);
}

int PlaceInstaller(const std::string& mediumFolder, const std::string& installerFolder, const Tell& tell) {
  const std::string source = modTools::JoinPath(mediumFolder, kInstallerName);
  const std::string target = installerFolder + kInstallerName;
  if (!modTools::FileExists(source)) {
    tell("Das Installationsprogramm \"" + source +
         "\" wurde auf dem Installationsmedium nicht gefunden. Setup kann nicht gestartet werden.");
    return kCopyFailed;
  }
  if (NeedsCopy(source, target)) {
    modTools::MakePath(WithoutTrailingBackslash(installerFolder));
    std::wstring wideTarget = win::Widen(target);
    if (GetFileAttributesW(wideTarget.c_str()) != INVALID_FILE_ATTRIBUTES) {
      SetFileAttributesW(wideTarget.c_str(), FILE_ATTRIBUTE_NORMAL);
    }
    if (!CopyFileW(win::Widen(source).c_str(), wideTarget.c_str(), FALSE)) {
      tell("Das Installationsprogramm konnte nicht in den Ordner \"" + WithoutTrailingBackslash(installerFolder) +
           "\" kopiert werden. Bitte schließen Sie ein noch laufendes Setup, stellen Sie sicher, dass Sie über "
           "Administratorrechte verfügen, und starten Sie Setup erneut.");
      return kCopyFailed;
    }
  }
  return kOk;
}

int Bootstrap(const std::string& mediumFolder, const std::string& installerFolder, const Tell& tell,
              uint32_t* engineExit) {
  if (int placed = PlaceInstaller(mediumFolder, installerFolder, tell); placed != kOk) return placed;
  const std::string target = installerFolder + kInstallerName;
  const std::string command = "\"" + target + "\" -ifp \"" + WithoutTrailingBackslash(mediumFolder) + "\"";
  if (!modTools::StartCommandLine(command, modTools::kShowNormalFocus, engineExit != nullptr, engineExit)) {
    tell("Das Installationsprogramm \"" + target + "\" konnte nicht gestartet werden.");
    return kStartFailed;
  }
  return kOk;
}

int RegisterServer(const std::string& file, bool unregister) {
  UINT oldMode = SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  HMODULE library = LoadLibraryExW(win::Widen(file).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  SetErrorMode(oldMode);
  if (!library) return kLoadFailed;
  using Entry = HRESULT(STDAPICALLTYPE*)();
  auto entry = reinterpret_cast<Entry>(
      reinterpret_cast<void*>(GetProcAddress(library, unregister ? "DllUnregisterServer" : "DllRegisterServer")));
  int result = kNoEntryPoint;
  if (entry) {
    // Components register their classes through COM.
    HRESULT com = CoInitialize(nullptr);
    result = SUCCEEDED(entry()) ? kOk : kRegistrationFailed;
    if (SUCCEEDED(com)) CoUninitialize();
  }
  FreeLibrary(library);
  return result;
}

int SelfDelete(const std::string& installerExe, const std::string& folder, uint32_t timeoutMs) {
  const std::string dir = WithoutTrailingBackslash(folder);
  // Never touch anything but an installer folder named together with its
  // installer: a wrong argument must not cost the user a folder.
  if (!EqualsNoCase(modTools::ParentFolder(installerExe), dir)) return kBadArguments;

  const ULONGLONG deadline = GetTickCount64() + timeoutMs;
  bool gone = false;
  for (;;) {
    bool ended = WaitForProcessesOf(installerExe, deadline);
    if (ended && DeleteIfPresent(installerExe)) {
      gone = true;
      break;
    }
    if (GetTickCount64() >= deadline) break;
    Sleep(200);  // the process has ended but its image is not released yet
  }
  if (!gone) return kInstallerStillRunning;

  // The removal starts the registration helper without waiting for it (a
  // slow component must not stall it); its last unregistration may still be
  // at work and hold its file.
  WaitForProcessesOf(dir + "\\dllregsv.exe", deadline);
  for (const char* name : kInstallerFiles) DeleteIfPresent(dir + "\\" + name);
  return RemoveEmptyTree(dir) ? kOk : kFolderLeft;
}

namespace {

// Runs the installer from `medium` with the administrator's switches and
// hands its exit code on.
int StartWithSwitches(const std::string& medium, const modSetup::Switches& sw, const Tell& tell) {
  using namespace modSetup::exitcode;
  const std::string folder = InstallerFolder();
  std::string problem;
  if (PlaceInstaller(medium, folder, [&problem](const std::string& text) { problem = text; }) != kOk) {
    tell(problem);
    return kFatal;
  }
  const std::string command = "\"" + folder + kInstallerName + "\" " + modSetup::SwitchesCommand(sw) + " -ifp \"" +
                              WithoutTrailingBackslash(medium) + "\"";
  uint32_t code = kFatal;
  if (!modTools::StartCommandLine(command, modTools::kShowNormalFocus, /*wait=*/true, &code)) {
    tell("Das Installationsprogramm \"" + folder + kInstallerName + "\" konnte nicht gestartet werden.");
    return kFatal;
  }
  return static_cast<int>(code);
}

}  // namespace

namespace {

int RunWithSwitchesChecked(const modSetup::Switches& sw, const std::string& commandTail, const std::string& ownPath,
                           const Tell& tell) {
  using namespace modSetup::exitcode;
  if (!sw.error.empty()) return tell(sw.error), kBadSwitches;
  if (!sw.logFile.empty() && !modTools::LogFolderExists(sw.logFile)) {
    return tell("Der Ordner für die Protokolldatei existiert nicht: " + sw.logFile), kBadSwitches;
  }
  if (sw.help) {
    MessageBoxW(nullptr, win::Widen(modSetup::kSwitchHelp).c_str(), win::Widen(kTitle).c_str(),
                MB_OK | MB_ICONINFORMATION);
    return kSuccess;
  }
  if (modSetup::InstanceGuard::AnotherRunning()) {
    tell("Es wird bereits eine andere Installation mit Kivra Setup ausgeführt. Bitte warten Sie, bis sie beendet "
         "ist, und starten Sie Setup dann erneut.");
    return kAlreadyRunning;
  }
  if (HasAppendedMedium(ownPath)) {
    return RunOneFile(ownPath, commandTail, tell,
                      [&](const std::string& medium) { return StartWithSwitches(medium, sw, tell); });
  }
  const std::string medium = modTools::ParentFolder(ownPath);
  const std::string source = modTools::JoinPath(medium, kInstallerName);
  if (modTools::FileExists(source) && NeedsCopy(source, InstallerFolder() + kInstallerName) &&
      modSetup::NeedsRelaunch()) {
    uint32_t code = kFatal;
    if (!modSetup::RelaunchElevated(ownPath, commandTail, &code)) return kCancelled;
    return static_cast<int>(code);
  }
  return StartWithSwitches(medium, sw, tell);
}

}  // namespace

int RunWithSwitches(const std::string& commandTail, const std::string& ownPath) {
  const modSetup::Switches sw = modSetup::ParseSwitches(commandTail, modSetup::SwitchHost::SetupExe);
  // A problem setup.exe meets itself ends the run before the installer starts
  // (which would write the log from the start): setup.exe then writes it.
  std::string problem;
  const Tell tell = [&](const std::string& why) {
    if (problem.empty()) problem = why;
    if (!sw.Unattended()) ShowMessage(why);
  };
  const int code = RunWithSwitchesChecked(sw, commandTail, ownPath, tell);
  modTools::LogFile log;
  if (!problem.empty() && !sw.logFile.empty() && modTools::LogFolderExists(sw.logFile) && log.Open(sw.logFile)) {
    log.Line("Befehlszeile: " + commandTail);
    log.Line("Abbruch: " + problem);
    log.Line("Exitcode: " + std::to_string(code));
  }
  return code;
}

int Run(const std::string& commandTail, const std::string& ownPath) {
  if (modSetup::BeginsWithSwitch(commandTail)) {
    LoadDllsFromSystemOnly();
    return RunWithSwitches(commandTail, ownPath);
  }
  // A downloaded one-file medium started without switches: the wizard from
  // the unpacked folder. Only the start is ever a one-file medium: the helper
  // roles run from the plain copy the installer keeps.
  if (commandTail.find_first_not_of(" \t") == std::string::npos && HasAppendedMedium(ownPath)) {
    LoadDllsFromSystemOnly();
    return RunOneFile(ownPath, commandTail, ShowMessage, [&](const std::string& medium) {
      uint32_t engineExit = 0;
      const int started = Bootstrap(medium, InstallerFolder(), ShowMessage, &engineExit);
      return started == kOk ? static_cast<int>(engineExit) : started;
    });
  }
  Arguments args = ParseArguments(commandTail);
  switch (args.role) {
    case Role::Bootstrap: {
      LoadDllsFromSystemOnly();
      const std::string medium = modTools::ParentFolder(ownPath);
      const std::string folder = InstallerFolder();
      const std::string source = modTools::JoinPath(medium, kInstallerName);
      // Writing into the program-files folder needs the rights; KVSetup.exe
      // asks for them itself, so only the copy makes us ask here.
      if (modTools::FileExists(source) && NeedsCopy(source, folder + kInstallerName) &&
          modSetup::NeedsRelaunch()) {
        return modSetup::RelaunchElevated(ownPath, "") ? kOk : kCopyFailed;
      }
      // The unelevated setup.exe that started us starts the user's programs
      // until we end: we stay as long as the installer runs.
      uint32_t engineExit = 0;
      return Bootstrap(medium, folder, ShowMessage, modSetup::UserStarterWaiting() ? &engineExit : nullptr);
    }
    case Role::Register:
    case Role::Unregister:
      return RegisterServer(args.file, args.role == Role::Unregister);
    case Role::SelfDelete:
      return SelfDelete(args.file, args.folder);
    case Role::Invalid:
      break;
  }
  ShowMessage(
      "Setup wurde mit unbekannten Argumenten aufgerufen. Bitte starten Sie Setup ohne Argumente, um die "
      "Installation zu beginnen.");
  return kBadArguments;
}

}  // namespace kv::setupexe
