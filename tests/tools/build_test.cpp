// kvpack build: a complete medium where the installer looks for each file,
// and nothing left behind when the build cannot be completed.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <sstream>

#include "Medium.h"
#include "ToolsTestSupport.h"

namespace kvpack {
namespace {

namespace fs = std::filesystem;
using test::ScratchFolder;

class KvpackBuild : public testing::Test {
 protected:
  void SetUp() override {
    // Stand-ins for the two installer programs of the windows build.
    test::WriteBytes(dir.Sub("installer/setup.exe"), "MZ setup stand-in");
    test::WriteBytes(dir.Sub("installer/KVSetup.exe"), "MZ installer stand-in");
    test::WriteCrLf(dir.Sub("pkg/setup.ini"),
                    "<header>\n"
                    " Name=Demo\n"
                    " Version=1.0\n"
                    "</header>\n"
                    "<files>\n"
                    " [file]\n"
                    "  Name=demo.exe|Bin\\helfer.dll\n"
                    " [/file]\n"
                    "</files>\n"
                    "<oninstall>\n"
                    " [installfile]\n"
                    "  SrcName=extra.txt\n"
                    "  ToPath=*appdir*\n"
                    " [/installfile]\n"
                    "</oninstall>\n");
    test::WriteBytes(dir.Sub("pkg/eula.txt"), "Lizenz f\xFCr alle\r\n");
    test::WriteBytes(dir.Sub("pkg/files/demo.exe"), "demo program");
    test::WriteBytes(dir.Sub("pkg/files/bin/HELFER.dll"), "helper library");
    test::WriteBytes(dir.Sub("pkg/files/extra.txt"), "extra");
  }

  BuildOptions Options() {
    BuildOptions o;
    o.iniPath = dir.Sub("pkg/setup.ini");
    o.sourceFolder = dir.Sub("pkg/files");
    o.outFolder = dir.Sub("out/medium");
    o.installerDir = dir.Sub("installer");
    return o;
  }

  int Build(const BuildOptions& o) {
    out.str({});
    err.str({});
    return BuildMedium(o, out, err);
  }

  // Everything in the folder that holds the output, relative to it.
  std::vector<std::string> Listing(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code ec;
    for (fs::recursive_directory_iterator it(os::ToPath(folder), ec), end; !ec && it != end; it.increment(ec))
      names.push_back(fs::relative(it->path(), os::ToPath(folder)).generic_string());
    std::sort(names.begin(), names.end());
    return names;
  }

