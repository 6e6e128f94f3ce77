/* The template the version fixtures copy: a DLL without version resource. */
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
  (void)instance, (void)reason, (void)reserved;
  return TRUE;
}
