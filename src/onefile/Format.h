#pragma once
// The one-file medium: the plain setup.exe with the whole medium appended.
//
//   [setup.exe as built]  the program that runs; it ends where its PE image ends
//   [entry data ...]      one block per medium file: raw deflate or stored
//   [table of contents]   per entry: name, method, offset, packed and plain
//                         size, file time, SHA-256 of the plain content
//   [trailer]             kTrailerSize bytes: magic, where the payload and the
//                         table begin, the entry count, and the SHA-256 of
//                         every byte of the file before that digest
//
// All numbers are little-endian. Entry names are medium-relative, UTF-8, with
// "\" between folders. A file that has bytes after its PE image but no valid
// trailer is a damaged or truncated download, never a plain setup.exe.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "onefile/Sha256.h"

namespace kv::onefile {

// Written by setup.exe into the folder it unpacks to: one line, UTF-8, the
// full path of the downloaded file, for the installer to record as the
// package's source. kvpack keeps package files off this name.
inline constexpr const char* kOriginFile = "KVSetup.origin";

inline constexpr char kMagic[8] = {'K', 'V', 'O', 'N', 'E', 'F', '0', '1'};
inline constexpr size_t kTrailerSize = 8 + 8 + 8 + 4 + 4 + 32;

enum class Method : uint8_t { Stored = 0, Deflate = 1 };

struct Entry {
  std::string name;
  Method method = Method::Stored;
  uint64_t offset = 0;  // from the start of the payload
  uint64_t packedSize = 0;
  uint64_t size = 0;
  uint64_t fileTime = 0;  // last write, in 100 ns since 1601 (0: unknown); the
                          // installer compares the dates of shared files
  Digest sha256{};
};

struct Trailer {
  uint64_t payloadStart = 0;  // absolute file offset of the first entry's data
  uint64_t tocStart = 0;      // absolute file offset of the table of contents
  uint32_t entryCount = 0;
  Digest fileSha256{};        // over bytes [0, file size - 32)
};

std::string EncodeTrailer(const Trailer& trailer);
// Empty when the bytes are not a trailer (wrong magic or impossible offsets
// for a file of `fileSize` bytes).
std::optional<Trailer> DecodeTrailer(const std::string& bytes, uint64_t fileSize);

std::string EncodeToc(const std::vector<Entry>& entries);
// Empty when the table is malformed: short, an entry outside the payload, an
// unsafe name (see SafeEntryName), or a repeated name.
std::optional<std::vector<Entry>> DecodeToc(const std::string& bytes, uint32_t entryCount, uint64_t payloadSize);

// A name that stays inside the extraction folder: relative, no empty part,
// no "." or "..", no drive, no characters Windows refuses in a file name.
bool SafeEntryName(const std::string& name);

// Where the PE image of an executable ends (the end of its last section's
// raw data), read from its first bytes; empty when they are no PE image.
// `head` must hold the headers (the first 4 KB suffice for our program).
std::optional<uint64_t> PeImageEnd(const std::string& head);

}  // namespace kv::onefile
