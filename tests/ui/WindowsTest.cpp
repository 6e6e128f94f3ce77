// The real windows of single pages: texts, layout, placement, keys, dialogs.
#include <windows.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <vector>

#include <commctrl.h>
#include <oleacc.h>

#include <set>

#include "package/CPackage.h"
#include "platform/SystemRestart.h"
#include "platform/WinString.h"
#include "session/Session.h"
#include "support/RegistryGuard.h"
#include "support/ScratchFolder.h"
#include "ui/ControlIds.h"
#include "ui/RealUi.h"

namespace kv::ui {
namespace {

namespace id = ids;

std::string TextOf(HWND h) {
  wchar_t buf[4096] = {};
  GetWindowTextW(h, buf, 4096);
  return win::Narrow(buf);
}

// What a screen reader gets as the control's description.
std::string AccessibleDescription(HWND h) {
  const HRESULT com = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  std::string text;
  IAccessible* acc = nullptr;
  if (SUCCEEDED(AccessibleObjectFromWindow(h, OBJID_CLIENT, IID_IAccessible, reinterpret_cast<void**>(&acc)))) {
    VARIANT self{};
    self.vt = VT_I4;
    self.lVal = CHILDID_SELF;
    BSTR b = nullptr;
    if (acc->get_accDescription(self, &b) == S_OK && b) text = win::Narrow(b);
    SysFreeString(b);
    acc->Release();
  }
  if (SUCCEEDED(com)) CoUninitialize();
  return text;
}

// The text as it reads on screen: access-key marks gone.
std::string Plain(std::string t) { return std::erase(t, '&'), t; }

bool IsClass(HWND h, const wchar_t* name) {
  wchar_t cls[64] = {};
  GetClassNameW(h, cls, 64);
  return lstrcmpiW(cls, name) == 0;
}

class PageWindows : public ::testing::Test {
 protected:
  PageWindows() : ui(GetModuleHandleW(nullptr)), session(ui) {
    ui.Attach(session);
    ui.LoadEmptyForm();
    session.SetupTitle = "Kivra Setup: Demo Werkzeug für Ärzte";
    session.ProgramFilesDir = "C:\\Programme";
    session.AppDir = scratch.Path() + "\\";
    auto p = std::make_shared<CPackage>(session.Context());
    p->Name = "DemoWerkzeug";
    p->Caption = "Demo Werkzeug für Ärzte und Zahnärzte";  // long: texts must wrap, not clip
    p->Version = "2.0";
    p->DefaultPath = "*programs*\\Kivra\\DemoWerkzeug";
    p->EXEFile = "demo.exe";
    p->PackageDir = p->SourcePath = scratch.Path();
    p->InstalledIn = scratch.Path() + "\\Demo";
    p->AllowWinStart = true;
    session.Package = p;
    scratch.WriteFile("eula.txt", "Lizenzvertrag\r\n\r\n\xa7 1 Geltungsbereich\r\n");
  }
  ~PageWindows() override {
    ui.UnloadPage();
    ui.DoEvents();
    ui.UnloadEmptyForm();
    if (session.WindowIcon) DestroyIcon(reinterpret_cast<HICON>(session.WindowIcon));
  }

  HWND Show(PageId page) {
    ui.ShowPage(page, session.SetupTitle);
    HWND h = ui.CurrentWindow();
    EXPECT_NE(h, nullptr);
    return h;
  }

