#include "package/CPackage.h"

#include <new>

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

const CStructuredFileGroup& ChildGroup(const StructuredItemPtr& item, std::string_view parent) {
  const CStructuredFileGroup* group = item->AsGroup();
  if (!group) throw VbError(vberr::TypeMismatch, "value line " + item->Name + " inside " + std::string(parent));
  return *group;
}

}  // namespace

CPackage::CPackage(UiContext context) : context_(context) {}

std::string CPackage::StatusFileName() const { return modTools::JoinPath(PackageDir, "status.ini"); }

bool CPackage::Load(const std::string& path) {
  Files.Clear();
  RegKeys.clear();
  CreatedPaths.clear();

  CStructuredFile file(context_);
  file.FileName = path;
  const bool complete = file.Load() == 0;
  const StructuredItems& items = file.Items();

  // Caption's default is the Name just read and DefaultPath's is built from
  // it, so the order of these reads matters.
  if (auto header = RequiredGroup(items, "header")) {
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

  if (auto files = RequiredGroup(items, "files")) {
    std::vector<std::string> names, destinations;
    for (const StructuredItemPtr& item : files->Items) {
      const CStructuredFileGroup& group = ChildGroup(item, "files");
      if (!EqualsNoCase(group.Name, "file")) continue;
      // One group may describe several files ("a.dll|b.dll") that share the
      // destination folder, the flags and the registration mode.
      SplitAtBar(group.GetValue("Name", ""), names);
      if (names.empty()) continue;
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
    }
  }

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
      const CStructuredFileGroup& group = ChildGroup(item, "regkeys");
      if (EqualsNoCase(group.Name, "regkey")) RegKeys.push_back(group.GetValue("Name", ""));
    }
  }
  return complete;
}

void CPackage::Load2() {
  // The status file is a record, not an input the user can fix: a missing or
  // damaged one means "not installed" and is never reported.
  try {
    CStructuredFile file(context_);
    file.FileName = StatusFileName();
    file.LoadSilently();
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
    if (const CStructuredFileGroup* files = item ? (*item)->AsGroup() : nullptr) {
      // SaveStatus writes the records in the order of Files, so the next
      // record usually names the next file: try that before the keyed lookup
      // (same answer, since names are unique, but no jump through memory).
      size_t next = 0;
      for (const StructuredItemPtr& child : files->Items) {
        const CStructuredFileGroup* group = child->AsGroup();
        if (!group || !EqualsNoCase(group->Name, "file")) continue;
        const std::string* name = ValueIn(*group, "Name");
        if (!name || name->empty()) continue;
        std::shared_ptr<CFile>* record = nullptr;
        if (next < Files.size() && Files.HasKeyAt(next) && EqualsNoCase(Files.KeyAt(next), *name))
          record = &Files[next++];
        else
          record = Files.Find(*name);
        if (!record) continue;  // no longer part of the package: forgotten
        try {
          const std::string* installed = ValueIn(*group, "Installed");
          (*record)->Installed = ToInt32(installed ? *installed : "0");
        } catch (const VbError&) {
          // A damaged number leaves the old state; the folder is still read.
        }
        // Copied, not moved out of the tree: the copies land together in the
        // heap, while moved strings would stay scattered among the tree's
        // freed blocks and keep that memory from being reused.
        const std::string* folder = ValueIn(*group, "InstalledIn");
        (*record)->InstalledIn = folder ? *folder : InstalledIn;
      }
    }
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

  std::string text = file.ToText();
  // The file list is written straight to text: as a tree it would cost a
  // group and three values per file, several hundred bytes each, for a
  // record whose lines are known in advance. The text is the same.
  text.reserve(text.size() + Files.size() * 96 + 32);
  StructuredTextWriter writer(text);
  writer.Open("Files", false);
  for (const std::shared_ptr<CFile>& record : Files) {
    writer.Open("File", true);
    writer.Value("Name", record->Name);
    writer.Value("Installed", std::to_string(record->Installed));
    writer.Value("InstalledIn", record->InstalledIn);
    writer.Close("File", true);
  }
  writer.Close("Files", false);

  if (int32_t err = file.SaveText(text)) throw VbError(err, "cannot write " + file.FileName);
}

}  // namespace kv
