#include "Checker.h"

#include <cctype>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "LineScan.h"
#include "MacroCommands.h"
#include "Manifest.h"
#include "OsFiles.h"
#include "ProductLoad.h"
#include "ProductText.h"
#include "base/Text.h"
#include "base/VbError.h"

namespace kvpack {

namespace {

using Kind = ScanItem::Kind;

const std::vector<const char*> kHeaderKeys = {
    "Name",        "Caption",           "Version",          "EXEFile",         "InfoTip",      "StartMenuGroup",
    "DefaultPath", "DefaultInStartMenu", "DefaultOnDesktop", "DefaultWinStart", "AllowWinStart",
    "Publisher",   "HelpLink"};
const std::vector<const char*> kHeaderFlags = {"DefaultInStartMenu", "DefaultOnDesktop", "DefaultWinStart",
                                               "AllowWinStart"};
const std::vector<const char*> kFileKeys = {"Name",          "DestinationName", "DestinationPath", "SharedFile",
                                            "DontOverwrite", "Register",        "DontUninstall"};
const std::vector<const char*> kFileFlags = {"SharedFile", "DontOverwrite", "DontUninstall"};

bool InList(const std::vector<const char*>& list, const std::string& name) {
  for (const char* k : list)
    if (kv::EqualsNoCase(k, name)) return true;
  return false;
}

std::string Quote(const std::string& s) { return "'" + s + "'"; }

std::vector<std::string> SplitBar(const std::string& s) {
  std::vector<std::string> out;
  if (s.empty()) return out;
  size_t start = 0;
  for (;;) {
    size_t bar = s.find('|', start);
    out.push_back(s.substr(start, bar == std::string::npos ? std::string::npos : bar - start));
    if (bar == std::string::npos) break;
    start = bar + 1;
  }
  return out;
}

// Placeholders are replaced before the interpreter's wildcard test; what is
// left of "*" and "?" afterwards is a real wildcard.
bool HasWildcardAfterExpansion(const std::string& path) {
  std::string folded = kv::LowerCase(path);
  for (const char* ph : {"*programs*", "*windir*", "*winsysdir*", "*appdir*"}) {
    for (size_t at = folded.find(ph); at != std::string::npos; at = folded.find(ph, at))
      folded.replace(at, std::string(ph).size(), "x");
  }
  return folded.find_first_of("*?") != std::string::npos;
}

class Checker {
 public:
  Checker(const CheckOptions& options, CheckReport& report)
      : options_(options), report_(report), diag_(report.diagnostics) {}

  void Run(const ScanResult& scan) {
    const ScanItem& root = scan.root;
    CheckTopLevel(root);
    const ScanItem* header = root.Find("header");
    if (header && header->IsGroup())
      CheckHeader(*header);
    else if (!header)
      diag_.Warning(0, "no <header> group: the package has no Name, Caption or Version");
    if (const ScanItem* files = root.Find("files"); files && files->IsGroup()) CheckFiles(*files);
    else if (!files) diag_.Warning(0, "no <files> group: the installer ends at once for a package without files");
    CheckExeFile(root);
    if (const ScanItem* keys = root.Find("regkeys"); keys && keys->IsGroup()) CheckRegKeys(*keys);
    for (const char* name : MacroGroupNames())
      if (const ScanItem* macro = root.Find(name); macro && macro->IsGroup()) CheckCommands(*macro);
    if (options_.sourceFolder) CheckSources();
  }

 private:
  void CheckTopLevel(const ScanItem& root) {
    for (const auto& item : root.children) {
      const std::string name = item->name;
      bool known = kv::EqualsNoCase(name, "header") || kv::EqualsNoCase(name, "files") ||
                   kv::EqualsNoCase(name, "regkeys");
      for (const char* m : MacroGroupNames()) known = known || kv::EqualsNoCase(name, m);
      if (item->kind == Kind::Property) {
        if (name.find('\t') != std::string::npos) continue;  // reported by the scan
        if (root.Find(name) != item.get()) continue;           // a duplicate key, reported by the scan
        if (known)
          diag_.Error(item->line, Quote(name) + " is written as a value; it must be the group <" + name +
                                      "> and the installer's load fails");
        else
          diag_.Warning(item->line, "value " + Quote(name) + " outside any group is ignored");
      } else if (item->kind == Kind::Collection) {
        diag_.Warning(item->line, known ? "[" + name + "] is a collection item; the installer only finds <" + name +
                                              "> written with angle brackets"
                                        : "unknown group [" + name + "] is ignored");
      } else if (!known) {
        diag_.Warning(item->line, "unknown group <" + name + "> is ignored");
      }
    }
  }

