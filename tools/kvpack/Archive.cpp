#include "Archive.h"

#include <zlib.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <sstream>

#include "OsFiles.h"
#include "onefile/Format.h"

namespace kvpack {

namespace fs = std::filesystem;

namespace {

// Level 9 packs our media a few per cent smaller than the default for a
// build that takes a moment longer; unpacking is as fast either way.
constexpr int kLevel = 9;

bool ReadAll(const fs::path& path, std::string& data, std::string& error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    error = "cannot read " + os::FromPath(path);
    return false;
  }
  data.assign(std::istreambuf_iterator<char>(in), {});
  return true;
}

// Raw deflate of `data`; empty when it would not be smaller.
std::string Deflate(const std::string& data) {
  z_stream z{};
  if (data.empty() || deflateInit2(&z, kLevel, Z_DEFLATED, -MAX_WBITS, 9, Z_DEFAULT_STRATEGY) != Z_OK) return {};
  std::string out(deflateBound(&z, uLong(data.size())), '\0');
  z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
  z.avail_in = uInt(data.size());
  z.next_out = reinterpret_cast<Bytef*>(out.data());
  z.avail_out = uInt(out.size());
  int rc = deflate(&z, Z_FINISH);
  out.resize(z.total_out);
  deflateEnd(&z);
  if (rc != Z_STREAM_END || out.size() >= data.size()) return {};
  return out;
}

// The last write time as a Windows file time (100 ns since 1601).
uint64_t FileTimeOf(const fs::path& path) {
  std::error_code ec;
  auto t = fs::last_write_time(path, ec);
  if (ec) return 0;
  auto since1970 = std::chrono::duration_cast<std::chrono::microseconds>(
      std::chrono::file_clock::to_sys(t).time_since_epoch()).count();
  return uint64_t(since1970) * 10 + 116444736000000000ull;
}

std::string WindowsName(std::string name) {
  for (char& c : name)
    if (c == '/') c = '\\';
  return name;
}

void Put(std::ostream& out, uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.put(char(uint8_t(value >> (8 * i))));
}

// Writes through a temporary file beside `out`, renamed over it at the end.
class Output {
 public:
  explicit Output(const fs::path& out)
      : out_(out), temp_(out.parent_path() / os::ToPath("." + os::FromPath(out.filename()) + ".kvpack-" +
                                                         std::to_string(os::ProcessId()))) {
    stream_.open(temp_, std::ios::binary | std::ios::trunc);
  }
  ~Output() {
    if (!done_) {
      stream_.close();
      std::error_code ec;
      fs::remove(temp_, ec);
    }
  }
  std::ofstream& Stream() { return stream_; }
  bool Commit(std::string& error) {
    stream_.close();
    if (!stream_) {
      error = "cannot write " + os::FromPath(temp_);
      return false;
    }
    std::error_code ec;
    fs::rename(temp_, out_, ec);
    if (ec) {
      error = "cannot rename the new file to " + os::FromPath(out_) + ": " + ec.message();
      return false;
    }
    done_ = true;
    return true;
  }

 private:
  fs::path out_, temp_;
  std::ofstream stream_;
  bool done_ = false;
};

}  // namespace

bool WriteSingleFile(const fs::path& stub, const std::vector<ArchiveFile>& files, const fs::path& out,
                     ArchiveSize& size, std::string& error) {
  std::string program;
  if (!ReadAll(stub, program, error)) return false;
  auto imageEnd = kv::onefile::PeImageEnd(program.substr(0, 4096));
  if (!imageEnd || *imageEnd != program.size()) {
    error = os::FromPath(stub) + " is no plain setup.exe (a one-file medium cannot carry another)";
    return false;
  }
  Output output(out);
  std::ofstream& s = output.Stream();
  if (!s) {
    error = "cannot create a file beside " + os::FromPath(out);
    return false;
  }
  // The file's digest covers every byte before it.
  kv::onefile::Sha256 hash;
  auto emit = [&](const std::string& bytes) {
    s.write(bytes.data(), std::streamsize(bytes.size()));
    hash.Update(bytes.data(), bytes.size());
  };
  kv::onefile::Trailer trailer;
  trailer.payloadStart = program.size();
  emit(program);
  std::vector<kv::onefile::Entry> entries;
  uint64_t offset = 0;
  for (const ArchiveFile& file : files) {
    std::string data;
    if (!ReadAll(file.from, data, error)) return false;
    kv::onefile::Entry e;
    e.name = WindowsName(file.name);
    e.size = data.size();
    e.fileTime = FileTimeOf(file.from);
    e.sha256 = kv::onefile::Sha256Of(data.data(), data.size());
    e.offset = offset;
    std::string packed = Deflate(data);
    e.method = packed.empty() ? kv::onefile::Method::Stored : kv::onefile::Method::Deflate;
    emit(packed.empty() ? data : packed);
    e.packedSize = packed.empty() ? data.size() : packed.size();
    offset += e.packedSize;
    size.plain += data.size();
    size.packed += e.packedSize;
    entries.push_back(std::move(e));
  }
  trailer.tocStart = trailer.payloadStart + offset;
  trailer.entryCount = uint32_t(entries.size());
  emit(kv::onefile::EncodeToc(entries));
  std::string tail = kv::onefile::EncodeTrailer(trailer);
  emit(tail.substr(0, tail.size() - 32));
  trailer.fileSha256 = hash.Finish();
  s.write(reinterpret_cast<const char*>(trailer.fileSha256.data()), std::streamsize(trailer.fileSha256.size()));
  return output.Commit(error);
}

