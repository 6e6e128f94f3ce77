// The real windows of single pages, in this process: every control
// of a page is there with its text, nothing is clipped or overlapping, the
// pages are placed as the wizard places them, Enter and Escape reach the
// right buttons, and message boxes speak German whatever the system language.
#include <windows.h>

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <vector>

#include "package/CPackage.h"
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
    p->PackageDir = scratch.Path();
    p->SourcePath = scratch.Path();
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

  // Every visible control lies inside the page; texts fit their labels and
  // no two controls overlap (frames may hold others).
  void ExpectCleanLayout(HWND page) {
    RECT client;
    GetClientRect(page, &client);
    struct Item {
      HWND h;
      RECT r;
      bool frame;
    };
    std::vector<Item> items;
    for (HWND c = GetWindow(page, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT)) {
      if (!IsWindowVisible(c)) continue;
      RECT r;
      GetWindowRect(c, &r);
      MapWindowPoints(nullptr, page, reinterpret_cast<POINT*>(&r), 2);
      const int cid = GetDlgCtrlID(c);
      EXPECT_GE(r.left, 0) << cid;
      EXPECT_GE(r.top, 0) << cid;
      EXPECT_LE(r.right, client.right) << cid;
      EXPECT_LE(r.bottom, client.bottom) << cid;
      wchar_t cls[32] = {};
      GetClassNameW(c, cls, 32);
      const LONG style = GetWindowLongW(c, GWL_STYLE);
      const bool isFrame = (lstrcmpiW(cls, L"Button") == 0 && (style & 0xF) == BS_GROUPBOX) ||
                           (lstrcmpiW(cls, L"Static") == 0 && (style & SS_TYPEMASK) == SS_ETCHEDFRAME);
      const bool isLine = cid == id::dLine || cid == id::bLine || (r.bottom - r.top) <= 2;
      if (lstrcmpiW(cls, L"Static") == 0 && !isLine && !isFrame) {
        // The wrapped text needs no more height than the label has.
        HDC dc = GetDC(c);
        HGDIOBJ old = SelectObject(dc, reinterpret_cast<HFONT>(SendMessageW(c, WM_GETFONT, 0, 0)));
        std::wstring t = win::Widen(TextOf(c));
        RECT need{0, 0, r.right - r.left, 0};
        DrawTextW(dc, t.c_str(), -1, &need, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX | DT_EDITCONTROL);
        SelectObject(dc, old);
        ReleaseDC(c, dc);
        EXPECT_LE(need.bottom, r.bottom - r.top) << "clipped label " << cid << ": " << TextOf(c);
      }
      if (!isLine && cid != id::ctlSideBar1) items.push_back({c, r, isFrame});
    }
    for (size_t a = 0; a < items.size(); ++a) {
      for (size_t b = a + 1; b < items.size(); ++b) {
        if (items[a].frame || items[b].frame) continue;
        RECT x;
        EXPECT_FALSE(IntersectRect(&x, &items[a].r, &items[b].r))
            << "overlap " << GetDlgCtrlID(items[a].h) << " / " << GetDlgCtrlID(items[b].h);
      }
    }
  }

  test::ScratchFolder scratch;
  test::RegistryGuard registry;
  RealUi ui;
  Session session;
};

