#include "ui/Theme.h"

#include <map>
#include <utility>

namespace kv::ui {
namespace {

std::map<std::pair<int, int>, HFONT>& FontCache() {
  static std::map<std::pair<int, int>, HFONT> cache;
  return cache;
}

int CALLBACK FoundFace(const LOGFONTW*, const TEXTMETRICW*, DWORD, LPARAM lp) {
  *reinterpret_cast<bool*>(lp) = true;
  return 0;
}

bool FaceInstalled(const wchar_t* face) {
  HDC dc = GetDC(nullptr);
  LOGFONTW lf{};
  lf.lfCharSet = DEFAULT_CHARSET;
  wcsncpy(lf.lfFaceName, face, LF_FACESIZE - 1);
  bool found = false;
  EnumFontFamiliesExW(dc, &lf, FoundFace, reinterpret_cast<LPARAM>(&found), 0);
  ReleaseDC(nullptr, dc);
  return found;
}

HFONT MakeFont(int dpi, int points, bool bold) {
  auto key = std::make_pair(dpi, points * 2 + (bold ? 1 : 0));
  auto& cache = FontCache();
  if (auto it = cache.find(key); it != cache.end()) return it->second;
  LOGFONTW lf{};
  lf.lfHeight = -MulDiv(points, dpi, 72);
  lf.lfWeight = bold ? FW_BOLD : FW_NORMAL;
  lf.lfCharSet = DEFAULT_CHARSET;
  lf.lfQuality = CLEARTYPE_QUALITY;
  std::wstring face = MessageFontFace();
  wcsncpy(lf.lfFaceName, face.c_str(), LF_FACESIZE - 1);
  HFONT font = CreateFontIndirectW(&lf);
  cache[key] = font;
  return font;
}

}  // namespace

int DpiAt(POINT where) {
  // GetDpiForMonitor exists from Windows 8.1 on, GetDpiForSystem from 10 on;
  // older systems report the screen's logical dpi.
  using MonitorFn = HRESULT(WINAPI*)(HMONITOR, int, UINT*, UINT*);
  static MonitorFn monitorFn = [] {
    HMODULE shcore = LoadLibraryW(L"shcore.dll");
    return shcore ? reinterpret_cast<MonitorFn>(reinterpret_cast<void*>(GetProcAddress(shcore, "GetDpiForMonitor")))
                  : nullptr;
  }();
  UINT x = 0, y = 0;
  if (monitorFn && SUCCEEDED(monitorFn(MonitorFromPoint(where, MONITOR_DEFAULTTOPRIMARY), 0, &x, &y)) && y >= 72)
    return static_cast<int>(y);
  using Fn = UINT(WINAPI*)();
  static Fn fn = reinterpret_cast<Fn>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"user32.dll"), "GetDpiForSystem")));
  if (fn) {
    UINT dpi = fn();
    if (dpi >= 72) return static_cast<int>(dpi);
  }
  HDC dc = GetDC(nullptr);
  int dpi = GetDeviceCaps(dc, LOGPIXELSY);
  ReleaseDC(nullptr, dc);
  return dpi >= 72 ? dpi : 96;
}

std::wstring MessageFontFace() {
  static std::wstring face = [] {
    if (FaceInstalled(L"Segoe UI")) return std::wstring(L"Segoe UI");
    if (FaceInstalled(L"Tahoma")) return std::wstring(L"Tahoma");
    NONCLIENTMETRICSW ncm{};
    ncm.cbSize = sizeof ncm;
    if (SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof ncm, &ncm, 0) && ncm.lfMessageFont.lfFaceName[0])
      return std::wstring(ncm.lfMessageFont.lfFaceName);
    return std::wstring(L"MS Shell Dlg 2");
  }();
  return face;
}

HFONT NormalFont(int dpi) { return MakeFont(dpi, 9, false); }
HFONT BoldFont(int dpi) { return MakeFont(dpi, 9, true); }
HFONT TitleFont(int dpi) { return MakeFont(dpi, 12, true); }
HFONT SmallFont(int dpi) { return MakeFont(dpi, 8, false); }

void ReleaseFonts() {
  for (auto& [key, font] : FontCache()) DeleteObject(font);
  FontCache().clear();
}

}  // namespace kv::ui
