#pragma once
// The scripted user: records every prompt and page change, answers message
// boxes and the conflict dialog from a script, and runs a clock of its own
// that moves forward only when the engine pumps messages.
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "base/UserInteraction.h"

namespace kv::test {

struct RecordedBox {
  MessageBoxRequest request;
  MsgResult answer;
};

class ScriptedUi : public UserInteraction {
 public:
  // Answers for the next boxes that offer a choice, in order. Boxes with a
  // single OK button answer OK by themselves and take nothing from the script.
  void Answer(MsgResult r) { answers_.push_back(r); }
  void AnswerConflict(ConflictAnswer a) { conflictAnswers_.push_back(a); }
  void AnswerBrowse(std::string folder) { browseAnswers_.push_back(std::move(folder)); }

  // Called on every DoEvents, after the clock moved: lets a test act "during"
  // long work, e.g. press Abbrechen in the middle of the file phase.
  std::function<void()> OnDoEvents;
  double SecondsPerDoEvents = 0.05;
  // Runs while a box is on screen (the "user" fixes the problem).
  std::function<void(const MessageBoxRequest&)> BeforeBox;
  // The mouse pointer seen at each box and conflict dialog.
  std::vector<MousePointer> PointerAtBox;

  const std::vector<RecordedBox>& Boxes() const { return boxes_; }
  const std::vector<ConflictQuestion>& Conflicts() const { return conflicts_; }
  const std::vector<PageId>& Pages() const { return pages_; }
  std::vector<std::string> BoxTexts() const;
  int DoEventsCalls() const { return doEvents_; }
  bool EmptyFormLoaded() const { return emptyForm_; }
  PageId CurrentPage() const { return current_; }
  std::string LastCaption() const { return caption_; }
  // Answers the script still holds (a test usually expects none left).
  size_t UnusedAnswers() const { return answers_.size() + conflictAnswers_.size() + browseAnswers_.size(); }
  void AdvanceClock(double seconds) { clock_ += seconds; }

  MsgResult MsgBox(const MessageBoxRequest& request) override;
  ConflictAnswer AskConflict(const ConflictQuestion& question) override;
  std::string BrowseForFolder(const std::string& title) override;
  void ShowPage(PageId page, const std::string& caption) override;
  void UnloadPage() override;
  void LoadEmptyForm() override { emptyForm_ = true; }
  void UnloadEmptyForm() override { emptyForm_ = false; }
  void DoEvents() override;
  void SetMousePointer(MousePointer p) override { pointer_ = p; }
  MousePointer GetMousePointer() const override { return pointer_; }
  double Now() override { return clock_; }

 private:
  std::deque<MsgResult> answers_;
  std::deque<ConflictAnswer> conflictAnswers_;
  std::deque<std::string> browseAnswers_;
  std::vector<RecordedBox> boxes_;
  std::vector<ConflictQuestion> conflicts_;
  std::vector<PageId> pages_;
  PageId current_ = PageId::None;
  std::string caption_;
  MousePointer pointer_ = MousePointer::Default;
  bool emptyForm_ = false;
  int doEvents_ = 0;
  double clock_ = 1000.0;
};

}  // namespace kv::test
