/* A component library for the registration role: DllRegisterServer leaves a
   marker file beside the library, DllUnregisterServer removes it. With the
   environment variable KV_REGTARGET_FAIL set, both report failure. */
#include <windows.h>

static HMODULE self;

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
  (void)reserved;
  if (reason == DLL_PROCESS_ATTACH) self = instance;
  return TRUE;
}

static void MarkerPath(wchar_t* path, DWORD size) {
  DWORD n = GetModuleFileNameW(self, path, size - 16);
  lstrcpyW(path + n, L".registered");
}

static int ShouldFail(void) { return GetEnvironmentVariableW(L"KV_REGTARGET_FAIL", NULL, 0) > 0; }

__declspec(dllexport) HRESULT __stdcall DllRegisterServer(void) {
  wchar_t path[1024];
  HANDLE h;
  if (ShouldFail()) return E_FAIL;
  MarkerPath(path, 1024);
  h = CreateFileW(path, GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, NULL);
  if (h == INVALID_HANDLE_VALUE) return E_FAIL;
  CloseHandle(h);
  return S_OK;
}

__declspec(dllexport) HRESULT __stdcall DllUnregisterServer(void) {
  wchar_t path[1024];
  if (ShouldFail()) return E_FAIL;
  MarkerPath(path, 1024);
  DeleteFileW(path);
  return S_OK;
}
