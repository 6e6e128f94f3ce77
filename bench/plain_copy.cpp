// The baseline of the unattended benchmark: copies a folder tree with
// CopyFileW and nothing else, as a process of its own like setup.exe.
//   plain_copy <from folder> <to folder>     exit 0, or 1 at the first failure
#include <windows.h>

#include <cstdio>
#include <string>

namespace {

bool CopyTree(const std::wstring& from, const std::wstring& to) {
  CreateDirectoryW(to.c_str(), nullptr);
  WIN32_FIND_DATAW d;
  HANDLE h = FindFirstFileW((from + L"\\*").c_str(), &d);
  if (h == INVALID_HANDLE_VALUE) return false;
  bool ok = true;
  do {
    const std::wstring name = d.cFileName;
    if (name == L"." || name == L"..") continue;
    if (d.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
      ok = CopyTree(from + L"\\" + name, to + L"\\" + name);
    else
      ok = CopyFileW((from + L"\\" + name).c_str(), (to + L"\\" + name).c_str(), FALSE) != 0;
  } while (ok && FindNextFileW(h, &d));
  FindClose(h);
  return ok;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: plain_copy <from folder> <to folder>\n");
    return 1;
  }
  return CopyTree(argv[1], argv[2]) ? 0 : 1;
}
