#include "install/InstallFile.h"

#include <windows.h>
#include <winver.h>

#include <algorithm>
#include <string>

#include "install/Conflict.h"
#include "install/CopyJournal.h"
#include "install/ExpandPath.h"
#include "install/FastCopy.h"
#include "install/InstallFileSeams.h"
#include "install/Registration.h"
#include "package/CFile.h"
#include "package/CPackage.h"
#include "package/CStringLongStringStack.h"
#include "base/StringTools.h"
#include "base/Text.h"
#include "base/VbError.h"
#include "platform/FileTools.h"
#include "platform/SharedFiles.h"
#include "platform/Version.h"
#include "platform/WinString.h"
#include "session/Session.h"

namespace kv::modInstall {

namespace seams {
namespace {
const SystemFunctions* g_override = nullptr;
}  // namespace

ScopedSystemFunctions::ScopedSystemFunctions(SystemFunctions functions) : functions_(std::move(functions)) {
  g_override = &functions_;
}
ScopedSystemFunctions::~ScopedSystemFunctions() { g_override = nullptr; }
}  // namespace seams

namespace {

// Every buffer handed to the version functions has this many characters.
constexpr UINT kBufferLength = 301;

// Status records are written at most this often while files are installed.
// Each write replaces the whole status.ini, so writing after every file would
// make a large package cost quadratic time; a quarter of a second bounds what
// a crash can lose to the last few files. Before any question to the user the
// record is written regardless: the user may answer by cancelling, and the
// rollback and a later maintenance start read the file.
constexpr double kStatusSaveInterval = 0.25;
// A package so large that one write takes a noticeable part of that quarter
// waits longer between writes: the writes then take at most a fiftieth of
// the installation's time.
constexpr double kStatusSaveShare = 50;

UINT DriveType(const std::wstring& root) {
  if (seams::g_override && seams::g_override->GetDriveType) return seams::g_override->GetDriveType(root.c_str());
  return GetDriveTypeW(root.c_str());
}

DWORD FindFile(DWORD flags, const std::wstring& fileName, const std::wstring& winDir, const std::wstring& appDir,
               std::wstring& curDir, UINT& curLen, std::wstring& destDir, UINT& destLen) {
  if (seams::g_override && seams::g_override->VerFindFile) {
    return seams::g_override->VerFindFile(flags, fileName.c_str(), winDir.c_str(), appDir.c_str(), curDir.data(),
                                          &curLen, destDir.data(), &destLen);
  }
  // The system headers declare the input strings writable; they are not.
  return VerFindFileW(flags, const_cast<LPWSTR>(fileName.c_str()), const_cast<LPWSTR>(winDir.c_str()),
                      const_cast<LPWSTR>(appDir.c_str()), curDir.data(), &curLen, destDir.data(), &destLen);
}

DWORD InstallVersioned(DWORD flags, const std::wstring& srcName, const std::wstring& destName,
                       const std::wstring& srcDir, const std::wstring& destDir, const std::wstring& curDir,
                       std::wstring& tmpFile, UINT& tmpLen) {
  if (seams::g_override && seams::g_override->VerInstallFile) {
    return seams::g_override->VerInstallFile(flags, srcName.c_str(), destName.c_str(), srcDir.c_str(),
                                             destDir.c_str(), curDir.c_str(), tmpFile.data(), &tmpLen);
  }
  return VerInstallFileW(flags, const_cast<LPWSTR>(srcName.c_str()), const_cast<LPWSTR>(destName.c_str()),
                         const_cast<LPWSTR>(srcDir.c_str()), const_cast<LPWSTR>(destDir.c_str()),
                         const_cast<LPWSTR>(curDir.c_str()), tmpFile.data(), &tmpLen);
}

NewFileCopy QuickCopy(const std::wstring& sourcePath, const std::wstring& folder, const std::wstring& name,
                      const FILETIME& creationTime, const Announce& announce) {
  if (seams::g_override && seams::g_override->CopyNewFile) {
    return seams::g_override->CopyNewFile(sourcePath, folder, name, creationTime, announce);
  }
  if (seams::g_override && seams::g_override->VerInstallFile) return NewFileCopy::Failed;
  return CopyNewFile(sourcePath, folder, name, creationTime, announce);
}

std::wstring W(const std::string& s) { return win::Widen(s); }

std::string WindowsFolder() {
  wchar_t buffer[MAX_PATH + 1];
  UINT n = GetWindowsDirectoryW(buffer, MAX_PATH + 1);
  return win::Narrow(std::wstring_view(buffer, n <= MAX_PATH ? n : 0));
}

std::string SystemFolder() {
  wchar_t buffer[MAX_PATH + 1];
  UINT n = GetSystemDirectoryW(buffer, MAX_PATH + 1);
  return win::Narrow(std::wstring_view(buffer, n <= MAX_PATH ? n : 0));
}

std::string UpperAscii(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && EqualsNoCase(text.substr(0, prefix.size()), prefix);
}

// Last-write stamp to the second, as the file system shows it to the user.
bool ReadStamp(const std::string& path, ULONGLONG& seconds) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!GetFileAttributesExW(W(path).c_str(), GetFileExInfoStandard, &data)) return false;
  ULARGE_INTEGER t;
  t.LowPart = data.ftLastWriteTime.dwLowDateTime;
  t.HighPart = data.ftLastWriteTime.dwHighDateTime;
  seconds = t.QuadPart / 10000000ULL;
  return true;
}

