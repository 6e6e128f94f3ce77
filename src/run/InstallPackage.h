#pragma once
// The installation run: every file of the package, then the registration with
// the system, then the package's macros, then the replacements that must wait
// for a restart. Called once by the progress page.
namespace kv {
struct Session;
class CPackage;
}  // namespace kv

namespace kv::modInstall {

// `repair`: reinstall every installed file (with the old copy kept aside until
// the new one is in place) and skip the registration phase. `update`: run
// "onupdate" instead of "onfreshinstall". The outcome travels through
// session.Cancelled, FilesInstalled, RestartRequired, PackageRegistered and
// the package's status records; nothing is reported here - the routines it
// calls report their own failures.
void InstallPackage(Session& session, CPackage& package, bool repair, bool update);

}  // namespace kv::modInstall
