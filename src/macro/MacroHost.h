#pragma once
// Everything a macro may do to the system, in one small interface: the
// interpreter and its commands work only through it, so they build and run
// without Windows (SystemHost.cpp is the real one; a stand-in can record).
#include <cstdint>
#include <string>
#include <string_view>

namespace kv::macro {

// The registry roots a macro can name.
enum class RegistryRoot { CurrentUser, LocalMachine, ClassesRoot };

// Answers of the abort/retry/ignore prompt.
enum class Answer : int32_t { Abort = 0, Retry = 1, Ignore = 2 };

class MacroHost {
 public:
  virtual ~MacroHost() = default;

  // The package's installation folder; empty until the path page has run.
  virtual const std::string& InstallationFolder() const = 0;
  // The path placeholders expanded for the package.
  virtual std::string ExpandPath(const std::string& path) = 0;

  // Files and folders. Each throws VbError when the system refuses.
  virtual void RemoveFile(const std::string& path) = 0;
  virtual void CopyOver(const std::string& from, const std::string& to) = 0;  // replaces a file at `to`
  virtual void RenamePath(const std::string& from, const std::string& to) = 0;
  virtual void CreateFolder(const std::string& path) = 0;  // one folder, no parents
  // An empty folder goes; one that holds anything stays, without a word.
  virtual void RemoveEmptyFolder(const std::string& path) = 0;
  // Package file `srcName` installed as `destName` into `toPath` (empty: the
  // installation folder) by the package's file installation, which shows its
  // own prompts and may itself confirm a cancellation; a VbError thrown here
  // goes to the macro's prompt like any other failure.
  virtual void InstallPackageFile(const std::string& srcName, const std::string& destName,
                                  const std::string& toPath) = 0;

  // Registry values of `key` below `root`; none of these fails.
  // A missing key or value reads as "".
  virtual std::string ReadString(RegistryRoot root, const std::string& key, const std::string& valueName) = 0;
  virtual void WriteString(RegistryRoot root, const std::string& key, const std::string& valueName,
                           const std::string& data) = 0;
  virtual void WriteNumber(RegistryRoot root, const std::string& key, const std::string& valueName,
                           int32_t data) = 0;
  virtual void DeleteValue(RegistryRoot root, const std::string& key, const std::string& valueName) = 0;

  // The prompt after a failed command; Abort only once the cancellation is
  // confirmed, and then Cancelled() holds.
  virtual Answer AskAbortRetryIgnore(const std::string& message) = 0;
  virtual bool Cancelled() const = 0;
  // One line of the run log.
  virtual void Log(std::string_view line) = 0;
};

}  // namespace kv::macro
