#pragma once
// The two one-file forms of a medium: a setup.exe that carries the whole
// medium (onefile/Format.h), and a plain zip of the medium folder.
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace kvpack {

struct ArchiveFile {
  std::filesystem::path from;
  std::string name;  // medium-relative, "/" separated
};

struct ArchiveSize {
  uint64_t plain = 0;   // the medium's files
  uint64_t packed = 0;  // what they take in the archive
};

// Both write `out` completely or not at all (a temporary file beside it is
// renamed at the end). False with `error` filled on failure.
bool WriteSingleFile(const std::filesystem::path& stub, const std::vector<ArchiveFile>& files,
                     const std::filesystem::path& out, ArchiveSize& size, std::string& error);
bool WriteZip(const std::vector<ArchiveFile>& files, const std::filesystem::path& out, ArchiveSize& size,
              std::string& error);

}  // namespace kvpack