  // Checks shared by every value: the blank after "=" that becomes part of it.
  void CheckLeadingBlank(const ScanItem& p) {
    if (!p.value.empty() && p.value.front() == ' ')
      diag_.Warning(p.line, "the value of " + Quote(p.name) +
                                " begins with a blank, which becomes part of the value; write " + Quote(p.name + "=" +
                                std::string(kv::TrimBlanks(p.value))));
  }

  void CheckFlag(const ScanItem& p) {
    if (p.value == "NO") return;
    std::string v = kv::LowerCase(std::string(kv::TrimBlanks(p.value)));
    if (v == "no" || v == "false" || v == "0" || v == "off" || v == "nein" || v == "n")
      diag_.Warning(p.line, "flag " + Quote(p.name + "=" + p.value) +
                                " counts as true: only the exact value 'NO' (capitals, no blanks) means no");
  }

  void CheckUnknownKey(const ScanItem& p, const char* where) {
    if (p.name.find('\t') != std::string::npos) return;  // reported by the scan
    diag_.Warning(p.line, "unknown key " + Quote(p.name) + " in " + where + " is ignored");
  }

  void CheckHeader(const ScanItem& header) {
    for (const auto& item : header.children) {
      if (item->IsGroup()) {
        diag_.Warning(item->line, "group " + std::string(item->kind == Kind::Collection ? "[" : "<") + item->name +
                                      (item->kind == Kind::Collection ? "]" : ">") + " inside <header> is ignored");
        continue;
      }
      if (!InList(kHeaderKeys, item->name)) {
        CheckUnknownKey(*item, "<header>");
        continue;
      }
      if (InList(kHeaderFlags, item->name))
        CheckFlag(*item);
      else
        CheckLeadingBlank(*item);
    }
    const ScanItem* name = header.Find("Name");
    const ScanItem* version = header.Find("Version");
    if (!name || name->IsGroup())
      diag_.Warning(header.line, "<header> has no Name; the installer calls the package 'Unbekannte Anwendung'");
    if (!version || version->IsGroup()) {
      diag_.Warning(header.line, "<header> has no Version; versions cannot be told apart at update time");
    } else if (version->value.empty() || !std::isdigit(static_cast<unsigned char>(version->value.front()))) {
      diag_.Warning(version->line, "Version " + Quote(version->value) +
                                       " does not begin with a number; the installer cannot compare it with other versions");
    }
    CheckPublisher(header);
    for (const ScanItem* p : {name, version}) {
      if (p && !p->IsGroup() && p->value.find_first_of("\\/:*?\"<>|") != std::string::npos)
        diag_.Warning(p->line, p->name + " " + Quote(p->value) +
                                   " holds a character that cannot stand in a folder name; the package data folder is named after Name_Version");
    }
  }

  // The keys for package managers: only a Publisher brings the fuller
  // uninstall entry, and the help address must be one the system can open.
  void CheckPublisher(const ScanItem& header) {
    const ScanItem* publisher = header.Find("Publisher");
    const ScanItem* help = header.Find("HelpLink");
    if (publisher && publisher->IsGroup()) publisher = nullptr;
    if (help && help->IsGroup()) help = nullptr;
    if (publisher && publisher->value.empty())
      diag_.Warning(publisher->line, "Publisher is empty; the uninstall entry stays without publisher, version, size "
                                     "and quiet uninstall");
    else if (publisher && publisher->value.size() > 256)  // one byte per character in the ANSI code page
      diag_.Warning(publisher->line, "Publisher is longer than the 256 characters package managers accept");
    if (!help) return;
    if (!IsWebAddress(help->value))
      diag_.Warning(help->line, "HelpLink " + Quote(help->value) + " is no http:// or https:// address");
    else if (!publisher || publisher->value.empty())
      diag_.Warning(help->line, "HelpLink is written into the uninstall entry only together with a Publisher");
  }

