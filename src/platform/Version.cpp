#include "platform/Version.h"

#include <windows.h>

#include <vector>

#include "platform/WinString.h"

namespace kv::modVersion {

namespace {

// The file's whole version resource; empty when it has none.
std::vector<BYTE> ReadVersionResource(const std::string& path) {
  const std::wstring wide = win::Widen(path);
  DWORD handle = 0;
  const DWORD size = GetFileVersionInfoSizeW(wide.c_str(), &handle);
  if (size < 1) return {};
  std::vector<BYTE> data(size);
  if (!GetFileVersionInfoW(wide.c_str(), 0, size, data.data())) return {};
  return data;
}

}  // namespace

bool GetFixedVersion(const std::string& path, FixedVersion& version) {
  std::vector<BYTE> data = ReadVersionResource(path);
  if (data.empty()) return false;
  VS_FIXEDFILEINFO* info = nullptr;
  UINT length = 0;
  if (!VerQueryValueW(data.data(), L"\\", reinterpret_cast<void**>(&info), &length) || !info ||
      length < sizeof(VS_FIXEDFILEINFO))
    return false;
  // Signed on purpose: see the header.
  version.Words[0] = static_cast<int16_t>(HIWORD(info->dwFileVersionMS));
  version.Words[1] = static_cast<int16_t>(LOWORD(info->dwFileVersionMS));
  version.Words[2] = static_cast<int16_t>(HIWORD(info->dwFileVersionLS));
  version.Words[3] = static_cast<int16_t>(LOWORD(info->dwFileVersionLS));
  version.FileOS = info->dwFileOS;
  return true;
}

int32_t CompareFileVersions(const std::string& pathA, const std::string& pathB) {
  FixedVersion a, b;
  const bool hasA = GetFixedVersion(pathA, a);
  const bool hasB = GetFixedVersion(pathB, b);
  if (!hasA) return hasB ? 2 : -1;
  if (!hasB) return 1;
  for (int i = 0; i < 4; ++i) {
    if (a.Words[i] > b.Words[i]) return 1;
    if (a.Words[i] < b.Words[i]) return 2;
  }
  return 0;
}

std::string GetFileLanguage(const std::string& path) {
  std::vector<BYTE> data = ReadVersionResource(path);
  if (data.empty()) return std::string();
  DWORD* translation = nullptr;
  UINT length = 0;
  if (!VerQueryValueW(data.data(), L"\\VarFileInfo\\Translation", reinterpret_cast<void**>(&translation),
                      &length) ||
      !translation || length < sizeof(DWORD))
    return std::string();
  wchar_t name[200] = {};
  VerLanguageNameW(LOWORD(*translation), name, 200);
  return win::Narrow(name);  // up to the first NUL
}

std::string GetOSName(uint32_t osCode) {
  switch (osCode) {
    case 0x00010001: return "DOS-Win16";
    case 0x00010004: return "DOS-Win32";
    case 0x00020002: return "OS/2-16 PM-16";
    case 0x00030003: return "OS/2-16 PM-32";
    case 0x00040004: return "NT-Win32";
    default: return "Unbekannt";
  }
}

std::string DescribeFileVersion(const std::string& path) {
  FixedVersion v;
  if (!GetFixedVersion(path, v)) return std::string();
  return "Version: " + std::to_string(v.Words[0]) + "." + std::to_string(v.Words[1]) + "." +
         std::to_string(v.Words[2]) + "." + std::to_string(v.Words[3]) + "\r\nSprache: " + GetFileLanguage(path) +
         "\r\nBetriebssystem: " + GetOSName(v.FileOS);
}

}  // namespace kv::modVersion