modTools::LocalDateTime PresentLocalTime() {
  SYSTEMTIME st;
  GetLocalTime(&st);
  modTools::LocalDateTime t;
  t.Year = st.wYear;
  t.Month = st.wMonth;
  t.Day = st.wDay;
  t.Hour = st.wHour;
  t.Minute = st.wMinute;
  t.Second = st.wSecond;
  return t;
}

// A copy that failed for want of space leaves the system's temporary file
// behind without naming it (VIF_TEMPFILE is not set): whatever temporary file
// of the version functions appeared in the folder during the call goes.
void DropUnnamedTempFiles(const std::string& folder, const FILETIME& since) {
  WIN32_FIND_DATAW found;
  HANDLE search = FindFirstFileW(W(modTools::JoinPath(folder, "ver*.tmp")).c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return;
  do {
    if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) && CompareFileTime(&found.ftCreationTime, &since) >= 0)
      DeleteFileW(W(modTools::JoinPath(folder, win::Narrow(found.cFileName))).c_str());
  } while (FindNextFileW(search, &found));
  FindClose(search);
}

void ClearAttributes(const std::string& path) { SetFileAttributesW(W(path).c_str(), FILE_ATTRIBUTE_NORMAL); }

// The quick copy is tried where the system copy's outcome can only be a copy;
// the conditions and why they suffice are in FastCopy.h.
bool QuickCopyMayApply(const Session& session, const std::wstring& curDir, bool force) {
  return session.IsWindowsNT && curDir.empty() && !force;
}

// Writes status.ini now. On failure (already shown to the user by the package
// layer) the periodic writes stop, so that a broken disk does not bring up a
// box for every file; the writes before questions and at the end still try.
bool SaveNow(Session& session, CPackage& package) {
  try {
    const double began = session.Ui.Now();
    package.SaveStatus();
    session.StatusUnsaved = false;
    session.StatusSavedAt = session.Ui.Now();
    session.StatusSaveSeconds = session.StatusSavedAt - began;
    ForgetCopies(package);
    return true;
  } catch (const VbError&) {
    session.StatusSavedAt = 1.0e300;
    return false;
  }
}

void NoteStatusChange(Session& session, CPackage& package) {
  session.StatusUnsaved = true;
  const double interval = std::max(kStatusSaveInterval, kStatusSaveShare * session.StatusSaveSeconds);
  if (session.Ui.Now() - session.StatusSavedAt >= interval) SaveNow(session, package);
}

void RunCancelProcedure(Session& session, bool ask) {
  if (session.CancelSetup) {
    session.CancelSetup(ask);
  } else {
    session.Cancelled = true;
  }
}

// A question during the copy: the status is written first, the pointer is
// the arrow while the box is up and the hourglass again afterwards.
int32_t AskDuringCopy(Session& session, CPackage& package, const std::string& message) {
  FlushInstallStatus(session, package);
  int32_t answer = AskAbortRetryIgnore(session, message);
  session.Ui.SetMousePointer(MousePointer::Hourglass);
  return answer;
}

constexpr DWORD kInUse = VIF_ACCESSVIOLATION | VIF_SHARINGVIOLATION;
constexpr DWORD kForceable = VIF_MISMATCH | VIF_WRITEPROT;
constexpr DWORD kCopyFailed = VIF_CANNOTCREATE | VIF_CANNOTDELETE | VIF_CANNOTDELETECUR | VIF_CANNOTREADDST |
                              VIF_CANNOTREADSRC | VIF_CANNOTRENAME | VIF_OUTOFSPACE;
