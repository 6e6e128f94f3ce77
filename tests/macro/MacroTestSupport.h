#pragma once
// Shared scaffolding of the macro tests: the installation fixture (scratch
// medium, installation folder, isolated registry, scripted user) plus a way
// to write a macro as setup.ini text and run it.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "install/InstallTestSupport.h"
#include "package/CStructuredFile.h"
#include "platform/RegTools.h"

namespace kv::test {

class MacroTest : public InstallFixture {
 protected:
  MacroTest() { Scratch.MakeFolder("Programme\\Testprogramm"); }

  // `body` is the inside of a macro group, lines separated by "\n".
  std::shared_ptr<CStructuredFileGroup> Parse(const std::string& body) {
    CStructuredFile file(session.Context());
    EXPECT_EQ(file.LoadFromText("<oninstall>\n" + body + "\n</oninstall>\n"), 0);
    return file.Root()->GroupNamed("oninstall");
  }
  // Runs `body` as the package's oninstall macro.
  void Run(const std::string& body) {
    Package->OnInstall.SetGroup(Parse(body));
    Package->OnInstall.Execute(session, *Package);
  }

  // The box text of an Abort/Retry/Ignore prompt for `message`.
  static std::string Prompt(const std::string& message) { return message + kAriTail; }

  std::string Read(const std::string& path) { return ReadFileBytes(path); }
};

}  // namespace kv::test
