#pragma once
// A machine of its own for start-up tests: redirected hives and a scratch
// disk with installer, program-files and Windows folders, and media.
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "session/Session.h"
#include "startup/Startup.h"
#include "support/RegistryGuard.h"
#include "support/ScratchFolder.h"
#include "support/ScriptedUi.h"

namespace kv::test {

std::string BuiltProgram(const char* definedPath);
std::string RecorderExe();
// Waits (bounded) until `path` exists and returns its content ("" if never).
std::string WaitForFile(const std::string& path);

struct MediumFile {
  std::string name, content;
  std::string extraKeys;  // further lines inside [file]
};
std::string SetupIni(const std::string& name, const std::string& version, const std::vector<MediumFile>& files,
                     const std::string& exeFile = "", const std::string& extraGroups = "");

// A box as one comparable text: title, buttons, icon, default button, text.
std::string BoxOf(const MessageBoxRequest& box);

// One process start of the installer: a fresh scripted user and session.
struct StartRun {
  StartRun() : session(ui) {}
  ScriptedUi ui;
  Session session;
};

class StartupWorld {
 public:
  StartupWorld();
  ScratchFolder scratch;
  RegistryGuard registry;
  std::string appDir;  // installer folder, with trailing "\"
  std::string programFiles;
  std::string windows;  // where the self-delete helper is put

  // setup.ini, eula.txt (unless !withEula), setup.exe (the recorder), the files.
  std::string MakeMedium(const std::string& folder, const std::string& setupIni, const std::vector<MediumFile>& files,
                         bool withEula = true);
  std::unique_ptr<StartRun> Start(const std::string& commandTail);
  // -ifp, the default folder (as the path page), the installation to its end.
  std::unique_ptr<StartRun> InstallComplete(const std::string& medium);
};

// "HKLM\key" -> "", "HKLM\key|value" -> type:data, "disk:path" -> content.
using Snapshot = std::map<std::string, std::string>;
Snapshot TakeSnapshot(const std::string& folder);
// Sorted: entries new or changed in `after`, then "-" + entries gone.
std::vector<std::string> Changes(const Snapshot& before, const Snapshot& after);

}  // namespace kv::test
