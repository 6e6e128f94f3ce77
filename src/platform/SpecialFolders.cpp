#include "platform/SpecialFolders.h"

#include <shlobj.h>

#include "platform/RegTools.h"
#include "platform/WinString.h"

namespace kv::modSpclFolder {

namespace {

const char kShellFoldersKey[] = "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";

struct Fallback {
  int32_t id;
  const char* firstValue;
  HKEY firstRoot;
  const char* secondValue;  // per-user value tried when the per-machine one is empty
};

// Where old shells kept the folders when the shell call itself is missing or fails.
const Fallback kFallbacks[] = {
    {kPrograms, "Programs", HKEY_CURRENT_USER, nullptr},
    {kPersonal, "Personal", HKEY_CURRENT_USER, nullptr},
    {kStartup, "Startup", HKEY_CURRENT_USER, nullptr},
    {kStartMenu, "Start Menu", HKEY_CURRENT_USER, nullptr},
    {kDesktopDirectory, "Desktop", HKEY_CURRENT_USER, nullptr},
    {kFonts, "Fonts", HKEY_CURRENT_USER, nullptr},
    {kCommonStartMenu, "Common Start Menu", HKEY_LOCAL_MACHINE, "Start Menu"},
    {kCommonPrograms, "Common Programs", HKEY_LOCAL_MACHINE, "Programs"},
    {kCommonStartup, "Common Startup", HKEY_LOCAL_MACHINE, "Startup"},
    {kCommonDesktopDirectory, "Common Desktop", HKEY_LOCAL_MACHINE, "Desktop"},
    {kAppData, "AppData", HKEY_CURRENT_USER, nullptr},
};

// Folders the system answers into a buffer: call once with 260 characters,
// again with the size asked for when that was not enough.
template <typename Call>
std::string SystemFolder(Call call) {
  std::wstring buffer(260, L' ');
  UINT length = call(buffer.data(), static_cast<UINT>(buffer.size()));
  if (length > 260 || length < 1) {
    buffer.assign(length, L' ');
    length = length ? call(buffer.data(), length) : 0;
    if (length > buffer.size()) length = 0;
  }
  return win::Narrow(std::wstring_view(buffer.data(), length));
}

}  // namespace

bool QueryShellFolder(HWND owner, int32_t folderId, std::string& path) {
  wchar_t buffer[MAX_PATH + 1] = {};
  if (!SHGetSpecialFolderPathW(owner, buffer, folderId, TRUE)) return false;
  path = win::Narrow(buffer);
  return true;
}

std::string ShellFoldersFallback(int32_t folderId) {
  for (const Fallback& f : kFallbacks) {
    if (f.id != folderId) continue;
    std::string result = modRegTools::GetString(kShellFoldersKey, f.firstValue, "", f.firstRoot);
    if (result.empty() && f.secondValue)
      result = modRegTools::GetString(kShellFoldersKey, f.secondValue, "", HKEY_CURRENT_USER);
    return result;
  }
  return std::string();
}

std::string GetSpecialFolder(HWND owner, int32_t folderId, const std::string& def, ShellFolderQuery shell) {
  std::string result;
  if (!shell || !shell(owner, folderId, result)) {
    result = ShellFoldersFallback(folderId);
    if (result.empty()) result = def;
  }
  // Some systems store these values quoted.
  if (!result.empty() && result.front() == '"') result.erase(0, 1);
  if (!result.empty() && result.back() == '"') result.pop_back();
  return result;
}

std::string GetSpecialFolder(HWND owner, int32_t folderId, const std::string& def) {
  return GetSpecialFolder(owner, folderId, def, &QueryShellFolder);
}

std::string GetWindowsFolder() {
  return SystemFolder([](wchar_t* b, UINT n) { return GetWindowsDirectoryW(b, n); });
}

std::string GetSystemFolder() {
  return SystemFolder([](wchar_t* b, UINT n) { return GetSystemDirectoryW(b, n); });
}

}  // namespace kv::modSpclFolder
