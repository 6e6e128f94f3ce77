#pragma once
// The structured file: the small hierarchical text format of setup.ini and
// status.ini, and its in-memory tree.
//
//   <name> ... </name>     named group, unique within its parent (keyed)
//   [type] ... [/type]     collection item: any number side by side (no key)
//   key=value              value line (blanks after "=" belong to the value)
//   key                    value line with an empty value
//
// Lines are trimmed of spaces (not tabs) before they are classified; empty
// lines are skipped; there are no comments and no escapes. Group names and
// keys compare without regard to case, values exactly. Closing lines compare
// their name without regard to case; a wrong or mismatched closing line raises
// AppObjectError (0x80040001), a key used twice in one group DuplicateKey (457).
// The end of the file closes every open group. Files are stored in the ANSI
// code page with CR LF line ends, one blank of indent per nesting level.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "base/KeyedCollection.h"
#include "base/UserInteraction.h"

namespace kv {

class CStructuredFileGroup;
class CStructuredFileProp;

// What a group holds: values and groups alike.
class CStructuredFileItem {
 public:
  virtual ~CStructuredFileItem() = default;
  virtual bool IsGroup() const = 0;

  // For a value its key as written; for a named group the text between "<"
  // and ">"; for a collection item its type word; "" for a file's root.
  std::string Name;

  // Typed views; null when the item is of the other kind.
  CStructuredFileGroup* AsGroup();
  const CStructuredFileGroup* AsGroup() const;
  CStructuredFileProp* AsProp();
  const CStructuredFileProp* AsProp() const;

 protected:
  CStructuredFileItem() = default;
  explicit CStructuredFileItem(std::string name) : Name(std::move(name)) {}
};

using StructuredItemPtr = std::shared_ptr<CStructuredFileItem>;
// An item's key is its Name.
struct StructuredItemName {
  std::string_view operator()(const StructuredItemPtr& item) const { return item->Name; }
};
using StructuredItems = KeyedCollection<StructuredItemPtr, StructuredItemName>;

// The shared_ptr view of a group item (shares ownership); null for a value.
std::shared_ptr<CStructuredFileGroup> AsGroupPtr(const StructuredItemPtr& item);

// A name/value pair.
class CStructuredFileProp final : public CStructuredFileItem {
 public:
  CStructuredFileProp() = default;
  CStructuredFileProp(std::string name, std::string value) : CStructuredFileItem(std::move(name)), Value(std::move(value)) {}
  bool IsGroup() const override { return false; }

  std::string Value;  // may be empty
};

// Collection items of one top-level named group, handed to a reader of the
// file as each is read instead of being kept in the tree: a package with a
// hundred thousand files then never holds them all as tree nodes. `take`
// sees the group being read (with the items kept so far, all but collection
// items) and the item, which holds what was read before a failure when
// reading it failed. It must not throw.
struct StructuredItemStream {
  std::string_view group;
  std::function<void(const CStructuredFileGroup& parent, const CStructuredFileGroup& item)> take;
};

// Hands out the lines of a decoded file one at a time (CR LF, LF or CR end a
// line) and keeps the nesting depth the reader has reached.
class ArenaRef;
namespace fileio {
class FileReader;
}

class StructuredLineReader {
 public:
  explicit StructuredLineReader(std::string_view text);
  // Reads the text from `file` piece by piece; it is in a single-byte ANSI
  // code page, and each line is converted to UTF-8 as it is handed out.
  // A failed read throws VbError with the file's error number.
  explicit StructuredLineReader(fileio::FileReader& file);
  ~StructuredLineReader();
  StructuredLineReader(const StructuredLineReader&) = delete;
  StructuredLineReader& operator=(const StructuredLineReader&) = delete;
  // The next raw line (line end removed), valid until the next call; false
  // at the end of the text.
  bool Next(std::string_view& line);

  // Groups open below the root while reading; deeper nesting than this is
  // refused with OutOfStackSpace (28) instead of overrunning the stack.
  static constexpr int kMaxDepth = 200;
  int depth = 0;
  // Where the items read from this text are placed (see NodeArena.h).
  std::unique_ptr<ArenaRef> arena;
  const StructuredItemStream* stream = nullptr;

  // An arena for one streamed item, and its return once the item is gone.
  std::unique_ptr<ArenaRef> ItemArena();
  void KeepItemArena(std::unique_ptr<ArenaRef> used);

 private:
  void Refill();

  std::string_view rest_;
  fileio::FileReader* file_ = nullptr;  // null once the file is read to its end
  std::string buffer_;                  // the piece of the file in hand
  bool ansi_ = false;
  std::string converted_;  // the last line handed out, when it was converted
  std::unique_ptr<ArenaRef> spare_;
};

// Produces the text form line by line (CR LF, one blank of indent per level).
// Groups write themselves through it; so do writers of very large files that
// would rather not build a tree first.
class StructuredTextWriter {
 public:
  explicit StructuredTextWriter(std::string& out, int indent = 0) : out_(out), indent_(indent) {}
  // "name=value", or the bare name when the value is empty.
  void Value(std::string_view name, std::string_view value);
  // The opening line; the group's items follow one level deeper.
  void Open(std::string_view name, bool collectionItem);
  // The closing line of the group opened last.
  void Close(std::string_view name, bool collectionItem);

