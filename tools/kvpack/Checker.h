#pragma once
// `kvpack check`: reads a package definition the way the installer does and
// reports what would make the installer fail (errors) or behave other than
// the author most likely meant (warnings), each with its line.
#include <optional>
#include <string>
#include <vector>

#include "Diagnostics.h"

namespace kvpack {

struct CheckOptions {
  std::string iniPath;                      // setup.ini to check (UTF-8 path)
  std::string displayName;                  // how the file is named in findings; default iniPath
  std::optional<std::string> sourceFolder;  // where the package's files are, if known
};

// A file the medium has to carry: its name as written in the package (may
// hold "\" for a subfolder of the medium) and the line that names it.
struct SourceFile {
  std::string name;
  int line = 0;
};

struct CheckReport {
  Diagnostics diagnostics;
  std::vector<SourceFile> sourceFiles;  // file records first, then installfile commands; no duplicates
  bool readable = true;                 // false: the file could not be opened at all
};

CheckReport CheckPackage(const CheckOptions& options);

// 0 clean (or warnings without --strict), 1 errors, 2 warnings with --strict.
int ExitCode(const Diagnostics& diagnostics, bool strict);

// The medium-relative path of a package file name: "\" and "/" separate
// folders. Empty when the name cannot live inside the medium (absolute, a
// drive, ".." or an empty part).
std::optional<std::string> MediumRelativePath(const std::string& name);

// Finds `relative` (with "/" separators) below `folder`, matching each part
// without regard to case when the exact name is not there (authors on Linux
// write names as Windows would). Empty when missing.
std::optional<std::string> FindSource(const std::string& folder, const std::string& relative);

}  // namespace kvpack
