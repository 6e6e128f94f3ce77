#pragma once
// Whole-file reads and atomic replacement for the package files. Results are
// the classic error numbers (0 = success), because that is what the user
// sees when a package file cannot be read or written.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace kv::fileio {

// Reads the whole file at `path` into `bytes`.
int32_t ReadWholeFile(const std::string& path, std::string& bytes);

// Reads a file front to back in pieces, for readers that need not hold it
// whole. Errors are the same numbers ReadWholeFile gives.
class FileReader {
 public:
  FileReader() = default;
  ~FileReader();
  FileReader(const FileReader&) = delete;
  FileReader& operator=(const FileReader&) = delete;
  int32_t Open(const std::string& path);
  // The size when it was opened; 0 also when unknown (a pipe).
  uint64_t Size() const { return size_; }
  // Up to `size` bytes into `buffer`; `got` is 0 at the end of the file.
  int32_t Read(char* buffer, size_t size, size_t& got);

 private:
  intptr_t handle_ = -1;  // the system's handle or descriptor; -1 when closed
  uint64_t size_ = 0;
};

// Writes `bytes` to a temporary file beside `path` and renames it over
// `path`, so that a reader sees either the old or the new file, never a torn
// one. On failure the temporary file is removed and `path` is untouched.
int32_t ReplaceWholeFile(const std::string& path, std::string_view bytes);

// The same with the bytes handed over piece by piece: each call of `next`
// sets the next piece (valid until the following call) and returns false once
// there is none; a file never needs to stand in memory whole.
using PieceSource = std::function<bool(std::string_view& piece)>;
int32_t ReplaceFileInPieces(const std::string& path, const PieceSource& next);

// The temporary name ReplaceWholeFile writes first.
std::string TemporaryNameFor(const std::string& path);

}  // namespace kv::fileio
