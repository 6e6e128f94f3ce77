#pragma once
// Everything the installer knows about one package: the definition read from
// setup.ini (header, files, macros, registry keys) and the installation status
// kept in status.ini beside it.
#include <memory>
#include <string>
#include <vector>

#include "package/CFile.h"
#include "package/CMacro.h"
#include "base/KeyedCollection.h"
#include "base/UserInteraction.h"

namespace kv {

class CPackage {
 public:
  explicit CPackage(UiContext context);

  std::string SourcePath;   // where the package was installed from
  // The downloaded one-file setup.exe the medium in SourcePath was unpacked
  // from ("" for a folder medium). The unpacked folder goes when the run
  // ends, so status.ini records the download instead.
  std::string DownloadedFrom;
  std::string PackageDir;   // folder holding this package's setup.ini and status.ini
  std::string InstalledIn;  // installation folder; "" = not installed
  std::string Name;
  std::string Caption;
  std::string Version;
  std::string DefaultPath;  // may hold path placeholders
  std::string EXEFile;
  std::string InfoTip;
  std::string StartMenuGroup;
  bool DefaultInStartMenu = false;
  bool DefaultOnDesktop = false;
  bool DefaultWinStart = false;
  bool AllowWinStart = false;
  // Optional header keys for package managers. A package that names its
  // Publisher gets the fuller uninstall entry they read; without it the entry
  // keeps its three classic values.
  std::string Publisher;
  std::string HelpLink;  // support address shown in the list of installed software
  CMacro OnInstall;
  CMacro OnUninstall;
  CMacro OnUpdate;
  CMacro OnUninstallAtUpdate;
  CMacro OnFreshInstall;
  CMacro OnCompleteUninstall;
  std::vector<std::string> CreatedPaths;  // folders the installation created, in order
  bool NoStatusSave = false;              // SaveStatus writes nothing while set
  std::vector<std::string> RegKeys;       // registry keys of the package
  // Keyed by CFile::Name (a record's key is its name, not a copy of it: a
  // large package holds a hundred thousand of them), setup.ini order.
  struct FileKey {
    std::string_view operator()(const std::shared_ptr<CFile>& file) const { return file->Name; }
  };
  KeyedCollection<std::shared_ptr<CFile>, FileKey> Files;
  bool Removed = false;  // set by the uninstallation once the package data is gone

  // Reads the definition at `path` (a full file path). Files, RegKeys and
  // CreatedPaths are emptied first.
  // Returns false when the file could not be read to its end: the structured
  // file has told the user already (two boxes), and what it read before the
  // fault is taken into the fields as usual, so the caller goes on with that.
  // A definition that breaks the schema throws VbError at the point reached,
  // with what was filled so far left as it is. Nobody has told the user then:
  //   - header, files, regkeys or a macro name a value, or a child of files
  //     or regkeys is a value line: TypeMismatch (13);
  //   - a Register value that is not a number: TypeMismatch (13), Overflow (6);
  //   - two file records with the same Name (any case): DuplicateKey (457).
  [[nodiscard]] bool Load(const std::string& path);

  // Reads status.ini from PackageDir into the fields filled by Load. Never
  // fails and never reports: a missing or damaged file reads as not installed
  // (InstalledIn = ""), unknown file names are dropped.
  void Load2();

  // Writes status.ini into PackageDir, replacing the old one atomically;
  // nothing while NoStatusSave is set. Throws VbError: DuplicateKey (457)
  // when CreatedPaths holds a folder twice (any case; nothing is written), or
  // the number of a failed write, which the structured file has then already
  // reported with one box.
  void SaveStatus();

  // PackageDir joined with "status.ini".
  std::string StatusFileName() const;

 private:
  UiContext context_;
};

}  // namespace kv
