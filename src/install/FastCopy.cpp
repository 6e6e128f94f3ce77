#include "install/FastCopy.h"

#include <cstring>
#include <string>
#include <vector>

namespace kv::modInstall {
namespace {

// Files up to this size are read and written in one piece through our own
// handles (one handle on the copy does all that follows); larger ones go
// through one system copy, which moves them at the disk's pace.
constexpr ULONGLONG kWholeFileLimit = 1024 * 1024;

// The first bytes of a file packed by the system's compression tool; the
// version-aware copy expands such a source, a plain copy would not.
constexpr char kCompressedMagic[] = "SZDD\x88\xF0\x27\x33";
constexpr char kOlderCompressedMagic[] = "KWAJ\x88\xF0\x27\xD1";

bool IsCompressed(const char* head, size_t size) {
  return size >= 8 && (std::memcmp(head, kCompressedMagic, 8) == 0 || std::memcmp(head, kOlderCompressedMagic, 8) == 0);
}

class Handle {
 public:
  explicit Handle(HANDLE h) : h_(h) {}
  ~Handle() {
    if (ok()) CloseHandle(h_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  bool ok() const { return h_ != INVALID_HANDLE_VALUE; }
  HANDLE get() const { return h_; }
  HANDLE release() {
    HANDLE h = h_;
    h_ = INVALID_HANDLE_VALUE;
    return h;
  }

 private:
  HANDLE h_;
};

// Creation time, last-write time and no attributes in one call: the
// version-aware copy leaves the source's last-write time, the installation
// then clears the attributes and stamps the creation time.
bool SetTimesAndAttributes(HANDLE file, const FILETIME& creation, const FILETIME* lastWrite) {
  FILE_BASIC_INFO basic = {};  // zero: left as it is
  basic.CreationTime.LowPart = creation.dwLowDateTime;
  basic.CreationTime.HighPart = static_cast<LONG>(creation.dwHighDateTime);
  if (lastWrite) {
    basic.LastWriteTime.LowPart = lastWrite->dwLowDateTime;
    basic.LastWriteTime.HighPart = static_cast<LONG>(lastWrite->dwHighDateTime);
  }
  basic.FileAttributes = FILE_ATTRIBUTE_NORMAL;
  return SetFileInformationByHandle(file, FileBasicInfo, &basic, sizeof(basic)) != 0;
}

// Whether a failed create found something at the name.
NewFileCopy AfterFailedCreate(DWORD error) {
  return error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS ? NewFileCopy::Occupied : NewFileCopy::Failed;
}

// Removes a file of ours that could not be finished, through its handle.
bool DeleteThrough(HANDLE file) {
  FILE_DISPOSITION_INFO dispose = {TRUE};
  return SetFileInformationByHandle(file, FileDispositionInfo, &dispose, sizeof(dispose)) != 0;
}

// Removes a file of ours by name, write protection and all.
void DeleteByName(const std::wstring& path) {
  SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  DeleteFileW(path.c_str());
}

// A name for a large copy in progress, unique to this process and call.
std::wstring TemporaryPath(const std::wstring& folder) {
  static unsigned counter = 0;
  wchar_t name[40];
  swprintf(name, 40, L"~kv%lx%x.tmp", GetCurrentProcessId(), ++counter);
  return folder + name;
}

// Never replaces: a file that appeared meanwhile makes this fail and the
// system copy decide about it.
bool RenameNoReplace(HANDLE file, const std::wstring& target) {
  std::vector<unsigned char> buffer(sizeof(FILE_RENAME_INFO) + target.size() * sizeof(wchar_t));
  auto* info = reinterpret_cast<FILE_RENAME_INFO*>(buffer.data());
  info->ReplaceIfExists = FALSE;
  info->RootDirectory = nullptr;
  info->FileNameLength = static_cast<DWORD>(target.size() * sizeof(wchar_t));
  std::memcpy(info->FileName, target.c_str(), (target.size() + 1) * sizeof(wchar_t));
  return SetFileInformationByHandle(file, FileRenameInfo, info, static_cast<DWORD>(buffer.size())) != 0;
}

// One system copy under a temporary name, stamped through one handle and
// renamed without replacing. Not created empty at the name and copied over:
// under wine on this file system, overwriting the empty file made the next
// durable status write wait for the copied bytes to reach the disk (large
// files went from 1.3 to 3 times a plain copy). A few look-ups more do not
// matter for a few large files. Both names are announced before the copy.
NewFileCopy CopyLargeFile(const std::wstring& sourcePath, const std::wstring& folder, const std::wstring& target,
                          const FILETIME& creationTime, const Announce& announce) {
  if (GetFileAttributesW(target.c_str()) != INVALID_FILE_ATTRIBUTES) return NewFileCopy::Occupied;
  const std::wstring temporary = TemporaryPath(folder);
  announce(temporary);
  announce(target);
  if (!CopyFileW(sourcePath.c_str(), temporary.c_str(), TRUE)) {
    if (GetLastError() != ERROR_FILE_EXISTS) DeleteByName(temporary);  // a partial copy of ours
    return NewFileCopy::Failed;
  }
  {
    Handle file(CreateFileW(temporary.c_str(), DELETE | FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    // Attributes first: the copy took the source's (read-only from a
    // medium), and a read-only file could not be renamed or deleted.
    if (file.ok() && SetTimesAndAttributes(file.get(), creationTime, nullptr)) {
      if (RenameNoReplace(file.get(), target)) return NewFileCopy::Copied;
      const bool occupied = GetLastError() == ERROR_ALREADY_EXISTS || GetLastError() == ERROR_FILE_EXISTS;
      if (DeleteThrough(file.get())) return occupied ? NewFileCopy::Occupied : NewFileCopy::Failed;
    }
  }
  DeleteByName(temporary);
  return NewFileCopy::Failed;
}

}  // namespace

NewFileCopy CopyNewFile(const std::wstring& sourcePath, const std::wstring& folder, const std::wstring& name,
                        const FILETIME& creationTime, const Announce& announce) {
  std::wstring base = folder;
  if (base.empty() || base.back() != L'\\') base += L'\\';
  const std::wstring target = base + name;

  Handle source(CreateFileW(sourcePath.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  // Size and last-write time each by their own small query: the one query
  // for all of a file's information (its name included) measured under wine
  // at more than the whole copy of a small file.
  LARGE_INTEGER length;
  FILETIME lastWrite;
  if (!source.ok() || !GetFileSizeEx(source.get(), &length) || !GetFileTime(source.get(), nullptr, nullptr, &lastWrite))
    return NewFileCopy::Failed;
  const ULONGLONG size = static_cast<ULONGLONG>(length.QuadPart);
  // A small file is read whole; of a large one the head tells whether it is
  // compressed.
  const DWORD firstRead = static_cast<DWORD>(size > kWholeFileLimit ? 8 : size);
  std::string bytes(firstRead, '\0');
  DWORD got = 0;
  if (firstRead > 0 && (!ReadFile(source.get(), bytes.data(), firstRead, &got, nullptr) || got != firstRead))
    return NewFileCopy::Failed;
  if (IsCompressed(bytes.data(), bytes.size())) return NewFileCopy::Failed;
  if (size > kWholeFileLimit) {
    CloseHandle(source.release());
    return CopyLargeFile(sourcePath, base, target, creationTime, announce);
  }

  // One handle, with delete and attribute rights, does all that follows.
  Handle file(CreateFileW(target.c_str(), GENERIC_WRITE | DELETE | FILE_WRITE_ATTRIBUTES, 0, nullptr, CREATE_NEW,
                          FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file.ok()) return AfterFailedCreate(GetLastError());
  announce(target);
  DWORD written = 0;
  if ((size == 0 || (WriteFile(file.get(), bytes.data(), firstRead, &written, nullptr) && written == size)) &&
      SetTimesAndAttributes(file.get(), creationTime, &lastWrite))
    return NewFileCopy::Copied;
  DeleteThrough(file.get());
  return NewFileCopy::Failed;
}

}  // namespace kv::modInstall
