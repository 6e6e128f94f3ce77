#include "install/MoveFileAtRestart.h"

#include <windows.h>

#include "platform/FileTools.h"
#include "platform/SpecialFolders.h"
#include "platform/WinString.h"
#include "session/Session.h"

static_assert(MOVEFILE_DELAY_UNTIL_REBOOT == 4, "restart renames use the delay flag alone");

namespace kv::modInstall {

namespace {

// Windows 9x renames at boot from the [rename] section of wininit.ini, which
// it reads as ANSI text with 8.3 names.
void AppendWinInitLine(const std::string& folder, const std::string& line) {
  const std::wstring file = win::Widen(folder + "\\wininit.ini");
  const bool existed = GetFileAttributesW(file.c_str()) != INVALID_FILE_ATTRIBUTES;
  HANDLE h = CreateFileW(file.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                         nullptr);
  if (h == INVALID_HANDLE_VALUE) return;
  // An existing file is not examined: the line goes to its end, whatever
  // section stands last there.
  std::string text = existed ? std::string() : std::string("[rename]\r\n");
  text += win::ToAnsi(line) + "\r\n";
  DWORD written = 0;
  WriteFile(h, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  CloseHandle(h);
}

}  // namespace

void MoveFileAtRestart(Session& session, const std::string& source, const std::string& destination) {
  // Set first: even a failed scheduling means the user should restart.
  session.RestartRequired = true;
  if (session.IsWindowsNT) {
    // MOVEFILE_DELAY_UNTIL_REBOOT alone (4): no replace, so callers schedule
    // the deletion of an existing destination before the rename.
    const std::wstring from = win::Widen(source);
    const std::wstring to = win::Widen(destination);
    MoveFileExW(from.c_str(), destination.empty() ? nullptr : to.c_str(), MOVEFILE_DELAY_UNTIL_REBOOT);
    SetLastError(ERROR_SUCCESS);
    return;
  }
  const std::string folder = session.WinInitFolder.empty() ? modSpclFolder::GetWindowsFolder() : session.WinInitFolder;
  const std::string line = destination.empty()
                               ? "NUL=" + modTools::GetShortPath(source)
                               : modTools::GetShortPath(destination) + "=" + modTools::GetShortPath(source);
  AppendWinInitLine(folder, line);
  SetLastError(ERROR_SUCCESS);
}

}  // namespace kv::modInstall
