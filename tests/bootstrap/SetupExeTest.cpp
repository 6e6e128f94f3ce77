// setup.exe in its three roles: the medium's start (in-process, on a machine
// of its own) and the registration and self-delete helpers (as processes).
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>

#include "app/setup/SetupRoles.h"
#include "platform/FileTools.h"
#include "platform/RegTools.h"
#include "platform/WinString.h"
#include "support/RegistryGuard.h"
#include "support/ScratchFolder.h"
#include "support/VersionFixtures.h"

namespace kv::test {
namespace {

using setupexe::Role;

std::string Built(const char* path) {
  std::string p = path;
  std::replace(p.begin(), p.end(), '/', '\\');
  return p;
}
void Copy(const std::string& from, const std::string& to) {
  ASSERT_TRUE(CopyFileW(win::Widen(from).c_str(), win::Widen(to).c_str(), FALSE)) << from << " -> " << to;
}
std::string WaitForFile(const std::string& path) {
  for (int i = 0; i < 600; ++i) {
    if (modTools::FileExists(path)) {
      Sleep(50);
      return ReadFileBytes(path);
    }
    Sleep(50);
  }
  return {};
}

// Runs a program to its end; its exit code, or -1 when it could not start.
int RunProcess(const std::string& commandLine) {
  std::wstring line = win::Widen(commandLine);
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
    return -1;
  CloseHandle(process.hThread);
  WaitForSingleObject(process.hProcess, 120000);
  DWORD code = 0;
  GetExitCodeProcess(process.hProcess, &code);
  CloseHandle(process.hProcess);
  return static_cast<int>(code);
}

TEST(SetupArguments, ChooseTheRole) {
  EXPECT_EQ(setupexe::ParseArguments("").role, Role::Bootstrap);
  EXPECT_EQ(setupexe::ParseArguments("   ").role, Role::Bootstrap);
  auto r = setupexe::ParseArguments("\"C:\\Pro gramme\\x.dll\" /R");
  EXPECT_EQ(r.role, Role::Register);
  EXPECT_EQ(r.file, "C:\\Pro gramme\\x.dll");
  EXPECT_EQ(setupexe::ParseArguments("\"C:\\x.dll\" /u").role, Role::Unregister);
  r = setupexe::ParseArguments("\"C:\\Programme\\Kivra\\Setup\\KVSetup.exe\" /d \"C:\\Programme\\Kivra\\Setup\"");
  EXPECT_EQ(r.role, Role::SelfDelete);
  EXPECT_EQ(r.file, "C:\\Programme\\Kivra\\Setup\\KVSetup.exe");
  EXPECT_EQ(r.folder, "C:\\Programme\\Kivra\\Setup");
  EXPECT_EQ(setupexe::ParseArguments("/d").role, Role::Invalid);
  EXPECT_EQ(setupexe::ParseArguments("\"x.dll\" /x").role, Role::Invalid);
  EXPECT_EQ(setupexe::ParseArguments("\"x.exe\" /d").role, Role::Invalid);
  EXPECT_EQ(setupexe::ParseArguments("a b c d").role, Role::Invalid);
}

class Bootstrap : public ::testing::Test {
 protected:
  RegistryGuard registry;
  ScratchFolder scratch;
  std::string medium = scratch.MakeFolder("medium");
  std::string installer = scratch / "pf\\Kivra\\Setup\\";
  std::string v1 = Built(KV_INSTALLER_V1);
  std::string v2 = Built(KV_INSTALLER_V2);
  std::vector<std::string> told;
  setupexe::Tell tell = [this](const std::string& text) { told.push_back(text); };

