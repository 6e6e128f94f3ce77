#pragma once
// The macro interpreter: runs a package macro's commands in file order
// against the file system and the registry.
#include "package/CMacro.h"

namespace kv {

struct Session;
class CPackage;

namespace macro {

// Runs `macro` on behalf of `package`; a macro without a group does nothing.
void Execute(const CMacro& macro, Session& session, CPackage& package);

}  // namespace macro
}  // namespace kv
