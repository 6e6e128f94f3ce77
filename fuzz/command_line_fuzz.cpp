// Arbitrary command tails and command lines through the start-up's mode
// recognition. Besides "no crash, no undefined behaviour" it checks what the
// recognition promises, stated without its code:
// - a recognised mode depends on the start of the text only: more text after
//   it never changes the mode;
// - the argument is the text in quotes after the switch, found again there;
// - the tail of a command line is a suffix of it without leading blanks, and
//   putting any program name in front of a tail gives the same tail back.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "startup/CommandLine.h"

using kv::modSetup::CommandTailOf;
using kv::modSetup::ParseCommand;
using kv::modSetup::StartMode;

namespace {

void Check(bool condition, const char* what) {
  if (!condition) {
    fprintf(stderr, "command_line_fuzz: broken promise: %s\n", what);
    abort();
  }
}

bool StartsNoCase(const std::string& text, const std::string& lowerPrefix) {
  if (text.size() < lowerPrefix.size()) return false;
  for (size_t i = 0; i < lowerPrefix.size(); ++i) {
    char c = text[i];
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (c != lowerPrefix[i]) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const kv::modSetup::StartCommand c = ParseCommand(text);

  switch (c.mode) {
    case StartMode::Launch:
    case StartMode::Maintenance: {
      Check(StartsNoCase(text, c.mode == StartMode::Launch ? "-o \"" : "-m \""), "prefix of -o / -m");
      Check(text.compare(4, c.argument.size(), c.argument) == 0, "argument follows the opening quote");
      size_t after = 4 + c.argument.size();
      Check(after == text.size() || text[after] == '"', "argument ends at a quote or at the end");
      Check(c.argument.find('"') == std::string::npos, "argument holds no quote");
      Check(!c.unterminated, "only -ifp can be unterminated");
      break;
    }
    case StartMode::Install:
      Check(StartsNoCase(text, "-ifp \""), "prefix of -ifp");
      if (c.unterminated) {
        Check(c.argument.empty(), "an unterminated -ifp names no folder");
        Check(text.size() < 7 || text.back() != '"', "unterminated means no closing quote");
      } else {
        std::string body = text.substr(6, text.size() - 7);
        Check(body == c.argument || body == c.argument + "\\", "folder is the quoted text less one backslash");
        Check(text.back() == '"', "terminated means a closing quote");
      }
      break;
    case StartMode::Unknown:
      Check(c.argument.empty() && !c.unterminated, "nothing recognised, nothing taken");
      Check(!StartsNoCase(text, "-o \"") && !StartsNoCase(text, "-m \"") && !StartsNoCase(text, "-ifp \""),
            "a known switch is never missed");
      break;
  }
  if (c.mode != StartMode::Unknown) {
    Check(ParseCommand(text + "x\"").mode == c.mode, "more text keeps the mode");
  }

  const std::string tail = CommandTailOf(text);
  Check(tail.size() <= text.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0,
        "the tail is a suffix of the line");
  Check(tail.empty() || (tail[0] != ' ' && tail[0] != '\t'), "the tail starts after the blanks");
  Check(CommandTailOf("\"C:\\Program Files\\Kivra\\KVSetup.exe\" " + tail) == tail, "quoted program name dropped");
  Check(CommandTailOf("KVSetup.exe\t " + tail) == tail, "plain program name dropped");
  return 0;
}
