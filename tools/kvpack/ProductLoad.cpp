#include "ProductLoad.h"

#include "package/VbError.h"

namespace kvpack {

namespace {

// kvpack has no user in front of a wizard: message boxes of the package
// layer are remembered and turned into one line of the report.
class ReportingUi final : public kv::UserInteraction {
 public:
  kv::MsgResult MsgBox(const kv::MessageBoxRequest& request) override {
    if (!boxes.empty()) boxes += " / ";
    boxes += request.text;
    return kv::MsgResult::OK;
  }
  kv::ConflictAnswer AskConflict(const kv::ConflictQuestion&) override { return kv::ConflictAnswer::Cancel; }
  std::string BrowseForFolder(const std::string&) override { return {}; }
  void ShowPage(kv::PageId, const std::string&) override {}
  void UnloadPage() override {}
  void LoadEmptyForm() override {}
  void UnloadEmptyForm() override {}
  void DoEvents() override {}
  void SetMousePointer(kv::MousePointer pointer) override { pointer_ = pointer; }
  kv::MousePointer GetMousePointer() const override { return pointer_; }
  double Now() override { return 0; }

  std::string boxes;

 private:
  kv::MousePointer pointer_ = kv::MousePointer::Default;
};

std::string Meaning(int32_t number) {
  switch (number) {
    case kv::vberr::DuplicateKey: return "duplicate key";
    case kv::vberr::TypeMismatch: return "type mismatch";
    case kv::vberr::Overflow: return "overflow";
    case kv::vberr::AppObjectError: return "wrong closing line";
    case kv::vberr::FileNotFound: return "file not found";
    case kv::vberr::PathNotFound: return "path not found";
    case kv::vberr::PermissionDenied: return "permission denied";
    default: return "run-time error";
  }
}

}  // namespace

ProductLoad LoadWithProduct(const std::string& iniPath) {
  // The package keeps a reference to the title and the interaction, so both
  // must outlive it: they are held statically for the tool's single thread.
  static ReportingUi ui;
  static const std::string title = "kvpack";
  ProductLoad result;
  ui.boxes.clear();
  result.package = std::make_unique<kv::CPackage>(kv::UiContext{ui, title});
  try {
    result.package->Load(iniPath);
  } catch (const kv::VbError& e) {
    result.failure = "error " + std::to_string(e.Number()) + " (" + Meaning(e.Number()) + ")";
  }
  if (!ui.boxes.empty() && !result.failure) result.failure = ui.boxes;
  return result;
}

}  // namespace kvpack
