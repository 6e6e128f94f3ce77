// kvpack - tools for package authors: check a package definition, build an
// installation medium, describe it for a package manager.
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "Checker.h"
#include "Manifest.h"
#include "Medium.h"
#include "OsFiles.h"

namespace {

constexpr const char* kUsage =
    "usage:\n"
    "  kvpack check <setup.ini> [--source <folder>] [--strict]\n"
    "  kvpack build <setup.ini> --source <folder> --out <medium folder> [--force]\n"
    "               [--installer <folder with setup.exe and KVSetup.exe>]\n"
    "  kvpack build <setup.ini> --source <folder> --out <file> --single-file | --zip [...]\n"
    "  kvpack manifest <setup.ini> --installer-url <URL> (--sha256 <hash> | --medium <setup.exe or .zip>)\n"
    "               [--id <Publisher.Name>]\n"
    "\n"
    "check prints every problem as file:line: error|warning: text and exits with\n"
    "0 (no errors), 1 (errors) or 2 (warnings, with --strict).\n"
    "build checks first and then writes a complete medium into a new folder;\n"
    "with --single-file into one setup.exe that unpacks and checks itself, with\n"
    "--zip into a zip of the medium folder.\n"
    "manifest prints the package manager's installer manifest (YAML) or, exit 1,\n"
    "what keeps it from being valid.\n";

int Usage(const std::string& problem) {
  if (!problem.empty()) std::cerr << "kvpack: " << problem << "\n";
  std::cerr << kUsage;
  return 64;
}

struct Args {
  std::string command;
  std::string ini;
  std::optional<std::string> source, out, installer;
  std::optional<std::string> installerUrl, sha256, medium, id;  // manifest
  bool strict = false, force = false, singleFile = false, zip = false;
};

// Parses everything after the command name; returns a problem text or "".
std::string Parse(const std::vector<std::string>& argv, Args& args) {
  if (argv.size() < 2) return "no command given";
  args.command = argv[1];
  for (size_t i = 2; i < argv.size(); ++i) {
    const std::string& a = argv[i];
    auto value = [&](std::optional<std::string>& into) -> std::string {
      if (i + 1 >= argv.size()) return a + " needs a value";
      into = argv[++i];
      return {};
    };
    std::string problem;
    if (a == "--source") problem = value(args.source);
    else if (a == "--out") problem = value(args.out);
    else if (a == "--installer") problem = value(args.installer);
    else if (a == "--installer-url") problem = value(args.installerUrl);
    else if (a == "--sha256") problem = value(args.sha256);
    else if (a == "--medium") problem = value(args.medium);
    else if (a == "--id") problem = value(args.id);
    else if (a == "--strict") args.strict = true;
    else if (a == "--force") args.force = true;
    else if (a == "--single-file") args.singleFile = true;
    else if (a == "--zip") args.zip = true;
    else if (a.rfind("--", 0) == 0) problem = "unknown option " + a;
    else if (args.ini.empty()) args.ini = a;
    else problem = "more than one package file given: " + a;
    if (!problem.empty()) return problem;
  }
  if (args.ini.empty()) return "no setup.ini given";
  return {};
}

}  // namespace

int main(int argc, char** argv) {
  kvpack::os::InitConsole();
  std::vector<std::string> argList = kvpack::os::Arguments(argc, argv);
  if (argList.size() >= 2 && (argList[1] == "--help" || argList[1] == "-h" || argList[1] == "help")) {
    std::cout << kUsage;
    return 0;
  }
  Args args;
  if (std::string problem = Parse(argList, args); !problem.empty()) return Usage(problem);

  if (args.command == "check") {
    if (args.out || args.installer || args.force || args.singleFile || args.zip)
      return Usage("check takes only --source and --strict");
    kvpack::CheckOptions options;
    options.iniPath = args.ini;
    options.sourceFolder = args.source;
    kvpack::CheckReport report = kvpack::CheckPackage(options);
    report.diagnostics.Print(std::cout);
    return kvpack::ExitCode(report.diagnostics, args.strict);
  }
  if (args.command == "build") {
    if (args.strict) return Usage("build takes no --strict");
    if (!args.source) return Usage("build needs --source <folder>");
    if (!args.out) return Usage("build needs --out <medium folder>");
    if (args.singleFile && args.zip) return Usage("build takes --single-file or --zip, not both");
    kvpack::BuildOptions options;
    options.iniPath = args.ini;
    options.sourceFolder = *args.source;
    options.outFolder = *args.out;
    options.force = args.force;
    options.layout = args.singleFile ? kvpack::Layout::SingleFile
                     : args.zip      ? kvpack::Layout::Zip
                                     : kvpack::Layout::Folder;
    options.installerDir = args.installer;
    options.installerSearch = kvpack::DefaultInstallerSearch();
    return kvpack::BuildMedium(options, std::cout, std::cerr);
  }
  if (args.command == "manifest") {
    if (args.source || args.out || args.installer || args.strict || args.force)
      return Usage("manifest takes only --installer-url, --sha256, --medium and --id");
    if (!args.installerUrl) return Usage("manifest needs --installer-url <URL>");
    kvpack::ManifestOptions options;
    options.iniPath = args.ini;
    options.installerUrl = *args.installerUrl;
    options.sha256 = args.sha256;
    options.medium = args.medium;
    options.identifier = args.id;
    return kvpack::WriteManifest(options, std::cout, std::cerr);
  }
  if (args.installerUrl || args.sha256 || args.medium || args.id)
    return Usage("--installer-url, --sha256, --medium and --id belong to manifest");
  return Usage("unknown command " + args.command);
}
