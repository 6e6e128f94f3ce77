// The search for another installed version of the product in the index.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>

#include "package/CPackage.h"
#include "platform/RegTools.h"
#include "startup/PackageIndex.h"
#include "startup/StartupWorld.h"

namespace kv::test {
namespace {

class OtherVersion : public ::testing::Test {
 protected:
  StartupWorld world;
  ScriptedUi ui;
  Session session{ui};

  void SetUp() override {
    session.AppDir = world.appDir;
    session.Package = std::make_shared<CPackage>(session.Context());
  }
  // Searches for the package `name` `version`; the found version or "".
  std::string Find(const std::string& name, const std::string& version) {
    session.Package->Name = name;
    session.Package->Version = version;
    session.OtherPackage = nullptr;
    modSetup::FindOtherVersion(session);
    return session.OtherPackage ? session.OtherPackage->Version : "";
  }
  // An index entry with its staged definition (unusable: a file named twice).
  void Installed(const std::string& key, const std::string& product, const std::string& version, bool usable = true) {
    const std::string path = std::string(modSetup::kPackagesKey) + "\\" + key;
    modRegTools::SetString(path, "Product", product, HKEY_LOCAL_MACHINE);
    if (!version.empty()) modRegTools::SetString(path, "Version", version, HKEY_LOCAL_MACHINE);
    world.scratch.MakeFolder("Setup\\Packages\\" + key);
    std::vector<MediumFile> files{{"a.txt"}};
    if (!usable) files.push_back({"A.txt"});
    world.scratch.WriteFile("Setup\\Packages\\" + key + "\\setup.ini", SetupIni(product, version, files));
  }
  std::vector<std::string> Listed() { return modRegTools::ListSubkeys(modSetup::kPackagesKey, HKEY_LOCAL_MACHINE); }
};

TEST_F(OtherVersion, InstalledOnePointNineIsNewerThanOnePointTen) {
  Installed("Demo_1.9", "Demo", "1.9");
  Installed("Demo_1.10", "Demo", "1.10");  // the package itself is skipped
  EXPECT_EQ(Find("Demo", "1.10"), "1.9");
  EXPECT_EQ(session.OtherPackage->PackageDir, world.appDir + "Packages\\Demo_1.9");
  EXPECT_TRUE(session.OtherIsNewer);
}

TEST_F(OtherVersion, OfTwoLowerVersionsTheOneListedLaterWinsAndAnUnusableOneAfterItLeavesNothing) {
  Installed("Demo_1.0", "Demo", "1.0");
  Installed("Demo_2.0", "Demo", "2.0");
  Installed("Other_1.0", "Other", "1.0");
  std::vector<std::string> listed = Listed();
  listed.erase(std::remove(listed.begin(), listed.end(), "Other_1.0"), listed.end());
  ASSERT_EQ(listed.size(), 2u);
  EXPECT_EQ("Demo_" + Find("Demo", "3.0"), listed[1]);
  EXPECT_FALSE(session.OtherIsNewer);

  Installed(listed[1], "Demo", listed[1].substr(5), /*usable=*/false);
  EXPECT_EQ(Find("Demo", "3.0"), "");
  EXPECT_TRUE(ui.Boxes().empty());  // skipped without a word
  // Listed first, the unusable entry is forgotten by the usable one after it.
  Installed(listed[1], "Demo", listed[1].substr(5));
  Installed(listed[0], "Demo", listed[0].substr(5), /*usable=*/false);
  EXPECT_EQ("Demo_" + Find("Demo", "3.0"), listed[1]);
}

TEST_F(OtherVersion, UnreadableVersionsAreSkippedAndNamesMatchWithoutRegardToCase) {
  Installed("Demo_x", "Demo", "x");
  Installed("Demo_none", "Demo", "");  // no version value
  EXPECT_EQ(Find("Demo", "2.0"), "");
  Installed("DEMO_1.0", "DEMO", "1.0");
  EXPECT_EQ(Find("Demo", "beta"), "");  // no search without a leading number
  EXPECT_EQ(Find("demo", "2.0"), "1.0");
}

}  // namespace
}  // namespace kv::test
