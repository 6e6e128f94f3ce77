#pragma once
// The administrator's log file (/log): UTF-8, one line per event, each with
// the local time to the millisecond, written through at once so that a run
// that dies leaves everything up to its last step on disk.
#include <windows.h>

#include <string>
#include <string_view>

#include "session/Session.h"

namespace kv::modTools {

class LogFile : public RunLog {
 public:
  LogFile() = default;
  ~LogFile() override;
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  // Creates (or empties) the file. False when that is impossible; then
  // nothing was changed on disk.
  bool Open(const std::string& path);
  void Close();
  bool IsOpen() const { return file_ != INVALID_HANDLE_VALUE; }
  void Line(std::string_view text) override;

 private:
  HANDLE file_ = INVALID_HANDLE_VALUE;
};

// Whether the folder that would hold `path` exists.
bool LogFolderExists(const std::string& path);

}  // namespace kv::modTools
