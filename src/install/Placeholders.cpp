#include "install/Placeholders.h"

namespace kv::modInstall {
namespace {

// Every occurrence of `lowerPattern` in `text`, compared without regard to
// case, replaced by `replacement`; the replacement itself is not searched again.
std::wstring ReplaceNoCase(const std::wstring& text, const std::wstring& lowerPattern, const std::wstring& replacement,
                           LowerFunction lower) {
  const std::wstring lowered = lower(text);
  std::wstring result;
  size_t from = 0;
  for (size_t hit; (hit = lowered.find(lowerPattern, from)) != std::wstring::npos; from = hit + lowerPattern.size())
    result.append(text, from, hit - from).append(replacement);
  result.append(text, from, std::wstring::npos);
  return result;
}

}  // namespace

std::wstring ExpandPlaceholders(const std::wstring& text, const std::vector<Placeholder>& placeholders,
                                LowerFunction lower) {
  const std::wstring given = lower(text);
  std::wstring working = text;
  for (const Placeholder& p : placeholders) {
    if (!p.lowerName.empty() && given.find(p.lowerName) != std::wstring::npos)
      working = ReplaceNoCase(working, p.lowerName, p.value, lower);
  }
  return working;
}

}  // namespace kv::modInstall
