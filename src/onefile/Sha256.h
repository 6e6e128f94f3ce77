#pragma once
// SHA-256, streaming. The one-file medium carries one digest per entry and
// one over the whole file; kvpack writes them, setup.exe checks them before
// it writes anything to disk.
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace kv::onefile {

using Digest = std::array<uint8_t, 32>;

class Sha256 {
 public:
  Sha256();
  void Update(const void* data, size_t size);
  Digest Finish();  // the object is spent afterwards

 private:
  void Block(const uint8_t* block);

  std::array<uint32_t, 8> state_;
  std::array<uint8_t, 64> buffer_{};
  size_t buffered_ = 0;
  uint64_t total_ = 0;
};

Digest Sha256Of(const void* data, size_t size);
std::string ToHex(const Digest& digest);

}  // namespace kv::onefile
