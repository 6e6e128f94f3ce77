#pragma once
// The per-machine index of installed packages (under HKEY_LOCAL_MACHINE:
// Software\Kivra\Setup\Packages\<Name_Version> with "Product" and
// "Version") and the search for another installed version of the product.
#include <string>

#include "session/Session.h"

namespace kv {
class CPackage;
}

namespace kv::modSetup {

inline constexpr const char* kPackagesKey = "Software\\Kivra\\Setup\\Packages";

// Name + "_" + Version: names the index key, the package folder, the uninstall
// entry and the -m argument.
std::string PackageIdentifier(const CPackage& package);
std::string PackageIndexKey(const std::string& identifier);

// Version strings compare as decimal numbers: the leading numeric part with
// "." as the decimal point, so "1.10" reads 1.1 (below "1.9") and "2.0.1"
// reads 2. No leading number gives 0. Installed bases rely on this reading.
double VersionNumber(const std::string& version);

// Known: the index has a non-empty "Product" for the package and its staged
// folder holds setup.ini.
bool IsPackageKnown(const Session& session, const CPackage& package);

// "Product" := Name, then "Version" := Version (creates the key).
void WritePackageIndex(const CPackage& package);

// Sets session.OtherPackage / OtherIsNewer: the first higher version met ends
// the search; otherwise the last lower version met wins; an unusable entry
// met after a usable one leaves OtherPackage empty. Never shows a message of
// its own (a damaged setup.ini is reported by the structured-file load).
void FindOtherVersion(Session& session);

}  // namespace kv::modSetup
