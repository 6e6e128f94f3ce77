// Registration kinds on installation and removal, with real programs (the
// recorder stands in for dllregsv.exe and for servers), a real type library
// and a real font.
#include <gtest/gtest.h>

#include "install/InstallFile.h"
#include "install/InstallTestSupport.h"
#include "install/Registration.h"
#include "platform/RegTools.h"
#include "platform/SharedFiles.h"

namespace kv::test {
namespace {

using modInstall::RegistrationCommandLine;
using modInstall::UnregisterFile;

const std::string kTypeLibGuid = "{5B0A2E6C-8F3D-4C1B-9A7E-2D4C6B8A1F03}";
const std::string kFont = "Z:\\usr\\share\\fonts\\truetype\\dejavu\\DejaVuSans.ttf";

// The lines a recorder wrote, waiting until `count` are there. Started
// programs run on their own, so the log may arrive a little later.
std::vector<std::string> LogLines(const std::string& log, size_t count) {
  std::vector<std::string> lines;
  for (int i = 0; i < 600; ++i) {
    lines.clear();
    std::string text = ReadFileBytes(log);
    size_t start = 0, end;
    while ((end = text.find("\r\n", start)) != std::string::npos) {
      lines.push_back(text.substr(start, end - start));
      start = end + 2;
    }
    if (lines.size() >= count) break;
    Sleep(50);
  }
  return lines;
}

TEST(RegistrationCommandLine, QuotesPathsAndAppendsTheSwitch) {
  const std::string app = "C:\\Programme\\Kivra Setup\\";
  const std::string file = "C:\\Programme\\Mein Programm\\Teil eins.dll";
  EXPECT_EQ(RegistrationCommandLine(app, 1, file, true),
            "\"C:\\Programme\\Kivra Setup\\dllregsv.exe\" \"C:\\Programme\\Mein Programm\\Teil eins.dll\" /r");
  EXPECT_EQ(RegistrationCommandLine(app, 1, file, false),
            "\"C:\\Programme\\Kivra Setup\\dllregsv.exe\" \"C:\\Programme\\Mein Programm\\Teil eins.dll\" /u");
  EXPECT_EQ(RegistrationCommandLine(app, 3, file, true), "\"C:\\Programme\\Mein Programm\\Teil eins.dll\" /REGSERVER");
  EXPECT_EQ(RegistrationCommandLine(app, 3, file, false),
            "\"C:\\Programme\\Mein Programm\\Teil eins.dll\" /UNREGSERVER");
  for (int kind : {0, 2, 4, 5, -1}) EXPECT_EQ(RegistrationCommandLine(app, kind, file, true), "") << kind;
}

class RegistrationTest : public InstallFixture {
 protected:
  void SetUp() override {
    Log = Scratch / "gestartet.log";
    SetEnvironmentVariableW(L"KV_RECORDER_LOG", win::Widen(Log).c_str());
  }
  void TearDown() override { SetEnvironmentVariableW(L"KV_RECORDER_LOG", nullptr); }

  // Installs medium\name (copied from `from`) with the given kind.
  CFile& InstallWithKind(const std::string& name, int32_t kind, const std::string& from) {
    CopyFileW(win::Widen(from).c_str(), win::Widen(Medium + "\\" + name).c_str(), FALSE);
    CFile& f = AddFile(name);
    f.Register = kind;
    Install(f);
    EXPECT_EQ(f.Installed, 1) << name;
    return f;
  }

  std::string Log;
};

TEST_F(RegistrationTest, ComponentGoesThroughTheHelperInTheInstallerFolder) {
  CopyFileW(win::Widen(WinePath(KV_RECORDER_EXE)).c_str(), win::Widen(session.AppDir + "dllregsv.exe").c_str(), FALSE);
  CFile& f = InstallWithKind("Meine Komponente.dll", 1, WinePath(KV_RECORDER_EXE));
  const std::string path = App + "\\Meine Komponente.dll";
  EXPECT_EQ(LogLines(Log, 1),
            std::vector<std::string>{"\"" + session.AppDir + "dllregsv.exe\" \"" + path + "\" /r"});

  EXPECT_TRUE(UnregisterFile(session, f, false));
  EXPECT_EQ(LogLines(Log, 2).back(), "\"" + session.AppDir + "dllregsv.exe\" \"" + path + "\" /u");
  EXPECT_EQ(f.Installed, 0);
  EXPECT_FALSE(Exists(path));
  EXPECT_FALSE(session.FilesLeft);
}

TEST_F(RegistrationTest, ServerIsStartedWithItsOwnSwitches) {
  CFile& f = InstallWithKind("Mein Server.exe", 3, WinePath(KV_RECORDER_EXE));
  const std::string path = App + "\\Mein Server.exe";
  EXPECT_EQ(LogLines(Log, 1), std::vector<std::string>{"\"" + path + "\" /REGSERVER"});
  // keepFile: unregistered, the file stays.
  EXPECT_TRUE(UnregisterFile(session, f, true));
  EXPECT_EQ(LogLines(Log, 2).back(), "\"" + path + "\" /UNREGSERVER");
  EXPECT_TRUE(Exists(path));
}

TEST_F(RegistrationTest, KindsWithoutRegistrationStartNothing) {
  // Recorders that would log if anyone started them; a server installed last
  // proves that started programs did get to write.
  CFile& none = InstallWithKind("nichts.exe", 0, WinePath(KV_RECORDER_EXE));
  CFile& unknown = InstallWithKind("unbekannt.exe", 5, WinePath(KV_RECORDER_EXE));
  EXPECT_TRUE(UnregisterFile(session, none, false));
  EXPECT_TRUE(UnregisterFile(session, unknown, false));
  EXPECT_FALSE(Exists(App + "\\nichts.exe"));
  InstallWithKind("zeuge.exe", 3, WinePath(KV_RECORDER_EXE));
  EXPECT_EQ(LogLines(Log, 1), std::vector<std::string>{"\"" + App + "\\zeuge.exe\" /REGSERVER"});
}

TEST_F(RegistrationTest, TypeLibraryIsRegisteredAndSurvivesRemoval) {
  CFile& f = InstallWithKind("kvtest.tlb", 2, WinePath(KV_TEST_TLB));
  const std::string key = "TypeLib\\" + kTypeLibGuid + "\\1.0\\0\\win64";
  EXPECT_EQ(modRegTools::GetString(key, "", "fehlt", HKEY_CLASSES_ROOT), App + "\\kvtest.tlb");
  EXPECT_TRUE(ui.Boxes().empty());

  EXPECT_TRUE(UnregisterFile(session, f, false));
  EXPECT_FALSE(Exists(App + "\\kvtest.tlb"));
  EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, "TypeLib\\" + kTypeLibGuid));
}

