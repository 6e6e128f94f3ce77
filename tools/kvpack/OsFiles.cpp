#include "OsFiles.h"

#include <cstdio>
#include <system_error>

#ifdef _WIN32
#include <windows.h>
#include <shellapi.h>
#else
#include <cerrno>
#include <unistd.h>
#endif

namespace kvpack::os {

#ifdef _WIN32

namespace {
std::string Narrow(const wchar_t* text, int length) {
  if (length == 0) return {};
  int size = WideCharToMultiByte(CP_UTF8, 0, text, length, nullptr, 0, nullptr, nullptr);
  std::string out(static_cast<size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, length, out.data(), size, nullptr, nullptr);
  return out;
}
std::wstring Widen(const std::string& text) {
  if (text.empty()) return {};
  int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::wstring out(static_cast<size_t>(size), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out.data(), size);
  return out;
}
}  // namespace

std::vector<std::string> Arguments(int argc, char** argv) {
  std::vector<std::string> out;
  int count = 0;
  LPWSTR* wide = CommandLineToArgvW(GetCommandLineW(), &count);
  if (wide == nullptr) {
    for (int i = 0; i < argc; ++i) out.emplace_back(argv[i]);
    return out;
  }
  for (int i = 0; i < count; ++i) out.push_back(Narrow(wide[i], static_cast<int>(wcslen(wide[i]))));
  LocalFree(wide);
  return out;
}

void InitConsole() { SetConsoleOutputCP(CP_UTF8); }

std::filesystem::path ToPath(const std::string& utf8) { return std::filesystem::path(Widen(utf8)); }

std::string FromPath(const std::filesystem::path& path) {
  const std::wstring& wide = path.native();
  return Narrow(wide.c_str(), static_cast<int>(wide.size()));
}

bool RenameFolder(const std::filesystem::path& from, const std::filesystem::path& to, std::string& error) {
  if (MoveFileExW(from.c_str(), to.c_str(), 0)) return true;
  error = std::system_category().message(static_cast<int>(GetLastError()));
  return false;
}

unsigned long ProcessId() { return GetCurrentProcessId(); }

std::filesystem::path ExecutablePath() {
  std::wstring buffer(32768, L'\0');
  DWORD n = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
  buffer.resize(n);
  return std::filesystem::path(buffer);
}

#else

std::vector<std::string> Arguments(int argc, char** argv) { return std::vector<std::string>(argv, argv + argc); }

void InitConsole() {}

std::filesystem::path ToPath(const std::string& utf8) { return std::filesystem::path(utf8); }

std::string FromPath(const std::filesystem::path& path) { return path.string(); }

bool RenameFolder(const std::filesystem::path& from, const std::filesystem::path& to, std::string& error) {
  // rename(2) would silently replace an empty target folder; the caller has
  // already moved any old medium aside, so an existing target is a race.
  std::error_code ec;
  if (std::filesystem::exists(to, ec)) {
    error = "target exists";
    return false;
  }
  if (std::rename(from.c_str(), to.c_str()) == 0) return true;
  error = std::system_category().message(errno);
  return false;
}

unsigned long ProcessId() { return static_cast<unsigned long>(getpid()); }

std::filesystem::path ExecutablePath() {
  std::error_code ec;
  auto p = std::filesystem::read_symlink("/proc/self/exe", ec);
  return ec ? std::filesystem::path() : p;
}

#endif

}  // namespace kvpack::os
