#pragma once
// `kvpack manifest`: the installer manifest (format 1.10.0) with which a
// package is offered in the package manager's community repository. Only the
// installer manifest: the version and locale manifests beside it carry
// descriptions and a licence that setup.ini does not know.
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace kvpack {

// What varies from package to package; the switches, return codes, scope and
// elevation are KVSetup's own and the same for every package.
struct InstallerManifest {
  std::string packageIdentifier;  // Publisher.Name
  std::string packageVersion;
  std::string installerType = "exe";  // "exe" (setup.exe) or "zip" (a zipped medium)
  std::string nestedInstaller;        // zip only: setup.exe's path inside the zip
  std::string installerUrl;
  std::string installerSha256;
  std::string displayName;  // as the uninstall entry writes them
  std::string publisher;
  std::string displayVersion;
  std::string productCode;  // the uninstall entry's key name
};

// Every field the format requires is present and in its range: one line per
// problem, naming the field; empty when the manifest is valid.
std::vector<std::string> Validate(const InstallerManifest& manifest);

// The manifest as YAML (UTF-8).
std::string ToYaml(const InstallerManifest& manifest);

// "Publisher.Name" with what the format does not allow in an identifier
// (blanks, dots, \ / : * ? " < > | and control characters) left out and
// each part cut to 32 characters.
std::string DerivePackageIdentifier(const std::string& publisher, const std::string& name);

// An http:// or https:// address with something after the scheme, as the
// format (and the system's list of installed software) accepts it.
bool IsWebAddress(const std::string& text);

struct ManifestOptions {
  std::string iniPath;
  std::string installerUrl;
  std::optional<std::string> sha256;      // the installer's hash, when no medium is given
  std::optional<std::string> medium;      // a built setup.exe or a zipped medium
  std::optional<std::string> identifier;  // instead of the derived one
};

// Prints the manifest on `out`; returns 0, or 1 with the reasons on `err`
// (nothing on `out` then).
int WriteManifest(const ManifestOptions& options, std::ostream& out, std::ostream& err);

}  // namespace kvpack
