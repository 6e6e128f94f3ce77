#include "ui/MixBlt.h"

namespace kv::ui::modMixBlt {

void StretchPicture(HDC dc, HBITMAP bitmap, const RECT& dest) {
  BITMAP bm{};
  if (!bitmap || !GetObjectW(bitmap, sizeof bm, &bm)) return;
  HDC mem = CreateCompatibleDC(dc);
  HGDIOBJ old = SelectObject(mem, bitmap);
  int oldMode = SetStretchBltMode(dc, HALFTONE);
  SetBrushOrgEx(dc, 0, 0, nullptr);
  StretchBlt(dc, dest.left, dest.top, dest.right - dest.left, dest.bottom - dest.top, mem, 0, 0, bm.bmWidth,
             bm.bmHeight, SRCCOPY);
  SetStretchBltMode(dc, oldMode);
  SelectObject(mem, old);
  DeleteDC(mem);
}

void BlendPicture(HDC dc, HBITMAP bitmap, const RECT& dest, BYTE opacity) {
  BITMAP bm{};
  if (!bitmap || !GetObjectW(bitmap, sizeof bm, &bm)) return;
  HDC mem = CreateCompatibleDC(dc);
  HGDIOBJ old = SelectObject(mem, bitmap);
  BLENDFUNCTION bf{AC_SRC_OVER, 0, opacity, AC_SRC_ALPHA};
  AlphaBlend(dc, dest.left, dest.top, dest.right - dest.left, dest.bottom - dest.top, mem, 0, 0, bm.bmWidth,
             bm.bmHeight, bf);
  SelectObject(mem, old);
  DeleteDC(mem);
}

}  // namespace kv::ui::modMixBlt
