#include "support/ScratchFolder.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "platform/WinString.h"

namespace kv::test {

using win::Widen;

namespace {
const char kBase[] = "C:\\kvtest";
}  // namespace

ScratchFolder::ScratchFolder() {
  std::string name = "test";
  if (const ::testing::TestInfo* info = ::testing::UnitTest::GetInstance()->current_test_info())
    name = std::string(info->test_suite_name()) + "." + info->name();
  for (char& c : name)
    if (std::string("/\\:*?\"<>|").find(c) != std::string::npos) c = '_';
  for (int n = 1; n < 10000; ++n) {
    CreateDirectoryW(Widen(kBase).c_str(), nullptr);  // again each time: another test may have removed it
    const std::string candidate = std::string(kBase) + "\\" + name + "-" + std::to_string(n);
    if (CreateDirectoryW(Widen(candidate).c_str(), nullptr)) {
      path_ = candidate;
      return;
    }
    if (GetLastError() != ERROR_ALREADY_EXISTS && GetLastError() != ERROR_PATH_NOT_FOUND)
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
  std::ofstream out(std::filesystem::path(Widen(full)), std::ios::binary);
  if (!out.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush())
    throw std::runtime_error("ScratchFolder: cannot write " + full);
  return full;
}

std::string ScratchFolder::MakeFolder(const std::string& name) const {
  const std::string full = *this / name;
  for (size_t pos = path_.size() + 1; pos <= full.size(); ++pos)
    if (pos == full.size() || full[pos] == '\\') CreateDirectoryW(Widen(full.substr(0, pos)).c_str(), nullptr);
  return full;
}

std::string ReadFileBytes(const std::string& path) {
  std::ifstream in(std::filesystem::path(Widen(path)), std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

void RemoveTree(const std::string& path) {
  if (path.empty()) return;
  const std::wstring wide = Widen(path);
  WIN32_FIND_DATAW data;
  HANDLE find = FindFirstFileW((wide + L"\\*").c_str(), &data);
  if (find != INVALID_HANDLE_VALUE) {
    do {
      const std::wstring name = data.cFileName, child = wide + L"\\" + name;
      if (name == L"." || name == L"..") continue;
      SetFileAttributesW(child.c_str(), FILE_ATTRIBUTE_NORMAL);
      if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
        RemoveTree(win::Narrow(child));
      else
        DeleteFileW(child.c_str());
    } while (FindNextFileW(find, &data));
    FindClose(find);
  }
  SetFileAttributesW(wide.c_str(), FILE_ATTRIBUTE_NORMAL);
  RemoveDirectoryW(wide.c_str());
}

}  // namespace kv::test
