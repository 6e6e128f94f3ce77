#include "ui/RealUi.h"

#include <shellapi.h>

#include <chrono>

#include "install/InstallFile.h"
#include "platform/FileTools.h"
#include "platform/WinString.h"
#include "session/Session.h"
#include "ui/ControlIds.h"
#include "ui/Form.h"
#include "ui/Pages.h"
#include "ui/Theme.h"
#include "ui/frmConflict.h"
#include "ui/frmEmpty.h"

namespace kv::ui {

using kv::win::Widen;

namespace {

// The box's buttons get German labels: a CBT hook catches the box just
// before it is shown, on this thread only.
thread_local HHOOK t_hook = nullptr;

LRESULT CALLBACK GermanButtonsHook(int code, WPARAM wp, LPARAM lp) {
  if (code == HCBT_ACTIVATE) {
    HWND box = reinterpret_cast<HWND>(wp);
    wchar_t cls[16] = {};
    GetClassNameW(box, cls, 16);
    if (lstrcmpW(cls, L"#32770") == 0) {
      static const struct {
        int id;
        const wchar_t* text;
      } labels[] = {{IDOK, L"OK"},           {IDCANCEL, L"&Abbrechen"},  {IDABORT, L"&Abbrechen"},
                    {IDRETRY, L"&Wiederholen"}, {IDIGNORE, L"&Ignorieren"}, {IDYES, L"&Ja"},
                    {IDNO, L"&Nein"}};
      for (const auto& l : labels) {
        if (HWND b = GetDlgItem(box, l.id)) SetWindowTextW(b, l.text);
      }
      HHOOK h = t_hook;
      t_hook = nullptr;
      UnhookWindowsHookEx(h);
      return 0;
    }
  }
  return CallNextHookEx(t_hook, code, wp, lp);
}

constexpr wchar_t kAppWindowClass[] = KV_FORM_CLASS_PREFIX L"Wizard";

LRESULT CALLBACK AppWindowProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  // Whoever activates or closes the taskbar entry means the page on top (or
  // the dialog over it).
  HWND top = GetLastActivePopup(hwnd);
  switch (msg) {
    case WM_ACTIVATE:
      if (LOWORD(wp) != WA_INACTIVE && top != hwnd && IsWindowVisible(top)) SetForegroundWindow(top);
      return 0;
    case WM_CLOSE:
      if (top != hwnd) PostMessageW(top, WM_CLOSE, 0, 0);
      return 0;
    default:
      return DefWindowProcW(hwnd, msg, wp, lp);
  }
}

}  // namespace

int GermanMessageBox(HWND owner, const std::string& text, const std::string& title, UINT flags) {
  if (t_hook) UnhookWindowsHookEx(t_hook);
  t_hook = SetWindowsHookExW(WH_CBT, GermanButtonsHook, nullptr, GetCurrentThreadId());
  int r = MessageBoxW(owner, Widen(text).c_str(), Widen(title).c_str(), flags);
  if (t_hook) {
    UnhookWindowsHookEx(t_hook);
    t_hook = nullptr;
  }
  return r;
}

RealUi::RealUi(HINSTANCE instance) : instance_(instance) {
  Form::RegisterClasses(instance);
  WNDCLASSEXW wc{};
  wc.cbSize = sizeof wc;
  if (!GetClassInfoExW(instance, kAppWindowClass, &wc)) {
    wc.lpfnWndProc = AppWindowProc;
    wc.hInstance = instance;
    wc.hIcon = LoadIconW(instance, MAKEINTRESOURCEW(1));
    wc.lpszClassName = kAppWindowClass;
    RegisterClassExW(&wc);
  }
}

RealUi::~RealUi() {
  unloaded_.clear();
  current_.reset();
  empty_.reset();
  if (appWindow_) DestroyWindow(appWindow_);
}

int RealUi::DpiFor(const RECT& where) const {
  return fixedDpi ? fixedDpi : DpiAt({(where.left + where.right) / 2, (where.top + where.bottom) / 2});
}

void RealUi::EnsureAppWindow(const RECT& pageRect) {
  if (appWindow_) return;
  // No size of its own: it exists for the taskbar and stands where the pages are.
  appWindow_ = CreateWindowExW(WS_EX_APPWINDOW, kAppWindowClass, L"", WS_POPUP | WS_SYSMENU | WS_MINIMIZEBOX,
                               (pageRect.left + pageRect.right) / 2, (pageRect.top + pageRect.bottom) / 2, 0, 0,
                               nullptr, nullptr, instance_, nullptr);
  if (appWindow_) ShowWindow(appWindow_, SW_SHOWNA);
}

HWND RealUi::CurrentWindow() const { return current_ ? current_->Hwnd() : nullptr; }

