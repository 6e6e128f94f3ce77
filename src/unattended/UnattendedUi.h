#pragma once
// The user interaction of an unattended run (/quiet, /passive): nobody is
// there, so every question gets the answer of one table (docs/unattended.md)
// at once, and every question and answer goes to the run log. Page changes
// are only noted; the page driver (UnattendedRun) then answers the page.
// With /passive the progress pages are shown by the real windows passed as
// `display`; everything else stays invisible.
#include <optional>
#include <string>

#include "base/UserInteraction.h"
#include "startup/Switches.h"

namespace kv {
struct Session;
}

namespace kv::unattended {

class UnattendedUi : public UserInteraction {
 public:
  // `display` may be null (/quiet). The session is attached once it exists.
  explicit UnattendedUi(UserInteraction* display = nullptr) : display_(display) {}
  void Attach(Session& session) { session_ = &session; }

  MsgResult MsgBox(const MessageBoxRequest& request) override;
  ConflictAnswer AskConflict(const ConflictQuestion& question) override;
  std::string BrowseForFolder(const std::string& title) override;
  void ShowPage(PageId page, const std::string& caption) override;
  void UnloadPage() override;
  void LoadEmptyForm() override;
  void UnloadEmptyForm() override;
  void DoEvents() override;
  void WaitForEvents(double seconds) override;
  void SetMousePointer(MousePointer pointer) override;
  MousePointer GetMousePointer() const override { return pointer_; }
  // Without a display nobody watches the minimum display times: waiting
  // moves this clock on instead of the run sleeping.
  double Now() override;

  // The page last shown and not yet answered by the driver.
  std::optional<PageId> TakePendingPage();
  bool Passive() const { return display_ != nullptr; }
  UserInteraction* Display() const { return display_; }

  // Why the run had to stop (first reason wins); empty while all is well.
  // A run that ends cancelled without one was cancelled by the person
  // watching a /passive run.
  const std::string& Failure() const { return failure_; }
  void Fail(const std::string& reason);

 private:
  void Note(const std::string& question, const std::string& answer, const std::string& why);

  UserInteraction* display_;
  Session* session_ = nullptr;
  std::optional<PageId> pending_;
  bool displayed_ = false;  // the display shows a page of ours
  MousePointer pointer_ = MousePointer::Default;
  double skipped_ = 0;  // seconds of waiting left out
  std::string failure_;
};

}  // namespace kv::unattended
