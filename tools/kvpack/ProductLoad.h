#pragma once
// Loads a package definition with the installer's own package code, so that
// the checker's verdict never disagrees with the installer about whether a
// file loads at all.
#include <memory>
#include <optional>
#include <string>

#include "package/CPackage.h"

namespace kvpack {

// Null and an empty failure text when the installer loads the file; the
// failure (error number and what it means) otherwise.
struct ProductLoad {
  std::unique_ptr<kv::CPackage> package;
  std::optional<std::string> failure;
};
ProductLoad LoadWithProduct(const std::string& iniPath);

inline std::optional<std::string> ProductLoadFailure(const std::string& iniPath) {
  return LoadWithProduct(iniPath).failure;
}

}  // namespace kvpack
