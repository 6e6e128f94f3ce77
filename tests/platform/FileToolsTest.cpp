// File and folder tools on real files in a scratch folder.
#include "platform/FileTools.h"

#include <windows.h>

#include <gtest/gtest.h>

#include "platform/WinString.h"
#include "support/ScratchFolder.h"

namespace kv {
namespace {

using namespace modTools;

TEST(FileTools, UniqueFileName) {
  test::ScratchFolder dir;
  for (const char* name : {"Readme.txt", "Readme (1).txt", "archive.tar.gz", "Makefile", "DATA (1)", "log.txt"})
    dir.WriteFile(name);
  for (int n = 1; n <= 10; ++n) dir.WriteFile("log (" + std::to_string(n) + ").txt");
  dir.MakeFolder("data");  // a folder occupies a name just like a file

  struct Row { const char* name; bool keep; const char* expected; };
  const Row rows[] = {{"Neu.txt", true, "Neu.txt"},
                      {"Readme.txt", true, "Readme (2).txt"},
                      {"Readme.txt", false, "Readme.txt (1)"},         // counter at the very end
                      {"archive.tar.gz", true, "archive (1).tar.gz"},  // extension from the first dot
                      {"Makefile", true, "Makefile (1)"},              // no dot: as without keeping
                      {"Data", false, "Data (2)"},                     // case ignored
                      {"log.txt", true, "log (11).txt"}};
  for (const Row& r : rows) EXPECT_EQ(UniqueFileName(dir.Path(), r.name, r.keep), r.expected) << r.name;
  EXPECT_EQ(UniqueFileName(dir.Path() + "\\", "Readme.txt", true), "Readme (2).txt");
}

}  // namespace
}  // namespace kv
