#pragma once
// A macro of the package: one group of setup.ini whose child groups are the
// commands. The package only keeps the group; running it is the macro
// layer's business (macro/Interpreter.h).
#include <memory>

#include "package/CStructuredFile.h"

namespace kv {

class CMacro {
 public:
  // The macro's group; null when setup.ini has none (the macro then does
  // nothing when run).
  const std::shared_ptr<CStructuredFileGroup>& Group() const { return group_; }
  void SetGroup(std::shared_ptr<CStructuredFileGroup> group) { group_ = std::move(group); }

 private:
  std::shared_ptr<CStructuredFileGroup> group_;
};

}  // namespace kv
