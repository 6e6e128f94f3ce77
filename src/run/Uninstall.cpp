#include "run/Uninstall.h"

#include <windows.h>

#include "install/AppPaths.h"
#include "install/CopyJournal.h"
#include "base/FileIo.h"
#include "install/ExpandPath.h"
#include "install/Links.h"
#include "macro/Interpreter.h"
#include "install/MoveFileAtRestart.h"
#include "install/Registration.h"
#include "install/UninstallEntry.h"
#include "package/CPackage.h"
#include "base/StringTools.h"
#include "platform/FileTools.h"
#include "platform/RegTools.h"
#include "platform/SharedFiles.h"
#include "platform/SpecialFolders.h"
#include "platform/WinString.h"
#include "session/Session.h"

namespace kv::modInstall {
namespace {

constexpr double kMinimumDisplaySeconds = 0.5;
const char* const kPackagesKey = "Software\\Kivra\\Setup\\Packages";
const char* const kRunKey = "Software\\Microsoft\\Windows\\CurrentVersion\\Run";

// Every step of the removal runs whatever the previous one did.
template <class F>
void Step(F&& f) {
  try {
    f();
  } catch (...) {
  }
}

// Staged data copied from a CD carries its read-only attribute; it must go
// all the same.
void DeleteFileQuietly(const std::string& path) {
  const std::wstring wide = win::Widen(path);
  SetFileAttributesW(wide.c_str(), FILE_ATTRIBUTE_NORMAL);
  DeleteFileW(wide.c_str());
}

std::string WithoutTrailingBackslash(std::string path) {
  if (!path.empty() && path.back() == '\\') path.pop_back();
  return path;
}

void ShowInformation(Session& session, const std::string& text) {
  MessageBoxRequest box;
  box.text = text;
  box.title = session.SetupTitle;
  box.buttons = MsgButtons::OK;
  box.icon = MsgIcon::Information;
  session.Ui.MsgBox(box);
}

// The folder where a shared file's count is kept: where the installation put
// it, else where the definition sends it.
std::string SharedFilePath(Session& session, CPackage& package, const CFile& file) {
  std::string folder = file.InstalledIn;
  if (folder.empty()) folder = ExpandPath(session, file.DestinationPath, &package);
  if (folder.empty()) folder = package.InstalledIn;
  return modTools::JoinPath(folder, file.DestinationName.empty() ? file.Name : file.DestinationName);
}

void RemoveLinksAndClasses(Session& session, CPackage& package) {
  const std::string suffix = LinkSuffix(package);
  const std::string windows = modSpclFolder::GetWindowsFolder();
  const std::string startMenuMirror = windows + "\\startmenü";
  const std::string desktopMirror = windows + "\\desktop";
  struct Place {
    int32_t id;
    const std::string& mirror;
  };
  const Place places[] = {{modSpclFolder::kCommonStartMenu, startMenuMirror},
                          {modSpclFolder::kStartMenu, startMenuMirror},
                          {modSpclFolder::kCommonDesktopDirectory, desktopMirror},
                          {modSpclFolder::kDesktopDirectory, desktopMirror}};
  for (const Place& place : places) {
    Step([&] { DeleteLinkFiles(suffix, modSpclFolder::GetSpecialFolder(nullptr, place.id, place.mirror)); });
  }
  if (!package.EXEFile.empty()) {
    Step([&] { UnregisterLinkClass(package); });
    Step([&] { RemoveAppPath(package); });
  }
}

// No package left on the machine: the installer goes too. The registration
// helper becomes the self-delete helper outside the installer folder (it
// cannot delete the folder it runs from); it is itself deleted at restart.
void ArrangeSelfRemoval(Session& session) {
  const std::string helperSource = session.AppDir + "Dllregsv.exe";
  std::string folder = session.SelfDeleteFolder.empty() ? modSpclFolder::GetWindowsFolder() : session.SelfDeleteFolder;
  const std::string helper = modTools::JoinPath(folder, kSelfDeleteHelperName);
  if (!CopyFileW(win::Widen(helperSource).c_str(), win::Widen(helper).c_str(), FALSE)) return;

  DeleteFileQuietly(helperSource);
  // Deleting the helper at restart is no reason to ask for a restart.
  const bool restartBefore = session.RestartRequired;
  MoveFileAtRestart(session, helper, "");
  session.RestartRequired = restartBefore;
  RemoveFolder(session, WithoutTrailingBackslash(session.AppDir), /*quiet=*/true);
  session.SelfDeleteHelper = helper;
  session.SelfRemovalPending = true;
}

}  // namespace

void RemoveFolder(Session& session, const std::string& folder, bool quiet) {
  WIN32_FIND_DATAW found;
  HANDLE search = FindFirstFileW(win::Widen(modTools::JoinPath(folder, "*")).c_str(), &found);
  if (search != INVALID_HANDLE_VALUE) {
    do {
      if (found.cFileName[0] == L'.') continue;
      if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
        RemoveFolder(session, modTools::JoinPath(folder, win::Narrow(found.cFileName)), /*quiet=*/true);
      }
    } while (FindNextFileW(search, &found));
    FindClose(search);
  }
  if (RemoveDirectoryW(win::Widen(folder).c_str()) || quiet) return;
  // A folder that is not there (a cancel after the path page, before any
  // file) has not been left behind.
  const DWORD error = GetLastError();
  if (error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND) session.FolderLeft = true;
}