TEST_F(RegistrationTest, FailingTypeLibraryAsksRetryThenIgnore) {
  Scratch.WriteFile("medium\\kaputt.tlb", "keine Typbibliothek");
  CFile& f = AddFile("kaputt.tlb");
  f.Register = 2;
  ui.Answer(MsgResult::Retry);
  ui.Answer(MsgResult::Ignore);
  Install(f);
  ASSERT_EQ(ui.Boxes().size(), 2u);
  EXPECT_EQ(ui.Boxes()[0].request.text,
            "Beim Registrieren von kaputt.tlb ist ein Fehler aufgetreten." + std::string(kAriTail));
  EXPECT_EQ(f.Installed, 0);  // copied, but not recorded
  EXPECT_TRUE(Exists(App + "\\kaputt.tlb"));
  EXPECT_FALSE(session.FilesInstalled);

  // Retry after the file was put right registers it and records it.
  ui.Answer(MsgResult::Retry);
  ui.BeforeBox = [&](const MessageBoxRequest&) {
    CopyFileW(win::Widen(WinePath(KV_TEST_TLB)).c_str(), win::Widen(App + "\\kaputt.tlb").c_str(), FALSE);
  };
  Install(f);
  EXPECT_EQ(ui.Boxes().size(), 3u);
  EXPECT_EQ(f.Installed, 1);
  EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, "TypeLib\\" + kTypeLibGuid));
}

// Number of faces of a family the system offers.
int FaceCount(const std::wstring& family) {
  LOGFONTW lf{};
  lf.lfCharSet = DEFAULT_CHARSET;
  wcsncpy(lf.lfFaceName, family.c_str(), LF_FACESIZE - 1);
  int n = 0;
  HDC dc = GetDC(nullptr);
  EnumFontFamiliesExW(
      dc, &lf, [](const LOGFONTW*, const TEXTMETRICW*, DWORD, LPARAM count) -> int {
        ++*reinterpret_cast<int*>(count);
        return 1;
      },
      reinterpret_cast<LPARAM>(&n), 0);
  ReleaseDC(nullptr, dc);
  return n;
}

TEST_F(RegistrationTest, FontIsAddedAndRemoved) {
  // The system already knows DejaVu Sans from the host; a copy renamed to a
  // family of its own shows whether our adding and removing took effect.
  std::string font = ReadFileBytes(kFont);
  ASSERT_FALSE(font.empty()) << "fonts-dejavu-core missing";
  auto rename = [&font](const std::string& from, const std::string& to) {
    for (size_t at = font.find(from); at != std::string::npos; at = font.find(from, at + to.size())) {
      font.replace(at, from.size(), to);
    }
  };
  rename("DejaVu", "KvTest");
  rename(std::string("\0D\0e\0j\0a\0V\0u", 12), std::string("\0K\0v\0T\0e\0s\0t", 12));
  const std::string renamed = Scratch.WriteFile("KvTestSans.ttf", font);
  ASSERT_EQ(FaceCount(L"KvTest Sans"), 0);

  CFile& f = InstallWithKind("KvTestSans.ttf", 4, renamed);
  EXPECT_GT(FaceCount(L"KvTest Sans"), 0);
  EXPECT_TRUE(UnregisterFile(session, f, true));
  EXPECT_EQ(FaceCount(L"KvTest Sans"), 0);
  EXPECT_TRUE(Exists(App + "\\KvTestSans.ttf"));
}

