#pragma once
// What a screen reader learns about a control beyond its caption.
#include <windows.h>

#include <string>

namespace kv::ui {

// Gives `control` an accessible description: a short choice button ("&Reparieren")
// announces the explanation that stands beside it. The description lasts
// as long as the control.
void SetAccessibleDescription(HWND control, const std::string& description);

}  // namespace kv::ui