  void AddSource(const std::string& name, int line) {
    std::string key = kv::LowerCase(name);
    for (char& c : key)
      if (c == '/') c = '\\';
    if (!sourceKeys_.insert(key).second) return;
    report_.sourceFiles.push_back({name, line});
  }

  void CheckFiles(const ScanItem& files) {
    std::map<std::string, int> names;  // folded Name -> line of its record
    for (const auto& item : files.children) {
      if (!item->IsGroup()) {
        diag_.Error(item->line, "bare value " + Quote(item->name) +
                                    " inside <files>; only [file] groups may stand there and the installer's load fails");
        continue;
      }
      if (!kv::EqualsNoCase(item->name, "file")) {
        diag_.Warning(item->line, "group " + Quote(item->name) + " inside <files> is ignored; files are written as [file]");
        continue;
      }
      CheckFileRecord(*item, names);
    }
  }

  void CheckFileRecord(const ScanItem& file, std::map<std::string, int>& names) {
    register_ = nullptr;
    for (const auto& item : file.children) {
      if (item->IsGroup()) {
        diag_.Warning(item->line, "group " + Quote(item->name) + " inside [file] is ignored");
        continue;
      }
      if (!InList(kFileKeys, item->name)) {
        CheckUnknownKey(*item, "[file]");
        continue;
      }
      if (InList(kFileFlags, item->name)) {
        CheckFlag(*item);
      } else if (kv::EqualsNoCase(item->name, "Register")) {
        register_ = item.get();
      } else if (!kv::EqualsNoCase(item->name, "DestinationPath")) {
        CheckLeadingBlank(*item);
      }
    }
    const ScanItem* name = file.Find("Name");
    if (!name || name->IsGroup() || name->value.empty()) {
      diag_.Warning(file.line, "[file] without Name describes no file and is ignored");
      return;
    }
    // Register is converted only for a group that names files, as the
    // installer converts it once per record.
    if (register_) CheckRegister(*register_);
    std::vector<std::string> pieces = SplitBar(name->value);
    if (const ScanItem* dest = file.Find("DestinationName"); dest && !dest->IsGroup()) {
      size_t destPieces = SplitBar(dest->value).size();
      if (destPieces > pieces.size())
        diag_.Warning(dest->line, "DestinationName has more parts (" + std::to_string(destPieces) + ") than Name (" +
                                      std::to_string(pieces.size()) + "); the extra ones are ignored");
    }
    RememberDestinations(file, pieces);
    for (const std::string& piece : pieces) {
      if (piece.empty()) {
        diag_.Warning(name->line, "Name " + Quote(name->value) + " holds an empty part, which becomes a file record without a name");
      }
      std::string key = kv::LowerCase(piece);
      auto found = names.find(key);
      if (found != names.end()) {
        diag_.Error(name->line, "file " + Quote(piece) + " is listed twice (also on line " + std::to_string(found->second) +
                                    "); the installer's load fails on the duplicate");
        continue;
      }
      names[key] = name->line;
      if (!piece.empty()) AddSource(piece, name->line);
    }
  }

  // Where each record lands relative to the installation folder, for the
  // EXEFile test: "*appdir*" or an empty DestinationPath is that folder.
  void RememberDestinations(const ScanItem& file, const std::vector<std::string>& pieces) {
    const ScanItem* pathItem = file.Find("DestinationPath");
    std::string path = pathItem && !pathItem->IsGroup() ? std::string(kv::TrimBlanks(pathItem->value)) : "";
    std::string folded = kv::LowerCase(path);
    if (folded.rfind("*appdir*", 0) == 0) folded = folded.substr(8);
    else if (!folded.empty()) return;
    while (!folded.empty() && (folded.front() == '\\' || folded.front() == '/')) folded.erase(0, 1);
    while (!folded.empty() && (folded.back() == '\\' || folded.back() == '/')) folded.pop_back();
    const ScanItem* destItem = file.Find("DestinationName");
    std::vector<std::string> dests = destItem && !destItem->IsGroup() ? SplitBar(destItem->value) : std::vector<std::string>{};
    dests.resize(pieces.size());
    for (size_t i = 0; i < pieces.size(); ++i) {
      std::string name = kv::LowerCase(dests[i].empty() ? pieces[i] : dests[i]);
      std::string full = folded.empty() ? name : folded + "\\" + name;
      for (char& c : full)
        if (c == '/') c = '\\';
      installedInAppDir_.insert(full);
    }
  }

