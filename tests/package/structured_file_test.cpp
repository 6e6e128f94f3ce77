// The structured file: what the reader accepts, what the writer produces, and
// how failures reach the user.
#include "package/CStructuredFile.h"

#include <gtest/gtest.h>

#include "package/VbError.h"
#include "package/PackageTestSupport.h"

namespace kv {
namespace {

using test::TempFolder;
using test::UiFixture;

constexpr int32_t kBadClosingLine = -2147221503;  // 0x80040001

class StructuredFileTest : public ::testing::Test {
 protected:
  // Parses `text`; returns the error number (0 on success).
  int32_t Parse(const std::string& text) { return file.LoadFromText(text); }
  const CStructuredFileProp& Prop(const CStructuredFileGroup& g, size_t i) {
    EXPECT_LT(i, g.Items.size());
    const CStructuredFileProp* p = g.Items[i]->AsProp();
    EXPECT_NE(p, nullptr) << "item " << i << " is a group";
    return *p;
  }
  const CStructuredFileGroup& Group(const CStructuredFileGroup& g, size_t i) {
    EXPECT_LT(i, g.Items.size());
    const CStructuredFileGroup* c = g.Items[i]->AsGroup();
    EXPECT_NE(c, nullptr) << "item " << i << " is a value";
    return *c;
  }
  const CStructuredFileGroup& Root() { return *file.Root(); }

