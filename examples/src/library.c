/* A plain versioned library shared by several example packages; it only
   tells its version. */
#include <windows.h>

#include "appinfo.h"

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
  (void)instance;
  (void)reason;
  (void)reserved;
  return TRUE;
}

__declspec(dllexport) const wchar_t* __stdcall KvVersion(void) { return KV_APP_VERSION; }