 private:
  void Indent();
  std::string& out_;
  int indent_;
};

// A group of items: the root of a file, a named group or a collection item.
class CStructuredFileGroup final : public CStructuredFileItem {
 public:
  CStructuredFileGroup() = default;
  explicit CStructuredFileGroup(std::string name, bool collectionItem = false)
      : CStructuredFileItem(std::move(name)), CollectionItem(collectionItem) {}
  // A group read from a file keeps its item list in the file's arena.
  CStructuredFileGroup(std::string name, bool collectionItem, std::pmr::memory_resource* memory)
      : CStructuredFileItem(std::move(name)), CollectionItem(collectionItem), Items(memory) {}
  bool IsGroup() const override { return true; }

  bool CollectionItem = false;  // written with square brackets, kept without key
  StructuredItems Items;        // file order; values and named groups keyed by Name
                                // (copy it rather than move it out of a parsed group)

  // The value stored under `name`; `defaultValue` when there is none or the
  // item under that name is a group. Never fails.
  std::string GetValue(std::string_view name, std::string_view defaultValue) const;
  // Changes the value under `name`, or appends a new value when there is none.
  // A group under that name is left alone.
  void SetValue(std::string_view name, std::string value);
  // Whether an item (value or group) is stored under `name`.
  bool ItemExists(std::string_view name) const;

  // The named child group under `name`; null when missing or a value.
  std::shared_ptr<CStructuredFileGroup> GroupNamed(std::string_view name) const;

  // Builders for writers. AddValue and a named AddGroup enter the item under
  // its name and throw DuplicateKey (457) when the name is taken; a collection
  // item is appended without key.
  CStructuredFileProp& AddValue(std::string name, std::string value);
  std::shared_ptr<CStructuredFileGroup> AddGroup(std::string name, bool collectionItem);

  // A deep copy that shares nothing with this group.
  std::shared_ptr<CStructuredFileGroup> Clone() const;

  // Reads lines into this group until its closing line or the end of the
  // text. Throws VbError; what was read before the error stays in the tree.
  void Parse(StructuredLineReader& reader);
  // Appends this group's items as UTF-8 lines (CR LF) at the given indent.
  void Save(std::string& out, int indent) const;
  void Save(StructuredTextWriter& writer) const;

 private:
  // Reads one collection item of a streamed group and offers it to the stream.
  void ParseStreamed(StructuredLineReader& reader, std::string name);
};

// One structured file on disk.
class CStructuredFile {
 public:
  explicit CStructuredFile(UiContext context);

  // Full path of the file; set before Load or Save. On the native build a
  // "\" in it is taken as the host's "/".
  std::string FileName;

  // Replaces the tree with the file's content. A failure is reported to the
  // user with two boxes ("Beim Laden der Datei ... ist ein Fehler
  // aufgetreten." and FileName + "-" + number) and not passed on; what was
  // read before the failure stays in the tree. A file that cannot be opened
  // is reported once. Returns 0 or the number that was reported.
  // With `stream`, the items of its group go to it rather than into the tree.
  int32_t Load(const StructuredItemStream* stream = nullptr);
  // The same without any report, for callers that treat a missing or damaged
  // file as absent.
  int32_t LoadSilently(const StructuredItemStream* stream = nullptr);
  // Parses decoded (UTF-8) text in place of a file, without any report.
  int32_t LoadFromText(std::string_view utf8, const StructuredItemStream* stream = nullptr);

  // Writes the tree to FileName, replacing the file atomically (written beside
  // it, then renamed over it). A failure is reported with one box ("Beim
  // Speichern der Datei ... ist ein Fehler aufgetreten.") and not passed on;
  // the old file then stays as it was. Returns 0 or the reported number.
  int32_t Save();
  int32_t SaveSilently();
  // Writes `utf8` (text in this format) in place of the tree, with the same
  // replacement and report as Save.
  int32_t SaveText(std::string_view utf8);
  // Writes the tree followed by the lines `more` appends to its argument,
  // piece by piece (it returns false with its last lines), with the same
  // replacement and report as Save; the text never stands whole in memory.
  int32_t SaveWith(const std::function<bool(std::string& lines)>& more);

  // The text Save writes, before the conversion to the ANSI code page.
  std::string ToText() const;

  StructuredItems& Items() { return root_->Items; }
  const StructuredItems& Items() const { return root_->Items; }
  const std::shared_ptr<CStructuredFileGroup>& Root() const { return root_; }

 private:
  int32_t ReportSaveFailure(int32_t err);
  int32_t Parse(StructuredLineReader& reader, const StructuredItemStream* stream);

  UiContext context_;
  std::shared_ptr<CStructuredFileGroup> root_;
};

}  // namespace kv
