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

class KvpackBuild : public testing::Test {
 protected:
  void SetUp() override {
    Write("installer/setup.exe", "MZ setup");  // stand-ins for the installer programs
    Write("installer/KVSetup.exe", "MZ installer");
    Write("pkg/setup.ini", "<header>\r\n Name=Demo\r\n Version=1.0\r\n</header>\r\n<files>\r\n [file]\r\n"
                           "  Name=demo.exe|Bin\\helfer.dll\r\n [/file]\r\n</files>\r\n<oninstall>\r\n"
                           " [installfile]\r\n  SrcName=extra.txt\r\n  ToPath=*appdir*\r\n [/installfile]\r\n</oninstall>\r\n");
    Write("pkg/eula.txt", "Lizenz f\xFCr alle\r\n");
    Write("pkg/files/demo.exe", "demo program");
    Write("pkg/files/bin/HELFER.dll", "helper library");
    Write("pkg/files/extra.txt", "extra");
    options = {dir.Sub("pkg/setup.ini"), dir.Sub("pkg/files"), dir.Sub("out/medium"), false, dir.Sub("installer")};
  }
  void Write(const std::string& name, const std::string& bytes) { test::WriteBytes(dir.Sub(name), bytes); }
  std::string Read(const std::string& name) { return test::ReadBytes(dir.Sub(name)); }
  bool Exists(const std::string& name) { return fs::exists(os::ToPath(dir.Sub(name))); }
  int Build() {
    out.str({});
    err.str({});
    return BuildMedium(options, out, err);
  }
  // Everything below `folder`, sorted, relative to it.
  std::vector<std::string> Listing(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code ec;
    auto root = os::ToPath(dir.Sub(folder));
    for (fs::recursive_directory_iterator it(root, ec), end; !ec && it != end; it.increment(ec))
      names.push_back(fs::relative(it->path(), root).generic_string());
    std::sort(names.begin(), names.end());
    return names;
  }

  test::ScratchFolder dir;
  BuildOptions options;
  std::ostringstream out, err;
};

const std::vector<std::string> kMedium = {"medium",           "medium/Bin",         "medium/Bin/helfer.dll",
                                          "medium/KVSetup.exe", "medium/demo.exe",  "medium/eula.txt",
                                          "medium/extra.txt", "medium/setup.exe",   "medium/setup.ini"};

TEST_F(KvpackBuild, FailuresLeaveNoOutputFolder) {
  struct { const char* what; std::function<void()> spoil; const char* message; } cases[] = {
      {"licence missing", [&] { fs::remove(os::ToPath(dir.Sub("pkg/eula.txt"))); }, "eula.txt is missing"},
      {"source file missing", [&] { fs::remove(os::ToPath(dir.Sub("pkg/files/extra.txt"))); }, "'extra.txt' is missing"},
      {"installer missing", [&] { fs::remove(os::ToPath(dir.Sub("installer/KVSetup.exe"))); }, "KVSetup.exe is missing"},
      {"no installer found", [&] { options.installerDir.reset(); options.installerSearch = {dir.Sub("pkg")}; },
       "setup.exe and KVSetup.exe not found"},
      {"package with errors", [&] { Write("pkg/setup.ini", "<files>\n [file]\n  Name=demo.exe\n  Register=x\n"); },
       "no medium was built"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    SetUp();
    c.spoil();
    EXPECT_EQ(Build(), 1);
    EXPECT_NE(err.str().find(c.message), std::string::npos) << err.str();
    EXPECT_TRUE(Listing("out").empty()) << "left behind: " << Listing("out").front();
    EXPECT_FALSE(Exists("out/medium"));
  }
}

TEST_F(KvpackBuild, AnOldMediumIsReplacedOnlyWithForceAndNeverThePackage) {
  Write("out/medium/alt.txt", "old medium");
  EXPECT_EQ(Build(), 1);
  EXPECT_NE(err.str().find("--force"), std::string::npos) << err.str();
  EXPECT_EQ(Listing("out/medium"), std::vector<std::string>{"alt.txt"});
  fs::remove(os::ToPath(dir.Sub("out/medium/alt.txt")));
  EXPECT_EQ(Build(), 0) << err.str();  // an empty output folder needs no --force

  Write("out/medium/alt.txt", "old medium");
  options.force = true;
  ASSERT_EQ(Build(), 0) << err.str();
  EXPECT_EQ(Listing("out"), kMedium);
  EXPECT_EQ(Read("out/medium/KVSetup.exe"), "MZ installer");  // from --installer
  fs::remove(os::ToPath(dir.Sub("pkg/eula.txt")));
  EXPECT_EQ(Build(), 1);
  EXPECT_EQ(Listing("out"), kMedium);  // a failing rebuild keeps the medium that was there

  Write("pkg/eula.txt", "Lizenz");
  options.outFolder = dir.Sub("pkg");
  EXPECT_EQ(Build(), 1);
  EXPECT_TRUE(Exists("pkg/files/demo.exe") && Exists("pkg/setup.ini"));
}

}  // namespace
}  // namespace kvpack
