// Feeds arbitrary bytes to the package readers: the structured file, then
// CPackage::Load, Load2, SaveStatus and Load2 again. The input is setup.ini,
// optionally followed by a line "####" and the content of status.ini.
//
// Besides "no crash, no hang, no leak, no undefined behaviour" it checks what
// the readers promise: a load ends in a tree or in exactly the two boxes of a
// load failure, and a tree the writer can express reads back unchanged.
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "package/CPackage.h"
#include "package/CStructuredFile.h"
#include "base/NoWindowUi.h"
#include "base/UserInteraction.h"
#include "base/VbError.h"

namespace {

void Check(bool condition, const char* what) {
  if (!condition) {
    fprintf(stderr, "package_fuzz: broken promise: %s\n", what);
    abort();
  }
}

std::string Folder() {
  static std::string folder = [] {
    std::string base = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    std::string templ = base + "/kvfuzz-XXXXXX";
    Check(mkdtemp(templ.data()) != nullptr, "scratch folder");
    return templ;
  }();
  return folder;
}

void WriteFile(const std::string& path, std::string_view bytes) {
  FILE* f = fopen(path.c_str(), "wb");
  Check(f != nullptr, "write scratch file");
  fwrite(bytes.data(), 1, bytes.size(), f);
  fclose(f);
}

// Items the writer cannot express so that they read back the same: a value
// line without value whose name is empty or looks like a group line, and a
// group whose name starts with "/" (it would be written as a closing line).
bool Writable(const kv::CStructuredFileGroup& group) {
  for (const auto& item : group.Items) {
    if (const kv::CStructuredFileGroup* child = item->AsGroup()) {
      if (!child->Name.empty() && child->Name.front() == '/') return false;
      if (!Writable(*child)) return false;
    } else {
      const kv::CStructuredFileProp& prop = *item->AsProp();
      const std::string& n = prop.Name;
      bool bracketed = n.size() >= 2 && ((n.front() == '<' && n.back() == '>') || (n.front() == '[' && n.back() == ']'));
      if (prop.Value.empty() && (n.empty() || bracketed)) return false;
    }
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view input(reinterpret_cast<const char*>(data), size);
  std::string_view setup = input, status;
  size_t split = input.find("\n####\n");
  if (split != std::string_view::npos) {
    setup = input.substr(0, split);
    status = input.substr(split + 6);
  }
  const std::string dir = Folder();
  const std::string setupPath = dir + "/setup.ini";
  WriteFile(setupPath, setup);
  if (split != std::string_view::npos)
    WriteFile(dir + "/status.ini", status);
  else
    unlink((dir + "/status.ini").c_str());

  kv::NoWindowUi ui;
  std::string title = "Kivra Setup: Fuzz";
  kv::UiContext context{ui, title};

  // The structured file alone.
  {
    kv::CStructuredFile file(context);
    file.FileName = setupPath;
    int32_t err = file.Load();
    Check(err == 0 ? ui.BoxTexts.size() == 0 : ui.BoxTexts.size() == 2, "a load failure shows exactly two boxes");
    if (err != 0) Check(ui.BoxTexts.back() == setupPath + "-" + std::to_string(err), "second box names the error");
    if (err == 0 && Writable(*file.Root())) {
      std::string written = file.ToText();
      kv::CStructuredFile again(context);
      Check(again.LoadFromText(written) == 0, "written tree reads back");
      Check(again.ToText() == written, "written tree reads back unchanged");
    }
    ui.BoxTexts.clear();
  }

  // The package on top of it.
  kv::CPackage package(context);
  package.PackageDir = dir;
  try {
    (void)package.Load(setupPath);
  } catch (const kv::VbError&) {
  }
  size_t boxesAfterLoad = ui.BoxTexts.size();
  Check(boxesAfterLoad == 0 || boxesAfterLoad == 2, "package load reports at most one failure");
  package.Load2();
  Check(ui.BoxTexts.size() == boxesAfterLoad, "Load2 never reports");
  try {
    package.SaveStatus();
  } catch (const kv::VbError& e) {
    Check(e.Number() == kv::vberr::DuplicateKey, "status of a loaded package can be written");
  }
  kv::CPackage reread(context);
  reread.PackageDir = dir;
  try {
    (void)reread.Load(setupPath);
  } catch (const kv::VbError&) {
  }
  reread.Load2();
  return 0;
}
