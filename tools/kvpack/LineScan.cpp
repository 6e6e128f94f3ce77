#include "LineScan.h"

#include <map>

#include "ProductText.h"

namespace kvpack {

std::string TrimBlanks(const std::string& s) { return std::string(kv::TrimBlanks(s)); }
std::string Fold(const std::string& s) { return product::FoldCase(s); }

const ScanItem* ScanItem::Find(const std::string& key) const {
  std::string k = Fold(key);
  for (const auto& c : children)
    if (c->kind != Kind::Collection && Fold(c->name) == k) return c.get();
  return nullptr;
}

std::vector<std::string> SplitLines(const std::string& bytes) {
  // CR LF, a lone CR and a lone LF each end a line, as in the installer's
  // reader; the bytes are decoded line by line (CR and LF are the same byte
  // in every ANSI code page).
  std::vector<std::string> lines;
  std::string current;
  for (size_t i = 0; i < bytes.size(); ++i) {
    char c = bytes[i];
    if (c == '\r' || c == '\n') {
      if (c == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n') ++i;
      lines.push_back(product::DecodeAnsi(current));
      current.clear();
    } else {
      current += c;
    }
  }
  if (!current.empty()) lines.push_back(product::DecodeAnsi(current));
  return lines;
}

namespace {

bool StartsWith(const std::string& s, const char* p) { return s.rfind(p, 0) == 0; }
bool EndsWith(const std::string& s, char c) { return !s.empty() && s.back() == c; }

std::string Describe(const ScanItem& g) {
  if (g.kind == ScanItem::Kind::Collection) return "[" + g.name + "]";
  return "<" + g.name + ">";
}

struct Frame {
  ScanItem* group;
  std::map<std::string, int> keys;  // folded key -> line of first use
};

}  // namespace

ScanResult ScanLines(const std::vector<std::string>& lines, Diagnostics& diag) {
  ScanResult result;
  result.root.kind = ScanItem::Kind::Root;
  std::vector<Frame> stack;
  stack.push_back({&result.root, {}});

  auto fail = [&](int line, std::string text) {
    diag.Error(line, std::move(text));
    result.loadFails = true;
  };
  auto addKeyed = [&](std::unique_ptr<ScanItem> item) -> ScanItem* {
    Frame& f = stack.back();
    std::string key = Fold(item->name);
    auto found = f.keys.find(key);
    if (found != f.keys.end()) {
      fail(item->line, "duplicate key '" + item->name + "' (first used on line " + std::to_string(found->second) +
                           "); the installer cannot load the file");
    } else {
      f.keys[key] = item->line;
    }
    f.group->children.push_back(std::move(item));
    return f.group->children.back().get();
  };
  // Recovery after a wrong closing line: close up to a matching open group
  // if there is one, otherwise ignore the line.
  auto closeTo = [&](ScanItem::Kind kind, const std::string& name, int line) {
    for (size_t i = stack.size(); i-- > 1;) {
      ScanItem* g = stack[i].group;
      if (g->kind == kind && Fold(g->name) == Fold(name)) {
        g->closeLine = line;
        stack.resize(i);
        return;
      }
    }
  };

  for (size_t n = 0; n < lines.size(); ++n) {
    const int lineNo = static_cast<int>(n) + 1;
    const std::string line = TrimBlanks(lines[n]);
    if (line.empty()) continue;
    ScanItem* current = stack.back().group;

    if (EndsWith(line, '>') && StartsWith(line, "</")) {
      std::string name = TrimBlanks(line.substr(2, line.size() - 3));
      if (current->kind == ScanItem::Kind::Collection) {
        fail(lineNo, "closing line '" + line + "' ends a named group, but the open group is " + Describe(*current) +
                         " from line " + std::to_string(current->line) + " (expected '[/" + current->name + "]')");
        closeTo(ScanItem::Kind::NamedGroup, name, lineNo);
      } else if (Fold(name) != Fold(current->name)) {
        if (current->kind == ScanItem::Kind::Root)
          fail(lineNo, "closing line '" + line + "' has no matching opening line");
        else
          fail(lineNo, "closing line '" + line + "' does not match " + Describe(*current) + " from line " +
                           std::to_string(current->line) + " (expected '</" + current->name + ">')");
        closeTo(ScanItem::Kind::NamedGroup, name, lineNo);
      } else if (current->kind == ScanItem::Kind::Root) {
        // "</>" at the top ends the reading of the whole file.
        for (size_t m = n + 1; m < lines.size(); ++m) {
          if (!TrimBlanks(lines[m]).empty()) {
            diag.Warning(lineNo, "'</>' ends the file here; the installer ignores every line after it");
            break;
          }
        }
        return result;
      } else {
        current->closeLine = lineNo;
        stack.pop_back();
      }
      continue;
    }
    if (EndsWith(line, ']') && StartsWith(line, "[/")) {
      std::string name = TrimBlanks(line.substr(2, line.size() - 3));
      if (current->kind != ScanItem::Kind::Collection) {
        std::string expected = current->kind == ScanItem::Kind::Root ? std::string("no open group")
                                                                     : "'</" + current->name + ">' expected";
        fail(lineNo, "closing line '" + line + "' ends a collection item, but " +
                         (current->kind == ScanItem::Kind::Root
                              ? std::string("no collection item is open")
                              : "the open group is " + Describe(*current) + " from line " +
                                    std::to_string(current->line) + " (" + expected + ")"));
        closeTo(ScanItem::Kind::Collection, name, lineNo);
      } else if (Fold(name) != Fold(current->name)) {
        fail(lineNo, "closing line '" + line + "' does not match " + Describe(*current) + " from line " +
                         std::to_string(current->line) + " (expected '[/" + current->name + "]')");
        closeTo(ScanItem::Kind::Collection, name, lineNo);
      } else {
        current->closeLine = lineNo;
        stack.pop_back();
      }
      continue;
    }
    if (EndsWith(line, '>') && StartsWith(line, "<")) {
      auto g = std::make_unique<ScanItem>();
      g->kind = ScanItem::Kind::NamedGroup;
      g->name = TrimBlanks(line.substr(1, line.size() - 2));
      g->line = lineNo;
      ScanItem* added = addKeyed(std::move(g));
      stack.push_back({added, {}});
      continue;
    }
    if (EndsWith(line, ']') && StartsWith(line, "[")) {
      auto g = std::make_unique<ScanItem>();
      g->kind = ScanItem::Kind::Collection;
      g->name = TrimBlanks(line.substr(1, line.size() - 2));
      g->line = lineNo;
      current->children.push_back(std::move(g));
      stack.push_back({current->children.back().get(), {}});
      continue;
    }
    auto p = std::make_unique<ScanItem>();
    p->kind = ScanItem::Kind::Property;
    p->line = lineNo;
    size_t eq = line.find('=');
    if (eq == std::string::npos) {
      p->name = line;
    } else {
      p->hasEquals = true;
      p->name = line.substr(0, eq);
      size_t e = p->name.find_last_not_of(' ');
      p->name = e == std::string::npos ? std::string() : p->name.substr(0, e + 1);
      p->value = line.substr(eq + 1);
    }
    if (p->name.find('\t') != std::string::npos) {
      size_t first = p->name.find_first_not_of(" \t");
      bool groupLike = first != std::string::npos && (p->name[first] == '<' || p->name[first] == '[');
      diag.Warning(lineNo, groupLike ? "line indented with a tab is read as a property named '" + p->name +
                                           "', not as a group line; indent with blanks only"
                                     : "tab character in the name '" + p->name +
                                           "' becomes part of the key; indent with blanks only");
    }
    addKeyed(std::move(p));
  }
  for (size_t i = stack.size(); i-- > 1;) {
    diag.Warning(stack[i].group->line,
                 Describe(*stack[i].group) + " is never closed; the installer closes it at the end of the file");
  }
  return result;
}

}  // namespace kvpack
