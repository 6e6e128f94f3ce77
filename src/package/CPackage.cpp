#include "package/CPackage.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <new>
#include <unordered_set>

#include "package/CStructuredFile.h"
#include "base/StringTools.h"
#include "base/Text.h"
#include "base/VbError.h"

namespace kv {
namespace {

// A flag of setup.ini is set unless its value is exactly "NO": "no", "0" or
// an empty value all count as set. Package authors rely on this.
bool Flag(const CStructuredFileGroup& group, std::string_view key) { return group.GetValue(key, "NO") != "NO"; }

// Splits at every "|" into `pieces` (reused between calls to spare the
// allocations); the empty text gives no pieces at all.
void SplitAtBar(const std::string& text, std::vector<std::string>& pieces) {
  pieces.clear();
  if (text.empty()) return;
  size_t start = 0;
  for (;;) {
    size_t bar = text.find('|', start);
    pieces.emplace_back(text, start, bar == std::string::npos ? std::string::npos : bar - start);
    if (bar == std::string::npos) break;
    start = bar + 1;
  }
}

// A top-level item that must be a group when it is present; null when absent.
std::shared_ptr<CStructuredFileGroup> RequiredGroup(const StructuredItems& items, std::string_view name) {
  const StructuredItemPtr* item = items.Find(name);
  if (!item) return nullptr;
  auto group = AsGroupPtr(*item);
  if (!group) throw VbError(vberr::TypeMismatch, std::string(name) + " is a value, not a group");
  return group;
}

// The value stored under `key`, null when missing or a group (then the
// caller's default applies, as with GetValue); spares GetValue's copy.
const std::string* ValueIn(const CStructuredFileGroup& group, std::string_view key) {
  const StructuredItemPtr* item = group.Items.Find(key);
  const CStructuredFileProp* prop = item ? (*item)->AsProp() : nullptr;
  return prop ? &prop->Value : nullptr;
}

const CStructuredFileGroup& ChildGroup(const CStructuredFileItem& item, std::string_view parent) {
  const CStructuredFileGroup* group = item.AsGroup();
  if (!group) throw VbError(vberr::TypeMismatch, "value line " + item.Name + " inside " + std::string(parent));
  return *group;
}

// Takes the children of the file list in file order while the file is read:
// the collection items the reader hands over one by one, and the children it
// keeps in the group (named groups, value lines) in between. The first
// failure ends the intake and is kept for Finish, so that it surfaces where
// the whole tree's walk would have raised it.
class FileListIntake {
 public:
  explicit FileListIntake(std::function<void(const CStructuredFileItem&)> take) : take_(std::move(take)) {
    stream_.group = "files";
    stream_.take = [this](const CStructuredFileGroup& parent, const CStructuredFileGroup& item) {
      CatchUp(parent);
      Take(item);
    };
  }
  const StructuredItemStream* Stream() const { return &stream_; }

  // The kept children after the last handed-over item, then the failure.
  void Finish(const CStructuredFileGroup* list) {
    if (list) CatchUp(*list);
    if (failure_) std::rethrow_exception(failure_);
  }

 private:
  void CatchUp(const CStructuredFileGroup& parent) {
    while (kept_ < parent.Items.size()) Take(*parent.Items[kept_++]);
  }
  void Take(const CStructuredFileItem& item) {
    if (failure_) return;
    try {
      take_(item);
    } catch (...) {
      failure_ = std::current_exception();
    }
  }