MsgResult RealUi::MsgBox(const MessageBoxRequest& request) {
  UINT flags = static_cast<UINT>(request.buttons) | static_cast<UINT>(request.icon) | MB_SETFOREGROUND;
  if (request.defaultButton == 2) flags |= MB_DEFBUTTON2;
  if (request.defaultButton == 3) flags |= MB_DEFBUTTON3;
  HWND owner = CurrentWindow();
  if (!owner || !IsWindowVisible(owner)) owner = appWindow_ && IsWindowVisible(appWindow_) ? appWindow_ : nullptr;
  if (!owner) flags |= MB_TASKMODAL;
  // The arrow while the user reads; whatever was set before afterwards.
  MousePointer before = pointer_;
  SetMousePointer(MousePointer::Arrow);
  ++modalDepth_;
  int r = GermanMessageBox(owner, request.text, request.title.empty() ? std::string("KVSetup") : request.title,
                           flags);
  --modalDepth_;
  SetMousePointer(before);
  return r == 0 ? MsgResult::Cancel : static_cast<MsgResult>(r);
}

ConflictAnswer RealUi::AskConflict(const ConflictQuestion& question) {
  if (!session_) return ConflictAnswer::Cancel;
  HWND owner = CurrentWindow();
  frmConflict dialog(*this, *session_, question);
  RECT ownerRect{};
  if (owner) GetWindowRect(owner, &ownerRect);
  if (!dialog.Create(owner, false, DpiFor(ownerRect))) return ConflictAnswer::Cancel;
  MousePointer before = pointer_;
  SetMousePointer(MousePointer::Arrow);
  ++modalDepth_;
  // Centred over the page it belongs to.
  RECT pr{}, dr{};
  if (owner) GetWindowRect(owner, &pr);
  else SetRect(&pr, 0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN));
  GetWindowRect(dialog.Hwnd(), &dr);
  SetWindowPos(dialog.Hwnd(), nullptr, (pr.left + pr.right - (dr.right - dr.left)) / 2,
               (pr.top + pr.bottom - (dr.bottom - dr.top)) / 2, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
  SetWindowTextW(dialog.Hwnd(), L"Versionskonflikt");
  if (owner) EnableWindow(owner, FALSE);
  ShowWindow(dialog.Hwnd(), SW_SHOW);
  SetForegroundWindow(dialog.Hwnd());
  dialog.EnsureFocus();
  while (!dialog.Done()) {
    MSG msg;
    if (GetMessageW(&msg, nullptr, 0, 0) <= 0) {
      PostQuitMessage(0);
      break;
    }
    if (!IsDialogMessageW(dialog.Hwnd(), &msg)) {
      TranslateMessage(&msg);
      DispatchMessageW(&msg);
    }
  }
  if (owner) EnableWindow(owner, TRUE);
  dialog.Destroy();
  if (owner) SetForegroundWindow(owner);
  --modalDepth_;
  SetMousePointer(before);
  return dialog.Result();
}

std::string RealUi::BrowseForFolder(const std::string& title) {
  ++modalDepth_;
  std::string folder = modTools::ShowFolderBrowser(CurrentWindow(), title);
  --modalDepth_;
  return folder;
}

void RealUi::ApplyIcon(HWND hwnd) {
  // WindowIcon: the icon of the installer's own file, taken afresh for every
  // page; the previous one is destroyed first.
  if (session_ && session_->WindowIcon) {
    DestroyIcon(reinterpret_cast<HICON>(session_->WindowIcon));
    session_->WindowIcon = 0;
  }
  HICON icon = nullptr;
  if (session_ && !session_->AppDir.empty()) {
    icon = ExtractIconW(instance_, Widen(session_->AppDir + "KVSetup.exe").c_str(), 0);
    if (reinterpret_cast<UINT_PTR>(icon) <= 1) icon = nullptr;
  }
  if (!icon) icon = CopyIcon(LoadIconW(instance_, MAKEINTRESOURCEW(1)));
  if (!icon) icon = CopyIcon(LoadIconW(nullptr, IDI_APPLICATION));
  if (session_) session_->WindowIcon = reinterpret_cast<std::uintptr_t>(icon);
  if (icon) {
    SendMessageW(hwnd, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(icon));
    SendMessageW(hwnd, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(icon));
  }
}

