// Cost of installing files through the engine (InstallPackageFile: source
// check, version search, version-aware copy, stamping, status records)
// against a plain CopyFileW loop over the same files, and against a fair
// copy loop that also does what every installed file needs (attributes
// cleared, creation time stamped); the bare system version functions alone
// show what their share would be. Then the uninstallation of what the engine
// installed (files, records, folders) against a plain DeleteFileW loop, for
// the small and the large files apart and for one package holding both.
// All figures are ratios against baselines measured in the same run.
//
// Usage: install_bench [scratch-folder] [small-count] [large-count]
// Defaults: C:\kvbench-install, 2000 files of 4 KB, 5 files of 20 MB.
// Everything it creates is removed at the end.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "BenchFiles.h"
#include "install/InstallFile.h"
#include "run/Uninstall.h"
#include "package/CFile.h"
#include "package/CPackage.h"
#include "base/NoWindowUi.h"
#include "platform/FileTools.h"
#include "platform/WinString.h"
#include "session/Session.h"

namespace {

using kv::win::Widen;
using kvbench::RemoveTree;
using kvbench::Seconds;
using kvbench::WriteBytes;

// Nobody is in front of the screen: every question is answered Ignore and
// counted (a benchmark run must not ask anything). Waiting for the minimum
// display time of a page moves the clock instead of sleeping: the time a
// page stays up for the user is not work.
class QuietUi : public kv::NoWindowUi {
 public:
  int Questions = 0;
  kv::MsgResult MsgBox(const kv::MessageBoxRequest& r) override {
    ++Questions;
    std::fprintf(stderr, "unexpected question: %s\n", r.text.c_str());
    return kv::MsgResult::Ignore;
  }
  kv::ConflictAnswer AskConflict(const kv::ConflictQuestion&) override {
    ++Questions;
    return kv::ConflictAnswer::KeepInstalled;
  }
  double Now() override { return Seconds() + skipped_; }
  void WaitForEvents(double seconds) override { skipped_ += seconds > 0 ? seconds : 0; }

 private:
  double skipped_ = 0;
};

struct Timing {
  double engine = 0, copy = 0, fairCopy = 0, versionOnly = 0, statusWrite = 0, uninstall = 0, plainDelete = 0;
};

// What every installed file needs besides its bytes, done the plain way.
void ClearAndStamp(const std::wstring& path) {
  SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  HANDLE h = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         OPEN_EXISTING, 0, nullptr);
  if (h == INVALID_HANDLE_VALUE) return;
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  SetFileTime(h, &now, nullptr, nullptr);
  CloseHandle(h);
}

struct Removal {
  double uninstall = 0, plainDelete = 0;
};

// A package of `names` from the medium, to be installed by the engine.
std::shared_ptr<kv::CPackage> MakePackage(kv::Session& session, const std::string& root, const std::string& tag,
                                          const std::vector<std::string>& names) {
  session.AppDir = root + "\\";
  session.ProgramFilesDir = root;
  auto package = std::make_shared<kv::CPackage>(session.Context());
  package->SourcePath = root + "\\medium";
  package->InstalledIn = root + "\\engine-" + tag;
  package->PackageDir = root + "\\pkgdata-" + tag;
  CreateDirectoryW(Widen(package->PackageDir).c_str(), nullptr);
  for (const std::string& n : names) {
    auto f = std::make_shared<kv::CFile>();
    f->Name = n;
    f->DestinationName = n;
    f->DestinationPath = "*appdir*";
    package->Files.Add(n, f);
  }
  return package;
}

void InstallAll(kv::Session& session, kv::CPackage& package) {
  for (auto& f : package.Files) {
    f->Installed = 0;
    kv::modInstall::InstallPackageFile(session, package, *f, nullptr);
  }
  kv::modInstall::FlushInstallStatus(session, package);
}

// For a package the engine has installed: a plain DeleteFileW loop over its
// files, then the same files installed once more and removed by the
// uninstallation (files, records, folders). Ends with nothing left.
Removal MeasureRemoval(kv::Session& session, QuietUi& ui, kv::CPackage& package) {
  Removal r;
  // How a file came to be matters to the file system (under wine a file that
  // was renamed into place deletes many times faster than one copied in
  // place): the loop deletes what the engine made.
  double start = Seconds();
  for (auto& f : package.Files) DeleteFileW(Widen(f->InstalledIn + "\\" + f->DestinationName).c_str());
  r.plainDelete = Seconds() - start;

  InstallAll(session, package);
  start = Seconds();
  kv::modInstall::Uninstall(session, package, false, nullptr, false, false, false);
  r.uninstall = Seconds() - start;
  if (kv::modTools::FileExists(package.InstalledIn) || ui.Questions != 0) {
    std::fprintf(stderr, "uninstallation left %s, %d questions\n", package.InstalledIn.c_str(), ui.Questions);
    std::exit(1);
  }
  RemoveTree(package.InstalledIn);
  RemoveTree(package.PackageDir);
  return r;
}

