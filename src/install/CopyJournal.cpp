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

namespace {

// The journal being written: one handle for the run, appended to once per
// copy. What WriteFile has handed to the system is in its cache and survives
// the writer being ended hard, so keeping the handle open loses nothing that
// opening and closing the file per copy would keep; it saves two system
// calls per file. The journal is written by one thread at a time.
struct OpenJournal {
  std::string path;
  HANDLE file = INVALID_HANDLE_VALUE;
  ~OpenJournal() { Close(); }
  void Close() {
    if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
    file = INVALID_HANDLE_VALUE;
    path.clear();
  }
};
OpenJournal g_journal;

// Closes the journal when it is `path`'s: it is about to be read or deleted.
void CloseJournal(const std::string& path) {
  if (g_journal.file != INVALID_HANDLE_VALUE && g_journal.path == path) g_journal.Close();
}

}  // namespace

void JournalCopy(const CPackage& package, const std::string& path) {
  if (package.NoStatusSave || package.PackageDir.empty()) return;
  const std::string journal = CopyJournalPath(package);
  if (g_journal.file == INVALID_HANDLE_VALUE || g_journal.path != journal) {
    g_journal.Close();
    g_journal.file = CreateFileW(win::Widen(journal).c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_DELETE,
                                 nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (g_journal.file == INVALID_HANDLE_VALUE) return;
    g_journal.path = journal;
  }
  // One line per copy, UTF-8; a line torn by the kill names no file.
  const std::string line = path + "\n";
  DWORD written = 0;
  WriteFile(g_journal.file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

void ForgetCopies(const CPackage& package) {
  if (package.PackageDir.empty()) return;
  const std::string journal = CopyJournalPath(package);
  CloseJournal(journal);
  DeleteFileW(win::Widen(journal).c_str());
}

void DropUnrecordedCopies(Session& session, CPackage& package) {
  std::string text;
  if (!package.PackageDir.empty()) CloseJournal(CopyJournalPath(package));
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
