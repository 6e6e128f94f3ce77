// The whole unattended installation as an administrator's deployment runs it
// (setup.exe /quiet of a medium, as its own process, until it has ended)
// against plain_copy.exe copying the same tree, plus the quiet
// uninstallation through the entry's QuietUninstallString.
//
// Usage: unattended_bench [scratch-folder] [small-count] [large-count] [timeout-seconds]
// Defaults: C:\kvbench-unattended, 2000 files of 4 KB, 5 files of 20 MB,
// 900 s for one run of setup.exe (a run that shows a window never ends).
// The medium is generated here; everything is removed at the end.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "BenchFiles.h"

namespace {

using kvbench::RemoveTree;
using kvbench::Seconds;
using kvbench::Widen;
using kvbench::WriteBytes;

// A Linux path of the build as wine sees it.
std::string WinePath(std::string path) {
  std::replace(path.begin(), path.end(), '/', '\\');
  return path.rfind("\\", 0) == 0 ? "Z:" + path : path;
}

std::string scratchRoot;  // removed again when the benchmark gives up

[[noreturn]] void Fail(const std::string& what) {
  std::fprintf(stderr, "unattended_bench: %s\n", what.c_str());
  if (!scratchRoot.empty()) RemoveTree(scratchRoot);
  std::exit(1);
}

int CountFiles(const std::string& folder) {
  int n = 0;
  WIN32_FIND_DATAW d;
  HANDLE h = FindFirstFileW(Widen(folder + "\\*").c_str(), &d);
  if (h == INVALID_HANDLE_VALUE) return 0;
  do n += (d.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) ? 0 : 1;
  while (FindNextFileW(h, &d));
  FindClose(h);
  return n;
}

// Runs a command line as a process of its own inside a job, so that a run
// that hangs (a window nobody answers) can be ended with everything it
// started. Returns the exit code and the seconds it took.
std::pair<DWORD, double> Run(const std::string& commandLine, double timeoutSeconds) {
  HANDLE job = CreateJobObjectW(nullptr, nullptr);
  STARTUPINFOW si{};
  si.cb = sizeof si;
  PROCESS_INFORMATION pi{};
  std::wstring cmd = Widen(commandLine);
  const double start = Seconds();
  if (!CreateProcessW(nullptr, cmd.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED, nullptr, nullptr, &si, &pi))
    Fail("cannot start " + commandLine);
  if (job) AssignProcessToJobObject(job, pi.hProcess);
  ResumeThread(pi.hThread);
  const DWORD waited = WaitForSingleObject(pi.hProcess, static_cast<DWORD>(timeoutSeconds * 1000));
  const double took = Seconds() - start;
  DWORD code = 0;
  GetExitCodeProcess(pi.hProcess, &code);
  if (waited != WAIT_OBJECT_0) {
    if (job) TerminateJobObject(job, 1);
    TerminateProcess(pi.hProcess, 1);
  }
  CloseHandle(pi.hThread);
  CloseHandle(pi.hProcess);
  if (job) CloseHandle(job);
  if (waited != WAIT_OBJECT_0)
    Fail("no end after " + std::to_string(static_cast<int>(timeoutSeconds)) +
         " s - does it show a window instead of running unattended? " + commandLine);
  return {code, took};
}

std::string QuietUninstallString(const std::string& entry) {
  wchar_t data[2048];
  DWORD size = sizeof data;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, Widen(entry).c_str(), L"QuietUninstallString", RRF_RT_REG_SZ, nullptr, data,
                   &size) != ERROR_SUCCESS)
    return {};
  char narrow[sizeof data * 3 / 2];
  WideCharToMultiByte(CP_UTF8, 0, data, -1, narrow, sizeof narrow, nullptr, nullptr);
  return narrow;
}

