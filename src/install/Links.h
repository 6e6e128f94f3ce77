#pragma once
// Link proxies: instead of shell links we put empty files with a
// package-specific extension into the start menu and onto the desktop, and
// register a file class for that extension. Its "Open" verb runs the installer
// with -o "<program>", its "Setup" verb with -m "<package identifier>".
#include <string>

namespace kv {
struct Session;
class CPackage;
}  // namespace kv

namespace kv::modInstall {

// "KivraSetup.Link." + Name + "_" + Version, the text kept as it is.
std::string LinkClassName(const CPackage& package);
// Name + "_" + Version with "." turned into "_", blanks removed and made a
// valid file name: the tail of the proxy files' extension.
std::string LinkSuffix(const CPackage& package);
// ".kvsetuplink_" + LinkSuffix(package).
std::string LinkExtension(const CPackage& package);

// Writes the extension key and the class under HKEY_CLASSES_ROOT. The program
// is the package's installation folder (InstalledIn) joined with EXEFile; the
// installer is session.AppDir + "KVSetup.exe". "InfoTip" only when the
// package has one. Registry failures are not reported.
void RegisterLinkClass(const Session& session, const CPackage& package);

// Deletes the extension key, then the class key with all its subkeys.
void UnregisterLinkClass(const CPackage& package);

// Deletes every proxy file of the package (name ending in ".kvsetuplink_" +
// suffix, any case) in `folder` and below. A folder that held such a proxy is
// removed afterwards when that left it empty; a folder with other content
// stays. Errors are ignored.
void DeleteLinkFiles(const std::string& suffix, const std::string& folder);

// Removes the empty folders of the tree below `folder` (deepest first), then
// tries `folder` itself. Files are never deleted. Returns true when `folder`
// was removed and keepTop is false; with keepTop the result is always false
// (the caller keeps the top on its books). Errors are ignored.
bool RemoveEmptyFolders(const std::string& folder, bool keepTop);

}  // namespace kv::modInstall
