// Registration kinds on installation and removal, with real programs (the
// recorder stands in for dllregsv.exe and for servers) and a real type
// library. (The demo package registers a font end to end.)
#include <gtest/gtest.h>

#include "install/InstallFile.h"
#include "install/InstallTestSupport.h"
#include "install/Registration.h"
#include "platform/ProcessStart.h"
#include "platform/RegTools.h"
#include "platform/SharedFiles.h"

namespace kv::test {
namespace {

using modInstall::UnregisterFile;

const std::string kTypeLib = "TypeLib\\{5B0A2E6C-8F3D-4C1B-9A7E-2D4C6B8A1F03}";

int32_t SharedCount(const std::string& path) {
  return modRegTools::GetNumber(modTools::kSharedDllsKey, path, -1, HKEY_LOCAL_MACHINE);
}

class RegistrationTest : public InstallFixture {
 protected:
  void SetUp() override {
    Log = Scratch / "gestartet.log";
    SetEnvironmentVariableW(L"KV_RECORDER_LOG", win::Widen(Log).c_str());
  }
  void TearDown() override { SetEnvironmentVariableW(L"KV_RECORDER_LOG", nullptr); }

  CFile& InstallWithKind(const std::string& name, int32_t kind, const std::string& from = WinePath(KV_RECORDER_EXE)) {
    Copy(from, Medium + "\\" + name);
    CFile& f = AddFile(name);
    f.Register = kind;
    Install(f);
    EXPECT_EQ(f.Installed, 1) << name;
    return f;
  }

  // The recorder's lines, waiting until `count` are there: started programs
  // run on their own.
  std::vector<std::string> LogLines(size_t count) {
    std::vector<std::string> lines;
    for (int i = 0; i < 600 && lines.size() < count; ++i) {
      if (i) Sleep(50);
      lines.clear();
      const std::string text = ReadFileBytes(Log);
      for (size_t start = 0, end; (end = text.find("\r\n", start)) != std::string::npos; start = end + 2)
        lines.push_back(text.substr(start, end - start));
    }
    return lines;
  }

  std::string Log;
};

// Kinds 0 and 5 start nothing: had they, their lines would come first.
TEST_F(RegistrationTest, HelperAndServerCommandLinesOnInstallAndRemoval) {
  Copy(WinePath(KV_RECORDER_EXE), session.AppDir + "dllregsv.exe");
  CFile& none = InstallWithKind("nichts.exe", 0);
  CFile& unknown = InstallWithKind("unbekannt.exe", 5);
  CFile& component = InstallWithKind("Meine Komponente.dll", 1);
  ASSERT_EQ(LogLines(1).size(), 1u);
  CFile& server = InstallWithKind("Mein Server.exe", 3);
  ASSERT_EQ(LogLines(2).size(), 2u);
  EXPECT_TRUE(UnregisterFile(session, none, false));
  EXPECT_TRUE(UnregisterFile(session, unknown, false));
  EXPECT_TRUE(UnregisterFile(session, component, false));
  ASSERT_EQ(LogLines(3).size(), 3u);
  EXPECT_TRUE(UnregisterFile(session, server, true));  // keepFile

  const std::string helper = "\"" + session.AppDir + "dllregsv.exe\" \"" + App + "\\Meine Komponente.dll\"";
  const std::string srv = "\"" + App + "\\Mein Server.exe\"";
  EXPECT_EQ(LogLines(4), (std::vector<std::string>{helper + " /r", srv + " /REGSERVER", helper + " /u",
                                                   srv + " /UNREGSERVER"}));
  EXPECT_EQ(ListFolder(App), std::vector<std::string>{"Mein Server.exe"});
  EXPECT_EQ(component.Installed, 0);
  EXPECT_FALSE(session.FilesLeft);
}

TEST_F(RegistrationTest, TypeLibraryFailsAsksRetriesThenRegistersAndSurvivesRemoval) {
  Scratch.WriteFile("medium\\kaputt.tlb", "keine Typbibliothek");
  CFile& broken = AddFile("kaputt.tlb");
  broken.Register = 2;
  ui.Answer(MsgResult::Retry);
  ui.Answer(MsgResult::Ignore);
  Install(broken);
  ASSERT_EQ(ui.Boxes().size(), 2u);
  EXPECT_EQ(ui.Boxes()[0].request.text, "Beim Registrieren von kaputt.tlb ist ein Fehler aufgetreten." + kAriTail);
  EXPECT_TRUE(broken.Installed == 0 && Exists(App + "\\kaputt.tlb"));  // copied, but not recorded
  EXPECT_FALSE(session.FilesInstalled || KeyExists(HKEY_CLASSES_ROOT, kTypeLib));

  ui.Answer(MsgResult::Retry);  // after the file was put right
  ui.BeforeBox = [&](const MessageBoxRequest&) { Copy(WinePath(KV_TEST_TLB), App + "\\kaputt.tlb"); };
  Install(broken);
  EXPECT_EQ(ui.Boxes().size(), 3u);
  EXPECT_EQ(broken.Installed, 1);
  EXPECT_EQ(modRegTools::GetString(kTypeLib + "\\1.0\\0\\win64", "", "fehlt", HKEY_CLASSES_ROOT), App + "\\kaputt.tlb");

  EXPECT_TRUE(UnregisterFile(session, broken, false));  // removed, the registration stays
  EXPECT_FALSE(Exists(App + "\\kaputt.tlb"));
  EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, kTypeLib));
}

