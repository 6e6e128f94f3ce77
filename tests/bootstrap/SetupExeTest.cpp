// setup.exe in its three roles: the medium's start (in-process) and the
// registration and self-delete helpers (as processes).
#include <windows.h>

#include <gtest/gtest.h>

#include "app/setup/SetupRoles.h"
#include "platform/FileTools.h"
#include "platform/RegTools.h"
#include "platform/WinString.h"
#include "startup/StartupWorld.h"
#include "support/VersionFixtures.h"

namespace kv::test {
namespace {

using setupexe::Role;

void Copy(const std::string& from, const std::string& to) {
  ASSERT_TRUE(CopyFileW(win::Widen(from).c_str(), win::Widen(to).c_str(), FALSE)) << from << " -> " << to;
}
HANDLE Launch(const std::string& commandLine) {
  std::wstring line = win::Widen(commandLine);
  STARTUPINFOW startup{sizeof(startup)};
  PROCESS_INFORMATION process{};
  EXPECT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process));
  CloseHandle(process.hThread);
  return process.hProcess;
}
// Waits for a started program's end and returns its exit code.
int ExitCode(HANDLE process) {
  DWORD code = 99;
  EXPECT_EQ(WaitForSingleObject(process, 120000), static_cast<DWORD>(WAIT_OBJECT_0));
  GetExitCodeProcess(process, &code);
  CloseHandle(process);
  return static_cast<int>(code);
}

TEST(SetupArguments, ChooseTheRole) {
  const struct { const char* args; Role role; const char* file; const char* folder; } rows[] = {
      {"   ", Role::Bootstrap, "", ""},
      {"\"C:\\Pro gramme\\x.dll\" /R", Role::Register, "C:\\Pro gramme\\x.dll", ""},
      {"\"C:\\x.dll\" /u", Role::Unregister, "C:\\x.dll", ""},
      {"\"C:\\S\\KVSetup.exe\" /d \"C:\\S\"", Role::SelfDelete, "C:\\S\\KVSetup.exe", "C:\\S"},
      {"/d", Role::Invalid}, {"\"x.dll\" /x", Role::Invalid}, {"\"x.exe\" /d", Role::Invalid}, {"a b c d", Role::Invalid}};
  for (const auto& row : rows) {
    const auto r = setupexe::ParseArguments(row.args);
    EXPECT_EQ(r.role, row.role) << row.args;
    if (row.file) {
      EXPECT_EQ(r.file + "|" + r.folder, std::string(row.file) + "|" + row.folder) << row.args;
    }
  }
}

class Bootstrap : public ::testing::Test {
 protected:
  RegistryGuard registry;
  ScratchFolder scratch;
  std::string medium = scratch.MakeFolder("medium");
  std::string installer = scratch / "pf\\Kivra\\Setup\\";
  std::string v1 = BuiltProgram(KV_INSTALLER_V1);
  std::string v2 = BuiltProgram(KV_INSTALLER_V2);
  std::vector<std::string> told;
  setupexe::Tell tell = [this](const std::string& text) { told.push_back(text); };

  // Bootstraps with `onMedium` as the medium's installer (and `there`, if
  // any, already installed); the installer then found in place.
  std::string Run(const std::string& onMedium, const std::string& there = "") {
    Copy(onMedium, medium + "\\KVSetup.exe");
    if (!there.empty()) scratch.WriteFile("pf\\Kivra\\Setup\\KVSetup.exe", there);
    DeleteFileW(win::Widen(installer + "KVSetup.log").c_str());
    EXPECT_EQ(setupexe::Bootstrap(medium, installer, tell), setupexe::kOk);
    EXPECT_EQ(WaitForFile(installer + "KVSetup.log"), "\"" + installer + "KVSetup.exe\" -ifp \"" + medium + "\"\r\n");
    EXPECT_TRUE(told.empty());
    return ReadFileBytes(installer + "KVSetup.exe");
  }
};

TEST_F(Bootstrap, InstallerFolderFollowsProgramFilesDir) {
  EXPECT_EQ(setupexe::InstallerFolder(), "c:\\Program Files\\Kivra\\Setup\\");
  modRegTools::SetString("Software\\Microsoft\\Windows\\CurrentVersion", "ProgramFilesDir", scratch / "pf\\",
                         HKEY_LOCAL_MACHINE);
  EXPECT_EQ(setupexe::InstallerFolder(), installer);
}

TEST_F(Bootstrap, CopiesTheInstallerOnlyWhenNoneOrAnOlderOneIsThere) {
  const std::string bytes1 = ReadFileBytes(v1), bytes2 = ReadFileBytes(v2);
  EXPECT_EQ(Run(v1), bytes1);                  // fresh folder
  EXPECT_EQ(Run(v1, bytes1 + "#"), bytes1 + "#");  // same version, other bytes: kept
  EXPECT_EQ(Run(v1, bytes2), bytes2);          // newer there: kept
  EXPECT_EQ(Run(v2, bytes1), bytes2);          // older there: replaced
  MakeUnversionedFile(scratch / "a.dll");
  MakeUnversionedFile(scratch / "b.dll");
  EXPECT_TRUE(setupexe::NeedsCopy(scratch / "a.dll", scratch / "b.dll"));  // no versions: always
}

