#pragma once
// Shared scaffolding of the file-installation tests: a package in a scratch
// folder with a scripted user, small file helpers.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "install/InstallFile.h"
#include "package/CFile.h"
#include "package/CPackage.h"
#include "package/CStringLongStringStack.h"
#include "platform/WinString.h"
#include "session/Session.h"
#include "support/RegistryGuard.h"
#include "support/ScratchFolder.h"
#include "support/ScriptedUi.h"
#include "support/VersionFixtures.h"

namespace kv::test {

inline const std::string kAriTail =
    "\r\n\r\n- Klicken Sie auf Abbrechen, um die Installation abzubrechen.\r\n"
    "- Klicken Sie auf Wiederholen, um es erneut zu versuchen.\r\n"
    "- Klicken Sie auf Ignorieren, um fortzufahren, ohne die Datei zu installieren.";

// A Linux path (from the build) as wine sees it.
inline std::string WinePath(std::string unixPath) {
  std::replace(unixPath.begin(), unixPath.end(), '/', '\\');
  return "Z:" + unixPath;
}

inline bool Exists(const std::string& path) {
  return GetFileAttributesW(win::Widen(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}
inline void SetReadOnly(const std::string& path, bool on = true) {
  SetFileAttributesW(win::Widen(path).c_str(), on ? FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_NORMAL);
}
inline void Copy(const std::string& from, const std::string& to) {
  ASSERT_TRUE(CopyFileW(win::Widen(from).c_str(), win::Widen(to).c_str(), FALSE)) << from;
}

// Names in a folder (without "." and ".."), sorted.
inline std::vector<std::string> ListFolder(const std::string& folder) {
  std::vector<std::string> names;
  WIN32_FIND_DATAW data;
  HANDLE h = FindFirstFileW(win::Widen(folder + "\\*").c_str(), &data);
  if (h == INVALID_HANDLE_VALUE) return names;
  do {
    std::wstring n = data.cFileName;
    if (n != L"." && n != L"..") names.push_back(win::Narrow(n));
  } while (FindNextFileW(h, &data));
  FindClose(h);
  std::sort(names.begin(), names.end());
  return names;
}

// Sets a file's stamps to 1 January of `year`, noon.
inline void SetStamps(const std::string& path, int year) {
  SYSTEMTIME st{};
  st.wYear = static_cast<WORD>(year);
  st.wMonth = st.wDay = 1;
  st.wHour = 12;
  FILETIME ft;
  SystemTimeToFileTime(&st, &ft);
  HANDLE h = CreateFileW(win::Widen(path).c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(h, INVALID_HANDLE_VALUE) << path;
  SetFileTime(h, &ft, &ft, &ft);
  CloseHandle(h);
}

// Holds a file open without sharing, as a running program holds its DLL.
class HeldOpen {
 public:
  explicit HeldOpen(const std::string& path)
      : h_(CreateFileW(win::Widen(path).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)) {}
  ~HeldOpen() { Release(); }
  bool Holding() const { return h_ != INVALID_HANDLE_VALUE; }
  void Release() {
    if (h_ != INVALID_HANDLE_VALUE) CloseHandle(h_);
    h_ = INVALID_HANDLE_VALUE;
  }

 private:
  HANDLE h_;
};

// A file "C:\<name>" at the root of the current drive (the scratch folder's),
// where a path joined to an empty folder value lands; removed afterwards.
class AtDriveRoot {
 public:
  explicit AtDriveRoot(const std::string& scratch, const std::string& name) : path_("C:\\" + name) {
    SetCurrentDirectoryW(win::Widen(scratch).c_str());
    HANDLE h = CreateFileW(win::Widen(path_).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    WriteFile(h, "fremd", 5, &written, nullptr);
    CloseHandle(h);
  }
  ~AtDriveRoot() { DeleteFileW(win::Widen(path_).c_str()); }
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

// A package with its medium, installation folder `App` (not created) and data
// folder in a scratch folder, an isolated registry and a scripted user. The
// cancel procedure records how it was called and confirms as told.
class InstallFixture : public ::testing::Test {
 protected:
  InstallFixture() {
    Medium = Scratch.MakeFolder("medium");
    PackageData = Scratch.MakeFolder("pkgdata");
    App = Scratch / "Programme\\Testprogramm";
    session.SetupTitle = "Kivra Setup: Testprogramm";
    session.AppDir = Scratch.MakeFolder("Kivra Setup") + "\\";
    session.ProgramFilesDir = Scratch / "Programme";
    session.CancelSetup = [this](bool ask) {
      CancelCalls.push_back(ask);
      if (ConfirmCancel) session.Cancelled = true;
    };
    Package = std::make_shared<CPackage>(session.Context());
    Package->Name = "Testprogramm";
    Package->Caption = "Testprogramm 2.0";
    Package->Version = "2.0";
    Package->SourcePath = Medium;
    Package->InstalledIn = App;
    Package->PackageDir = PackageData;
    session.Package = Package;
  }

  CFile& AddFile(const std::string& name, const std::string& destinationPath = "*appdir*",
                 const std::string& destinationName = {}) {
    auto f = std::make_shared<CFile>();
    f->Name = name;
    f->DestinationName = destinationName.empty() ? name : destinationName;
    f->DestinationPath = destinationPath;
    Package->Files.Add(name, f);
    return *f;
  }
  void Install(CFile& file, CStringLongStringStack* pending = nullptr) {
    modInstall::InstallPackageFile(session, *Package, file, pending);
  }

  // The record of `name` as status.ini on disk holds it now.
  std::pair<int32_t, std::string> SavedRecord(const std::string& name) {
    CPackage reread(session.Context());
    reread.PackageDir = PackageData;
    for (const auto& f : Package->Files) {
      auto copy = std::make_shared<CFile>();
      copy->Name = f->Name;
      reread.Files.Add(f->Name, copy);
    }
    reread.Load2();
    const auto* found = reread.Files.Find(name);
    return {(*found)->Installed, (*found)->InstalledIn};
  }

  RegistryGuard Registry;
  ScratchFolder Scratch;
  ScriptedUi ui;
  Session session{ui};
  std::shared_ptr<CPackage> Package;
  std::string Medium, PackageData, App;
  std::vector<bool> CancelCalls;
  bool ConfirmCancel = true;
};

}  // namespace kv::test
