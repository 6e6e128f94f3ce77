#pragma once
// What the Windows benchmarks share: a clock, generated file contents and
// the removal of what they created.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace kvbench {

inline std::wstring Widen(const std::string& s) {
  std::wstring w(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, s.c_str(), -1, nullptr, 0)), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, s.c_str(), -1, w.data(), static_cast<int>(w.size()));
  w.pop_back();
  return w;
}

inline double Seconds() {
  static const double frequency = [] {
    LARGE_INTEGER f;
    QueryPerformanceFrequency(&f);
    return static_cast<double>(f.QuadPart);
  }();
  LARGE_INTEGER now;
  QueryPerformanceCounter(&now);
  return static_cast<double>(now.QuadPart) / frequency;
}

// `size` bytes that do not compress, different for every seed; the program
// ends when the file cannot be written.
inline void WriteBytes(const std::string& path, size_t size, unsigned seed) {
  std::string data(size, '\0');
  unsigned x = seed * 2654435761u + 1;
  for (char& c : data) {
    x = x * 1103515245u + 12345u;
    c = static_cast<char>(x >> 24);
  }
  HANDLE h = CreateFileW(Widen(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) {
    std::fprintf(stderr, "cannot create %s\n", path.c_str());
    std::exit(1);
  }
  DWORD written = 0;
  WriteFile(h, data.data(), static_cast<DWORD>(data.size()), &written, nullptr);
  CloseHandle(h);
}

inline void RemoveTree(const std::wstring& folder) {
  WIN32_FIND_DATAW d;
  HANDLE h = FindFirstFileW((folder + L"\\*").c_str(), &d);
  if (h != INVALID_HANDLE_VALUE) {
    do {
      const std::wstring n = d.cFileName;
      if (n == L"." || n == L"..") continue;
      const std::wstring child = folder + L"\\" + n;
      if (d.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
        RemoveTree(child);
      } else {
        SetFileAttributesW(child.c_str(), FILE_ATTRIBUTE_NORMAL);
        DeleteFileW(child.c_str());
      }
    } while (FindNextFileW(h, &d));
    FindClose(h);
  }
  RemoveDirectoryW(folder.c_str());
}
inline void RemoveTree(const std::string& folder) { RemoveTree(Widen(folder)); }

}  // namespace kvbench