TEST_F(RegistrationTest, UnregisterFileLeavesWhatItMustLeave) {
  Scratch.MakeFolder("Programme\\Testprogramm");
  const std::string path = Scratch.WriteFile("Programme\\Testprogramm\\bleibt.dat", "x");
  CFile& f = AddFile("bleibt.dat");
  f.InstalledIn = App;
  EXPECT_TRUE(UnregisterFile(session, f, false));  // not installed: nothing to do
  EXPECT_TRUE(Exists(path));

  f.Installed = 1;
  f.DontUninstall = true;
  EXPECT_TRUE(UnregisterFile(session, f, false));
  EXPECT_EQ(f.Installed, 1);
  EXPECT_TRUE(Exists(path));
  EXPECT_TRUE(session.FilesLeft);  // the user is told files were left
  session.FilesLeft = f.DontUninstall = false;

  f.SharedFile = true;  // still used elsewhere: kept, count lowered
  modRegTools::SetNumber(modTools::kSharedDllsKey, path, 3, HKEY_LOCAL_MACHINE);
  EXPECT_FALSE(UnregisterFile(session, f, false));
  EXPECT_EQ(f.Installed, 0);
  EXPECT_TRUE(Exists(path));
  EXPECT_EQ(SharedCount(path), 2);

  f.Installed = 1;  // last user: count and file go
  modRegTools::SetNumber(modTools::kSharedDllsKey, path, 1, HKEY_LOCAL_MACHINE);
  EXPECT_TRUE(UnregisterFile(session, f, false));
  EXPECT_FALSE(Exists(path));
  EXPECT_FALSE(ValueExists(HKEY_LOCAL_MACHINE, modTools::kSharedDllsKey, path));
  EXPECT_FALSE(session.FilesLeft);

  {  // a "DontOverwrite" file found elsewhere: its empty folder joins to "\name"
    AtDriveRoot foreign(Scratch.Path(), "bleibt.dat");
    f.Installed = 1;
    f.SharedFile = false;
    f.InstalledIn.clear();
    EXPECT_TRUE(UnregisterFile(session, f, false));
    EXPECT_EQ(f.Installed, 0);
    EXPECT_EQ(ReadFileBytes(foreign.Path()), "fremd");
    f.InstalledIn = App;
  }

  Scratch.WriteFile("Programme\\Testprogramm\\bleibt.dat", "x");  // undeletable: left and flagged
  f.Installed = 1;
  f.SharedFile = false;
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
