#pragma once
// Scratch folders and small files for the kvpack tests.
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

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
    std::error_code ec;  // never throw from here
    std::filesystem::remove_all(path_, ec);
  }
  std::string Sub(const std::string& relative) const { return os::FromPath(path_ / os::ToPath(relative)); }

 private:
  std::filesystem::path path_;
};

inline void WriteBytes(const std::string& path, const std::string& bytes) {
  auto p = os::ToPath(path);
  std::filesystem::create_directories(p.parent_path());
  std::ofstream(p, std::ios::binary) << bytes;
}

inline std::string ReadBytes(const std::string& path) {
  std::ifstream in(os::ToPath(path), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace kvpack::test