bool WriteZip(const std::vector<ArchiveFile>& files, const fs::path& out, ArchiveSize& size, std::string& error) {
  if (files.size() > 0xffff) {
    error = "a zip holds at most 65535 files";
    return false;
  }
  Output output(out);
  std::ofstream& s = output.Stream();
  if (!s) {
    error = "cannot create a file beside " + os::FromPath(out);
    return false;
  }
  std::ostringstream central;
  uint64_t offset = 0;
  for (const ArchiveFile& file : files) {
    std::string data;
    if (!ReadAll(file.from, data, error)) return false;
    std::string packed = Deflate(data);
    const bool deflated = !packed.empty();
    const std::string& body = deflated ? packed : data;
    if (offset + body.size() > 0xffffffffull) {
      error = "the medium is too large for a zip without 64-bit extensions";
      return false;
    }
    const uint32_t crc = uint32_t(crc32(0, reinterpret_cast<const Bytef*>(data.data()), uInt(data.size())));
    // DOS date and time of the file, local time of the build.
    uint16_t dosTime = 0, dosDate = 0x21;  // 1980-01-01
    if (uint64_t ft = FileTimeOf(file.from)) {
      std::time_t t = std::time_t((ft - 116444736000000000ull) / 10000000);
      if (std::tm* tm = std::localtime(&t); tm && tm->tm_year >= 80) {
        dosTime = uint16_t(tm->tm_hour << 11 | tm->tm_min << 5 | tm->tm_sec / 2);
        dosDate = uint16_t((tm->tm_year - 80) << 9 | (tm->tm_mon + 1) << 5 | tm->tm_mday);
      }
    }
    auto common = [&](std::ostream& o) {
      Put(o, 20, 2);      // version needed: deflate
      Put(o, 0x0800, 2);  // names in UTF-8
      Put(o, deflated ? 8 : 0, 2);
      Put(o, dosTime, 2);
      Put(o, dosDate, 2);
      Put(o, crc, 4);
      Put(o, body.size(), 4);
      Put(o, data.size(), 4);
      Put(o, file.name.size(), 2);
      Put(o, 0, 2);  // no extra field
    };
    Put(s, 0x04034b50, 4);
    common(s);
    s << file.name;
    s.write(body.data(), std::streamsize(body.size()));
    Put(central, 0x02014b50, 4);
    Put(central, 20, 2);  // made by: FAT, so that no Unix permissions are read
    common(central);
    Put(central, 0, 2);  // no comment
    Put(central, 0, 2);  // disk
    Put(central, 0, 2);  // internal attributes
    Put(central, 0, 4);  // external attributes
    Put(central, offset, 4);
    central << file.name;
    offset += 30 + file.name.size() + body.size();
    size.plain += data.size();
    size.packed += body.size();
  }
  const std::string directory = central.str();
  s.write(directory.data(), std::streamsize(directory.size()));
  Put(s, 0x06054b50, 4);
  Put(s, 0, 2);
  Put(s, 0, 2);
  Put(s, files.size(), 2);
  Put(s, files.size(), 2);
  Put(s, directory.size(), 4);
  Put(s, offset, 4);
  Put(s, 0, 2);
  return output.Commit(error);
}

}  // namespace kvpack