Timing MeasureOnce(const std::string& root, const std::string& tag, const std::vector<std::string>& names) {
  const std::string medium = root + "\\medium";
  Timing t;

  // Plain copy loop.
  const std::string plain = root + "\\copy-" + tag;
  CreateDirectoryW(Widen(plain).c_str(), nullptr);
  double start = Seconds();
  for (const std::string& n : names) {
    CopyFileW(Widen(medium + "\\" + n).c_str(), Widen(plain + "\\" + n).c_str(), FALSE);
  }
  t.copy = Seconds() - start;
  RemoveTree(plain);

  // The fair copy loop.
  const std::string fair = root + "\\fair-" + tag;
  CreateDirectoryW(Widen(fair).c_str(), nullptr);
  start = Seconds();
  for (const std::string& n : names) {
    const std::wstring target = Widen(fair + "\\" + n);
    CopyFileW(Widen(medium + "\\" + n).c_str(), target.c_str(), FALSE);
    ClearAndStamp(target);
  }
  t.fairCopy = Seconds() - start;
  RemoveTree(fair);

  // The system's version functions alone, as the engine calls them.
  const std::string bare = root + "\\ver-" + tag;
  CreateDirectoryW(Widen(bare).c_str(), nullptr);
  wchar_t windir[MAX_PATH];
  GetWindowsDirectoryW(windir, MAX_PATH);
  const std::wstring wMedium = Widen(medium), wBare = Widen(bare);
  start = Seconds();
  for (const std::string& n : names) {
    std::wstring wn = Widen(n);
    wchar_t cur[301] = {}, dst[301] = {}, tmp[301] = {};
    UINT curLen = 301, dstLen = 301, tmpLen = 301;
    VerFindFileW(0, wn.data(), windir, const_cast<LPWSTR>(wBare.c_str()), cur, &curLen, dst, &dstLen);
    VerInstallFileW(VIFF_DONTDELETEOLD, wn.data(), wn.data(), const_cast<LPWSTR>(wMedium.c_str()), dst, cur, tmp,
                    &tmpLen);
  }
  t.versionOnly = Seconds() - start;
  RemoveTree(bare);

  // The engine.
  QuietUi ui;
  kv::Session session(ui);
  auto package = MakePackage(session, root, tag, names);
  ui.SetMousePointer(kv::MousePointer::Hourglass);
  start = Seconds();
  InstallAll(session, *package);
  t.engine = Seconds() - start;

  // One status write of the whole file list, as the engine makes it at most
  // every quarter second.
  start = Seconds();
  package->SaveStatus();
  t.statusWrite = Seconds() - start;

  int installed = 0;
  for (auto& f : package->Files) installed += f->Installed == 1 ? 1 : 0;
  if (installed != static_cast<int>(names.size()) || ui.Questions != 0) {
    std::fprintf(stderr, "engine installed %d of %zu files, %d questions\n", installed, names.size(), ui.Questions);
    std::exit(1);
  }

  const Removal removal = MeasureRemoval(session, ui, *package);
  t.uninstall = removal.uninstall;
  t.plainDelete = removal.plainDelete;
  return t;
}

// The machine is shared: each way is measured `rounds` times, taking turns,
// and the best time of each counts.
Timing Measure(const std::string& root, const std::string& tag, const std::vector<std::string>& names, int rounds) {
  Timing best = MeasureOnce(root, tag, names);
  for (int round = 1; round < rounds; ++round) {
    const Timing again = MeasureOnce(root, tag, names);
    best.engine = std::min(best.engine, again.engine);
    best.copy = std::min(best.copy, again.copy);
    best.fairCopy = std::min(best.fairCopy, again.fairCopy);
    best.uninstall = std::min(best.uninstall, again.uninstall);
    best.plainDelete = std::min(best.plainDelete, again.plainDelete);
    best.versionOnly = std::min(best.versionOnly, again.versionOnly);
    best.statusWrite = std::min(best.statusWrite, again.statusWrite);
  }
  return best;
}

