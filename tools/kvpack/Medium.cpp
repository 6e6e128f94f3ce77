#include "Medium.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

#include "Archive.h"
#include "Checker.h"
#include "OsFiles.h"
#include "base/Text.h"
#include "onefile/Format.h"

namespace kvpack {

namespace fs = std::filesystem;

namespace {

// The files every medium carries at its root, under these exact names.
constexpr const char* kSetupExe = "setup.exe";
constexpr const char* kInstallerExe = "KVSetup.exe";
constexpr const char* kDefinition = "setup.ini";
constexpr const char* kLicence = "eula.txt";


// A file called `name` directly in `folder`, matched without regard to case.
std::optional<fs::path> FindInFolder(const fs::path& folder, const std::string& name) {
  std::error_code ec;
  if (fs::is_regular_file(folder / os::ToPath(name), ec)) return folder / os::ToPath(name);
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
    if (kv::EqualsNoCase(os::FromPath(it->path().filename()), name) && it->is_regular_file(ec)) return it->path();
  return {};
}

// The first file called `name` at most `depth` levels below `root`
// (the build puts each program into a folder of its own).
std::optional<fs::path> FindBelow(const fs::path& root, const std::string& name, int depth) {
  std::error_code ec;
  if (!fs::is_directory(root, ec)) return {};
  if (auto here = FindInFolder(root, name)) return here;
  if (depth == 0) return {};
  std::vector<fs::path> children;
  for (fs::directory_iterator it(root, ec), end; !ec && it != end; it.increment(ec)) {
    std::string leaf = os::FromPath(it->path().filename());
    if (it->is_directory(ec) && !leaf.empty() && leaf.front() != '.') children.push_back(it->path());
  }
  std::sort(children.begin(), children.end());
  for (const auto& child : children)
    if (auto found = FindBelow(child, name, depth - 1)) return found;
  return {};
}

struct Copy {
  fs::path from;
  std::string to;  // medium-relative, "/" separated
};

class Builder {
 public:
  Builder(const BuildOptions& options, std::ostream& out, std::ostream& err)
      : options_(options), out_(out), err_(err) {}

  int Run() {
    if (!Check()) return 1;
    if (!Plan()) return 1;
    return (options_.layout == Layout::Folder ? Write() : WriteArchive()) ? 0 : 1;
  }

 private:
  bool Fail(const std::string& text) {
    err_ << "kvpack: error: " << text << '\n';
    return false;
  }

  bool Check() {
    CheckOptions check;
    check.iniPath = options_.iniPath;
    check.sourceFolder = options_.sourceFolder;
    report_ = CheckPackage(check);
    report_.diagnostics.Print(err_);
    if (!report_.readable) return Fail("cannot read " + options_.iniPath);
    if (report_.diagnostics.ErrorCount() > 0)
      return Fail("the package has " + std::to_string(report_.diagnostics.ErrorCount()) +
                  " error(s); no medium was built");
    return true;
  }

