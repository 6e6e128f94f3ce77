#include "ZipListing.h"

#include <algorithm>
#include <cstdint>
#include <fstream>

#include "OsFiles.h"

namespace kvpack {

namespace {

uint32_t Le(const std::string& b, size_t at, int bytes) {
  uint32_t v = 0;
  for (int i = bytes - 1; i >= 0; --i) v = v << 8 | static_cast<unsigned char>(b[at + i]);
  return v;
}

}  // namespace

std::optional<std::vector<std::string>> ZipEntryNames(const std::string& path) {
  std::ifstream in(os::ToPath(path), std::ios::binary | std::ios::ate);
  if (!in) return {};
  const std::streamoff size = in.tellg();
  // The end record is the last 22 bytes plus a comment of at most 64 KiB.
  const std::streamoff tailSize = std::min<std::streamoff>(size, 22 + 65535);
  std::string tail(static_cast<size_t>(tailSize), '\0');
  in.seekg(size - tailSize);
  if (!in.read(tail.data(), tailSize)) return {};
  size_t end = std::string::npos;
  for (size_t i = tail.size() >= 22 ? tail.size() - 22 + 1 : 0; i-- > 0;)
    if (Le(tail, i, 4) == 0x06054b50) {
      end = i;
      break;
    }
  if (end == std::string::npos) return {};
  const uint32_t count = Le(tail, end + 10, 2), dirSize = Le(tail, end + 12, 4), dirOffset = Le(tail, end + 16, 4);
  if (static_cast<std::streamoff>(dirOffset) + dirSize > size) return {};
  std::string dir(dirSize, '\0');
  in.seekg(dirOffset);
  if (!in.read(dir.data(), dirSize)) return {};
  std::vector<std::string> names;
  size_t at = 0;
  for (uint32_t i = 0; i < count; ++i) {
    if (at + 46 > dir.size() || Le(dir, at, 4) != 0x02014b50) return {};
    const size_t nameLength = Le(dir, at + 28, 2), extra = Le(dir, at + 30, 2), comment = Le(dir, at + 32, 2);
    if (at + 46 + nameLength > dir.size()) return {};
    names.push_back(dir.substr(at + 46, nameLength));
    at += 46 + nameLength + extra + comment;
  }
  return names;
}

}  // namespace kvpack
