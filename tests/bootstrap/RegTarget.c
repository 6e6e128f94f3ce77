/* A component library for the registration role: DllRegisterServer leaves a
   marker file beside the library, DllUnregisterServer removes it; with
   KV_REGTARGET_FAIL set in the environment both fail. */
#include <windows.h>

static HMODULE self;

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
  (void)reserved;
  if (reason == DLL_PROCESS_ATTACH) self = instance;
  return TRUE;
}

static int Marker(wchar_t* path) {
  DWORD n = GetModuleFileNameW(self, path, 1000);
  lstrcpyW(path + n, L".registered");
  return GetEnvironmentVariableW(L"KV_REGTARGET_FAIL", NULL, 0) == 0;
}

__declspec(dllexport) HRESULT __stdcall DllRegisterServer(void) {
  wchar_t path[1024];
  HANDLE h;
  if (!Marker(path)) return E_FAIL;
  h = CreateFileW(path, GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, NULL);
  if (h == INVALID_HANDLE_VALUE) return E_FAIL;
  CloseHandle(h);
  return S_OK;
}

__declspec(dllexport) HRESULT __stdcall DllUnregisterServer(void) {
  wchar_t path[1024];
  if (!Marker(path)) return E_FAIL;
  DeleteFileW(path);
  return S_OK;
}
