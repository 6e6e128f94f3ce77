// kvdriver: drives the installer's windows from another process as a person
// would (find the page by its window class, read labels, type, press buttons,
// answer message boxes) and reads the registry for the checks. One call runs
// a list of steps and stops at the first that fails (exit 1, reason on
// stderr). [S]: optional seconds to wait. Usage: kvdriver [--desktop NAME] STEP...
//   wait FORM [S] | none [S] (no installer window or box left) | close FORM
//   expect FORM ID TEXT (contains) | visible|enabled FORM ID 0|1
//   settext FORM ID TEXT | check FORM ID 0|1 | click FORM ID
//   moving FORM ID [S] (progress bar left its start) | waitfile PATH [S]
//   box TEXT|- BUTTONID [S] (prints the box; button 0 leaves it open) | nobox [S]
//   reg ROOT KEY [VALUE|@] (prints it) | noreg ROOT KEY [VALUE]
//   regdel ROOT KEY | regdelv ROOT KEY VALUE | regdelprefix ROOT KEY PREFIX
//   run CMDLINE | runwait CMDLINE (prints "exit=N", all 32 bits)
//   runlimited CMDLINE (run with the unelevated token, as a user's session does)
//   waitwin CLASS [S] | closewin CLASS | list | hold PATH MARKER (open without
//   sharing until MARKER exists, at most 10 minutes)
//   killwhen EXE files|fewer FOLDER N [S] | killwhen EXE key ROOT KEY [S]: ends
//   every EXE (TerminateProcess, as a crash would) once FOLDER holds at least
//   (at most) N files or the key exists; prints "killed at N files"
#include <windows.h>
#include <tlhelp32.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "platform/WinString.h"

