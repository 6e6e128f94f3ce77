// Reading setup.ini into a CPackage: header defaults, the flag rule, file
// records, macros, registry keys and the failures passed to the caller.
#include "package/CPackage.h"

#include <gtest/gtest.h>

#include "package/PackageTestSupport.h"
#include "base/Text.h"

namespace kv {
namespace {

class PackageDefinitionTest : public ::testing::Test {
 protected:
  // Loads `text` (UTF-8 here, ANSI on disk); returns the thrown error number or 0.
  int32_t Load(const std::string& text) {
    return test::ErrorOf([&] { (void)package.Load(dir.Write("setup.ini", Utf8ToAnsi(text))); });
  }

  test::TempFolder dir;
  test::UiFixture ui;
  CPackage package{ui.Context()};
};

TEST_F(PackageDefinitionTest, HeaderDefaultsAndTheExactNoFlagRule) {
  struct { const char* text; const char* header; } cases[] = {
      {"<files>\r\n</files>\r\n", "|||||||0000"},  // without header nothing is touched
      // With a header every field is set, so no row inherits from the one before.
      {"<HEADER>\r\n Name=Bürohelfer\r\n Caption=Der Bürohelfer\r\n Version=2.1\r\n EXEFile=helfer.exe\r\n"
       " InfoTip=Hilft im Büro\r\n StartMenuGroup=Büro\r\n DefaultPath=*programs*\\Helfer\r\n"
       " DefaultInStartMenu=NO\r\n DefaultOnDesktop=no\r\n DefaultWinStart=\r\n</header>\r\n",
       "Bürohelfer|Der Bürohelfer|2.1|helfer.exe|Hilft im Büro|Büro|*programs*\\Helfer|0110"},
      {"<header>\r\n</header>\r\n",
       "Unbekannte Anwendung|Unbekannte Anwendung||||Kivra|*programs*\\Kivra\\Unbekannte Anwendung|0000"},
      {"<header>\r\n Name=Rechner\r\n DefaultInStartMenu=No\r\n DefaultOnDesktop=0\r\n"
       " DefaultWinStart=FALSE\r\n AllowWinStart=NO\r\n</header>\r\n",
       "Rechner|Rechner||||Kivra|*programs*\\Kivra\\Rechner|1110"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    ASSERT_EQ(Load(c.text), 0);
    const CPackage& p = package;
    EXPECT_EQ(p.Name + "|" + p.Caption + "|" + p.Version + "|" + p.EXEFile + "|" + p.InfoTip + "|" +
                  p.StartMenuGroup + "|" + p.DefaultPath + "|" + std::to_string(p.DefaultInStartMenu) +
                  std::to_string(p.DefaultOnDesktop) + std::to_string(p.DefaultWinStart) +
                  std::to_string(p.AllowWinStart),
              c.header);
  }
}

TEST_F(PackageDefinitionTest, OneFileGroupMayDescribeSeveralFiles) {
  ASSERT_EQ(Load("<Files>\r\n"
                 " [FILE]\r\n  Name=a.dll|b.dll|c.dll\r\n  DestinationName=|x.dll\r\n  DestinationPath=   *appdir*  \r\n"
                 "  SharedFile=\r\n  DontUninstall=NO\r\n  DontOverwrite=NO\r\n  Register= 2 \r\n [/FILE]\r\n"
                 " [other]\r\n  Name=ignored.dll\r\n [/other]\r\n"
                 " [file]\r\n  Name=d.exe|\r\n  DestinationName=e.exe|f.exe|g.exe\r\n  DontOverwrite=ja\r\n [/file]\r\n"
                 " [file]\r\n  DestinationName=ohne Namen\r\n  Register=kein Fehler, denn es gibt keinen Namen\r\n [/file]\r\n"
                 "</Files>\r\n"),
            0);
  // Name>DestinationName@DestinationPath SharedFile DontOverwrite DontUninstall Register Installed InstalledIn
  std::vector<std::string> seen;
  for (const auto& f : package.Files)
    seen.push_back(f->Name + ">" + f->DestinationName + "@" + f->DestinationPath + " " + std::to_string(f->SharedFile) +
                   std::to_string(f->DontOverwrite) + std::to_string(f->DontUninstall) + " " +
                   std::to_string(f->Register) + " " + std::to_string(f->Installed) + f->InstalledIn);
  EXPECT_EQ(seen, (std::vector<std::string>{"a.dll>a.dll@*appdir* 100 2 0", "b.dll>x.dll@*appdir* 100 2 0",
                                            "c.dll>c.dll@*appdir* 100 2 0", "d.exe>e.exe@ 010 0 0",
                                            ">f.exe@ 010 0 0"}));
  EXPECT_EQ((*package.Files.Find("B.DLL"))->DestinationName, "x.dll");
}

TEST_F(PackageDefinitionTest, MacrosAndRegistryKeysAndWhatASecondLoadForgets) {
  ASSERT_EQ(Load("<OnInstall>\r\n [mkdir]\r\n  Path=*appdir*\\Daten\r\n [/mkdir]\r\n</OnInstall>\r\n"
                 "<oncompleteuninstall>\r\n</oncompleteuninstall>\r\n"
                 "<RegKeys>\r\n [RegKey]\r\n  Name=Software\\Kivra\r\n [/RegKey]\r\n [regkey]\r\n [/regkey]\r\n"
                 " [anders]\r\n  Name=übersprungen\r\n [/anders]\r\n"
                 " [regkey]\r\n  Name=Software\\Kivra\r\n [/regkey]\r\n</RegKeys>\r\n"),
            0);
  ASSERT_NE(package.OnInstall.Group(), nullptr);
  EXPECT_EQ(test::Dump(*package.OnInstall.Group()), R"([mkdir]{Path="*appdir*\Daten"})");
  EXPECT_NE(package.OnCompleteUninstall.Group(), nullptr);
  EXPECT_EQ(package.OnUninstall.Group(), nullptr);
  EXPECT_EQ(package.OnUpdate.Group(), nullptr);
  EXPECT_EQ(package.RegKeys, (std::vector<std::string>{"Software\\Kivra", "", "Software\\Kivra"}));
  package.CreatedPaths.push_back("C:\\Programme\\X");
  ASSERT_EQ(Load("<files>\r\n</files>\r\n"), 0);
  EXPECT_TRUE(package.RegKeys.empty());
  EXPECT_TRUE(package.CreatedPaths.empty());
}

// Rows run in turn on one package, so each also shows that a new load starts
// with an empty file list.
TEST_F(PackageDefinitionTest, FailuresArePassedOnAndKeepWhatCameBefore) {
  struct { const char* text; int32_t error; size_t filesBefore; } cases[] = {
      {"<files>\r\n [file]\r\n  Name=a.dll|Ä.dll\r\n [/file]\r\n [file]\r\n  Name=ä.DLL\r\n [/file]\r\n"
       " [file]\r\n  Name=z.dll\r\n [/file]\r\n</files>\r\n", vberr::DuplicateKey, 2},
      {"<files>\r\n [file]\r\n  Name=a\r\n [/file]\r\n lose=1\r\n</files>\r\n", vberr::TypeMismatch, 1},
      {"<regkeys>\r\n Name=x\r\n</regkeys>\r\n", vberr::TypeMismatch, 0},
      {"<files>\r\n [file]\r\n  Name=a\r\n [/file]\r\n [file]\r\n  Name=b\r\n  Register=zwei\r\n [/file]\r\n</files>\r\n",
       vberr::TypeMismatch, 1},
      {"<files>\r\n [file]\r\n  Name=a\r\n  Register=99999999999\r\n [/file]\r\n</files>\r\n", vberr::Overflow, 0},
      {"files\r\n", vberr::TypeMismatch, 0},
      // Records are taken while the file is read: children kept in the group
      // (value lines, named groups) still count in their place.
      {"<files>\r\n lose=1\r\n [file]\r\n  Name=a\r\n [/file]\r\n</files>\r\n", vberr::TypeMismatch, 0},
      {"<files>\r\n <file>\r\n  Name=a\r\n </file>\r\n lose=1\r\n [file]\r\n  Name=a\r\n [/file]\r\n</files>\r\n",
       vberr::TypeMismatch, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(Load(std::string("<header>\r\n Name=Teil\r\n</header>\r\n") + c.text), c.error);
    EXPECT_EQ(package.Name, "Teil");
    EXPECT_EQ(package.Files.size(), c.filesBefore);
  }
  EXPECT_EQ(Load("header=kein Abschnitt\r\n"), vberr::TypeMismatch);
  // ... also when it stands after the file list: then no record was taken.
  EXPECT_EQ(Load("<files>\r\n [file]\r\n  Name=a\r\n [/file]\r\n</files>\r\nheader=x\r\n"), vberr::TypeMismatch);
  EXPECT_EQ(package.Files.size(), 0u);
  EXPECT_TRUE(ui.ui.Boxes().empty());  // passed to the caller, not reported here

  // A file that cannot be read is the structured file's to report (two boxes,
  // once); the caller learns of it only by the result.
  EXPECT_FALSE(package.Load(dir / "fehlt.ini"));
  ASSERT_EQ(ui.ui.Boxes().size(), 2u);
  EXPECT_EQ(ui.ui.Boxes()[1].request.text, dir / "fehlt.ini-53");
  // A record cut off by a damaged line is taken as far as it was read.
  EXPECT_FALSE(package.Load(dir.Write("setup.ini", "<files>\r\n [file]\r\n  Name=a\r\n [/datei]\r\n [file]\r\n")));
  EXPECT_EQ(ui.ui.Boxes().size(), 4u);
  EXPECT_EQ(package.Files.size(), 1u);
}

}  // namespace
}  // namespace kv
