#include "platform/WinString.h"

#include <windows.h>

namespace kv::win {

namespace {

std::wstring ToWide(std::string_view text, UINT codePage) {
  if (text.empty()) return {};
  int n = MultiByteToWideChar(codePage, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::wstring out(static_cast<size_t>(n), L'\0');
  if (n > 0) MultiByteToWideChar(codePage, 0, text.data(), static_cast<int>(text.size()), out.data(), n);
  return out;
}

std::string FromWide(std::wstring_view text, UINT codePage) {
  if (text.empty()) return {};
  // No "best fit" guesses (Omega -> O) for code pages: what is missing is '?'.
  const DWORD flags = codePage == CP_UTF8 ? 0 : WC_NO_BEST_FIT_CHARS;
  int n = WideCharToMultiByte(codePage, flags, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
  std::string out(static_cast<size_t>(n), '\0');
  if (n > 0)
    WideCharToMultiByte(codePage, flags, text.data(), static_cast<int>(text.size()), out.data(), n, nullptr, nullptr);
  return out;
}

}  // namespace

std::wstring Widen(std::string_view utf8) { return ToWide(utf8, CP_UTF8); }
std::string Narrow(std::wstring_view utf16) { return FromWide(utf16, CP_UTF8); }
std::string ToAnsi(std::string_view utf8) { return FromWide(Widen(utf8), CP_ACP); }
std::string FromAnsi(std::string_view ansi) { return Narrow(ToWide(ansi, CP_ACP)); }

}  // namespace kv::win