void ReleaseFilesKeptForUpdate(Session& session, CPackage& old, CPackage& replacing) {
  for (size_t i = 0; i < old.Files.size(); ++i) {
    Step([&] {
      CFile& file = *old.Files[i];
      const std::shared_ptr<CFile>* taken = replacing.Files.Find(file.Name);
      if (file.Installed <= 0 || !taken) return;
      const std::string path = modTools::JoinPath(file.InstalledIn, file.DestinationName);
      if (*taken && (*taken)->Installed > 0) {
        // The new version found the old copy and counted it as somebody
        // else's use: that was the old version, which is gone now. The new
        // version's removal then deals with the file.
        if (file.SharedFile) modTools::ReleaseSharedFileReference(path);
        file.Installed = 0;
        return;
      }
      if (file.SharedFile) {
        // Its count was lowered when the old version went; a count still
        // there means other programs use the file.
        if (modRegTools::GetNumber(modTools::kSharedDllsKey, path, 0, HKEY_LOCAL_MACHINE) > 0) return;
        CFile uncounted = file;
        uncounted.SharedFile = false;
        UnregisterFile(session, uncounted, /*keepFile=*/false);
        file.Installed = 0;
        return;
      }
      UnregisterFile(session, file, /*keepFile=*/false);
    });
  }
}

