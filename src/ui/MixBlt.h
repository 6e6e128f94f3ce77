#pragma once
// Bitmap stretching and alpha blending for the side bar.
#include <windows.h>

namespace kv::ui::modMixBlt {

// Draws the whole of `bitmap` stretched into `dest` with halftone filtering.
void StretchPicture(HDC dc, HBITMAP bitmap, const RECT& dest);
// Blends a 32-bit premultiplied-alpha `bitmap` onto `dc` at `dest`, with an
// extra constant opacity (0-255).
void BlendPicture(HDC dc, HBITMAP bitmap, const RECT& dest, BYTE opacity);

}  // namespace kv::ui::modMixBlt
