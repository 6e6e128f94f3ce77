#include "platform/FileTools.h"

#include <shellapi.h>
#include <shlobj.h>

#include <vector>

#include "base/UserInteraction.h"
#include "platform/WinString.h"

namespace kv::modTools {

using win::Narrow;
using win::Widen;

std::string UniqueFileName(const std::string& folder, const std::string& name, bool keepExtension) {
  std::string dir = folder;
  if (dir.empty() || dir.back() != '\\') dir += '\\';
  std::string base = name, extension;
  if (keepExtension) {
    // The first dot starts the extension, so "a.tar.gz" keeps ".tar.gz" together.
    const size_t dot = name.find('.');
    if (dot != std::string::npos) {
      base = name.substr(0, dot);
      extension = name.substr(dot);
    }
  }
  for (unsigned long long n = 0;; ++n) {
    const std::string candidate = base + (n == 0 ? std::string() : " (" + std::to_string(n) + ")") + extension;
    if (!FileExists(dir + candidate)) return candidate;
  }
}

void MakePath(const std::string& path) {
  std::string accumulated;
  size_t start = 0;
  for (;;) {
    const size_t end = path.find('\\', start);
    const std::string piece = path.substr(start, end == std::string::npos ? std::string::npos : end - start);
    accumulated = accumulated.empty() ? piece : accumulated + "\\" + piece;
    // Drive parts cannot be created; everything else one level at a time,
    // failures just leave the later levels failing too.
    if ((accumulated.empty() || accumulated.back() != ':') && !FileExists(accumulated))
      CreateDirectoryW(Widen(accumulated).c_str(), nullptr);
    if (end == std::string::npos) break;
    start = end + 1;
  }
}

bool FileExists(const std::string& path) { return GetFileAttributesW(Widen(path).c_str()) != INVALID_FILE_ATTRIBUTES; }

bool FolderExists(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(Widen(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::string GetShortPath(const std::string& path) {
  const std::wstring wide = Widen(path);
  std::wstring buffer(300, L'\0');
  DWORD length = GetShortPathNameW(wide.c_str(), buffer.data(), static_cast<DWORD>(buffer.size()));
  if (length > 300) {
    buffer.assign(length, L'\0');
    length = GetShortPathNameW(wide.c_str(), buffer.data(), length);
    if (length >= buffer.size()) length = 0;
  }
  return Narrow(std::wstring_view(buffer.data(), length));
}

FILETIME UniversalFileTime(const LocalDateTime& dateTime) {
  SYSTEMTIME local = {};
  local.wYear = static_cast<WORD>(dateTime.Year);
  local.wMonth = static_cast<WORD>(dateTime.Month);
  local.wDay = static_cast<WORD>(dateTime.Day);
  local.wHour = static_cast<WORD>(dateTime.Hour);
  local.wMinute = static_cast<WORD>(dateTime.Minute);
  local.wSecond = static_cast<WORD>(dateTime.Second);
  // Day of the week, Sunday = 0 (Sakamoto's method).
  static const int offsets[] = {0, 3, 2, 5, 0, 3, 5, 1, 4, 6, 2, 4};
  int y = dateTime.Year - (dateTime.Month < 3 ? 1 : 0);
  if (dateTime.Month >= 1 && dateTime.Month <= 12)
    local.wDayOfWeek = static_cast<WORD>((y + y / 4 - y / 100 + y / 400 + offsets[dateTime.Month - 1] + dateTime.Day) % 7);
  FILETIME localTime = {}, universal = {};
  SystemTimeToFileTime(&local, &localTime);
  LocalFileTimeToFileTime(&localTime, &universal);
  return universal;
}

namespace {
HANDLE OpenForStamp(const std::string& path) {
  return CreateFileW(Widen(path).c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                     OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
}
}  // namespace

void SetFileDate(const std::string& path, const LocalDateTime& dateTime, int32_t which) {
  const FILETIME universal = UniversalFileTime(dateTime);
  HANDLE file = OpenForStamp(path);
  if (file == INVALID_HANDLE_VALUE) return;
  switch (which) {
    case kLastWriteTime: SetFileTime(file, nullptr, nullptr, &universal); break;
    case kCreationTime: SetFileTime(file, &universal, nullptr, nullptr); break;
    case kLastAccessTime: SetFileTime(file, nullptr, &universal, nullptr); break;
    default: break;
  }
  CloseHandle(file);
}

void StampCreationTime(const std::string& path, const LocalDateTime& dateTime, bool clearAttributes) {
  const FILETIME universal = UniversalFileTime(dateTime);
  HANDLE file = OpenForStamp(path);
  if (file == INVALID_HANDLE_VALUE) {
    // Clearing the attributes needs no handle of ours; do it as before.
    if (clearAttributes) SetFileAttributesW(Widen(path).c_str(), FILE_ATTRIBUTE_NORMAL);
    return;
  }
  FILE_BASIC_INFO basic = {};  // zero times and attributes: left as they are
  basic.CreationTime.LowPart = universal.dwLowDateTime;
  basic.CreationTime.HighPart = static_cast<LONG>(universal.dwHighDateTime);
  if (clearAttributes) basic.FileAttributes = FILE_ATTRIBUTE_NORMAL;
  if (!SetFileInformationByHandle(file, FileBasicInfo, &basic, sizeof(basic))) {
    SetFileTime(file, &universal, nullptr, nullptr);
    if (clearAttributes) SetFileAttributesW(Widen(path).c_str(), FILE_ATTRIBUTE_NORMAL);
  }
  CloseHandle(file);
}

std::string BrowseForFolder(UserInteraction& ui, const std::string& title) { return ui.BrowseForFolder(title); }

std::string ShowFolderBrowser(HWND owner, const std::string& title) {
  std::wstring wideTitle = Widen(title);
  wchar_t displayName[MAX_PATH + 1] = {};
  BROWSEINFOW info = {};
  info.hwndOwner = owner;
  info.pidlRoot = nullptr;  // the desktop
  info.pszDisplayName = displayName;
  info.lpszTitle = wideTitle.c_str();
  info.ulFlags = BIF_RETURNONLYFSDIRS | BIF_DONTGOBELOWDOMAIN;  // 3
  PIDLIST_ABSOLUTE chosen = SHBrowseForFolderW(&info);
  if (!chosen) return std::string();
  wchar_t path[MAX_PATH + 1] = {};
  const BOOL ok = SHGetPathFromIDListW(chosen, path);
  CoTaskMemFree(chosen);
  return ok ? Narrow(path) : std::string();
}

HICON GetFileIcon(const std::string& path, int32_t smallIcon, bool useAttributes) {
  std::string clean;
  for (char c : path)
    if (c != '"') clean += c;
  UINT flags = SHGFI_ICON | (smallIcon > 0 ? SHGFI_SMALLICON : SHGFI_SHELLICONSIZE);
  if (useAttributes) flags |= SHGFI_USEFILEATTRIBUTES;  // 273 or 276
  const std::wstring wide = Widen(clean);
  SHFILEINFOW info = {};
  // The shell sometimes fails the first calls while it builds its icon cache.
  for (int attempt = 0; attempt < 10; ++attempt) {
    if (SHGetFileInfoW(wide.c_str(), FILE_ATTRIBUTE_NORMAL, &info, sizeof(info), flags)) return info.hIcon;
  }
  return nullptr;
}

}  // namespace kv::modTools
