#include "install/ExpandPath.h"

#include <windows.h>

#include "install/Placeholders.h"
#include "package/CPackage.h"
#include "platform/SpecialFolders.h"
#include "platform/WinString.h"
#include "session/Session.h"

namespace kv::modInstall {

namespace {

// The system's lower-casing: one UTF-16 unit for one.
std::wstring Lower(std::wstring text) {
  if (!text.empty()) CharLowerBuffW(text.data(), static_cast<DWORD>(text.size()));
  return text;
}

}  // namespace

std::string ExpandPath(const Session& session, const std::string& path, const CPackage* package) {
  if (path.find('*') == std::string::npos) return path;  // every placeholder has one
  std::vector<Placeholder> placeholders{
      {L"*programs*", win::Widen(session.ProgramFilesDir)},
      {L"*windir*", win::Widen(modSpclFolder::GetWindowsFolder())},
      {L"*winsysdir*", win::Widen(modSpclFolder::GetSystemFolder())},
  };
  if (package) placeholders.push_back({L"*appdir*", win::Widen(package->InstalledIn)});
  return win::Narrow(ExpandPlaceholders(win::Widen(path), placeholders, Lower));
}

}  // namespace kv::modInstall
