// kvdriver: drives the installer's windows from another process, the way a
// person would - find the page by its window class, read labels, type into
// text boxes, press buttons, answer message boxes - and reads the registry
// for the checks afterwards. One invocation runs a list of steps and stops
// at the first that fails (exit code 1, reason on stderr).
//
//   kvdriver [--desktop NAME] STEP [STEP...]
//   wait FORM [SECONDS]          a visible page/dialog of that form exists
//   gone FORM [SECONDS]          no window of that form is left
//   none [SECONDS]               no installer window and no message box left
//   text FORM ID                 prints the control's text
//   expect FORM ID TEXT          the control's text contains TEXT
//   visible FORM ID 0|1          the control is (not) visible
//   enabled FORM ID 0|1          the control is (not) enabled
//   settext FORM ID TEXT         types TEXT into a text box
//   check FORM ID 0|1            sets a check box or option button
//   click FORM ID                presses a button
//   close FORM                   the close box of the form
//   moving FORM ID [SECONDS]     the progress bar has left its start
//   waitfile PATH [SECONDS]      the file exists (checked every 10 ms)
//   box TEXT BUTTONID [SECONDS]  waits for a message box containing TEXT
//                                ("-" for any), prints it, presses the button
//                                (button 0: leaves the box open)
//   nobox [SECONDS]              no message box appears within the time
//   reg ROOT KEY [VALUE]         prints a value (default value: "@")
//   noreg ROOT KEY [VALUE]       the key (or value) does not exist
//   run COMMANDLINE              starts a program on the driver's desktop
//   sleep MILLISECONDS
//   list                         prints every top-level window (for diagnosis)
//   regdel ROOT KEY              deletes the key with everything below it
//   regdelv ROOT KEY VALUE       deletes one value
//   regdelprefix ROOT KEY PREFIX deletes the subkeys of KEY whose names begin
//                                with PREFIX (case-insensitive)
//   waitwin CLASS [SECONDS]      a visible window of any program with that class
//   closewin CLASS               closes every window of that class
//   nowin CLASS [SECONDS]        no window of that class appears meanwhile
//   hold PATH MARKER             keeps PATH open without sharing until the file
//                                MARKER exists (at most 10 minutes)
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <vector>