  // Visible controls lie inside the page, label texts fit, and no two
  // controls overlap (frames may hold others).
  void ExpectCleanLayout(HWND page) {
    RECT client;
    GetClientRect(page, &client);
    std::vector<std::pair<int, RECT>> items;
    for (HWND c = GetWindow(page, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT)) {
      if (!IsWindowVisible(c)) continue;
      RECT r;
      GetWindowRect(c, &r);
      MapWindowPoints(nullptr, page, reinterpret_cast<POINT*>(&r), 2);
      const int cid = GetDlgCtrlID(c);
      EXPECT_TRUE(r.left >= 0 && r.top >= 0 && r.right <= client.right && r.bottom <= client.bottom) << cid;
      const LONG style = GetWindowLongW(c, GWL_STYLE);
      const bool isFrame = (IsClass(c, L"Button") && (style & 0xF) == BS_GROUPBOX) ||
                           (IsClass(c, L"Static") && (style & SS_TYPEMASK) == SS_ETCHEDFRAME);
      const bool isLine = cid == id::dLine || cid == id::bLine || (r.bottom - r.top) <= 2;
      if (IsClass(c, L"Static") && !isLine && !isFrame) {
        HDC dc = GetDC(c);
        HGDIOBJ old = SelectObject(dc, reinterpret_cast<HFONT>(SendMessageW(c, WM_GETFONT, 0, 0)));
        RECT need{0, 0, r.right - r.left, 0};
        DrawTextW(dc, win::Widen(TextOf(c)).c_str(), -1, &need, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX | DT_EDITCONTROL);
        SelectObject(dc, old);
        ReleaseDC(c, dc);
        EXPECT_LE(need.bottom, r.bottom - r.top) << "clipped label " << cid << ": " << TextOf(c);
      }
      if (!isLine && !isFrame && cid != id::ctlSideBar1) items.push_back({cid, r});
    }
    for (size_t a = 0; a < items.size(); ++a)
      for (size_t b = a + 1; b < items.size(); ++b) {
        RECT x;
        EXPECT_FALSE(IntersectRect(&x, &items[a].second, &items[b].second))
            << "overlap " << items[a].first << " / " << items[b].first;
      }
  }

  // Keyboard: every button has an access key and none repeats on the page;
  // a radio group ends where its option buttons end; a page with buttons has a
  // default one, and the focus is on the page.
  void ExpectKeyboard(HWND page) {
    std::set<wchar_t> keys;
    bool anyButton = false;
    bool inRadioGroup = false;
    for (HWND c = GetWindow(page, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT)) {
      const LONG style = GetWindowLongW(c, GWL_STYLE);
      const bool radio = IsClass(c, L"Button") && (style & 0xF) == BS_AUTORADIOBUTTON;
      if (style & WS_GROUP) inRadioGroup = radio;
      else EXPECT_EQ(radio, inRadioGroup) << "group of " << GetDlgCtrlID(c) << " does not end with its options";
      if (!IsWindowVisible(c)) continue;
      const bool button = IsClass(c, L"Button");
      const bool keyLabel = IsClass(c, L"Static") && !(style & SS_NOPREFIX) && (style & SS_TYPEMASK) <= SS_RIGHT;
      if (!button && !keyLabel) continue;
      anyButton = anyButton || button;
      const std::wstring t = win::Widen(TextOf(c)) + L" ";
      const size_t a = t.find(L'&');
      EXPECT_TRUE(a != t.npos && keys.insert(towlower(t[a + 1])).second) << "no or a repeated key: " << TextOf(c);
    }
    if (!anyButton) return;
    HWND d = GetDlgItem(page, LOWORD(SendMessageW(page, DM_GETDEFID, 0, 0)));
    EXPECT_TRUE(d && IsWindowVisible(d) && IsWindowEnabled(d));
    EXPECT_TRUE(GetFocus() && IsChild(page, GetFocus()));
  }

  // Top-level windows of this thread that the taskbar lists.
  static std::vector<HWND> TaskbarWindows() {
    std::vector<HWND> found;
    EnumThreadWindows(GetCurrentThreadId(), [](HWND h, LPARAM lp) {
      const LONG ex = GetWindowLongW(h, GWL_EXSTYLE);
      if (IsWindowVisible(h) && ((ex & WS_EX_APPWINDOW) || (!GetWindow(h, GW_OWNER) && !(ex & WS_EX_TOOLWINDOW))))
        reinterpret_cast<std::vector<HWND>*>(lp)->push_back(h);
      return TRUE;
    }, reinterpret_cast<LPARAM>(&found));
    return found;
  }

