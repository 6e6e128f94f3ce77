#pragma once
// A macro of the package: one group of setup.ini whose child groups are the
// commands. This layer only keeps the group; the interpreter (macro layer,
// Windows only) gives Execute its body.
#include <memory>

#include "package/CStructuredFile.h"

namespace kv {

struct Session;
class CPackage;

class CMacro {
 public:
  // The macro's group; null when setup.ini has none (the macro then does
  // nothing when run).
  const std::shared_ptr<CStructuredFileGroup>& Group() const { return group_; }
  void SetGroup(std::shared_ptr<CStructuredFileGroup> group) { group_ = std::move(group); }

  // Runs the macro's commands for `package`. Defined by the macro layer.
  void Execute(Session& session, CPackage& package);

 private:
  std::shared_ptr<CStructuredFileGroup> group_;
};

}  // namespace kv
