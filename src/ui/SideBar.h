#pragma once
// ctlSideBar: the decoration on the left of every page, drawn from the two
// pictures that frmEmpty holds (passed as the window's creation parameter).
#include <windows.h>

namespace kv::ui {

void RegisterSideBarClass(HINSTANCE instance);

}  // namespace kv::ui
