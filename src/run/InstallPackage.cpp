// The installation run.
#include "run/InstallPackage.h"

#include <windows.h>

#include <memory>

#include "install/AppPaths.h"
#include "install/InstallFile.h"
#include "install/Links.h"
#include "install/MoveFileAtRestart.h"
#include "macro/Interpreter.h"
#include "install/Registration.h"
#include "install/UninstallEntry.h"
#include "package/CPackage.h"
#include "package/CStringLongStringStack.h"
#include "base/StringTools.h"
#include "platform/FileTools.h"
#include "platform/RegTools.h"
#include "platform/SharedFiles.h"
#include "platform/WinString.h"
#include "session/Session.h"

namespace kv::modInstall {

namespace {

// The progress page stays up at least this long, so that even a tiny package
// does not just flash past.
constexpr double kMinimumDisplaySeconds = 1.0;

// Errors inside the run are reported by the routines that meet them; the run
// itself goes on with its next step.
template <class F>
void Quietly(F&& step) {
  try {
    step();
  } catch (...) {
  }
}

bool Rename(const std::string& from, const std::string& to, bool replace = false) {
  return MoveFileExW(win::Widen(from).c_str(), win::Widen(to).c_str(), replace ? MOVEFILE_REPLACE_EXISTING : 0) != 0;
}

bool Delete(const std::string& path) {
  std::wstring wide = win::Widen(path);
  SetFileAttributesW(wide.c_str(), FILE_ATTRIBUTE_NORMAL);
  return DeleteFileW(wide.c_str()) != 0;
}

// The shared count of `path` as it stands (-1: none), and putting it back.
int32_t SharedCount(const std::string& path) {
  return modRegTools::GetNumber(modTools::kSharedDllsKey, path, -1, HKEY_LOCAL_MACHINE);
}
void RestoreSharedCount(const std::string& path, int32_t count) {
  if (count < 0)
    modRegTools::Delete(modTools::kSharedDllsKey, path, HKEY_LOCAL_MACHINE);
  else
    modRegTools::SetNumber(modTools::kSharedDllsKey, path, count, HKEY_LOCAL_MACHINE);
}

// Reinstalls one installed file. The installed copy is moved aside under a
// free name first and comes back under its own name when the new copy could
// not be installed, so a failed repair never costs the user the file he had.
// A repair puts the same file back, so the shared count ends where it
// started: a DontUninstall file keeps its count through the unregistration
// while the new copy counts once more. When the new copy does not arrive, the
// old one is back with its record, count and registration, so that a later
// uninstallation still knows it.
void RepairFile(Session& session, CPackage& package, CFile& file, CStringLongStringStack& pending) {
  const CFile before = file;
  const std::string name = file.DestinationName.empty() ? file.Name : file.DestinationName;
  const std::string current = modTools::JoinPath(before.InstalledIn, name);
  const int32_t count = SharedCount(current);

  const bool released = UnregisterFile(session, file, /*keepFile=*/true);
  // The unregistration changed the record; status.ini must follow it.
  session.StatusUnsaved = true;
  // Not released: a shared file other programs still use; it stays as it is,
  // our reference given up.
  if (!released) return;

  std::string aside;
  if (!before.InstalledIn.empty()) {
    aside = modTools::JoinPath(before.InstalledIn, modTools::UniqueFileName(before.InstalledIn, name, true));
    if (!Rename(current, aside)) aside.clear();  // nothing there to keep (a missing file is what repairs are for)
  }

  // Whether the new copy arrived is read from the record afterwards; it must
  // not still show the old state (UnregisterFile leaves DontUninstall files'
  // records as they were).
  file.Installed = 0;
  InstallPackageFile(session, package, file, &pending);

  if (file.Installed != 0) {
    if (file.SharedFile && file.InstalledIn == before.InstalledIn) RestoreSharedCount(current, count);
    // The old copy may still be loaded by a running program: then it goes at
    // the next restart instead of staying around under its odd name.
    if (!aside.empty() && !Delete(aside)) MoveFileAtRestart(session, aside, "");
    return;
  }
  // Replacing: a copy that arrived unrecorded (its registration was aborted)
  // must not keep the old one under its free name.
  if (!aside.empty()) Rename(aside, current, /*replace=*/true);
  file = before;
  session.StatusUnsaved = true;  // the record is back; a flush during the attempt wrote it as gone
  if (file.SharedFile) RestoreSharedCount(current, count);
  // The unregistration took the old copy's registration away (not so for a
  // DontUninstall file, which it leaves alone).
  if (!before.DontUninstall && before.Register != 0 && modTools::FileExists(current))
    RegisterFile(session, current, before.Register);
}

// False when the user cancelled: the run ends after the current file.
bool FilePhase(Session& session, CPackage& package, bool repair, CStringLongStringStack& pending) {
  const int total = static_cast<int>(package.Files.size());
  for (size_t i = 0; i < package.Files.size(); ++i) {
    if (session.Cancelled) return false;
    std::shared_ptr<CFile> file = package.Files[i];
    const std::string name = file ? file->DestinationName : std::string();
    session.Ui.ReportProgress(static_cast<int>(i), total, name);
    if (file) {
      if (!repair && file->Installed == 0)
        Quietly([&] { InstallPackageFile(session, package, *file, &pending); });
      else if (repair && file->Installed >= 1 && !file->DontOverwrite)
        Quietly([&] { RepairFile(session, package, *file, pending); });
    }
    session.Ui.ReportProgress(static_cast<int>(i) + 1, total, name);
    if (session.Cancelled) return false;
    session.Ui.DoEvents();
  }
  return !session.Cancelled;
}

void RegistrationPhase(Session& session, CPackage& package) {
  // From here on a rollback must take links and registrations away again.
  session.PackageRegistered = false;
  if (!package.EXEFile.empty()) {
    Quietly([&] { RegisterLinkClass(session, package); });
    Quietly([&] { SetAppPath(package); });
  }
  Quietly([&] { WriteUninstallEntry(session, package); });
}

// False when the user cancelled at a macro's prompt.
bool MacroPhase(Session& session, CPackage& package, bool update) {
  CMacro& first = update ? package.OnUpdate : package.OnFreshInstall;
  Quietly([&] { macro::Execute(first, session, package); });
  session.Ui.DoEvents();
  if (session.Cancelled) return false;
  Quietly([&] { macro::Execute(package.OnInstall, session, package); });
  session.Ui.DoEvents();
  return !session.Cancelled;
}

// Each entry: the new file's temporary copy (ItemData) and the path it must
// replace (ItemText). The old file's deletion is scheduled before the rename,
// because the rename at restart does not replace an existing file.
void SchedulePendingReplacements(Session& session, const CStringLongStringStack& pending) {
  for (int32_t i = 1; i <= pending.Count(); ++i) {
    const std::string& temporary = pending.ItemData(i);
    const std::string& finalPath = pending.ItemText(i);
    if (!modTools::FileExists(temporary)) continue;
    MoveFileAtRestart(session, finalPath, "");
    MoveFileAtRestart(session, temporary, finalPath);
  }
}

// Writes what the run recorded. After a cancellation whose rollback already
// removed the package data there is nothing to write into - and recreating
// status.ini would leave exactly what the rollback took away.
void FlushStatus(Session& session, CPackage& package) {
  if (session.Cancelled && !modTools::FolderExists(package.PackageDir)) return;
  Quietly([&] { FlushInstallStatus(session, package); });
}

}  // namespace

void InstallPackage(Session& session, CPackage& package, bool repair, bool update) {
  UserInteraction& ui = session.Ui;
  const double start = ui.Now();
  const MousePointer previousPointer = ui.GetMousePointer();
  ui.SetMousePointer(MousePointer::Hourglass);
  CStringLongStringStack pending;

  // The folder is on record before the first file arrives: a run ended hard
  // in the file phase leaves a package that maintenance can continue or
  // remove, not one that reads as never installed while its files are there.
  session.StatusUnsaved = true;
  FlushStatus(session, package);

  bool finished = FilePhase(session, package, repair, pending);
  // What the file phase recorded is written now, also after a cancellation
  // that kept the files: the next start offers to continue or remove exactly
  // what is on disk.
  FlushStatus(session, package);

  if (finished) {
    if (!repair) RegistrationPhase(session, package);
    finished = MacroPhase(session, package, update);
  }

  if (finished) {
    Quietly([&] { SchedulePendingReplacements(session, pending); });
    // Measured on the interaction's clock (monotonic, so no midnight wrap).
    while (ui.Now() <= start + kMinimumDisplaySeconds) ui.WaitForEvents(start + kMinimumDisplaySeconds - ui.Now());
  }

  // Files a macro installed are on record too.
  FlushStatus(session, package);
  ui.SetMousePointer(previousPointer);
}

}  // namespace kv::modInstall