  void CheckExeFile(const ScanItem& root) {
    const ScanItem* header = root.Find("header");
    const ScanItem* exe = header && header->IsGroup() ? header->Find("EXEFile") : nullptr;
    if (!exe || exe->IsGroup() || exe->value.empty()) return;
    std::string want = kv::LowerCase(exe->value);
    for (char& c : want)
      if (c == '/') c = '\\';
    if (!installedInAppDir_.count(want))
      diag_.Warning(exe->line, "EXEFile " + Quote(exe->value) +
                                   " is not installed into the installation folder by any [file]; links and the "
                                   "program start would point to nothing");
  }

  void CheckRegister(const ScanItem& p) {
    try {
      int32_t kind = kv::ToInt32(p.value);
      if (kind < 0 || kind > 4)
        diag_.Warning(p.line, "Register=" + p.value + " is not one of 0 to 4; the file is not registered");
    } catch (const kv::VbError& e) {
      diag_.Error(p.line, "Register " + Quote(p.value) + " is not a number" +
                              (e.Number() == kv::vberr::Overflow ? " in the 32-bit range" : "") +
                              "; the installer's load fails");
    }
  }

  void CheckRegKeys(const ScanItem& keys) {
    for (const auto& item : keys.children) {
      if (!item->IsGroup()) {
        diag_.Error(item->line, "bare value " + Quote(item->name) +
                                    " inside <regkeys>; only [regkey] groups may stand there and the installer's load fails");
        continue;
      }
      if (!kv::EqualsNoCase(item->name, "regkey")) {
        diag_.Warning(item->line, "group " + Quote(item->name) + " inside <regkeys> is ignored; keys are written as [regkey]");
        continue;
      }
      for (const auto& p : item->children) {
        if (p->IsGroup()) diag_.Warning(p->line, "group " + Quote(p->name) + " inside [regkey] is ignored");
        else if (!kv::EqualsNoCase(p->name, "Name")) CheckUnknownKey(*p, "[regkey]");
        else CheckLeadingBlank(*p);
      }
      const ScanItem* name = item->Find("Name");
      if (!name || name->IsGroup() || name->value.empty())
        diag_.Warning(item->line, "[regkey] without Name removes nothing");
      else
        CheckRoot(*name, "uninstallation cannot tell under which root to delete it", true);
    }
  }

  // `always`: also a key without any root is suspicious (macros take such a
  // key below HKEY_CURRENT_USER on purpose, [regkey] names its root).
  void CheckRoot(const ScanItem& key, const std::string& consequence, bool always = false) {
    std::string v = kv::LowerCase(key.value);
    for (const char* root : {"hkey_current_user\\", "hkey_local_machine\\", "hkey_classes_root\\"})
      if (v.rfind(root, 0) == 0) return;
    if (always || v.rfind("hk", 0) == 0)
      diag_.Warning(key.line, "key " + Quote(key.value) +
                                  " does not begin with HKEY_CURRENT_USER\\, HKEY_LOCAL_MACHINE\\ or HKEY_CLASSES_ROOT\\; " +
                                  consequence);
  }

  // `block` is an ifregstring whose own values are its parameters.
  void CheckCommands(const ScanItem& group, bool block = false) {
    for (const auto& item : group.children) {
      if (block && item->kind == Kind::Property) continue;  // checked as parameters
      if (item->kind != Kind::Collection) {
        if (item->kind == Kind::Property && item->name.find('\t') != std::string::npos) continue;
        diag_.Warning(item->line, Quote(item->name) + " is not a command and is ignored; commands are written as [" +
                                      kv::LowerCase(item->name) + "] ... [/" + kv::LowerCase(item->name) + "]");
        continue;
      }
      const MacroCommand* cmd = FindMacroCommand(item->name);
      if (!cmd) {
        diag_.Warning(item->line, "unknown macro command [" + item->name + "] does nothing");
        continue;
      }
      CheckCommand(*item, *cmd);
    }
  }

