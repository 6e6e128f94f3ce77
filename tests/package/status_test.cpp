// status.ini: Load2 reads it quietly into a loaded package, SaveStatus writes
// it back whole.
#include <gtest/gtest.h>

#include "package/CPackage.h"
#include "package/PackageTestSupport.h"
#include "package/Text.h"
#include "package/VbError.h"

namespace kv {
namespace {

using test::TempFolder;
using test::UiFixture;

class PackageStatusTest : public ::testing::Test {
 protected:
  void SetUp() override {
    package.Load(dir.Write("setup.ini", Utf8ToAnsi("<header>\r\n Name=Helfer\r\n DefaultPath=*programs*\\Helfer\r\n"
                                                   "</header>\r\n<files>\r\n [file]\r\n  Name=a.dll|Büro.exe|c.txt\r\n"
                                                   " [/file]\r\n</files>\r\n")));
    package.PackageDir = dir.Path();
  }
  const CFile& File(const char* name) { return **package.Files.Find(name); }
  int32_t SaveError() {
    try {
      package.SaveStatus();
    } catch (const VbError& e) {
      return e.Number();
    }
    return 0;
  }

  TempFolder dir;
  UiFixture ui;
  CPackage package{ui.Context()};
};

TEST_F(PackageStatusTest, HeaderDefaultsAndWhatAMissingOrDamagedFileLeaves) {
  struct Case {
    const char* status;  // nullptr: no status.ini
    const char* installedIn;
    const char* sourcePath;
  } cases[] = {
      {nullptr, "", "E:\\"},  // not installed; the source stays
      {"<files>\r\n</files>\r\n", "C:\\alt", "E:\\"},  // no header: both stay
      {"<Header>\r\n</Header>\r\n", "*programs*\\Helfer", "d:"},  // placeholders stay unexpanded
      {"<header>\r\n InstalledIn=C:\\X\r\n</header>\r\n<files>\r\n [file]\r\n</files>\r\n", "C:\\X", "d:"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.status ? c.status : "(none)");
    if (c.status) dir.Write("status.ini", c.status);
    package.InstalledIn = "C:\\alt";
    package.SourcePath = "E:\\";
    package.Load2();
    EXPECT_EQ(package.InstalledIn, c.installedIn);
    EXPECT_EQ(package.SourcePath, c.sourcePath);
  }
  EXPECT_TRUE(ui.ui.Boxes().empty());
}

TEST_F(PackageStatusTest, FileRecordsMatchByNameWithoutRegardToCase) {
  dir.Write("status.ini",
            Utf8ToAnsi("<header>\r\n InstalledIn=C:\\Programme\\Helfer\r\n SourcePath=E:\\\r\n</header>\r\n"
                       "<createdpaths>\r\n C:\\Programme\\Helfer\r\n C:\\Programme\\Helfer\\Daten\r\n</createdpaths>\r\n"
                       "<files>\r\n"
                       " [File]\r\n  Name=A.DLL\r\n  Installed=3\r\n  InstalledIn=C:\\Windows\\System32\r\n [/File]\r\n"
                       " [file]\r\n  Name=bÜRO.exe\r\n  Installed=1\r\n [/file]\r\n"
                       " [file]\r\n  Name=weg.dll\r\n  Installed=1\r\n [/file]\r\n"
                       " [file]\r\n  Installed=1\r\n [/file]\r\n"
                       " [file]\r\n  Name=c.txt\r\n  Installed=viel\r\n  InstalledIn=D:\\x\r\n [/file]\r\n"
                       "</files>\r\n"));
  package.Files[2]->Installed = 9;
  package.Load2();
  EXPECT_EQ(package.CreatedPaths, (std::vector<std::string>{"C:\\Programme\\Helfer", "C:\\Programme\\Helfer\\Daten"}));
  EXPECT_EQ(File("a.dll").Installed, 3);
  EXPECT_EQ(File("a.dll").InstalledIn, "C:\\Windows\\System32");
  EXPECT_EQ(File("Büro.exe").Installed, 1);
  EXPECT_EQ(File("Büro.exe").InstalledIn, "C:\\Programme\\Helfer");  // the package's folder
  EXPECT_EQ(File("c.txt").Installed, 9);          // damaged number: old value stays ...
  EXPECT_EQ(File("c.txt").InstalledIn, "D:\\x");  // ... and the record is still read
  EXPECT_EQ(package.Files.size(), 3u);            // unknown names are dropped, not added
  EXPECT_TRUE(ui.ui.Boxes().empty());
}

TEST_F(PackageStatusTest, SaveWritesEveryFileAndLoadRestoresTheRecord) {
  package.InstalledIn = "C:\\Programme\\Hälfte";
  package.SourcePath = "\\\\server\\medium";
  package.CreatedPaths = {"C:\\Programme\\Hälfte", "C:\\A"};
  package.Files[0]->Installed = -1;
  package.Files[0]->InstalledIn = "C:\\Windows";
  package.Files[2]->Installed = 2;
  package.Files[2]->InstalledIn = "C:\\Programme\\Hälfte";
  package.SaveStatus();
  EXPECT_EQ(test::ReadBytes(dir / "status.ini"),
            "<Header>\r\n InstalledIn=C:\\Programme\\H\xE4lfte\r\n SourcePath=\\\\server\\medium\r\n</Header>\r\n"
            "<CreatedPaths>\r\n C:\\Programme\\H\xE4lfte\r\n C:\\A\r\n</CreatedPaths>\r\n"
            "<Files>\r\n"
            " [File]\r\n  Name=a.dll\r\n  Installed=-1\r\n  InstalledIn=C:\\Windows\r\n [/File]\r\n"
            " [File]\r\n  Name=B\xFCro.exe\r\n  Installed=0\r\n  InstalledIn\r\n [/File]\r\n"
            " [File]\r\n  Name=c.txt\r\n  Installed=2\r\n  InstalledIn=C:\\Programme\\H\xE4lfte\r\n [/File]\r\n"
            "</Files>\r\n");

  UiFixture otherUi;
  CPackage again(otherUi.Context());
  again.Load(dir / "setup.ini");
  again.PackageDir = dir.Path() + "\\";  // a trailing "\" names the same file
  EXPECT_EQ(again.StatusFileName(), package.StatusFileName());
  again.Load2();
  EXPECT_EQ(again.InstalledIn, package.InstalledIn);
  EXPECT_EQ(again.SourcePath, package.SourcePath);
  EXPECT_EQ(again.CreatedPaths, package.CreatedPaths);
  for (size_t i = 0; i < package.Files.size(); ++i) {
    EXPECT_EQ(again.Files[i]->Installed, package.Files[i]->Installed) << i;
    EXPECT_EQ(again.Files[i]->InstalledIn, package.Files[i]->InstalledIn) << i;
  }
}

TEST_F(PackageStatusTest, FailedOrSuppressedSavesKeepTheOldFile) {
  dir.Write("status.ini", "alt\r\n");
  package.NoStatusSave = true;
  package.SaveStatus();
  package.NoStatusSave = false;
  package.CreatedPaths = {"C:\\Programme\\X", "c:\\programme\\x"};  // a folder recorded twice
  EXPECT_EQ(SaveError(), vberr::DuplicateKey);
  EXPECT_EQ(test::ReadBytes(dir / "status.ini"), "alt\r\n");
  EXPECT_TRUE(ui.ui.Boxes().empty());

  package.CreatedPaths.clear();
  package.PackageDir = dir / "gibt es nicht";
  EXPECT_NE(SaveError(), 0);
  ASSERT_EQ(ui.ui.Boxes().size(), 1u);
  EXPECT_EQ(ui.ui.Boxes()[0].request.text,
            "Beim Speichern der Datei " + (dir / "gibt es nicht\\status.ini") + " ist ein Fehler aufgetreten.");
}

}  // namespace
}  // namespace kv
