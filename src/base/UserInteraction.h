#pragma once
// The one way the engine talks to the person in front of the screen.
//
// The engine never opens a window itself: message boxes, the version-conflict
// dialog, the folder browser, page changes, the message pump and the mouse
// pointer all go through this interface. ui/ implements it with real windows;
// tests implement it with a scripted stand-in that records every prompt and
// answers from a script.
#include <string>

namespace kv {

// Values follow the classic message-box constants so that the real
// implementation can pass them straight through.
enum class MsgButtons { OK = 0, OKCancel = 1, AbortRetryIgnore = 2, YesNoCancel = 3, YesNo = 4, RetryCancel = 5 };
enum class MsgIcon { None = 0, Critical = 16, Question = 32, Exclamation = 48, Information = 64 };
enum class MsgResult { OK = 1, Cancel = 2, Abort = 3, Retry = 4, Ignore = 5, Yes = 6, No = 7 };

struct MessageBoxRequest {
  std::string text;
  std::string title;  // empty: the application's default title ("KVSetup")
  MsgButtons buttons = MsgButtons::OK;
  MsgIcon icon = MsgIcon::None;
  int defaultButton = 1;  // 1, 2 or 3
};

enum class MousePointer { Default, Arrow, Hourglass };

// The wizard's pages; the real windows live in ui/.
enum class PageId { None, Start, OtherInstalled, Path, EULA, Installing, Links, Finished, Maintenance, Uninstall };

// Texts of the version-conflict dialog, computed by the engine.
struct ConflictQuestion {
  std::string text;            // lblText
  std::string oldDescription;  // txtOld
  std::string newDescription;  // txtNew
  std::string whatToDo;        // lblWhatDo
};
// The dialog's result: 0 cancel, 1 keep the installed file, 2 replace it.
enum class ConflictAnswer { Cancel = 0, KeepInstalled = 1, Replace = 2 };

class UserInteraction {
 public:
  virtual ~UserInteraction() = default;

  virtual MsgResult MsgBox(const MessageBoxRequest& request) = 0;
  virtual ConflictAnswer AskConflict(const ConflictQuestion& question) = 0;
  // Folder browser; returns the chosen folder or "" when cancelled.
  virtual std::string BrowseForFolder(const std::string& title) = 0;

  // Page changes: show `page` in place of the current one (placement, caption
  // and icon are the window side's business), or unload the current page.
  virtual void ShowPage(PageId page, const std::string& caption) = 0;
  virtual void UnloadPage() = 0;
  // The hidden form that holds the side-bar pictures.
  virtual void LoadEmptyForm() = 0;
  virtual void UnloadEmptyForm() = 0;

  // Let pending window messages run (between files and steps of long work).
  virtual void DoEvents() = 0;
  // Let messages run while waiting for a minimum display time to pass: the
  // real windows sleep until a message arrives or `seconds` are over instead
  // of spinning the processor. Stand-ins just pump once.
  virtual void WaitForEvents(double seconds) { DoEvents(); }
  // How far long work has come: `done` of `total` steps, `item` the file in
  // hand ("" when none). Progress pages show it; others ignore it.
  virtual void ReportProgress(int done, int total, const std::string& item) {}
  virtual void SetMousePointer(MousePointer pointer) = 0;
  virtual MousePointer GetMousePointer() const = 0;
  // Seconds on a monotonic clock; minimum display times are measured with it,
  // so tests can run them on a clock of their own.
  virtual double Now() = 0;
};

// What the package data layer needs from its host: somewhere to report load
// and save failures, and the current window title (it changes during the run).
struct UiContext {
  UserInteraction& ui;
  const std::string& setupTitle;
};

}  // namespace kv