  void CheckCommand(const ScanItem& item, const MacroCommand& cmd) {
    for (const auto& p : item.children) {
      if (p->IsGroup()) {
        if (!cmd.hasChildren)
          diag_.Warning(p->line, "group " + Quote(p->name) + " inside [" + item.name + "] is ignored");
        continue;
      }
      bool known = false;
      for (const char* k : cmd.params) known = known || kv::EqualsNoCase(k, p->name);
      if (!known) {
        if (p->name.find('\t') == std::string::npos)
          diag_.Warning(p->line, "unknown parameter " + Quote(p->name) + " of [" + item.name + "] is ignored");
        continue;
      }
      CheckLeadingBlank(*p);
    }
    auto param = [&](const char* key) -> const ScanItem* {
      const ScanItem* p = item.Find(key);
      return p && !p->IsGroup() ? p : nullptr;
    };
    if (cmd.guardedPath) {
      const ScanItem* path = param(cmd.guardedPath);
      if (!path || kv::TrimBlanks(path->value).empty())
        diag_.Warning(path ? path->line : item.line,
                      "[" + item.name + "] has no " + cmd.guardedPath + "; it deletes nothing");
      else if (HasWildcardAfterExpansion(path->value))
        diag_.Warning(path->line, "[" + item.name + "] path " + Quote(path->value) +
                                      " holds a wildcard; the installer deletes nothing for it");
    }
    if (cmd.sourceFile) {
      const ScanItem* src = param(cmd.sourceFile);
      if (!src || src->value.empty())
        diag_.Warning(item.line, "[" + item.name + "] has no " + cmd.sourceFile + "; it installs nothing");
      else
        AddSource(src->value, src->line);
    }
    if (cmd.numberParam) {
      if (const ScanItem* num = param(cmd.numberParam)) {
        try {
          kv::ToInt32(num->value);
        } catch (const kv::VbError&) {
          diag_.Warning(num->line, std::string(cmd.numberParam) + " " + Quote(num->value) + " of [" + item.name +
                                       "] is not a number; the command fails when it runs");
        }
      }
    }
    if (const ScanItem* key = param("Key"); key && InList(cmd.params, "Key"))
      CheckRoot(*key, "the installer uses HKEY_CURRENT_USER with the whole text as the key");
    if (cmd.hasChildren) {
      const ScanItem* data = param("Data");
      const ScanItem* dataNot = param("DataNot");
      if ((!data || data->value.empty()) && (!dataNot || dataNot->value.empty()))
        diag_.Warning(item.line, "[" + item.name + "] has neither Data nor DataNot; its commands never run");
      CheckCommands(item, true);
    }
  }

  void CheckSources() {
    for (const SourceFile& s : report_.sourceFiles) {
      auto relative = MediumRelativePath(s.name);
      if (!relative) {
        diag_.Warning(s.line, "file " + Quote(s.name) + " does not lie inside the package folder");
        continue;
      }
      if (!FindSource(*options_.sourceFolder, *relative))
        diag_.Warning(s.line, "file " + Quote(s.name) + " is missing in the source folder " + *options_.sourceFolder);
    }
  }

