#pragma once
// Everything in kvpack that differs between Linux and Windows lives behind
// these few functions: command-line arguments, the path encoding and the
// console. The rest of the tool speaks UTF-8 std::string and std::filesystem.
#include <filesystem>
#include <string>
#include <vector>

namespace kvpack::os {

// The program's arguments as UTF-8 (on Windows from the wide command line,
// so that folder names with umlauts survive).
std::vector<std::string> Arguments(int argc, char** argv);

// Prepare the console for UTF-8 output.
void InitConsole();

// UTF-8 text <-> filesystem path.
std::filesystem::path ToPath(const std::string& utf8);
std::string FromPath(const std::filesystem::path& path);

// Rename a folder in place (same parent). Returns false and fills `error`
// when the operating system refuses.
bool RenameFolder(const std::filesystem::path& from, const std::filesystem::path& to, std::string& error);

// Full path of the running kvpack executable (empty if unknown).
std::filesystem::path ExecutablePath();

// Process id, to give temporary folders a name of their own.
unsigned long ProcessId();

}  // namespace kvpack::os
