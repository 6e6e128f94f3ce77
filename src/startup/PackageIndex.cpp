#include "startup/PackageIndex.h"

#include <cctype>
#include <cstdlib>

#include "package/CPackage.h"
#include "base/StringTools.h"
#include "base/Text.h"
#include "platform/FileTools.h"
#include "platform/RegTools.h"

namespace kv::modSetup {

std::string PackageIdentifier(const CPackage& package) { return package.Name + "_" + package.Version; }

std::string PackageIndexKey(const std::string& identifier) { return std::string(kPackagesKey) + "\\" + identifier; }

double VersionNumber(const std::string& version) {
  // Leading blanks, a sign, digits with at most one decimal point, and an
  // exponent are read; everything from the first other character on is not.
  size_t i = 0;
  const size_t n = version.size();
  while (i < n && (version[i] == ' ' || version[i] == '\t')) ++i;
  size_t start = i;
  if (i < n && (version[i] == '+' || version[i] == '-')) ++i;
  bool digits = false;
  while (i < n && std::isdigit(static_cast<unsigned char>(version[i]))) ++i, digits = true;
  if (i < n && version[i] == '.') {
    ++i;
    while (i < n && std::isdigit(static_cast<unsigned char>(version[i]))) ++i, digits = true;
  }
  if (!digits) return 0.0;
  if (i < n && (version[i] == 'e' || version[i] == 'E')) {
    size_t e = i + 1;
    if (e < n && (version[e] == '+' || version[e] == '-')) ++e;
    if (e < n && std::isdigit(static_cast<unsigned char>(version[e]))) {
      while (e < n && std::isdigit(static_cast<unsigned char>(version[e]))) ++e;
      i = e;
    }
  }
  std::string number = version.substr(start, i - start);
  return std::strtod(number.c_str(), nullptr);
}

bool IsPackageKnown(const Session& session, const CPackage& package) {
  std::string product =
      modRegTools::GetString(PackageIndexKey(PackageIdentifier(package)), "Product", "", HKEY_LOCAL_MACHINE);
  return !product.empty() && modTools::FileExists(modTools::JoinPath(package.PackageDir, "setup.ini"));
}

void WritePackageIndex(const CPackage& package) {
  const std::string key = PackageIndexKey(PackageIdentifier(package));
  modRegTools::SetString(key, "Product", package.Name, HKEY_LOCAL_MACHINE);
  modRegTools::SetString(key, "Version", package.Version, HKEY_LOCAL_MACHINE);
}

void FindOtherVersion(Session& session) {
  if (!session.Package) return;
  const CPackage& current = *session.Package;
  const double currentVersion = VersionNumber(current.Version);
  if (currentVersion == 0.0) return;

  for (const std::string& name : modRegTools::ListSubkeys(kPackagesKey, HKEY_LOCAL_MACHINE)) {
    const std::string key = PackageIndexKey(name);
    if (!EqualsNoCase(modRegTools::GetString(key, "Product", "", HKEY_LOCAL_MACHINE), current.Name)) continue;
    const double version = VersionNumber(modRegTools::GetString(key, "Version", "a", HKEY_LOCAL_MACHINE));
    if (version == 0.0 || version == currentVersion) continue;  // unreadable, or the package itself

    auto other = std::make_shared<CPackage>(session.Context());
    other->PackageDir = session.AppDir + "Packages\\" + name;
    // A definition that is unreadable (told by the structured file) or
    // damaged is unusable: whatever was found before does not count either.
    bool usable = false;
    try {
      usable = other->Load(other->PackageDir + "\\setup.ini");
    } catch (...) {
    }
    if (!usable) {
      session.OtherPackage.reset();
      continue;
    }
    session.OtherPackage = other;
    other->Load2();
    if (version < currentVersion) {
      session.OtherIsNewer = false;  // a later lower version replaces this one
      continue;
    }
    session.OtherIsNewer = true;
    return;
  }
}

}  // namespace kv::modSetup
