#pragma once
// A second reading of a structured file that keeps what the product's reader
// drops: the line of every item. It follows the reader's rules line by line
// (same trimming, same order of tests, same duplicate-key rule), but where the
// reader stops at the first error it records the problem, recovers and goes
// on, so that one check run reports every problem of the file.
#include <memory>
#include <string>
#include <vector>

#include "Diagnostics.h"

namespace kvpack {

struct ScanItem {
  enum class Kind { Root, Property, NamedGroup, Collection };
  Kind kind = Kind::Property;
  std::string name;   // property name, group name or collection type (UTF-8)
  std::string value;  // properties only
  bool hasEquals = false;
  int line = 0;       // line of the property or the opening line
  int closeLine = 0;  // 0: the file ended before the closing line
  std::vector<std::unique_ptr<ScanItem>> children;

  bool IsGroup() const { return kind != Kind::Property; }
  // First child property or named group under this key (case-insensitive).
  const ScanItem* Find(const std::string& key) const;
};

struct ScanResult {
  ScanItem root;
  // The product's reader would stop with an error somewhere in the file.
  bool loadFails = false;
};

// Splits raw file bytes into lines the way the installer's reader does and
// decodes each from the ANSI code page.
std::vector<std::string> SplitLines(const std::string& bytes);

ScanResult ScanLines(const std::vector<std::string>& lines, Diagnostics& diag);

// Helpers shared by the checker.
std::string TrimBlanks(const std::string& s);  // spaces only, like the reader
std::string Fold(const std::string& s);        // case-insensitive key form

}  // namespace kvpack
