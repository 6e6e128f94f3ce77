#include "MacroCommands.h"

#include "LineScan.h"

namespace kvpack {

namespace {
const std::vector<MacroCommand>& Table() {
  static const std::vector<MacroCommand> table = {
      {"installfile", {"SrcName", "DestName", "ToPath"}, nullptr, "SrcName", nullptr, false},
      {"deletefile", {"Path"}, "Path", nullptr, nullptr, false},
      {"silentdeletefile", {"Path"}, "Path", nullptr, nullptr, false},
      {"removedir", {"Path"}, "Path", nullptr, nullptr, false},
      {"makedir", {"Path"}, nullptr, nullptr, nullptr, false},
      {"copyfile", {"FromPath", "ToPath"}, nullptr, nullptr, nullptr, false},
      {"silentcopyfile", {"FromPath", "ToPath"}, nullptr, nullptr, nullptr, false},
      {"movefile", {"FromPath", "ToPath"}, nullptr, nullptr, nullptr, false},
      {"silentmovefile", {"FromPath", "ToPath"}, "FromPath", nullptr, nullptr, false},
      {"renamefile", {"FromPath", "ToPath"}, nullptr, nullptr, nullptr, false},
      {"silentrenamefile", {"FromPath", "ToPath"}, nullptr, nullptr, nullptr, false},
      {"regdelete", {"Key", "Value"}, nullptr, nullptr, nullptr, false},
      {"regsetstring", {"Key", "Value", "Data"}, nullptr, nullptr, nullptr, false},
      {"regsetdword", {"Key", "Value", "Data"}, nullptr, nullptr, "Data", false},
      {"ifregstring", {"Key", "Value", "Data", "DataNot"}, nullptr, nullptr, nullptr, true},
  };
  return table;
}
}  // namespace

const MacroCommand* FindMacroCommand(const std::string& name) {
  std::string key = Fold(TrimBlanks(name));
  for (const auto& c : Table())
    if (key == c.name) return &c;
  return nullptr;
}

const std::vector<const char*>& MacroGroupNames() {
  static const std::vector<const char*> names = {"oninstall",           "onuninstall",    "onupdate",
                                                 "onuninstallatupdate", "onfreshinstall", "oncompleteuninstall"};
  return names;
}

}  // namespace kvpack
