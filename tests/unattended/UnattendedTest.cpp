// The unattended answers and the exit codes: what a deployment tool relies on.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "package/CPackage.h"
#include "session/Session.h"
#include "unattended/UnattendedRun.h"
#include "unattended/UnattendedUi.h"

namespace kv::unattended {
namespace {

struct Lines : RunLog {
  std::vector<std::string> lines;
  void Line(std::string_view text) override { lines.emplace_back(text); }
};

TEST(UnattendedUi, AnswersEveryQuestionAndLogsIt) {
  struct Row {
    MsgButtons buttons;
    bool newInstall, removedFirst, failedBefore;
    MsgResult answer;
  };
  const Row rows[] = {
      {MsgButtons::OK, true, false, false, MsgResult::OK},
      {MsgButtons::YesNo, true, false, false, MsgResult::Yes},
      {MsgButtons::AbortRetryIgnore, true, false, false, MsgResult::Abort},
      // Undo? A package this run brought in goes; one installed before stays;
      // a person who cancelled /passive always gets the rollback.
      {MsgButtons::YesNoCancel, true, false, true, MsgResult::Yes},
      {MsgButtons::YesNoCancel, false, false, true, MsgResult::No},
      {MsgButtons::YesNoCancel, true, true, true, MsgResult::No},
      {MsgButtons::YesNoCancel, false, false, false, MsgResult::Yes},
  };
  for (const Row& row : rows) {
    UnattendedUi ui;
    Session session(ui);
    ui.Attach(session);
    Lines log;
    session.Logger = &log;
    session.IsNewInstall = row.newInstall;
    if (row.removedFirst) session.PackageToRemoveFirst = std::make_shared<CPackage>(session.Context());
    if (row.failedBefore) ui.Fail("Eine Quelldatei fehlt");
    MessageBoxRequest box{"Frage eins\r\nErklärung", "t", row.buttons, MsgIcon::Question, 1};
    EXPECT_EQ(ui.MsgBox(box), row.answer) << static_cast<int>(row.buttons);
    ASSERT_FALSE(log.lines.empty());
    EXPECT_EQ(log.lines[row.failedBefore ? 1 : 0].find("Frage: Frage eins -> Antwort: "), 0u) << log.lines[0];
    if (row.buttons == MsgButtons::AbortRetryIgnore) {
      EXPECT_EQ(ui.Failure(), "Frage eins");
    }
  }
  UnattendedUi ui;
  EXPECT_EQ(ui.AskConflict({"Konflikt", "alt", "neu", "?"}), ConflictAnswer::KeepInstalled);
  // Without a display nobody watches the minimum display times.
  const double before = ui.Now();
  ui.WaitForEvents(30);
  EXPECT_GE(ui.Now() - before, 30);
}

TEST(ExitCode, FromTheWayTheRunEnded) {
  struct Row {
    bool finished, cancelled, restartRequired, restartStarted;
    const char* failure;
    int forced, code;
  };
  const Row rows[] = {
      {true, true, false, false, "", 0, 0},  // the finish page closes through the cancel procedure
      {true, true, true, false, "", 0, 3010},
      {true, true, true, true, "", 0, 1641},
      {false, true, false, false, "", 0, 1602},
      {false, true, false, false, "Quelldatei fehlt", 0, 1603},
      {true, true, false, false, "Makro fehlgeschlagen", 0, 1603},
      {false, false, false, false, "", 0, 1603},  // ended early after a message
      {false, true, false, false, "neuer", 1638, 1638},
  };
  for (const Row& row : rows) {
    UnattendedUi ui;
    Session session(ui);
    session.Finished = row.finished;
    session.Cancelled = row.cancelled;
    session.RestartRequired = row.restartRequired;
    RunOutcome outcome{row.restartStarted, row.forced};
    EXPECT_EQ(ExitCode(session, row.failure, outcome), row.code) << row.code;
  }
}

}  // namespace
}  // namespace kv::unattended
