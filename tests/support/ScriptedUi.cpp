#include "support/ScriptedUi.h"

#include <gtest/gtest.h>

namespace kv::test {

std::vector<std::string> ScriptedUi::BoxTexts() const {
  std::vector<std::string> texts;
  for (const auto& b : boxes_) texts.push_back(b.request.text);
  return texts;
}

MsgResult ScriptedUi::MsgBox(const MessageBoxRequest& request) {
  PointerAtBox.push_back(pointer_);
  if (BeforeBox) BeforeBox(request);
  MsgResult answer = MsgResult::OK;
  if (request.buttons != MsgButtons::OK) {
    if (answers_.empty()) {
      ADD_FAILURE() << "unexpected question: " << request.text;
      answer = MsgResult::Cancel;
    } else {
      answer = answers_.front();
      answers_.pop_front();
    }
  }
  boxes_.push_back({request, answer});
  return answer;
}

ConflictAnswer ScriptedUi::AskConflict(const ConflictQuestion& question) {
  PointerAtBox.push_back(pointer_);
  conflicts_.push_back(question);
  if (conflictAnswers_.empty()) {
    ADD_FAILURE() << "unexpected conflict dialog: " << question.text;
    return ConflictAnswer::Cancel;
  }
  ConflictAnswer a = conflictAnswers_.front();
  conflictAnswers_.pop_front();
  return a;
}

std::string ScriptedUi::BrowseForFolder(const std::string&) {
  if (browseAnswers_.empty()) return {};
  std::string f = browseAnswers_.front();
  browseAnswers_.pop_front();
  return f;
}

void ScriptedUi::ShowPage(PageId page, const std::string& caption) {
  pages_.push_back(page);
  current_ = page;
  caption_ = caption;
}

void ScriptedUi::UnloadPage() { current_ = PageId::None; }

void ScriptedUi::DoEvents() {
  ++doEvents_;
  clock_ += SecondsPerDoEvents;
  if (OnDoEvents) OnDoEvents();
}

}  // namespace kv::test
