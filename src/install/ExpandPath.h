#pragma once
// Path placeholders of package definitions, macros and the path page:
// "*programs*", "*windir*", "*winsysdir*" and "*appdir*" (case does not
// matter, every occurrence is replaced).
#include <string>

namespace kv {
struct Session;
class CPackage;
}  // namespace kv

namespace kv::modInstall {

// "*programs*" -> session.ProgramFilesDir, "*windir*" -> Windows folder,
// "*winsysdir*" -> system folder, "*appdir*" -> package->InstalledIn (only
// when a package is given; otherwise it stays as written). Text brought in by
// a substitution is not expanded again; no backslash is added or removed.
std::string ExpandPath(const Session& session, const std::string& path, const CPackage* package);

}  // namespace kv::modInstall
