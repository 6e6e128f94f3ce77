#include "onefile/Format.h"

#include <cstring>
#include <set>

#include "base/Text.h"

namespace kv::onefile {
namespace {

void Put(std::string& out, uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out += char(uint8_t(value >> (8 * i)));
}

class Reader {
 public:
  explicit Reader(const std::string& bytes) : bytes_(bytes) {}
  bool Take(uint64_t& value, int bytes) {
    if (bytes_.size() - pos_ < size_t(bytes)) return false;
    value = 0;
    for (int i = 0; i < bytes; ++i) value |= uint64_t(uint8_t(bytes_[pos_ + i])) << (8 * i);
    pos_ += bytes;
    return true;
  }
  bool TakeBytes(void* into, size_t size) {
    if (bytes_.size() - pos_ < size) return false;
    std::memcpy(into, bytes_.data() + pos_, size);
    pos_ += size;
    return true;
  }
  bool AtEnd() const { return pos_ == bytes_.size(); }

 private:
  const std::string& bytes_;
  size_t pos_ = 0;
};

uint32_t Read32(const std::string& s, size_t at) {
  uint32_t v = 0;
  for (int i = 0; i < 4; ++i) v |= uint32_t(uint8_t(s[at + i])) << (8 * i);
  return v;
}

}  // namespace

std::string EncodeTrailer(const Trailer& t) {
  std::string out(kMagic, sizeof(kMagic));
  Put(out, t.payloadStart, 8);
  Put(out, t.tocStart, 8);
  Put(out, t.entryCount, 4);
  Put(out, 0, 4);
  out.append(reinterpret_cast<const char*>(t.fileSha256.data()), t.fileSha256.size());
  return out;
}

std::optional<Trailer> DecodeTrailer(const std::string& bytes, uint64_t fileSize) {
  if (bytes.size() != kTrailerSize || std::memcmp(bytes.data(), kMagic, sizeof(kMagic)) != 0) return {};
  Reader r(bytes);
  uint64_t skip, count, reserved;
  Trailer t;
  r.Take(skip, 8);
  r.Take(t.payloadStart, 8);
  r.Take(t.tocStart, 8);
  r.Take(count, 4);
  r.Take(reserved, 4);
  r.TakeBytes(t.fileSha256.data(), t.fileSha256.size());
  t.entryCount = uint32_t(count);
  if (fileSize < kTrailerSize || t.payloadStart > t.tocStart || t.tocStart > fileSize - kTrailerSize) return {};
  return t;
}

std::string EncodeToc(const std::vector<Entry>& entries) {
  std::string out;
  for (const Entry& e : entries) {
    Put(out, e.name.size(), 2);
    out += e.name;
    Put(out, uint8_t(e.method), 1);
    Put(out, e.offset, 8);
    Put(out, e.packedSize, 8);
    Put(out, e.size, 8);
    Put(out, e.fileTime, 8);
    out.append(reinterpret_cast<const char*>(e.sha256.data()), e.sha256.size());
  }
  return out;
}

std::optional<std::vector<Entry>> DecodeToc(const std::string& bytes, uint32_t entryCount, uint64_t payloadSize) {
  Reader r(bytes);
  std::vector<Entry> entries;
  std::set<std::string> seen;
  for (uint32_t i = 0; i < entryCount; ++i) {
    Entry e;
    uint64_t length, method;
    if (!r.Take(length, 2)) return {};
    e.name.resize(length);
    if (!r.TakeBytes(e.name.data(), length) || !r.Take(method, 1) || !r.Take(e.offset, 8) ||
        !r.Take(e.packedSize, 8) || !r.Take(e.size, 8) || !r.Take(e.fileTime, 8) || !r.TakeBytes(e.sha256.data(), e.sha256.size()))
      return {};
    if (method > uint8_t(Method::Deflate)) return {};
    e.method = Method(method);
    if (e.offset > payloadSize || e.packedSize > payloadSize - e.offset) return {};
    if (e.method == Method::Stored && e.packedSize != e.size) return {};
    if (!SafeEntryName(e.name) || !seen.insert(LowerCase(e.name)).second) return {};
    entries.push_back(std::move(e));
  }
  if (!r.AtEnd()) return {};
  return entries;
}

bool SafeEntryName(const std::string& name) {
  if (name.empty() || name.size() > 1024) return false;
  size_t start = 0;
  for (;;) {
    size_t end = name.find('\\', start);
    std::string part = name.substr(start, end == std::string::npos ? std::string::npos : end - start);
    if (part.empty() || part == "." || part == ".." || part.back() == ' ' || part.back() == '.') return false;
    for (unsigned char c : part)
      if (c < 32 || std::strchr("<>:\"/|?*", c)) return false;
    if (end == std::string::npos) return true;
    start = end + 1;
  }
}

std::optional<uint64_t> PeImageEnd(const std::string& head) {
  if (head.size() < 64 || head[0] != 'M' || head[1] != 'Z') return {};
  const size_t pe = Read32(head, 0x3c);
  if (pe > head.size() || head.size() - pe < 24 || head.compare(pe, 4, std::string("PE\0\0", 4)) != 0) return {};
  const size_t sections = uint8_t(head[pe + 6]) | uint8_t(head[pe + 7]) << 8;
  const size_t optionalSize = uint8_t(head[pe + 20]) | uint8_t(head[pe + 21]) << 8;
  const size_t table = pe + 24 + optionalSize;
  if (table > head.size() || (head.size() - table) / 40 < sections) return {};
  uint64_t end = 0;
  for (size_t i = 0; i < sections; ++i) {
    const size_t s = table + 40 * i;
    const uint64_t rawSize = Read32(head, s + 16), rawStart = Read32(head, s + 20);
    if (rawSize > 0) end = std::max(end, rawStart + rawSize);
  }
  return end;
}

}  // namespace kv::onefile
