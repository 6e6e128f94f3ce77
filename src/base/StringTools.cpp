#include "base/StringTools.h"

namespace kv::modTools {

std::string JoinPath(std::string_view folder, std::string_view name) {
  std::string out(folder);
  if (out.empty() || out.back() != '\\') out += '\\';
  out += name;
  return out;
}

namespace {
// The path without one trailing "\".
std::string_view DropOneBackslash(std::string_view path) {
  if (!path.empty() && path.back() == '\\') path.remove_suffix(1);
  return path;
}
}  // namespace

std::string ParentFolder(std::string_view path) {
  path = DropOneBackslash(path);
  size_t p = path.rfind('\\');
  return p == std::string_view::npos ? std::string() : std::string(path.substr(0, p));
}

std::string FileNamePart(std::string_view path) {
  path = DropOneBackslash(path);
  size_t p = path.rfind('\\');
  return std::string(p == std::string_view::npos ? path : path.substr(p + 1));
}

std::string ValidFileName(std::string_view name) {
  // Removing characters one at a time cannot create a new forbidden one, so
  // a single pass gives the same result as removing each kind in turn.
  std::string out;
  out.reserve(name.size());
  for (char c : name) {
    switch (c) {
      case '*': case '/': case '\\': case ':': case '?': case '"': case '<': case '>': case '|':
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string CutAtNull(std::string_view text) { return std::string(text.substr(0, text.find('\0'))); }

std::wstring CutAtNull(std::wstring_view text) { return std::wstring(text.substr(0, text.find(L'\0'))); }

}  // namespace kv::modTools
