#pragma once
// Version resources of files: comparison of two files' file versions and the
// three-line description the version-conflict dialog shows.
#include <cstdint>
#include <string>

namespace kv::modVersion {

// The parts of a version resource we use. The four file-version words are kept
// as signed 16-bit numbers on purpose: comparison and display treat a word of
// 32768 or more as negative, and existing installations were judged that way.
struct FixedVersion {
  int16_t Words[4] = {0, 0, 0, 0};  // major, minor, build, revision
  uint32_t FileOS = 0;              // dwFileOS
};

// True when the file has a version resource with fixed file information.
bool GetFixedVersion(const std::string& path, FixedVersion& version);

// 1: A is newer, 2: B is newer (also when only B has a version resource),
// 0: equal, -1: neither has a version resource. Only A with a resource: 1.
int32_t CompareFileVersions(const std::string& pathA, const std::string& pathB);

// Name of the language of the first translation entry, "" without one.
std::string GetFileLanguage(const std::string& path);

// "DOS-Win16", "DOS-Win32", "OS/2-16 PM-16", "OS/2-16 PM-32", "NT-Win32" or
// "Unbekannt" (exact match of the whole code).
std::string GetOSName(uint32_t osCode);

// "Version: a.b.c.d" CR LF "Sprache: ..." CR LF "Betriebssystem: ...", or ""
// for a file without version resource.
std::string DescribeFileVersion(const std::string& path);

}  // namespace kv::modVersion
