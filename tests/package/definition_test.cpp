// Reading setup.ini into a CPackage: header defaults, the flag rule, file
// records, macros, registry keys and the failures passed to the caller.
#include "package/CPackage.h"

#include <gtest/gtest.h>

#include "package/PackageTestSupport.h"
#include "package/Text.h"
#include "package/VbError.h"

namespace kv {
namespace {

using test::TempFolder;
using test::UiFixture;

class PackageDefinitionTest : public ::testing::Test {
 protected:
  // Loads `text` (UTF-8 here) as setup.ini; returns the thrown error number or 0.
  int32_t Load(const std::string& text) {
    try {
      package.Load(dir.Write("setup.ini", Utf8ToAnsi(text)));  // files are ANSI
    } catch (const VbError& e) {
      return e.Number();
    }
    return 0;
  }
  const CFile& File(size_t i) { return *package.Files[i]; }

  TempFolder dir;
  UiFixture ui;
  CPackage package{ui.Context()};
};

TEST_F(PackageDefinitionTest, ReadsTheHeader) {
  ASSERT_EQ(Load("<HEADER>\r\n"
                 " Name=Bürohelfer\r\n"
                 " Caption=Der Bürohelfer\r\n"
                 " Version=2.1\r\n"
                 " EXEFile=helfer.exe\r\n"
                 " InfoTip=Hilft im Büro\r\n"
                 " StartMenuGroup=Büro\r\n"
                 " DefaultPath=*programs*\\Helfer\r\n"
                 " DefaultInStartMenu=NO\r\n"
                 " DefaultOnDesktop=no\r\n"
                 " DefaultWinStart=\r\n"
                 "</header>\r\n"),
            0);
  EXPECT_EQ(package.Name, "Bürohelfer");
  EXPECT_EQ(package.Caption, "Der Bürohelfer");
  EXPECT_EQ(package.Version, "2.1");
  EXPECT_EQ(package.EXEFile, "helfer.exe");
  EXPECT_EQ(package.InfoTip, "Hilft im Büro");
  EXPECT_EQ(package.StartMenuGroup, "Büro");
  EXPECT_EQ(package.DefaultPath, "*programs*\\Helfer");
  // Only exactly "NO" (or no key at all) clears a flag.
  EXPECT_FALSE(package.DefaultInStartMenu);
  EXPECT_TRUE(package.DefaultOnDesktop);
  EXPECT_TRUE(package.DefaultWinStart);
  EXPECT_FALSE(package.AllowWinStart);
}

TEST_F(PackageDefinitionTest, HeaderDefaultsBuildOnTheName) {
  ASSERT_EQ(Load("<header>\r\n</header>\r\n"), 0);
  EXPECT_EQ(package.Name, "Unbekannte Anwendung");
  EXPECT_EQ(package.Caption, "Unbekannte Anwendung");
  EXPECT_EQ(package.DefaultPath, "*programs*\\Kivra\\Unbekannte Anwendung");
  EXPECT_EQ(package.StartMenuGroup, "Kivra");
  EXPECT_EQ(package.Version, "");

  ASSERT_EQ(Load("<header>\r\n Name=Rechner\r\n</header>\r\n"), 0);
  EXPECT_EQ(package.Caption, "Rechner");
  EXPECT_EQ(package.DefaultPath, "*programs*\\Kivra\\Rechner");
}

TEST_F(PackageDefinitionTest, WithoutHeaderTheFieldsKeepTheirInitialValues) {
  ASSERT_EQ(Load("<files>\r\n</files>\r\n"), 0);
  EXPECT_EQ(package.Name, "");
  EXPECT_EQ(package.Caption, "");
  EXPECT_EQ(package.DefaultPath, "");
  EXPECT_EQ(package.StartMenuGroup, "");
  EXPECT_FALSE(package.DefaultInStartMenu || package.DefaultOnDesktop || package.DefaultWinStart ||
               package.AllowWinStart);
}

TEST_F(PackageDefinitionTest, OneFileGroupMayDescribeSeveralFiles) {
  ASSERT_EQ(Load("<Files>\r\n"
                 " [FILE]\r\n"
                 "  Name=a.dll|b.dll|c.dll\r\n"
                 "  DestinationName=|x.dll\r\n"
                 "  DestinationPath=   *appdir*  \r\n"
                 "  SharedFile=\r\n"
                 "  DontUninstall=NO\r\n"
                 "  Register= 2 \r\n"
                 " [/FILE]\r\n"
                 " [other]\r\n"
                 "  Name=ignored.dll\r\n"
                 " [/other]\r\n"
                 " [file]\r\n"
                 "  Name=d.exe|\r\n"
                 "  DestinationName=e.exe|f.exe|g.exe\r\n"
                 " [/file]\r\n"
                 " [file]\r\n"
                 "  DestinationName=ohne Namen\r\n"
                 "  Register=kein Fehler, denn es gibt keinen Namen\r\n"
                 " [/file]\r\n"
                 "</Files>\r\n"),
            0);
  ASSERT_EQ(package.Files.size(), 5u);
  const char* names[] = {"a.dll", "b.dll", "c.dll", "d.exe", ""};
  const char* destinations[] = {"a.dll", "x.dll", "c.dll", "e.exe", "f.exe"};
  for (size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(File(i).Name, names[i]);
    EXPECT_EQ(File(i).DestinationName, destinations[i]);
  }
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(File(i).DestinationPath, "*appdir*");
    EXPECT_TRUE(File(i).SharedFile);
    EXPECT_FALSE(File(i).DontOverwrite);
    EXPECT_FALSE(File(i).DontUninstall);
    EXPECT_EQ(File(i).Register, 2);
    EXPECT_EQ(File(i).Installed, 0);
    EXPECT_EQ(File(i).InstalledIn, "");
  }
  EXPECT_EQ(File(3).Register, 0);
  EXPECT_EQ(File(3).DestinationPath, "");
  ASSERT_NE(package.Files.Find("B.DLL"), nullptr);
  EXPECT_EQ((*package.Files.Find("B.DLL"))->DestinationName, "x.dll");
}

TEST_F(PackageDefinitionTest, MacrosKeepTheirGroupsAndRegistryKeysKeepEverything) {
  ASSERT_EQ(Load("<OnInstall>\r\n"
                 " [mkdir]\r\n"
                 "  Path=*appdir*\\Daten\r\n"
                 " [/mkdir]\r\n"
                 "</OnInstall>\r\n"
                 "<oncompleteuninstall>\r\n"
                 "</oncompleteuninstall>\r\n"
                 "<RegKeys>\r\n"
                 " [RegKey]\r\n"
                 "  Name=Software\\Kivra\\Helfer\r\n"
                 " [/RegKey]\r\n"
                 " [regkey]\r\n"
                 " [/regkey]\r\n"
                 " [anders]\r\n"
                 "  Name=übersprungen\r\n"
                 " [/anders]\r\n"
                 " [regkey]\r\n"
                 "  Name=Software\\Kivra\\Helfer\r\n"
                 " [/regkey]\r\n"
                 "</RegKeys>\r\n"),
            0);
  ASSERT_NE(package.OnInstall.Group(), nullptr);
  const CStructuredFileGroup* command = package.OnInstall.Group()->Items[0]->AsGroup();
  ASSERT_NE(command, nullptr);
  EXPECT_EQ(command->Name, "mkdir");
  EXPECT_EQ(command->GetValue("path", ""), "*appdir*\\Daten");
  EXPECT_NE(package.OnCompleteUninstall.Group(), nullptr);
  EXPECT_EQ(package.OnUninstall.Group(), nullptr);
  EXPECT_EQ(package.OnUpdate.Group(), nullptr);
  EXPECT_EQ(package.RegKeys,
            (std::vector<std::string>{"Software\\Kivra\\Helfer", "", "Software\\Kivra\\Helfer"}));
}

TEST_F(PackageDefinitionTest, SecondLoadForgetsFilesKeysAndFolders) {
  ASSERT_EQ(Load("<files>\r\n [file]\r\n  Name=a.dll\r\n [/file]\r\n</files>\r\n"
                 "<regkeys>\r\n [regkey]\r\n  Name=k\r\n [/regkey]\r\n</regkeys>\r\n"),
            0);
  package.CreatedPaths.push_back("C:\\Programme\\X");
  ASSERT_EQ(Load("<files>\r\n [file]\r\n  Name=b.dll\r\n [/file]\r\n</files>\r\n"), 0);
  ASSERT_EQ(package.Files.size(), 1u);
  EXPECT_EQ(File(0).Name, "b.dll");
  EXPECT_TRUE(package.RegKeys.empty());
  EXPECT_TRUE(package.CreatedPaths.empty());
}

TEST_F(PackageDefinitionTest, DuplicateFileNamesFailButKeepWhatCameBefore) {
  EXPECT_EQ(Load("<header>\r\n Name=Teil\r\n</header>\r\n"
                 "<files>\r\n"
                 " [file]\r\n  Name=a.dll|Ä.dll\r\n [/file]\r\n"
                 " [file]\r\n  Name=ä.DLL\r\n [/file]\r\n"
                 " [file]\r\n  Name=z.dll\r\n [/file]\r\n"
                 "</files>\r\n"),
            vberr::DuplicateKey);
  EXPECT_EQ(package.Name, "Teil");
  EXPECT_EQ(package.Files.size(), 2u);
  EXPECT_TRUE(ui.ui.Boxes().empty());  // passed to the caller, not reported here
}

TEST_F(PackageDefinitionTest, SchemaErrorsArePassedToTheCaller) {
  struct Case {
    const char* text;
    int32_t error;
    size_t filesBefore;
  } cases[] = {
      {"<files>\r\n [file]\r\n  Name=a\r\n [/file]\r\n lose=1\r\n</files>\r\n", vberr::TypeMismatch, 1},
      {"<regkeys>\r\n Name=x\r\n</regkeys>\r\n", vberr::TypeMismatch, 0},
      {"<files>\r\n [file]\r\n  Name=a\r\n [/file]\r\n [file]\r\n  Name=b\r\n  Register=zwei\r\n [/file]\r\n</files>\r\n",
       vberr::TypeMismatch, 1},
      {"<files>\r\n [file]\r\n  Name=a\r\n  Register=99999999999\r\n [/file]\r\n</files>\r\n", vberr::Overflow, 0},
      {"header=kein Abschnitt\r\n", vberr::TypeMismatch, 0},
      {"files\r\n", vberr::TypeMismatch, 0},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Load(c.text), c.error) << c.text;
    EXPECT_EQ(package.Files.size(), c.filesBefore) << c.text;
  }
}

TEST_F(PackageDefinitionTest, UnreadableDefinitionIsReportedOnceAndPassedOn) {
  int32_t error = 0;
  try {
    package.Load(dir / "setup.ini");
  } catch (const VbError& e) {
    error = e.Number();
  }
  EXPECT_EQ(error, vberr::FileNotFound);
  ASSERT_EQ(ui.ui.Boxes().size(), 2u);
  EXPECT_EQ(ui.ui.Boxes()[1].request.text, dir / "setup.ini-53");
  EXPECT_TRUE(package.Files.empty());
}

}  // namespace
}  // namespace kv
