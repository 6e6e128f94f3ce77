// Arbitrary texts and folder values through the placeholder expansion of
// paths (the text work of ExpandPath, with a lower-casing that, like the
// system's, keeps every unit in place). Input: UTF-16 units, two bytes each;
// a zero unit separates the text from the four values (programs, windir,
// winsysdir, appdir). Checks, besides sanitizers:
// - a text naming no placeholder comes back unchanged;
// - one placeholder alone is replaced exactly as a plain left-to-right scan
//   replaces it, in any letter case;
// - with values free of "*", every replacement removes two asterisks, so
//   the result never holds more than the text, and the same parity.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cwctype>
#include <string>
#include <vector>

#include "install/Placeholders.h"

using kv::modInstall::ExpandPlaceholders;
using kv::modInstall::Placeholder;

namespace {

void Check(bool condition, const char* what) {
  if (!condition) {
    fprintf(stderr, "placeholders_fuzz: broken promise: %s\n", what);
    abort();
  }
}

std::wstring Lower(std::wstring text) {
  for (wchar_t& c : text) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
  return text;
}

// The independent reading of "every occurrence, compared without case, the
// replacement not searched again".
std::wstring ScanReplace(const std::wstring& text, const std::wstring& lowerName, const std::wstring& value) {
  std::wstring out;
  size_t i = 0;
  while (i < text.size()) {
    bool match = i + lowerName.size() <= text.size();
    for (size_t k = 0; match && k < lowerName.size(); ++k)
      match = std::towlower(static_cast<wint_t>(text[i + k])) == static_cast<wint_t>(lowerName[k]);
    if (match) {
      out += value;
      i += lowerName.size();
    } else {
      out += text[i++];
    }
  }
  return out;
}

size_t Stars(const std::wstring& s) {
  size_t n = 0;
  for (wchar_t c : s) n += c == L'*';
  return n;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<std::wstring> parts(1);
  for (size_t i = 0; i + 1 < size; i += 2) {
    wchar_t unit = static_cast<wchar_t>(data[i] | (data[i + 1] << 8));
    if (unit == 0 && parts.size() < 5) parts.emplace_back();
    else parts.back() += unit;
  }
  parts.resize(5);
  const std::wstring& text = parts[0];
  const std::vector<Placeholder> all{
      {L"*programs*", parts[1]}, {L"*windir*", parts[2]}, {L"*winsysdir*", parts[3]}, {L"*appdir*", parts[4]}};

  const std::wstring result = ExpandPlaceholders(text, all, Lower);
  bool named = false;
  for (const Placeholder& p : all) named = named || Lower(text).find(p.lowerName) != std::wstring::npos;
  if (!named) Check(result == text, "a text without placeholders is unchanged");

  bool starFree = true;
  for (size_t v = 1; v < 5; ++v) starFree = starFree && Stars(parts[v]) == 0;
  if (starFree) {
    Check(Stars(result) <= Stars(text), "star-free values add no asterisk");
    Check((Stars(text) - Stars(result)) % 2 == 0, "each replacement takes both asterisks");
  }

  for (const Placeholder& p : all) {
    Check(ExpandPlaceholders(text, {p}, Lower) == ScanReplace(text, p.lowerName, p.value),
          "one placeholder replaced as a plain scan does");
  }
  return 0;
}
