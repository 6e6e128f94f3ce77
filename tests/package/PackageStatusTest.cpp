// status.ini: Load2 reads it quietly into a loaded package, SaveStatus writes
// it back whole.
#include <gtest/gtest.h>

#include "package/CPackage.h"
#include "package/PackageTestSupport.h"
#include "base/Text.h"

namespace kv {
namespace {

class PackageStatusTest : public ::testing::Test {
 protected:
  void SetUp() override {
    (void)package.Load(dir.Write("setup.ini", Utf8ToAnsi("<header>\r\n Name=Helfer\r\n DefaultPath=*programs*\\Helfer\r\n"
                                                   "</header>\r\n<files>\r\n [file]\r\n  Name=a.dll|Büro.exe|c.txt\r\n"
                                                   " [/file]\r\n</files>\r\n")));
    package.PackageDir = dir.Path();
  }
  // InstalledIn|SourcePath|created folders|each file as Installed@InstalledIn
  static std::string State(const CPackage& p) {
    std::string s = p.InstalledIn + "|" + p.SourcePath + "|";
    for (const auto& path : p.CreatedPaths) s += path + ",";
    for (const auto& f : p.Files) s += "|" + std::to_string(f->Installed) + "@" + f->InstalledIn;
    return s;
  }

  test::TempFolder dir;
  test::UiFixture ui;
  CPackage package{ui.Context()};
};

TEST_F(PackageStatusTest, FileRecordsMatchByNameWithoutRegardToCase) {
  dir.Write("status.ini",
            Utf8ToAnsi("<header>\r\n InstalledIn=C:\\Helfer\r\n</header>\r\n"
                       "<createdpaths>\r\n C:\\Helfer\r\n C:\\Helfer\\Daten\r\n</createdpaths>\r\n<files>\r\n"
                       " [File]\r\n  Name=A.DLL\r\n  Installed=3\r\n  InstalledIn=C:\\Windows\r\n [/File]\r\n"
                       " [file]\r\n  Name=bÜRO.exe\r\n  Installed=1\r\n [/file]\r\n"
                       " [file]\r\n  Name=weg.dll\r\n  Installed=1\r\n [/file]\r\n [file]\r\n  Installed=1\r\n [/file]\r\n"
                       " [file]\r\n  Name=c.txt\r\n  Installed=viel\r\n  InstalledIn=D:\\x\r\n [/file]\r\n</files>\r\n"));
  package.Files[2]->Installed = 9;
  package.Load2();
  // Büro.exe takes the package's folder; c.txt keeps its old number but the rest
  // of its record is read; unknown names are dropped, not added.
  EXPECT_EQ(State(package), "C:\\Helfer|d:|C:\\Helfer,C:\\Helfer\\Daten,|3@C:\\Windows|1@C:\\Helfer|9@D:\\x");
  EXPECT_TRUE(ui.ui.Boxes().empty());
}

// Records are matched while the file is read; a record without a folder
// still takes the header's, wherever the header stands, and a later record
// of the same file decides.
TEST_F(PackageStatusTest, RecordsWithoutFolderTakeTheHeaderWhereverItStands) {
  struct { const char* files; const char* state; } cases[] = {
      {" [file]\r\n  Name=a.dll\r\n  Installed=1\r\n [/file]\r\n", "C:\\Spät|d:||1@C:\\Spät|0@|0@"},
      {" [file]\r\n  Name=a.dll\r\n  InstalledIn=D:\\x\r\n [/file]\r\n [file]\r\n  Name=a.dll\r\n [/file]\r\n"
       " [file]\r\n  Name=c.txt\r\n [/file]\r\n [file]\r\n  Name=c.txt\r\n  InstalledIn=E:\\y\r\n [/file]\r\n",
       "C:\\Spät|d:||0@C:\\Spät|0@|0@E:\\y"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.files);
    for (const auto& f : package.Files) f->InstalledIn.clear();
    dir.Write("status.ini", Utf8ToAnsi(std::string("<files>\r\n") + c.files +
                                       "</files>\r\n<header>\r\n InstalledIn=C:\\Spät\r\n</header>\r\n"));
    package.Load2();
    EXPECT_EQ(State(package), c.state);
  }
}

TEST_F(PackageStatusTest, SaveWritesEveryFileAndLoadRestoresTheRecord) {
  package.InstalledIn = "C:\\Hälfte";
  package.SourcePath = "\\\\server\\medium";
  package.CreatedPaths = {"C:\\Hälfte", "C:\\A"};
  package.Files[0]->Installed = -1;
  package.Files[0]->InstalledIn = "C:\\Windows";
  package.Files[2]->Installed = 2;
  package.Files[2]->InstalledIn = "C:\\Hälfte";
  package.SaveStatus();
  EXPECT_EQ(test::ReadBytes(dir / "status.ini"),
            "<Header>\r\n InstalledIn=C:\\H\xE4lfte\r\n SourcePath=\\\\server\\medium\r\n</Header>\r\n"
            "<CreatedPaths>\r\n C:\\H\xE4lfte\r\n C:\\A\r\n</CreatedPaths>\r\n<Files>\r\n"
            " [File]\r\n  Name=a.dll\r\n  Installed=-1\r\n  InstalledIn=C:\\Windows\r\n [/File]\r\n"
            " [File]\r\n  Name=B\xFCro.exe\r\n  Installed=0\r\n  InstalledIn\r\n [/File]\r\n"
            " [File]\r\n  Name=c.txt\r\n  Installed=2\r\n  InstalledIn=C:\\H\xE4lfte\r\n [/File]\r\n</Files>\r\n");

  test::UiFixture otherUi;
  CPackage again(otherUi.Context());
  ASSERT_TRUE(again.Load(dir / "setup.ini"));
  again.PackageDir = dir.Path() + "\\";  // a trailing "\" names the same file
  EXPECT_EQ(again.StatusFileName(), package.StatusFileName());
  again.Load2();
  EXPECT_EQ(State(again), State(package));
}

// The record goes to disk in pieces of a thousand files; the text is the
// same as in one piece.
TEST_F(PackageStatusTest, ALongFileListIsWrittenWhole) {
  std::string names, expected = "<Header>\r\n InstalledIn=C:\\\xC4\r\n SourcePath=d:\r\n</Header>\r\n"
                                "<CreatedPaths>\r\n</CreatedPaths>\r\n<Files>\r\n";
  for (int i = 0; i < 2500; ++i) {
    names += (i ? "|f" : "f") + std::to_string(i);
    expected += " [File]\r\n  Name=f" + std::to_string(i) + "\r\n  Installed=1\r\n  InstalledIn=C:\\\xC4\r\n [/File]\r\n";
  }
  ASSERT_TRUE(package.Load(dir.Write("setup.ini", "<files>\r\n [file]\r\n  Name=" + names + "\r\n [/file]\r\n</files>\r\n")));
  package.InstalledIn = "C:\\Ä";
  package.SourcePath = "d:";
  for (const auto& f : package.Files) f->Installed = 1, f->InstalledIn = package.InstalledIn;
  package.SaveStatus();
  EXPECT_EQ(test::ReadBytes(dir / "status.ini"), expected + "</Files>\r\n");
}

TEST_F(PackageStatusTest, FailedOrSuppressedSavesKeepTheOldFile) {
  dir.Write("status.ini", "alt\r\n");
  package.NoStatusSave = true;
  package.SaveStatus();
  package.NoStatusSave = false;
  package.CreatedPaths = {"C:\\Programme\\X", "c:\\programme\\x"};  // a folder recorded twice
  EXPECT_EQ(test::ErrorOf([&] { package.SaveStatus(); }), vberr::DuplicateKey);
  EXPECT_EQ(test::ReadBytes(dir / "status.ini"), "alt\r\n");
  EXPECT_TRUE(ui.ui.Boxes().empty());

  package.CreatedPaths.clear();
  package.PackageDir = dir / "gibt es nicht";
  EXPECT_NE(test::ErrorOf([&] { package.SaveStatus(); }), 0);
  EXPECT_EQ(test::Boxes(ui.ui), std::vector<std::string>{"48|Kivra Setup: Testpaket|Beim Speichern der Datei " +
                                                         (dir / "gibt es nicht\\status.ini") +
                                                         " ist ein Fehler aufgetreten."});
}

}  // namespace
}  // namespace kv
