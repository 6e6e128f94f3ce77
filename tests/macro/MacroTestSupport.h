#pragma once
// The installation fixture plus a way to write a macro as setup.ini text and
// run it as the package's oninstall macro.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "install/InstallTestSupport.h"
#include "macro/Interpreter.h"
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
  void Run(const std::string& body) { Run(Parse(body)); }
  void Run(std::shared_ptr<CStructuredFileGroup> macro) {
    Package->OnInstall.SetGroup(std::move(macro));
    macro::Execute(Package->OnInstall, session, *Package);
  }
};

}  // namespace kv::test
