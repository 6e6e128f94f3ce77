#pragma once
// The few text rules kvpack must share with the installer, taken from the
// package layer itself so that the checker and the installer cannot drift.
#include <string>

#include "base/Text.h"

namespace kvpack::product {

inline std::string DecodeAnsi(const std::string& bytes) { return kv::AnsiToUtf8(bytes); }
inline std::string FoldCase(const std::string& text) { return kv::LowerCase(text); }

}  // namespace kvpack::product