// The uninstallation of one package holding both kinds of file, best of two.
Removal MeasureWholePackage(const std::string& root, const std::vector<std::string>& names) {
  Removal best;
  for (int round = 0; round < 2; ++round) {
    QuietUi ui;
    kv::Session session(ui);
    auto package = MakePackage(session, root, "whole", names);
    ui.SetMousePointer(kv::MousePointer::Hourglass);
    InstallAll(session, *package);
    const Removal r = MeasureRemoval(session, ui, *package);
    if (round == 0 || r.uninstall < best.uninstall) best.uninstall = r.uninstall;
    if (round == 0 || r.plainDelete < best.plainDelete) best.plainDelete = r.plainDelete;
  }
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string root = argc > 1 ? argv[1] : "C:\\kvbench-install";
  const int smallCount = argc > 2 ? std::atoi(argv[2]) : 2000;
  const int largeCount = argc > 3 ? std::atoi(argv[3]) : 5;
  constexpr size_t kSmall = 4 * 1024;
  constexpr size_t kLarge = 20 * 1024 * 1024;

  RemoveTree(root);
  CreateDirectoryW(Widen(root).c_str(), nullptr);
  CreateDirectoryW(Widen(root + "\\medium").c_str(), nullptr);
  std::vector<std::string> small, large;
  for (int i = 0; i < smallCount; ++i) {
    char name[32];
    std::snprintf(name, sizeof(name), "datei%04d.dat", i);
    small.push_back(name);
    WriteBytes(root + "\\medium\\" + name, kSmall, static_cast<unsigned>(i));
  }
  for (int i = 0; i < largeCount; ++i) {
    char name[32];
    std::snprintf(name, sizeof(name), "gross%d.bin", i);
    large.push_back(name);
    WriteBytes(root + "\\medium\\" + name, kLarge, static_cast<unsigned>(100000 + i));
  }

  // A round of the few large files takes a fraction of a second and is at the
  // mercy of the disk cache's write-back: more rounds for them.
  Timing s = Measure(root, "small", small, 2);
  Timing l = Measure(root, "large", large, 5);
  std::vector<std::string> all = small;
  all.insert(all.end(), large.begin(), large.end());
  const Removal whole = MeasureWholePackage(root, all);

  const double n = static_cast<double>(smallCount);
  std::printf("install_bench: %d files of 4 KB, %d files of 20 MB\n", smallCount, largeCount);
  std::printf("small files  engine %8.3f s  (%7.1f us/file)\n", s.engine, s.engine / n * 1e6);
  std::printf("             CopyFileW %8.3f s  (%7.1f us/file)\n", s.copy, s.copy / n * 1e6);
  std::printf("             fair copy (clear, stamp) %8.3f s  (%7.1f us/file)\n", s.fairCopy, s.fairCopy / n * 1e6);
  std::printf("             version functions alone %8.3f s  (%7.1f us/file)\n", s.versionOnly,
              s.versionOnly / n * 1e6);
  std::printf("             overhead %7.1f us/file, of which version functions %7.1f us/file; ratio %.2f\n",
              (s.engine - s.copy) / n * 1e6, (s.versionOnly - s.copy) / n * 1e6, s.engine / s.copy);
  std::printf("             ratio to the fair copy %.2f\n", s.engine / s.fairCopy);
  std::printf("             one status.ini write of %d records %7.1f ms\n", smallCount, s.statusWrite * 1e3);
  const double mb = static_cast<double>(largeCount) * 20.0;
  std::printf("large files  engine %8.3f s  (%7.1f MB/s)\n", l.engine, mb / l.engine);
  std::printf("             CopyFileW %8.3f s  (%7.1f MB/s)\n", l.copy, mb / l.copy);
  std::printf("             fair copy (clear, stamp) %8.3f s  (%7.1f MB/s)\n", l.fairCopy, mb / l.fairCopy);
  std::printf("             version functions alone %8.3f s  (%7.1f MB/s)\n", l.versionOnly, mb / l.versionOnly);
  std::printf("             ratio %.2f, to the fair copy %.2f\n", l.engine / l.copy, l.engine / l.fairCopy);
  std::printf("uninstall    small files %8.3f s, DeleteFileW loop %8.3f s, ratio %.2f\n", s.uninstall, s.plainDelete,
              s.uninstall / s.plainDelete);
  std::printf("             large files %8.3f s, DeleteFileW loop %8.3f s, ratio %.2f\n", l.uninstall, l.plainDelete,
              l.uninstall / l.plainDelete);
  std::printf("             whole package %8.3f s, DeleteFileW loop %8.3f s, ratio %.2f\n", whole.uninstall,
              whole.plainDelete, whole.uninstall / whole.plainDelete);

  RemoveTree(root);
  return 0;
}
