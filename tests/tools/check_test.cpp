// kvpack check: each problem with its exact line, and agreement with the
// installer's own loader about whether a file loads at all.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "Checker.h"
#include "ProductLoad.h"
#include "ToolsTestSupport.h"

namespace kvpack {
namespace {

using test::ScratchFolder;

struct Result {
  std::vector<Diagnostic> list;
  int exitNormal = 0;
  int exitStrict = 0;
  std::vector<SourceFile> sources;
};

Result Check(const ScratchFolder& dir, const std::string& text, std::optional<std::string> source = {}) {
  std::string ini = dir.Sub("setup.ini");
  test::WriteCrLf(ini, text);
  CheckOptions options;
  options.iniPath = ini;
  options.displayName = "setup.ini";
  options.sourceFolder = source;
  CheckReport report = CheckPackage(options);
  return {report.diagnostics.List(), ExitCode(report.diagnostics, false), ExitCode(report.diagnostics, true),
          report.sourceFiles};
}

std::string Dump(const std::vector<Diagnostic>& list) {
  std::string out;
  for (const auto& d : list) out += "\n  " + Format(d);
  return out.empty() ? " (none)" : out;
}

// Exactly one finding of this severity on this line, mentioning `words`.
testing::AssertionResult Has(const Result& r, int line, Severity severity, const std::string& words) {
  int hits = 0;
  for (const auto& d : r.list)
    if (d.line == line && d.severity == severity && d.text.find(words) != std::string::npos) ++hits;
  if (hits == 1) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "expected one " << (severity == Severity::Error ? "error" : "warning")
                                     << " on line " << line << " about '" << words << "', found " << hits
                                     << " among:" << Dump(r.list);
}

const char* kHeader =
    "<header>\n"          // 1
    " Name=Demo\n"        // 2
    " Caption=Demo\n"     // 3
    " Version=1.0\n"      // 4
    "</header>\n";        // 5

TEST(KvpackCheck, CleanPackageGivesNoOutputAndExitZero) {
  ScratchFolder dir;
  test::WriteBytes(dir.Sub("src/demo.exe"), "x");
  test::WriteBytes(dir.Sub("src/Bin/Helfer.DLL"), "x");
  Result r = Check(dir, std::string(kHeader) +
                            "<files>\n"
                            " [file]\n"
                            "  Name=demo.exe|bin\\helfer.dll\n"
                            "  DestinationPath=  *appdir*  \n"
                            "  SharedFile=NO\n"
                            "  Register=  2 \n"
                            " [/FILE]\n"
                            "</Files>\n"
                            "<oninstall>\n"
                            " [ MakeDir ]\n"
                            "  Path=*appdir*\\Daten\n"
                            " [/makedir]\n"
                            " [deletefile]\n"
                            "  Path=*APPDIR*\\alt.txt\n"
                            " [/deletefile]\n"
                            " [ifregstring]\n"
                            "  Key=HKEY_LOCAL_MACHINE\\Software\\Kivra\n"
                            "  Value=Da\n"
                            "  Data=1\n"
                            "  [regsetdword]\n"
                            "   Key=Software\\Kivra\n"
                            "   Value=Zahl\n"
                            "   Data=-12\n"
                            "  [/regsetdword]\n"
                            " [/ifregstring]\n"
                            "</oninstall>\n"
                            "<regkeys>\n"
                            " [regkey]\n"
                            "  Name=HKEY_CURRENT_USER\\Software\\Kivra\\Demo\n"
                            " [/regkey]\n"
                            "</regkeys>\n",
                   dir.Sub("src"));
  EXPECT_TRUE(r.list.empty()) << Dump(r.list);
  EXPECT_EQ(r.exitStrict, 0);
  ASSERT_EQ(r.sources.size(), 2u);
  EXPECT_EQ(r.sources[1].name, "bin\\helfer.dll");
  EXPECT_EQ(r.sources[1].line, 8);
}

TEST(KvpackCheck, WrongClosingLinesAreErrorsOnTheirLine) {
  ScratchFolder dir;
  Result r = Check(dir, std::string(kHeader) +
                            "<files>\n"             // 6
                            " [file]\n"             // 7
                            "  Name=a.dll\n"        // 8
                            " </file>\n"            // 9  named close inside a collection item
                            " [file]\n"             // 10
                            "  Name=b.dll\n"        // 11
                            " [/datei]\n"           // 12 wrong type
                            "</files>\n"            // 13
                            "<oninstall>\n"         // 14
                            "[/oninstall]\n"        // 15 collection close for a named group
                            "</onuninstall>\n"      // 16 wrong name
                            "</oninstall>\n"        // 17
                            "</nichts>\n");         // 18 nothing open
  EXPECT_TRUE(Has(r, 9, Severity::Error, "expected '[/file]'"));
  EXPECT_TRUE(Has(r, 12, Severity::Error, "does not match [file] from line 10"));
  EXPECT_TRUE(Has(r, 15, Severity::Error, "ends a collection item"));
  EXPECT_TRUE(Has(r, 16, Severity::Error, "expected '</oninstall>'"));
  EXPECT_TRUE(Has(r, 18, Severity::Error, "no matching opening line"));
  EXPECT_EQ(r.exitNormal, 1);
  EXPECT_TRUE(LoadWithProduct(dir.Sub("setup.ini")).failure.has_value());
}

TEST(KvpackCheck, DuplicateKeysAreErrors) {
  ScratchFolder dir;
  Result r = Check(dir, std::string(kHeader) +
                            "<HEADER>\n"             // 6  second header, other case
                            "</HEADER>\n"            // 7
                            "<files>\n"              // 8
                            " [file]\n"              // 9
                            "  Name=a.dll\n"         // 10
                            "  name=b.dll\n"         // 11
                            " [/file]\n"             // 12
                            "</files>\n"             // 13
                            "files\n");              // 14 value beside the group
  EXPECT_TRUE(Has(r, 6, Severity::Error, "duplicate key 'HEADER' (first used on line 1)"));
  EXPECT_TRUE(Has(r, 11, Severity::Error, "duplicate key 'name'"));
  EXPECT_TRUE(Has(r, 14, Severity::Error, "duplicate key 'files'"));
  EXPECT_TRUE(LoadWithProduct(dir.Sub("setup.ini")).failure.has_value());
}

TEST(KvpackCheck, SchemaErrorsThatMakeTheLoadFail) {
  struct Case {
    const char* body;  // starts on line 6
    int line;
    const char* words;
  } cases[] = {
      {"<files>\n [file]\n  Name=a.dll\n  Register=zwei\n [/file]\n</files>\n", 9, "Register 'zwei' is not a number"},
      {"<files>\n [file]\n  Name=a.dll\n  Register=99999999999\n [/file]\n</files>\n", 9, "32-bit range"},
      {"<files>\n Name=a.dll\n</files>\n", 7, "bare value 'Name' inside <files>"},
      {"<regkeys>\n HKEY_CURRENT_USER\\Software\\X\n</regkeys>\n", 7, "inside <regkeys>"},
      {"<files>\n [file]\n  Name=a.dll|b.dll\n [/file]\n [file]\n  Name=B.DLL\n [/file]\n</files>\n", 11,
       "'B.DLL' is listed twice (also on line 8)"},
      {"<files>\n [file]\n  Name=c.dll|c.dll\n [/file]\n</files>\n", 8, "'c.dll' is listed twice"},
      {"oninstall=x\n", 6, "must be the group <oninstall>"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.body);
    ScratchFolder dir;
    Result r = Check(dir, std::string(kHeader) + c.body);
    EXPECT_TRUE(Has(r, c.line, Severity::Error, c.words));
    EXPECT_EQ(r.exitNormal, 1);
    // The installer's own loader must agree that this file does not load.
    EXPECT_TRUE(LoadWithProduct(dir.Sub("setup.ini")).failure.has_value());
  }
}

TEST(KvpackCheck, FlagsThatDoNotSayNoExactly) {
  ScratchFolder dir;
  Result r = Check(dir,
                   "<header>\n"                   // 1
                   " Name=Demo\n"                 // 2
                   " Version=1.0\n"               // 3
                   " DefaultOnDesktop=no\n"       // 4
                   " AllowWinStart=NO\n"          // 5 the one correct form
                   " DefaultWinStart = NO\n"      // 6 blank before NO
                   " DefaultInStartMenu=YES\n"    // 7 true on purpose
                   "</header>\n"                  // 8
                   "<files>\n"                    // 9
                   " [file]\n"                    // 10
                   "  Name=a.dll\n"               // 11
                   "  SharedFile=No\n"            // 12
                   "  DontUninstall=false\n"      // 13
                   " [/file]\n"                   // 14
                   "</files>\n");
  EXPECT_TRUE(Has(r, 4, Severity::Warning, "counts as true"));
  EXPECT_TRUE(Has(r, 6, Severity::Warning, "counts as true"));
  EXPECT_TRUE(Has(r, 12, Severity::Warning, "counts as true"));
  EXPECT_TRUE(Has(r, 13, Severity::Warning, "counts as true"));
  EXPECT_EQ(r.list.size(), 4u) << Dump(r.list);
  EXPECT_EQ(r.exitNormal, 0);
  EXPECT_EQ(r.exitStrict, 2);
  // What the warning claims is what the installer does.
  auto loaded = LoadWithProduct(dir.Sub("setup.ini"));
  ASSERT_FALSE(loaded.failure) << *loaded.failure;
  EXPECT_TRUE(loaded.package->DefaultOnDesktop);
  EXPECT_TRUE(loaded.package->DefaultWinStart);
  EXPECT_FALSE(loaded.package->AllowWinStart);
  EXPECT_TRUE((*loaded.package->Files.Find("a.dll"))->SharedFile);
}

TEST(KvpackCheck, UnknownKeysCommandsAndSuspiciousValues) {
  ScratchFolder dir;
  Result r = Check(dir,
                   "<header>\n"                       // 1
                   " Name=Demo\n"                     // 2
                   " Version=v1.0\n"                  // 3 not a number first
                   " Titel=Demo\n"                    // 4 unknown header key
                   "</header>\n"                      // 5
                   "<files>\n"                        // 6
                   " [file]\n"                        // 7
                   "  Name=a.dll\n"                   // 8
                   "  Register=7\n"                   // 9 out of range
                   "  Ziel=*appdir*\n"                // 10 unknown file key
                   " [/file]\n"                       // 11
                   "</files>\n"                       // 12
                   "<onuninstall>\n"                  // 13
                   " [deletefiles]\n"                 // 14 unknown command
                   " [/deletefiles]\n"                // 15
                   " [deletefile]\n"                  // 16
                   "  Path=*appdir*\\*.tmp\n"         // 17 wildcard: deletes nothing
                   " [/deletefile]\n"                 // 18
                   " [removedir]\n"                   // 19
                   "  Path=*winsysdir*\\Kivra?\n"     // 20 wildcard
                   " [/removedir]\n"                  // 21
                   " [silentdeletefile]\n"            // 22
                   "  Path=*programs*\\Kivra\\a.txt\n"  // 23 placeholders alone are fine
                   " [/silentdeletefile]\n"           // 24
                   "</onuninstall>\n");
  EXPECT_TRUE(Has(r, 3, Severity::Warning, "does not begin with a number"));
  EXPECT_TRUE(Has(r, 4, Severity::Warning, "unknown key 'Titel' in <header>"));
  EXPECT_TRUE(Has(r, 9, Severity::Warning, "Register=7 is not one of 0 to 4"));
  EXPECT_TRUE(Has(r, 10, Severity::Warning, "unknown key 'Ziel' in [file]"));
  EXPECT_TRUE(Has(r, 14, Severity::Warning, "unknown macro command [deletefiles]"));
  EXPECT_TRUE(Has(r, 17, Severity::Warning, "wildcard"));
  EXPECT_TRUE(Has(r, 20, Severity::Warning, "wildcard"));
  EXPECT_EQ(r.list.size(), 7u) << Dump(r.list);
  EXPECT_EQ(r.exitNormal, 0);
  EXPECT_EQ(r.exitStrict, 2);
}

TEST(KvpackCheck, MissingVersionAndTabIndentedLines) {
  ScratchFolder dir;
  Result r = Check(dir,
                   "<header>\n"          // 1
                   " Name=Demo\n"        // 2
                   "</header>\n"         // 3
                   "\t<files>\n"         // 4 a property, not a group
                   " [file]\n"           // 5
                   "  Name=a.dll\n"      // 6
                   " [/file]\n"          // 7
                   "\tVersion=2.0\n");   // 8
  EXPECT_TRUE(Has(r, 1, Severity::Warning, "no Version"));
  EXPECT_TRUE(Has(r, 4, Severity::Warning, "indented with a tab"));
  EXPECT_TRUE(Has(r, 8, Severity::Warning, "tab character"));
  EXPECT_EQ(r.exitStrict, 2);
}

TEST(KvpackCheck, WhatTheInstallerSkipsIsAWarningNotAnError) {
  auto text = [](const std::string& destinationPath) {
    return "<header>\n"               // 1
           " Name=Demo\n"             // 2
           " Version=1.0\n"           // 3
           " EXEFile=bin\\demo.exe\n"  // 4
           "</header>\n"              // 5
           "<files>\n"                // 6
           " [file]\n"                // 7 no Name: Register is never converted
           "  Register=kaputt\n"      // 8
           " [/file]\n"               // 9
           " [datei]\n"               // 10 not a file record
           " [/datei]\n"              // 11
           " [file]\n"                // 12
           "  Name=demo.exe\n"        // 13
           "  DestinationPath=" + destinationPath + "\n"  // 14
           " [/file]\n"
           "</files>\n";
  };
  ScratchFolder dir;
  Result r = Check(dir, text("*appdir*"));
  EXPECT_TRUE(Has(r, 7, Severity::Warning, "[file] without Name"));
  EXPECT_TRUE(Has(r, 10, Severity::Warning, "'datei' inside <files> is ignored"));
  EXPECT_TRUE(Has(r, 4, Severity::Warning, "EXEFile 'bin\\demo.exe' is not installed"));
  EXPECT_EQ(r.list.size(), 3u) << Dump(r.list);
  EXPECT_EQ(r.exitNormal, 0);
  auto loaded = LoadWithProduct(dir.Sub("setup.ini"));
  EXPECT_FALSE(loaded.failure) << *loaded.failure;

  // Installed into the "bin" subfolder, the program is found.
  r = Check(dir, text("*APPDIR*\\Bin\\"));
  EXPECT_EQ(r.list.size(), 2u) << Dump(r.list);
}

TEST(KvpackCheck, SourceFilesAreLookedUpWithoutRegardToCase) {
  ScratchFolder dir;
  test::WriteBytes(dir.Sub("src/Programm.EXE"), "x");
  test::WriteBytes(dir.Sub("src/daten/liesmich.txt"), "x");
  Result r = Check(dir, std::string(kHeader) +
                            "<files>\n"                               // 6
                            " [file]\n"                               // 7
                            "  Name=programm.exe|fehlt.dll\n"         // 8
                            " [/file]\n"                              // 9
                            " [file]\n"                               // 10
                            "  Name=Daten\\LiesMich.txt\n"            // 11
                            " [/file]\n"                              // 12
                            "</files>\n"                              // 13
                            "<oninstall>\n"                           // 14
                            " [installfile]\n"                        // 15
                            "  SrcName=extra.dll\n"                   // 16
                            "  ToPath=*winsysdir*\n"                  // 17
                            " [/installfile]\n"                       // 18
                            "</oninstall>\n",
                   dir.Sub("src"));
  EXPECT_TRUE(Has(r, 8, Severity::Warning, "'fehlt.dll' is missing"));
  EXPECT_TRUE(Has(r, 16, Severity::Warning, "'extra.dll' is missing"));
  EXPECT_EQ(r.list.size(), 2u) << Dump(r.list);
}

TEST(KvpackCheck, UnreadableFileIsAnError) {
  ScratchFolder dir;
  CheckOptions options;
  options.iniPath = dir.Sub("gibt-es-nicht.ini");
  CheckReport report = CheckPackage(options);
  EXPECT_FALSE(report.readable);
  EXPECT_EQ(ExitCode(report.diagnostics, false), 1);
}

TEST(KvpackCheck, AnsiTextIsReadAsTheInstallerReadsIt) {
  ScratchFolder dir;
  // "Größe" in Windows-1252: the key lookups must still match, the value is
  // decoded, and a duplicate differing only in the case of an umlaut is found.
  Result r = Check(dir, std::string(kHeader) +
                            "<files>\n"                   // 6
                            " [file]\n"                   // 7
                            "  Name=\xC4nderung.txt\n"    // 8 Änderung.txt
                            " [/file]\n"                  // 9
                            " [file]\n"                   // 10
                            "  Name=\xE4nderung.TXT\n"    // 11 änderung.TXT
                            " [/file]\n"                  // 12
                            "</files>\n");
  EXPECT_TRUE(Has(r, 11, Severity::Error, "'änderung.TXT' is listed twice (also on line 8)"));
}

TEST(KvpackCheck, Utf8TextIsCaught) {
  ScratchFolder dir;
  // With a byte order mark the first line is no longer "<header>".
  Result r = Check(dir, "\xEF\xBB\xBF" + std::string(kHeader));
  EXPECT_TRUE(Has(r, 1, Severity::Error, "byte order mark"));
  EXPECT_EQ(r.exitNormal, 1);

  // Without one it loads, but the umlauts come out wrong.
  r = Check(dir, std::string(kHeader) +
                     "<files>\n"                      // 6
                     " [file]\n"                      // 7
                     "  Name=\xC3\xBC" "bersicht.txt\n"  // 8 "übersicht.txt" in UTF-8
                     " [/file]\n"
                     "</files>\n");
  EXPECT_TRUE(Has(r, 8, Severity::Warning, "shows '\xC3\x83\xC2\xBC' for '\xC3\xBC'"));
  EXPECT_EQ(r.list.size(), 1u) << Dump(r.list);
}

TEST(KvpackCheck, LineEndsAreCountedAsTheInstallerReadsThem) {
  // LF alone and CR alone end a line as CR LF does.
  ScratchFolder dir;
  test::WriteBytes(dir.Sub("setup.ini"),
                   "<header>\n Name=Demo\r Version=1.0\r\n</header>\n"    // 1-4
                   "<files>\r [file]\n  Name=a.dll\n  Register=x\n [/file]\n</files>\n");  // 5-10
  CheckOptions options;
  options.iniPath = dir.Sub("setup.ini");
  CheckReport report = CheckPackage(options);
  ASSERT_EQ(report.diagnostics.List().size(), 1u) << Dump(report.diagnostics.List());
  EXPECT_EQ(report.diagnostics.List()[0].line, 8);
  EXPECT_TRUE(LoadWithProduct(dir.Sub("setup.ini")).failure.has_value());
}

TEST(KvpackMediumPath, NamesMapIntoTheMediumOrAreRefused) {
  EXPECT_EQ(MediumRelativePath("a.dll"), "a.dll");
  EXPECT_EQ(MediumRelativePath("bin\\sub/a.dll"), "bin/sub/a.dll");
  EXPECT_FALSE(MediumRelativePath("..\\a.dll"));
  EXPECT_FALSE(MediumRelativePath("C:\\a.dll"));
  EXPECT_FALSE(MediumRelativePath("\\a.dll"));
  EXPECT_FALSE(MediumRelativePath("bin\\\\a.dll"));
  EXPECT_FALSE(MediumRelativePath(""));
}

}  // namespace
}  // namespace kvpack
