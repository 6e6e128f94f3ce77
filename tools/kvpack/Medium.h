#pragma once
// `kvpack build`: checks a package and lays out a complete installation
// medium - setup.exe, KVSetup.exe, setup.ini, eula.txt and every package file
// at the place where the installer looks for it (the medium folder joined
// with the file's Name).
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace kvpack {

// A medium folder, one setup.exe that carries the whole medium, or a zip of
// the medium folder.
enum class Layout { Folder, SingleFile, Zip };

struct BuildOptions {
  std::string iniPath;
  std::string sourceFolder;
  std::string outFolder;  // the output file for SingleFile and Zip
  bool force = false;                       // replace a non-empty output folder
  std::optional<std::string> installerDir;  // holds setup.exe and KVSetup.exe
  // Where to look for the installer programs when installerDir is not given,
  // in this order (each searched a few levels deep).
  std::vector<std::string> installerSearch;
  Layout layout = Layout::Folder;
};

// Returns the exit code: 0 built, 1 not built (the reason is on `err`). On
// failure nothing is left behind: the output is either the complete new
// medium or exactly what it was before.
int BuildMedium(const BuildOptions& options, std::ostream& out, std::ostream& err);

// The default search list: next to the kvpack program, the build tree it
// belongs to, and the Windows build beside a native one.
std::vector<std::string> DefaultInstallerSearch();

}  // namespace kvpack