TEST_F(Bootstrap, AMissingInstallerOrOneThatCannotStartIsTold) {
  EXPECT_EQ(setupexe::Bootstrap(medium, installer, tell), setupexe::kCopyFailed);
  EXPECT_FALSE(modTools::FileExists(scratch / "pf"));  // nothing created
  MakeUnversionedFile(medium + "\\KVSetup.exe");      // a library, not a program
  EXPECT_EQ(setupexe::Bootstrap(medium, installer, tell), setupexe::kStartFailed);
  EXPECT_EQ(told, (std::vector<std::string>{
                      "Das Installationsprogramm \"" + medium +
                          "\\KVSetup.exe\" wurde auf dem Installationsmedium nicht gefunden. Setup kann nicht "
                          "gestartet werden.",
                      "Das Installationsprogramm \"" + installer + "KVSetup.exe\" konnte nicht gestartet werden."}));
}

class SetupExeProcess : public ::testing::Test {
 protected:
  ScratchFolder scratch;
  std::string setupExe = BuiltProgram(KV_SETUP_EXE);
};

TEST_F(SetupExeProcess, RegistersAndUnregistersAComponentLibrary) {
  std::string helper = scratch / "dllregsv.exe";
  Copy(setupExe, helper);
  std::string dll = scratch / "Mit Blank.dll";
  Copy(BuiltProgram(KV_REGTARGET_DLL), dll);
  auto run = [&](const std::string& file, const char* flag) {
    return ExitCode(Launch("\"" + helper + "\" \"" + file + "\" " + flag));
  };
  EXPECT_EQ(run(dll, "/r"), setupexe::kOk);
  EXPECT_TRUE(modTools::FileExists(dll + ".registered"));
  EXPECT_EQ(run(dll, "/u"), setupexe::kOk);
  EXPECT_FALSE(modTools::FileExists(dll + ".registered"));
  SetEnvironmentVariableW(L"KV_REGTARGET_FAIL", L"1");
  EXPECT_EQ(run(dll, "/r"), setupexe::kRegistrationFailed);
  SetEnvironmentVariableW(L"KV_REGTARGET_FAIL", nullptr);
  EXPECT_FALSE(modTools::FileExists(dll + ".registered"));
  EXPECT_EQ(run(scratch / "fehlt.dll", "/r"), setupexe::kLoadFailed);
  EXPECT_EQ(run(VersionTemplatePath(), "/u"), setupexe::kNoEntryPoint);
}

class SelfDelete : public SetupExeProcess {
 protected:
  std::string folder = scratch.MakeFolder("inst");
  std::string installerExe = folder + "\\KVSetup.exe";
  std::string helper = scratch.MakeFolder("win") + "\\DelKVStp.exe";

  void SetUp() override {
    Copy(setupExe, helper);
    Copy(BuiltProgram(KV_WAITER_EXE), installerExe);
    Copy(setupExe, folder + "\\dllregsv.exe");
    scratch.MakeFolder("inst\\Packages\\Leer");
  }
  HANDLE StartHelper(const std::string& folderArgument) {
    return Launch("\"" + helper + "\" \"" + installerExe + "\" /d \"" + folderArgument + "\"");
  }
  // Runs the helper while the stand-in installer runs; its exit code.
  int RunWhileInstallerRuns() {
    HANDLE event = CreateEventW(nullptr, TRUE, FALSE, L"KvSelfDeleteTest");
    HANDLE installer = Launch("\"" + installerExe + "\" KvSelfDeleteTest");
    HANDLE helperProcess = StartHelper(folder);
    // While the installer runs, the helper waits and the folder stays.
    EXPECT_EQ(WaitForSingleObject(helperProcess, 1000), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_TRUE(modTools::FileExists(installerExe));
    SetEvent(event);
    ExitCode(installer);
    CloseHandle(event);
    return ExitCode(helperProcess);
  }
};

// A complete removal runs end to end (uninstallation and cancel scenarios).
TEST_F(SelfDelete, FilesItDoesNotKnowStayWithTheirFolder) {
  scratch.WriteFile("inst\\Packages\\Leer\\notiz.txt", "meins");
  EXPECT_EQ(RunWhileInstallerRuns(), setupexe::kFolderLeft);
  EXPECT_FALSE(modTools::FileExists(installerExe));
  EXPECT_FALSE(modTools::FileExists(folder + "\\dllregsv.exe"));
  EXPECT_TRUE(modTools::FileExists(folder + "\\Packages\\Leer\\notiz.txt"));
}

TEST_F(SelfDelete, RefusesAFolderThatIsNotTheInstallersOwn) {
  EXPECT_EQ(ExitCode(StartHelper(scratch.Path())), setupexe::kBadArguments);
  EXPECT_TRUE(modTools::FileExists(installerExe));
  EXPECT_TRUE(modTools::FileExists(folder + "\\dllregsv.exe"));
}

}  // namespace
}  // namespace kv::test
