#include "install/ExpandPath.h"

#include <windows.h>

#include "package/CPackage.h"
#include "platform/SpecialFolders.h"
#include "platform/WinString.h"
#include "session/Session.h"

namespace kv::modInstall {

namespace {

// Lower-casing that keeps every UTF-16 unit in place, so positions found in
// the lower-case text are valid in the original.
std::wstring Lower(std::wstring text) {
  if (!text.empty()) CharLowerBuffW(text.data(), static_cast<DWORD>(text.size()));
  return text;
}

// Every occurrence of `lowerPattern` in `text`, compared without regard to
// case, replaced by `replacement`; the replacement itself is not searched again.
std::wstring ReplaceNoCase(const std::wstring& text, const std::wstring& lowerPattern, const std::wstring& replacement) {
  const std::wstring lower = Lower(text);
  std::wstring result;
  size_t from = 0;
  for (size_t hit; (hit = lower.find(lowerPattern, from)) != std::wstring::npos; from = hit + lowerPattern.size())
    result.append(text, from, hit - from).append(replacement);
  result.append(text, from, std::wstring::npos);
  return result;
}

}  // namespace

std::string ExpandPath(const Session& session, const std::string& path, const CPackage* package) {
  std::wstring working = win::Widen(path);
  // The decision which placeholders to expand is taken on the text as given,
  // so a folder that happens to contain a placeholder-like name cannot trigger
  // another expansion on its own.
  const std::wstring given = Lower(working);
  auto expand = [&](const wchar_t* placeholder, const std::string& value) {
    if (given.find(placeholder) != std::wstring::npos) working = ReplaceNoCase(working, placeholder, win::Widen(value));
  };
  expand(L"*programs*", session.ProgramFilesDir);
  expand(L"*windir*", modSpclFolder::GetWindowsFolder());
  expand(L"*winsysdir*", modSpclFolder::GetSystemFolder());
  if (package) expand(L"*appdir*", package->InstalledIn);
  return win::Narrow(working);
}

}  // namespace kv::modInstall
