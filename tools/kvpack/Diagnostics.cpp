#include "Diagnostics.h"

#include <algorithm>

namespace kvpack {

int Diagnostics::ErrorCount() const {
  return static_cast<int>(std::count_if(list_.begin(), list_.end(),
                                        [](const Diagnostic& d) { return d.severity == Severity::Error; }));
}

int Diagnostics::WarningCount() const { return static_cast<int>(list_.size()) - ErrorCount(); }

void Diagnostics::Sort() {
  std::stable_sort(list_.begin(), list_.end(), [](const Diagnostic& a, const Diagnostic& b) {
    if (a.line != b.line) return a.line < b.line;
    return a.severity == Severity::Error && b.severity != Severity::Error;
  });
}

std::string Format(const Diagnostic& d) {
  return d.file + ":" + std::to_string(d.line) + ": " + (d.severity == Severity::Error ? "error" : "warning") +
         ": " + d.text;
}

void Diagnostics::Print(std::ostream& out) const {
  for (const auto& d : list_) out << Format(d) << '\n';
}

}  // namespace kvpack
