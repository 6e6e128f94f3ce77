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

// A name for the copy in progress, unique to this process and call. The
// system copy also works under a temporary name in the target folder; ours
// is gone again before we return, whatever happens.
std::wstring TemporaryPath(const std::wstring& folder) {
  static unsigned counter = 0;
  wchar_t name[40];
  swprintf(name, 40, L"~kv%lx%x.tmp", GetCurrentProcessId(), ++counter);
  return folder + name;
}

// The copy under a temporary name: created new (never over something), with
// delete and attribute rights so that one handle finishes the job.
HANDLE CreateTemporary(const std::wstring& folder, std::wstring& path) {
  for (int attempt = 0; attempt < 4; ++attempt) {
    path = TemporaryPath(folder);
    HANDLE h = CreateFileW(path.c_str(), GENERIC_WRITE | DELETE | FILE_WRITE_ATTRIBUTES, 0, nullptr, CREATE_NEW,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h != INVALID_HANDLE_VALUE || GetLastError() != ERROR_FILE_EXISTS) return h;
  }
  return INVALID_HANDLE_VALUE;
}

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

// Ends with the temporary copy renamed to `target`, or deleted.
bool Finish(HANDLE file, const std::wstring& target, bool good) {
  if (good && RenameNoReplace(file, target)) return true;
  FILE_DISPOSITION_INFO dispose = {TRUE};
  SetFileInformationByHandle(file, FileDispositionInfo, &dispose, sizeof(dispose));
  return false;
}

bool CopyLargeFile(const std::wstring& sourcePath, const std::wstring& folder, const std::wstring& target,
                   const FILETIME& creationTime) {
  std::wstring temporary;
  bool copied = false;
  for (int attempt = 0; attempt < 4 && !copied; ++attempt) {
    temporary = TemporaryPath(folder);
    copied = CopyFileW(sourcePath.c_str(), temporary.c_str(), TRUE) != 0;
    if (!copied && GetLastError() != ERROR_FILE_EXISTS) return false;
  }
  if (!copied) return false;
  Handle file(CreateFileW(temporary.c_str(), GENERIC_READ | DELETE | FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING,
                          0, nullptr));
  if (!file.ok()) {
    SetFileAttributesW(temporary.c_str(), FILE_ATTRIBUTE_NORMAL);
    DeleteFileW(temporary.c_str());
    return false;
  }
  char head[8] = {};
  DWORD got = 0;
  const bool readable = ReadFile(file.get(), head, sizeof(head), &got, nullptr) != 0;
  // Attributes first: the copy took the source's (read-only from a medium),
  // and a read-only file could not be deleted through the handle.
  const bool stamped = SetTimesAndAttributes(file.get(), creationTime, nullptr);
  if (Finish(file.get(), target, readable && stamped && !IsCompressed(head, got))) return true;
  if (!stamped) {  // still read-only: the handle could not delete it
    CloseHandle(file.release());
    SetFileAttributesW(temporary.c_str(), FILE_ATTRIBUTE_NORMAL);
    DeleteFileW(temporary.c_str());
  }
  return false;
}

}  // namespace

bool CopyNewFile(const std::wstring& sourcePath, const std::wstring& folder, const std::wstring& name,
                 const FILETIME& creationTime) {
  std::wstring base = folder;
  if (base.empty() || base.back() != L'\\') base += L'\\';
  const std::wstring target = base + name;

  Handle source(CreateFileW(sourcePath.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  BY_HANDLE_FILE_INFORMATION info;
  if (!source.ok() || !GetFileInformationByHandle(source.get(), &info)) return false;
  const ULONGLONG size = (ULONGLONG{info.nFileSizeHigh} << 32) | info.nFileSizeLow;
  if (size > kWholeFileLimit) return CopyLargeFile(sourcePath, base, target, creationTime);

  std::string bytes(static_cast<size_t>(size), '\0');
  DWORD got = 0;
  if (size > 0 && (!ReadFile(source.get(), bytes.data(), static_cast<DWORD>(size), &got, nullptr) || got != size))
    return false;
  if (IsCompressed(bytes.data(), bytes.size())) return false;

  std::wstring temporary;
  Handle file(CreateTemporary(base, temporary));
  if (!file.ok()) return false;
  DWORD written = 0;
  const bool good = (size == 0 || (WriteFile(file.get(), bytes.data(), static_cast<DWORD>(size), &written, nullptr) &&
                                   written == size)) &&
                    SetTimesAndAttributes(file.get(), creationTime, &info.ftLastWriteTime);
  return Finish(file.get(), target, good);
}

}  // namespace kv::modInstall
