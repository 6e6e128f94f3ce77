#pragma once
// Scratch folders and small files for the kvpack tests.
#include <filesystem>
#include <fstream>
#include <string>

#include "OsFiles.h"

namespace kvpack::test {

class ScratchFolder {
 public:
  ScratchFolder() {
    static int counter = 0;
    path_ = std::filesystem::temp_directory_path() /
            ("kvpack-test-" + std::to_string(os::ProcessId()) + "-" + std::to_string(++counter));
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ~ScratchFolder() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  const std::filesystem::path& Path() const { return path_; }
  std::string Str() const { return os::FromPath(path_); }
  std::string Sub(const std::string& relative) const { return os::FromPath(path_ / os::ToPath(relative)); }

 private:
  std::filesystem::path path_;
};

// Writes `bytes` as they stand.
inline void WriteBytes(const std::string& path, const std::string& bytes) {
  auto p = os::ToPath(path);
  if (p.has_parent_path()) std::filesystem::create_directories(p.parent_path());
  std::ofstream(p, std::ios::binary) << bytes;
}

// Writes `text` with every "\n" turned into CR LF, as package files are saved.
inline void WriteCrLf(const std::string& path, const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '\n') out += "\r\n";
    else out += c;
  }
  WriteBytes(path, out);
}

inline std::string ReadBytes(const std::string& path) {
  std::ifstream in(os::ToPath(path), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace kvpack::test
