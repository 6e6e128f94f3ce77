// Text at the OS boundary.
#include "platform/WinString.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace kv {
namespace {

using namespace win;

TEST(WinString, Utf16RoundTrip) {
  EXPECT_EQ(Widen("Grüße"), L"Gr\u00fc\u00dfe");
  EXPECT_EQ(Narrow(L"Gr\u00fc\u00dfe"), "Grüße");
  const std::string emoji = "\xF0\x9F\x98\x80";  // outside the BMP: a surrogate pair
  EXPECT_EQ(Widen(emoji).size(), 2u);
  EXPECT_EQ(Narrow(Widen(emoji)), emoji);
  EXPECT_EQ(Widen(""), L"");
  EXPECT_EQ(Narrow(L""), "");
  // Embedded NULs travel too (registry lists use them).
  EXPECT_EQ(Narrow(Widen(std::string("a\0b", 3))), std::string("a\0b", 3));
  // Broken input does not stop the conversion.
  EXPECT_EQ(Widen("a\xFF" "b"), L"a\uFFFDb");
}

TEST(WinString, AnsiCodePage) {
  if (GetACP() != 1252) GTEST_SKIP() << "code page " << GetACP();
  EXPECT_EQ(ToAnsi("Grüße €"), "Gr\xFC\xDF" "e \x80");
  EXPECT_EQ(FromAnsi("Gr\xFC\xDF" "e \x80"), "Grüße €");
  EXPECT_EQ(ToAnsi("Ω"), "?");  // not in the code page
  std::string all;
  for (int b = 1; b < 256; ++b) all += static_cast<char>(b);
  EXPECT_EQ(ToAnsi(FromAnsi(all)), all);
}

}  // namespace
}  // namespace kv
