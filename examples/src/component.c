/* A component library that registers itself: DllRegisterServer records the
   library's own path under HKEY_CURRENT_USER\Software\Kivra\Beispiele\Komponenten
   and DllUnregisterServer removes it again, so that an installation test can
   see the registration helper at work. */
#include <windows.h>
#include <wchar.h>

#include "appinfo.h"

static const wchar_t kKey[] = L"Software\\Kivra\\Beispiele\\Komponenten";
static HINSTANCE module;

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
  (void)reserved;
  if (reason == DLL_PROCESS_ATTACH) module = instance;
  return TRUE;
}

__declspec(dllexport) HRESULT __stdcall DllRegisterServer(void) {
  wchar_t self[MAX_PATH];
  GetModuleFileNameW(module, self, MAX_PATH);
  const wchar_t* data = KV_APP_VERSION;
  LSTATUS rc = RegSetKeyValueW(HKEY_CURRENT_USER, kKey, self, REG_SZ, data,
                               (DWORD)((wcslen(data) + 1) * sizeof(wchar_t)));
  return rc == ERROR_SUCCESS ? S_OK : E_FAIL;
}

__declspec(dllexport) HRESULT __stdcall DllUnregisterServer(void) {
  wchar_t self[MAX_PATH];
  GetModuleFileNameW(module, self, MAX_PATH);
  RegDeleteKeyValueW(HKEY_CURRENT_USER, kKey, self);
  return S_OK;
}

/* The version this build of the library carries, for programs that use it. */
__declspec(dllexport) const wchar_t* __stdcall KvVersion(void) { return KV_APP_VERSION; }
