#include "base/FileIo.h"

#include "base/VbError.h"

#include <new>
#include <utility>

#ifdef _WIN32
#include <windows.h>

#include <algorithm>

#include "base/Text.h"
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#endif

namespace kv::fileio {

std::string TemporaryNameFor(const std::string& path) { return path + ".kvtmp"; }

int32_t ReadWholeFile(const std::string& path, std::string& bytes) {
  bytes.clear();
  FileReader file;
  if (int32_t err = file.Open(path)) return err;
  if (file.Size() > 0x7FFFFFFF) return vberr::OutOfMemory;
  bytes.resize(static_cast<size_t>(file.Size()));
  size_t done = 0;
  for (;;) {
    if (done == bytes.size()) {
      if (file.Size() > 0) break;
      bytes.resize(bytes.size() + 65536);  // size unknown (pipe, /proc): read on
    }
    size_t got = 0;
    if (int32_t err = file.Read(bytes.data() + done, bytes.size() - done, got)) return err;
    if (got == 0) break;  // shrank while we read
    done += got;
  }
  bytes.resize(done);
  return 0;
}

int32_t ReplaceWholeFile(const std::string& path, std::string_view bytes) {
  bool given = false;
  return ReplaceFileInPieces(path, [&](std::string_view& piece) {
    piece = bytes;
    return !std::exchange(given, true);
  });
}

#ifdef _WIN32

namespace {

int32_t FromWin32(DWORD code) {
  switch (code) {
    case ERROR_FILE_NOT_FOUND:
      return vberr::FileNotFound;
    case ERROR_PATH_NOT_FOUND:
    case ERROR_BAD_NETPATH:
    case ERROR_INVALID_DRIVE:
      return vberr::PathNotFound;
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
      return vberr::PermissionDenied;
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_FILENAME_EXCED_RANGE:
      return vberr::BadFileName;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return vberr::DiskFull;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
      return vberr::OutOfMemory;
    default:
      return vberr::PathFileAccessError;
  }
}

struct Handle {
  HANDLE h;
  ~Handle() {
    if (h != INVALID_HANDLE_VALUE) CloseHandle(h);
  }
};

}  // namespace

FileReader::~FileReader() {
  if (handle_ != -1) CloseHandle(reinterpret_cast<HANDLE>(handle_));
}

int32_t FileReader::Open(const std::string& path) {
  if (path.empty()) return vberr::BadFileName;
  HANDLE h = CreateFileW(Utf8ToWide(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
  if (h == INVALID_HANDLE_VALUE) return FromWin32(GetLastError());
  handle_ = reinterpret_cast<intptr_t>(h);
  LARGE_INTEGER size;
  if (!GetFileSizeEx(h, &size)) return FromWin32(GetLastError());
  size_ = static_cast<uint64_t>(size.QuadPart);
  return 0;
}

int32_t FileReader::Read(char* buffer, size_t size, size_t& got) {
  DWORD n = 0;
  got = 0;
  if (!ReadFile(reinterpret_cast<HANDLE>(handle_), buffer, static_cast<DWORD>(std::min<size_t>(size, 1u << 30)), &n,
                nullptr))
    return FromWin32(GetLastError());
  got = n;
  return 0;
}

int32_t ReplaceFileInPieces(const std::string& path, const PieceSource& next) {
  if (path.empty()) return vberr::BadFileName;
  std::wstring target = Utf8ToWide(path);
  std::wstring temp = Utf8ToWide(TemporaryNameFor(path));
  int32_t result = 0;
  {
    Handle file{CreateFileW(temp.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)};
    if (file.h == INVALID_HANDLE_VALUE) return FromWin32(GetLastError());
    std::string_view bytes;
    try {
      while (result == 0 && next(bytes)) {
        for (size_t done = 0; done < bytes.size() && result == 0;) {
          DWORD chunk = static_cast<DWORD>(std::min<size_t>(bytes.size() - done, 1u << 24));
          DWORD written = 0;
          if (!WriteFile(file.h, bytes.data() + done, chunk, &written, nullptr))
            result = FromWin32(GetLastError());
          else
            done += written;
        }
      }
    } catch (const std::bad_alloc&) {
      result = vberr::OutOfMemory;  // the source ran out: the old file stays
    }
    if (result == 0 && !FlushFileBuffers(file.h)) result = FromWin32(GetLastError());
  }
  // Windows refuses to replace a read-only file; ours may have been marked
  // so by hand or by a restore from a backup, and it is still ours to write.
  if (result == 0) {
    const DWORD attributes = GetFileAttributesW(target.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY))
      SetFileAttributesW(target.c_str(), attributes & ~FILE_ATTRIBUTE_READONLY);
  }
  if (result == 0 && !MoveFileExW(temp.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
    result = FromWin32(GetLastError());
  if (result != 0) DeleteFileW(temp.c_str());
  return result;
}

#else

namespace {

// The product's paths are Windows paths; on the native build (tests, fuzzing,
// benchmarks) they name host files, so "\" is the host's "/".
std::string HostPath(const std::string& path) {
  std::string host = path;
  for (char& c : host)
    if (c == '\\') c = '/';
  return host;
}

int32_t FromErrno(int code) {
  switch (code) {
    case ENOENT:
      return vberr::FileNotFound;
    case ENOTDIR:
      return vberr::PathNotFound;
    case EACCES:
    case EPERM:
    case EROFS:
      return vberr::PermissionDenied;
    case ENAMETOOLONG:
      return vberr::BadFileName;
    case ENOSPC:
      return vberr::DiskFull;
    case ENOMEM:
      return vberr::OutOfMemory;
    default:
      return vberr::PathFileAccessError;
  }
}

struct Fd {
  int fd;
  ~Fd() {
    if (fd >= 0) close(fd);
  }
};

}  // namespace

FileReader::~FileReader() {
  if (handle_ != -1) close(static_cast<int>(handle_));
}

int32_t FileReader::Open(const std::string& path) {
  if (path.empty()) return vberr::BadFileName;
  Fd file{open(HostPath(path).c_str(), O_RDONLY | O_CLOEXEC)};
  if (file.fd < 0) return FromErrno(errno);
  struct stat st;
  if (fstat(file.fd, &st) != 0) return FromErrno(errno);
  if (S_ISDIR(st.st_mode)) return vberr::PathFileAccessError;
  handle_ = file.fd;
  file.fd = -1;
  size_ = st.st_size > 0 ? static_cast<uint64_t>(st.st_size) : 0;
  return 0;
}

int32_t FileReader::Read(char* buffer, size_t size, size_t& got) {
  got = 0;
  for (;;) {
    ssize_t n = read(static_cast<int>(handle_), buffer, size);
    if (n >= 0) {
      got = static_cast<size_t>(n);
      return 0;
    }
    if (errno != EINTR) return FromErrno(errno);
  }
}

int32_t ReplaceFileInPieces(const std::string& path, const PieceSource& next) {
  if (path.empty()) return vberr::BadFileName;
  std::string target = HostPath(path);
  std::string temp = HostPath(TemporaryNameFor(path));
  int32_t result = 0;
  {
    Fd file{open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)};
    if (file.fd < 0) return FromErrno(errno);
    std::string_view bytes;
    try {
      while (result == 0 && next(bytes)) {
        for (size_t done = 0; done < bytes.size() && result == 0;) {
          ssize_t written = write(file.fd, bytes.data() + done, bytes.size() - done);
          if (written < 0) {
            if (errno != EINTR) result = FromErrno(errno);
          } else {
            done += static_cast<size_t>(written);
          }
        }
      }
    } catch (const std::bad_alloc&) {
      result = vberr::OutOfMemory;  // the source ran out: the old file stays
    }
    if (result == 0 && fsync(file.fd) != 0 && errno != EINVAL) result = FromErrno(errno);
    if (close(file.fd) != 0 && result == 0) result = FromErrno(errno);
    file.fd = -1;
  }
  if (result == 0 && rename(temp.c_str(), target.c_str()) != 0) result = FromErrno(errno);
  if (result != 0) unlink(temp.c_str());
  return result;
}

#endif

}  // namespace kv::fileio