namespace {

std::wstring Widen(const char* s) {
  int n = MultiByteToWideChar(CP_UTF8, 0, s, -1, nullptr, 0);
  std::wstring w(static_cast<size_t>(n), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, s, -1, w.data(), n);
  w.resize(static_cast<size_t>(n > 0 ? n - 1 : 0));
  return w;
}

std::string Narrow(const std::wstring& w) {
  int n = WideCharToMultiByte(CP_UTF8, 0, w.c_str(), -1, nullptr, 0, nullptr, nullptr);
  std::string s(static_cast<size_t>(n), '\0');
  WideCharToMultiByte(CP_UTF8, 0, w.c_str(), -1, s.data(), n, nullptr, nullptr);
  s.resize(static_cast<size_t>(n > 0 ? n - 1 : 0));
  return s;
}

std::wstring desktopName;

[[noreturn]] void Fail(const std::string& why) {
  std::fprintf(stderr, "kvdriver: %s\n", why.c_str());
  std::fflush(stderr);
  std::exit(1);
}

std::wstring WindowText(HWND h) {
  // WM_GETTEXT with a timeout: a window whose thread is busy must not hang us.
  wchar_t buf[8192] = {};
  DWORD_PTR len = 0;
  if (!SendMessageTimeoutW(h, WM_GETTEXT, 8192, reinterpret_cast<LPARAM>(buf), SMTO_ABORTIFHUNG, 5000, &len))
    return GetWindowTextLengthW(h) >= 0 ? std::wstring() : std::wstring();
  return std::wstring(buf, len);
}

struct Find {
  std::wstring cls;
  HWND found = nullptr;
  bool visibleOnly = true;
};

BOOL CALLBACK FindProc(HWND h, LPARAM lp) {
  auto* f = reinterpret_cast<Find*>(lp);
  wchar_t cls[128] = {};
  GetClassNameW(h, cls, 128);
  if (f->cls == cls && (!f->visibleOnly || IsWindowVisible(h))) {
    f->found = h;
    return FALSE;
  }
  return TRUE;
}

HWND FindTop(const std::wstring& cls, bool visibleOnly = true) {
  Find f{cls, nullptr, visibleOnly};
  EnumWindows(FindProc, reinterpret_cast<LPARAM>(&f));
  return f.found;
}

std::wstring FormClass(const char* form) { return L"KVSetup." + Widen(form); }

HWND WaitForm(const char* form, double seconds) {
  const std::wstring cls = FormClass(form);
  for (int i = 0; i < seconds * 10; ++i) {
    if (HWND h = FindTop(cls)) return h;
    Sleep(100);
  }
  Fail(std::string("timed out waiting for ") + form);
}

HWND Control(const char* form, const char* id) {
  HWND page = WaitForm(form, 10);
  HWND c = GetDlgItem(page, std::atoi(id));
  if (!c) Fail(std::string("no control ") + id + " on " + form);
  return c;
}

struct Box {
  HWND hwnd = nullptr;
  std::wstring text;
};

BOOL CALLBACK StaticProc(HWND h, LPARAM lp) {
  auto* s = reinterpret_cast<std::wstring*>(lp);
  wchar_t cls[32] = {};
  GetClassNameW(h, cls, 32);
  if (lstrcmpiW(cls, L"Static") == 0) {
    std::wstring t = WindowText(h);
    if (!t.empty()) {
      if (!s->empty()) *s += L" ";
      *s += t;
    }
  }
  return TRUE;
}

BOOL CALLBACK BoxProc(HWND h, LPARAM lp) {
  auto* b = reinterpret_cast<Box*>(lp);
  wchar_t cls[32] = {};
  GetClassNameW(h, cls, 32);
  if (lstrcmpW(cls, L"#32770") == 0 && IsWindowVisible(h)) {
    b->hwnd = h;
    b->text.clear();
    EnumChildWindows(h, StaticProc, reinterpret_cast<LPARAM>(&b->text));
    return FALSE;
  }
  return TRUE;
}

Box FindBox() {
  Box b;
  EnumWindows(BoxProc, reinterpret_cast<LPARAM>(&b));
  return b;
}

std::string ButtonLabels(HWND box) {
  std::string out;
  for (int id : {IDOK, IDCANCEL, IDABORT, IDRETRY, IDIGNORE, IDYES, IDNO}) {
    if (HWND b = GetDlgItem(box, id)) {
      if (!out.empty()) out += ",";
      out += std::to_string(id) + "=" + Narrow(WindowText(b));
    }
  }
  return out;
}

void Press(HWND parent, HWND button, int id) {
  // Posted, not sent: the click may open a modal box, and a sent message
  // would keep us waiting until someone answers it.
  PostMessageW(parent, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(button));
}

HKEY Root(const char* name) {
  std::string n = name;
  if (n == "HKLM" || n == "HKEY_LOCAL_MACHINE") return HKEY_LOCAL_MACHINE;
  if (n == "HKCU" || n == "HKEY_CURRENT_USER") return HKEY_CURRENT_USER;
  if (n == "HKCR" || n == "HKEY_CLASSES_ROOT") return HKEY_CLASSES_ROOT;
  Fail("unknown root " + n);
}

// Returns true and the value's text when it exists.
bool ReadValue(const char* root, const char* key, const char* value, std::string& out) {
  HKEY h;
  if (RegOpenKeyExW(Root(root), Widen(key).c_str(), 0, KEY_READ, &h) != ERROR_SUCCESS) return false;
  if (!value) {
    RegCloseKey(h);
    out.clear();
    return true;
  }
  std::wstring name = std::string(value) == "@" ? std::wstring() : Widen(value);
  DWORD type = 0, size = 0;
  if (RegQueryValueExW(h, name.c_str(), nullptr, &type, nullptr, &size) != ERROR_SUCCESS) {
    RegCloseKey(h);
    return false;
  }
  std::vector<BYTE> data(size + 2);
  RegQueryValueExW(h, name.c_str(), nullptr, &type, data.data(), &size);
  RegCloseKey(h);
  if (type == REG_SZ || type == REG_EXPAND_SZ) {
    out = Narrow(std::wstring(reinterpret_cast<wchar_t*>(data.data()), size / sizeof(wchar_t)));
    while (!out.empty() && out.back() == '\0') out.pop_back();
  } else if (type == REG_DWORD) {
    out = std::to_string(*reinterpret_cast<DWORD*>(data.data()));
  } else {
    out = "<type " + std::to_string(type) + ">";
  }
  return true;
}

BOOL CALLBACK ListProc(HWND h, LPARAM) {
  wchar_t cls[128] = {};
  GetClassNameW(h, cls, 128);
  std::printf("%p %s visible=%d \"%s\"\n", static_cast<void*>(h), Narrow(cls).c_str(), IsWindowVisible(h) ? 1 : 0,
              Narrow(WindowText(h)).c_str());
  return TRUE;
}

void DeleteTree(HKEY root, const std::wstring& key) {
  RegDeleteTreeW(root, key.c_str());
  RegDeleteKeyW(root, key.c_str());
}

void UseDesktop(const std::wstring& name) {
  // The desktop appears with the first program started on it; give it time.
  HDESK d = nullptr;
  for (int n = 0; n < 300 && !(d = OpenDesktopW(name.c_str(), 0, FALSE, GENERIC_ALL)); ++n) Sleep(100);
  if (!d) Fail("cannot open desktop " + Narrow(name));
  if (!SetThreadDesktop(d)) Fail("cannot switch to desktop " + Narrow(name));
  desktopName = name;
}

}  // namespace

