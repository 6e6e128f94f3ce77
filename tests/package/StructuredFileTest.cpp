// The structured file: what the reader accepts, what the writer produces, and
// how failures reach the user.
#include "package/CStructuredFile.h"

#include <gtest/gtest.h>

#include "package/PackageTestSupport.h"

namespace kv {
namespace {

using test::Dump;
using test::TempFolder;
using test::UiFixture;

constexpr int32_t kBadClosingLine = -2147221503;  // 0x80040001

TEST(StructuredFileGrammar, ReadsEveryLineFormAndStopsAtTheFirstError) {
  struct { const char* text; int32_t error; const char* tree; } cases[] = {  // tree: what was read
      // Split at the first "=": the blank after it stays, trailing blanks go.
      {"Name = Wert  \r\nWort\r\n=leer\r\na=b=c\r\n   Eingerückt=  x\r\n", 0,
       R"(Name=" Wert"Wort=""="leer"a="b=c"Eingerückt="  x")"},
      // Brackets decide before "="; half a bracket or a tab makes a value; names are trimmed.
      {"<a=b>\n</a=b>\n<halb\n[auch halb\n\t<files>\n< header >\n[ file ]\n", 0,
       "<a=b>{}<halb=\"\"[auch halb=\"\"\t<files>=\"\"<header>{[file]{}}"},
      {"<header>\n Name=x\n</HEADER>\n[File]\n[/fILE]\n", 0, R"(<header>{Name="x"}[File]{})"},
      {"<header>\n[/header]\n", kBadClosingLine, "<header>{}"},
      {"[file]\n</file>\n", kBadClosingLine, "[file]{}"},
      {"<a>\n</b>\n", kBadClosingLine, "<a>{}"},
      {"</x>\n", kBadClosingLine, ""},
      {"[/]\n", kBadClosingLine, ""},
      {"vorher=1\n<a>\n innen=2\n</b>\nnachher=3\n", kBadClosingLine, R"(vorher="1"<a>{innen="2"})"},
      {"a=1\n</>\n<kaputt>\n[/falsch]\n", 0, R"(a="1")"},  // "</>" ends the whole file
      {"<files>\n [file]\n  Name=a.dll", 0, R"(<files>{[file]{Name="a.dll"}})"},  // end of file closes
      {"a=1\rb=2\nc=3\r\n\r\n    \n\nd=4", 0, R"(a="1"b="2"c="3"d="4")"},
      // Keys are unique per group in any case; collection items repeat.
      {"<files>\n</files>\n<FILES>\n</FILES>\n", vberr::DuplicateKey, "<files>{}"},
      {"files=1\n<files>\n</files>\n", vberr::DuplicateKey, R"(files="1")"},
      {"a=1\nA=2\n", vberr::DuplicateKey, R"(a="1")"},
      {"<x>\n a=1\n</x>\n<y>\n a=1\n</y>\n", 0, R"(<x>{a="1"}<y>{a="1"})"},
      {"[file]\n[/file]\n[file]\n[/file]\n[FILE]\n[/FILE]\n", 0, "[file]{}[file]{}[FILE]{}"},
  };
  UiFixture ui;
  CStructuredFile file(ui.Context());
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(file.LoadFromText(c.text), c.error);
    EXPECT_EQ(Dump(*file.Root()), c.tree);
  }
  std::string deep, fine;  // too deep is an error, not a crash
  for (int i = 0; i < 100000; ++i) deep += "<g>\n";
  for (int i = 0; i < StructuredLineReader::kMaxDepth; ++i) fine += "[g]\n";
  EXPECT_EQ(file.LoadFromText(deep), vberr::OutOfStackSpace);
  EXPECT_EQ(file.LoadFromText(fine), 0);
}

// The writer's form (one blank per level, CR LF, a value without "=" when
// empty) is checked byte for byte where status.ini is saved and where a
// German file survives loading and saving.
// Parsed groups keep their items in the file's memory; a group taken out must
// stay usable after the file is gone, and a clone must share nothing.
TEST(StructuredFileTree, GroupsOutliveTheirFileAndClonesShareNothing) {
  UiFixture ui;
  std::shared_ptr<CStructuredFileGroup> kept;
  {
    CStructuredFile file(ui.Context());
    ASSERT_EQ(file.LoadFromText("<oninstall>\n [mkdir]\n  Path=x\n [/mkdir]\n [c]\n [/c]\n</oninstall>\n"), 0);
    kept = file.Root()->GroupNamed("OnInstall");
    ASSERT_EQ(file.LoadFromText("a=1\n"), 0);
  }
  ASSERT_NE(kept, nullptr);
  for (int i = 0; i < 20; ++i) kept->SetValue("neu" + std::to_string(i), "v");
  EXPECT_EQ(kept->Items.size(), 22u);
  EXPECT_EQ(kept->Items[0]->AsGroup()->GetValue("path", ""), "x");
  auto copy = kept->Clone();
  EXPECT_EQ(Dump(*copy), Dump(*kept));
  EXPECT_FALSE(copy->Items.HasKeyAt(1));  // collection items stay without key
  copy->SetValue("NEU0", "2");
  EXPECT_EQ(kept->GetValue("neu0", ""), "v");
  StructuredItems items = kept->Items;
  kept.reset();
  EXPECT_TRUE(items.Contains("neu19"));
  EXPECT_EQ(copy->GetValue("neu0", "") + copy->GetValue("neu19", ""), "2v");
}

TEST(StructuredFileDisk, GermanFileSurvivesLoadAndSaveByteForByte) {
  TempFolder dir;
  const std::string ansi =
      "<header>\r\n Name=B\xFC" "rohelfer\r\n Caption=Gr\xF6\xDF" "e & \xC4rger \x80 \x84" "Anf\xFChrung\x93\r\n"
      " Leer\r\n</header>\r\n<files>\r\n [file]\r\n  Name=\xDC" "bersicht.dll|b.dll\r\n"
      "  DestinationPath= *appdir*\\\xC4nderungen\r\n [/file]\r\n</files>\r\n";
  UiFixture ui;
  CStructuredFile file(ui.Context());
  file.FileName = dir.Write("setup.ini", ansi);
  ASSERT_EQ(file.Load(), 0);
  EXPECT_EQ(file.Root()->GroupNamed("HEADER")->GetValue("name", ""), "Bürohelfer");
  ASSERT_EQ(file.Save(), 0);
  EXPECT_EQ(test::ReadBytes(file.FileName), ansi);
  file.Root()->Items.Clear();  // a shorter tree replaces the file whole
  file.Root()->AddValue("kurz", "");
  ASSERT_EQ(file.Save(), 0);
  EXPECT_EQ(test::ReadBytes(file.FileName), "kurz\r\n");
  EXPECT_FALSE(test::Exists(file.FileName + ".kvtmp"));
  EXPECT_TRUE(ui.ui.Boxes().empty());
}

// A file is read in pieces of 256 KB: a line across a piece's end and one
// longer than a piece read as they do in the whole text.
TEST(StructuredFileDisk, PiecewiseReadingMatchesTheWholeText) {
  constexpr size_t kPiece = 256 * 1024;
  std::string ansi = "<g>\r\n lang=" + std::string(kPiece - 20, 'x') + "\r\n";
  ansi += " \xC4nderung=" + std::string(kPiece + 100, 'y') + "\r\n z=\xFC\r</g>\n[i]\r\n a\r\n";
  TempFolder dir;
  UiFixture ui;
  CStructuredFile file(ui.Context()), whole(ui.Context());
  file.FileName = dir.Write("setup.ini", ansi);
  ASSERT_EQ(file.LoadSilently(), 0);
  ASSERT_EQ(whole.LoadFromText(AnsiToUtf8(ansi)), 0);
  EXPECT_EQ(Dump(*file.Root()), Dump(*whole.Root()));
  EXPECT_EQ(file.Root()->GroupNamed("g")->GetValue("änderung", "").size(), kPiece + 100);
  // A short file ending in a lone CR: its last refill grows the buffer.
  CStructuredFile small(ui.Context());
  small.FileName = dir.Write("status.ini", "a=1\r\nlast=\xFC\r");
  ASSERT_EQ(small.LoadSilently(), 0);
  EXPECT_EQ(small.Root()->GetValue("last", ""), "ü");
}

}  // namespace
}  // namespace kv