void RealUi::ShowPage(PageId page, const std::string& caption) {
  std::unique_ptr<Form> form = CreatePage(page);
  if (!form) return EndWithoutPage(caption);
  // Made for the monitor where it will stand: over the page it replaces, or
  // in the middle of the primary screen.
  RECT where{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
  if (HWND prev = CurrentWindow()) GetWindowRect(prev, &where);
  else if (havePageRect_) where = lastPageRect_;
  EnsureAppWindow(where);
  if (!form->Create(appWindow_, true, DpiFor(where))) return EndWithoutPage(caption);
  HWND h = form->Hwnd();
  RECT r;
  GetWindowRect(h, &r);
  int w = r.right - r.left, hgt = r.bottom - r.top;
  int x, y;
  HWND prev = CurrentWindow();
  RECT ref{};
  if (prev) {
    GetWindowRect(prev, &ref);
  } else if (havePageRect_) {
    ref = lastPageRect_;
  }
  if (prev || havePageRect_) {
    // Same centre as the page it replaces.
    x = (ref.left + ref.right) / 2 - w / 2;
    y = (ref.top + ref.bottom) / 2 - hgt / 2;
  } else {
    x = (GetSystemMetrics(SM_CXSCREEN) - w) / 2;
    y = (GetSystemMetrics(SM_CYSCREEN) - hgt) / 2;
  }
  SetWindowPos(h, nullptr, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
  if (current_) UnloadPage();
  SetWindowTextW(h, Widen(caption).c_str());
  ApplyIcon(h);
  if (appWindow_) {
    SetWindowTextW(appWindow_, Widen(caption).c_str());
    const auto icon = static_cast<LPARAM>(session_ ? session_->WindowIcon : 0);
    SendMessageW(appWindow_, WM_SETICON, ICON_BIG, icon);
    SendMessageW(appWindow_, WM_SETICON, ICON_SMALL, icon);
    if (!IsWindowVisible(appWindow_)) ShowWindow(appWindow_, SW_SHOWNA);
  }
  // A page that waits for the user shows the normal pointer, whatever the
  // long work before it left behind.
  if (page != PageId::Installing && page != PageId::Uninstall) SetMousePointer(MousePointer::Default);
  current_ = std::move(form);
  currentId_ = page;
  ShowWindow(h, SW_SHOW);
  SetForegroundWindow(h);
  UpdateWindow(h);
  current_->EnsureFocus();
}

void RealUi::ReportProgress(int done, int total, const std::string& item) {
  if (!current_) return;
  current_->OnProgress(done, total, item);
  // The uninstallation does not pump between files: draw now.
  UpdateWindow(current_->Hwnd());
}

// A page that cannot be made would leave the user waiting for a window that
// never comes: say so and end the run. What was installed stays on record, so
// that the next start offers to continue or to remove it.
void RealUi::EndWithoutPage(const std::string& caption) {
  const DWORD error = GetLastError();
  MsgBox({"Ein Fenster des Installationsprogramms konnte nicht angezeigt werden (Fehler " + std::to_string(error) +
              "). Setup wird beendet.",
          caption, MsgButtons::OK, MsgIcon::Critical});
  if (session_) {
    session_->Cancelled = true;
    session_->CurrentPage = PageId::None;
    if (session_->Package && session_->StatusUnsaved) modInstall::FlushInstallStatus(*session_, *session_->Package);
  }
  UnloadPage();
  UnloadEmptyForm();
}

void RealUi::UnloadPage() {
  if (!current_) return;
  if (HWND h = current_->Hwnd()) {
    GetWindowRect(h, &lastPageRect_);
    havePageRect_ = true;
  }
  current_->Destroy();
  unloaded_.push_back(std::move(current_));
  currentId_ = PageId::None;
}

void RealUi::LoadEmptyForm() {
  if (!empty_) empty_ = std::make_unique<frmEmpty>();
}

void RealUi::UnloadEmptyForm() {
  empty_.reset();
  // The wizard is over: its taskbar entry goes with it.
  if (appWindow_) ShowWindow(appWindow_, SW_HIDE);
}

bool RealUi::PumpOne(bool wait) {
  MSG msg;
  if (wait) {
    if (GetMessageW(&msg, nullptr, 0, 0) <= 0) return false;
  } else if (!PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
    return false;
  }
  if (msg.message == WM_QUIT) {
    PostQuitMessage(static_cast<int>(msg.wParam));
    return false;
  }
  HWND page = CurrentWindow();
  if (page && IsDialogMessageW(page, &msg)) return true;
  TranslateMessage(&msg);
  DispatchMessageW(&msg);
  return true;
}

void RealUi::DoEvents() {
  while (PumpOne(false)) {
  }
}

void RealUi::WaitForEvents(double seconds) {
  // Sleep until input arrives or the time is over (at least one
  // millisecond, at most a tenth of a second so the caller rechecks its clock).
  const double clamped = seconds < 0.001 ? 0.001 : (seconds > 0.1 ? 0.1 : seconds);
  MsgWaitForMultipleObjectsEx(0, nullptr, static_cast<DWORD>(clamped * 1000.0), QS_ALLINPUT, MWMO_INPUTAVAILABLE);
  DoEvents();
}

void RealUi::RunMessageLoop() {
  while (AnyFormLoaded()) {
    unloaded_.clear();
    if (!PumpOne(true)) break;
  }
  unloaded_.clear();
}

void RealUi::SetMousePointer(MousePointer pointer) {
  pointer_ = pointer;
  SetCursor(LoadCursorW(nullptr, pointer == MousePointer::Hourglass ? IDC_WAIT : IDC_ARROW));
}

double RealUi::Now() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

std::unique_ptr<Form> RealUi::CreatePage(PageId page) {
  if (!session_) return nullptr;
  return MakePage(page, *this, *session_);
}

}  // namespace kv::ui
