// Code-page conversion, case folding and number conversion: the text rules
// every package file relies on (blank trimming shows in the grammar tests).
#include "base/Text.h"

#include <gtest/gtest.h>

#include "package/PackageTestSupport.h"

namespace kv {
namespace {

TEST(AnsiCodec, EveryByteSurvivesAndWhatTheCodePageLacksBecomesQuestionMarks) {
  std::string all;
  for (int b = 1; b < 256; ++b) all += static_cast<char>(b);
  EXPECT_EQ(Utf8ToAnsi(AnsiToUtf8(all)), all);
  EXPECT_EQ(AnsiToUtf8("\x80 \x84\x93"), "€ „“");
  EXPECT_EQ(Utf8ToAnsi("a\xE6\xBC\xA2z\xFF"), "a?z?");  // CJK, then malformed UTF-8
  EXPECT_EQ(WideToUtf8(Utf8ToWide("Ä€😀x")), "Ä€😀x");
  EXPECT_EQ(Utf8ToWide("\xC3"), std::wstring(1, static_cast<wchar_t>(0xFFFD)));
}

TEST(CaseFolding, LatinAndBeyondFoldLikeWindows) {
  EXPECT_EQ(LowerCase("ÄÖÜ ÀÉÎ ŠŽŒŸ ÇÑ ABC ДОМ Ωμέγα ×÷ß"), "äöü àéî šžœÿ çñ abc дом ωμέγα ×÷ß");
  EXPECT_TRUE(EqualsNoCase("Größe", "GRÖßE"));
  EXPECT_EQ(HashNoCase("Šéf"), HashNoCase("šÉF"));
  EXPECT_FALSE(EqualsNoCase("Datei", "Dateien") || EqualsNoCase("strasse", "straße") || EqualsNoCase("a", "à"));
}

TEST(NumberConversion, DecimalFormsRoundHalfToEvenAndFailAsTheClassicConversion) {
  for (auto [text, value] : {std::pair{"0", 0}, {"  2  ", 2}, {"-17", -17}, {"+5", 5}, {"007", 7}, {"2.5", 2},
                             {"3.5", 4}, {"-2.7", -3}, {"1e3", 1000}, {".5", 0}, {"2147483647", INT32_MAX},
                             {"-2147483648", INT32_MIN}, {"1e-400", 0}})
    EXPECT_EQ(ToInt32(text), value) << text;
  auto errorOf = [](const char* text) { return test::ErrorOf([&] { ToInt32(text); }); };
  for (const char* bad : {"", "   ", "abc", "1 2", "0x10", "inf", "nan", ".", "-", "1e", "12a", "\t1"})
    EXPECT_EQ(errorOf(bad), vberr::TypeMismatch) << bad;
  for (const char* big : {"2147483648", "-2147483649", "99999999999999999999", "1e10", "1e400", "2147483647.5"})
    EXPECT_EQ(errorOf(big), vberr::Overflow) << big;
}

}  // namespace
}  // namespace kv