  UiFixture ui;
  CStructuredFile file{ui.Context()};
};

TEST_F(StructuredFileTest, ValueLinesSplitAtTheFirstEqualsSign) {
  ASSERT_EQ(Parse("Name = Wert  \r\nWort\r\n=leer\r\na=b=c\r\n   Eingerückt=  x\r\n"), 0);
  ASSERT_EQ(Root().Items.size(), 5u);
  EXPECT_EQ(Prop(Root(), 0).Name, "Name");
  EXPECT_EQ(Prop(Root(), 0).Value, " Wert");  // blank after "=" kept, trailing ones dropped
  EXPECT_EQ(Prop(Root(), 1).Name, "Wort");
  EXPECT_EQ(Prop(Root(), 1).Value, "");
  EXPECT_EQ(Prop(Root(), 2).Name, "");
  EXPECT_EQ(Prop(Root(), 2).Value, "leer");
  EXPECT_EQ(Prop(Root(), 3).Value, "b=c");
  EXPECT_EQ(Prop(Root(), 4).Name, "Eingerückt");
  EXPECT_EQ(Prop(Root(), 4).Value, "  x");
}

TEST_F(StructuredFileTest, BracketsDecideBeforeTheEqualsSign) {
  ASSERT_EQ(Parse("<a=b>\n</a=b>\n<halb\n[auch halb\n\t<files>\n< header >\n[ file ]\n"), 0);
  EXPECT_EQ(Group(Root(), 0).Name, "a=b");
  EXPECT_EQ(Prop(Root(), 1).Name, "<halb");
  EXPECT_EQ(Prop(Root(), 2).Name, "[auch halb");
  EXPECT_EQ(Prop(Root(), 3).Name, "\t<files>");  // a tab is not a blank
  EXPECT_EQ(Group(Root(), 4).Name, "header");    // names are trimmed
  EXPECT_EQ(Group(Group(Root(), 4), 0).Name, "file");
  EXPECT_TRUE(Group(Group(Root(), 4), 0).CollectionItem);
}

TEST_F(StructuredFileTest, ClosingLinesMatchNameAndKindWithoutRegardToCase) {
  EXPECT_EQ(Parse("<header>\n Name=x\n</HEADER>\n[File]\n[/fILE]\n"), 0);
  EXPECT_EQ(Root().Items.size(), 2u);

  for (const char* bad : {"<header>\n[/header]\n", "[file]\n</file>\n", "<a>\n</b>\n", "</x>\n", "[/]\n"}) {
    EXPECT_EQ(Parse(bad), kBadClosingLine) << bad;
  }
}

TEST_F(StructuredFileTest, AnErrorKeepsWhatWasReadBeforeIt) {
  EXPECT_EQ(Parse("vorher=1\n<a>\n innen=2\n</b>\nnachher=3\n"), kBadClosingLine);
  ASSERT_EQ(Root().Items.size(), 2u);
  EXPECT_EQ(Root().GetValue("vorher", ""), "1");
  EXPECT_EQ(Root().GroupNamed("A")->GetValue("innen", ""), "2");
  EXPECT_FALSE(Root().ItemExists("nachher"));
}

TEST_F(StructuredFileTest, EmptyClosingLineEndsTheWholeFileAtTopLevel) {
  EXPECT_EQ(Parse("a=1\n</>\n<kaputt>\n[/falsch]\n"), 0);
  EXPECT_EQ(Root().Items.size(), 1u);
}

TEST_F(StructuredFileTest, EndOfFileClosesOpenGroups) {
  EXPECT_EQ(Parse("<files>\n [file]\n  Name=a.dll"), 0);
  auto files = Root().GroupNamed("files");
  ASSERT_NE(files, nullptr);
  EXPECT_EQ(Group(*files, 0).GetValue("Name", ""), "a.dll");
}

TEST_F(StructuredFileTest, KeysAreUniquePerGroupButCollectionItemsRepeat) {
  EXPECT_EQ(Parse("<files>\n</files>\n<FILES>\n</FILES>\n"), vberr::DuplicateKey);
  EXPECT_EQ(Parse("files=1\n<files>\n</files>\n"), vberr::DuplicateKey);
  EXPECT_EQ(Parse("a=1\nA=2\n"), vberr::DuplicateKey);
  EXPECT_EQ(Parse("<x>\n a=1\n</x>\n<y>\n a=1\n</y>\n"), 0);  // same key, other group
  EXPECT_EQ(Parse("[file]\n[/file]\n[file]\n[/file]\n[FILE]\n[/FILE]\n"), 0);
  EXPECT_EQ(Root().Items.size(), 3u);
}

TEST_F(StructuredFileTest, AnyLineEndWorksAndBlankLinesAreSkipped) {
  ASSERT_EQ(Parse("a=1\rb=2\nc=3\r\n\r\n    \n\nd=4"), 0);
  EXPECT_EQ(Root().Items.size(), 4u);
  EXPECT_EQ(Root().GetValue("d", ""), "4");
}

TEST_F(StructuredFileTest, NestingDeeperThanTheLimitIsAnErrorNotACrash) {
  std::string deep;
  for (int i = 0; i < 100000; ++i) deep += "<g>\n";
  EXPECT_EQ(Parse(deep), vberr::OutOfStackSpace);
  std::string fine;
  for (int i = 0; i < StructuredLineReader::kMaxDepth; ++i) fine += "[g]\n";
  EXPECT_EQ(Parse(fine), 0);
}

TEST_F(StructuredFileTest, ValueAccessFallsBackToTheDefault) {
  ASSERT_EQ(Parse("<g>\n</g>\nv=1\n"), 0);
  CStructuredFileGroup& root = *file.Root();
  EXPECT_EQ(root.GetValue("V", "d"), "1");
  EXPECT_EQ(root.GetValue("g", "d"), "d");  // a group has no value
  EXPECT_EQ(root.GetValue("fehlt", "d"), "d");
  root.SetValue("g", "x");  // a group stays a group
  EXPECT_TRUE(root.Items[0]->IsGroup());
  root.SetValue("v", "2");
  root.SetValue("neu", "3");
  EXPECT_EQ(root.GetValue("v", ""), "2");
  EXPECT_EQ(root.Items[2]->Name, "neu");
}

TEST_F(StructuredFileTest, WriterIndentsOneBlankPerLevel) {
  CStructuredFileGroup& root = *file.Root();
  root.AddValue("Oben", "1");
  auto files = root.AddGroup("Files", false);
  auto one = files->AddGroup("File", true);
  one->AddValue("Name", "a.dll");
  one->AddValue("Leer", "");
  files->AddValue("Wert", " mit Blank");
  EXPECT_EQ(file.ToText(),
            "Oben=1\r\n"
            "<Files>\r\n"
            " [File]\r\n"
            "  Name=a.dll\r\n"
            "  Leer\r\n"
            " [/File]\r\n"
            " Wert= mit Blank\r\n"
            "</Files>\r\n");
  const std::string written = file.ToText();
  ASSERT_EQ(Parse(written), 0);
  EXPECT_EQ(file.ToText(), written);
  EXPECT_EQ(Root().GroupNamed("files")->GetValue("Wert", ""), " mit Blank");
}

TEST(StructuredFileTree, ItemsOutliveTheFileTheyWereReadWith) {
  UiFixture ui;
  std::shared_ptr<CStructuredFileGroup> kept;
  {
    CStructuredFile file(ui.Context());
    ASSERT_EQ(file.LoadFromText("<oninstall>\n [mkdir]\n  Path=x\n [/mkdir]\n</oninstall>\n"), 0);
    kept = file.Root()->GroupNamed("OnInstall");
    ASSERT_EQ(file.LoadFromText("a=1\n"), 0);  // the first tree is dropped by the file
  }
  ASSERT_NE(kept, nullptr);
  EXPECT_EQ(kept->Items[0]->AsGroup()->GetValue("path", ""), "x");
  // The group can still grow (its item list lives with the file's items).
  for (int i = 0; i < 20; ++i) kept->SetValue("neu" + std::to_string(i), "v");
  EXPECT_EQ(kept->Items.size(), 21u);
  EXPECT_EQ(kept->GetValue("NEU19", ""), "v");
  StructuredItems copy = kept->Items;
  kept.reset();
  EXPECT_EQ(copy.size(), 21u);
  EXPECT_TRUE(copy.Contains("neu7"));
}

TEST(StructuredFileTree, CloneIsADeepIndependentCopy) {
  UiFixture ui;
  CStructuredFile file(ui.Context());
  ASSERT_EQ(file.LoadFromText("<g>\n a=1\n [c]\n  b\n [/c]\n [c]\n [/c]\n</g>\n"), 0);
  auto original = file.Root()->GroupNamed("g");
  auto copy = original->Clone();
  std::string a, b;
  original->Save(a, 0);
  copy->Save(b, 0);
  EXPECT_EQ(a, b);
  EXPECT_FALSE(copy->Items.HasKeyAt(1));  // collection items stay without key
  copy->SetValue("A", "2");
  EXPECT_EQ(original->GetValue("a", ""), "1");
  EXPECT_EQ(copy->GetValue("a", ""), "2");
}

TEST(StructuredFileDisk, GermanFileSurvivesLoadAndSaveByteForByte) {
  TempFolder dir;
  const std::string ansi =
      "<header>\r\n"
      " Name=B\xFC" "rohelfer\r\n"
      " Caption=Gr\xF6\xDF" "e & \xC4rger \x80 \x84" "Anf\xFChrung\x93\r\n"
      " Leer\r\n"
      "</header>\r\n"
      "<files>\r\n"
      " [file]\r\n"
      "  Name=\xDC" "bersicht.dll|b.dll\r\n"
      "  DestinationPath= *appdir*\\\xC4nderungen\r\n"
      " [/file]\r\n"
      "</files>\r\n";
  UiFixture ui;
  CStructuredFile file(ui.Context());
  file.FileName = dir.Write("setup.ini", ansi);
  ASSERT_EQ(file.Load(), 0);
  EXPECT_EQ(file.Root()->GroupNamed("HEADER")->GetValue("name", ""), "Bürohelfer");
  ASSERT_EQ(file.Save(), 0);
  EXPECT_EQ(test::ReadBytes(file.FileName), ansi);
  EXPECT_FALSE(test::Exists(file.FileName + ".kvtmp"));
  EXPECT_TRUE(ui.ui.Boxes().empty());
}

TEST(StructuredFileDisk, LoadReplacesTheTreeEachTime) {
  TempFolder dir;
  UiFixture ui;
  CStructuredFile file(ui.Context());
  file.FileName = dir.Write("a.ini", "eins=1\r\n");
  ASSERT_EQ(file.Load(), 0);
  file.FileName = dir.Write("b.ini", "zwei=2\r\n");
  ASSERT_EQ(file.Load(), 0);
  EXPECT_EQ(file.Items().size(), 1u);
  EXPECT_FALSE(file.Root()->ItemExists("eins"));
}

TEST(StructuredFileDisk, MissingFileIsReportedOnceWithTwoBoxes) {
  TempFolder dir;
  UiFixture ui;
  CStructuredFile file(ui.Context());
  file.FileName = dir / "fehlt.ini";
  EXPECT_EQ(file.Load(), vberr::FileNotFound);
  ASSERT_EQ(ui.ui.Boxes().size(), 2u);
  const MessageBoxRequest& first = ui.ui.Boxes()[0].request;
  EXPECT_EQ(first.text, "Beim Laden der Datei " + file.FileName + " ist ein Fehler aufgetreten.");
  EXPECT_EQ(first.icon, MsgIcon::Exclamation);
  EXPECT_EQ(first.title, "Kivra Setup: Testpaket");
  EXPECT_EQ(first.buttons, MsgButtons::OK);
  const MessageBoxRequest& second = ui.ui.Boxes()[1].request;
  EXPECT_EQ(second.text, file.FileName + "-53");
  EXPECT_EQ(second.icon, MsgIcon::None);
  EXPECT_EQ(second.title, "");
  EXPECT_TRUE(file.Items().empty());
}

TEST(StructuredFileDisk, GrammarErrorIsReportedWithItsNumberAndKeepsTheStart) {
  TempFolder dir;
  UiFixture ui;
  CStructuredFile file(ui.Context());
  file.FileName = dir.Write("setup.ini", "<header>\r\n Name=x\r\n[/header]\r\n");
  EXPECT_EQ(file.Load(), kBadClosingLine);
  ASSERT_EQ(ui.ui.Boxes().size(), 2u);
  EXPECT_EQ(ui.ui.Boxes()[1].request.text, file.FileName + "--2147221503");
  EXPECT_EQ(file.Root()->GroupNamed("header")->GetValue("Name", ""), "x");
}

TEST(StructuredFileDisk, SilentLoadReportsNothing) {
  TempFolder dir;
  UiFixture ui;
  CStructuredFile file(ui.Context());
  file.FileName = dir / "fehlt.ini";
  EXPECT_EQ(file.LoadSilently(), vberr::FileNotFound);
  EXPECT_TRUE(ui.ui.Boxes().empty());
}

TEST(StructuredFileDisk, FailedSaveShowsOneBoxAndLeavesNothingBehind) {
  TempFolder dir;
  UiFixture ui;
  CStructuredFile file(ui.Context());
  file.Root()->AddValue("a", "1");
  file.FileName = dir / "fehlt\\status.ini";
  EXPECT_NE(file.Save(), 0);
  ASSERT_EQ(ui.ui.Boxes().size(), 1u);
  const MessageBoxRequest& box = ui.ui.Boxes()[0].request;
  EXPECT_EQ(box.text, "Beim Speichern der Datei " + file.FileName + " ist ein Fehler aufgetreten.");
  EXPECT_EQ(box.icon, MsgIcon::Exclamation);
  EXPECT_EQ(box.title, "Kivra Setup: Testpaket");
  EXPECT_FALSE(test::Exists(dir / "fehlt"));
}

TEST(StructuredFileDisk, SaveReplacesAnExistingFileWhole) {
  TempFolder dir;
  UiFixture ui;
  CStructuredFile file(ui.Context());
  file.FileName = dir.Write("status.ini", std::string(10000, 'x'));
  file.Root()->AddValue("kurz", "");
  ASSERT_EQ(file.Save(), 0);
  EXPECT_EQ(test::ReadBytes(file.FileName), "kurz\r\n");
}

}  // namespace
}  // namespace kv
