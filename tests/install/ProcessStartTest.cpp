// Starting a command line: waiting for the exit code, the line reaching the
// program unchanged, and a missing program.
#include <gtest/gtest.h>

#include "install/InstallTestSupport.h"
#include "platform/ProcessStart.h"

namespace kv::test {
namespace {

TEST(StartCommandLine, WaitsAndReportsTheExitCodeOrNotStarted) {
  ScratchFolder dir;
  const std::string exe = dir / "Mein Helfer.exe";
  Copy(WinePath(KV_RECORDER_EXE), exe);
  dir.WriteFile("Mein Helfer.exitcode", "7");
  SetEnvironmentVariableW(L"KV_RECORDER_LOG", nullptr);
  const std::string line = "\"" + exe + "\" \"ein Argument\" /x  Ende";
  uint32_t code = 0;
  ASSERT_TRUE(modTools::StartCommandLine(line, modTools::kShowHidden, true, &code));
  EXPECT_EQ(code, 7u);
  EXPECT_EQ(ReadFileBytes(dir / "Mein Helfer.log"), line + "\r\n");  // ended, so the log is complete

  code = 123;
  EXPECT_FALSE(modTools::StartCommandLine("\"" + (dir / "gibtsnicht.exe") + "\" /r", modTools::kShowNormalFocus,
                                          true, &code));
  EXPECT_EQ(code, 123u);
  EXPECT_FALSE(modTools::StartCommandLine("", modTools::kShowNormalFocus));
}

}  // namespace
}  // namespace kv::test
