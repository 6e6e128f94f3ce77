// Code-page conversion, case folding, blank trimming and number conversion:
// the text rules every package file relies on.
#include "package/Text.h"

#include <gtest/gtest.h>

#include "package/VbError.h"

namespace kv {
namespace {

TEST(AnsiCodec, GermanTextAndEveryByteSurviveTheRoundTrip) {
  std::string all;
  for (int b = 1; b < 256; ++b) all += static_cast<char>(b);
  EXPECT_EQ(Utf8ToAnsi(AnsiToUtf8(all)), all);
  const std::string ansi = "Gr\xF6\xDF" "e \xC4\xD6\xDC\xE4\xF6\xFC \x80 \x84Zitat\x93";
  EXPECT_EQ(AnsiToUtf8(ansi), "Größe ÄÖÜäöü € „Zitat“");
  EXPECT_EQ(Utf8ToAnsi("Größe ÄÖÜäöü € „Zitat“"), ansi);
  EXPECT_EQ(Utf8ToAnsi("a\xE6\xBC\xA2z"), "a?z");  // not in the code page
  EXPECT_EQ(Utf8ToAnsi("a\xFFz"), "a?z");          // malformed UTF-8
  EXPECT_EQ(WideToUtf8(Utf8ToWide("Ä€😀x")), "Ä€😀x");
  EXPECT_EQ(Utf8ToWide("\xC3"), std::wstring(1, static_cast<wchar_t>(0xFFFD)));
}

TEST(CaseFolding, LatinAndBeyondFoldLikeWindowsAndHashAlike) {
  EXPECT_EQ(LowerCase("ÄÖÜ ÀÉÎ ŠŽŒŸ ÇÑ ABC ДОМ Ωμέγα ×÷ß"), "äöü àéî šžœÿ çñ abc дом ωμέγα ×÷ß");
  for (auto [a, b] : {std::pair{"Header", "HEADER"}, {"Größe", "GRÖßE"}, {"Šéf", "šÉF"}, {"", ""}}) {
    EXPECT_TRUE(EqualsNoCase(a, b)) << a;
    EXPECT_EQ(HashNoCase(a), HashNoCase(b)) << a;
  }
  EXPECT_FALSE(EqualsNoCase("Datei", "Dateien"));
  EXPECT_FALSE(EqualsNoCase("strasse", "straße"));
  EXPECT_FALSE(EqualsNoCase("a", "à"));
  EXPECT_NE(HashNoCase("file1"), HashNoCase("file2"));
}

TEST(Trimming, OnlySpacesAreBlanks) {
  EXPECT_EQ(TrimBlanks("  a b  "), "a b");
  EXPECT_EQ(TrimBlanks("\ta\t"), "\ta\t");
  EXPECT_EQ(TrimLeadingBlanks("  x  "), "x  ");
  EXPECT_EQ(TrimTrailingBlanks("  x  "), "  x");
  EXPECT_EQ(TrimBlanks("    "), "");
}

TEST(NumberConversion, DecimalFormsRoundHalfToEvenAndFailAsTheClassicConversion) {
  for (auto [text, value] : {std::pair{"0", 0}, {"  2  ", 2}, {"-17", -17}, {"+5", 5}, {"007", 7}, {"2.5", 2},
                             {"3.5", 4}, {"-2.7", -3}, {"1e3", 1000}, {".5", 0}, {"2147483647", INT32_MAX},
                             {"-2147483648", INT32_MIN}, {"1e-400", 0}}) {
    EXPECT_EQ(ToInt32(text), value) << text;
  }
  auto errorOf = [](const char* text) {
    try {
      ToInt32(text);
    } catch (const VbError& e) {
      return e.Number();
    }
    return 0;
  };
  for (const char* bad : {"", "   ", "abc", "1 2", "0x10", "inf", "nan", ".", "-", "1e", "12a", "\t1"})
    EXPECT_EQ(errorOf(bad), vberr::TypeMismatch) << bad;
  for (const char* big : {"2147483648", "-2147483649", "99999999999999999999", "1e10", "1e400", "2147483647.5"})
    EXPECT_EQ(errorOf(big), vberr::Overflow) << big;
}

}  // namespace
}  // namespace kv
