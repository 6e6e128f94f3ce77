#pragma once
// Where the shell's special folders, the Windows folder and the system folder
// lie. The shell is asked first; when it fails, the "Shell Folders" values in
// the registry are the fallback, then the caller's default.
#include <windows.h>

#include <cstdint>
#include <string>

namespace kv::modSpclFolder {

// CSIDL numbers the installer uses.
inline constexpr int32_t kPrograms = 2;
inline constexpr int32_t kPersonal = 5;
inline constexpr int32_t kStartup = 7;
inline constexpr int32_t kStartMenu = 11;
inline constexpr int32_t kDesktopDirectory = 16;
inline constexpr int32_t kFonts = 20;
inline constexpr int32_t kCommonStartMenu = 22;
inline constexpr int32_t kCommonPrograms = 23;
inline constexpr int32_t kCommonStartup = 24;
inline constexpr int32_t kCommonDesktopDirectory = 25;
inline constexpr int32_t kAppData = 26;

// The shell's answer for `folderId` (creating the folder if missing); false
// when the shell cannot say. Replaceable so that the registry fallback can be
// exercised on a system whose shell always answers.
using ShellFolderQuery = bool (*)(HWND owner, int32_t folderId, std::string& path);
bool QueryShellFolder(HWND owner, int32_t folderId, std::string& path);  // the real one

// Special folder: shell, then registry fallback, then `def`. One double quote
// at the start and one at the end of the result are removed.
std::string GetSpecialFolder(HWND owner, int32_t folderId, const std::string& def);
std::string GetSpecialFolder(HWND owner, int32_t folderId, const std::string& def, ShellFolderQuery shell);

// Only the registry fallback for `folderId` ("" when not in the table or
// nothing is stored).
std::string ShellFoldersFallback(int32_t folderId);

// Windows and system folder, without trailing "\"; "" when the call fails.
std::string GetWindowsFolder();
std::string GetSystemFolder();

}  // namespace kv::modSpclFolder
