#pragma once
// A fresh folder under C:\kvtest for one test, named after the running test
// (C:\kvtest\<suite>.<test>-<n>), removed with everything in it afterwards
// (best effort: read-only files are made writable first).
#include <string>

namespace kv::test {

class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  // The folder, UTF-8, without trailing "\".
  const std::string& Path() const { return path_; }
  // Path() + "\" + name.
  std::string operator/(const std::string& name) const { return path_ + "\\" + name; }
  // Creates (or overwrites) the file Path() + "\" + name with the given bytes;
  // returns its full path. Subfolders in `name` must exist.
  std::string WriteFile(const std::string& name, const std::string& bytes = {}) const;
  // Creates the subfolder (and missing parents); returns its full path.
  std::string MakeFolder(const std::string& name) const;

 private:
  std::string path_;
};

// Whole file as bytes ("" when missing).
std::string ReadFileBytes(const std::string& path);
// Removes a folder tree; best effort.
void RemoveTree(const std::string& path);

}  // namespace kv::test
