// Package files at scale: a setup.ini with N [file] groups and the matching
// status.ini, read with CPackage::Load + Load2 and written back with
// SaveStatus. Prints, per size, the times, the time per entry, the peak heap
// and peak resident memory, and the growth of time from 10,000 to 100,000
// entries. Each size runs in a child process so that its peak is its own.
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>

#include "package/CPackage.h"
#include "base/NoWindowUi.h"

// Heap accounting for the one run that measures memory; the timed runs go
// without it, so that the bookkeeping does not show up in the times.
namespace {
bool gCounting = false;
long long gLive = 0, gPeak = 0, gCount = 0;
void Account(void* p) {
  gLive += static_cast<long long>(malloc_usable_size(p));
  if (gLive > gPeak) gPeak = gLive;
  ++gCount;
}
}  // namespace

void* operator new(size_t n) {
  void* p = std::malloc(n ? n : 1);
  if (!p) throw std::bad_alloc();
  if (gCounting) Account(p);
  return p;
}
void operator delete(void* p) noexcept {
  if (!p) return;
  if (gCounting) gLive -= static_cast<long long>(malloc_usable_size(p));
  std::free(p);
}
void operator delete(void* p, size_t) noexcept { operator delete(p); }

namespace {

// Nothing may be reported while loading and saving generated packages.
class SilentUi : public kv::NoWindowUi {
 public:
  kv::MsgResult MsgBox(const kv::MessageBoxRequest& r) override {
    std::fprintf(stderr, "unexpected box: %s\n", r.text.c_str());
    std::exit(2);
  }
};

// A package of the shape real ones have: a header, file groups of three to
// five values (some naming two files), a macro and a few registry keys.
void Generate(const std::string& dir, int entries) {
  std::string setup =
      "<header>\r\n Name=Benchmark\r\n Caption=Benchmark-Paket \xC4\xD6\xDC\r\n Version=1.0\r\n"
      " EXEFile=bench.exe\r\n DefaultPath=*programs*\\Kivra\\Benchmark\r\n</header>\r\n<files>\r\n";
  std::string status =
      "<Header>\r\n InstalledIn=C:\\Programme\\Benchmark\r\n SourcePath=E:\\\r\n</Header>\r\n"
      "<CreatedPaths>\r\n C:\\Programme\\Benchmark\r\n C:\\Programme\\Benchmark\\bin\r\n</CreatedPaths>\r\n"
      "<Files>\r\n";
  char name[32];
  for (int i = 0; i < entries; ++i) {
    std::snprintf(name, sizeof name, "datei%06d.dll", i);
    setup += " [file]\r\n  Name=";
    setup += name;
    setup += "\r\n  DestinationPath=*appdir*\\bin\r\n";
    if (i % 10 == 0) setup += "  Register=1\r\n  SharedFile=YES\r\n";
    setup += " [/file]\r\n";
    status += " [File]\r\n  Name=";
    status += name;
    status += "\r\n  Installed=1\r\n  InstalledIn=C:\\Programme\\Benchmark\\bin\r\n [/File]\r\n";
  }
  setup +=
      "</files>\r\n<oninstall>\r\n [mkdir]\r\n  Path=*appdir*\\Daten\r\n [/mkdir]\r\n</oninstall>\r\n"
      "<regkeys>\r\n [regkey]\r\n  Name=Software\\Kivra\\Benchmark\r\n [/regkey]\r\n</regkeys>\r\n";
  status += "</Files>\r\n";
  std::ofstream(dir + "/setup.ini", std::ios::binary) << setup;
  std::ofstream(dir + "/status.ini", std::ios::binary) << status;
}

// Process CPU time (user + system, page faults included). The machines we
// measure on are shared, so wall time mostly shows the neighbours; it is
// printed too, but the per-entry figure and the ratio use CPU time.
double CpuSeconds() {
  timespec ts{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

struct Result {
  double load = 1e9, load2 = 1e9, save = 1e9, total = 1e9;  // CPU seconds, best run
  double wall = 1e9;                                         // wall seconds, best run
  long long peakHeap = 0, allocations = 0;
  long peakRssKb = 0;
  long long files = 0;
};

// One run in this (fresh) process: timed, or counting the heap.
Result Measure(const std::string& dir, bool counting) {
  Result r;
  SilentUi ui;
  std::string title = "Kivra Setup: Benchmark";
  {
    gCounting = counting;
    long long heapBefore = gLive;
    gPeak = heapBefore;
    long long countBefore = gCount;
    auto wall0 = std::chrono::steady_clock::now();
    double t0 = CpuSeconds();
    {
      kv::CPackage package(kv::UiContext{ui, title});
      (void)package.Load(dir + "/setup.ini");
      double t1 = CpuSeconds();
      package.PackageDir = dir;
      package.Load2();
      double t2 = CpuSeconds();
      package.SaveStatus();
      double t3 = CpuSeconds();
      double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - wall0).count();
      if (package.InstalledIn.empty() || package.Files.empty() || package.Files[0]->Installed != 1) {
        std::fprintf(stderr, "status was not read\n");
        std::exit(2);
      }
      r.files = static_cast<long long>(package.Files.size());
      if (!gCounting) {
        r.load = std::min(r.load, t1 - t0);
        r.load2 = std::min(r.load2, t2 - t1);
        r.save = std::min(r.save, t3 - t2);
        r.total = std::min(r.total, t3 - t0);
        r.wall = std::min(r.wall, wall);
      }
    }
    if (gCounting) {
      r.peakHeap = gPeak - heapBefore;
      r.allocations = gCount - countBefore;
    }
  }
  gCounting = false;
  struct rusage usage {};
  getrusage(RUSAGE_SELF, &usage);
  r.peakRssKb = usage.ru_maxrss;
  return r;
}

// Runs once in a child process, the way the installer meets its package: a
// fresh process, a cold heap. The child writes its figures to a pipe.
Result MeasureInChild(const std::string& dir, bool counting) {
  int fds[2];
  if (pipe(fds) != 0) std::exit(2);
  pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    Result r = Measure(dir, counting);
    ssize_t w = write(fds[1], &r, sizeof r);
    _exit(w == static_cast<ssize_t>(sizeof r) ? 0 : 2);
  }
  close(fds[1]);
  Result r;
  ssize_t got = read(fds[0], &r, sizeof r);
  close(fds[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  if (got != static_cast<ssize_t>(sizeof r) || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    std::fprintf(stderr, "benchmark child failed\n");
    std::exit(2);
  }
  return r;
}

}  // namespace

int main() {
  namespace fs = std::filesystem;
  fs::path root = fs::temp_directory_path() / ("kv-package-bench-" + std::to_string(getpid()));
  fs::create_directories(root);
  const int sizes[] = {1000, 10000, 100000};
  double t10k = 0, t100k = 0;
  std::printf("package_bench: Load + Load2 + SaveStatus, best of runs; CPU ms unless marked wall\n");
  std::printf("%8s %9s %9s %9s %9s %9s %12s %13s %12s %12s\n", "entries", "load_ms", "load2_ms", "save_ms",
              "total_ms", "wall_ms", "us_per_entry", "allocs/entry", "peak_heap_MB", "peak_rss_MB");
  for (int n : sizes) {
    std::string dir = (root / std::to_string(n)).string();
    fs::create_directories(dir);
    Generate(dir, n);
    // Best of several fresh processes for the times, one more for the heap.
    Result r;
    for (int run = 0; run < (n >= 100000 ? 5 : 9); ++run) {
      Result t = MeasureInChild(dir, false);
      if (t.total < r.total) {
        r.load = t.load, r.load2 = t.load2, r.save = t.save, r.total = t.total;
      }
      r.wall = std::min(r.wall, t.wall);
      r.files = t.files;
    }
    Result heap = MeasureInChild(dir, true);
    r.peakHeap = heap.peakHeap;
    r.allocations = heap.allocations;
    r.peakRssKb = heap.peakRssKb;
    if (r.files != n) {
      std::fprintf(stderr, "expected %d files, read %lld\n", n, r.files);
      return 2;
    }
    std::printf("%8d %9.2f %9.2f %9.2f %9.2f %9.2f %12.3f %13.1f %12.1f %12.1f\n", n, r.load * 1e3, r.load2 * 1e3,
                r.save * 1e3, r.total * 1e3, r.wall * 1e3, r.total * 1e6 / n, static_cast<double>(r.allocations) / n,
                r.peakHeap / 1048576.0, r.peakRssKb / 1024.0);
    if (n == 10000) t10k = r.total;
    if (n == 100000) t100k = r.total;
  }
  std::printf("ratio time(100k)/time(10k): %.2f\n", t100k / t10k);
  fs::remove_all(root);
  return 0;
}
