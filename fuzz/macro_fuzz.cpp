// Runs arbitrary macro groups through the interpreter against a recording
// stand-in of the system: an in-memory file system and registry, a prompt
// that answers from the input. Nothing real is touched.
//
// Input: the body of a macro group (setup.ini text), optionally followed by a
// line "####" and control bytes: [0] the installation folder (empty one
// included), [1] the programs folder, [2..5] which operations fail (bit i:
// the i-th operation of the run), then one byte per prompt (mod 3: abort,
// retry, ignore; after kMaxRetries retries, bit 7 picks abort over ignore).
//
// Checks, besides sanitizers, what the interpreter promises:
// - a deleting operation never gets an empty path or one holding "*" or "?";
// - with an empty installation folder nothing built from "*appdir*" reaches
//   the system, and installfile into that folder never runs;
// - after a confirmed abort nothing further happens;
// - a prompt follows only the failure line of a command that may ask, and
//   Retry runs that very command again;
// - every change the stand-in records is covered by the log line of a known
//   command of the kind that makes it (an unknown command does nothing);
// - regsetdword writes what a plain decimal Data says.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "base/NoWindowUi.h"
#include "base/Text.h"
#include "base/VbError.h"
#include "install/Placeholders.h"
#include "macro/Interpreter.h"
#include "macro/MacroHost.h"
#include "package/CMacro.h"
#include "package/CStructuredFile.h"

using namespace kv;
using namespace kv::macro;

namespace {

void Check(bool condition, const char* what) {
  if (!condition) {
    fprintf(stderr, "macro_fuzz: broken promise: %s\n", what);
    abort();
  }
}

constexpr int kMaxRetries = 8;

enum class Op { Remove, Copy, Rename, MakeFolder, RemoveFolder, Install, WriteString, WriteNumber, DeleteValue };

std::string Lower(std::string_view text) {
  std::string out(text);
  for (char& c : out)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return out;
}

std::string_view Blankless(std::string_view text) {
  size_t a = text.find_first_not_of(' ');
  if (a == std::string_view::npos) return {};
  return text.substr(a, text.find_last_not_of(' ') - a + 1);
}

bool Deletable(std::string_view path) {
  std::string_view t = Blankless(path);
  return !t.empty() && t.find_first_of("*?") == std::string_view::npos;
}

// The commands by their own name, and the changes each may make.
struct Kind {
  bool silent;
  std::vector<Op> ops;
};
const std::map<std::string, Kind, std::less<>>& Kinds() {
  static const std::map<std::string, Kind, std::less<>> kinds{
      {"installfile", {false, {Op::Install}}},
      {"deletefile", {false, {Op::Remove}}},
      {"silentdeletefile", {true, {Op::Remove}}},
      {"removedir", {true, {Op::RemoveFolder}}},
      {"makedir", {false, {Op::MakeFolder}}},
      {"copyfile", {false, {Op::Copy}}},
      {"silentcopyfile", {true, {Op::Copy}}},
      {"movefile", {false, {Op::Copy, Op::Remove}}},
      {"silentmovefile", {true, {Op::Copy, Op::Remove}}},
      {"renamefile", {false, {Op::Rename}}},
      {"silentrenamefile", {true, {Op::Rename}}},
      {"regdelete", {false, {Op::DeleteValue}}},
      {"regsetstring", {false, {Op::WriteString}}},
      {"regsetdword", {false, {Op::WriteNumber}}},
      {"ifregstring", {false, {}}},
  };
  return kinds;
}

// What the run log says about a command: "[name] a=b c=d".
struct Known {
  const Kind* kind;  // null: unknown command
  const CStructuredFileGroup* group;
};
void Collect(const CStructuredFileGroup& group, std::map<std::string, Known>& out) {
  for (const auto& item : group.Items) {
    const CStructuredFileGroup* child = item ? item->AsGroup() : nullptr;
    if (!child) continue;
    if (child->CollectionItem) {
      std::string text = "[" + child->Name + "]";
      for (const auto& p : child->Items)
        if (const CStructuredFileProp* prop = p ? p->AsProp() : nullptr) text += " " + prop->Name + "=" + prop->Value;
      auto found = Kinds().find(Lower(Blankless(child->Name)));
      out.emplace(text, Known{found == Kinds().end() ? nullptr : &found->second, child});
    }
    Collect(*child, out);
  }
}

class RecordingHost final : public MacroHost {
 public:
  RecordingHost(std::string folder, std::string programs, uint32_t failMask, std::string_view answers,
                std::map<std::string, Known> known)
      : folder_(std::move(folder)), programs_(std::move(programs)), failMask_(failMask), answers_(answers),
        known_(std::move(known)) {
    for (const char* f : {"c:", "c:\\programme", "c:\\programme\\test", "c:\\windows", "c:\\windows\\system32"})
      files_[f] = true;
    for (const char* f : {"c:\\programme\\test\\readme.txt", "c:\\programme\\test\\app.exe", "c:\\windows\\win.ini"})
      files_[f] = false;
    registry_["0|software\\kivra|version"] = "1.0";
    registry_["1|software\\kivra\\test|path"] = "C:\\Programme\\Test";
  }

