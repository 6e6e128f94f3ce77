#pragma once
#include "base/UserInteraction.h"
#include "ui/Form.h"

namespace kv::ui {

// The modal version-conflict dialog: the file on disk and the package's copy
// side by side; keep, replace or cancel.
class frmConflict : public Form {
 public:
  frmConflict(RealUi& ui, Session& session, ConflictQuestion question)
      : Form(ui, session, L"frmConflict"), question_(std::move(question)) {}

  bool Done() const { return done_; }
  ConflictAnswer Result() const { return result_; }

 protected:
  void OnLoad() override;
  void OnCommand(int id, int code) override;
  static constexpr int kWidth = 520;
  SIZE DesignSize() const override { return {kWidth, 400}; }

 private:
  void Finish(ConflictAnswer answer);
  ConflictQuestion question_;
  ConflictAnswer result_ = ConflictAnswer::Cancel;
  bool done_ = false;
};

}  // namespace kv::ui
