// Stands in for a running KVSetup.exe: stays alive until the test signals
// the named event given as its argument, then exits.
#include <windows.h>

int wmain(int argc, wchar_t** argv) {
  if (argc < 2) return 2;
  HANDLE event = OpenEventW(SYNCHRONIZE, FALSE, argv[1]);
  if (!event) return 3;
  WaitForSingleObject(event, 60000);
  CloseHandle(event);
  return 0;
}
