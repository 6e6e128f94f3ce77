// Text at the OS boundary.
#include "platform/WinString.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace kv {
namespace {

using namespace win;

TEST(WinString, Utf16AndAnsiRoundTrips) {
  EXPECT_EQ(Widen("Grüße\xF0\x9F\x98\x80"), L"Gr\u00fc\u00dfe\U0001F600");  // a surrogate pair
  for (const std::string& s : {std::string("Grüße\xF0\x9F\x98\x80"), std::string(), std::string("a\0b", 3)})
    EXPECT_EQ(Narrow(Widen(s)), s);
  EXPECT_EQ(Widen("a\xFF" "b"), L"a\uFFFDb");  // broken input does not stop the conversion
  if (GetACP() != 1252) GTEST_SKIP() << "code page " << GetACP();
  EXPECT_EQ(ToAnsi("Grüße €Ω"), "Gr\xFC\xDF" "e \x80?");
  std::string all;
  for (int b = 1; b < 256; ++b) all += static_cast<char>(b);
  EXPECT_EQ(ToAnsi(FromAnsi(all)), all);
}

}  // namespace
}  // namespace kv
