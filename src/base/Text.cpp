#include "base/Text.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <system_error>

#include "base/VbError.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace kv {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Decodes one character at s[i] and advances i; a malformed byte becomes
// U+FFFD and consumes only itself, so decoding always makes progress.
char32_t DecodeUtf8(std::string_view s, size_t& i) {
  unsigned char b0 = static_cast<unsigned char>(s[i]);
  if (b0 < 0x80) {
    ++i;
    return b0;
  }
  int len;
  char32_t cp;
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    len = 2;
    cp = b0 & 0x1F;
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    len = 3;
    cp = b0 & 0x0F;
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    len = 4;
    cp = b0 & 0x07;
  } else {
    ++i;
    return kReplacement;
  }
  if (i + len > s.size()) {
    ++i;
    return kReplacement;
  }
  for (int k = 1; k < len; ++k) {
    unsigned char b = static_cast<unsigned char>(s[i + k]);
    if ((b & 0xC0) != 0x80) {
      ++i;
      return kReplacement;
    }
    cp = (cp << 6) | (b & 0x3F);
  }
  // Overlong forms, surrogates and values beyond U+10FFFF are malformed.
  if ((len == 3 && cp < 0x800) || (len == 4 && (cp < 0x10000 || cp > 0x10FFFF)) || (cp >= 0xD800 && cp <= 0xDFFF)) {
    ++i;
    return kReplacement;
  }
  i += len;
  return cp;
}

void EncodeUtf8(char32_t cp, std::string& out) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

// Simple lower-case mapping: ASCII, Latin-1, Latin Extended-A, Greek and
// Cyrillic capitals. Enough for every name a German package carries.
char32_t FoldChar(char32_t c) {
  if (c < 0x80) return (c >= 'A' && c <= 'Z') ? c + 32 : c;
  if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return c + 32;
  if (c >= 0x100 && c <= 0x17F) {
    if (c == 0x130) return 'i';
    if (c == 0x178) return 0xFF;
    if ((c >= 0x100 && c <= 0x137) || (c >= 0x14A && c <= 0x177)) return (c % 2 == 0) ? c + 1 : c;
    if ((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E)) return (c % 2 == 1) ? c + 1 : c;
    return c;
  }
  if (c >= 0x391 && c <= 0x3AB && c != 0x3A2) return c + 32;
  if (c == 0x386) return 0x3AC;
  if (c >= 0x388 && c <= 0x38A) return c + 37;
  if (c == 0x38C) return 0x3CC;
  if (c == 0x38E || c == 0x38F) return c + 63;
  if (c >= 0x410 && c <= 0x42F) return c + 32;
  if (c >= 0x400 && c <= 0x40F) return c + 80;
  return c;
}

// Windows-1252, bytes 0x80..0x9F. The unassigned five map to the C1 control
// of the same value, as the system conversion does.
constexpr char16_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

[[maybe_unused]] char EncodeCp1252(char32_t cp) {
  if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) return static_cast<char>(cp);
  for (int k = 0; k < 32; ++k)
    if (kCp1252High[k] == cp) return static_cast<char>(0x80 + k);
  return '?';
}

}  // namespace

bool IsAscii(std::string_view s) {
  // Eight bytes at a time: whole package files pass through here.
  const char* p = s.data();
  size_t n = s.size();
  uint64_t any = 0;
  for (; n >= 8; p += 8, n -= 8) {
    uint64_t word;
    std::memcpy(&word, p, 8);
    any |= word;
  }
  for (; n > 0; ++p, --n) any |= static_cast<unsigned char>(*p);
  return (any & 0x8080808080808080ull) == 0;
}

bool AnsiIsSingleByte() {
#ifdef _WIN32
  static const bool single = [] {
    CPINFO info;
    return GetCPInfo(CP_ACP, &info) && info.MaxCharSize == 1;
  }();
  return single;
#else
  return true;  // Windows-1252
#endif
}

