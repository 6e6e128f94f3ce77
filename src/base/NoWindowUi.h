#pragma once
// A UserInteraction for programs that have no windows (the medium builder,
// benchmarks, the fuzzer): message boxes are collected as text and answered
// OK, questions are answered with "cancel", pages and the message pump do
// nothing. Programs override what they need to treat differently.
#include <string>
#include <vector>

#include "base/UserInteraction.h"

namespace kv {

class NoWindowUi : public UserInteraction {
 public:
  std::vector<std::string> BoxTexts;

  MsgResult MsgBox(const MessageBoxRequest& request) override {
    BoxTexts.push_back(request.text);
    return MsgResult::OK;
  }
  ConflictAnswer AskConflict(const ConflictQuestion&) override { return ConflictAnswer::Cancel; }
  std::string BrowseForFolder(const std::string&) override { return {}; }
  void ShowPage(PageId, const std::string&) override {}
  void UnloadPage() override {}
  void LoadEmptyForm() override {}
  void UnloadEmptyForm() override {}
  void DoEvents() override {}
  void SetMousePointer(MousePointer pointer) override { pointer_ = pointer; }
  MousePointer GetMousePointer() const override { return pointer_; }
  double Now() override { return 0; }

 private:
  MousePointer pointer_ = MousePointer::Default;
};

}  // namespace kv
