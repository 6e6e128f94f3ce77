#include "platform/LogFile.h"

#include <cstdio>

#include "base/StringTools.h"
#include "platform/WinString.h"

namespace kv::modTools {

LogFile::~LogFile() { Close(); }

void LogFile::Close() {
  if (IsOpen()) CloseHandle(file_);
  file_ = INVALID_HANDLE_VALUE;
}

bool LogFile::Open(const std::string& path) {
  Close();
  // Others may read the log while the run goes on.
  file_ = CreateFileW(win::Widen(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                      FILE_ATTRIBUTE_NORMAL, nullptr);
  return IsOpen();
}

void LogFile::Line(std::string_view text) {
  if (!IsOpen()) return;
  SYSTEMTIME t;
  GetLocalTime(&t);
  char stamp[32];
  std::snprintf(stamp, sizeof stamp, "%04u-%02u-%02u %02u:%02u:%02u.%03u  ", t.wYear, t.wMonth, t.wDay, t.wHour,
                t.wMinute, t.wSecond, t.wMilliseconds);
  std::string line = stamp;
  // One event, one line: line breaks of message texts become " | ".
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r') continue;
    if (text[i] == '\n') {
      line += " | ";
    } else {
      line += text[i];
    }
  }
  line += "\r\n";
  DWORD written = 0;
  WriteFile(file_, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

bool LogFolderExists(const std::string& path) {
  std::string folder = ParentFolder(path);
  if (folder.size() == 2 && folder[1] == ':') folder += '\\';  // "C:" alone is the current folder there
  DWORD attributes = GetFileAttributesW(win::Widen(folder).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

}  // namespace kv::modTools
