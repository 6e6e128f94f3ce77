#pragma once
// A fresh folder C:\kvtest\<suite>.<test>-<n> for one test, removed with
// everything in it afterwards (read-only files included).
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
  std::string operator/(const std::string& name) const { return path_ + "\\" + name; }
  // Creates or overwrites a file (its folder must exist); returns the full path.
  std::string WriteFile(const std::string& name, const std::string& bytes = {}) const;
  // Creates the subfolder and missing parents; returns the full path.
  std::string MakeFolder(const std::string& name) const;

 private:
  std::string path_;
};

// Whole file as bytes ("" when missing).
std::string ReadFileBytes(const std::string& path);
// Removes a folder tree; best effort.
void RemoveTree(const std::string& path);

}  // namespace kv::test
