#pragma once
// One finding of the checker, printed as `file:line: error|warning: text`,
// the shape editors and build logs already know how to jump to.
#include <ostream>
#include <string>
#include <vector>

namespace kvpack {

enum class Severity { Warning, Error };

struct Diagnostic {
  std::string file;  // as the user named it
  int line = 0;      // 1-based; 0 when the finding concerns the file as a whole
  Severity severity = Severity::Error;
  std::string text;
};

class Diagnostics {
 public:
  explicit Diagnostics(std::string file = {}) : file_(std::move(file)) {}

  void Error(int line, std::string text) { Add(line, Severity::Error, std::move(text)); }
  void Warning(int line, std::string text) { Add(line, Severity::Warning, std::move(text)); }
  void Add(int line, Severity severity, std::string text) {
    list_.push_back({file_, line, severity, std::move(text)});
  }

  const std::vector<Diagnostic>& List() const { return list_; }
  int ErrorCount() const;
  int WarningCount() const;
  // Line order, errors before warnings on the same line; stable otherwise.
  void Sort();
  void Print(std::ostream& out) const;

 private:
  std::string file_;
  std::vector<Diagnostic> list_;
};

std::string Format(const Diagnostic& d);

}  // namespace kvpack