std::string AnsiToUtf8(std::string_view ansi) {
  if (IsAscii(ansi)) return std::string(ansi);
#ifdef _WIN32
  if (ansi.size() > 0x7FFFFFFF) throw VbError(vberr::OutOfMemory);
  int n = MultiByteToWideChar(CP_ACP, 0, ansi.data(), static_cast<int>(ansi.size()), nullptr, 0);
  std::wstring wide(static_cast<size_t>(n), L'\0');
  MultiByteToWideChar(CP_ACP, 0, ansi.data(), static_cast<int>(ansi.size()), wide.data(), n);
  return WideToUtf8(wide);
#else
  std::string out;
  out.reserve(ansi.size() + ansi.size() / 8);
  size_t i = 0;
  while (i < ansi.size()) {
    size_t run = i;
    while (run < ansi.size() && static_cast<unsigned char>(ansi[run]) < 0x80) ++run;
    out.append(ansi.data() + i, run - i);  // plain ASCII goes across in bulk
    if (run == ansi.size()) break;
    unsigned char b = static_cast<unsigned char>(ansi[run]);
    EncodeUtf8(b < 0xA0 ? kCp1252High[b - 0x80] : b, out);
    i = run + 1;
  }
  return out;
#endif
}

std::string Utf8ToAnsi(std::string_view utf8) {
  if (IsAscii(utf8)) return std::string(utf8);
#ifdef _WIN32
  std::wstring wide = Utf8ToWide(utf8);
  if (wide.size() > 0x7FFFFFFF) throw VbError(vberr::OutOfMemory);
  int n = WideCharToMultiByte(CP_ACP, 0, wide.data(), static_cast<int>(wide.size()), nullptr, 0, nullptr, nullptr);
  std::string out(static_cast<size_t>(n), '\0');
  WideCharToMultiByte(CP_ACP, 0, wide.data(), static_cast<int>(wide.size()), out.data(), n, nullptr, nullptr);
  return out;
#else
  std::string out;
  out.reserve(utf8.size());
  size_t i = 0;
  while (i < utf8.size()) {
    size_t run = i;
    while (run < utf8.size() && static_cast<unsigned char>(utf8[run]) < 0x80) ++run;
    out.append(utf8.data() + i, run - i);
    if (run == utf8.size()) break;
    i = run;
    out += EncodeCp1252(DecodeUtf8(utf8, i));
  }
  return out;
#endif
}

std::wstring Utf8ToWide(std::string_view utf8) {
  std::wstring out;
  out.reserve(utf8.size());
  for (size_t i = 0; i < utf8.size();) {
    char32_t cp = DecodeUtf8(utf8, i);
    if constexpr (sizeof(wchar_t) == 2) {
      if (cp >= 0x10000) {
        cp -= 0x10000;
        out += static_cast<wchar_t>(0xD800 + (cp >> 10));
        out += static_cast<wchar_t>(0xDC00 + (cp & 0x3FF));
        continue;
      }
    }
    out += static_cast<wchar_t>(cp);
  }
  return out;
}

std::string WideToUtf8(std::wstring_view wide) {
  std::string out;
  out.reserve(wide.size());
  for (size_t i = 0; i < wide.size(); ++i) {
    char32_t cp = static_cast<char32_t>(wide[i]);
    if constexpr (sizeof(wchar_t) == 2) {
      cp &= 0xFFFF;
      if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < wide.size()) {
        char32_t lo = static_cast<char32_t>(wide[i + 1]) & 0xFFFF;
        if (lo >= 0xDC00 && lo <= 0xDFFF) {
          cp = 0x10000 + ((cp - 0xD800) << 10) + (lo - 0xDC00);
          ++i;
        }
      }
    }
    if ((cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF) cp = kReplacement;
    EncodeUtf8(cp, out);
  }
  return out;
}

std::string LowerCase(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    unsigned char b = static_cast<unsigned char>(text[i]);
    if (b < 0x80) {
      out += static_cast<char>((b >= 'A' && b <= 'Z') ? b + 32 : b);
      ++i;
      continue;
    }
    size_t start = i;
    char32_t cp = DecodeUtf8(text, i);
    char32_t folded = FoldChar(cp);
    if (folded == cp)
      out.append(text.substr(start, i - start));  // keeps malformed bytes as they were
    else
      EncodeUtf8(folded, out);
  }
  return out;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
  size_t i = 0, j = 0;
  while (i < a.size() && j < b.size()) {
    unsigned char x = static_cast<unsigned char>(a[i]);
    unsigned char y = static_cast<unsigned char>(b[j]);
    if (x < 0x80 && y < 0x80) {
      if (x != y) {
        if (x >= 'A' && x <= 'Z') x += 32;
        if (y >= 'A' && y <= 'Z') y += 32;
        if (x != y) return false;
      }
      ++i;
      ++j;
      continue;
    }
    if (FoldChar(DecodeUtf8(a, i)) != FoldChar(DecodeUtf8(b, j))) return false;
  }
  return i == a.size() && j == b.size();
}

