// kvpack check: each problem on its exact line, nothing else, and agreement
// with the installer's own loader about whether the file loads at all.
#include <gtest/gtest.h>

#include <algorithm>

#include "Checker.h"
#include "ProductLoad.h"
#include "ToolsTestSupport.h"

namespace kvpack {
namespace {

using test::ScratchFolder;

std::string Dump(const std::vector<Diagnostic>& list) {
  std::string out;
  for (const auto& d : list) out += "\n  " + Format(d);
  return out.empty() ? " (none)" : out;
}

// Checks `bytes` as setup.ini, with `sources` (if any) in a source folder.
// Every expected finding ("line:e:words" or "line:w:words") must occur exactly
// once and nothing else may be found; the exit codes and the installer's
// loader must agree with the severities.
CheckReport ExpectFindings(const std::string& bytes, const std::vector<std::string>& expected,
                           const std::vector<std::string>& sources = {}) {
  ScratchFolder dir;
  test::WriteBytes(dir.Sub("setup.ini"), bytes);
  for (const auto& name : sources) test::WriteBytes(dir.Sub("src/" + name), "x");
  std::optional<std::string> source;
  if (!sources.empty()) source = dir.Sub("src");
  CheckReport report = CheckPackage({dir.Sub("setup.ini"), "setup.ini", source});
  const auto& list = report.diagnostics.List();
  bool errors = false;
  for (const std::string& e : expected) {
    size_t c1 = e.find(':'), c2 = e.find(':', c1 + 1);
    int line = std::stoi(e.substr(0, c1));
    Severity severity = e[c1 + 1] == 'e' ? Severity::Error : Severity::Warning;
    errors |= severity == Severity::Error;
    int hits = 0;
    for (const auto& d : list)
      hits += d.line == line && d.severity == severity && d.text.find(e.substr(c2 + 1)) != std::string::npos;
    EXPECT_EQ(hits, 1) << "expected once: " << e << "\nfound:" << Dump(list);
  }
  EXPECT_EQ(list.size(), expected.size()) << Dump(list);
  EXPECT_EQ(ExitCode(report.diagnostics, false), errors ? 1 : 0);
  EXPECT_EQ(ExitCode(report.diagnostics, true), errors ? 1 : expected.empty() ? 0 : 2);
  auto loaded = LoadWithProduct(dir.Sub("setup.ini"));
  // Every error stops the load, but UTF-8 text: that loads with garbled umlauts.
  const bool utf8 = std::any_of(list.begin(), list.end(), [](const auto& d) { return d.text.find("is UTF-8") != std::string::npos; });
  EXPECT_EQ(loaded.failure.has_value(), errors && !utf8) << loaded.failure.value_or("loads");
  return report;
}

const std::string kHeader = "<header>\n Name=Demo\n Caption=Demo\n Version=1.0\n</header>\n";  // lines 1-5

// Clean packages (the examples, with their built files) pass the strict
// check silently: a command-line test.
TEST(KvpackCheck, ErrorsAreWhatTheInstallerCannotLoad) {
  struct { std::string ini; std::vector<std::string> expected; } cases[] = {
      {kHeader + "<files>\n [file]\n  Name=a.dll\n </file>\n [file]\n  Name=b.dll\n [/datei]\n</files>\n"  // 6-13
                 "<oninstall>\n[/oninstall]\n</onuninstall>\n</oninstall>\n</nichts>\n",                     // 14-18
       {"9:e:expected '[/file]'", "10:w:group 'file' inside [file] is ignored", "12:e:does not match [file] from line 10",
        "13:e:'</files>' ends a named group", "15:e:ends a collection item", "16:e:expected '</oninstall>'",
        "18:e:no matching opening line"}},
      {kHeader + "<HEADER>\n</HEADER>\n<files>\n [file]\n  Name=a.dll\n  name=b.dll\n [/file]\n</files>\nfiles\n",
       {"6:e:duplicate key 'HEADER' (first used on line 1)", "11:e:duplicate key 'name'", "14:e:duplicate key 'files'"}},
      {kHeader + "<files>\n [file]\n  Name=a.dll\n  Register=zwei\n [/file]\n</files>\n",
       {"9:e:Register 'zwei' is not a number"}},
      {kHeader + "<files>\n [file]\n  Name=a.dll\n  Register=99999999999\n [/file]\n</files>\n", {"9:e:32-bit range"}},
      {kHeader + "<files>\n Name=a.dll\n</files>\n", {"7:e:bare value 'Name' inside <files>"}},
      {kHeader + "<regkeys>\n HKEY_CURRENT_USER\\Software\\X\n</regkeys>\n", {"7:e:inside <regkeys>", "0:w:no <files> group"}},
      {kHeader + "<files>\n [file]\n  Name=a.dll|b.dll\n [/file]\n [file]\n  Name=B.DLL\n [/file]\n</files>\n",
       {"11:e:'B.DLL' is listed twice (also on line 8)"}},
      {kHeader + "<files>\n [file]\n  Name=c.dll|c.dll\n [/file]\n</files>\n", {"8:e:'c.dll' is listed twice"}},
      // Read as the installer reads it: Windows-1252, "Ä" and "ä" the same letter.
      {kHeader + "<files>\n [file]\n  Name=\xC4nderung.txt\n [/file]\n [file]\n  Name=\xE4nderung.TXT\n [/file]\n</files>\n",
       {"11:e:'änderung.TXT' is listed twice (also on line 8)"}},
      {kHeader + "oninstall=x\n", {"6:e:must be the group <oninstall>", "0:w:no <files> group"}},
      {"\xEF\xBB\xBF<header>\n</header>\n<files>\n</files>\n",  // the first line is no longer "<header>"
       {"1:e:byte order mark", "1:w:outside any group", "0:w:no <header>", "2:e:no matching opening line"}},
      // UTF-8 without a byte order mark loads, but every umlaut comes out wrong.
      {kHeader + "<files>\n [file]\n  Name=\xC3\xBC" "bersicht.txt\n [/file]\n</files>\n",
       {"8:e:shows '\xC3\x83\xC2\xBC' for '\xC3\xBC'"}},
      // CR alone, LF alone and CR LF each end a line.
      {"<header>\n Name=Demo\r Version=1.0\r\n</header>\n<files>\r [file]\n  Name=a.dll\n  Register=x\n [/file]\n</files>\n",
       {"8:e:Register 'x' is not a number"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.ini);
    ExpectFindings(c.ini, c.expected);
  }
}

TEST(KvpackCheck, WarningsAreWhatLoadsButNotAsMeant) {
  struct { std::string ini; std::vector<std::string> expected; } cases[] = {
      {"<header>\n Name=Demo\n Version=1.0\n DefaultOnDesktop=no\n AllowWinStart=NO\n DefaultWinStart = NO\n"  // 1-6
       " DefaultInStartMenu=YES\n</header>\n<files>\n [file]\n  Name=a.dll\n  SharedFile=No\n"                // 7-12
       "  DontUninstall=false\n [/file]\n</files>\n",                                                          // 13-15
       {"4:w:counts as true", "6:w:counts as true", "12:w:counts as true", "13:w:counts as true"}},
      {"<header>\n Name=Demo\n Version=v1.0\n Titel=Demo\n</header>\n<files>\n [file]\n  Name=a.dll\n"           // 1-8
       "  Register=7\n  Ziel=*appdir*\n [/file]\n</files>\n<onuninstall>\n [deletefiles]\n [/deletefiles]\n"   // 9-15
       " [deletefile]\n  Path=*appdir*\\*.tmp\n [/deletefile]\n [removedir]\n  Path=*winsysdir*\\Kivra?\n"     // 16-20
       " [/removedir]\n [silentdeletefile]\n  Path=*programs*\\Kivra\\a.txt\n [/silentdeletefile]\n</onuninstall>\n",
       {"3:w:does not begin with a number", "4:w:unknown key 'Titel' in <header>", "9:w:Register=7 is not one of 0 to 4",
        "10:w:unknown key 'Ziel' in [file]", "14:w:unknown macro command [deletefiles]", "17:w:wildcard",
        "20:w:wildcard"}},
      {"<header>\n Name=Demo\n</header>\n\t<files>\n [file]\n  Name=a.dll\n [/file]\n\tVersion=2.0\n",
       {"1:w:no Version", "4:w:indented with a tab", "5:w:unknown group [file]", "8:w:tab character",
        "0:w:no <files> group"}},
      // What the installer skips: a [file] without Name (its Register is never
      // read), another kind of item, and a program that is not installed.
      {"<header>\n Name=Demo\n Version=1.0\n EXEFile=bin\\demo.exe\n</header>\n<files>\n [file]\n"          // 1-7
       "  Register=kaputt\n [/file]\n [datei]\n [/datei]\n [file]\n  Name=demo.exe\n  DestinationPath=*appdir*\n"
       " [/file]\n</files>\n",
       {"7:w:[file] without Name", "10:w:'datei' inside <files> is ignored", "4:w:EXEFile 'bin\\demo.exe' is not installed"}},
      {"<header>\n Name=Demo\n Version=1.0\n EXEFile=bin\\demo.exe\n</header>\n<files>\n [file]\n  Name=demo.exe\n"
       "  DestinationPath=*APPDIR*\\Bin\\\n [/file]\n</files>\n",
       {}},
      // The keys for package managers.
      {"<header>\n Name=Demo\n Version=1.0\n Publisher=Kivra\n HelpLink=https://kivra.example/hilfe\n</header>\n"
       "<files>\n [file]\n  Name=a.dll\n [/file]\n</files>\n",
       {}},
      {"<header>\n Name=Demo\n Version=1.0\n Publisher=\n HelpLink=www.kivra.example\n</header>\n",
       {"4:w:Publisher is empty", "5:w:no http:// or https:// address", "0:w:no <files> group"}},
      {"<header>\n Name=Demo\n Version=1.0\n HelpLink=http://kivra.example\n</header>\n",
       {"4:w:only together with a Publisher", "0:w:no <files> group"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.ini);
    ExpectFindings(c.ini, c.expected);
  }
}

TEST(KvpackCheck, SourceFilesAreLookedUpWithoutRegardToCase) {
  ExpectFindings(kHeader + "<files>\n [file]\n  Name=programm.exe|fehlt.dll\n [/file]\n [file]\n"                 // 6-10
                           "  Name=Daten\\LiesMich.txt\n [/file]\n</files>\n<oninstall>\n [installfile]\n"        // 11-15
                           "  SrcName=extra.dll\n  ToPath=*winsysdir*\n [/installfile]\n</oninstall>\n",
                 {"8:w:'fehlt.dll' is missing", "16:w:'extra.dll' is missing"},
                 {"Programm.EXE", "daten/liesmich.txt"});
}

TEST(KvpackCheck, UnreadableFileIsAnError) {
  ScratchFolder dir;
  CheckReport report = CheckPackage({dir.Sub("gibt-es-nicht.ini")});
  EXPECT_FALSE(report.readable);
  EXPECT_EQ(ExitCode(report.diagnostics, false), 1);
}

TEST(KvpackMediumPath, NamesMapIntoTheMediumOrAreRefused) {
  EXPECT_EQ(MediumRelativePath("a.dll"), "a.dll");
  EXPECT_EQ(MediumRelativePath("bin\\sub/a.dll"), "bin/sub/a.dll");
  for (const char* bad : {"..\\a.dll", "C:\\a.dll", "\\a.dll", "bin\\\\a.dll", ""})
    EXPECT_FALSE(MediumRelativePath(bad)) << bad;
}

}  // namespace
}  // namespace kvpack