TEST_F(PageWindows, EveryPageCarriesItsControlsAndACleanLayout) {
  const std::map<PageId, std::vector<std::pair<int, std::string>>> pages = {
      {PageId::Start,
       {{id::frmStart_lblTitle, "Herzlich willkommen bei Kivra Setup!"},
        {id::frmStart_cmdNext, "Weiter >"},
        {id::frmStart_cmdCancel, "Abbrechen"}}},
      {PageId::Path,
       {{id::frmPath_Frame1, "Installationspfad"},
        {id::frmPath_cmdChoose, "Auswählen..."},
        {id::frmPath_Command1, "Installieren"},
        {id::frmPath_Command5, "Abbrechen"},
        {id::frmPath_txtPath, "C:\\Programme\\Kivra\\DemoWerkzeug"}}},
      {PageId::EULA,
       {{id::frmEULA_Label1, "Endbenutzer-Lizenzvertrag (EULA)"},
        {id::frmEULA_txtEULA, "§ 1 Geltungsbereich"},
        {id::frmEULA_Label2, "Stimmen Sie diesem Vertrag und allen darin genannten Bedingungen zu?"},
        {id::frmEULA_cmdYes, "Ja"},
        {id::frmEULA_cmdNo, "Nein"}}},
      {PageId::Installing, {{id::frmInstalling_lblText, "Die Dateien werden Installiert, bitte warten Sie..."}}},
      {PageId::Links, {{id::frmLinks_cmdNext, "Weiter >"}, {id::frmLinks_lblWelcome, "beim Start von Windows"}}},
      {PageId::Finished,
       {{id::frmFinished_cmdNext, "Schließen"}, {id::frmFinished_chkStartProg, "Programm jetzt starten"}}},
      {PageId::Maintenance,
       {{id::frmMaintenance_Label1, "Wartung/Deinstallation"},
        {id::frmMaintenance_Command1, "Erweitern"},
        {id::frmMaintenance_Command2, "Reparieren"},
        {id::frmMaintenance_Command3, "Neu installieren"},
        {id::frmMaintenance_Command4, "Deinstallieren"},
        {id::frmMaintenance_Command5, "Abbrechen"}}},
      {PageId::Uninstall, {{id::frmUninstall_lblPlease, "Bitte warten Sie, während DemoWerkzeug 2.0 deinstalliert wird..."}}},
  };
  session.OtherPackage = session.Package;
  for (const auto& [page, controls] : pages) {
    SCOPED_TRACE(static_cast<int>(page));
    HWND h = Show(page);
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(TextOf(h), "Kivra Setup: Demo Werkzeug für Ärzte");
    EXPECT_NE(GetDlgItem(h, id::ctlSideBar1), nullptr);
    for (const auto& [cid, text] : controls) {
      HWND c = GetDlgItem(h, cid);
      ASSERT_NE(c, nullptr) << cid;
      EXPECT_NE(TextOf(c).find(text), std::string::npos) << cid << ": " << TextOf(c);
    }
    ExpectCleanLayout(h);
    ui.UnloadPage();
  }
}

TEST_F(PageWindows, OtherVersionPageHidesTheUpdateForANewerVersion) {
  session.OtherPackage = session.Package;
  session.OtherIsNewer = true;
  HWND h = Show(PageId::OtherInstalled);
  EXPECT_FALSE(IsWindowVisible(GetDlgItem(h, id::frmOtherInstalled_Command1)));
  EXPECT_FALSE(IsWindowVisible(GetDlgItem(h, id::frmOtherInstalled_Label2)));
  EXPECT_TRUE(IsWindowVisible(GetDlgItem(h, id::frmOtherInstalled_Command2)));
  EXPECT_EQ(TextOf(GetDlgItem(h, id::frmOtherInstalled_lblTitle)), "Neuere Version bereits installiert");
  ExpectCleanLayout(h);
}

TEST_F(PageWindows, MaintenanceWithoutSourceMovesTheUninstallRowUp) {
  session.Package->SourcePath = scratch.Path() + "\\weg";
  HWND h = Show(PageId::Maintenance);
  RECT un, first;
  GetWindowRect(GetDlgItem(h, id::frmMaintenance_Command4), &un);
  GetWindowRect(GetDlgItem(h, id::frmMaintenance_Command1), &first);
  EXPECT_LT(un.top, first.top);
  for (int c : {id::frmMaintenance_Command1, id::frmMaintenance_Command2, id::frmMaintenance_Command3})
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(h, c)));
  EXPECT_TRUE(IsWindowEnabled(GetDlgItem(h, id::frmMaintenance_Command4)));
  EXPECT_TRUE(IsWindowVisible(GetDlgItem(h, id::frmMaintenance_lblMore)));
  EXPECT_NE(TextOf(GetDlgItem(h, id::frmMaintenance_lblMore)).find("CD"), std::string::npos);
  ExpectCleanLayout(h);
}

