#include "package/CStructuredFile.h"

#include <cstring>
#include <new>

#include "base/FileIo.h"
#include "base/NodeArena.h"
#include "base/Text.h"
#include "base/VbError.h"

namespace kv {

CStructuredFileGroup* CStructuredFileItem::AsGroup() {
  return IsGroup() ? static_cast<CStructuredFileGroup*>(this) : nullptr;
}
const CStructuredFileGroup* CStructuredFileItem::AsGroup() const {
  return IsGroup() ? static_cast<const CStructuredFileGroup*>(this) : nullptr;
}
CStructuredFileProp* CStructuredFileItem::AsProp() {
  return IsGroup() ? nullptr : static_cast<CStructuredFileProp*>(this);
}
const CStructuredFileProp* CStructuredFileItem::AsProp() const {
  return IsGroup() ? nullptr : static_cast<const CStructuredFileProp*>(this);
}

std::shared_ptr<CStructuredFileGroup> AsGroupPtr(const StructuredItemPtr& item) {
  if (!item || !item->IsGroup()) return nullptr;
  return std::static_pointer_cast<CStructuredFileGroup>(item);
}

StructuredLineReader::StructuredLineReader(std::string_view text)
    : arena(std::make_unique<ArenaRef>(NodeArena::Create())), rest_(text) {}

StructuredLineReader::StructuredLineReader(fileio::FileReader& file)
    : arena(std::make_unique<ArenaRef>(NodeArena::Create())), file_(&file), ansi_(true) {}

StructuredLineReader::~StructuredLineReader() = default;

std::unique_ptr<ArenaRef> StructuredLineReader::ItemArena() {
  if (spare_) return std::move(spare_);
  return std::make_unique<ArenaRef>(NodeArena::Create());
}

void StructuredLineReader::KeepItemArena(std::unique_ptr<ArenaRef> used) {
  if (used->get()->Rewind()) spare_ = std::move(used);
}

void StructuredLineReader::Refill() {
  // What is left of the piece moves to the front and the file's next piece
  // follows it; a line longer than a piece makes the buffer grow.
  // A small file needs no more than its size (and one byte to see its end):
  // status files are loaded often, and a large zero-filled buffer each time
  // would cost more than the reading.
  constexpr size_t kPiece = 256 * 1024;
  const uint64_t size = file_->Size();
  const size_t piece = size > 0 && size < kPiece ? static_cast<size_t>(size) + 1 : kPiece;
  const size_t left = rest_.size();
  if (left > 0 && rest_.data() != buffer_.data()) std::memmove(buffer_.data(), rest_.data(), left);
  if (buffer_.size() < left + piece) buffer_.resize(left + piece);
  size_t got = 0;
  if (int32_t err = file_->Read(buffer_.data() + left, buffer_.size() - left, got))
    throw VbError(err, "cannot read the file");
  rest_ = std::string_view(buffer_.data(), left + got);
  if (got == 0) file_ = nullptr;
}

bool StructuredLineReader::Next(std::string_view& line) {
  const char* p;
  size_t n, i;
  for (;;) {
    p = rest_.data();
    n = rest_.size();
    i = 0;
    while (i < n && p[i] != '\r' && p[i] != '\n') ++i;
    // A line is complete at its end; a CR only once the next byte is known,
    // since CR LF ends one line.
    if (!file_ || (i < n && (p[i] == '\n' || i + 1 < n))) break;
    // Scan again even after the last piece: the refill may have moved the
    // buffer, and at the end of the file it leaves file_ null.
    Refill();
  }
  if (rest_.empty()) return false;
  line = rest_.substr(0, i);
  if (i < n && p[i] == '\r' && i + 1 < n && p[i + 1] == '\n')
    i += 2;
  else if (i < n)
    i += 1;
  rest_.remove_prefix(i);
  if (ansi_ && !IsAscii(line)) {
    converted_ = AnsiToUtf8(line);
    line = converted_;
  }
  return true;
}

// ---------------------------------------------------------------------------
// Values

std::string CStructuredFileGroup::GetValue(std::string_view name, std::string_view defaultValue) const {
  const StructuredItemPtr* item = Items.Find(name);
  if (item) {
    if (const CStructuredFileProp* prop = (*item)->AsProp()) return prop->Value;
  }
  return std::string(defaultValue);
}

void CStructuredFileGroup::SetValue(std::string_view name, std::string value) {
  if (StructuredItemPtr* item = Items.Find(name)) {
    if (CStructuredFileProp* prop = (*item)->AsProp()) prop->Value = std::move(value);
    return;
  }
  Items.Add(name, std::make_shared<CStructuredFileProp>(std::string(name), std::move(value)));
}

bool CStructuredFileGroup::ItemExists(std::string_view name) const { return Items.Contains(name); }

std::shared_ptr<CStructuredFileGroup> CStructuredFileGroup::GroupNamed(std::string_view name) const {
  const StructuredItemPtr* item = Items.Find(name);
  return item ? AsGroupPtr(*item) : nullptr;
}

CStructuredFileProp& CStructuredFileGroup::AddValue(std::string name, std::string value) {
  auto prop = std::make_shared<CStructuredFileProp>(std::move(name), std::move(value));
  CStructuredFileProp& ref = *prop;
  Items.Add(ref.Name, std::move(prop));
  return ref;
}

std::shared_ptr<CStructuredFileGroup> CStructuredFileGroup::AddGroup(std::string name, bool collectionItem) {
  auto group = std::make_shared<CStructuredFileGroup>(std::move(name), collectionItem);
  if (collectionItem)
    Items.Add(group);
  else
    Items.Add(group->Name, group);
  return group;
}

std::shared_ptr<CStructuredFileGroup> CStructuredFileGroup::Clone() const {
  auto copy = std::make_shared<CStructuredFileGroup>(Name, CollectionItem);
  copy->Items.reserve(Items.size());
  for (size_t i = 0; i < Items.size(); ++i) {
    const StructuredItemPtr& item = Items[i];
    StructuredItemPtr twin;
    if (const CStructuredFileGroup* group = item->AsGroup())
      twin = group->Clone();
    else
      twin = std::make_shared<CStructuredFileProp>(item->Name, item->AsProp()->Value);
    if (Items.HasKeyAt(i)) {
      std::string_view key = twin->Name;
      copy->Items.Add(key, std::move(twin));
    } else {
      copy->Items.Add(std::move(twin));
    }
  }
  return copy;
}

// ---------------------------------------------------------------------------
// Reading

namespace {

[[noreturn]] void ThrowBadClosingLine(std::string_view line) {
  throw VbError(vberr::AppObjectError, "unexpected closing line: " + std::string(line));
}

}  // namespace

void CStructuredFileGroup::Parse(StructuredLineReader& reader) {
  std::string_view raw;
  while (reader.Next(raw)) {
    std::string_view line = TrimBlanks(raw);
    if (line.empty()) continue;
    const char first = line.front();
    const char last = line.back();
    const size_t n = line.size();

    // Closing and opening lines are recognised before value lines, so "<a=b>"
    // opens a group named "a=b", while "<a" is a value line.
    if (last == '>' && line.starts_with("</")) {
      if (CollectionItem) ThrowBadClosingLine(line);
      if (!EqualsNoCase(TrimBlanks(line.substr(2, n - 3)), Name)) ThrowBadClosingLine(line);
      return;
    }
    if (last == ']' && line.starts_with("[/")) {
      if (!CollectionItem) ThrowBadClosingLine(line);
      if (!EqualsNoCase(TrimBlanks(line.substr(2, n - 3)), Name)) ThrowBadClosingLine(line);
      return;
    }
    if ((first == '<' && last == '>') || (first == '[' && last == ']')) {
      if (reader.depth >= StructuredLineReader::kMaxDepth)
        throw VbError(vberr::OutOfStackSpace, "groups nested too deeply");
      bool collection = first == '[';
      std::string name(TrimBlanks(line.substr(1, n - 2)));
      if (collection && reader.stream && reader.depth == 1 && !CollectionItem &&
          EqualsNoCase(Name, reader.stream->group)) {
        ParseStreamed(reader, std::move(name));
        continue;
      }
      auto child = std::allocate_shared<CStructuredFileGroup>(ArenaAllocator<CStructuredFileGroup>(*reader.arena),
                                                              std::move(name), collection, reader.arena->get());
      if (collection)
        Items.Add(child);
      else
        Items.Add(child->Name, child);
      ++reader.depth;
      child->Parse(reader);
      --reader.depth;
      continue;
    }

    size_t eq = line.find('=');
    std::string_view name = eq == std::string_view::npos ? line : TrimTrailingBlanks(line.substr(0, eq));
    std::string_view value = eq == std::string_view::npos ? std::string_view() : line.substr(eq + 1);
    auto prop = std::allocate_shared<CStructuredFileProp>(ArenaAllocator<CStructuredFileProp>(*reader.arena),
                                                          std::string(name), std::string(value));
    std::string_view key = prop->Name;  // taken before the pointer is moved away
    Items.Add(key, std::move(prop));
  }
}

void CStructuredFileGroup::ParseStreamed(StructuredLineReader& reader, std::string name) {
  // The item is placed in an arena of its own, which starts over for the
  // next item once this one is gone.
  std::unique_ptr<ArenaRef> own = reader.ItemArena();
  {
    std::swap(reader.arena, own);
    CStructuredFileGroup item(std::move(name), true, reader.arena->get());
    // Back to the group's own arena, and the item handed over, however its
    // reading ended.
    auto handOver = [&] {
      --reader.depth;
      std::swap(reader.arena, own);
      reader.stream->take(*this, item);
    };
    ++reader.depth;
    try {
      item.Parse(reader);
    } catch (...) {
      handOver();
      throw;
    }
    handOver();
  }
  reader.KeepItemArena(std::move(own));
}

// ---------------------------------------------------------------------------
// Writing

void StructuredTextWriter::Indent() { out_.append(static_cast<size_t>(indent_), ' '); }

void StructuredTextWriter::Value(std::string_view name, std::string_view value) {
  Indent();
  out_ += name;
  // A value line without "=" reads back with an empty value.
  if (!value.empty()) {
    out_ += '=';
    out_ += value;
  }
  out_ += "\r\n";
}

void StructuredTextWriter::Open(std::string_view name, bool collectionItem) {
  Indent();
  out_ += collectionItem ? '[' : '<';
  out_ += name;
  out_ += collectionItem ? "]\r\n" : ">\r\n";
  ++indent_;
}

void StructuredTextWriter::Close(std::string_view name, bool collectionItem) {
  --indent_;
  Indent();
  out_ += collectionItem ? "[/" : "</";
  out_ += name;
  out_ += collectionItem ? "]\r\n" : ">\r\n";
}

void CStructuredFileGroup::Save(std::string& out, int indent) const {
  StructuredTextWriter writer(out, indent);
  Save(writer);
}

void CStructuredFileGroup::Save(StructuredTextWriter& writer) const {
  for (const StructuredItemPtr& item : Items) {
    if (const CStructuredFileGroup* group = item->AsGroup()) {
      writer.Open(group->Name, group->CollectionItem);
      group->Save(writer);
      writer.Close(group->Name, group->CollectionItem);
    } else {
      const CStructuredFileProp& prop = *item->AsProp();
      writer.Value(prop.Name, prop.Value);
    }
  }
}

// ---------------------------------------------------------------------------
// The file

CStructuredFile::CStructuredFile(UiContext context)
    : context_(context), root_(std::make_shared<CStructuredFileGroup>()) {}

int32_t CStructuredFile::LoadFromText(std::string_view utf8, const StructuredItemStream* stream) {
  root_ = std::make_shared<CStructuredFileGroup>();
  try {
    StructuredLineReader reader(utf8);
    return Parse(reader, stream);
  } catch (const std::bad_alloc&) {
    return vberr::OutOfMemory;
  }
}

int32_t CStructuredFile::Parse(StructuredLineReader& reader, const StructuredItemStream* stream) {
  try {
    reader.stream = stream;
    root_->Parse(reader);
  } catch (const VbError& e) {
    return e.Number();
  } catch (const std::bad_alloc&) {
    return vberr::OutOfMemory;
  }
  return 0;
}

int32_t CStructuredFile::LoadSilently(const StructuredItemStream* stream) {
  root_ = std::make_shared<CStructuredFileGroup>();
  try {
    // Line ends are never part of a character of a single-byte code page, so
    // such a file is read piece by piece and converted line by line: it is
    // never held whole. Other code pages convert the whole text first.
    if (AnsiIsSingleByte()) {
      fileio::FileReader file;
      if (int32_t err = file.Open(FileName)) return err;
      StructuredLineReader reader(file);
      return Parse(reader, stream);
    }
    std::string text;
    if (int32_t err = fileio::ReadWholeFile(FileName, text)) return err;
    if (!IsAscii(text)) text = AnsiToUtf8(text);
    StructuredLineReader reader(text);
    return Parse(reader, stream);
  } catch (const std::bad_alloc&) {
    return vberr::OutOfMemory;
  } catch (const VbError& e) {
    return e.Number();
  }
}

int32_t CStructuredFile::Load(const StructuredItemStream* stream) {
  // A file that cannot be opened is reported once: the open failure is the
  // whole story, and a second pair of boxes for the read that follows would
  // only repeat it.
  int32_t err = LoadSilently(stream);
  if (err != 0) {
    MessageBoxRequest first;
    first.text = "Beim Laden der Datei " + FileName + " ist ein Fehler aufgetreten.";
    first.title = context_.setupTitle;
    first.icon = MsgIcon::Exclamation;
    context_.ui.MsgBox(first);
    MessageBoxRequest second;
    second.text = FileName + "-" + std::to_string(err);
    context_.ui.MsgBox(second);  // no icon, the application's default title
  }
  return err;
}

std::string CStructuredFile::ToText() const {
  std::string out;
  root_->Save(out, 0);
  return out;
}

namespace {

int32_t WriteText(const std::string& fileName, std::string_view utf8) {
  try {
    if (IsAscii(utf8)) return fileio::ReplaceWholeFile(fileName, utf8);  // same bytes either way
    std::string bytes = Utf8ToAnsi(utf8);
    return fileio::ReplaceWholeFile(fileName, bytes);
  } catch (const std::bad_alloc&) {
    return vberr::OutOfMemory;
  } catch (const VbError& e) {
    return e.Number();
  }
}

}  // namespace

int32_t CStructuredFile::SaveSilently() {
  try {
    return WriteText(FileName, ToText());
  } catch (const std::bad_alloc&) {
    return vberr::OutOfMemory;
  }
}

int32_t CStructuredFile::Save() {
  std::string text;
  try {
    text = ToText();
  } catch (const std::bad_alloc&) {
    return ReportSaveFailure(vberr::OutOfMemory);  // the old file stays untouched
  }
  return SaveText(text);
}

int32_t CStructuredFile::SaveText(std::string_view utf8) { return ReportSaveFailure(WriteText(FileName, utf8)); }

int32_t CStructuredFile::SaveWith(const std::function<bool(std::string& lines)>& more) {
  // Pieces end at a line end, so no character is split between two of them
  // and each converts on its own as it would within the whole text.
  constexpr size_t kPiece = 256 * 1024;
  std::string piece, bytes;
  bool treeWritten = false, done = false;
  const int32_t err = fileio::ReplaceFileInPieces(FileName, [&](std::string_view& out) {
    piece.clear();
    if (!treeWritten) {
      root_->Save(piece, 0);
      treeWritten = true;
    }
    while (!done && piece.size() < kPiece) done = !more(piece);
    if (piece.empty()) return false;
    if (IsAscii(piece)) {
      out = piece;
    } else {
      bytes = Utf8ToAnsi(piece);
      out = bytes;
    }
    return true;
  });
  return ReportSaveFailure(err);
}

int32_t CStructuredFile::ReportSaveFailure(int32_t err) {
  if (err != 0) {
    MessageBoxRequest box;
    box.text = "Beim Speichern der Datei " + FileName + " ist ein Fehler aufgetreten.";
    box.title = context_.setupTitle;
    box.icon = MsgIcon::Exclamation;
    context_.ui.MsgBox(box);
  }
  return err;
}

}  // namespace kv
