#include "support/ScratchFolder.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/WinString.h"

namespace kv::test {

using win::Narrow;
using win::Widen;

namespace {

const char kBase[] = "C:\\kvtest";

std::string TestName() {
  std::string name = "test";
  if (const ::testing::TestInfo* info = ::testing::UnitTest::GetInstance()->current_test_info())
    name = std::string(info->test_suite_name()) + "." + info->name();
  for (char& c : name)
    if (c == '/' || c == '\\' || c == ':' || c == '*' || c == '?' || c == '"' || c == '<' || c == '>' || c == '|')
      c = '_';
  return name;
}

}  // namespace

ScratchFolder::ScratchFolder() {
  const std::string name = TestName();
  for (int n = 1; n < 10000; ++n) {
    CreateDirectoryW(Widen(kBase).c_str(), nullptr);
    const std::string candidate = std::string(kBase) + "\\" + name + "-" + std::to_string(n);
    if (CreateDirectoryW(Widen(candidate).c_str(), nullptr)) {
      path_ = candidate;
      return;
    }
    const DWORD error = GetLastError();
    if (error != ERROR_ALREADY_EXISTS && error != ERROR_PATH_NOT_FOUND)
      throw std::runtime_error("ScratchFolder: cannot create " + candidate);
  }
  throw std::runtime_error("ScratchFolder: no free name for " + name);
}

ScratchFolder::~ScratchFolder() {
  RemoveTree(path_);
  RemoveDirectoryW(Widen(kBase).c_str());  // only when no other test still uses it
}

std::string ScratchFolder::WriteFile(const std::string& name, const std::string& bytes) const {
  const std::string full = *this / name;
  HANDLE h = CreateFileW(Widen(full).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) throw std::runtime_error("ScratchFolder: cannot write " + full);
  DWORD written = 0;
  const BOOL ok = ::WriteFile(h, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
  CloseHandle(h);
  if (!ok || written != bytes.size()) throw std::runtime_error("ScratchFolder: short write " + full);
  return full;
}

std::string ScratchFolder::MakeFolder(const std::string& name) const {
  const std::string full = *this / name;
  for (size_t pos = path_.size() + 1; pos <= full.size(); ++pos)
    if (pos == full.size() || full[pos] == '\\') CreateDirectoryW(Widen(full.substr(0, pos)).c_str(), nullptr);
  return full;
}

std::string ReadFileBytes(const std::string& path) {
  HANDLE h = CreateFileW(Widen(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) return std::string();
  std::string bytes;
  char buffer[65536];
  DWORD got = 0;
  while (ReadFile(h, buffer, sizeof(buffer), &got, nullptr) && got > 0) bytes.append(buffer, got);
  CloseHandle(h);
  return bytes;
}

void RemoveTree(const std::string& path) {
  if (path.empty()) return;
  const std::wstring wide = Widen(path);
  WIN32_FIND_DATAW data;
  HANDLE find = FindFirstFileW((wide + L"\\*").c_str(), &data);
  if (find != INVALID_HANDLE_VALUE) {
    do {
      const std::wstring name = data.cFileName;
      if (name == L"." || name == L"..") continue;
      const std::wstring child = wide + L"\\" + name;
      SetFileAttributesW(child.c_str(), FILE_ATTRIBUTE_NORMAL);
      if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
        RemoveTree(Narrow(child));
      else
        DeleteFileW(child.c_str());
    } while (FindNextFileW(find, &data));
    FindClose(find);
  }
  SetFileAttributesW(wide.c_str(), FILE_ATTRIBUTE_NORMAL);
  RemoveDirectoryW(wide.c_str());
}

}  // namespace kv::test