namespace {

using kv::win::Narrow;
using kv::win::Widen;

[[noreturn]] void Fail(const std::string& why) {
  std::fprintf(stderr, "kvdriver: %s\n", why.c_str());
  std::fflush(stderr);
  std::exit(1);
}

// Polls `done` every 100 ms for at most `seconds`.
bool Within(double seconds, const std::function<bool()>& done) {
  for (int n = 0;; ++n) {
    if (done()) return true;
    if (n >= seconds * 10) return false;
    Sleep(100);
  }
}

std::wstring ClassOf(HWND h) {
  wchar_t cls[128] = {};
  GetClassNameW(h, cls, 128);
  return cls;
}

// WM_GETTEXT with a timeout: a window whose thread is busy must not hang us.
std::wstring WindowText(HWND h) {
  wchar_t buf[8192] = {};
  DWORD_PTR len = 0;
  if (!SendMessageTimeoutW(h, WM_GETTEXT, 8192, reinterpret_cast<LPARAM>(buf), SMTO_ABORTIFHUNG, 5000, &len)) return {};
  return std::wstring(buf, len);
}

// The first top-level window `match` accepts.
HWND FindTop(const std::function<bool(HWND)>& match) {
  struct Search {
    const std::function<bool(HWND)>* match;
    HWND found;
  } s{&match, nullptr};
  EnumWindows(
      [](HWND h, LPARAM lp) -> BOOL {
        auto* s = reinterpret_cast<Search*>(lp);
        return (*s->match)(h) ? (s->found = h, FALSE) : TRUE;
      },
      reinterpret_cast<LPARAM>(&s));
  return s.found;
}

HWND FindClass(const std::wstring& cls, bool visibleOnly = true) {
  return FindTop([&](HWND h) { return ClassOf(h) == cls && (!visibleOnly || IsWindowVisible(h)); });
}

std::wstring FormClass(const std::string& form) { return L"KVSetup." + Widen(form); }

HWND WaitForm(const std::string& form, double seconds) {
  HWND h = nullptr;
  if (!Within(seconds, [&] { return (h = FindClass(FormClass(form))) != nullptr; }))
    Fail("timed out waiting for " + form);
  return h;
}

HWND Control(const std::string& form, const std::string& id) {
  HWND c = GetDlgItem(WaitForm(form, 10), std::atoi(id.c_str()));
  if (!c) Fail("no control " + id + " on " + form);
  return c;
}

// A visible message box and the texts of its static controls.
HWND FindBox(std::wstring* text = nullptr) {
  HWND box = FindTop([](HWND h) { return ClassOf(h) == L"#32770" && IsWindowVisible(h); });
  if (box && text) {
    text->clear();
    EnumChildWindows(
        box,
        [](HWND h, LPARAM lp) -> BOOL {
          auto* s = reinterpret_cast<std::wstring*>(lp);
          const std::wstring t = lstrcmpiW(ClassOf(h).c_str(), L"Static") == 0 ? WindowText(h) : L"";
          if (!t.empty()) *s += (s->empty() ? L"" : L" ") + t;
          return TRUE;
        },
        reinterpret_cast<LPARAM>(text));
  }
  return box;
}

std::string ButtonLabels(HWND box) {
  std::string out;
  for (int id : {IDOK, IDCANCEL, IDABORT, IDRETRY, IDIGNORE, IDYES, IDNO})
    if (HWND b = GetDlgItem(box, id)) out += (out.empty() ? "" : ",") + std::to_string(id) + "=" + Narrow(WindowText(b));
  return out;
}

// Posted, not sent: the click may open a modal box, and a sent message would
// keep us waiting until someone answers it.
void Press(HWND parent, int id) {
  PostMessageW(parent, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(GetDlgItem(parent, id)));
}

HKEY Root(const std::string& n) {
  if (n == "HKLM" || n == "HKEY_LOCAL_MACHINE") return HKEY_LOCAL_MACHINE;
  if (n == "HKCU" || n == "HKEY_CURRENT_USER") return HKEY_CURRENT_USER;
  if (n == "HKCR" || n == "HKEY_CLASSES_ROOT") return HKEY_CLASSES_ROOT;
  Fail("unknown root " + n);
}

// Whether the key (value empty) or the value exists; its text in `out`.
bool ReadValue(const std::string& root, const std::string& key, const std::string& value, std::string& out) {
  HKEY h;
  if (RegOpenKeyExW(Root(root), Widen(key).c_str(), 0, KEY_READ, &h) != ERROR_SUCCESS) return false;
  out.clear();
  DWORD type = 0, size = 0;
  const std::wstring name = value == "@" ? L"" : Widen(value);
  bool found = value.empty() || RegQueryValueExW(h, name.c_str(), nullptr, &type, nullptr, &size) == ERROR_SUCCESS;
  if (!value.empty() && found) {
    std::vector<BYTE> data(size + 2);
    RegQueryValueExW(h, name.c_str(), nullptr, &type, data.data(), &size);
    if (type == REG_SZ || type == REG_EXPAND_SZ) {
      out = Narrow(std::wstring(reinterpret_cast<wchar_t*>(data.data()), size / sizeof(wchar_t)));
      while (!out.empty() && out.back() == '\0') out.pop_back();
    } else if (type == REG_MULTI_SZ) {
      // The strings joined by "|" (pending renames at restart, for instance).
      std::wstring all(reinterpret_cast<wchar_t*>(data.data()), size / sizeof(wchar_t));
      while (!all.empty() && all.back() == L'\0') all.pop_back();
      for (wchar_t& c : all)
        if (c == L'\0') c = L'|';
      out = Narrow(all);
    } else {
      out = type == REG_DWORD ? std::to_string(*reinterpret_cast<DWORD*>(data.data())) : "<type " + std::to_string(type) + ">";
    }
  }
  RegCloseKey(h);
  return found;
}

void DeleteTree(HKEY root, const std::wstring& key) {
  RegDeleteTreeW(root, key.c_str());
  RegDeleteKeyW(root, key.c_str());
}

void UseDesktop(const std::wstring& name) {
  // The desktop appears with the first program started on it; give it time.
  HDESK d = nullptr;
  Within(30, [&] { return (d = OpenDesktopW(name.c_str(), 0, FALSE, GENERIC_ALL)) != nullptr; });
  if (!d || !SetThreadDesktop(d)) Fail("cannot use desktop " + Narrow(name));
}

// Files below `folder`, counted afresh on every call.
int CountFiles(const std::wstring& folder) {
  WIN32_FIND_DATAW found;
  HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return 0;
  int n = 0;
  do {
    if (found.cFileName[0] == L'.') continue;
    n += (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) ? CountFiles(folder + L"\\" + found.cFileName) : 1;
  } while (FindNextFileW(search, &found));
  FindClose(search);
  return n;
}

// Ends every process whose program file is `exe`; how many it ended.
int TerminateAll(const std::wstring& exe) {
  HANDLE snap = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  if (snap == INVALID_HANDLE_VALUE) return 0;
  PROCESSENTRY32W entry{sizeof entry};
  int ended = 0;
  for (BOOL more = Process32FirstW(snap, &entry); more; more = Process32NextW(snap, &entry)) {
    if (lstrcmpiW(entry.szExeFile, exe.c_str()) != 0) continue;
    HANDLE p = OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, entry.th32ProcessID);
    if (!p) continue;
    if (TerminateProcess(p, 9)) {
      WaitForSingleObject(p, 5000);
      ++ended;
    }
    CloseHandle(p);
  }
  CloseHandle(snap);
  return ended;
}

}  // namespace

