#include "ProductLoad.h"

#include "base/NoWindowUi.h"
#include "base/VbError.h"

namespace kvpack {

namespace {

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
  // kvpack has no user in front of a wizard: the package layer's message
  // boxes are collected and turned into one line of the report.
  static kv::NoWindowUi ui;
  static const std::string title = "kvpack";
  ProductLoad result;
  ui.BoxTexts.clear();
  result.package = std::make_unique<kv::CPackage>(kv::UiContext{ui, title});
  try {
    (void)result.package->Load(iniPath);  // a read failure shows up in the collected boxes
  } catch (const kv::VbError& e) {
    result.failure = "error " + std::to_string(e.Number()) + " (" + Meaning(e.Number()) + ")";
  }
  if (!ui.BoxTexts.empty() && !result.failure) {
    std::string boxes;
    for (const auto& text : ui.BoxTexts) boxes += (boxes.empty() ? "" : " / ") + text;
    result.failure = boxes;
  }
  return result;
}

}  // namespace kvpack
