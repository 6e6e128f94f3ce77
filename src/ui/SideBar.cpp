#include "ui/SideBar.h"

#include <string>

#include "ui/ControlIds.h"
#include "ui/MixBlt.h"
#include "ui/frmEmpty.h"

namespace kv::ui {
namespace {

// The page the bar stands on tells the phase.
Emblem EmblemOf(HWND page) {
  wchar_t cls[64] = {};
  GetClassNameW(page, cls, 64);
  const std::wstring name(cls);
  if (name == KV_FORM_CLASS_PREFIX L"frmInstalling") return Emblem::Installing;
  if (name == KV_FORM_CLASS_PREFIX L"frmUninstall") return Emblem::Removing;
  if (name == KV_FORM_CLASS_PREFIX L"frmFinished") return Emblem::Done;
  return Emblem::Ask;
}

LRESULT CALLBACK SideBarProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  switch (msg) {
    case WM_NCCREATE:
      SetWindowLongPtrW(hwnd, GWLP_USERDATA,
                        reinterpret_cast<LONG_PTR>(reinterpret_cast<CREATESTRUCTW*>(lp)->lpCreateParams));
      break;
    case WM_ERASEBKGND:
      return 1;
    case WM_PAINT: {
      PAINTSTRUCT ps;
      HDC dc = BeginPaint(hwnd, &ps);
      RECT rc;
      GetClientRect(hwnd, &rc);
      auto* pictures = reinterpret_cast<frmEmpty*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
      if (pictures) {
        modMixBlt::StretchPicture(dc, pictures->Picture1(), rc);
        // The emblem sits in the lower part, its size following the bar's width.
        int size = (rc.right - rc.left) * 64 / 100;
        int x = (rc.right - rc.left - size) / 2;
        int y = rc.bottom - size - (rc.right - rc.left) / 6;
        RECT er{x, y, x + size, y + size};
        modMixBlt::BlendPicture(dc, pictures->Picture2(EmblemOf(GetParent(hwnd))), er, 200);
      } else {
        FillRect(dc, &rc, GetSysColorBrush(COLOR_ACTIVECAPTION));
      }
      EndPaint(hwnd, &ps);
      return 0;
    }
    default:
      break;
  }
  return DefWindowProcW(hwnd, msg, wp, lp);
}

}  // namespace

void RegisterSideBarClass(HINSTANCE instance) {
  WNDCLASSEXW wc{};
  wc.cbSize = sizeof wc;
  if (GetClassInfoExW(instance, KV_FORM_CLASS_PREFIX L"ctlSideBar", &wc)) return;
  wc.lpfnWndProc = SideBarProc;
  wc.hInstance = instance;
  wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  wc.lpszClassName = KV_FORM_CLASS_PREFIX L"ctlSideBar";
  RegisterClassExW(&wc);
}

}  // namespace kv::ui
