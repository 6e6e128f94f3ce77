#pragma once
// A machine of its own for start-up tests: redirected registry hives, a
// scratch disk with an installer folder (holding a stand-in KVSetup.exe), a
// program-files folder, a Windows-folder stand-in for the self-delete helper,
// and media built from setup.ini texts. Each Run() is one process start of
// the installer with a fresh scripted user and session.
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "session/Session.h"
#include "startup/Startup.h"
#include "support/RegistryGuard.h"
#include "support/ScratchFolder.h"
#include "support/ScriptedUi.h"

namespace kv::test {

// Path of a program built with the tests (from the compile definitions).
std::string BuiltProgram(const char* definedPath);
std::string RecorderExe();

// Waits (bounded) until `path` exists and returns its content ("" if never).
std::string WaitForFile(const std::string& path);

struct MediumFile {
  std::string name;
  std::string content;
  std::string extraKeys;  // further lines inside [file] (e.g. "SharedFile=YES")
};

// A setup.ini text: header with Name, Caption, Version, EXEFile; one [file]
// group per file.
std::string SetupIni(const std::string& name, const std::string& version, const std::vector<MediumFile>& files,
                     const std::string& exeFile = "", const std::string& extraGroups = "");

struct StartRun {
  explicit StartRun() : session(ui) {}
  ScriptedUi ui;
  Session session;
};

class StartupWorld {
 public:
  StartupWorld();

  ScratchFolder scratch;
  RegistryGuard registry;
  std::string appDir;        // installer folder, with trailing "\"
  std::string programFiles;  // what ProgramFilesDir says
  std::string windows;       // where the self-delete helper is put

  // Writes a medium folder: setup.ini, eula.txt (unless !withEula), setup.exe
  // (the recorder), and the files' contents.
  std::string MakeMedium(const std::string& folder, const std::string& setupIni, const std::vector<MediumFile>& files,
                         bool withEula = true);

  // One start of the installer with this command tail.
  std::unique_ptr<StartRun> Start(const std::string& commandTail);
  // Prepares a run's session the way a start would, without starting (for
  // sessions that continue in a later step).
  void Prepare(Session& session) const;

  // Start with -ifp, choose the default folder (as the path page would) and
  // run the installation to its end, as the progress page would.
  std::unique_ptr<StartRun> InstallComplete(const std::string& medium);
};

// Snapshot of the redirected hives and of a folder tree, for "nothing left
// behind" comparisons.
struct Snapshot {
  std::map<std::string, std::string> registry;  // "ROOT\key" -> "" ; "ROOT\key|value" -> type:data
  std::map<std::string, std::string> files;     // path below the root -> content ("<dir>" for folders)
};
Snapshot TakeSnapshot(const std::string& folder);
// Entries of `after` that are not in `before` or differ, and entries gone.
std::vector<std::string> Added(const Snapshot& before, const Snapshot& after);
std::vector<std::string> Removed(const Snapshot& before, const Snapshot& after);

}  // namespace kv::test
