#pragma once
// The few text rules kvpack must share with the installer, taken from the
// package layer itself so that the checker and the installer cannot drift.
#include <string>

#include "package/Text.h"

namespace kvpack::product {

inline std::string DecodeAnsi(const std::string& bytes) { return kv::AnsiToUtf8(bytes); }
inline std::string FoldCase(const std::string& text) { return kv::LowerCase(text); }
// The reader ends a line at CR LF, at a lone CR and at a lone LF.
inline bool ReaderEndsLineAtLf() { return true; }

}  // namespace kvpack::product