  const std::string& InstallationFolder() const override { return folder_; }
  std::string ExpandPath(const std::string& path) override {
    Check(!Cancelled(), "nothing runs after a confirmed abort");
    Check(!folder_.empty() || Lower(path).find("*appdir*") == std::string::npos,
          "no path is built from *appdir* while the installation folder is empty");
    std::vector<modInstall::Placeholder> placeholders{{L"*programs*", Wide(programs_)},
                                                      {L"*windir*", L"C:\\WINDOWS"},
                                                      {L"*winsysdir*", L"C:\\WINDOWS\\system32"},
                                                      {L"*appdir*", Wide(folder_)}};
    std::wstring out = modInstall::ExpandPlaceholders(Wide(path), placeholders, LowerWide);
    std::string narrow;
    for (wchar_t c : out) narrow += static_cast<char>(c);
    return narrow;
  }

  void RemoveFile(const std::string& path) override {
    Record(Op::Remove);
    Check(Deletable(path), "a file is deleted only by a path that passes the wildcard guard");
    std::string key = Key(path);
    auto it = files_.find(key);
    if (Fails() || it == files_.end() || it->second) throw VbError(vberr::FileNotFound);
    files_.erase(it);
  }
  void CopyOver(const std::string& from, const std::string& to) override {
    Record(Op::Copy);
    auto it = files_.find(Key(from));
    std::string target = Key(to);
    if (Fails() || !Valid(from) || !Valid(to) || it == files_.end() || it->second || IsFolder(target) ||
        !ParentExists(target))
      throw VbError(vberr::PathFileAccessError);
    files_[target] = false;
  }
  void RenamePath(const std::string& from, const std::string& to) override {
    Record(Op::Rename);
    std::string source = Key(from), target = Key(to);
    auto it = files_.find(source);
    if (Fails() || !Valid(from) || !Valid(to) || it == files_.end() || files_.count(target) || !ParentExists(target))
      throw VbError(vberr::PathFileAccessError);
    bool folder = it->second;
    files_.erase(it);
    files_[target] = folder;
  }
  void CreateFolder(const std::string& path) override {
    Record(Op::MakeFolder);
    std::string key = Key(path);
    if (Fails() || !Valid(path) || files_.count(key) || !ParentExists(key)) throw VbError(vberr::PathNotFound);
    files_[key] = true;
  }
  void RemoveEmptyFolder(const std::string& path) override {
    Record(Op::RemoveFolder);
    Check(Deletable(path), "a folder is removed only by a path that passes the wildcard guard");
    std::string key = Key(path);
    if (!IsFolder(key)) return;
    auto next = files_.upper_bound(key);
    if (next != files_.end() && next->first.compare(0, key.size() + 1, key + "\\") == 0) return;
    files_.erase(key);
  }
  void InstallPackageFile(const std::string& srcName, const std::string& destName,
                          const std::string& toPath) override {
    Record(Op::Install);
    Check(!toPath.empty() || !folder_.empty(), "no package file goes into an empty installation folder");
    // The file installation's own prompts may confirm a cancellation.
    if (Fails()) {
      if (srcName.size() % 2) installCancelled_ = true;
      else throw VbError(vberr::PathFileAccessError);
    }
  }