  std::string ExpectedStart() const {
    return "\"" + installer + "KVSetup.exe\" -ifp \"" + medium + "\"\r\n";
  }
};

TEST_F(Bootstrap, InstallerFolderFollowsProgramFilesDir) {
  EXPECT_EQ(setupexe::InstallerFolder(), "c:\\Program Files\\Kivra\\Setup\\");
  modRegTools::SetString("Software\\Microsoft\\Windows\\CurrentVersion", "ProgramFilesDir", scratch / "pf\\",
                         HKEY_LOCAL_MACHINE);
  EXPECT_EQ(setupexe::InstallerFolder(), installer);
}

TEST_F(Bootstrap, NeedsCopyUnlessTheInstalledCopyIsTheSameOrNewer) {
  std::string target = scratch / "KVSetup.exe";
  EXPECT_TRUE(setupexe::NeedsCopy(v1, target));  // none there
  Copy(v1, target);
  EXPECT_FALSE(setupexe::NeedsCopy(v1, target));
  EXPECT_TRUE(setupexe::NeedsCopy(v2, target));
  Copy(v2, target);
  EXPECT_FALSE(setupexe::NeedsCopy(v1, target));
  MakeUnversionedFile(scratch / "a.dll");
  MakeUnversionedFile(scratch / "b.dll");
  EXPECT_TRUE(setupexe::NeedsCopy(scratch / "a.dll", scratch / "b.dll"));
}

TEST_F(Bootstrap, CopiesIntoAFreshFolderAndStartsTheInstallerWithTheMedium) {
  Copy(v1, medium + "\\KVSetup.exe");
  EXPECT_EQ(setupexe::Bootstrap(medium, installer, tell), setupexe::kOk);
  EXPECT_TRUE(told.empty());
  EXPECT_EQ(ReadFileBytes(installer + "KVSetup.exe"), ReadFileBytes(v1));
  EXPECT_EQ(WaitForFile(installer + "KVSetup.log"), ExpectedStart());
}

TEST_F(Bootstrap, KeepsTheSameOrANewerInstallerAndReplacesAnOlderOne) {
  scratch.MakeFolder("pf\\Kivra\\Setup");
  Copy(v1, medium + "\\KVSetup.exe");

  // Same version, different bytes: left alone.
  std::string marked = ReadFileBytes(v1) + "#";
  scratch.WriteFile("pf\\Kivra\\Setup\\KVSetup.exe", marked);
  EXPECT_EQ(setupexe::Bootstrap(medium, installer, tell), setupexe::kOk);
  EXPECT_EQ(ReadFileBytes(installer + "KVSetup.exe"), marked);
  EXPECT_EQ(WaitForFile(installer + "KVSetup.log"), ExpectedStart());
  DeleteFileW(win::Widen(installer + "KVSetup.log").c_str());

  // Newer there: left alone.
  Copy(v2, installer + "KVSetup.exe");
  EXPECT_EQ(setupexe::Bootstrap(medium, installer, tell), setupexe::kOk);
  EXPECT_EQ(ReadFileBytes(installer + "KVSetup.exe"), ReadFileBytes(v2));
  EXPECT_EQ(WaitForFile(installer + "KVSetup.log"), ExpectedStart());

  // Older there: replaced.
  Copy(v1, installer + "KVSetup.exe");
  Copy(v2, medium + "\\KVSetup.exe");
  EXPECT_EQ(setupexe::Bootstrap(medium, installer, tell), setupexe::kOk);
  EXPECT_EQ(ReadFileBytes(installer + "KVSetup.exe"), ReadFileBytes(v2));
  EXPECT_TRUE(told.empty());
}

TEST_F(Bootstrap, MissingInstallerOnTheMediumIsToldAndNothingIsCreated) {
  EXPECT_EQ(setupexe::Bootstrap(medium, installer, tell), setupexe::kCopyFailed);
  ASSERT_EQ(told.size(), 1u);
  EXPECT_EQ(told[0], "Das Installationsprogramm \"" + medium +
                         "\\KVSetup.exe\" wurde auf dem Installationsmedium nicht gefunden. Setup kann nicht "
                         "gestartet werden.");
  EXPECT_FALSE(modTools::FileExists(scratch / "pf"));
}

TEST_F(Bootstrap, AnInstallerThatCannotStartIsTold) {
  MakeUnversionedFile(medium + "\\KVSetup.exe");  // a library, not a program
  EXPECT_EQ(setupexe::Bootstrap(medium, installer, tell), setupexe::kStartFailed);
  ASSERT_EQ(told.size(), 1u);
  EXPECT_EQ(told[0], "Das Installationsprogramm \"" + installer + "KVSetup.exe\" konnte nicht gestartet werden.");
}

class SetupExeProcess : public ::testing::Test {
 protected:
  ScratchFolder scratch;
  std::string setupExe = Built(KV_SETUP_EXE);
};

TEST_F(SetupExeProcess, RegistersAndUnregistersAComponentLibrary) {
  std::string helper = scratch / "dllregsv.exe";
  Copy(setupExe, helper);
  std::string dll = scratch / "Mit Blank.dll";
  Copy(Built(KV_REGTARGET_DLL), dll);

  EXPECT_EQ(RunProcess("\"" + helper + "\" \"" + dll + "\" /r"), setupexe::kOk);
  EXPECT_TRUE(modTools::FileExists(dll + ".registered"));
  EXPECT_EQ(RunProcess("\"" + helper + "\" \"" + dll + "\" /u"), setupexe::kOk);
  EXPECT_FALSE(modTools::FileExists(dll + ".registered"));

  SetEnvironmentVariableW(L"KV_REGTARGET_FAIL", L"1");
  EXPECT_EQ(RunProcess("\"" + helper + "\" \"" + dll + "\" /r"), setupexe::kRegistrationFailed);
  SetEnvironmentVariableW(L"KV_REGTARGET_FAIL", nullptr);
  EXPECT_FALSE(modTools::FileExists(dll + ".registered"));

  EXPECT_EQ(RunProcess("\"" + helper + "\" \"" + scratch / "fehlt.dll" + "\" /r"), setupexe::kLoadFailed);
  EXPECT_EQ(RunProcess("\"" + helper + "\" \"" + VersionTemplatePath() + "\" /u"), setupexe::kNoEntryPoint);
}

class SelfDelete : public SetupExeProcess {
 protected:
  std::string installerFolder = scratch.MakeFolder("inst");
  std::string installerExe = installerFolder + "\\KVSetup.exe";
  std::string helper = scratch.MakeFolder("win") + "\\DelKVStp.exe";

