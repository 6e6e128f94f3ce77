// The macro commands that work on the registry.
#include "macro/CommandContext.h"
#include "package/CStructuredFile.h"
#include "base/Text.h"

namespace kv::macro {

namespace {

bool Given(const std::string& text) { return !text.empty() && text != kAbsentMarker; }

// The condition of ifregstring: Data wins over DataNot; neither is False.
bool RegStringCondition(const CommandContext& c, const RegistryLocation& at) {
  std::string valueName = c.Param("Value");
  std::string data = c.Param("Data", kAbsentMarker);
  if (Given(data)) return c.host.ReadString(at.root, at.subKey, valueName) == data;
  std::string dataNot = c.Param("DataNot", kAbsentMarker);
  if (Given(dataNot)) return c.host.ReadString(at.root, at.subKey, valueName) != dataNot;
  return false;
}

}  // namespace

void RunRegistryCommand(Command command, CommandContext& c) {
  RegistryLocation at = SplitRegistryKey(c.Param("Key"));
  switch (command) {
    case Command::RegDelete: {
      std::string valueName = c.Param("Value");
      // An empty name would delete the key itself; the command is for values.
      if (!valueName.empty()) c.host.DeleteValue(at.root, at.subKey, valueName);
      return;
    }
    case Command::RegSetString:
      if (!at.subKey.empty()) c.host.WriteString(at.root, at.subKey, c.Param("Value"), c.Param("Data"));
      return;
    case Command::RegSetDword:
      if (!at.subKey.empty()) {
        int32_t number = ToInt32(c.Param("Data", "0"));  // TypeMismatch / Overflow go to the prompt
        c.host.WriteNumber(at.root, at.subKey, c.Param("Value"), number);
      }
      return;
    case Command::IfRegString:
      if (RegStringCondition(c, at)) c.walk(c.parameters);
      return;
    default:
      return;
  }
}

}  // namespace kv::macro
