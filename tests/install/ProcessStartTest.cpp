// Starting a command line: with waiting (exit code) and without, with the
// command line reaching the program unchanged.
#include <gtest/gtest.h>

#include "install/InstallTestSupport.h"
#include "platform/ProcessStart.h"

namespace kv::test {
namespace {

TEST(StartCommandLine, WaitsAndReportsTheExitCode) {
  ScratchFolder dir;
  const std::string exe = dir / "Mein Helfer.exe";
  ASSERT_TRUE(CopyFileW(win::Widen(WinePath(KV_RECORDER_EXE)).c_str(), win::Widen(exe).c_str(), FALSE));
  dir.WriteFile("Mein Helfer.exitcode", "7");
  SetEnvironmentVariableW(L"KV_RECORDER_LOG", nullptr);

  const std::string line = "\"" + exe + "\" \"ein Argument\" /x  Ende";
  uint32_t code = 0;
  ASSERT_TRUE(modTools::StartCommandLine(line, modTools::kShowHidden, true, &code));
  EXPECT_EQ(code, 7u);
  // It has ended, so its log is complete.
  EXPECT_EQ(ReadFileBytes(dir / "Mein Helfer.log"), line + "\r\n");
}

TEST(StartCommandLine, MissingProgramIsReportedAsNotStarted) {
  ScratchFolder dir;
  uint32_t code = 123;
  EXPECT_FALSE(modTools::StartCommandLine("\"" + (dir / "gibtsnicht.exe") + "\" /r", modTools::kShowNormalFocus,
                                          true, &code));
  EXPECT_EQ(code, 123u);
  EXPECT_FALSE(modTools::StartCommandLine("", modTools::kShowNormalFocus));
}

}  // namespace
}  // namespace kv::test