  std::function<void(const CStructuredFileItem&)> take_;
  StructuredItemStream stream_;
  size_t kept_ = 0;
  std::exception_ptr failure_;
};

}  // namespace

CPackage::CPackage(UiContext context) : context_(context) {}

std::string CPackage::StatusFileName() const { return modTools::JoinPath(PackageDir, "status.ini"); }

bool CPackage::Load(const std::string& path) {
  Files.Clear();
  RegKeys.clear();
  CreatedPaths.clear();

  // The file records are made while the file is read, so that the file list
  // never stands in memory twice (once as tree, once as records).
  std::vector<std::string> names, destinations;
  FileListIntake intake([&](const CStructuredFileItem& item) {
    const CStructuredFileGroup& group = ChildGroup(item, "files");
    if (!EqualsNoCase(group.Name, "file")) return;
    // One group may describe several files ("a.dll|b.dll") that share the
    // destination folder, the flags and the registration mode.
    SplitAtBar(group.GetValue("Name", ""), names);
    if (names.empty()) return;
    SplitAtBar(group.GetValue("DestinationName", ""), destinations);
    destinations.resize(names.size());
    std::string destinationPath(TrimBlanks(group.GetValue("DestinationPath", "")));
    bool shared = Flag(group, "SharedFile");
    bool dontOverwrite = Flag(group, "DontOverwrite");
    bool dontUninstall = Flag(group, "DontUninstall");
    int32_t registerMode = ToInt32(group.GetValue("Register", "0"));
    for (size_t i = 0; i < names.size(); ++i) {
      auto record = std::make_shared<CFile>();
      record->Name = std::move(names[i]);
      record->DestinationName = destinations[i].empty() ? record->Name : std::move(destinations[i]);
      record->DestinationPath = destinationPath;
      record->SharedFile = shared;
      record->DontOverwrite = dontOverwrite;
      record->Register = registerMode;
      record->DontUninstall = dontUninstall;
      const std::string& key = record->Name;
      Files.Add(key, std::move(record));
    }
  });

  CStructuredFile file(context_);
  file.FileName = path;
  const bool complete = file.Load(intake.Stream()) == 0;
  const StructuredItems& items = file.Items();

  // Caption's default is the Name just read and DefaultPath's is built from
  // it, so the order of these reads matters. A header that is no group ends
  // the reading before any file record is taken.
  std::shared_ptr<CStructuredFileGroup> header;
  try {
    header = RequiredGroup(items, "header");
  } catch (const VbError&) {
    Files.Clear();
    throw;
  }
  if (header) {
    Name = header->GetValue("Name", "Unbekannte Anwendung");
    Caption = header->GetValue("Caption", Name);
    Version = header->GetValue("Version", "");
    EXEFile = header->GetValue("EXEFile", "");
    InfoTip = header->GetValue("InfoTip", "");
    StartMenuGroup = header->GetValue("StartMenuGroup", "Kivra");
    DefaultPath = header->GetValue("DefaultPath", "*programs*\\Kivra\\" + Name);
    DefaultInStartMenu = Flag(*header, "DefaultInStartMenu");
    DefaultOnDesktop = Flag(*header, "DefaultOnDesktop");
    DefaultWinStart = Flag(*header, "DefaultWinStart");
    AllowWinStart = Flag(*header, "AllowWinStart");
    Publisher = header->GetValue("Publisher", "");
    HelpLink = header->GetValue("HelpLink", "");
  }

  intake.Finish(RequiredGroup(items, "files").get());

  struct MacroSlot {
    const char* group;
    CMacro* macro;
  };
  const MacroSlot macros[] = {{"onupdate", &OnUpdate},
                              {"oninstall", &OnInstall},
                              {"onuninstall", &OnUninstall},
                              {"onuninstallatupdate", &OnUninstallAtUpdate},
                              {"onfreshinstall", &OnFreshInstall},
                              {"oncompleteuninstall", &OnCompleteUninstall}};
  for (const MacroSlot& slot : macros) {
    // The macro keeps its group; its commands are read when it runs. It gets
    // a copy: the parsed file's items share one block of memory, which the
    // macros would otherwise keep alive whole.
    if (auto group = RequiredGroup(items, slot.group)) slot.macro->SetGroup(group->Clone());
  }

  if (auto regkeys = RequiredGroup(items, "regkeys")) {
    for (const StructuredItemPtr& item : regkeys->Items) {
      const CStructuredFileGroup& group = ChildGroup(*item, "regkeys");
      if (EqualsNoCase(group.Name, "regkey")) RegKeys.push_back(group.GetValue("Name", ""));
    }
  }
  return complete;
}

void CPackage::Load2() {
  // The status file is a record, not an input the user can fix: a missing or
  // damaged file means "not installed" and is never reported.
  try {
    // Records are matched while the file is read. A record without a folder
    // takes the package's, which the header sets once the whole file is
    // read; those records are kept aside until then (a later record of the
    // same file with a folder of its own takes it off that list).
    std::unordered_set<CFile*> packageFolder;
    // SaveStatus writes the records in the order of Files, so the next
    // record usually names the next file: try that before the keyed lookup
    // (same answer, since names are unique, but no jump through memory).
    size_t next = 0;
    FileListIntake intake([&](const CStructuredFileItem& child) {
      const CStructuredFileGroup* group = child.AsGroup();
      if (!group || !EqualsNoCase(group->Name, "file")) return;
      const std::string* name = ValueIn(*group, "Name");
      if (!name || name->empty()) return;
      std::shared_ptr<CFile>* record = nullptr;
      if (next < Files.size() && Files.HasKeyAt(next) && EqualsNoCase(Files.KeyAt(next), *name))
        record = &Files[next++];
      else
        record = Files.Find(*name);
      if (!record) return;  // no longer part of the package: forgotten
      try {
        const std::string* installed = ValueIn(*group, "Installed");
        (*record)->Installed = ToInt32(installed ? *installed : "0");
      } catch (const VbError&) {
        // A damaged number leaves the old state; the folder is still read.
      }
      if (const std::string* folder = ValueIn(*group, "InstalledIn")) {
        (*record)->InstalledIn = *folder;
        packageFolder.erase(record->get());
      } else {
        packageFolder.insert(record->get());
      }
    });

    CStructuredFile file(context_);
    file.FileName = StatusFileName();
    file.LoadSilently(intake.Stream());
    const StructuredItems& items = file.Items();
    if (items.empty()) {
      InstalledIn.clear();
      return;
    }
    const StructuredItemPtr* item = items.Find("header");
    if (const CStructuredFileGroup* header = item ? (*item)->AsGroup() : nullptr) {
      InstalledIn = header->GetValue("InstalledIn", DefaultPath);
      SourcePath = header->GetValue("SourcePath", "d:");
    }
    item = items.Find("createdpaths");
    if (const CStructuredFileGroup* created = item ? (*item)->AsGroup() : nullptr) {
      for (const StructuredItemPtr& path : created->Items) CreatedPaths.push_back(path->Name);
    }
    item = items.Find("files");
    intake.Finish(item ? (*item)->AsGroup() : nullptr);
    for (CFile* record : packageFolder) record->InstalledIn = InstalledIn;
  } catch (const VbError&) {
  } catch (const std::bad_alloc&) {
  }
}

void CPackage::SaveStatus() {
  if (NoStatusSave) return;
  CStructuredFile file(context_);
  file.FileName = StatusFileName();
  CStructuredFileGroup& root = *file.Root();

  // The writer capitalises the group names; the reader finds them anyway,
  // because group names compare without regard to case.
  auto header = root.AddGroup("Header", false);
  header->AddValue("InstalledIn", InstalledIn);
  header->AddValue("SourcePath", DownloadedFrom.empty() ? SourcePath : DownloadedFrom);

  auto created = root.AddGroup("CreatedPaths", false);
  for (const std::string& path : CreatedPaths) created->AddValue(path, "");  // a folder twice: 457

  // The file list is written straight to text: as a tree it would cost a
  // group and three values per file, several hundred bytes each, for a
  // record whose lines are known in advance. The text is the same. It goes
  // to the file a thousand records at a time.
  enum { kOpen, kRecords, kDone } stage = kOpen;
  size_t next = 0;
  auto records = [&](std::string& lines) {
    StructuredTextWriter writer(lines, stage == kOpen ? 0 : 1);
    if (stage == kOpen) {
      writer.Open("Files", false);
      stage = kRecords;
    }
    for (const size_t end = std::min(Files.size(), next + 1000); next < end; ++next) {
      const CFile& record = *Files[next];
      writer.Open("File", true);
      writer.Value("Name", record.Name);
      writer.Value("Installed", std::to_string(record.Installed));
      writer.Value("InstalledIn", record.InstalledIn);
      writer.Close("File", true);
    }
    if (next == Files.size()) {
      writer.Close("Files", false);
      stage = kDone;
    }
    return stage != kDone;
  };
  if (int32_t err = file.SaveWith(records)) throw VbError(err, "cannot write " + file.FileName);
}

}  // namespace kv
