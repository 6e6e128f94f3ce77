#include "ui/frmEmpty.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "ui/Theme.h"

namespace kv::ui {
namespace {

HBITMAP NewDib(HDC dc, int w, int h, uint32_t** bits) {
  BITMAPINFO bi{};
  bi.bmiHeader.biSize = sizeof bi.bmiHeader;
  bi.bmiHeader.biWidth = w;
  bi.bmiHeader.biHeight = -h;  // top-down
  bi.bmiHeader.biPlanes = 1;
  bi.bmiHeader.biBitCount = 32;
  bi.bmiHeader.biCompression = BI_RGB;
  void* p = nullptr;
  HBITMAP bmp = CreateDIBSection(dc, &bi, DIB_RGB_COLORS, &p, nullptr, 0);
  *bits = static_cast<uint32_t*>(p);
  return bmp;
}

// A deep blue running into teal, top to bottom, with the product mark (a
// stylised box with an arrow into it) in the upper part.
HBITMAP DrawGradient() {
  HDC screen = GetDC(nullptr);
  uint32_t* bits = nullptr;
  const int w = frmEmpty::kGradientW, h = frmEmpty::kGradientH;
  HBITMAP bmp = NewDib(screen, w, h, &bits);
  HDC dc = CreateCompatibleDC(screen);
  HGDIOBJ old = SelectObject(dc, bmp);

  TRIVERTEX v[2] = {{0, 0, 0x1000, 0x3400, 0x7800, 0}, {w, h, 0x0800, 0x8c00, 0x9600, 0}};
  GRADIENT_RECT gr{0, 1};
  GradientFill(dc, v, 2, &gr, 1, GRADIENT_FILL_RECT_V);

  // Product mark: an open box and an arrow dropping into it.
  HPEN pen = CreatePen(PS_SOLID, 5, RGB(255, 255, 255));
  HGDIOBJ oldPen = SelectObject(dc, pen);
  HGDIOBJ oldBrush = SelectObject(dc, GetStockObject(NULL_BRUSH));
  POINT box[] = {{40, 70}, {40, 118}, {110, 118}, {110, 70}};
  Polyline(dc, box, 4);
  POINT shaft[] = {{75, 28}, {75, 92}};
  Polyline(dc, shaft, 2);
  POINT head[] = {{58, 76}, {75, 94}, {92, 76}};
  Polyline(dc, head, 3);
  SelectObject(dc, oldPen);
  DeleteObject(pen);
  SelectObject(dc, oldBrush);

  // Product name under the mark.
  LOGFONTW lf{};
  lf.lfHeight = -20;
  lf.lfWeight = FW_BOLD;
  lf.lfCharSet = DEFAULT_CHARSET;
  // The body text's typeface, so that the bar and the page read alike.
  wcsncpy(lf.lfFaceName, MessageFontFace().c_str(), LF_FACESIZE - 1);
  HFONT font = CreateFontIndirectW(&lf);
  HGDIOBJ oldFont = SelectObject(dc, font);
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, RGB(255, 255, 255));
  RECT tr{0, 130, w, 160};
  DrawTextW(dc, L"Kivra Setup", -1, &tr, DT_CENTER | DT_SINGLELINE | DT_NOPREFIX);
  SelectObject(dc, oldFont);
  DeleteObject(font);

  GdiFlush();
  // GDI leaves the alpha byte undefined; the background is opaque.
  for (int i = 0; i < w * h; ++i) bits[i] |= 0xff000000u;
  SelectObject(dc, old);
  DeleteDC(dc);
  ReleaseDC(nullptr, screen);
  return bmp;
}

// A soft white ring with the phase's mark, drawn pixel by pixel with
// premultiplied alpha so that AlphaBlend lays it over the gradient.
HBITMAP DrawEmblem(Emblem kind) {
  HDC screen = GetDC(nullptr);
  uint32_t* bits = nullptr;
  const int n = frmEmpty::kEmblemSize;
  HBITMAP bmp = NewDib(screen, n, n, &bits);
  ReleaseDC(nullptr, screen);
  const double c = (n - 1) / 2.0, outer = n * 0.46, inner = n * 0.38;
  auto segDist = [](double px, double py, double ax, double ay, double bx, double by) {
    double dx = bx - ax, dy = by - ay;
    double t = std::clamp(((px - ax) * dx + (py - ay) * dy) / (dx * dx + dy * dy), 0.0, 1.0);
    double qx = ax + t * dx - px, qy = ay + t * dy - py;
    return std::sqrt(qx * qx + qy * qy);
  };
  for (int y = 0; y < n; ++y) {
    for (int x = 0; x < n; ++x) {
      double r = std::hypot(x - c, y - c);
      double a = 0;
      if (r <= outer) a = r >= inner ? 0.95 : 0.25;  // ring, translucent disc
      // The mark: strokes in units of the emblem's size.
      auto seg = [&](double ax, double ay, double bx, double by) {
        return segDist(x, y, n * ax, n * ay, n * bx, n * by);
      };
      double d = 1e9;
      switch (kind) {
        case Emblem::Ask:
          d = std::min({seg(0.26, 0.5, 0.72, 0.5), seg(0.54, 0.32, 0.72, 0.5), seg(0.54, 0.68, 0.72, 0.5)});
          break;
        case Emblem::Installing:
          d = std::min({seg(0.5, 0.24, 0.5, 0.7), seg(0.32, 0.52, 0.5, 0.7), seg(0.68, 0.52, 0.5, 0.7)});
          break;
        case Emblem::Done:
          d = std::min(seg(0.28, 0.52, 0.44, 0.68), seg(0.44, 0.68, 0.74, 0.34));
          break;
        case Emblem::Removing:
          d = seg(0.28, 0.5, 0.72, 0.5);
          break;
      }
      if (d < n * 0.05) a = 1.0;
      // One pixel of soft edge.
      if (r > outer && r < outer + 1) a = std::max(a, 0.95 * (outer + 1 - r));
      uint32_t av = static_cast<uint32_t>(a * 255 + 0.5);
      bits[y * n + x] = (av << 24) | (av << 16) | (av << 8) | av;  // white, premultiplied
    }
  }
  return bmp;
}

}  // namespace

frmEmpty::frmEmpty()
    : gradient_(DrawGradient()),
      emblems_{DrawEmblem(Emblem::Ask), DrawEmblem(Emblem::Installing), DrawEmblem(Emblem::Done),
               DrawEmblem(Emblem::Removing)} {}

frmEmpty::~frmEmpty() {
  if (gradient_) DeleteObject(gradient_);
  for (HBITMAP e : emblems_)
    if (e) DeleteObject(e);
}

}  // namespace kv::ui
