#include "install/CopyJournal.h"

#include <windows.h>

#include <string_view>

#include "base/FileIo.h"
#include "base/StringTools.h"
#include "base/Text.h"
#include "package/CFile.h"
#include "package/CPackage.h"
#include "platform/FileTools.h"
#include "platform/WinString.h"
#include "session/Session.h"

namespace kv::modInstall {

std::string CopyJournalPath(const CPackage& package) { return modTools::JoinPath(package.PackageDir, "copies.log"); }

void JournalCopy(const CPackage& package, const std::string& path) {
  if (package.NoStatusSave || package.PackageDir.empty()) return;
  HANDLE file = CreateFileW(win::Widen(CopyJournalPath(package)).c_str(), FILE_APPEND_DATA, FILE_SHARE_READ, nullptr,
                            OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return;
  // One line per copy, UTF-8; a line torn by the kill names no file.
  const std::string line = path + "\n";
  DWORD written = 0;
  WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
  CloseHandle(file);
}

void ForgetCopies(const CPackage& package) {
  if (!package.PackageDir.empty()) DeleteFileW(win::Widen(CopyJournalPath(package)).c_str());
}

void DropUnrecordedCopies(Session& session, CPackage& package) {
  std::string text;
  if (package.PackageDir.empty() || fileio::ReadWholeFile(CopyJournalPath(package), text) != 0) return;
  size_t begin = 0;
  for (size_t end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
    const std::string path = text.substr(begin, end - begin);
    bool recorded = false;
    for (const std::shared_ptr<CFile>& file : package.Files) {
      if (!file || file->Installed <= 0 || file->InstalledIn.empty()) continue;
      const std::string& name = file->DestinationName.empty() ? file->Name : file->DestinationName;
      if (EqualsNoCase(modTools::JoinPath(file->InstalledIn, name), path)) {
        recorded = true;
        break;
      }
    }
    if (recorded || path.empty()) continue;
    const std::wstring wide = win::Widen(path);
    SetFileAttributesW(wide.c_str(), FILE_ATTRIBUTE_NORMAL);
    if (DeleteFileW(wide.c_str())) session.Log("Datei entfernt (nicht aufgezeichnet): " + path);
  }
  ForgetCopies(package);
}

}  // namespace kv::modInstall
