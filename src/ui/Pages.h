#pragma once
// The page factory: one window class per wizard page.
#include <memory>

#include "base/UserInteraction.h"

namespace kv {
struct Session;
}

namespace kv::ui {

class Form;
class RealUi;

std::unique_ptr<Form> MakePage(PageId page, RealUi& ui, Session& session);

}  // namespace kv::ui