  bool Plan() {
    std::error_code ec;
    fs::path source = os::ToPath(options_.sourceFolder);
    if (!fs::is_directory(source, ec)) return Fail("source folder " + options_.sourceFolder + " does not exist");

    // The installer programs: both from --installer, or both from the
    // first search root below which each of them can be found.
    if (options_.installerDir) {
      fs::path dir = os::ToPath(*options_.installerDir);
      if (!fs::is_directory(dir, ec)) return Fail("installer folder " + *options_.installerDir + " does not exist");
      for (const char* program : {kSetupExe, kInstallerExe}) {
        auto found = FindInFolder(dir, program);
        if (!found) return Fail(std::string(program) + " is missing in " + *options_.installerDir);
        Add(*found, program);
      }
    } else {
      std::optional<fs::path> setup, installer;
      for (const std::string& root : options_.installerSearch) {
        setup = FindBelow(os::ToPath(root), kSetupExe, 3);
        installer = FindBelow(os::ToPath(root), kInstallerExe, 3);
        if (setup && installer) break;
      }
      if (!setup || !installer)
        return Fail("setup.exe and KVSetup.exe not found; build them in the windows preset (targets 'setup' and "
                    "'KVSetup') or name their folder with --installer");
      Add(*setup, kSetupExe);
      Add(*installer, kInstallerExe);
    }

    Add(os::ToPath(options_.iniPath), kDefinition);
    reserved_.insert(kv::LowerCase(kv::onefile::kOriginFile));

    // The licence: beside setup.ini, else in the source folder.
    auto licence = FindInFolder(os::ToPath(options_.iniPath).parent_path().empty()
                                    ? fs::path(".")
                                    : os::ToPath(options_.iniPath).parent_path(),
                                kLicence);
    if (!licence) licence = FindInFolder(source, kLicence);
    if (!licence)
      return Fail("eula.txt is missing (looked beside " + options_.iniPath + " and in " + options_.sourceFolder +
                  "); the installer stops without it");
    Add(*licence, kLicence);

    // Every package file where the installer will look for it.
    bool ok = true;
    for (const SourceFile& file : report_.sourceFiles) {
      const std::string where = options_.iniPath + ":" + std::to_string(file.line) + ": ";
      auto relative = MediumRelativePath(file.name);
      if (!relative) {
        ok = Fail(where + "file '" + file.name + "' does not lie inside the medium folder");
        continue;
      }
      if (reserved_.count(kv::LowerCase(*relative))) {
        ok = Fail(where + "file '" + file.name + "' would replace the medium's own " + *relative);
        continue;
      }
      auto found = FindSource(options_.sourceFolder, *relative);
      if (!found) {
        ok = Fail(where + "file '" + file.name + "' is missing in the source folder " + options_.sourceFolder);
        continue;
      }
      copies_.push_back({os::ToPath(*found), *relative});
    }
    return ok;
  }

  void Add(const fs::path& from, const char* name) {
    copies_.push_back({from, name});
    reserved_.insert(kv::LowerCase(name));
  }

  bool Write() {
    std::error_code ec;
    fs::path target = os::ToPath(options_.outFolder);
    if (target.filename().empty()) target = target.parent_path();  // "out/" names the folder "out"
    target = fs::absolute(target, ec);
    if (fs::exists(target, ec) && !fs::is_directory(target, ec))
      return Fail(options_.outFolder + " exists and is not a folder");
    // Replacing the output must never take the package's own files with it.
    for (const fs::path& mine : {os::ToPath(options_.sourceFolder), os::ToPath(options_.iniPath).parent_path()}) {
      fs::path inside = fs::weakly_canonical(fs::absolute(mine.empty() ? fs::path(".") : mine, ec), ec);
      fs::path t = fs::weakly_canonical(target, ec);
      auto rel = inside.lexically_relative(t);
      if (!rel.empty() && *rel.begin() != "..")
        return Fail("output folder " + options_.outFolder + " holds the package's own files; choose another one");
    }
    bool replacing = fs::exists(target, ec) && !fs::is_empty(target, ec);
    if (replacing && !options_.force)
      return Fail("output folder " + options_.outFolder + " is not empty; use --force to replace it");

    fs::path parent = target.parent_path();
    fs::create_directories(parent, ec);
    if (ec) return Fail("cannot create " + os::FromPath(parent) + ": " + ec.message());
    const std::string tag = ".kvpack-" + std::to_string(os::ProcessId());
    fs::path staging = parent / os::ToPath("." + os::FromPath(target.filename()) + tag + "-new");
    fs::path aside = parent / os::ToPath("." + os::FromPath(target.filename()) + tag + "-old");
    fs::remove_all(staging, ec);

    auto abandon = [&](const std::string& text) {
      std::error_code ignore;
      fs::remove_all(staging, ignore);
      return Fail(text);
    };

    fs::create_directory(staging, ec);
    if (ec) return abandon("cannot create " + os::FromPath(staging) + ": " + ec.message());
    uintmax_t bytes = 0;
    for (const Copy& c : copies_) {
      fs::path dest = staging / os::ToPath(c.to);
      fs::create_directories(dest.parent_path(), ec);
      if (!ec) fs::copy_file(c.from, dest, fs::copy_options::overwrite_existing, ec);
      if (ec) return abandon("cannot copy " + os::FromPath(c.from) + " to the medium: " + ec.message());
      bytes += fs::file_size(dest, ec);
    }

    // Swap the finished medium in: the old content moves aside first, so a
    // failure at any point leaves either the old or the new medium.
    std::string why;
    bool existed = fs::exists(target, ec);
    if (existed && !os::RenameFolder(target, aside, why))
      return abandon("cannot move the old " + options_.outFolder + " aside: " + why);
    if (!os::RenameFolder(staging, target, why)) {
      std::string restore;
      if (existed) os::RenameFolder(aside, target, restore);
      return abandon("cannot rename the new medium to " + options_.outFolder + ": " + why);
    }
    if (existed) fs::remove_all(aside, ec);

    out_ << "kvpack: medium written to " << os::FromPath(target) << " (" << copies_.size() << " files, " << bytes
         << " bytes)\n";
    return true;
  }

