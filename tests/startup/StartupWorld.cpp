#include "startup/StartupWorld.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>

#include "install/ExpandPath.h"
#include "run/InstallPackage.h"
#include "package/CPackage.h"
#include "platform/FileTools.h"
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
  for (int i = 0; i < 600 && !modTools::FileExists(path); ++i) Sleep(50);
  Sleep(50);  // let the writer finish its one write
  return ReadFileBytes(path);
}

std::string SetupIni(const std::string& name, const std::string& version, const std::vector<MediumFile>& files,
                     const std::string& exeFile, const std::string& extraGroups) {
  std::string ini = "<header>\r\nName=" + name + "\r\nCaption=" + name + " Programm\r\nVersion=" + version + "\r\n";
  if (!exeFile.empty()) ini += "EXEFile=" + exeFile + "\r\n";
  ini += "</header>\r\n<files>\r\n";
  for (const MediumFile& f : files) ini += "[file]\r\nName=" + f.name + "\r\n" + f.extraKeys + "[/file]\r\n";
  return ini + "</files>\r\n" + extraGroups;
}

std::string BoxOf(const MessageBoxRequest& box) {
  return box.title + "|" + std::to_string(static_cast<int>(box.buttons)) + "|" +
         std::to_string(static_cast<int>(box.icon)) + "|" + std::to_string(box.defaultButton) + "|" + box.text;
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

std::unique_ptr<StartRun> StartupWorld::Start(const std::string& commandTail) {
  auto run = std::make_unique<StartRun>();
  run->session.SelfDeleteFolder = windows;
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
  const std::string name = path.empty() ? rootName : rootName + "\\" + path;
  if (!path.empty()) snap[name] = "";
  wchar_t buffer[16384];
  for (DWORD i = 0;; ++i) {
    DWORD length = 16384, type = 0, size = 0;
    if (RegEnumValueW(key, i, buffer, &length, nullptr, &type, nullptr, &size) != ERROR_SUCCESS) break;
    std::string data(size, '\0');
    length = 16384;
    RegEnumValueW(key, i, buffer, &length, nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &size);
    snap[name + "|" + win::Narrow(std::wstring(buffer, length))] = std::to_string(type) + ":" + data;
  }
  std::vector<std::string> subkeys;
  for (DWORD i = 0;; ++i) {
    DWORD length = 256;
    if (RegEnumKeyExW(key, i, buffer, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
    subkeys.push_back(win::Narrow(std::wstring(buffer, length)));
  }
  RegCloseKey(key);
  for (const std::string& sub : subkeys) SnapshotKey(root, rootName, path.empty() ? sub : path + "\\" + sub, snap);
}

void SnapshotFolder(const std::string& root, const std::string& relative, Snapshot& snap) {
  WIN32_FIND_DATAW found;
  HANDLE search = FindFirstFileW(win::Widen(root + "\\" + relative + "*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return;
  do {
    std::string name = win::Narrow(found.cFileName);
    if (name == "." || name == "..") continue;
    std::string rel = relative + name;
    if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
      snap["disk:" + rel] = "<dir>";
      SnapshotFolder(root, rel + "\\", snap);
    } else {
      snap["disk:" + rel] = ReadFileBytes(root + "\\" + rel);
    }
  } while (FindNextFileW(search, &found));
  FindClose(search);
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

std::vector<std::string> Changes(const Snapshot& before, const Snapshot& after) {
  std::vector<std::string> out;
  for (const auto& [k, v] : after) {
    auto it = before.find(k);
    if (it == before.end() || it->second != v) out.push_back(k);
  }
  for (const auto& [k, v] : before)
    if (!after.count(k)) out.push_back("-" + k);
  std::sort(out.begin(), out.end());
  return out;
}

}  // namespace kv::test
