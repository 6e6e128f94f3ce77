#pragma once
// The names inside a zip file, read from its central directory alone: enough
// to find the medium's setup.exe without unpacking anything.
#include <optional>
#include <string>
#include <vector>

namespace kvpack {

// Entry names as stored ("/" between folders), or empty when the file is not
// a readable zip.
std::optional<std::vector<std::string>> ZipEntryNames(const std::string& path);

}  // namespace kvpack
