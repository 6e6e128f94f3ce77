// The link-proxy file class and the removal of proxy files.
#include "install/Links.h"

#include <windows.h>

#include <vector>

#include "package/CPackage.h"
#include "base/StringTools.h"
#include "base/Text.h"
#include "platform/RegTools.h"
#include "platform/WinString.h"
#include "session/Session.h"

namespace kv::modInstall {

namespace {

constexpr const char* kExtensionPrefix = ".kvsetuplink_";

std::string PackageKey(const CPackage& package) { return package.Name + "_" + package.Version; }

std::string ReplaceAll(std::string text, std::string_view what, std::string_view with) {
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
    text.replace(at, what.size(), with);
  return text;
}

bool EndsWithNoCase(std::string_view text, std::string_view tail) {
  return text.size() >= tail.size() && EqualsNoCase(text.substr(text.size() - tail.size()), tail);
}

struct FolderEntry {
  std::string name;
  bool isFolder;
};

// The entries of `folder`, without "." and ".." and anything else starting
// with "." (the shell's own bookkeeping). Read completely before anything is
// deleted, so that deleting does not disturb the enumeration.
std::vector<FolderEntry> ListFolder(const std::string& folder) {
  std::vector<FolderEntry> entries;
  WIN32_FIND_DATAW data;
  HANDLE find = FindFirstFileW(win::Widen(modTools::JoinPath(folder, "*")).c_str(), &data);
  if (find == INVALID_HANDLE_VALUE) return entries;
  do {
    std::string name = win::Narrow(data.cFileName);
    if (name.empty() || name[0] == '.') continue;
    entries.push_back({name, (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0});
  } while (FindNextFileW(find, &data));
  FindClose(find);
  return entries;
}

bool RemoveFolder(const std::string& folder) { return RemoveDirectoryW(win::Widen(folder).c_str()) != 0; }

}  // namespace

std::string LinkClassName(const CPackage& package) { return "KivraSetup.Link." + PackageKey(package); }

std::string LinkSuffix(const CPackage& package) {
  std::string suffix = ReplaceAll(PackageKey(package), ".", "_");
  suffix = ReplaceAll(suffix, " ", "");
  return modTools::ValidFileName(suffix);
}

std::string LinkExtension(const CPackage& package) { return kExtensionPrefix + LinkSuffix(package); }

void RegisterLinkClass(const Session& session, const CPackage& package) {
  const HKEY root = HKEY_CLASSES_ROOT;
  const std::string className = LinkClassName(package);
  const std::string program = modTools::JoinPath(package.InstalledIn, package.EXEFile);
  const std::string installer = session.AppDir + "KVSetup.exe";

  modRegTools::SetString(LinkExtension(package), "", className, root);
  modRegTools::SetString(className, "", "Verknüpfung zu " + package.Caption, root);
  // Present but empty: the shell then hides the proxy's extension.
  modRegTools::SetString(className, "NeverShowExt", "", root);
  if (!package.InfoTip.empty()) modRegTools::SetString(className, "InfoTip", package.InfoTip, root);
  modRegTools::SetString(className + "\\DefaultIcon", "", program, root);
  modRegTools::SetString(className + "\\Shell\\Open\\Command", "", "\"" + installer + "\" -o \"" + program + "\"",
                         root);
  modRegTools::SetString(className + "\\Shell\\Setup\\Command", "",
                         "\"" + installer + "\" -m \"" + PackageKey(package) + "\"", root);
  modRegTools::SetString(className + "\\Shell", "", "Open", root);
}

void UnregisterLinkClass(const CPackage& package) {
  modRegTools::DeleteTree(LinkExtension(package), HKEY_CLASSES_ROOT);
  modRegTools::DeleteTree(LinkClassName(package), HKEY_CLASSES_ROOT);
}

void DeleteLinkFiles(const std::string& suffix, const std::string& folder) {
  const std::string tail = kExtensionPrefix + suffix;
  bool heldProxy = false;
  for (const FolderEntry& entry : ListFolder(folder)) {
    std::string path = modTools::JoinPath(folder, entry.name);
    if (EndsWithNoCase(entry.name, tail)) {
      // Proxies are plain files; a read-only one is still ours to remove.
      std::wstring wide = win::Widen(path);
      SetFileAttributesW(wide.c_str(), FILE_ATTRIBUTE_NORMAL);
      DeleteFileW(wide.c_str());
      heldProxy = true;
    } else if (entry.isFolder) {
      DeleteLinkFiles(suffix, path);
    }
  }
  // A start-menu group made for the package goes with its last proxy; the
  // removal fails (and is ignored) while anything else is in it.
  if (heldProxy) RemoveFolder(folder);
}

bool RemoveEmptyFolders(const std::string& folder, bool keepTop) {
  for (const FolderEntry& entry : ListFolder(folder))
    if (entry.isFolder) RemoveEmptyFolders(modTools::JoinPath(folder, entry.name), false);
  // The top is tried like every other folder; keepTop only says that the
  // caller holds on to it, so it never counts as removed.
  const bool removed = RemoveFolder(folder);
  return removed && !keepTop;
}

}  // namespace kv::modInstall
