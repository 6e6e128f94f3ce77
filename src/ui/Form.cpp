#include "ui/Form.h"

#include <commctrl.h>

#include <vector>

#include "platform/WinString.h"
#include "ui/Accessibility.h"
#include "ui/ControlIds.h"
#include "ui/RealUi.h"
#include "ui/SideBar.h"
#include "ui/Theme.h"

namespace kv::ui {

using kv::win::Narrow;
using kv::win::Widen;

Form::Form(RealUi& ui, Session& session, const wchar_t* className)
    : ui_(ui), session_(session), className_(className) {}

Form::~Form() {
  Destroy();
  if (readOnlyBrush_) DeleteObject(readOnlyBrush_);
}

void Form::RegisterClasses(HINSTANCE instance) {
  static const wchar_t* const names[] = {
      KV_FORM_CLASS_PREFIX L"frmStart",     KV_FORM_CLASS_PREFIX L"frmPath",
      KV_FORM_CLASS_PREFIX L"frmLinks",     KV_FORM_CLASS_PREFIX L"frmInstalling",
      KV_FORM_CLASS_PREFIX L"frmOtherInstalled", KV_FORM_CLASS_PREFIX L"frmEULA",
      KV_FORM_CLASS_PREFIX L"frmFinished",  KV_FORM_CLASS_PREFIX L"frmMaintenance",
      KV_FORM_CLASS_PREFIX L"frmUninstall", KV_FORM_CLASS_PREFIX L"frmConflict",
  };
  for (const wchar_t* name : names) {
    WNDCLASSEXW wc{};
    wc.cbSize = sizeof wc;
    if (GetClassInfoExW(instance, name, &wc)) continue;
    wc.style = CS_HREDRAW | CS_VREDRAW;
    wc.lpfnWndProc = &Form::WndProc;
    wc.hInstance = instance;
    wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    wc.hIcon = LoadIconW(instance, MAKEINTRESOURCEW(1));
    wc.lpszClassName = name;
    RegisterClassExW(&wc);
  }
  RegisterSideBarClass(instance);
}

bool Form::Create(HWND owner, bool isPage, int dpi) {
  dpi_ = dpi;
  isPage_ = isPage;
  std::wstring cls = std::wstring(KV_FORM_CLASS_PREFIX) + className_;
  SIZE size = DesignSize();
  RECT rc{0, 0, S(size.cx), S(size.cy)};
  // No WS_CLIPCHILDREN: group boxes are transparent and need the page's
  // background painted beneath them.
  // Pages are owned by the wizard's one taskbar window; minimising a page
  // minimises that window. A modal dialog cannot be minimised at all.
  const DWORD style = WS_CAPTION | WS_SYSMENU | (isPage ? WS_MINIMIZEBOX : 0);
  const DWORD exStyle = WS_EX_CONTROLPARENT | (isPage ? 0 : WS_EX_DLGMODALFRAME);
  AdjustWindowRectEx(&rc, style, FALSE, exStyle);
  hwnd_ = CreateWindowExW(exStyle, cls.c_str(), L"", style, CW_USEDEFAULT, CW_USEDEFAULT, rc.right - rc.left,
                          rc.bottom - rc.top, owner, nullptr, GetModuleHandleW(nullptr), this);
  if (!hwnd_) return false;
  CreateControls();
  if (!Closable()) EnableMenuItem(GetSystemMenu(hwnd_, FALSE), SC_CLOSE, MF_BYCOMMAND | MF_GRAYED);
  return true;
}

void Form::Destroy() {
  if (hwnd_) {
    HWND h = hwnd_;
    hwnd_ = nullptr;
    SetWindowLongPtrW(h, GWLP_USERDATA, 0);
    DestroyWindow(h);
  }
}

void Form::CreateControls() {
  if (isPage_) {
    CreateWindowExW(0, KV_FORM_CLASS_PREFIX L"ctlSideBar", L"", WS_CHILD | WS_VISIBLE, 0, 0, S(Layout::kSideBar),
                    S(DesignSize().cy), hwnd_, reinterpret_cast<HMENU>(static_cast<INT_PTR>(ids::ctlSideBar1)),
                    GetModuleHandleW(nullptr), ui_.EmptyForm());
  }
  OnLoad();
}

void Form::Relayout(int dpi) {
  struct Kept {
    int id;
    std::wstring text;
    LRESULT check;
  };
  std::vector<Kept> kept;
  HWND focus = GetFocus();
  const int focusId = focus && IsChild(hwnd_, focus) ? GetDlgCtrlID(focus) : 0;
  for (HWND c = GetWindow(hwnd_, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT)) {
    wchar_t cls[16] = {};
    GetClassNameW(c, cls, 16);
    if (lstrcmpiW(cls, L"EDIT") == 0) {
      std::wstring t(static_cast<size_t>(GetWindowTextLengthW(c)) + 1, L'\0');
      t.resize(static_cast<size_t>(GetWindowTextW(c, t.data(), static_cast<int>(t.size()))));
      kept.push_back({GetDlgCtrlID(c), std::move(t), -1});
    } else if (lstrcmpiW(cls, L"BUTTON") == 0) {
      kept.push_back({GetDlgCtrlID(c), {}, SendMessageW(c, BM_GETCHECK, 0, 0)});
    }
  }
  while (HWND c = GetWindow(hwnd_, GW_CHILD)) DestroyWindow(c);
  dpi_ = dpi;
  defaultId_ = cancelId_ = 0;
  CreateControls();
  for (const Kept& k : kept) {
    if (k.check < 0) SetWindowTextW(Item(k.id), k.text.c_str());
    else SendMessageW(Item(k.id), BM_SETCHECK, static_cast<WPARAM>(k.check), 0);
  }
  if (focusId && Item(focusId)) SetFocus(Item(focusId));
  else EnsureFocus();
}

int Form::S(int v) const { return MulDiv(v, dpi_, 96); }

HFONT Form::FontFor(FontKind kind) const {
  switch (kind) {
    case FontKind::Bold: return BoldFont(dpi_);
    case FontKind::Title: return TitleFont(dpi_);
    case FontKind::Small: return SmallFont(dpi_);
    default: return NormalFont(dpi_);
  }
}

// Every control but the second and later option buttons of a group starts a
// group of its own, so that arrow keys stay inside a radio group.
static HWND MakeChild(HWND parent, int id, const wchar_t* cls, const std::string& text, DWORD style, int x, int y,
                      int w, int h, HFONT font, DWORD exStyle = 0, bool groupStart = true) {
  HWND c = CreateWindowExW(exStyle, cls, Widen(text).c_str(),
                           WS_CHILD | WS_VISIBLE | (groupStart ? WS_GROUP : 0) | style, x, y, w, h, parent,
                           reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr), nullptr);
  SendMessageW(c, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
  return c;
}

HWND Form::Label(int id, const std::string& text, int x, int y, int w, int h, FontKind font, DWORD extraStyle,
                 bool accessKey) {
  return MakeChild(hwnd_, id, L"STATIC", text, SS_LEFT | (accessKey ? 0 : SS_NOPREFIX) | extraStyle, S(x), S(y), S(w),
                   S(h), FontFor(font));
}

int Form::MeasureText(const std::string& text, int w, FontKind font) const {
  HDC dc = GetDC(hwnd_);
  HGDIOBJ old = SelectObject(dc, FontFor(font));
  std::wstring wtext = Widen(text.empty() ? std::string(" ") : text);
  RECT rc{0, 0, S(w), 0};
  DrawTextW(dc, wtext.c_str(), -1, &rc, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX | DT_EDITCONTROL);
  SelectObject(dc, old);
  ReleaseDC(hwnd_, dc);
  // Back to 96-dpi units, rounded up, with a pixel of air.
  return MulDiv(rc.bottom - rc.top, 96, dpi_) + 2;
}

int Form::FlowLabel(int id, const std::string& text, int x, int y, int w, FontKind font, int gapAfter) {
  int h = MeasureText(text, w, font);
  Label(id, text, x, y, w, h, font);
  return y + h + gapAfter;
}

HWND Form::Button(int id, const std::string& text, int x, int y, int w, int h, bool isDefault) {
  if (isDefault) defaultId_ = id;
  return MakeChild(hwnd_, id, L"BUTTON", text, WS_TABSTOP | (isDefault ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON), S(x),
                   S(y), S(w), S(h), FontFor(FontKind::Normal));
}

void Form::Describe(int id, const std::string& text) { SetAccessibleDescription(Item(id), text); }

HWND Form::CheckBox(int id, const std::string& text, int x, int y, int w, int h) {
  return MakeChild(hwnd_, id, L"BUTTON", text, WS_TABSTOP | BS_AUTOCHECKBOX | BS_MULTILINE, S(x), S(y), S(w), S(h),
                   FontFor(FontKind::Normal));
}

HWND Form::Option(int id, const std::string& text, int x, int y, int w, int h, bool firstInGroup) {
  return MakeChild(hwnd_, id, L"BUTTON", text, BS_AUTORADIOBUTTON | BS_MULTILINE | (firstInGroup ? WS_TABSTOP : 0),
                   S(x), S(y), S(w), S(h), FontFor(FontKind::Normal), 0, firstInGroup);
}

HWND Form::Edit(int id, const std::string& text, int x, int y, int w, int h, DWORD extraStyle, FontKind font) {
  return MakeChild(hwnd_, id, L"EDIT", text, WS_TABSTOP | extraStyle, S(x), S(y), S(w), S(h), FontFor(font),
                   WS_EX_CLIENTEDGE);
}

HWND Form::Frame(int id, const std::string& text, int x, int y, int w, int h) {
  // An etched frame with its caption as a label just above it. (A group
  // box would do, but some systems clip the last letter of its caption.)
  // The frame keeps the caption as its own text for whoever reads it.
  int top = y;
  if (!text.empty()) {
    Label(id + kFrameCaptionOffset, text, x, y, w, 16, FontKind::Normal, 0, true);
    top += 18;
  }
  return MakeChild(hwnd_, id, L"STATIC", text, SS_ETCHEDFRAME, S(x), S(top), S(w), S(h - (top - y)), nullptr);
}

void Form::FitClientHeight(int h) {
  RECT client, window;
  GetClientRect(hwnd_, &client);
  GetWindowRect(hwnd_, &window);
  SetWindowPos(hwnd_, nullptr, 0, 0, window.right - window.left,
               (window.bottom - window.top) - (client.bottom - client.top) + S(h), SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void Form::SeparatorLines(int y, int x0, int x1) {
  MakeChild(hwnd_, ids::dLine, L"STATIC", "", SS_GRAYRECT, S(x0), S(y), S(x1 - x0), 1, nullptr);
  MakeChild(hwnd_, ids::bLine, L"STATIC", "", SS_WHITERECT, S(x0), S(y) + 1, S(x1 - x0), 1, nullptr);
}

std::string Form::Text(int id) const {
  HWND c = Item(id);
  int n = GetWindowTextLengthW(c);
  std::wstring w(static_cast<size_t>(n) + 1, L'\0');
  GetWindowTextW(c, w.data(), n + 1);
  w.resize(static_cast<size_t>(n));
  return Narrow(w);
}

void Form::SetText(int id, const std::string& text) { SetWindowTextW(Item(id), Widen(text).c_str()); }
bool Form::Checked(int id) const { return SendMessageW(Item(id), BM_GETCHECK, 0, 0) == BST_CHECKED; }
void Form::SetChecked(int id, bool on) { SendMessageW(Item(id), BM_SETCHECK, on ? BST_CHECKED : BST_UNCHECKED, 0); }
void Form::Show(int id, bool visible) { ShowWindow(Item(id), visible ? SW_SHOW : SW_HIDE); }
void Form::Enable(int id, bool enabled) { EnableWindow(Item(id), enabled ? TRUE : FALSE); }

void Form::OnClose() {
  if (cancelId_ && IsWindowEnabled(Item(cancelId_))) OnCommand(cancelId_, BN_CLICKED);
}

void Form::EnsureFocus() {
  // The default button, so that Enter goes on at once; else the first
  // control that takes the tab key.
  HWND f = defaultId_ ? Item(defaultId_) : nullptr;
  if (!f || !IsWindowVisible(f) || !IsWindowEnabled(f)) f = GetNextDlgTabItem(hwnd_, nullptr, FALSE);
  if (f) SetFocus(f);
}

LRESULT CALLBACK Form::WndProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_NCCREATE) {
    auto* cs = reinterpret_cast<CREATESTRUCTW*>(lp);
    auto* self = static_cast<Form*>(cs->lpCreateParams);
    SetWindowLongPtrW(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    self->hwnd_ = hwnd;
  }
  auto* self = reinterpret_cast<Form*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
  if (!self) return DefWindowProcW(hwnd, msg, wp, lp);
  return self->Handle(msg, wp, lp);
}

LRESULT Form::Handle(UINT msg, WPARAM wp, LPARAM lp) {
  switch (msg) {
    case WM_COMMAND: {
      int id = LOWORD(wp);
      int code = HIWORD(wp);
      if (id == IDCANCEL && cancelId_ == 0) {
        if (Closable()) OnClose();
        return 0;
      }
      if (id == IDCANCEL) id = cancelId_;
      if (id == IDOK) {
        if (defaultId_ == 0) return 0;
        id = defaultId_;
      }
      // Only enabled buttons act, also when the click comes from outside.
      HWND c = Item(id);
      if (c && !IsWindowEnabled(c) && code == BN_CLICKED) return 0;
      OnCommand(id, code);
      return 0;
    }
    case DM_GETDEFID:
      return defaultId_ ? MAKELRESULT(defaultId_, DC_HASDEFID) : 0;
    case WM_CLOSE:
      if (Closable()) OnClose();
      return 0;
    case WM_SYSCOMMAND:
      if ((wp & 0xFFF0) == SC_MINIMIZE && GetWindow(hwnd_, GW_OWNER)) {
        ShowWindow(GetWindow(hwnd_, GW_OWNER), SW_MINIMIZE);
        return 0;
      }
      break;
    case WM_TIMER:
      OnTimer(static_cast<UINT_PTR>(wp));
      return 0;
    case WM_SETCURSOR:
      if (ui_.GetMousePointer() == MousePointer::Hourglass) {
        SetCursor(LoadCursorW(nullptr, IDC_WAIT));
        return TRUE;
      }
      break;
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORSTATIC: {
      // Read-only text boxes (locked txtPath, the licence text) keep the
      // button-face background; the rest is default.
      HWND c = reinterpret_cast<HWND>(lp);
      if (msg == WM_CTLCOLORSTATIC) {
        wchar_t cls[16] = {};
        GetClassNameW(c, cls, 16);
        if (lstrcmpiW(cls, L"EDIT") == 0 && (GetWindowLongW(c, GWL_STYLE) & ES_MULTILINE)) {
          // The licence text stays white and readable although read-only.
          HDC dc = reinterpret_cast<HDC>(wp);
          SetBkColor(dc, GetSysColor(COLOR_WINDOW));
          SetTextColor(dc, GetSysColor(COLOR_WINDOWTEXT));
          return reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_WINDOW));
        }
      }
      break;
    }
    case WM_DPICHANGED: {
      auto* r = reinterpret_cast<RECT*>(lp);
      SetWindowPos(hwnd_, nullptr, r->left, r->top, r->right - r->left, r->bottom - r->top,
                   SWP_NOZORDER | SWP_NOACTIVATE);
      if (static_cast<int>(HIWORD(wp)) != dpi_) Relayout(HIWORD(wp));
      return 0;
    }
    default:
      break;
  }
  return DefWindowProcW(hwnd_, msg, wp, lp);
}

}  // namespace kv::ui