int wmain(int argc, wchar_t** wargv) {
  std::vector<std::string> args;
  for (int i = 1; i < argc; ++i) args.push_back(Narrow(wargv[i]));
  std::wstring desktop;
  size_t i = 0;
  // The next argument, required.
  auto next = [&]() -> std::string {
    if (i >= args.size()) Fail("missing argument at the end");
    return args[i++];
  };
  // An optional number of seconds, taken only when the next argument is one.
  auto seconds = [&](double fallback) {
    char* end = nullptr;
    const double v = i < args.size() ? std::strtod(args[i].c_str(), &end) : 0;
    if (!end || *end || end == args[i].c_str()) return fallback;
    ++i;
    return v;
  };
  // An optional registry value name: anything but the name of a next step.
  auto valueName = [&]() -> std::string {
    if (i >= args.size() || args[i].empty() || args[i][0] == '-') return "";
    for (const char* step : {"reg", "noreg", "wait", "regdel", "regdelv", "regdelprefix"})
      if (args[i] == step) return "";
    return args[i++];
  };
  while (i < args.size()) {
    const std::string cmd = args[i++];
    if (cmd == "--desktop") {
      desktop = Widen(next());
      UseDesktop(desktop);
    } else if (cmd == "wait") {
      const std::string form = next();
      WaitForm(form, seconds(60));
    } else if (cmd == "none") {
      const double s = seconds(60);
      const auto open = [] {
        return FindBox() || FindTop([](HWND h) {
                 const std::wstring cls = ClassOf(h);
                 return cls.rfind(L"KVSetup.frm", 0) == 0 && cls != L"KVSetup.frmEmpty";
               });
      };
      if (!Within(s, [&] { return !open(); })) Fail("installer windows are still open");
    } else if (cmd == "expect") {
      const std::string form = next(), id = next(), want = next();
      HWND c = Control(form, id);
      std::string have;
      // Texts may still be changing right after a page appears.
      if (!Within(5, [&] { return (have = Narrow(WindowText(c))).find(want) != std::string::npos; }))
        Fail(form + "." + id + " is \"" + have + "\", expected to contain \"" + want + "\"");
    } else if (cmd == "visible" || cmd == "enabled") {
      const std::string form = next(), id = next();
      HWND c = Control(form, id);
      const bool want = std::atoi(next().c_str()) != 0;
      const bool have = (cmd == "visible" ? IsWindowVisible(c) : IsWindowEnabled(c)) != FALSE;
      if (want != have) Fail(form + "." + id + " " + cmd + " is " + (have ? "1" : "0"));
    } else if (cmd == "settext" || cmd == "check") {
      const std::string form = next(), id = next(), text = next();
      HWND c = Control(form, id);
      const std::wstring wide = Widen(text);
      if (cmd == "settext")
        SendMessageTimeoutW(c, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(wide.c_str()), SMTO_ABORTIFHUNG, 5000, nullptr);
      else
        SendMessageTimeoutW(c, BM_SETCHECK, std::atoi(text.c_str()) ? BST_CHECKED : BST_UNCHECKED, 0, SMTO_ABORTIFHUNG,
                            5000, nullptr);
    } else if (cmd == "click") {
      const std::string form = next(), id = next();
      HWND c = Control(form, id);
      if (!IsWindowEnabled(c)) Fail("button disabled: " + form + "." + id);
      Press(GetParent(c), std::atoi(id.c_str()));
    } else if (cmd == "moving") {
      const std::string form = next(), id = next();
      HWND c = Control(form, id);
      if (!Within(seconds(10), [&] { return SendMessageW(c, WM_USER + 8 /* PBM_GETPOS */, 0, 0) > 0; }))
        Fail("the progress bar of " + form + " does not move");
    } else if (cmd == "waitfile") {
      const std::string path = next();
      const double s = seconds(30);
      for (int n = 0; GetFileAttributesW(Widen(path).c_str()) == INVALID_FILE_ATTRIBUTES; ++n) {
        if (n > s * 100) Fail("no file " + path);
        Sleep(10);
      }
    } else if (cmd == "close") {
      PostMessageW(WaitForm(next(), 10), WM_CLOSE, 0, 0);
    } else if (cmd == "box") {
      const std::string want = next();
      const int id = std::atoi(next().c_str());
      std::wstring text;
      HWND box = nullptr;
      if (!Within(seconds(60), [&] {
            box = FindBox(&text);
            return box && (want == "-" || Narrow(text).find(want) != std::string::npos);
          }))
        Fail("no message box with \"" + want + "\"" + (box ? " (open: \"" + Narrow(text) + "\")" : ""));
      Sleep(100);  // let the box finish its own set-up (labels, focus)
      std::printf("BOX [%s] %s | %s\n", Narrow(WindowText(box)).c_str(), Narrow(text).c_str(), ButtonLabels(box).c_str());
      std::fflush(stdout);
      if (id == 0) continue;
      if (!GetDlgItem(box, id)) Fail("the box has no button " + std::to_string(id) + ": " + ButtonLabels(box));
      Press(box, id);
      // Wait until that box is gone, so that the next step sees the next one.
      Within(10, [&] { return !IsWindow(box) || !IsWindowVisible(box); });
    } else if (cmd == "nobox") {
      std::wstring text;
      if (Within(seconds(2), [&] { return FindBox(&text) != nullptr; })) Fail("unexpected message box: " + Narrow(text));
    } else if (cmd == "reg" || cmd == "noreg") {
      const std::string root = next(), key = next(), value = valueName();
      std::string out;
      const bool exists = ReadValue(root, key, value, out);
      const std::string what = key + (value.empty() ? "" : " : " + value);
      if (cmd == "reg" && !exists) Fail("missing in registry: " + what);
      if (cmd == "noreg" && exists) Fail("still in registry: " + what + " = " + out);
      if (exists) std::printf("%s\n", out.c_str());
    } else if (cmd == "regdel") {
      const std::string root = next();
      DeleteTree(Root(root), Widen(next()));
    } else if (cmd == "regdelv" || cmd == "regdelprefix") {
      const std::string root = next(), key = next(), name = next();
      HKEY h;
      if (RegOpenKeyExW(Root(root), Widen(key).c_str(), 0, KEY_READ | KEY_SET_VALUE, &h) != ERROR_SUCCESS) continue;
      const std::wstring prefix = Widen(name), parent = Widen(key);
      std::vector<std::wstring> doomed;
      wchar_t sub[512];
      for (DWORD k = 0, len = 512; cmd == "regdelprefix" && RegEnumKeyExW(h, k, sub, &len, nullptr, nullptr, nullptr,
                                                                          nullptr) == ERROR_SUCCESS;
           ++k, len = 512)
        if (_wcsnicmp(sub, prefix.c_str(), prefix.size()) == 0) doomed.push_back(parent.empty() ? sub : parent + L"\\" + sub);
      if (cmd == "regdelv") RegDeleteValueW(h, prefix.c_str());
      RegCloseKey(h);
      for (const auto& d : doomed) DeleteTree(Root(root), d);
    } else if (cmd == "run" || cmd == "runwait" || cmd == "runlimited") {
      std::wstring line = Widen(next()), desk = L"WinSta0\\" + desktop;
      STARTUPINFOW si{sizeof si};
      if (!desktop.empty()) si.lpDesktop = desk.data();
      PROCESS_INFORMATION pi{};
      HANDLE own = nullptr, limited = nullptr;
      TOKEN_LINKED_TOKEN linked{};
      DWORD size = 0;
      if (cmd == "runlimited" &&
          !(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &own) &&
            GetTokenInformation(own, TokenLinkedToken, &linked, sizeof linked, &size) &&
            DuplicateTokenEx(linked.LinkedToken, MAXIMUM_ALLOWED, nullptr, SecurityImpersonation, TokenPrimary,
                             &limited)))
        Fail("no unelevated token");
      if (!(limited ? CreateProcessAsUserW(limited, nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                           &si, &pi)
                    : CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi)))
        Fail("cannot start " + Narrow(line));
      CloseHandle(pi.hThread);
      if (cmd == "runwait") {
        WaitForSingleObject(pi.hProcess, INFINITE);
        DWORD code = 0;
        GetExitCodeProcess(pi.hProcess, &code);
        std::printf("exit=%lu\n", static_cast<unsigned long>(code));
        std::fflush(stdout);
      }
      CloseHandle(pi.hProcess);
    } else if (cmd == "waitwin") {
      const std::wstring cls = Widen(next());
      if (!Within(seconds(60), [&] { return FindClass(cls) != nullptr; })) Fail("no window of class " + Narrow(cls));
    } else if (cmd == "closewin") {
      const std::wstring cls = Widen(next());
      for (int n = 0; n < 50; ++n, Sleep(200)) {
        HWND h = FindClass(cls, false);
        if (!h) break;
        PostMessageW(h, WM_CLOSE, 0, 0);
      }
    } else if (cmd == "list") {
      FindTop([](HWND h) {
        std::printf("%p %s visible=%d \"%s\"\n", static_cast<void*>(h), Narrow(ClassOf(h)).c_str(),
                    IsWindowVisible(h) ? 1 : 0, Narrow(WindowText(h)).c_str());
        return false;
      });
    } else if (cmd == "hold") {
      const std::string path = next(), marker = next();
      HANDLE f = CreateFileW(Widen(path).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
      if (f == INVALID_HANDLE_VALUE) Fail("cannot open " + path);
      std::printf("holding %s\n", path.c_str());
      std::fflush(stdout);
      Within(600, [&] { return GetFileAttributesW(Widen(marker).c_str()) != INVALID_FILE_ATTRIBUTES; });
      CloseHandle(f);
    } else if (cmd == "killwhen") {
      const std::wstring exe = Widen(next());
      const std::string kind = next(), a = next(), b = next();
      const ULONGLONG until = GetTickCount64() + static_cast<ULONGLONG>(seconds(60) * 1000);
      const int n = std::atoi(b.c_str());
      HKEY h;
      // Polled without pause: the point must be hit as closely as possible.
      auto reached = [&] {
        if (kind == "key") return RegOpenKeyExW(Root(a), Widen(b).c_str(), 0, KEY_READ, &h) == ERROR_SUCCESS &&
                                  RegCloseKey(h) == ERROR_SUCCESS;
        return kind == "files" ? CountFiles(Widen(a)) >= n : kind == "fewer" && CountFiles(Widen(a)) <= n;
      };
      while (!reached())
        if (GetTickCount64() > until) Fail("the kill point was not reached");
      if (TerminateAll(exe) == 0) Fail("no " + Narrow(exe) + " was running at the kill point");
      std::printf("killed at %d files\n", kind == "key" ? -1 : CountFiles(Widen(a)));
    } else {
      Fail("unknown step " + cmd);
    }
  }
  return 0;
}
