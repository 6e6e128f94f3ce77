#pragma once
// The text work behind ExpandPath, free of any system call so that it can be
// exercised natively: placeholders compared without regard to case, every
// occurrence replaced, the decision which ones apply taken on the text as
// given.
#include <string>
#include <vector>

namespace kv::modInstall {

struct Placeholder {
  std::wstring lowerName;  // "*programs*" ...
  std::wstring value;
};

// Lower-cases without moving any UTF-16 unit, so positions found in the
// lower-case text are valid in the original.
using LowerFunction = std::wstring (*)(std::wstring);

// Applies the placeholders in the order given. One that does not occur in
// `text` as given is skipped even if an earlier value brought it in.
std::wstring ExpandPlaceholders(const std::wstring& text, const std::vector<Placeholder>& placeholders,
                                LowerFunction lower);

}  // namespace kv::modInstall
