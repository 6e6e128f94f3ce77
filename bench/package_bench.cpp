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
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>

#include "package/CPackage.h"
#include "package/UserInteraction.h"

// Heap accounting: every allocation of the process goes through here.
namespace {
std::atomic<long long> gLive{0}, gPeak{0}, gCount{0};
void Account(void* p) {
  long long now = gLive += static_cast<long long>(malloc_usable_size(p));
  long long peak = gPeak.load();
  while (now > peak && !gPeak.compare_exchange_weak(peak, now)) {
  }
  ++gCount;
}
}  // namespace

void* operator new(size_t n) {
  void* p = std::malloc(n ? n : 1);
  if (!p) throw std::bad_alloc();
  Account(p);
  return p;
}
void operator delete(void* p) noexcept {
  if (!p) return;
  gLive -= static_cast<long long>(malloc_usable_size(p));
  std::free(p);
}
void operator delete(void* p, size_t) noexcept { operator delete(p); }

namespace {

class SilentUi : public kv::UserInteraction {
 public:
  kv::MsgResult MsgBox(const kv::MessageBoxRequest& r) override {
    std::fprintf(stderr, "unexpected box: %s\n", r.text.c_str());
    std::exit(2);
  }
  kv::ConflictAnswer AskConflict(const kv::ConflictQuestion&) override { return kv::ConflictAnswer::Cancel; }
  std::string BrowseForFolder(const std::string&) override { return {}; }
  void ShowPage(kv::PageId, const std::string&) override {}
  void UnloadPage() override {}
  void LoadEmptyForm() override {}
  void UnloadEmptyForm() override {}
  void DoEvents() override {}
  void SetMousePointer(kv::MousePointer) override {}
  kv::MousePointer GetMousePointer() const override { return kv::MousePointer::Default; }
  double Now() override { return 0; }
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

struct Result {
  double load = 1e9, load2 = 1e9, save = 1e9, total = 1e9;  // seconds, best run
  long long peakHeap = 0, allocations = 0;
  long peakRssKb = 0;
  long long files = 0;
};

double Seconds(std::chrono::steady_clock::time_point a, std::chrono::steady_clock::time_point b) {
  return std::chrono::duration<double>(b - a).count();
}

Result Measure(const std::string& dir, int runs) {
  Result r;
  SilentUi ui;
  std::string title = "Kivra Setup: Benchmark";
  for (int run = 0; run < runs; ++run) {
    long long heapBefore = gLive.load();
    gPeak = heapBefore;
    long long countBefore = gCount.load();
    auto t0 = std::chrono::steady_clock::now();
    {
      kv::CPackage package(kv::UiContext{ui, title});
      package.Load(dir + "/setup.ini");
      auto t1 = std::chrono::steady_clock::now();
      package.PackageDir = dir;
      package.Load2();
      auto t2 = std::chrono::steady_clock::now();
      package.SaveStatus();
      auto t3 = std::chrono::steady_clock::now();
      if (package.InstalledIn.empty() || package.Files.empty() || package.Files[0]->Installed != 1) {
        std::fprintf(stderr, "status was not read\n");
        std::exit(2);
      }
      r.files = static_cast<long long>(package.Files.size());
      r.load = std::min(r.load, Seconds(t0, t1));
      r.load2 = std::min(r.load2, Seconds(t1, t2));
      r.save = std::min(r.save, Seconds(t2, t3));
      r.total = std::min(r.total, Seconds(t0, t3));
    }
    r.peakHeap = std::max(r.peakHeap, gPeak.load() - heapBefore);
    r.allocations = gCount.load() - countBefore;
  }
  struct rusage usage {};
  getrusage(RUSAGE_SELF, &usage);
  r.peakRssKb = usage.ru_maxrss;
  return r;
}

// Runs one size in a child process; the child writes its figures to a pipe.
Result MeasureInChild(const std::string& dir, int runs) {
  int fds[2];
  if (pipe(fds) != 0) std::exit(2);
  pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    Result r = Measure(dir, runs);
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
  std::printf("package_bench: Load + Load2 + SaveStatus (best of runs)\n");
  std::printf("%8s %9s %9s %9s %9s %12s %13s %12s %12s\n", "entries", "load_ms", "load2_ms", "save_ms",
              "total_ms", "us_per_entry", "allocs/entry", "peak_heap_MB", "peak_rss_MB");
  for (int n : sizes) {
    std::string dir = (root / std::to_string(n)).string();
    fs::create_directories(dir);
    Generate(dir, n);
    Result r = MeasureInChild(dir, n >= 100000 ? 3 : 5);
    if (r.files != n) {
      std::fprintf(stderr, "expected %d files, read %lld\n", n, r.files);
      return 2;
    }
    std::printf("%8d %9.2f %9.2f %9.2f %9.2f %12.3f %13.1f %12.1f %12.1f\n", n, r.load * 1e3, r.load2 * 1e3,
                r.save * 1e3, r.total * 1e3, r.total * 1e6 / n, static_cast<double>(r.allocations) / n,
                r.peakHeap / 1048576.0, r.peakRssKb / 1024.0);
    if (n == 10000) t10k = r.total;
    if (n == 100000) t100k = r.total;
  }
  std::printf("ratio time(100k)/time(10k): %.2f\n", t100k / t10k);
  fs::remove_all(root);
  return 0;
}
