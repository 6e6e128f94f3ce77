#pragma once
// Fonts, dpi and the pictures every page shares.
#include <windows.h>

#include <string>

namespace kv::ui {

// Dots per inch of the monitor that holds `where` (the system's where the
// system knows no per-monitor scale). A page moved to a monitor of another
// scale lays itself out again at that monitor's dpi.
int DpiAt(POINT where);

// The system's message font family: Segoe UI where installed, else Tahoma,
// else whatever the system reports for message boxes.
std::wstring MessageFontFace();

// Cached fonts per dpi: normal (9 pt), bold (9 pt) and the page title (12 pt bold).
HFONT NormalFont(int dpi);
HFONT BoldFont(int dpi);
HFONT TitleFont(int dpi);
// 8 pt, for long texts such as the licence.
HFONT SmallFont(int dpi);
void ReleaseFonts();

}  // namespace kv::ui