TEST_F(PageWindows, RestartChoiceReplacesTheStartProgramBox) {
  session.RestartRequired = true;
  session.InstallationStarted = true;
  HWND h = Show(PageId::Finished);
  EXPECT_TRUE(IsWindowVisible(GetDlgItem(h, id::frmFinished_optRestart)));
  EXPECT_TRUE(IsWindowVisible(GetDlgItem(h, id::frmFinished_optSelf)));
  EXPECT_EQ(SendMessageW(GetDlgItem(h, id::frmFinished_optRestart), BM_GETCHECK, 0, 0), BST_CHECKED);
  EXPECT_FALSE(IsWindowVisible(GetDlgItem(h, id::frmFinished_chkStartProg)));
  EXPECT_EQ(TextOf(GetDlgItem(h, id::frmFinished_lblTitle)), "Die Installation ist fast abgeschlossen.");
  ExpectCleanLayout(h);
}

TEST_F(PageWindows, FirstPageIsCentredOnTheScreenTheNextOverThePrevious) {
  HWND first = Show(PageId::Start);
  RECT r;
  GetWindowRect(first, &r);
  const int sw = GetSystemMetrics(SM_CXSCREEN), sh = GetSystemMetrics(SM_CYSCREEN);
  EXPECT_NEAR(r.left, (sw - (r.right - r.left)) / 2, 1);
  EXPECT_NEAR(r.top, (sh - (r.bottom - r.top)) / 2, 1);

  // The user moved the page; the next one takes its place.
  SetWindowPos(first, nullptr, 20, 30, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
  GetWindowRect(first, &r);
  HWND next = Show(PageId::Path);
  EXPECT_FALSE(IsWindow(first));  // the previous page is gone
  RECT n;
  GetWindowRect(next, &n);
  EXPECT_NEAR((n.left + n.right) / 2, (r.left + r.right) / 2, 1);
  EXPECT_NEAR((n.top + n.bottom) / 2, (r.top + r.bottom) / 2, 1);
  EXPECT_NE(session.WindowIcon, 0u);
}

TEST_F(PageWindows, PathPageLocksTheFolderOfAnExistingInstallation) {
  session.ExistingFolder = true;
  HWND h = Show(PageId::Path);
  HWND path = GetDlgItem(h, id::frmPath_txtPath);
  EXPECT_TRUE(GetWindowLongW(path, GWL_STYLE) & ES_READONLY);
  EXPECT_FALSE(IsWindowEnabled(GetDlgItem(h, id::frmPath_cmdChoose)));
  EXPECT_EQ(TextOf(path), scratch.Path() + "\\Demo");
}

void PressKey(HWND target, WPARAM key) {
  PostMessageW(target, WM_KEYDOWN, key, 0);
  PostMessageW(target, WM_KEYUP, key, 0xC0000000);
}

TEST_F(PageWindows, EnterPressesTheDefaultButtonEscapeTheCancelButton) {
  HWND h = Show(PageId::Path);
  HWND path = GetDlgItem(h, id::frmPath_txtPath);
  SetWindowTextW(path, win::Widen(scratch.Path() + "\\Ziel").c_str());
  SetFocus(path);
  PressKey(path, VK_RETURN);
  ui.DoEvents();
  EXPECT_EQ(ui.CurrentPageId(), PageId::EULA);  // validated, created, went on
  EXPECT_EQ(session.Package->InstalledIn, scratch.Path() + "\\Ziel");

  // Escape on the licence page is "Nein": the wizard ends.
  session.IsNewInstall = true;
  HWND eula = ui.CurrentWindow();
  PressKey(GetDlgItem(eula, id::frmEULA_cmdYes), VK_ESCAPE);
  ui.DoEvents();
  EXPECT_TRUE(session.Cancelled);
  EXPECT_EQ(ui.CurrentWindow(), nullptr);
}

// Reads the labels of the box that is up, then presses `press`.
struct BoxProbe {
  std::map<int, std::string> labels;
  int press = IDOK;
};
BoxProbe* g_probe = nullptr;

BOOL CALLBACK FindBox(HWND h, LPARAM lp) {
  wchar_t cls[16] = {};
  GetClassNameW(h, cls, 16);
  if (lstrcmpW(cls, L"#32770") == 0 && IsWindowVisible(h)) {
    *reinterpret_cast<HWND*>(lp) = h;
    return FALSE;
  }
  return TRUE;
}

void CALLBACK ProbeTimer(HWND, UINT, UINT_PTR timer, DWORD) {
  HWND box = nullptr;
  EnumThreadWindows(GetCurrentThreadId(), FindBox, reinterpret_cast<LPARAM>(&box));
  if (!box) return;
  KillTimer(nullptr, timer);
  for (int b : {IDOK, IDCANCEL, IDABORT, IDRETRY, IDIGNORE, IDYES, IDNO})
    if (HWND c = GetDlgItem(box, b)) g_probe->labels[b] = TextOf(c);
  PostMessageW(box, WM_COMMAND, MAKEWPARAM(g_probe->press, BN_CLICKED), 0);
}

TEST(GermanMessageBox, ButtonsAreLabelledInGerman) {
  BoxProbe probe;
  g_probe = &probe;
  probe.press = IDNO;
  SetTimer(nullptr, 0, 100, ProbeTimer);
  EXPECT_EQ(GermanMessageBox(nullptr, "Frage?", "Kivra Setup", MB_YESNOCANCEL | MB_ICONQUESTION), IDNO);
  EXPECT_EQ(probe.labels[IDYES], "Ja");
  EXPECT_EQ(probe.labels[IDNO], "Nein");
  EXPECT_EQ(probe.labels[IDCANCEL], "Abbrechen");

  probe = {};
  probe.press = IDRETRY;
  SetTimer(nullptr, 0, 100, ProbeTimer);
  EXPECT_EQ(GermanMessageBox(nullptr, "Fehler", "Kivra Setup", MB_ABORTRETRYIGNORE), IDRETRY);
  EXPECT_EQ(probe.labels[IDABORT], "Abbrechen");
  EXPECT_EQ(probe.labels[IDRETRY], "Wiederholen");
  EXPECT_EQ(probe.labels[IDIGNORE], "Ignorieren");

  // The hook is gone after the box: a plain box keeps the system's labels.
  probe = {};
  SetTimer(nullptr, 0, 100, ProbeTimer);
  MessageBoxW(nullptr, L"x", L"y", MB_OK);
  EXPECT_FALSE(probe.labels.empty());
  g_probe = nullptr;
}

TEST_F(PageWindows, ConflictDialogShowsBothVersionsAndReturnsTheChoice) {
  Show(PageId::Installing);
  KillTimer(ui.CurrentWindow(), 1);  // this test is not about the installation
  ConflictQuestion q{"Die auf Ihrer Festplatte installierte, ältere Version von x.dll liegt in einer anderen Sprache vor",
                     "Version: 1.0.0.0\r\nSprache: Deutsch (Deutschland)\r\nBetriebssystem: Windows NT",
                     "Version: 2.0.0.0\r\nSprache: Englisch (USA)\r\nBetriebssystem: Windows NT",
                     "Möchten Sie die bisherige Version behalten oder mit der neuen Version überschreiben?"};
  struct Seen {
    std::string old, neu, title;
    bool ownerDisabled = false;
  };
  static Seen seen;
  static HWND page;
  page = ui.CurrentWindow();
  SetTimer(nullptr, 0, 100, [](HWND, UINT, UINT_PTR timer, DWORD) {
    HWND dlg = FindWindowW(KV_FORM_CLASS_PREFIX L"frmConflict", nullptr);
    if (!dlg || !IsWindowVisible(dlg)) return;
    KillTimer(nullptr, timer);
    seen.old = TextOf(GetDlgItem(dlg, id::frmConflict_txtOld));
    seen.neu = TextOf(GetDlgItem(dlg, id::frmConflict_txtNew));
    seen.title = TextOf(dlg);
    seen.ownerDisabled = !IsWindowEnabled(page);
    PostMessageW(dlg, WM_COMMAND, MAKEWPARAM(id::frmConflict_Command2, BN_CLICKED), 0);
  });
  EXPECT_EQ(ui.AskConflict(q), ConflictAnswer::Replace);
  EXPECT_EQ(seen.title, "Versionskonflikt");
  EXPECT_EQ(seen.old, q.oldDescription);
  EXPECT_EQ(seen.neu, q.newDescription);
  EXPECT_TRUE(seen.ownerDisabled);  // modal to its page
  EXPECT_TRUE(IsWindowEnabled(page));
}

}  // namespace
}  // namespace kv::ui
