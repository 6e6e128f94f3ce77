#include "install/FastCopy.h"

#include <cstring>
#include <vector>

namespace kv::modInstall {
namespace {

// The first bytes of a file packed by the system's compression tool; the
// version-aware copy expands such a source, a plain copy would not.
constexpr char kCompressedMagic[] = "SZDD\x88\xF0\x27\x33";
constexpr char kOlderCompressedMagic[] = "KWAJ\x88\xF0\x27\xD1";

bool IsCompressed(const char (&head)[8], DWORD got) {
  return got == 8 && (std::memcmp(head, kCompressedMagic, 8) == 0 || std::memcmp(head, kOlderCompressedMagic, 8) == 0);
}

// A name for the copy in progress, unique to this process and call. The
// system copy also works under a temporary name in the target folder; ours
// is gone again before we return, whatever happens.
std::wstring TemporaryPath(const std::wstring& folder) {
  static unsigned counter = 0;
  wchar_t name[40];
  swprintf(name, 40, L"~kv%lx%x.tmp", GetCurrentProcessId(), ++counter);
  std::wstring path = folder;
  if (path.empty() || path.back() != L'\\') path += L'\\';
  return path + name;
}

bool RenameNoReplace(HANDLE file, const std::wstring& target) {
  std::vector<unsigned char> buffer(sizeof(FILE_RENAME_INFO) + target.size() * sizeof(wchar_t));
  auto* info = reinterpret_cast<FILE_RENAME_INFO*>(buffer.data());
  info->ReplaceIfExists = FALSE;
  info->RootDirectory = nullptr;
  info->FileNameLength = static_cast<DWORD>(target.size() * sizeof(wchar_t));
  std::memcpy(info->FileName, target.c_str(), (target.size() + 1) * sizeof(wchar_t));
  return SetFileInformationByHandle(file, FileRenameInfo, info, static_cast<DWORD>(buffer.size())) != 0;
}

void DeleteQuietly(const std::wstring& path) {
  SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  DeleteFileW(path.c_str());
}

}  // namespace

bool CopyNewFile(const std::wstring& sourcePath, const std::wstring& folder, const std::wstring& name,
                 const FILETIME& creationTime) {
  // One system copy: large files move at the disk's pace, and the copy keeps
  // the source's last-write time as the version-aware copy does.
  std::wstring temporary;
  bool copied = false;
  for (unsigned attempt = 0; attempt < 4 && !copied; ++attempt) {
    temporary = TemporaryPath(folder);
    copied = CopyFileW(sourcePath.c_str(), temporary.c_str(), TRUE) != 0;
    if (!copied && GetLastError() != ERROR_FILE_EXISTS) return false;
  }
  if (!copied) return false;

  // One handle for all that follows: the look at the first bytes, the
  // attributes and creation time, and the rename.
  HANDLE file = CreateFileW(temporary.c_str(), GENERIC_READ | DELETE | FILE_WRITE_ATTRIBUTES, 0, nullptr,
                            OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    DeleteQuietly(temporary);
    return false;
  }
  char head[8] = {};
  DWORD got = 0;
  const bool readable = ReadFile(file, head, sizeof(head), &got, nullptr) != 0;

  // The copy took the source's attributes (read-only from a medium); the
  // installed file is left with none.
  FILE_BASIC_INFO basic = {};
  basic.CreationTime.LowPart = creationTime.dwLowDateTime;
  basic.CreationTime.HighPart = static_cast<LONG>(creationTime.dwHighDateTime);
  basic.FileAttributes = FILE_ATTRIBUTE_NORMAL;
  const bool stamped = SetFileInformationByHandle(file, FileBasicInfo, &basic, sizeof(basic)) != 0;

  std::wstring target = folder;
  if (target.empty() || target.back() != L'\\') target += L'\\';
  target += name;
  // Never replaces: a file that appeared meanwhile makes this fail and the
  // system copy decide about it.
  const bool done = readable && stamped && !IsCompressed(head, got) && RenameNoReplace(file, target);
  CloseHandle(file);
  if (!done) DeleteQuietly(temporary);
  return done;
}

}  // namespace kv::modInstall
