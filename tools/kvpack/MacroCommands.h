#pragma once
// The macro commands the installer knows, with their parameters. The
// reference for authors is docs/macros.md; this table is what the checker
// holds a package's macro groups against.
#include <string>
#include <vector>

namespace kvpack {

struct MacroCommand {
  const char* name;                 // lower case, as the interpreter matches it
  std::vector<const char*> params;  // parameter keys
  // Parameter whose expanded path the interpreter refuses to delete when it
  // holds a wildcard (empty: the command deletes nothing).
  const char* guardedPath;
  // Parameters that name a package file which must be on the medium.
  const char* sourceFile;
  // Parameter converted to a number at run time.
  const char* numberParam;
  bool hasChildren;  // ifregstring: its own child groups are commands
};

// Null for an unknown name. `name` is matched trimmed and lower-cased.
const MacroCommand* FindMacroCommand(const std::string& name);

// The six macro groups of a package, lower case.
const std::vector<const char*>& MacroGroupNames();

}  // namespace kvpack
