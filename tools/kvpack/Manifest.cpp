#include "Manifest.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <sstream>

#include "OsFiles.h"
#include "ProductLoad.h"
#include "ZipListing.h"
#include "base/Text.h"
#include "onefile/Sha256.h"
#include "package/CPackage.h"
#include "package/UninstallNames.h"

namespace kvpack {

namespace {

// The SHA-256 of a whole file as 64 upper-case hex digits (the manifest's
// form); empty when it cannot be read.
std::optional<std::string> Sha256OfFile(const std::string& path) {
  std::ifstream in(os::ToPath(path), std::ios::binary);
  if (!in) return {};
  kv::onefile::Sha256 sha;
  std::vector<char> chunk(1 << 20);
  while (in) {
    in.read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
    sha.Update(chunk.data(), static_cast<size_t>(in.gcount()));
  }
  if (in.bad()) return {};
  std::string hex = kv::onefile::ToHex(sha.Finish());
  for (char& c : hex) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return hex;
}

// What KVSetup's unattended mode understands (README, "Unattended
// installation"), the same for every package.
struct ReturnCode {
  int code;
  const char* response;
};
constexpr ReturnCode kReturnCodes[] = {
    {3010, "rebootRequiredToFinish"}, {1641, "rebootInitiated"}, {1602, "cancelledByUser"},
    {1618, "installInProgress"},      {1638, "downgrade"},       {87, "invalidParameter"}};

// Lengths in the format are counted in characters, not UTF-8 bytes.
size_t Characters(const std::string& s) {
  size_t n = 0;
  for (unsigned char c : s) n += (c & 0xC0) != 0x80;
  return n;
}

std::string CutCharacters(const std::string& s, size_t max) {
  size_t n = 0;
  for (size_t i = 0; i < s.size(); ++i) {
    if ((static_cast<unsigned char>(s[i]) & 0xC0) != 0x80 && n++ == max) return s.substr(0, i);
  }
  return s;
}

bool HasControl(const std::string& s) {
  for (unsigned char c : s)
    if (c < 0x20 || c == 0x7F) return true;
  return false;
}

// Characters no identifier, version or file name in the format may hold.
bool HasForbidden(const std::string& s) { return HasControl(s) || s.find_first_of("\\/:*?\"<>|") != std::string::npos; }

bool IsBlank(const std::string& s, size_t i, size_t& length) {
  length = 1;
  if (s[i] == ' ' || s[i] == '\t') return true;
  if (s.compare(i, 2, "\xC2\xA0") == 0) return length = 2, true;  // no-break space
  return false;
}

void CheckText(std::vector<std::string>& problems, const char* field, const std::string& value, size_t max) {
  if (value.empty()) problems.push_back(std::string(field) + ": missing");
  else if (Characters(value) > max)
    problems.push_back(std::string(field) + ": " + std::to_string(Characters(value)) + " characters, at most " +
                       std::to_string(max) + " allowed");
}

bool NeedsQuotes(const std::string& s) {
  if (s.empty() || s.front() == ' ' || s.back() == ' ' || s.back() == ':' || HasControl(s)) return true;
  if (std::string("-?:,[]{}#&*!|>'\"%@`").find(s.front()) != std::string::npos) return true;
  if (s.find(": ") != std::string::npos || s.find(" #") != std::string::npos) return true;
  static const char* const kWords[] = {"true", "false", "yes", "no", "on", "off", "null", "y", "n", "~"};
  for (const char* w : kWords)
    if (kv::LowerCase(s) == w) return true;
  // Anything a YAML reader might take for a number (1.0, 1e3, 0x1F, 1_000, 1:30).
  if (std::isdigit(static_cast<unsigned char>(s.front())) || s.front() == '.' || s.front() == '+')
    return s.find_first_not_of("0123456789.eE+-_xXoOabcdefABCDEF:") == std::string::npos;
  return false;
}

std::string Scalar(const std::string& s) {
  if (!NeedsQuotes(s)) return s;
  if (!HasControl(s)) {
    std::string out = "'";
    for (char c : s) out += c == '\'' ? std::string("''") : std::string(1, c);
    return out + "'";
  }
  std::string out = "\"";
  static const char kHex[] = "0123456789ABCDEF";
  for (unsigned char c : s) {
    if (c == '"' || c == '\\') out += '\\', out += static_cast<char>(c);
    else if (c < 0x20 || c == 0x7F) out += std::string("\\x") + kHex[c >> 4] + kHex[c & 15];
    else out += static_cast<char>(c);
  }
  return out + "\"";
}

bool IsHexDigest(const std::string& s) {
  return s.size() == 64 && s.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
}

bool EndsWithNoCase(const std::string& s, const std::string& tail) {
  return s.size() >= tail.size() && kv::EqualsNoCase(s.substr(s.size() - tail.size()), tail);
}

// The medium's setup.exe inside a zip: the one nearest the top, and it must
// have setup.ini beside it. Empty with `problem` filled otherwise.
std::string FindNestedSetup(const std::vector<std::string>& names, std::string& problem) {
  std::string best;
  for (const std::string& n : names) {
    if (!(kv::EqualsNoCase(n, "setup.exe") || EndsWithNoCase(n, "/setup.exe"))) continue;
    if (best.empty() || std::count(n.begin(), n.end(), '/') < std::count(best.begin(), best.end(), '/')) best = n;
  }
  if (best.empty()) {
    problem = "holds no setup.exe";
    return {};
  }
  const std::string folder = best.substr(0, best.size() - 9);
  bool ini = false;
  for (const std::string& n : names) ini = ini || kv::EqualsNoCase(n, folder + "setup.ini");
  if (!ini) {
    problem = "holds no setup.ini beside " + best + "; it is not an installation medium";
    return {};
  }
  for (char& c : best)
    if (c == '/') c = '\\';
  return best;
}

}  // namespace

bool IsWebAddress(const std::string& text) {
  const std::string scheme = kv::LowerCase(text.substr(0, 8));
  return (scheme.rfind("http://", 0) == 0 && text.size() > 7) || (scheme == "https://" && text.size() > 8);
}

std::string DerivePackageIdentifier(const std::string& publisher, const std::string& name) {
  auto part = [](const std::string& s) {
    std::string out;
    for (size_t i = 0, length = 1; i < s.size(); i += length) {
      if (IsBlank(s, i, length)) continue;
      const unsigned char c = static_cast<unsigned char>(s[i]);
      if (c == '.' || c < 0x20 || c == 0x7F || std::string("\\/:*?\"<>|").find(s[i]) != std::string::npos) continue;
      out += s[i];
    }
    return CutCharacters(out, 32);
  };
  return part(publisher) + "." + part(name);
}

std::vector<std::string> Validate(const InstallerManifest& m) {
  std::vector<std::string> problems;
  // Two to eight parts of 1 to 32 characters, at most 128 in all.
  const std::string& id = m.packageIdentifier;
  bool idValid = !HasForbidden(id) && Characters(id) <= 128;
  size_t dots = 0;
  for (size_t start = 0;; ++dots) {
    const size_t dot = id.find('.', start);
    const std::string part = id.substr(start, dot == std::string::npos ? std::string::npos : dot - start);
    idValid = idValid && !part.empty() && Characters(part) <= 32;
    for (size_t i = 0, length = 1; i < part.size(); i += length) idValid = idValid && !IsBlank(part, i, length);
    if (dot == std::string::npos) break;
    start = dot + 1;
  }
  if (id.empty())
    problems.push_back("PackageIdentifier: missing");
  else if (!idValid || dots < 1 || dots > 7)
    problems.push_back("PackageIdentifier: '" + id +
                       "' must be 2 to 8 parts of 1 to 32 characters joined by '.', without blanks or "
                       "\\ / : * ? \" < > |; give one with --id");

  CheckText(problems, "PackageVersion", m.packageVersion, 128);
  if (HasForbidden(m.packageVersion))
    problems.push_back("PackageVersion: '" + m.packageVersion + "' holds one of \\ / : * ? \" < > |");

  if (m.installerType == "zip") CheckText(problems, "NestedInstallerFiles.RelativeFilePath", m.nestedInstaller, 512);
  else if (m.installerType != "exe") problems.push_back("InstallerType: '" + m.installerType + "' is neither exe nor zip");

  if (m.installerUrl.empty()) problems.push_back("InstallerUrl: missing");
  else if (!IsWebAddress(m.installerUrl))
    problems.push_back("InstallerUrl: '" + m.installerUrl + "' is no http:// or https:// address");
  else if (HasControl(m.installerUrl) || m.installerUrl.size() > 2048)
    problems.push_back("InstallerUrl: holds a control character or is longer than 2048 characters");

  if (!IsHexDigest(m.installerSha256))
    problems.push_back("InstallerSha256: '" + m.installerSha256 + "' is not 64 hexadecimal digits");

  CheckText(problems, "AppsAndFeaturesEntries.DisplayName", m.displayName, 256);
  CheckText(problems, "AppsAndFeaturesEntries.Publisher", m.publisher, 256);
  CheckText(problems, "AppsAndFeaturesEntries.DisplayVersion", m.displayVersion, 128);
  CheckText(problems, "ProductCode", m.productCode, 255);
  return problems;
}

std::string ToYaml(const InstallerManifest& m) {
  std::ostringstream y;
  y << "# Installer manifest written by kvpack from setup.ini (format 1.10.0).\n"
    << "PackageIdentifier: " << Scalar(m.packageIdentifier) << "\n"
    << "PackageVersion: " << Scalar(m.packageVersion) << "\n"
    << "InstallerType: " << m.installerType << "\n";
  if (m.installerType == "zip")
    y << "NestedInstallerType: exe\n"
      << "NestedInstallerFiles:\n"
      << "- RelativeFilePath: " << Scalar(m.nestedInstaller) << "\n";
  y << "Scope: machine\n"
    << "InstallModes:\n- interactive\n- silent\n- silentWithProgress\n"
    << "InstallerSwitches:\n"
    << "  Silent: /quiet\n"
    << "  SilentWithProgress: /passive\n"
    << "  Log: " << Scalar("/log \"<LOGPATH>\"") << "\n"
    << "  InstallLocation: " << Scalar("/dir \"<INSTALLPATH>\"") << "\n"
    << "ExpectedReturnCodes:\n";
  for (const ReturnCode& r : kReturnCodes)
    y << "- InstallerReturnCode: " << r.code << "\n  ReturnResponse: " << r.response << "\n";
  y << "UpgradeBehavior: install\n"
    << "ElevationRequirement: elevatesSelf\n"
    << "ProductCode: " << Scalar(m.productCode) << "\n"
    << "AppsAndFeaturesEntries:\n"
    << "- DisplayName: " << Scalar(m.displayName) << "\n"
    << "  Publisher: " << Scalar(m.publisher) << "\n"
    << "  DisplayVersion: " << Scalar(m.displayVersion) << "\n"
    << "  ProductCode: " << Scalar(m.productCode) << "\n"
    << "  InstallerType: exe\n"
    << "Installers:\n"
    << "- Architecture: x64\n"
    << "  InstallerUrl: " << Scalar(m.installerUrl) << "\n"
    << "  InstallerSha256: " << m.installerSha256 << "\n"
    << "ManifestType: installer\n"
    << "ManifestVersion: 1.10.0\n";
  return y.str();
}

int WriteManifest(const ManifestOptions& options, std::ostream& out, std::ostream& err) {
  auto fail = [&](const std::string& problem) {
    err << "kvpack manifest: " << problem << "\n";
    return 1;
  };
  ProductLoad load = LoadWithProduct(options.iniPath);
  if (load.failure) return fail(options.iniPath + " cannot be loaded: " + *load.failure);
  const kv::CPackage& package = *load.package;

  InstallerManifest m;
  if (options.medium) {
    const std::string& medium = *options.medium;
    std::optional<std::string> hash = Sha256OfFile(medium);
    if (!hash) return fail("cannot read " + medium);
    if (options.sha256 && !kv::EqualsNoCase(*options.sha256, *hash))
      return fail("--sha256 " + *options.sha256 + " is not the hash of " + medium + " (" + *hash + ")");
    m.installerSha256 = *hash;
    if (auto names = ZipEntryNames(medium)) {
      std::string problem;
      m.installerType = "zip";
      m.nestedInstaller = FindNestedSetup(*names, problem);
      if (!problem.empty()) return fail(medium + " " + problem);
    } else {
      std::ifstream in(os::ToPath(medium), std::ios::binary);
      char mz[2] = {};
      if (!in.read(mz, 2) || mz[0] != 'M' || mz[1] != 'Z')
        return fail(medium + " is neither a zip nor a Windows program");
    }
  } else if (options.sha256) {
    m.installerSha256 = *options.sha256;
    for (char& c : m.installerSha256) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  } else {
    return fail("give the installer's hash with --sha256 or the built medium with --medium");
  }
  if (package.Publisher.empty())
    return fail(options.iniPath + " names no Publisher in <header>; without it the uninstall entry lacks what the "
                "package manager reads (version, publisher, quiet uninstall)");

  m.packageIdentifier = options.identifier.value_or(DerivePackageIdentifier(package.Publisher, package.Name));
  m.packageVersion = package.Version;
  m.installerUrl = options.installerUrl;
  m.displayName = kv::UninstallDisplayName(package);
  m.publisher = package.Publisher;
  m.displayVersion = package.Version;
  m.productCode = kv::UninstallEntryName(package);
  std::vector<std::string> problems = Validate(m);
  for (const std::string& p : problems) fail(p);
  if (!problems.empty()) return 1;
  out << ToYaml(m);
  return 0;
}

}  // namespace kvpack