void CopyInto(const char* builtProgram, const std::string& to) {
  if (!CopyFileW(Widen(WinePath(builtProgram)).c_str(), Widen(to).c_str(), FALSE)) Fail("cannot copy " + to);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string root = argc > 1 ? argv[1] : "C:\\kvbench-unattended";
  const int smallCount = argc > 2 ? std::atoi(argv[2]) : 2000;
  const int largeCount = argc > 3 ? std::atoi(argv[3]) : 5;
  const double timeout = argc > 4 ? std::atof(argv[4]) : 900;
  constexpr size_t kSmall = 4 * 1024;
  constexpr size_t kLarge = 20 * 1024 * 1024;
  const std::string medium = root + "\\medium";
  const std::string entry = "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kivra Setup - KVBench_1.0";
  if (!QuietUninstallString(entry).empty()) Fail("the benchmark package is installed already; remove it first");

  RemoveTree(root);
  scratchRoot = root;
  CreateDirectoryW(Widen(root).c_str(), nullptr);
  CreateDirectoryW(Widen(medium).c_str(), nullptr);
  std::string ini =
      "<header>\r\n Name=KVBench\r\n Caption=KVBench 1.0\r\n Version=1.0\r\n Publisher=Kivra Software\r\n"
      "</header>\r\n<files>\r\n";
  int files = 0;
  for (int i = 0; i < smallCount + largeCount; ++i) {
    char name[32];
    std::snprintf(name, sizeof name, i < smallCount ? "datei%04d.dat" : "gross%d.dat", i < smallCount ? i : i - smallCount);
    WriteBytes(medium + "\\" + name, i < smallCount ? kSmall : kLarge, static_cast<unsigned>(i));
    ini += " [file]\r\n  Name=" + std::string(name) + "\r\n [/file]\r\n";
    ++files;
  }
  ini += "</files>\r\n";
  HANDLE h = CreateFileW(Widen(medium + "\\setup.ini").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  DWORD written = 0;
  WriteFile(h, ini.data(), static_cast<DWORD>(ini.size()), &written, nullptr);
  CloseHandle(h);
  WriteBytes(medium + "\\eula.txt", 64, 7);
  CopyInto(KV_SETUP_EXE, medium + "\\setup.exe");
  CopyInto(KV_KVSETUP_EXE, medium + "\\KVSetup.exe");
  const double megabytes = (smallCount * double(kSmall) + largeCount * double(kLarge)) / (1024.0 * 1024.0);
  std::printf("medium: %d files, %.1f MB (setup.ini, eula.txt and the two programs not counted)\n", files, megabytes);

  // The machine is shared: each way runs twice, taking turns, and the better
  // time of each counts.
  double copy = 1e300, install = 1e300, uninstall = 1e300;
  for (int round = 0; round < 2; ++round) {
    const std::string copied = root + "\\kopie";
    auto [copyCode, copyTime] = Run("\"" + WinePath(KV_PLAIN_COPY_EXE) + "\" \"" + medium + "\" \"" + copied + "\"", 600);
    if (copyCode != 0) Fail("plain_copy failed");
    copy = std::min(copy, copyTime);
    RemoveTree(copied);

    const std::string target = root + "\\installiert";
    auto [code, took] = Run("\"" + medium + "\\setup.exe\" /quiet /dir \"" + target + "\"", timeout);
    if (code != 0 && code != 3010) Fail("setup.exe /quiet ended with " + std::to_string(code));
    if (CountFiles(target) != files)
      Fail("setup.exe /quiet installed " + std::to_string(CountFiles(target)) + " of " + std::to_string(files) +
           " files");
    install = std::min(install, took);

    const std::string quiet = QuietUninstallString(entry);
    if (quiet.empty()) Fail("no QuietUninstallString in the entry");
    auto [uninstallCode, uninstallTime] = Run(quiet, timeout);
    if (uninstallCode != 0 && uninstallCode != 3010)
      Fail("the quiet uninstallation ended with " + std::to_string(uninstallCode));
    if (!QuietUninstallString(entry).empty() || CountFiles(target) != 0)
      Fail("the quiet uninstallation left the entry or files behind");
    uninstall = std::min(uninstall, uninstallTime);
    RemoveTree(target);
  }
  RemoveTree(root);

  std::printf("plain copy (plain_copy.exe)        %8.2f s\n", copy);
  std::printf("setup.exe /quiet (whole process)   %8.2f s   %.2f x the plain copy\n", install, install / copy);
  std::printf("quiet uninstallation               %8.2f s\n", uninstall);
  return 0;
}