  bool WriteArchive() {
    std::error_code ec;
    fs::path target = fs::absolute(os::ToPath(options_.outFolder), ec);
    if (fs::is_directory(target, ec)) return Fail(options_.outFolder + " is a folder; name the file to write");
    if (fs::exists(target, ec) && !options_.force)
      return Fail(options_.outFolder + " exists; use --force to replace it");
    fs::create_directories(target.parent_path(), ec);
    if (ec) return Fail("cannot create " + os::FromPath(target.parent_path()) + ": " + ec.message());
    std::vector<ArchiveFile> files;
    fs::path stub;
    for (const Copy& c : copies_) {
      files.push_back({c.from, c.to});
      if (c.to == kSetupExe) stub = c.from;
    }
    ArchiveSize size;
    std::string why;
    const bool single = options_.layout == Layout::SingleFile;
    if (!(single ? WriteSingleFile(stub, files, target, size, why) : WriteZip(files, target, size, why)))
      return Fail(why);
    out_ << "kvpack: " << (single ? "one-file setup" : "zip") << " written to " << os::FromPath(target) << " ("
         << files.size() << " files, " << size.plain << " bytes packed to " << size.packed << ", "
         << (size.plain ? 100 * size.packed / size.plain : 100) << " %; file " << fs::file_size(target, ec)
         << " bytes)\n";
    return true;
  }

  const BuildOptions& options_;
  std::ostream& out_;
  std::ostream& err_;
  CheckReport report_;
  std::vector<Copy> copies_;
  std::set<std::string> reserved_;
};

}  // namespace

int BuildMedium(const BuildOptions& options, std::ostream& out, std::ostream& err) {
  return Builder(options, out, err).Run();
}

std::vector<std::string> DefaultInstallerSearch() {
  std::vector<std::string> roots;
  if (const char* env = std::getenv("KVPACK_INSTALLER"); env && *env) roots.emplace_back(env);
  fs::path exe = os::ExecutablePath();
  if (!exe.empty()) {
    fs::path dir = exe.parent_path();                  // .../build/<preset>/tools
    roots.push_back(os::FromPath(dir));                // programs shipped beside kvpack
    fs::path tree = dir.parent_path();                 // .../build/<preset>
    roots.push_back(os::FromPath(tree / "src" / "app"));
    roots.push_back(os::FromPath(tree.parent_path() / "windows" / "src" / "app"));  // a native kvpack beside the windows build
  }
  return roots;
}

}  // namespace kvpack
