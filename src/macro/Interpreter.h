#pragma once
// The macro interpreter: runs a package macro's commands in file order
// against the file system and the registry.
#include "macro/MacroHost.h"
#include "package/CMacro.h"

namespace kv {

struct Session;
class CPackage;

namespace macro {

// Runs `macro` on behalf of `package`; a macro without a group does nothing.
// Windows only (SystemHost.cpp).
void Execute(const CMacro& macro, Session& session, CPackage& package);
// The same through any host; builds everywhere.
void Execute(const CMacro& macro, MacroHost& host);

}  // namespace macro
}  // namespace kv