TEST_F(RegistrationTest, UnregisterFileLeavesWhatItMustLeave) {
  Scratch.MakeFolder("Programme\\Testprogramm");
  const std::string path = Scratch.WriteFile("Programme\\Testprogramm\\bleibt.dat", "x");
  CFile& f = AddFile("bleibt.dat");
  f.InstalledIn = App;

  // Not installed: nothing to do.
  EXPECT_TRUE(UnregisterFile(session, f, false));
  EXPECT_TRUE(Exists(path));

  // DontUninstall: untouched, but the user is told files were left.
  f.Installed = 1;
  f.DontUninstall = true;
  EXPECT_TRUE(UnregisterFile(session, f, false));
  EXPECT_EQ(f.Installed, 1);
  EXPECT_TRUE(Exists(path));
  EXPECT_TRUE(session.FilesLeft);
  session.FilesLeft = false;
  f.DontUninstall = false;

  // Shared and still used elsewhere: kept, count lowered.
  f.SharedFile = true;
  modRegTools::SetNumber(modTools::kSharedDllsKey, path, 3, HKEY_LOCAL_MACHINE);
  EXPECT_FALSE(UnregisterFile(session, f, false));
  EXPECT_EQ(f.Installed, 0);
  EXPECT_TRUE(Exists(path));
  EXPECT_EQ(modRegTools::GetNumber(modTools::kSharedDllsKey, path, -1, HKEY_LOCAL_MACHINE), 2);

  // Last user: the count goes, the file goes.
  f.Installed = 1;
  modRegTools::SetNumber(modTools::kSharedDllsKey, path, 1, HKEY_LOCAL_MACHINE);
  EXPECT_TRUE(UnregisterFile(session, f, false));
  EXPECT_FALSE(Exists(path));
  EXPECT_FALSE(ValueExists(HKEY_LOCAL_MACHINE, modTools::kSharedDllsKey, path));
  EXPECT_FALSE(session.FilesLeft);
}

// A shared file that the date rule keeps (no copy) is still counted,
// registered and recorded, at the place where it already was.
TEST_F(RegistrationTest, KeptSharedFileIsStillCountedAndRegistered) {
  const std::string common = Scratch.MakeFolder("Gemeinsame Dateien");
  const std::string existing = common + "\\Dienst.exe";
  CopyFileW(win::Widen(WinePath(KV_RECORDER_EXE)).c_str(), win::Widen(existing).c_str(), FALSE);
  CopyFileW(win::Widen(WinePath(KV_RECORDER_EXE)).c_str(), win::Widen(Medium + "\\Dienst.exe").c_str(), FALSE);
  SetStamps(Medium + "\\Dienst.exe", 2005);
  SetStamps(existing, 2010);
  CFile& f = AddFile("Dienst.exe", common);
  f.SharedFile = true;
  f.Register = 3;
  Install(f);

  EXPECT_EQ(StampYear(existing, false), 2010);  // not copied
  EXPECT_EQ(LogLines(Log, 1), std::vector<std::string>{"\"" + existing + "\" /REGSERVER"});
  EXPECT_EQ(modRegTools::GetNumber(modTools::kSharedDllsKey, existing, -1, HKEY_LOCAL_MACHINE), 2);
  EXPECT_EQ(f.Installed, 1);
  EXPECT_EQ(f.InstalledIn, common);
  EXPECT_TRUE(ui.Boxes().empty());
}

// A shared file other programs still use keeps its registration on removal.
TEST_F(RegistrationTest, SharedFileStillUsedKeepsItsRegistration) {
  CFile& f = InstallWithKind("Dienst.exe", 3, WinePath(KV_RECORDER_EXE));
  const std::string path = App + "\\Dienst.exe";
  ASSERT_EQ(LogLines(Log, 1).size(), 1u);
  f.SharedFile = true;
  modRegTools::SetNumber(modTools::kSharedDllsKey, path, 3, HKEY_LOCAL_MACHINE);
  EXPECT_FALSE(UnregisterFile(session, f, false));
  EXPECT_TRUE(Exists(path));
  // A server installed afterwards proves that started programs got to write;
  // an unregistration would have been started before it.
  InstallWithKind("zeuge.exe", 3, WinePath(KV_RECORDER_EXE));
  EXPECT_EQ(LogLines(Log, 2), (std::vector<std::string>{"\"" + path + "\" /REGSERVER",
                                                         "\"" + App + "\\zeuge.exe\" /REGSERVER"}));
}

TEST_F(RegistrationTest, UndeletableFileIsLeftAndFlagged) {
  Scratch.MakeFolder("Programme\\Testprogramm");
  const std::string path = Scratch.WriteFile("Programme\\Testprogramm\\offen.dll", "x");
  CFile& f = AddFile("offen.dll");
  f.InstalledIn = App;
  f.Installed = 1;
  HeldOpen held(path);
  ASSERT_TRUE(held.Holding());
  EXPECT_TRUE(UnregisterFile(session, f, false));
  EXPECT_TRUE(session.FilesLeft);
  EXPECT_EQ(f.Installed, 0);
  held.Release();
  EXPECT_TRUE(Exists(path));
}

}  // namespace
}  // namespace kv::test
