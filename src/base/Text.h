#pragma once
// Text helpers of the package layer. Inside the program every string is UTF-8;
// the package files are in the ANSI code page and are converted only when they
// are read or written. Names and keys compare without regard to case, with a
// folding that knows more than ASCII (Ä/ä, Ö/ö, Ü/ü, Š/š, Cyrillic, Greek).
#include <cstdint>
#include <string>
#include <string_view>

namespace kv {

// ANSI code page <-> UTF-8. On Windows the system ANSI code page (CP_ACP); on
// the native build Windows-1252, the code page of a German system. The five
// bytes 1252 leaves unassigned map to U+0081, U+008D, U+008F, U+0090, U+009D
// (as Windows does), so every byte sequence survives a round trip unchanged.
// Characters the code page lacks become '?'; malformed UTF-8 bytes too.
std::string AnsiToUtf8(std::string_view ansi);
std::string Utf8ToAnsi(std::string_view utf8);

// Whether every byte is below 0x80 (then ANSI and UTF-8 are the same text).
bool IsAscii(std::string_view text);
// Whether the ANSI code page has one byte per character: then a text converts
// line by line exactly as it converts whole.
bool AnsiIsSingleByte();

// UTF-8 <-> wide strings (UTF-16 on Windows, UTF-32 elsewhere). Malformed
// input becomes U+FFFD.
std::wstring Utf8ToWide(std::string_view utf8);
std::string WideToUtf8(std::wstring_view wide);

// Simple (one to one) lower-casing of each character.
std::string LowerCase(std::string_view text);
// a and b are equal after LowerCase; allocates nothing.
bool EqualsNoCase(std::string_view a, std::string_view b);
// Hash of LowerCase(text), allocates nothing; equal for EqualsNoCase keys.
uint64_t HashNoCase(std::string_view text);

// Blank trimming: spaces only. Tabs and other white space are kept, because
// the file format treats a tab as an ordinary character.
std::string_view TrimBlanks(std::string_view text);
std::string_view TrimLeadingBlanks(std::string_view text);
std::string_view TrimTrailingBlanks(std::string_view text);

// The ordinary decimal text-to-number conversion of 32-bit values: blanks
// around the number, a sign, a fraction (rounded half to even) and an exponent
// are accepted. Throws VbError TypeMismatch (13) for text that is not a
// number (also the empty text) and Overflow (6) outside the 32-bit range.
int32_t ToInt32(std::string_view text);

}  // namespace kv