  test::ScratchFolder scratch;
  test::RegistryGuard registry;
  RealUi ui;
  Session session;
};

// Every page with its texts, then pages whose controls follow the session
// state; the state rows come last because they change the session. (The
// newer-version page and the locked folder of an update run end to end.)
TEST_F(PageWindows, EveryPageCarriesItsControlsAndACleanLayout) {
  struct Row {
    PageId page;
    std::vector<std::pair<int, std::string>> texts;
    std::function<void(HWND)> setupAndCheck;  // called before the page shows (nullptr) and after
    std::vector<int> shown, hidden, disabled;
  };
  const std::string gone = scratch.Path() + "\\weg";
  auto rectOf = [](HWND page, int cid) {
    RECT r;
    GetWindowRect(GetDlgItem(page, cid), &r);
    return r;
  };
  const Row rows[] = {
      {PageId::Start, {{id::frmStart_lblTitle, "Herzlich willkommen bei Kivra Setup!"}}},
      {PageId::Path, {{id::frmPath_cmdChoose, "Auswählen..."}, {id::frmPath_txtPath, "C:\\Programme\\Kivra\\DemoWerkzeug"}}},
      {PageId::EULA, {{id::frmEULA_txtEULA, "§ 1 Geltungsbereich"}, {id::frmEULA_cmdNo, "Nein"}}},
      {PageId::Installing, {{id::frmInstalling_lblText, "Die Dateien werden Installiert, bitte warten Sie..."},
                            {id::frmInstalling_cmdCancel, "Abbrechen"}},
       [&](HWND h) {
         if (!h) return;
         if (KillTimer(h, 1)) ui.ReportProgress(3, 8, "demo.exe");  // the run itself is not started
         EXPECT_EQ(SendMessageW(GetDlgItem(h, id::progress_barProgress), PBM_GETPOS, 0, 0), 3);
         EXPECT_EQ(TextOf(GetDlgItem(h, id::progress_lblFile)), "demo.exe");
       }},
      {PageId::Links, {{id::frmLinks_lblWelcome, "beim Start von Windows"}}},
      {PageId::Finished, {{id::frmFinished_chkStartProg, "Programm jetzt starten"}}},
      {PageId::Maintenance, {{id::frmMaintenance_Command3, "Neu installieren"}}},
      // The package the uninstallation names, not the one chosen to go first
      // (a rollback after the other-version page).
      {PageId::Uninstall,
       {{id::frmUninstall_lblPlease, "Bitte warten Sie, während DemoWerkzeug 2.0 deinstalliert wird..."}},
       [&](HWND h) {
         session.UninstallingName = "DemoWerkzeug 2.0";
         session.PackageToRemoveFirst = h ? nullptr : std::make_shared<CPackage>(session.Context());
       }},
      {PageId::OtherInstalled, {{id::frmOtherInstalled_lblTitle, "Ältere Version bereits installiert"}}},
      // Without the source only uninstalling is left, and its row moves up.
      {PageId::Maintenance, {{id::frmMaintenance_lblMore, "Für mehr Optionen legen Sie bitte die CD ein"}},
       [&](HWND h) {
         if (!h) session.Package->SourcePath = gone;
         else EXPECT_LT(rectOf(h, id::frmMaintenance_Command4).top, rectOf(h, id::frmMaintenance_Command1).top);
       },
       {id::frmMaintenance_lblMore, id::frmMaintenance_Command4}, {},
       {id::frmMaintenance_Command1, id::frmMaintenance_Command2, id::frmMaintenance_Command3}},
      // A needed restart replaces the start-program box; restarting is preselected.
      {PageId::Finished, {{id::frmFinished_lblTitle, "Die Installation ist fast abgeschlossen."}},
       [&](HWND h) {
         if (!h) session.RestartRequired = session.InstallationStarted = true;
         else EXPECT_EQ(SendMessageW(GetDlgItem(h, id::frmFinished_optRestart), BM_GETCHECK, 0, 0), BST_CHECKED);
       },
       {id::frmFinished_optRestart, id::frmFinished_optSelf}, {id::frmFinished_chkStartProg}},
  };
  // A choice button tells a screen reader the explanation beside it.
  const std::pair<int, int> choiceRows[] = {
      {id::frmMaintenance_Command1, id::frmMaintenance_Label2},     {id::frmMaintenance_Command2, id::frmMaintenance_Label3},
      {id::frmMaintenance_Command3, id::frmMaintenance_Label4},     {id::frmMaintenance_Command4, id::frmMaintenance_Label5},
      {id::frmOtherInstalled_Command1, id::frmOtherInstalled_Label2}, {id::frmOtherInstalled_Command2, id::frmOtherInstalled_Label3},
      {id::frmOtherInstalled_Command3, id::frmOtherInstalled_Label4}};
  auto expectDescriptions = [&](HWND page) {
    for (const auto& [button, label] : choiceRows) {
      if (HWND b = GetDlgItem(page, button)) {
        EXPECT_EQ(AccessibleDescription(b), TextOf(GetDlgItem(page, label))) << button;
        EXPECT_FALSE(TextOf(GetDlgItem(page, label)).empty());
      }
    }
  };
  session.OtherPackage = session.Package;
  int n = 0;
  for (const Row& row : rows) {
    SCOPED_TRACE(static_cast<int>(row.page));
    if (row.setupAndCheck) row.setupAndCheck(nullptr);
    ui.fixedDpi = n++ % 2 ? 144 : 0;  // every other page made for a monitor at 150 %
    HWND h = Show(row.page);
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(TextOf(h), "Kivra Setup: Demo Werkzeug für Ärzte");
    EXPECT_NE(GetDlgItem(h, id::ctlSideBar1), nullptr);
    for (const auto& [cid, text] : row.texts) {
      HWND c = GetDlgItem(h, cid);
      ASSERT_NE(c, nullptr) << cid;
      EXPECT_NE(Plain(TextOf(c)).find(text), std::string::npos) << cid << ": " << TextOf(c);
    }
    for (int c : row.shown) EXPECT_TRUE(IsWindowVisible(GetDlgItem(h, c)) && IsWindowEnabled(GetDlgItem(h, c))) << c;
    for (int c : row.hidden) EXPECT_FALSE(IsWindowVisible(GetDlgItem(h, c))) << c;
    for (int c : row.disabled) EXPECT_FALSE(IsWindowEnabled(GetDlgItem(h, c))) << c;
    if (row.setupAndCheck) row.setupAndCheck(h);
    ExpectCleanLayout(h);
    ExpectKeyboard(h);
    expectDescriptions(h);
    // One taskbar entry for the whole wizard, and a close box only where
    // the page can be left by cancelling or closing.
    EXPECT_EQ(TaskbarWindows(), std::vector<HWND>{ui.AppWindow()});
    const bool closable = row.page != PageId::Links && row.page != PageId::Uninstall;
    EXPECT_EQ(!(GetMenuState(GetSystemMenu(h, FALSE), SC_CLOSE, MF_BYCOMMAND) & MF_GRAYED), closable);
    // (Moved) to a monitor at 150 %: laid out at that scale, still clean.
    RECT r;
    GetWindowRect(h, &r);
    RECT moved{r.left, r.top, r.left + (r.right - r.left) * 3 / 2, r.top + (r.bottom - r.top) * 3 / 2};
    SendMessageW(h, WM_DPICHANGED, MAKEWPARAM(144, 144), reinterpret_cast<LPARAM>(&moved));
    GetWindowRect(GetDlgItem(h, id::ctlSideBar1), &r);
    EXPECT_EQ(r.right - r.left, 225);
    ExpectCleanLayout(h);
    expectDescriptions(h);
    ui.UnloadPage();
  }
}

void PressKey(HWND target, WPARAM key) {
  PostMessageW(target, WM_KEYDOWN, key, 0);
  PostMessageW(target, WM_KEYUP, key, 0xC0000000);
}

// Records restart attempts (every one begins with the token) instead of restarting.
struct NoRestart : modTools::RestartApi {
  bool OpenProcessToken(HANDLE&) override { return ++calls, false; }
  void LookupShutdownPrivilege(LUID&) override {}
  bool AdjustTokenPrivileges(HANDLE, TOKEN_PRIVILEGES&) override { return false; }
  bool ExitWindowsEx(UINT, DWORD) override { return ++calls, false; }
  int calls = 0;
};

// The close box and Escape (a real key press, through the dialog manager):
// never a restart or a program start on the finish page, the wizard's end
// wherever the page can be cancelled ("Nein" on the licence page), nothing
// where it cannot.
TEST_F(PageWindows, CloseBoxAndEscapeDoWhatThePageOffers) {
  NoRestart restart;
  std::vector<std::string> started;
  ui.restartApi = &restart;
  ui.startProgram = [&](const std::string& cmd, const std::string&) { return started.push_back(cmd), true; };
  const struct {
    PageId page;
    bool restartRequired, newInstall;
    UINT message;  // WM_CLOSE, or WM_KEYDOWN: Escape
    PageId after;  // None: the wizard ended
  } rows[] = {
      {PageId::Finished, true, true, WM_CLOSE, PageId::None},
      {PageId::Finished, true, true, WM_KEYDOWN, PageId::None},
      {PageId::Finished, false, true, WM_CLOSE, PageId::None},  // "Programm jetzt starten" stays ticked
      {PageId::Links, false, true, WM_CLOSE, PageId::Links},
      {PageId::Links, false, true, WM_KEYDOWN, PageId::Links},
      {PageId::EULA, false, true, WM_KEYDOWN, PageId::None},
      {PageId::Path, false, false, WM_CLOSE, PageId::None},  // maintenance run: ends, not back
      {PageId::Path, false, false, WM_KEYDOWN, PageId::Maintenance},  // Escape presses "Abbrechen"
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(static_cast<int>(row.page) * 100 + static_cast<int>(row.message));
    session.Cancelled = false;
    session.RestartRequired = session.InstallationStarted = row.restartRequired;
    session.IsNewInstall = row.newInstall;
    ui.LoadEmptyForm();
    HWND h = Show(row.page);
    if (row.message == WM_CLOSE) SendMessageW(h, WM_CLOSE, 0, 0);
    else PressKey(GetFocus(), VK_ESCAPE);
    ui.DoEvents();
    EXPECT_EQ(ui.CurrentPageId(), row.after);
    EXPECT_EQ(session.Cancelled, row.after == PageId::None);
    ui.UnloadPage();
  }
  EXPECT_EQ(restart.calls, 0);
  EXPECT_TRUE(started.empty());
  // "Schließen", the default button (Enter), still acts on the choices.
  session.RestartRequired = !(session.InstallationStarted = true);
  Show(PageId::Finished);
  PressKey(GetFocus(), VK_RETURN);
  ui.DoEvents();
  EXPECT_EQ(started.size(), 1u);
}

// Waits for a visible modal window `find` returns, records the texts of the
// controls `read` (0 = the window's own) and presses button `press`.
struct Probe {
  std::function<HWND()> find;
  std::vector<int> read;
  int press;
  std::map<int, std::string> texts;
};
Probe* g_probe = nullptr;

void StartProbe(Probe& probe) {
  g_probe = &probe;
  SetTimer(nullptr, 0, 100, [](HWND, UINT, UINT_PTR timer, DWORD) {
    HWND box = g_probe->find();
    if (!box || !IsWindowVisible(box)) return;
    KillTimer(nullptr, timer);
    for (int c : g_probe->read)
      if (HWND h = c ? GetDlgItem(box, c) : box) g_probe->texts[c] = TextOf(h);
    PostMessageW(box, WM_COMMAND, MAKEWPARAM(g_probe->press, BN_CLICKED), 0);
  });
}

HWND FindMessageBox() { return FindWindowW(L"#32770", nullptr); }

TEST(GermanMessageBox, ButtonsAreLabelledInGerman) {
  using Labels = std::map<int, std::string>;
  const struct {
    UINT flags;
    int press;
    Labels labels;
  } rows[] = {{MB_YESNOCANCEL | MB_ICONQUESTION, IDNO, {{IDYES, "&Ja"}, {IDNO, "&Nein"}, {IDCANCEL, "&Abbrechen"}}},
              {MB_ABORTRETRYIGNORE, IDRETRY, {{IDABORT, "&Abbrechen"}, {IDRETRY, "&Wiederholen"}, {IDIGNORE, "&Ignorieren"}}}};
  for (const auto& row : rows) {
    Probe probe{FindMessageBox, {IDOK, IDCANCEL, IDABORT, IDRETRY, IDIGNORE, IDYES, IDNO}, row.press};
    StartProbe(probe);
    EXPECT_EQ(GermanMessageBox(nullptr, "Frage?", "Kivra Setup", row.flags), row.press);
    EXPECT_EQ(probe.texts, row.labels);
  }
  g_probe = nullptr;
}

TEST_F(PageWindows, APageThatCannotBeMadeIsToldAndEndsTheRun) {
  Probe probe{FindMessageBox, {0xFFFF}, IDOK};  // 0xFFFF: the box's text
  StartProbe(probe);
  ui.ShowPage(PageId::None, session.SetupTitle);
  EXPECT_NE(probe.texts[0xFFFF].find("konnte nicht angezeigt werden"), std::string::npos) << probe.texts[0xFFFF];
  EXPECT_FALSE(ui.AnyFormLoaded());
  EXPECT_TRUE(session.Cancelled);
  g_probe = nullptr;
}

}  // namespace
}  // namespace kv::ui