  const CheckOptions& options_;
  CheckReport& report_;
  Diagnostics& diag_;
  std::set<std::string> sourceKeys_;
  const ScanItem* register_ = nullptr;  // Register of the file group being checked
  std::set<std::string> installedInAppDir_;  // lower case, relative to the installation folder
};

}  // namespace

std::optional<std::string> MediumRelativePath(const std::string& name) {
  if (name.empty() || name.front() == '\\' || name.front() == '/' || name.find(':') != std::string::npos) return {};
  std::string out;
  size_t start = 0;
  for (;;) {
    size_t sep = name.find_first_of("\\/", start);
    std::string part = name.substr(start, sep == std::string::npos ? std::string::npos : sep - start);
    if (part.empty() || part == "." || part == "..") return {};
    if (!out.empty()) out += '/';
    out += part;
    if (sep == std::string::npos) break;
    start = sep + 1;
  }
  return out;
}

std::optional<std::string> FindSource(const std::string& folder, const std::string& relative) {
  namespace fs = std::filesystem;
  std::error_code ec;
  fs::path current = os::ToPath(folder);
  size_t start = 0;
  for (;;) {
    size_t sep = relative.find('/', start);
    std::string part = relative.substr(start, sep == std::string::npos ? std::string::npos : sep - start);
    bool last = sep == std::string::npos;
    fs::path exact = current / os::ToPath(part);
    if (last ? fs::is_regular_file(exact, ec) : fs::is_directory(exact, ec)) {
      current = exact;
    } else {
      bool found = false;
      for (fs::directory_iterator it(current, ec), end; !ec && it != end; it.increment(ec)) {
        if (!kv::EqualsNoCase(os::FromPath(it->path().filename()), part)) continue;
        if (last ? it->is_regular_file(ec) : it->is_directory(ec)) {
          current = it->path();
          found = true;
          break;
        }
      }
      if (!found) return {};
    }
    if (last) return os::FromPath(current);
    start = sep + 1;
  }
}

namespace {

// The installer reads setup.ini in the ANSI code page. A byte order mark
// makes the first line a value instead of "<header>", and the file then fails
// to load at that group's closing line. UTF-8 text without one loads, but
// every umlaut turns into two odd characters in the wizard and in the names of
// files and folders. Both are errors: the package would not install as meant.
void CheckEncoding(const std::string& bytes, Diagnostics& diag) {
  if (bytes.rfind("\xEF\xBB\xBF", 0) == 0) {
    diag.Error(1, "the file begins with a UTF-8 byte order mark, which the installer reads as part of the first "
                  "line, so that the file does not load; save it in the ANSI code page (Windows-1252)");
    return;
  }
  int line = 1;
  for (size_t i = 0; i < bytes.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(bytes[i]);
    if (c == '\n' || (c == '\r' && !(i + 1 < bytes.size() && bytes[i + 1] == '\n'))) ++line;
    // A two-byte UTF-8 sequence for a Latin letter is vanishingly rare in
    // real Windows-1252 text ("Ã¤" for "ä").
    if ((c == 0xC3 || c == 0xC2) && i + 1 < bytes.size() &&
        (static_cast<unsigned char>(bytes[i + 1]) & 0xC0) == 0x80) {
      diag.Error(line, "the file is UTF-8 encoded; the installer reads Windows-1252 and shows '" +
                           product::DecodeAnsi(bytes.substr(i, 2)) + "' for '" + bytes.substr(i, 2) +
                           "'; save it in the ANSI code page");
      return;
    }
  }
}

}  // namespace

CheckReport CheckPackage(const CheckOptions& options) {
  CheckReport report;
  report.diagnostics = Diagnostics(options.displayName.empty() ? options.iniPath : options.displayName);
  Diagnostics& diag = report.diagnostics;
  std::ifstream in(os::ToPath(options.iniPath), std::ios::binary);
  if (!in) {
    diag.Error(0, "cannot open the file");
    report.readable = false;
    return report;
  }
  std::ostringstream bytes;
  bytes << in.rdbuf();
  CheckEncoding(bytes.str(), diag);
  std::vector<std::string> lines = SplitLines(bytes.str());
  ScanResult scan = ScanLines(lines, diag);
  Checker(options, report).Run(scan);

  // The product's own reader has the last word on whether the file loads:
  // if it fails where this scan saw nothing, say so rather than stay silent.
  if (diag.ErrorCount() == 0) {
    if (auto failure = ProductLoadFailure(options.iniPath))
      diag.Error(0, "the installer cannot load this file: " + *failure);
  }
  diag.Sort();
  return report;
}

int ExitCode(const Diagnostics& diagnostics, bool strict) {
  if (diagnostics.ErrorCount() > 0) return 1;
  if (strict && diagnostics.WarningCount() > 0) return 2;
  return 0;
}

}  // namespace kvpack
