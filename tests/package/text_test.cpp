// Code-page conversion, case folding, blank trimming and number conversion:
// the text rules every package file relies on.
#include "package/Text.h"

#include <gtest/gtest.h>

#include "package/VbError.h"

namespace kv {
namespace {

TEST(AnsiCodec, EveryByteSurvivesTheRoundTrip) {
  std::string all;
  for (int b = 1; b < 256; ++b) all += static_cast<char>(b);
  EXPECT_EQ(Utf8ToAnsi(AnsiToUtf8(all)), all);
}

TEST(AnsiCodec, GermanTextDecodesToUtf8AndBack) {
  const std::string ansi = "Gr\xF6\xDF" "e \xC4\xD6\xDC\xE4\xF6\xFC \x80 \x84Zitat\x93";
  const std::string utf8 = "Größe ÄÖÜäöü € „Zitat“";
  EXPECT_EQ(AnsiToUtf8(ansi), utf8);
  EXPECT_EQ(Utf8ToAnsi(utf8), ansi);
}

TEST(AnsiCodec, WhatTheCodePageLacksBecomesQuestionMark) {
  EXPECT_EQ(Utf8ToAnsi("a\xE6\xBC\xA2z"), "a?z");  // a CJK character
  EXPECT_EQ(Utf8ToAnsi("a\xFFz"), "a?z");          // malformed UTF-8
}

TEST(AnsiCodec, WideConversionHandlesAllPlanes) {
  const std::string text = "Ä€😀x";
  EXPECT_EQ(WideToUtf8(Utf8ToWide(text)), text);
  EXPECT_EQ(Utf8ToWide("\xC3"), std::wstring(1, static_cast<wchar_t>(0xFFFD)));
}

TEST(CaseFolding, LatinAndBeyondFoldLikeWindows) {
  EXPECT_EQ(LowerCase("ÄÖÜ ÀÉÎ ŠŽŒŸ ÇÑ ABC"), "äöü àéî šžœÿ çñ abc");
  EXPECT_EQ(LowerCase("ДОМ Ωμέγα"), "дом ωμέγα");
  EXPECT_EQ(LowerCase("×÷ß"), "×÷ß");  // no case, stays
  EXPECT_TRUE(EqualsNoCase("Größe", "GRÖßE"));
  EXPECT_TRUE(EqualsNoCase("DATEI.DLL", "datei.dll"));
  EXPECT_FALSE(EqualsNoCase("Datei", "Dateien"));
  EXPECT_FALSE(EqualsNoCase("strasse", "straße"));
  EXPECT_FALSE(EqualsNoCase("a", "à"));
}

TEST(CaseFolding, EqualKeysHashEqual) {
  const char* pairs[][2] = {{"Header", "HEADER"}, {"Übersicht", "üBERSICHT"}, {"Šéf", "šÉF"}, {"", ""}};
  for (auto& p : pairs) {
    EXPECT_TRUE(EqualsNoCase(p[0], p[1])) << p[0];
    EXPECT_EQ(HashNoCase(p[0]), HashNoCase(p[1])) << p[0];
  }
  EXPECT_NE(HashNoCase("file1"), HashNoCase("file2"));
}

TEST(Trimming, OnlySpacesAreBlanks) {
  EXPECT_EQ(TrimBlanks("  a b  "), "a b");
  EXPECT_EQ(TrimBlanks("\ta\t"), "\ta\t");
  EXPECT_EQ(TrimLeadingBlanks("  x  "), "x  ");
  EXPECT_EQ(TrimTrailingBlanks("  x  "), "  x");
  EXPECT_EQ(TrimBlanks("    "), "");
}

TEST(NumberConversion, AcceptsOrdinaryDecimalForms) {
  EXPECT_EQ(ToInt32("0"), 0);
  EXPECT_EQ(ToInt32("  2  "), 2);
  EXPECT_EQ(ToInt32("-17"), -17);
  EXPECT_EQ(ToInt32("+5"), 5);
  EXPECT_EQ(ToInt32("007"), 7);
  EXPECT_EQ(ToInt32("2.5"), 2);  // half to even
  EXPECT_EQ(ToInt32("3.5"), 4);
  EXPECT_EQ(ToInt32("-2.7"), -3);
  EXPECT_EQ(ToInt32("1e3"), 1000);
  EXPECT_EQ(ToInt32(".5"), 0);
  EXPECT_EQ(ToInt32("2147483647"), 2147483647);
  EXPECT_EQ(ToInt32("-2147483648"), INT32_MIN);
  EXPECT_EQ(ToInt32("1e-400"), 0);
}

TEST(NumberConversion, RejectsWhatIsNotANumber) {
  for (const char* bad : {"", "   ", "abc", "1 2", "0x10", "inf", "nan", ".", "-", "1e", "12a", "\t1"}) {
    try {
      ToInt32(bad);
      ADD_FAILURE() << "accepted '" << bad << "'";
    } catch (const VbError& e) {
      EXPECT_EQ(e.Number(), vberr::TypeMismatch) << bad;
    }
  }
  for (const char* big : {"2147483648", "-2147483649", "99999999999999999999", "1e10", "1e400", "2147483647.5"}) {
    try {
      ToInt32(big);
      ADD_FAILURE() << "accepted '" << big << "'";
    } catch (const VbError& e) {
      EXPECT_EQ(e.Number(), vberr::Overflow) << big;
    }
  }
}

}  // namespace
}  // namespace kv