  ScratchFolder dir;
  std::ostringstream out, err;
};

TEST_F(KvpackBuild, LaysOutACompleteMedium) {
  ASSERT_EQ(Build(Options()), 0) << err.str();
  std::vector<std::string> expected = {"Bin",      "Bin/helfer.dll", "KVSetup.exe", "demo.exe",
                                       "eula.txt", "extra.txt",      "setup.exe",   "setup.ini"};
  EXPECT_EQ(Listing(dir.Sub("out/medium")), expected);
  // Byte for byte, including the ANSI licence and the CR LF definition.
  EXPECT_EQ(test::ReadBytes(dir.Sub("out/medium/eula.txt")), "Lizenz f\xFCr alle\r\n");
  EXPECT_EQ(test::ReadBytes(dir.Sub("out/medium/setup.ini")), test::ReadBytes(dir.Sub("pkg/setup.ini")));
  EXPECT_EQ(test::ReadBytes(dir.Sub("out/medium/Bin/helfer.dll")), "helper library");
  EXPECT_EQ(test::ReadBytes(dir.Sub("out/medium/KVSetup.exe")), "MZ installer stand-in");
  // Only the medium itself is left in its parent folder.
  EXPECT_EQ(Listing(dir.Sub("out")).front(), "medium");
  EXPECT_EQ(fs::directory_iterator(os::ToPath(dir.Sub("out")))->path().filename(), "medium");
  EXPECT_NE(out.str().find("7 files"), std::string::npos) << out.str();
}

TEST_F(KvpackBuild, FailuresLeaveNoOutputFolder) {
  struct Case {
    const char* what;
    std::function<void(BuildOptions&)> spoil;
    const char* message;
  } cases[] = {
      {"licence missing", [&](BuildOptions&) { fs::remove(os::ToPath(dir.Sub("pkg/eula.txt"))); }, "eula.txt is missing"},
      {"source file missing", [&](BuildOptions&) { fs::remove(os::ToPath(dir.Sub("pkg/files/extra.txt"))); },
       "'extra.txt' is missing"},
      {"installer missing", [&](BuildOptions&) { fs::remove(os::ToPath(dir.Sub("installer/KVSetup.exe"))); },
       "KVSetup.exe is missing"},
      {"no installer found", [&](BuildOptions& o) { o.installerDir.reset(); o.installerSearch = {dir.Sub("pkg")}; },
       "setup.exe and KVSetup.exe not found"},
      {"package with errors",
       [&](BuildOptions&) { test::WriteCrLf(dir.Sub("pkg/setup.ini"), "<files>\n [file]\n  Name=demo.exe\n  Register=x\n [/file]\n"); },
       "no medium was built"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    SetUp();
    BuildOptions o = Options();
    c.spoil(o);
    EXPECT_EQ(Build(o), 1);
    EXPECT_NE(err.str().find(c.message), std::string::npos) << err.str();
    EXPECT_FALSE(fs::exists(os::ToPath(dir.Sub("out/medium"))));
    EXPECT_TRUE(Listing(dir.Sub("out")).empty()) << "left behind: " << Listing(dir.Sub("out")).front();
  }
}

TEST_F(KvpackBuild, ANonEmptyOutputFolderIsReplacedOnlyWithForce) {
  test::WriteBytes(dir.Sub("out/medium/alt.txt"), "old medium");
  BuildOptions o = Options();
  EXPECT_EQ(Build(o), 1);
  EXPECT_NE(err.str().find("--force"), std::string::npos) << err.str();
  EXPECT_EQ(Listing(dir.Sub("out/medium")), std::vector<std::string>{"alt.txt"});

  // An empty output folder is fine without --force.
  fs::remove(os::ToPath(dir.Sub("out/medium/alt.txt")));
  EXPECT_EQ(Build(o), 0) << err.str();

  test::WriteBytes(dir.Sub("out/medium/alt.txt"), "old medium");
  o.force = true;
  ASSERT_EQ(Build(o), 0) << err.str();
  EXPECT_FALSE(fs::exists(os::ToPath(dir.Sub("out/medium/alt.txt"))));
  EXPECT_TRUE(fs::exists(os::ToPath(dir.Sub("out/medium/setup.exe"))));
  EXPECT_EQ(Listing(dir.Sub("out")).size(), 9u);  // the medium and its 8 entries, nothing beside it

  // A failing rebuild keeps the medium that was there.
  fs::remove(os::ToPath(dir.Sub("pkg/eula.txt")));
  EXPECT_EQ(Build(o), 1);
  EXPECT_TRUE(fs::exists(os::ToPath(dir.Sub("out/medium/setup.exe"))));
  EXPECT_EQ(Listing(dir.Sub("out")).size(), 9u);
}

TEST_F(KvpackBuild, RefusesToReplaceThePackageItself) {
  BuildOptions o = Options();
  o.outFolder = dir.Sub("pkg");
  o.force = true;
  EXPECT_EQ(Build(o), 1);
  EXPECT_TRUE(fs::exists(os::ToPath(dir.Sub("pkg/files/demo.exe"))));
  EXPECT_TRUE(fs::exists(os::ToPath(dir.Sub("pkg/setup.ini"))));
}

TEST_F(KvpackBuild, FindsTheInstallerBelowASearchRoot) {
  BuildOptions o = Options();
  o.installerDir.reset();
  // As the windows build lays them out: each program in a folder of its own.
  test::WriteBytes(dir.Sub("tree/src/app/setup/setup.exe"), "MZ setup stand-in");
  test::WriteBytes(dir.Sub("tree/src/app/kvsetup/KVSetup.exe"), "MZ installer stand-in");
  // A root with only one of the two is passed over.
  test::WriteBytes(dir.Sub("half/setup.exe"), "MZ wrong");
  o.installerSearch = {dir.Sub("nowhere"), dir.Sub("half"), dir.Sub("tree")};
  ASSERT_EQ(Build(o), 0) << err.str();
  EXPECT_EQ(test::ReadBytes(dir.Sub("out/medium/setup.exe")), "MZ setup stand-in");
  EXPECT_EQ(test::ReadBytes(dir.Sub("out/medium/KVSetup.exe")), "MZ installer stand-in");
}

}  // namespace
}  // namespace kvpack
