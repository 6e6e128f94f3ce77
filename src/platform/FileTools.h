#pragma once
// File and folder tools that need the file system or the shell. The pure
// path-string helpers (JoinPath, ParentFolder, FileNamePart, ValidFileName,
// CutAtNull, ItemExists) live in base/StringTools.h.
#include <windows.h>

#include <cstdint>
#include <string>

namespace kv {
class UserInteraction;
}

namespace kv::modTools {

// A name not yet present in `folder`: `name`, then "name (1)", "name (2)", ...
// With keepExtension and a "." in the name the counter goes before the first
// ".": "Readme (1).txt", "archive (1).tar.gz". Returns the name alone.
std::string UniqueFileName(const std::string& folder, const std::string& name, bool keepExtension);

// Creates every missing folder along `path`, one level at a time. Errors are
// ignored: a step that cannot be created simply leaves the later ones failing.
// Drive parts ("C:") are never created; leading "\" are dropped.
void MakePath(const std::string& path);

// Something (file or folder) exists at `path`. False for anything the system
// rejects (empty, too long, bad characters).
bool FileExists(const std::string& path);
// A folder exists at `path`.
bool FolderExists(const std::string& path);

// The short (8.3) form of `path`; "" when the path does not exist.
std::string GetShortPath(const std::string& path);

// A local date and time, as the user's clock shows it.
struct LocalDateTime {
  int Year = 1980, Month = 1, Day = 1;
  int Hour = 0, Minute = 0, Second = 0;
};
// Which stamp SetFileDate sets.
inline constexpr int32_t kLastWriteTime = 1;
inline constexpr int32_t kCreationTime = 2;
inline constexpr int32_t kLastAccessTime = 3;
// Stamps one of the file's times (1 last write, 2 creation, 3 last access; any
// other value sets nothing). A file that cannot be opened is left alone.
void SetFileDate(const std::string& path, const LocalDateTime& dateTime, int32_t which);
// The universal file time SetFileDate stamps for a local date and time.
FILETIME UniversalFileTime(const LocalDateTime& dateTime);
// SetFileDate(path, dateTime, kCreationTime) and, with clearAttributes, no
// attributes left: both through one handle, as the file phase does this to
// every file it installs.
void StampCreationTime(const std::string& path, const LocalDateTime& dateTime, bool clearAttributes);

// The folder browser as the engine sees it: through the user-interaction
// interface, so that tests can script the answer. "" when cancelled.
std::string BrowseForFolder(UserInteraction& ui, const std::string& title);
// The real shell dialog (file-system folders only, not below the domain
// level, rooted at the desktop). The window side's UserInteraction calls this.
std::string ShowFolderBrowser(HWND owner, const std::string& title);

// The file's icon (double quotes in `path` are ignored). With `useAttributes`
// the file need not exist: small icon when smallIcon > 0, else the shell-size
// icon. The caller owns the returned icon (DestroyIcon); null when none.
HICON GetFileIcon(const std::string& path, int32_t smallIcon, bool useAttributes);

}  // namespace kv::modTools