int wmain(int argc, wchar_t** wargv) {
  std::vector<std::string> args;
  for (int i = 1; i < argc; ++i) args.push_back(Narrow(wargv[i]));
  size_t i = 0;
  auto need = [&](size_t n) {
    if (i + n > args.size()) Fail("missing arguments for " + args[i - 1]);
  };
  auto arg = [&](size_t k) { return args[i + k].c_str(); };
  auto optSeconds = [&](size_t k, double def) {
    if (i + k < args.size()) {
      char* end = nullptr;
      double v = std::strtod(args[i + k].c_str(), &end);
      if (end && *end == '\0' && end != args[i + k].c_str()) return v;
    }
    return def;
  };
  auto consumedSeconds = [&](size_t k) {
    if (i + k < args.size()) {
      char* end = nullptr;
      std::strtod(args[i + k].c_str(), &end);
      if (end && *end == '\0' && end != args[i + k].c_str()) return 1;
    }
    return 0;
  };
  while (i < args.size()) {
    const std::string cmd = args[i++];
    if (cmd == "--desktop") {
      need(1);
      UseDesktop(Widen(arg(0)));
      i += 1;
    } else if (cmd == "wait") {
      need(1);
      double s = optSeconds(1, 60);
      WaitForm(arg(0), s);
      i += 1 + consumedSeconds(1);
    } else if (cmd == "gone") {
      need(1);
      double s = optSeconds(1, 60);
      const std::wstring cls = FormClass(arg(0));
      int n = 0;
      while (FindTop(cls, false)) {
        if (++n > s * 10) Fail(std::string("still there: ") + arg(0));
        Sleep(100);
      }
      i += 1 + consumedSeconds(1);
    } else if (cmd == "none") {
      double s = optSeconds(0, 60);
      static const char* forms[] = {"frmStart", "frmPath", "frmLinks", "frmInstalling", "frmOtherInstalled",
                                    "frmEULA", "frmFinished", "frmMaintenance", "frmUninstall", "frmConflict"};
      for (int n = 0;; ++n) {
        bool any = FindBox().hwnd != nullptr;
        for (const char* f : forms) any = any || FindTop(FormClass(f), false) != nullptr;
        if (!any) break;
        if (n > s * 10) Fail("installer windows are still open");
        Sleep(100);
      }
      i += consumedSeconds(0);
    } else if (cmd == "text") {
      need(2);
      std::printf("%s\n", Narrow(WindowText(Control(arg(0), arg(1)))).c_str());
      i += 2;
    } else if (cmd == "expect") {
      need(3);
      HWND c = Control(arg(0), arg(1));
      std::wstring want = Widen(arg(2));
      std::wstring have;
      // Texts may still be changing right after a page appears.
      for (int n = 0; n < 50; ++n) {
        have = WindowText(c);
        if (have.find(want) != std::wstring::npos) break;
        Sleep(100);
      }
      if (have.find(want) == std::wstring::npos)
        Fail(std::string(arg(0)) + "." + arg(1) + " is \"" + Narrow(have) + "\", expected to contain \"" + arg(2) +
             "\"");
      i += 3;
    } else if (cmd == "visible" || cmd == "enabled") {
      need(3);
      HWND c = Control(arg(0), arg(1));
      bool want = std::atoi(arg(2)) != 0;
      bool have = cmd == "visible" ? IsWindowVisible(c) != FALSE : IsWindowEnabled(c) != FALSE;
      if (want != have) Fail(std::string(arg(0)) + "." + arg(1) + " " + cmd + " is " + (have ? "1" : "0"));
      i += 3;
    } else if (cmd == "settext") {
      need(3);
      HWND c = Control(arg(0), arg(1));
      SendMessageTimeoutW(c, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(Widen(arg(2)).c_str()), SMTO_ABORTIFHUNG, 5000,
                          nullptr);
      i += 3;
    } else if (cmd == "check") {
      need(3);
      HWND c = Control(arg(0), arg(1));
      SendMessageTimeoutW(c, BM_SETCHECK, std::atoi(arg(2)) ? BST_CHECKED : BST_UNCHECKED, 0, SMTO_ABORTIFHUNG, 5000,
                          nullptr);
      i += 3;
    } else if (cmd == "click") {
      need(2);
      HWND c = Control(arg(0), arg(1));
      if (!IsWindowEnabled(c)) Fail(std::string("button disabled: ") + arg(0) + "." + arg(1));
      Press(GetParent(c), c, std::atoi(arg(1)));
      i += 2;
    } else if (cmd == "moving") {
      need(2);
      HWND c = Control(arg(0), arg(1));
      const double s = optSeconds(2, 10);
      for (int n = 0; SendMessageW(c, WM_USER + 8 /* PBM_GETPOS */, 0, 0) <= 0; ++n) {
        if (n > s * 10) Fail(std::string("the progress bar of ") + arg(0) + " does not move");
        Sleep(100);
      }
      i += 2 + consumedSeconds(2);
    } else if (cmd == "waitfile") {
      need(1);
      const double s = optSeconds(1, 30);
      for (int n = 0; GetFileAttributesW(Widen(arg(0)).c_str()) == INVALID_FILE_ATTRIBUTES; ++n) {
        if (n > s * 100) Fail(std::string("no file ") + arg(0));
        Sleep(10);
      }
      i += 1 + consumedSeconds(1);
    } else if (cmd == "close") {
      need(1);
      PostMessageW(WaitForm(arg(0), 10), WM_CLOSE, 0, 0);
      i += 1;
    } else if (cmd == "box") {
      need(2);
      const std::string want = arg(0);
      const int id = std::atoi(arg(1));
      double s = optSeconds(2, 60);
      Box b;
      for (int n = 0;; ++n) {
        b = FindBox();
        if (b.hwnd && (want == "-" || Narrow(b.text).find(want) != std::string::npos)) break;
        if (n > s * 10) {
          Fail("no message box with \"" + want + "\"" + (b.hwnd ? " (open: \"" + Narrow(b.text) + "\")" : ""));
        }
        Sleep(100);
      }
      Sleep(100);  // let the box finish its own set-up (labels, focus)
      std::printf("BOX [%s] %s | %s\n", Narrow(WindowText(b.hwnd)).c_str(), Narrow(b.text).c_str(),
                  ButtonLabels(b.hwnd).c_str());
      std::fflush(stdout);
      if (id == 0) {
        i += 2 + consumedSeconds(2);
        continue;
      }
      HWND btn = GetDlgItem(b.hwnd, id);
      if (!btn) Fail("the box has no button " + std::to_string(id) + ": " + ButtonLabels(b.hwnd));
      Press(b.hwnd, btn, id);
      // Wait until that box is gone, so that the next step sees the next one.
      for (int n = 0; n < 100 && IsWindow(b.hwnd) && IsWindowVisible(b.hwnd); ++n) Sleep(100);
      i += 2 + consumedSeconds(2);
    } else if (cmd == "nobox") {
      double s = optSeconds(0, 2);
      for (int n = 0; n < s * 10; ++n) {
        Box b = FindBox();
        if (b.hwnd) Fail("unexpected message box: " + Narrow(b.text));
        Sleep(100);
      }
      i += consumedSeconds(0);
    } else if (cmd == "reg" || cmd == "noreg") {
      need(2);
      const char* value = (i + 2 < args.size() && !args[i + 2].empty() && args[i + 2][0] != '-' &&
                           !(args[i + 2] == "wait" || args[i + 2] == "reg" || args[i + 2] == "noreg"))
                              ? arg(2)
                              : nullptr;
      std::string out;
      bool exists = ReadValue(arg(0), arg(1), value, out);
      if (cmd == "reg") {
        if (!exists) Fail(std::string("missing in registry: ") + arg(1) + (value ? std::string(" : ") + value : ""));
        std::printf("%s\n", out.c_str());
      } else if (exists) {
        Fail(std::string("still in registry: ") + arg(1) + (value ? std::string(" : ") + value : "") + " = " + out);
      }
      i += value ? 3 : 2;
    } else if (cmd == "run") {
      need(1);
      std::wstring line = Widen(arg(0));
      STARTUPINFOW si{};
      si.cb = sizeof si;
      std::wstring desk = L"WinSta0\\" + desktopName;
      if (!desktopName.empty()) si.lpDesktop = desk.data();
      PROCESS_INFORMATION pi{};
      if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi))
        Fail("cannot start " + std::string(arg(0)));
      CloseHandle(pi.hThread);
      CloseHandle(pi.hProcess);
      i += 1;
    } else if (cmd == "list") {
      EnumWindows(ListProc, 0);
    } else if (cmd == "regdel") {
      need(2);
      DeleteTree(Root(arg(0)), Widen(arg(1)));
      i += 2;
    } else if (cmd == "regdelv") {
      need(3);
      HKEY h;
      if (RegOpenKeyExW(Root(arg(0)), Widen(arg(1)).c_str(), 0, KEY_SET_VALUE, &h) == ERROR_SUCCESS) {
        RegDeleteValueW(h, Widen(arg(2)).c_str());
        RegCloseKey(h);
      }
      i += 3;
    } else if (cmd == "regdelprefix") {
      need(3);
      HKEY h;
      std::wstring prefix = Widen(arg(2));
      std::vector<std::wstring> doomed;
      if (RegOpenKeyExW(Root(arg(0)), Widen(arg(1)).c_str(), 0, KEY_READ, &h) == ERROR_SUCCESS) {
        wchar_t name[512];
        for (DWORD k = 0;; ++k) {
          DWORD len = 512;
          if (RegEnumKeyExW(h, k, name, &len, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
          if (len >= prefix.size() && _wcsnicmp(name, prefix.c_str(), prefix.size()) == 0) doomed.push_back(name);
        }
        RegCloseKey(h);
      }
      std::wstring parent = Widen(arg(1));
      for (const auto& d : doomed) DeleteTree(Root(arg(0)), parent.empty() ? d : parent + L"\\" + d);
      i += 3;
    } else if (cmd == "waitwin" || cmd == "nowin") {
      need(1);
      double s = optSeconds(1, cmd == "waitwin" ? 60 : 3);
      std::wstring cls = Widen(arg(0));
      bool seen = false;
      for (int n = 0; n < s * 10 && !seen; ++n) {
        seen = FindTop(cls) != nullptr;
        if (!seen) Sleep(100);
      }
      if (cmd == "waitwin" && !seen) Fail(std::string("no window of class ") + arg(0));
      if (cmd == "nowin" && seen) Fail(std::string("unexpected window of class ") + arg(0));
      i += 1 + consumedSeconds(1);
    } else if (cmd == "closewin") {
      need(1);
      std::wstring cls = Widen(arg(0));
      for (int n = 0; n < 50; ++n) {
        HWND h = FindTop(cls, false);
        if (!h) break;
        PostMessageW(h, WM_CLOSE, 0, 0);
        Sleep(200);
      }
      i += 1;
    } else if (cmd == "hold") {
      need(2);
      HANDLE f = CreateFileW(Widen(arg(0)).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
      if (f == INVALID_HANDLE_VALUE) Fail(std::string("cannot open ") + arg(0));
      std::printf("holding %s\n", arg(0));
      std::fflush(stdout);
      std::wstring marker = Widen(arg(1));
      for (int n = 0; n < 6000 && GetFileAttributesW(marker.c_str()) == INVALID_FILE_ATTRIBUTES; ++n) Sleep(100);
      CloseHandle(f);
      i += 2;
    } else if (cmd == "sleep") {
      need(1);
      Sleep(static_cast<DWORD>(std::atoi(arg(0))));
      i += 1;
    } else {
      Fail("unknown step " + cmd);
    }
  }
  return 0;
}
