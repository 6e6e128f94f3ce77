#include "startup/StartupWorld.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "install/ExpandPath.h"
#include "install/InstallPackage.h"
#include "package/CPackage.h"
#include "platform/RegTools.h"
#include "platform/WinString.h"
#include "startup/WizardFlow.h"

namespace kv::test {

std::string BuiltProgram(const char* definedPath) {
  std::string path = definedPath;
  std::replace(path.begin(), path.end(), '/', '\\');
  return path;
}

std::string RecorderExe() { return BuiltProgram(KV_RECORDER_EXE); }

std::string WaitForFile(const std::string& path) {
  // Started programs run on their own; give them a generous while.
  for (int i = 0; i < 600; ++i) {
    if (GetFileAttributesW(win::Widen(path).c_str()) != INVALID_FILE_ATTRIBUTES) {
      Sleep(50);  // let the writer finish its one write
      return ReadFileBytes(path);
    }
    Sleep(50);
  }
  return {};
}

std::string SetupIni(const std::string& name, const std::string& version, const std::vector<MediumFile>& files,
                     const std::string& exeFile, const std::string& extraGroups) {
  std::string ini = "<header>\r\nName=" + name + "\r\nCaption=" + name + " Programm\r\nVersion=" + version + "\r\n";
  if (!exeFile.empty()) ini += "EXEFile=" + exeFile + "\r\n";
  ini += "</header>\r\n<files>\r\n";
  for (const MediumFile& f : files) ini += "[file]\r\nName=" + f.name + "\r\n" + f.extraKeys + "[/file]\r\n";
  ini += "</files>\r\n" + extraGroups;
  return ini;
}

StartupWorld::StartupWorld() {
  appDir = scratch.MakeFolder("Setup") + "\\";
  CopyFileW(win::Widen(RecorderExe()).c_str(), win::Widen(appDir + "KVSetup.exe").c_str(), FALSE);
  programFiles = scratch.MakeFolder("pf");
  windows = scratch.MakeFolder("windows");
  modRegTools::SetString("Software\\Microsoft\\Windows\\CurrentVersion", "ProgramFilesDir", programFiles,
                         HKEY_LOCAL_MACHINE);
}

std::string StartupWorld::MakeMedium(const std::string& folder, const std::string& setupIni,
                                     const std::vector<MediumFile>& files, bool withEula) {
  std::string path = scratch.MakeFolder(folder);
  scratch.WriteFile(folder + "\\setup.ini", setupIni);
  if (withEula) scratch.WriteFile(folder + "\\eula.txt", "Lizenz\r\n");
  CopyFileW(win::Widen(RecorderExe()).c_str(), win::Widen(path + "\\setup.exe").c_str(), FALSE);
  for (const MediumFile& f : files) scratch.WriteFile(folder + "\\" + f.name, f.content);
  return path;
}

void StartupWorld::Prepare(Session& session) const { session.SelfDeleteFolder = windows; }

std::unique_ptr<StartRun> StartupWorld::Start(const std::string& commandTail) {
  auto run = std::make_unique<StartRun>();
  Prepare(run->session);
  modSetup::StartOptions options;
  options.appDir = appDir;
  options.elevate = false;
  modSetup::Main(run->session, commandTail, options);
  return run;
}

std::unique_ptr<StartRun> StartupWorld::InstallComplete(const std::string& medium) {
  auto run = Start("-ifp \"" + medium + "\"");
  Session& s = run->session;
  EXPECT_TRUE(s.Package) << "the medium did not load";
  if (!s.Package) return run;
  // The path page: the default folder, expanded.
  s.Package->InstalledIn = modInstall::ExpandPath(s, s.Package->DefaultPath, s.Package.get());
  modSetup::StartInstallation(s);
  modInstall::InstallPackage(s, *s.Package, s.IsRepair, false);
  s.Finished = true;
  return run;
}

namespace {

void SnapshotKey(HKEY root, const std::string& rootName, const std::string& path, Snapshot& snap) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(root, win::Widen(path).c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return;
  if (!path.empty()) snap.registry[rootName + "\\" + path] = "";
  for (DWORD i = 0;; ++i) {
    wchar_t name[16384];
    DWORD nameLength = 16384, type = 0, dataLength = 0;
    if (RegEnumValueW(key, i, name, &nameLength, nullptr, &type, nullptr, &dataLength) != ERROR_SUCCESS) break;
    std::string data(dataLength, '\0');
    nameLength = 16384;
    RegEnumValueW(key, i, name, &nameLength, nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &dataLength);
    snap.registry[rootName + "\\" + path + "|" + win::Narrow(std::wstring(name, nameLength))] =
        std::to_string(type) + ":" + data;
  }
  std::vector<std::string> subkeys;
  for (DWORD i = 0;; ++i) {
    wchar_t name[256];
    DWORD nameLength = 256;
    if (RegEnumKeyExW(key, i, name, &nameLength, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
    subkeys.push_back(win::Narrow(std::wstring(name, nameLength)));
  }
  RegCloseKey(key);
  for (const std::string& sub : subkeys) SnapshotKey(root, rootName, path.empty() ? sub : path + "\\" + sub, snap);
}

void SnapshotFolder(const std::string& root, const std::string& relative, Snapshot& snap) {
  const std::string folder = relative.empty() ? root : root + "\\" + relative;
  WIN32_FIND_DATAW found;
  HANDLE search = FindFirstFileW(win::Widen(folder + "\\*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return;
  do {
    std::string name = win::Narrow(found.cFileName);
    if (name == "." || name == "..") continue;
    std::string rel = relative.empty() ? name : relative + "\\" + name;
    if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
      snap.files[rel] = "<dir>";
      SnapshotFolder(root, rel, snap);
    } else {
      snap.files[rel] = ReadFileBytes(root + "\\" + rel);
    }
  } while (FindNextFileW(search, &found));
  FindClose(search);
}

std::vector<std::string> Diff(const std::map<std::string, std::string>& a, const std::map<std::string, std::string>& b,
                              const std::string& prefix) {
  std::vector<std::string> out;
  for (const auto& [k, v] : b) {
    auto it = a.find(k);
    if (it == a.end() || it->second != v) out.push_back(prefix + k);
  }
  return out;
}

}  // namespace

Snapshot TakeSnapshot(const std::string& folder) {
  Snapshot snap;
  SnapshotKey(HKEY_LOCAL_MACHINE, "HKLM", "", snap);
  SnapshotKey(HKEY_CURRENT_USER, "HKCU", "", snap);
  SnapshotKey(HKEY_CLASSES_ROOT, "HKCR", "", snap);
  SnapshotFolder(folder, "", snap);
  return snap;
}

std::vector<std::string> Added(const Snapshot& before, const Snapshot& after) {
  auto out = Diff(before.registry, after.registry, "");
  auto files = Diff(before.files, after.files, "disk:");
  out.insert(out.end(), files.begin(), files.end());
  return out;
}

std::vector<std::string> Removed(const Snapshot& before, const Snapshot& after) {
  std::vector<std::string> out;
  for (const auto& [k, v] : before.registry)
    if (!after.registry.count(k)) out.push_back(k);
  for (const auto& [k, v] : before.files)
    if (!after.files.count(k)) out.push_back("disk:" + k);
  return out;
}

}  // namespace kv::test