  void SetUp() override {
    Copy(setupExe, helper);
    Copy(Built(KV_WAITER_EXE), installerExe);
    Copy(setupExe, installerFolder + "\\dllregsv.exe");
    scratch.MakeFolder("inst\\Packages\\Leer");
  }
  // Starts the stand-in installer and, while it runs, the helper for it;
  // returns the helper's exit code after the installer has ended.
  int RunWhileInstallerRuns(const std::string& folderArgument) {
    HANDLE event = CreateEventW(nullptr, TRUE, FALSE, L"KvSelfDeleteTest");
    std::wstring installerLine = win::Widen("\"" + installerExe + "\" KvSelfDeleteTest");
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION installer{}, helperProcess{};
    EXPECT_TRUE(CreateProcessW(nullptr, installerLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                               &installer));
    std::wstring helperLine = win::Widen("\"" + helper + "\" \"" + installerExe + "\" /d \"" + folderArgument + "\"");
    EXPECT_TRUE(CreateProcessW(nullptr, helperLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                               &helperProcess));
    // While the installer runs, the helper waits and its folder stays.
    EXPECT_EQ(WaitForSingleObject(helperProcess.hProcess, 1000), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_TRUE(modTools::FileExists(installerExe));
    SetEvent(event);
    WaitForSingleObject(installer.hProcess, 60000);
    EXPECT_EQ(WaitForSingleObject(helperProcess.hProcess, 90000), static_cast<DWORD>(WAIT_OBJECT_0));
    DWORD code = 99;
    GetExitCodeProcess(helperProcess.hProcess, &code);
    for (HANDLE h : {installer.hThread, installer.hProcess, helperProcess.hThread, helperProcess.hProcess, event})
      CloseHandle(h);
    return static_cast<int>(code);
  }
};

TEST_F(SelfDelete, RemovesTheFolderAfterTheInstallerEnded) {
  EXPECT_EQ(RunWhileInstallerRuns(installerFolder), setupexe::kOk);
  EXPECT_FALSE(modTools::FileExists(installerFolder));
}

TEST_F(SelfDelete, FilesItDoesNotKnowStayWithTheirFolder) {
  scratch.WriteFile("inst\\Packages\\Leer\\notiz.txt", "meins");
  EXPECT_EQ(RunWhileInstallerRuns(installerFolder), setupexe::kFolderLeft);
  EXPECT_FALSE(modTools::FileExists(installerExe));
  EXPECT_FALSE(modTools::FileExists(installerFolder + "\\dllregsv.exe"));
  EXPECT_TRUE(modTools::FileExists(installerFolder + "\\Packages\\Leer\\notiz.txt"));
}

TEST_F(SelfDelete, RefusesAFolderThatIsNotTheInstallersOwn) {
  EXPECT_EQ(RunProcess("\"" + helper + "\" \"" + installerExe + "\" /d \"" + scratch.Path() + "\""),
            setupexe::kBadArguments);
  EXPECT_TRUE(modTools::FileExists(installerExe));
  EXPECT_TRUE(modTools::FileExists(installerFolder + "\\dllregsv.exe"));
}

}  // namespace
}  // namespace kv::test
