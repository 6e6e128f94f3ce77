#pragma once
// Text crosses the OS boundary here: inside the program every string is UTF-8,
// the Win32 calls we make are the wide (W) ones. The ANSI code page only
// appears where a file format demands it (wininit.ini, setup.ini, ...).
#include <string>
#include <string_view>

namespace kv::win {

// UTF-8 -> UTF-16. Invalid sequences become U+FFFD rather than failing.
std::wstring Widen(std::string_view utf8);
// UTF-16 -> UTF-8. Lone surrogates become U+FFFD.
std::string Narrow(std::wstring_view utf16);

// UTF-8 <-> the system's ANSI code page (CP_ACP), for files the old world
// reads byte by byte. Characters the code page lacks become '?'.
std::string ToAnsi(std::string_view utf8);
std::string FromAnsi(std::string_view ansi);

}  // namespace kv::win