uint64_t HashNoCase(std::string_view text) {
  uint64_t h = 14695981039346656037ull;
  for (size_t i = 0; i < text.size();) {
    unsigned char b = static_cast<unsigned char>(text[i]);
    char32_t cp;
    if (b < 0x80) {
      cp = (b >= 'A' && b <= 'Z') ? b + 32 : b;
      ++i;
    } else {
      cp = FoldChar(DecodeUtf8(text, i));
    }
    h = (h ^ cp) * 1099511628211ull;
  }
  // Spread the low bits: the collection masks the hash to its table size.
  h ^= h >> 29;
  h *= 0xbf58476d1ce4e5b9ull;
  h ^= h >> 32;
  return h;
}

std::string_view TrimLeadingBlanks(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && text[i] == ' ') ++i;
  return text.substr(i);
}

std::string_view TrimTrailingBlanks(std::string_view text) {
  size_t n = text.size();
  while (n > 0 && text[n - 1] == ' ') --n;
  return text.substr(0, n);
}

std::string_view TrimBlanks(std::string_view text) { return TrimTrailingBlanks(TrimLeadingBlanks(text)); }

int32_t ToInt32(std::string_view text) {
  std::string_view s = TrimBlanks(text);
  // Check the shape ourselves: from_chars alone would accept "inf", "nan"
  // and hexadecimal forms and would reject a leading "+".
  size_t i = 0;
  bool negative = false;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) negative = s[i++] == '-';
  size_t mantissaStart = i;
  size_t digits = 0;
  while (i < s.size() && s[i] >= '0' && s[i] <= '9') ++i, ++digits;
  if (i < s.size() && s[i] == '.') {
    ++i;
    while (i < s.size() && s[i] >= '0' && s[i] <= '9') ++i, ++digits;
  }
  if (digits == 0) throw VbError(vberr::TypeMismatch, "not a number: " + std::string(text));
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
    size_t e = i + 1;
    if (e < s.size() && (s[e] == '+' || s[e] == '-')) ++e;
    size_t expDigits = 0;
    while (e < s.size() && s[e] >= '0' && s[e] <= '9') ++e, ++expDigits;
    if (expDigits == 0) throw VbError(vberr::TypeMismatch, "not a number: " + std::string(text));
    i = e;
  }
  if (i != s.size()) throw VbError(vberr::TypeMismatch, "not a number: " + std::string(text));

  // Plain integers (the usual case) without floating point.
  std::string_view body = s.substr(mantissaStart, i - mantissaStart);
  if (body.find_first_not_of("0123456789") == std::string_view::npos) {
    int64_t v = 0;
    for (char c : body) {
      v = v * 10 + (c - '0');
      if (v > 2147483648ll) throw VbError(vberr::Overflow);
    }
    if (negative) v = -v;
    if (v > 2147483647ll || v < -2147483648ll) throw VbError(vberr::Overflow);
    return static_cast<int32_t>(v);
  }
  double d = 0;
  auto [ptr, ec] = std::from_chars(body.data(), body.data() + body.size(), d);
  if (ec == std::errc::result_out_of_range) {
    // Either far too large (overflow) or so small it rounds to zero.
    bool tiny = body.find_first_of("eE") != std::string_view::npos &&
                body.substr(body.find_first_of("eE") + 1).starts_with('-');
    if (!tiny) throw VbError(vberr::Overflow);
    d = 0;
  } else if (ec != std::errc() || ptr != body.data() + body.size()) {
    throw VbError(vberr::TypeMismatch, "not a number: " + std::string(text));
  }
  if (negative) d = -d;
  double r = std::nearbyint(d);  // default rounding: half to even
  if (!(r >= -2147483648.0 && r <= 2147483647.0)) throw VbError(vberr::Overflow);
  return static_cast<int32_t>(r);
}

}  // namespace kv
