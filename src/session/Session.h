#pragma once
// The state one run of the installer shares between start-up, the engine and
// the pages. Owned by the entry point (or by a test) and passed by reference:
// there are no hidden globals, so every test can build a session of its own.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "base/UserInteraction.h"

namespace kv {

class CPackage;

// The administrator's log of a run (/log): one line per event, the time
// stamp is the log's business.
class RunLog {
 public:
  virtual ~RunLog() = default;
  virtual void Line(std::string_view text) = 0;
};

struct Session {
  explicit Session(UserInteraction& ui) : Ui(ui) {}
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  UserInteraction& Ui;
  // For the package data layer: where to report, under which title.
  UiContext Context() { return UiContext{Ui, SetupTitle}; }

  std::string SetupTitle = "Kivra Setup: ";
  std::string AppDir;           // installer folder, always ending in "\"
  std::string ProgramFilesDir;  // never ending in "\"
  std::shared_ptr<CPackage> Package;
  std::shared_ptr<CPackage> OtherPackage;  // another installed version, or null
  bool OtherIsNewer = false;
  bool IsNewInstall = false;
  bool FilesInstalled = false;
  bool Cancelled = false;
  bool PackageRegistered = false;
  bool RestartRequired = false;
  PageId CurrentPage = PageId::None;
  std::uintptr_t WindowIcon = 0;  // icon handle owned by the window side

  // Filled once at start-up by ProbeWindowsVersion.
  bool IsWindowsNT = true;
  int32_t WinMajorVersion = 0;
  int32_t WinMinorVersion = 0;

  // Flags of the wizard and the engine.
  bool InstallationStarted = false;
  bool Finished = false;
  bool IsUpdate = false;          // update of an older version
  bool IsRepair = false;
  bool ExistingFolder = false;    // install into the folder of an existing installation
  bool FilesLeft = false;         // uninstallation could not remove some files
  bool FolderLeft = false;        // ... or the installation folder
  bool SelfRemovalPending = false;
  bool CancelRunning = false;     // the cancel procedure is at work (its rollback may ask again)
  std::shared_ptr<CPackage> PackageToRemoveFirst;
  std::string SelfDeleteHelper;   // where the self-delete helper was copied to
  std::string WinInitFolder;      // folder of wininit.ini for 9x restart renames; empty: the Windows folder
  // The wizard's cancel procedure, installed by start-up (the engine cannot
  // call up a layer). ask = false is its unconditional form. Unset: the engine
  // only sets Cancelled.
  std::function<void(bool ask)> CancelSetup;
  // File records the engine changed but has not written to status.ini yet,
  // and when it last wrote them (Ui.Now()) and how long that write took; see
  // modInstall::FlushInstallStatus.
  bool StatusUnsaved = false;
  double StatusSavedAt = -1.0e300;
  double StatusSaveSeconds = 0;
  std::string SelfDeleteFolder;   // where Uninstall puts the self-delete helper; empty: the Windows folder
  std::string UninstallingName;   // what frmUninstall names (Name + " " + Version of the package being removed)

  // Where the engine reports what it did; without /log there is none and
  // Log() costs a test of one pointer.
  RunLog* Logger = nullptr;
  void Log(std::string_view text) {
    if (Logger) Logger->Line(text);
  }
};

}  // namespace kv