constexpr DWORD kConflict = VIF_DIFFCODEPG | VIF_DIFFLANG | VIF_DIFFTYPE;

}  // namespace

int32_t AskAbortRetryIgnore(Session& session, const std::string& message) {
  session.Ui.SetMousePointer(MousePointer::Default);
  MessageBoxRequest box;
  box.title = session.SetupTitle;
  box.buttons = MsgButtons::AbortRetryIgnore;
  box.icon = MsgIcon::Exclamation;
  box.defaultButton = 2;
  box.text = message +
             "\r\n\r\n- Klicken Sie auf Abbrechen, um die Installation abzubrechen.\r\n"
             "- Klicken Sie auf Wiederholen, um es erneut zu versuchen.\r\n"
             "- Klicken Sie auf Ignorieren, um fortzufahren, ohne die Datei zu installieren.";
  for (;;) {
    switch (session.Ui.MsgBox(box)) {
      case MsgResult::Retry:
        return kRetry;
      case MsgResult::Ignore:
        return kIgnore;
      default:
        // Abbrechen (or the box closed otherwise): the wizard asks whether to
        // roll back; if the user thinks better of it, the question returns.
        RunCancelProcedure(session, true);
        if (session.Cancelled) return kAbort;
        break;
    }
  }
}

void InstallFile(Session& session, CPackage& package, const std::string& sourceName, const std::string& sourceFolder,
                 const std::string& destinationName, const std::string& destinationFolder, bool sharedFile,
                 int32_t registerKind, bool dontOverwrite, CStringLongStringStack* pending) {
  UserInteraction& ui = session.Ui;
  const std::string destName = destinationName.empty() ? sourceName : destinationName;
  const std::string destFolder = destinationFolder.empty() ? package.InstalledIn : destinationFolder;

  // The run log gets one line per file, whichever way this call ends; a call
  // that ends without an outcome was skipped (or cancelled).
  struct LogOutcome {
    Session& session;
    std::string path;
    const char* outcome = nullptr;
    ~LogOutcome() {
      const char* what = outcome ? outcome : session.Cancelled ? "nicht installiert (Abbruch)" : "übersprungen";
      session.Log(std::string("Datei ") + what + ": " + path);
    }
  } logOutcome{session, modTools::JoinPath(destFolder, destName)};

  // The source, asking for the medium while it is missing.
  std::string sourcePath;
  for (;;) {
    sourcePath = modTools::JoinPath(sourceFolder, sourceName);
    if (modTools::FileExists(sourcePath)) break;
    std::string message = "Eine Quelldatei konnte nicht gefunden werden:\r\n    " + sourcePath;
    if (DriveType(W(sourceFolder.substr(0, 3))) != DRIVE_FIXED) {
      message += "\r\nBitte stellen Sie sicher, dass das Installationsmedium in Laufwerk " +
                 UpperAscii(sourceFolder.substr(0, 2)) + " eingelegt ist.";
    }
    if (AskDuringCopy(session, package, message) != kRetry) return;
  }

  if (!modTools::FileExists(destFolder)) {
    bool known = false;
    for (const std::string& created : package.CreatedPaths) {
      if (EqualsNoCase(created, destFolder)) {
        known = true;
        break;
      }
    }
    // On record before it exists: a run ended hard right after making it
    // must not leave a folder that the uninstallation knows nothing of.
    // Folders are few, so this extra write does not cost what one per file
    // would, and the periodic writes keep their pace.
    if (!known) {
      package.CreatedPaths.push_back(destFolder);
      const double pace = session.StatusSavedAt;
      if (SaveNow(session, package)) session.StatusSavedAt = pace;
    }
    modTools::MakePath(destFolder);
  }
  // Copies for a record of the package are journaled (CopyJournal.h); the
  // registration helper has none and stays the installer's own.
  const bool journaled = package.Files.Find(sourceName) != nullptr;

  // The version functions take paths of fewer than MAX_PATH characters and
  // fail badly on longer ones (the path page refuses such folders; a
  // DestinationPath may still lead there): the file cannot be copied, which
  // the user hears as for any copy the system could not make.
  while (sourcePath.size() >= MAX_PATH || modTools::JoinPath(destFolder, destName).size() >= MAX_PATH) {
    if (AskDuringCopy(session, package, "Beim Installieren von " + destName + " ist ein Fehler aufgetreten.") !=
        kRetry)
      return;
  }

  // The names the version functions work with: long names on NT; on the 9x
  // family the short forms, which are all those functions understand there.
  // The system's folders do not change while we run; their short forms cost
  // a walk over the disk, so they are looked up once.
  static const std::string winDir = WindowsFolder();
  static const std::string sysDir = SystemFolder();
  static const std::string shortSysDir = modTools::GetShortPath(sysDir);
  std::string vSrcFolder = sourceFolder, vSrcName = sourceName;
  std::string vDestFolder = destFolder, vDestName = destName;
  std::string vWinDir = winDir, vInstallDir = package.InstalledIn;
  if (!session.IsWindowsNT) {
    // A path without a short form (it could not be created) keeps its long
    // form: an empty folder would make the system copy into the source folder.
    auto shortForm = [](const std::string& path) {
      std::string s = modTools::GetShortPath(path);
      return s.empty() ? path : s;
    };
    const std::string shortSource = shortForm(sourcePath);
    vSrcFolder = modTools::ParentFolder(shortSource);
    vSrcName = modTools::FileNamePart(shortSource);
    // A short name exists only for an existing file: make one for a moment.
    const std::string destPath = modTools::JoinPath(destFolder, destName);
    const std::wstring wDestPath = W(destPath);
    bool madeEmpty = false;
    if (!modTools::FileExists(destPath)) {
      HANDLE h = CreateFileW(wDestPath.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
      if (h != INVALID_HANDLE_VALUE) {
        CloseHandle(h);
        madeEmpty = true;
      }
    }
    const std::string shortDest = shortForm(destPath);
    if (madeEmpty) DeleteFileW(wDestPath.c_str());
    vDestFolder = modTools::ParentFolder(shortDest);
    vDestName = modTools::FileNamePart(shortDest);
    vWinDir = shortForm(winDir);
    vInstallDir = shortForm(package.InstalledIn);
  }
  const std::wstring wSrcFolder = W(vSrcFolder), wSrcName = W(vSrcName);
  const std::wstring wDestFolder = W(vDestFolder), wDestName = W(vDestName), wWinDir = W(vWinDir);

  bool force = false, keepExisting = false, installedFresh = false, tempFileLeft = false;
  bool existed = false, success = false, stamped = false;
  std::string actualFolder;  // long form; stays empty until the first pass has a result
  std::string recDir;        // recommended folder of the last pass
  std::wstring tempName;     // temporary file the last pass left there

  // A pass that is repeated with force makes a fresh temporary copy, and an
  // early return ends the call: neither may leave the old copy behind.
  auto dropTempFile = [&] {
    if (tempFileLeft) {
      DeleteFileW(W(modTools::JoinPath(recDir, win::Narrow(tempName))).c_str());
      tempFileLeft = false;
    }
  };

  for (;;) {
    dropTempFile();
    UINT curLen = kBufferLength, recLen = kBufferLength;
    std::wstring curBuf(kBufferLength, L'\0'), recBuf(kBufferLength, L'\0');
    DWORD found;
    try {
      found = FindFile(0, wDestName, wWinDir, wDestFolder, curBuf, curLen, recBuf, recLen);
      if (found & VFF_BUFFTOOSMALL) {
        curBuf.assign(curLen, L' ');
        recBuf.assign(recLen, L' ');
        FindFile(0, wDestName, wWinDir, wDestFolder, curBuf, curLen, recBuf, recLen);
      }
    } catch (...) {
      FlushInstallStatus(session, package);
      RunCancelProcedure(session, false);
      return;
    }
    const std::wstring wCurDir = modTools::CutAtNull(curBuf);
    const std::wstring wRecDir = modTools::CutAtNull(recBuf);
    const std::string curDir = win::Narrow(wCurDir);
    recDir = win::Narrow(wRecDir);

    if (!curDir.empty() && modTools::FileExists(modTools::JoinPath(curDir, vDestName))) existed = true;
    if (existed && dontOverwrite) {
      logOutcome.outcome = "behalten (nicht zu überschreiben)";
      success = true;
      break;
    }

    // With nothing at the recommended place, whatever is there after the
    // copy is ours: journaled before it starts. Where the quick copy is
    // tried, it checks the place itself and announces what it creates.
    const std::string existingPath = modTools::JoinPath(recDir, vDestName);
    NewFileCopy quickCopy = NewFileCopy::Failed;
    if (QuickCopyMayApply(session, wCurDir, force)) {
      quickCopy = QuickCopy(W(sourcePath), wRecDir, wDestName, modTools::UniversalFileTime(PresentLocalTime()),
                            [&](const std::wstring& path) {
                              if (journaled) JournalCopy(package, win::Narrow(path));
                            });
    }
    const bool quick = quickCopy == NewFileCopy::Copied;
    const bool existsThere = quickCopy == NewFileCopy::Occupied ||
                             (quickCopy == NewFileCopy::Failed && modTools::FileExists(existingPath));
    if (journaled && quickCopy == NewFileCopy::Failed && !existsThere) JournalCopy(package, existingPath);

    // Version rule: 0 same, 1 existing newer, 2 source newer, -1 no versions.
    // With nothing at the recommended place every branch of the rule ends in
    // "install", so the source's version resource is not even read then.
    int32_t answer = 2;
    if (!quick && existsThere) {
      answer = modVersion::CompareFileVersions(existingPath, sourcePath);
      if (sharedFile) {
        if (answer == 0 || answer == -1) {
          if (StartsWithNoCase(recDir, vInstallDir)) {
            // Our own copy of a shared file: always refreshed.
            answer = 2;
          } else {
            ULONGLONG sourceStamp = 0, existingStamp = 0;
            bool keep = ReadStamp(sourcePath, sourceStamp) && ReadStamp(existingPath, existingStamp) &&
                        sourceStamp <= existingStamp;
            if (!keep) answer = 2;
          }
        }
      } else if (answer == -1) {
        answer = 2;
      }
    }

    DWORD result = VIF_SRCOLD;
    std::wstring tmpBuf(kBufferLength, L'\0');
    UINT tmpLen = kBufferLength;
    FILETIME copyStarted;
    GetSystemTimeAsFileTime(&copyStarted);
    if (quick) {
      result = 0;
      stamped = true;
    } else if (answer == 2) {
      DWORD flags = VIFF_DONTDELETEOLD | (force ? VIFF_FORCEINSTALL : 0);
      result = InstallVersioned(flags, wSrcName, wDestName, wSrcFolder, wRecDir, wCurDir, tmpBuf, tmpLen);
    }

    if (EqualsNoCase(recDir, vDestFolder)) {
      actualFolder = destFolder;
    } else if (EqualsNoCase(recDir, vWinDir)) {
      actualFolder = winDir;
    } else if (EqualsNoCase(recDir, shortSysDir)) {
      actualFolder = sysDir;
    } else {
      actualFolder = recDir;
    }

    tempFileLeft = (result & VIF_TEMPFILE) != 0;
    if (tempFileLeft) {
      tempName = modTools::CutAtNull(tmpBuf);
      while (!tempName.empty() && tempName.front() == L'\\') tempName.erase(0, 1);
      if (tempName.empty()) tempFileLeft = false;
    }

    // First match wins.
    if (result & VIF_SRCOLD) {
      logOutcome.outcome = "behalten (Versionsregel)";
      success = true;
      break;
    }
    if ((result & kInUse) != 0 || static_cast<int32_t>(result) < 0) {
      // The new file waits under a free name for the restart. When even that
      // copy fails (a full disk, a folder we may not write to), nothing would
      // replace the old file at the restart: that is this row's failure, and
      // the user decides as for a file that cannot be overwritten.
      const std::string copyPath =
          pending ? modTools::JoinPath(actualFolder, modTools::UniqueFileName(actualFolder, destName, true)) : "";
      if (pending != nullptr && journaled) JournalCopy(package, copyPath);
      if (pending != nullptr && CopyFileW(W(sourcePath).c_str(), W(copyPath).c_str(), TRUE)) {
        ClearAttributes(copyPath);
        try {
          pending->AddItem(copyPath, 0, modTools::JoinPath(actualFolder, destName), false);
        } catch (const VbError&) {
        }
        modTools::SetFileDate(copyPath, PresentLocalTime(), modTools::kCreationTime);
        logOutcome.outcome = "ausstehend bis zum Neustart";
        success = true;
        break;
      }
      if (pending != nullptr) DeleteFileW(W(copyPath).c_str());  // no half copy stays behind
      if (AskDuringCopy(session, package, "Die Datei " + destName + " konnte nicht überschrieben werden.") !=
          kRetry) {
        dropTempFile();
        return;
      }
      continue;
    }
    if (result & kForceable) {
      if (force) break;
      // A newer file of another kind, or a read-only one: replaced without
      // asking, once.
      ClearAttributes(modTools::JoinPath(actualFolder, destName));
      force = true;
      continue;
    }
    if (result & kCopyFailed) {
      if (!(result & VIF_TEMPFILE)) DropUnnamedTempFiles(recDir, copyStarted);
      if (AskDuringCopy(session, package, "Beim Installieren von " + destName + " ist ein Fehler aufgetreten.") !=
          kRetry) {
        dropTempFile();
        return;
      }
      continue;
    }
    if (result & kConflict) {
      if (force) break;
      int32_t choice;
      for (;;) {
        FlushInstallStatus(session, package);
        ui.SetMousePointer(MousePointer::Default);
        choice = frmConflict::Init(session, destName, modTools::JoinPath(actualFolder, destName), sourcePath, result,
                                   package.Caption);
        ui.SetMousePointer(MousePointer::Hourglass);
        if (choice != 0) break;
        RunCancelProcedure(session, true);
        if (session.Cancelled) {
          dropTempFile();
          return;
        }
      }
      if (choice == 1) {
        logOutcome.outcome = "behalten (installierte Datei neuer)";
        keepExisting = true;
        success = true;
        break;
      }
      force = true;
      continue;
    }
    if (result == 0) {
      logOutcome.outcome = "installiert";
      installedFresh = true;
      success = true;
    }
    break;
  }

  const std::string finalPath = modTools::JoinPath(actualFolder, destName);
  if (installedFresh && destName != vDestName) {
    MoveFileW(W(modTools::JoinPath(recDir, vDestName)).c_str(), W(finalPath).c_str());
  }
  dropTempFile();
  if (!success) return;

  // A "DontOverwrite" file found elsewhere ends the first pass before the
  // actual folder is known: finalPath is then "\name" at the root of the
  // current drive, which is not the file that was found and not ours to stamp
  // or register. It is still counted and recorded (InstalledIn empty) as the
  // rules say; the uninstallation skips it on the same reading.
  const bool folderKnown = !actualFolder.empty();
  // A fresh copy loses its attributes; every outcome gets its creation time.
  if (folderKnown && !stamped) modTools::StampCreationTime(finalPath, PresentLocalTime(), installedFresh);
  if (sharedFile) modTools::AddSharedFileReference(finalPath, existed);

  while (folderKnown && RegisterFile(session, finalPath, registerKind) != 0) {
    if (AskDuringCopy(session, package, "Beim Registrieren von " + destName + " ist ein Fehler aufgetreten.") !=
        kRetry) {
      logOutcome.outcome = "nicht registriert";
      return;
    }
  }

  if (std::shared_ptr<CFile>* record = package.Files.Find(sourceName); record != nullptr && *record) {
    (*record)->Installed = keepExisting ? 2 : 1;
    (*record)->InstalledIn = actualFolder;
  }
  session.FilesInstalled = true;
  NoteStatusChange(session, package);
}

void InstallPackageFile(Session& session, CPackage& package, CFile& file, CStringLongStringStack* pending) {
  // Copies: the call may rewrite the record it came from.
  const std::string name = file.Name;
  const std::string destName = file.DestinationName;
  const std::string destPath = ExpandPath(session, file.DestinationPath, &package);
  InstallFile(session, package, name, package.SourcePath, destName, destPath, file.SharedFile, file.Register,
              file.DontOverwrite, pending);
}

bool FlushInstallStatus(Session& session, CPackage& package) {
  if (session.StatusUnsaved) return SaveNow(session, package);
  // Nothing changed since the last write: each journaled copy is on record,
  // failed, or was skipped by the user's answer.
  ForgetCopies(package);
  return true;
}

void ReplaceExistingFile(const std::string& source, const std::string& target) {
  const std::wstring wTarget = W(target);
  DWORD attributes = GetFileAttributesW(wTarget.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0) {
    SetFileAttributesW(wTarget.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
  }
  if (CopyFileW(W(source).c_str(), wTarget.c_str(), FALSE)) return;
  DWORD error = GetLastError();
  if (!modTools::FileExists(source)) throw VbError(vberr::FileNotFound, "file not found: " + source);
  if (error == ERROR_PATH_NOT_FOUND) throw VbError(vberr::PathNotFound, "path not found: " + target);
  throw VbError(vberr::PermissionDenied, "cannot replace " + target);
}

}  // namespace kv::modInstall