  std::string ReadString(RegistryRoot root, const std::string& key, const std::string& valueName) override {
    Check(!Cancelled(), "nothing runs after a confirmed abort");
    auto it = registry_.find(RegKey(root, key, valueName));
    return it == registry_.end() ? std::string() : it->second;
  }
  void WriteString(RegistryRoot root, const std::string& key, const std::string& valueName,
                   const std::string& data) override {
    Record(Op::WriteString);
    Check(!key.empty(), "regsetstring writes below a key");
    registry_[RegKey(root, key, valueName)] = data;
  }
  void WriteNumber(RegistryRoot root, const std::string& key, const std::string& valueName, int32_t data) override {
    Record(Op::WriteNumber);
    Check(!key.empty(), "regsetdword writes below a key");
    lastNumber_ = data;
    registry_.erase(RegKey(root, key, valueName));
  }
  void DeleteValue(RegistryRoot root, const std::string& key, const std::string& valueName) override {
    Record(Op::DeleteValue);
    Check(!valueName.empty(), "regdelete removes values, never a key");
    registry_.erase(RegKey(root, key, valueName));
  }

  Answer AskAbortRetryIgnore(const std::string& message) override {
    Check(!Cancelled(), "nothing runs after a confirmed abort");
    Check(pending_.empty(), "the failure is logged before the prompt");
    Check(lastCommand_ && lastFailed_, "a prompt follows a command's failure line");
    Check(!lastCommand_->kind->silent, "silent commands never ask");
    uint8_t b = next_ < answers_.size() ? static_cast<uint8_t>(answers_[next_++]) : 2;
    Answer answer = static_cast<Answer>(b % 3);
    if (answer == Answer::Retry && ++retries_ > kMaxRetries) answer = (b & 0x80) ? Answer::Abort : Answer::Ignore;
    if (answer == Answer::Abort) cancelled_ = true;
    retrying_ = answer == Answer::Retry ? lastLine_ : std::string();
    return answer;
  }
  bool Cancelled() const override { return cancelled_ || installCancelled_; }

  void Log(std::string_view line) override {
    constexpr std::string_view kPrefix = "Makro: ", kDone = " - ausgeführt", kFailed = " - fehlgeschlagen",
                               kQuiet = " - fehlgeschlagen (ohne Rückfrage)";
    Check(line.substr(0, kPrefix.size()) == kPrefix, "macro log lines start with Makro:");
    std::string_view rest = line.substr(kPrefix.size());
    bool quiet = rest.ends_with(kQuiet);
    bool failed = quiet || rest.ends_with(kFailed);
    Check(failed || rest.ends_with(kDone), "a log line says how the command ended");
    std::string described(rest.substr(0, rest.size() - (quiet ? kQuiet : failed ? kFailed : kDone).size()));
    auto found = known_.find(described);
    Check(found != known_.end() && found->second.kind, "only known commands run");
    const Known& command = found->second;
    Check(!quiet || command.kind->silent, "only silent commands swallow a failure");
    if (!retrying_.empty()) {
      Check(described == retrying_, "Retry runs the same command again");
      retrying_.clear();
    }
    for (Op op : pending_) {
      bool allowed = false;
      for (Op a : command.kind->ops) allowed = allowed || a == op;
      Check(allowed, "every change belongs to the command whose line covers it");
    }
    if (!failed && !pending_.empty() && pending_.back() == Op::WriteNumber) {
      std::string data(command.group->GetValue("Data", "0"));
      // Up to nine digits, signed or not: always a valid DWORD.
      size_t digits = data.size() - (!data.empty() && data[0] == '-');
      bool plain = digits >= 1 && digits <= 9 &&
                   data.find_first_not_of("0123456789", data[0] == '-') == std::string::npos;
      if (plain) Check(std::stoll(data) == lastNumber_, "regsetdword writes the number Data says");
    }
    // After an abort only the lines of the ifregstring blocks around the
    // command may follow (and the line of an installfile whose own prompt
    // confirmed it).
    if (cancelled_) Check(command.kind->ops.empty() && pending_.empty(), "nothing runs after a confirmed abort");
    if (installCancelled_) cancelled_ = true;
    pending_.clear();
    lastCommand_ = &command;
    lastFailed_ = failed && !quiet;
    lastLine_ = described;
  }

