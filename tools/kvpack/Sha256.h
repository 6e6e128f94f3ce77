#pragma once
// SHA-256 of a byte stream, for the hash that package managers check a
// downloaded installer against.
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kvpack {

class Sha256 {
 public:
  Sha256();
  void Update(std::string_view bytes);
  // The digest as 64 upper-case hex digits; the object is spent afterwards.
  std::string HexDigest();

 private:
  void Block(const unsigned char* p);
  std::array<uint32_t, 8> h_;
  unsigned char buffer_[64];
  size_t used_ = 0;
  uint64_t length_ = 0;  // bytes so far
};

// The hex digest of a whole file; empty when it cannot be read.
std::optional<std::string> Sha256OfFile(const std::string& path);

}  // namespace kvpack
