/* The example packages' program: a small window that says what it is. With
   /REGSERVER or /UNREGSERVER it acts as a self-registering server instead and
   records (or removes) its own path under
   HKEY_CURRENT_USER\Software\Kivra\Beispiele\Server, so that an installation
   test can see that the installer started it. Started as a program, it
   records how: its working folder, whether its token is elevated and the
   program that started it, under ...\Beispiele\Start. */
#include <windows.h>
#include <tlhelp32.h>
#include <wchar.h>

#include "appinfo.h"

static const wchar_t kServerKey[] = L"Software\\Kivra\\Beispiele\\Server";

static int HasSwitch(const wchar_t* commandLine, const wchar_t* name) {
  size_t n = wcslen(name);
  for (const wchar_t* p = commandLine; *p; ++p)
    if (_wcsnicmp(p, name, n) == 0) return 1;
  return 0;
}

static int Register(int on) {
  wchar_t self[MAX_PATH];
  GetModuleFileNameW(NULL, self, MAX_PATH);
  if (on) {
    const wchar_t* data = KV_APP_VERSION;
    return RegSetKeyValueW(HKEY_CURRENT_USER, kServerKey, self, REG_SZ, data,
                           (DWORD)((wcslen(data) + 1) * sizeof(wchar_t))) == ERROR_SUCCESS ? 0 : 1;
  }
  RegDeleteKeyValueW(HKEY_CURRENT_USER, kServerKey, self);
  return 0;
}

/* The file name of the process that started this one ("" when it is gone). */
static void Starter(wchar_t* name, size_t size) {
  HANDLE snap = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  PROCESSENTRY32W e;
  DWORD parent = 0;
  int pass;
  name[0] = 0;
  if (snap == INVALID_HANDLE_VALUE) return;
  /* First our own entry for the parent's id, then the parent's entry. */
  for (pass = 0; pass < 2; ++pass) {
    e.dwSize = sizeof(e);
    for (BOOL more = Process32FirstW(snap, &e); more; more = Process32NextW(snap, &e)) {
      if (pass == 0 && e.th32ProcessID == GetCurrentProcessId()) parent = e.th32ParentProcessID;
      if (pass == 1 && e.th32ProcessID == parent) lstrcpynW(name, e.szExeFile, (int)size);
    }
  }
  CloseHandle(snap);
}

static void RecordStart(void) {
  static const wchar_t kStartKey[] = L"Software\\Kivra\\Beispiele\\Start";
  wchar_t folder[MAX_PATH], starter[MAX_PATH];
  TOKEN_ELEVATION elevation = {0};
  HANDLE token;
  DWORD size = 0;
  if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) {
    GetTokenInformation(token, TokenElevation, &elevation, sizeof(elevation), &size);
    CloseHandle(token);
  }
  GetCurrentDirectoryW(MAX_PATH, folder);
  Starter(starter, MAX_PATH);
  RegSetKeyValueW(HKEY_CURRENT_USER, kStartKey, L"Ordner", REG_SZ, folder, (DWORD)((wcslen(folder) + 1) * sizeof(wchar_t)));
  RegSetKeyValueW(HKEY_CURRENT_USER, kStartKey, L"Erhoeht", REG_DWORD, &elevation.TokenIsElevated, sizeof(DWORD));
  RegSetKeyValueW(HKEY_CURRENT_USER, kStartKey, L"Starter", REG_SZ, starter,
                  (DWORD)((wcslen(starter) + 1) * sizeof(wchar_t)));
}

static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM w, LPARAM l) {
  switch (message) {
    case WM_PAINT: {
      PAINTSTRUCT ps;
      HDC dc = BeginPaint(window, &ps);
      RECT r;
      GetClientRect(window, &r);
      wchar_t text[256];
      wsprintfW(text, L"%s\n\nVersion %s\n\nZum Beenden klicken oder Esc dr\u00fccken.", KV_APP_TITLE, KV_APP_VERSION);
      DrawTextW(dc, text, -1, &r, DT_CENTER | DT_WORDBREAK);
      EndPaint(window, &ps);
      return 0;
    }
    case WM_LBUTTONUP:
      DestroyWindow(window);
      return 0;
    case WM_KEYDOWN:
      if (w == VK_ESCAPE) DestroyWindow(window);
      return 0;
    case WM_DESTROY:
      PostQuitMessage(0);
      return 0;
  }
  return DefWindowProcW(window, message, w, l);
}

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previous, PWSTR commandLine, int show) {
  (void)previous;
  if (HasSwitch(commandLine, L"/UNREGSERVER")) return Register(0);
  if (HasSwitch(commandLine, L"/REGSERVER")) return Register(1);
  RecordStart();

  WNDCLASSW wc = {0};
  wc.lpfnWndProc = WindowProc;
  wc.hInstance = instance;
  wc.hCursor = LoadCursorW(NULL, (LPCWSTR)IDC_ARROW);
  wc.hbrBackground = (HBRUSH)(COLOR_WINDOW + 1);
  wc.lpszClassName = L"KivraBeispiel";
  RegisterClassW(&wc);
  HWND window = CreateWindowW(L"KivraBeispiel", KV_APP_TITLE, WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT, 360,
                              200, NULL, NULL, instance, NULL);
  ShowWindow(window, show);
  MSG msg;
  while (GetMessageW(&msg, NULL, 0, 0) > 0) {
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
  }
  return 0;
}