  void Finish() const {
    Check(pending_.empty(), "every change has its log line");
    Check(retrying_.empty(), "Retry runs the same command again");
  }

 private:
  static std::wstring Wide(std::string_view text) {
    std::wstring out;
    for (char c : text) out += static_cast<wchar_t>(static_cast<unsigned char>(c));
    return out;
  }
  static std::wstring LowerWide(std::wstring text) {
    for (wchar_t& c : text)
      if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
    return text;
  }
  static std::string Key(std::string_view path) { return Lower(path); }
  static bool Valid(std::string_view path) { return Deletable(path); }
  bool IsFolder(const std::string& key) const {
    auto it = files_.find(key);
    return it != files_.end() && it->second;
  }
  bool ParentExists(const std::string& key) const {
    size_t cut = key.rfind('\\');
    return cut == std::string::npos || IsFolder(key.substr(0, cut));
  }
  static std::string RegKey(RegistryRoot root, const std::string& key, const std::string& valueName) {
    return std::to_string(static_cast<int>(root)) + "|" + Lower(key) + "|" + Lower(valueName);
  }
  void Record(Op op) {
    Check(!Cancelled(), "nothing runs after a confirmed abort");
    pending_.push_back(op);
    ++ops_;
  }
  bool Fails() const { return ops_ <= 32 && (failMask_ >> (ops_ - 1)) & 1u; }

  std::string folder_, programs_;
  uint32_t failMask_;
  std::string_view answers_;
  std::map<std::string, Known> known_;
  std::map<std::string, bool> files_;  // lower-cased path -> is a folder
  std::map<std::string, std::string> registry_;
  std::vector<Op> pending_;
  const Known* lastCommand_ = nullptr;
  bool lastFailed_ = false;
  std::string lastLine_, retrying_;
  size_t next_ = 0;
  int retries_ = 0;
  uint32_t ops_ = 0;
  int32_t lastNumber_ = 0;
  bool cancelled_ = false;
  bool installCancelled_ = false;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view input(reinterpret_cast<const char*>(data), size);
  std::string_view text = input, control;
  size_t split = input.rfind("\n####\n");
  if (split != std::string_view::npos) {
    text = input.substr(0, split);
    control = input.substr(split + 6);
  }
  auto byte = [&](size_t i) { return i < control.size() ? static_cast<uint8_t>(control[i]) : uint8_t{0}; };
  static const char* const kFolders[] = {"C:\\Programme\\Test", "", "C:\\Programme\\Test\\", "\\\\server\\share\\Test"};
  static const char* const kPrograms[] = {"C:\\Programme", ""};
  uint32_t failMask = byte(2) | byte(3) << 8 | byte(4) << 16 | static_cast<uint32_t>(byte(5)) << 24;

  NoWindowUi ui;
  std::string title = "Kivra Setup: Fuzz";
  CStructuredFile file(UiContext{ui, title});
  if (file.LoadFromText(text) != 0 || !file.Root()) return 0;
  std::map<std::string, Known> known;
  Collect(*file.Root(), known);

  RecordingHost host(kFolders[byte(0) % 4], kPrograms[byte(1) % 2], failMask,
                     control.size() > 6 ? control.substr(6) : std::string_view(), std::move(known));
  CMacro macro;
  macro.SetGroup(file.Root());
  Execute(macro, host);
  host.Finish();
  return 0;
}
