// Mode recognition on the raw command tail, and the texts the pages show.
#include <windows.h>

#include <gtest/gtest.h>

#include <optional>
#include <thread>

#include "startup/CommandLine.h"
#include "pages/frmUninstall.h"
#include "startup/Switches.h"
#include "startup/UserStart.h"
#include "support/ScratchFolder.h"

namespace kv::modSetup {
namespace {

using namespace pages;

TEST(ParseCommand, ModeArgumentAndUnterminated) {
  struct Row { const char* tail; StartMode mode; const char* argument; bool unterminated; };
  const Row rows[] = {
      {"-O \"C:\\Prog\\app.exe /x\" trailing \"junk\"", StartMode::Launch, "C:\\Prog\\app.exe /x", false},
      {"-o \"C:\\a.exe", StartMode::Launch, "C:\\a.exe", false},  // no closing quote: the rest is the program
      {"-IFP \"D:\\Medium\\\"", StartMode::Install, "D:\\Medium", false},  // one trailing backslash dropped
      {"-ifp \"D:\\\"", StartMode::Install, "D:", false},
      {"-ifp \"D:\\Medium\" ", StartMode::Install, "", true},  // the quote must end the command
      {"-ifp \"", StartMode::Install, "", true},
      {"-M \"Demo_1.0\" whatever", StartMode::Maintenance, "Demo_1.0", false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.tail);
    StartCommand c = ParseCommand(row.tail);
    EXPECT_EQ(c.mode, row.mode);
    EXPECT_EQ(c.argument, row.argument);
    EXPECT_EQ(c.unterminated, row.unterminated);
  }
  // Blank and quote must be exact.
  for (const char* tail : {"-o  \"x\"", "-o\"x\"", "-ifp x", "/d \"C:\\x\"", "", "hello"})
    EXPECT_EQ(ParseCommand(tail).mode, StartMode::Unknown) << tail;
}

// Only a command whose first word is one of our switches is ours; every
// other command keeps its old meaning (the direct-start message included).
TEST(Switches, WhatCountsAsSwitches) {
  for (const char* tail : {"/QUIET -m \"A_1\"", "/log \"C:\\l.txt\" -ifp \"D:\\m\"", "/?", " /Passive"})
    EXPECT_TRUE(BeginsWithSwitch(tail)) << tail;
  for (const char* tail : {"-m \"A_1\" /quiet", "/d \"C:\\x\"", "/d", "", "-ifp \"D:\\m\"", "quiet", "/quietly"})
    EXPECT_FALSE(BeginsWithSwitch(tail)) << tail;
}

// "/quiet /uninstall -m" and "/quiet /log" run end to end (unattended scenario).
TEST(Switches, AcceptedForms) {
  Switches b = ParseSwitches("/Passive /LOG \"C:\\l.txt\" /dir \"D:\\Progs\\X\\\" /nodesktop /allusers "
                             "/norestart -ifp \"D:\\medium\"", SwitchHost::Installer);
  EXPECT_EQ(b.error, "");
  EXPECT_EQ(b.ui, UiLevel::Passive);
  EXPECT_EQ(b.logFile, "C:\\l.txt");
  EXPECT_EQ(b.dir, "D:\\Progs\\X");
  EXPECT_EQ(b.desktop, Choice::No);
  EXPECT_EQ(b.allUsers, Choice::Yes);
  EXPECT_EQ(b.startMenu, Choice::Default);
  // setup.exe hands them on in one normal form, which parses back the same.
  Switches c = ParseSwitches(SwitchesCommand(b) + " -ifp \"D:\\medium\"", SwitchHost::Installer);
  EXPECT_EQ(SwitchesCommand(c), SwitchesCommand(b));
  EXPECT_EQ(ParseSwitches("/quiet /log \"C:\\l.txt\"", SwitchHost::SetupExe).error, "");
}

TEST(Switches, RefusedCombinations) {
  const std::pair<const char*, SwitchHost> rows[] = {
      {"/quiet /passive", SwitchHost::SetupExe},
      {"/quiet /repair /uninstall", SwitchHost::SetupExe},
      {"/quiet /norestart /forcerestart", SwitchHost::SetupExe},
      {"/quiet /dir", SwitchHost::SetupExe},
      {"/quiet /dir /log \"C:\\l.txt\"", SwitchHost::SetupExe},
      {"/quiet /dir \"Programme\\X\"", SwitchHost::SetupExe},  // not a full path
      {"/quiet /dir \"C:\\\"", SwitchHost::SetupExe},           // a drive root
      {"/quiet /log", SwitchHost::SetupExe},
      {"/quiet -o \"C:\\x.exe\"", SwitchHost::Installer},
      {"/quiet /bogus", SwitchHost::SetupExe},
      {"/quiet bogus", SwitchHost::SetupExe},
      {"/quiet /desktop /nodesktop", SwitchHost::SetupExe},
      {"/quiet /uninstall /desktop", SwitchHost::SetupExe},
      {"/quiet /uninstall /dir \"C:\\X\"", SwitchHost::SetupExe},
      {"/norestart", SwitchHost::SetupExe},  // only for runs without questions
      {"/quiet -ifp \"D:\\m\"", SwitchHost::SetupExe},  // setup.exe names its medium itself
      {"/quiet", SwitchHost::Installer},     // the installer needs -ifp or -m
      {"/quiet -ifp \"D:\\m", SwitchHost::Installer},
      {"/quiet -m \"A_1\" /norestart", SwitchHost::Installer},
  };
  for (const auto& [tail, host] : rows) EXPECT_NE(ParseSwitches(tail, host).error, "") << tail;
}

// The welcome page's way on and the uninstallation page's texts are checked
// on the real pages (end to end, window tests); here the label's placement.
TEST(Pages, UninstallLabelIsCentredWithoutClamping) {
  EXPECT_EQ(frmUninstall_LabelTop(301, 100), 100);    // 201 / 2 truncates
  EXPECT_EQ(frmUninstall_LabelTop(300.6, 100), 100);  // 200.6 rounds to 201 first
  EXPECT_EQ(frmUninstall_LabelTop(100, 301), -100);   // taller than the page: cut off at the top, no clamping
}

// The finish page's program starts in its own folder, through the waiting
// unelevated starter when there is one, else directly; a failed start is
// reported either way.
TEST(Elevation, ProgramsStartInTheirFolderThroughTheWaitingStarter) {
  test::ScratchFolder scratch;
  const std::string folder = scratch.MakeFolder("Mein Programm"), report = folder + "\\cd.txt";
  HANDLE stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const struct {
    bool starter;
    const char* program;
    bool started;
  } rows[] = {{true, "cmd.exe", true}, {false, "cmd.exe", true}, {true, "C:\\fehlt\\fehlt.exe", false},
              {false, "C:\\fehlt\\fehlt.exe", false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.program) + (row.starter ? " through the starter" : " directly"));
    DeleteFileA(report.c_str());
    std::optional<UserStarter> starter;
    std::thread serving;
    if (row.starter) {
      starter.emplace();
      serving = std::thread([&] { starter->ServeUntil(stop); });
    }
    EXPECT_EQ(UserStarterWaiting(), row.starter);
    // "cd" writes the working folder into a file named relative to it.
    EXPECT_EQ(StartProgramAsUser("\"" + std::string(row.program) + "\" /c cd > cd.txt", folder), row.started);
    std::string cwd;
    for (int i = 0; row.started && i < 200 && cwd.find('\n') == std::string::npos; ++i, Sleep(50)) {
      cwd = test::ReadFileBytes(report);
    }
    if (row.started) {
      EXPECT_EQ(cwd, folder + "\r\n");
    }
    if (serving.joinable()) SetEvent(stop), serving.join(), ResetEvent(stop);
    starter.reset();
  }
  CloseHandle(stop);
}

}  // namespace
}  // namespace kv::modSetup