void Uninstall(Session& session, CPackage& package, bool skipRegistrations, CPackage* newPackage,
               bool keepPackageData, bool fileFlag, bool skipLinks) {
  UserInteraction& ui = session.Ui;
  const double start = ui.Now();
  const std::string identifier = package.Name + "_" + package.Version;

  session.UninstallingName = package.Name + " " + package.Version;
  ui.ShowPage(PageId::Uninstall, session.SetupTitle);
  session.CurrentPage = PageId::Uninstall;
  ui.SetMousePointer(MousePointer::Hourglass);
  ui.DoEvents();

  auto finish = [&] {
    ui.SetMousePointer(MousePointer::Default);
  };

  Step([&] { macro::Execute(newPackage ? package.OnUninstallAtUpdate : package.OnCompleteUninstall, session, package); });
  if (session.Cancelled) return finish();
  Step([&] { macro::Execute(package.OnUninstall, session, package); });
  if (session.Cancelled) return finish();

  session.FilesLeft = false;
  session.FolderLeft = false;

  const int total = static_cast<int>(package.Files.size());
  for (size_t i = 0; i < package.Files.size(); ++i) {
    ui.ReportProgress(static_cast<int>(i), total, package.Files[i] ? package.Files[i]->DestinationName : "");
    Step([&] {
      CFile& file = *package.Files[i];
      if (file.Installed <= 0) return;
      if (newPackage && newPackage->Files.Contains(file.Name)) {
        // The new version brings this file again and raises the count anew.
        if (file.SharedFile) modTools::ReleaseSharedFileReference(SharedFilePath(session, package, file));
        return;
      }
      UnregisterFile(session, file, fileFlag);
    });
  }
  ui.ReportProgress(total, total, "");

  if (!skipRegistrations) {
    if (!newPackage && !skipLinks) {
      for (const std::string& entry : package.RegKeys) {
        Step([&] {
          HKEY root = nullptr;
          bool matched = false;
          std::string key = modRegTools::SplitRoot(entry, root, &matched);
          if (matched) modRegTools::DeleteTree(key, root);
        });
      }
    }
    if (!skipLinks) RemoveLinksAndClasses(session, package);
    Step([&] { modRegTools::DeleteTree(UninstallEntryKey(package), HKEY_LOCAL_MACHINE); });
    if (!skipLinks && !package.Name.empty()) {
      Step([&] { modRegTools::Delete(kRunKey, package.Name, HKEY_CURRENT_USER); });
      Step([&] { modRegTools::Delete(kRunKey, package.Name, HKEY_LOCAL_MACHINE); });
    }

    if (!keepPackageData) {
      Step([&] {
        const std::string packageFolder = session.AppDir + "Packages\\" + identifier;
        DeleteFileQuietly(packageFolder + "\\setup.ini");
        DeleteFileQuietly(packageFolder + "\\status.ini");
        DeleteFileQuietly(packageFolder + "\\eula.txt");
        // What a run ended hard may have left beside them: the journal of its
        // copies and a status write that never got renamed into place.
        ForgetCopies(package);
        DeleteFileQuietly(fileio::TemporaryNameFor(package.StatusFileName()));
        RemoveDirectoryW(win::Widen(packageFolder).c_str());
        package.Removed = true;
        modRegTools::DeleteTree(std::string(kPackagesKey) + "\\" + identifier, HKEY_LOCAL_MACHINE);
      });
      if (!newPackage) {
        Step([&] {
          // Only an index that was read and is empty lets the installer go: a
          // failed read must not orphan the other packages' uninstall entries.
          auto left = modRegTools::TryListSubkeys(kPackagesKey, HKEY_LOCAL_MACHINE);
          if (left && left->empty()) ArrangeSelfRemoval(session);
        });
      }
    }

    if (!package.InstalledIn.empty()) Step([&] { RemoveFolder(session, package.InstalledIn, false); });
    for (const std::string& created : package.CreatedPaths) {
      Step([&] {
        if (modTools::FileExists(created)) RemoveFolder(session, created, false);
      });
    }
    ui.SetMousePointer(MousePointer::Default);

    // Only for a real removal: during an update, or when an installation
    // follows and the files were kept for it on purpose, the folder is about
    // to be filled again and nothing was left behind.
    if (!newPackage && !fileFlag) {
      ui.SetMousePointer(MousePointer::Arrow);
      if (session.FilesLeft) {
        ShowInformation(session,
                        "Es konnten leider nicht alle Dateien entfernt werden. Bitte überprüfen Sie, welche Dateien "
                        "noch im Ordner \"" +
                            package.InstalledIn +
                            "\" verblieben sind und löschen Sie diesen Ordner bei Bedarf \"von Hand\".");
      } else if (session.FolderLeft) {
        ShowInformation(session,
                        "Der Programmordner konnte nicht entfernt werden, da er möglicherweise noch Dateien "
                        "enthält. Bitte überprüfen Sie, welche Dateien noch im Ordner \"" +
                            package.InstalledIn +
                            "\" verblieben sind und löschen Sie diesen Ordner bei Bedarf \"von Hand\".");
      }
    }
  }

  // The page is seen even when there was little to do.
  while (ui.Now() - start < kMinimumDisplaySeconds) ui.WaitForEvents(start + kMinimumDisplaySeconds - ui.Now());
  finish();
}

}  // namespace kv::modInstall
