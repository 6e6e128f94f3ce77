// The search for another installed version of the product in the package
// index, alone and as it decides the first page.
#include <windows.h>

#include <gtest/gtest.h>

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
  void Current(const std::string& name, const std::string& version) {
    session.Package->Name = name;
    session.Package->Version = version;
  }
  // An index entry with its staged definition (usable unless said otherwise).
  void Installed(const std::string& key, const std::string& product, const std::string& version,
                 bool usable = true) {
    modRegTools::SetString(std::string(modSetup::kPackagesKey) + "\\" + key, "Product", product, HKEY_LOCAL_MACHINE);
    modRegTools::SetString(std::string(modSetup::kPackagesKey) + "\\" + key, "Version", version, HKEY_LOCAL_MACHINE);
    world.scratch.MakeFolder("Setup\\Packages\\" + key);
    std::vector<MediumFile> files{{"a.txt", ""}};
    if (!usable) files.push_back({"A.txt", ""});  // the same name twice: the definition does not load
    std::string ini = SetupIni(product, version, files);
    world.scratch.WriteFile("Setup\\Packages\\" + key + "\\setup.ini", ini);
  }
  std::vector<std::string> Listed() {
    return modRegTools::ListSubkeys(modSetup::kPackagesKey, HKEY_LOCAL_MACHINE);
  }
};

TEST_F(OtherVersion, InstalledOnePointNineIsNewerThanOnePointTen) {
  Current("Demo", "1.10");
  Installed("Demo_1.9", "Demo", "1.9");
  Installed("Demo_1.10", "Demo", "1.10");  // the package itself is skipped
  modSetup::FindOtherVersion(session);
  ASSERT_TRUE(session.OtherPackage);
  EXPECT_EQ(session.OtherPackage->Version, "1.9");
  EXPECT_EQ(session.OtherPackage->PackageDir, world.appDir + "Packages\\Demo_1.9");
  EXPECT_TRUE(session.OtherIsNewer);
}

TEST_F(OtherVersion, OfTwoLowerVersionsTheOneListedLaterWins) {
  Current("Demo", "3.0");
  Installed("Demo_1.0", "Demo", "1.0");
  Installed("Demo_2.0", "Demo", "2.0");
  Installed("Other_1.0", "Other", "1.0");
  std::vector<std::string> listed = Listed();
  std::string last;
  for (const std::string& k : listed)
    if (k.rfind("Demo_", 0) == 0) last = k;
  modSetup::FindOtherVersion(session);
  ASSERT_TRUE(session.OtherPackage);
  EXPECT_EQ("Demo_" + session.OtherPackage->Version, last);
  EXPECT_FALSE(session.OtherIsNewer);
}

TEST_F(OtherVersion, UnusableEntryAfterAUsableOneLeavesNothing) {
  Current("Demo", "3.0");
  Installed("Demo_1.0", "Demo", "1.0");
  Installed("Demo_2.0", "Demo", "2.0");
  std::vector<std::string> listed = Listed();
  ASSERT_EQ(listed.size(), 2u);
  // Make whichever the registry lists second unusable.
  Installed(listed[1], "Demo", listed[1].substr(5), /*usable=*/false);
  modSetup::FindOtherVersion(session);
  EXPECT_FALSE(session.OtherPackage);
  EXPECT_TRUE(ui.Boxes().empty());  // skipped without a word

  // Listed first, the unusable entry is forgotten by the usable one after it.
  Installed(listed[1], "Demo", listed[1].substr(5));
  Installed(listed[0], "Demo", listed[0].substr(5), /*usable=*/false);
  modSetup::FindOtherVersion(session);
  ASSERT_TRUE(session.OtherPackage);
  EXPECT_EQ("Demo_" + session.OtherPackage->Version, listed[1]);
}

TEST_F(OtherVersion, ProductNamesMatchWithoutRegardToCase) {
  Current("Rechner Ärger", "2.0");
  Installed("RECHNER ÄRGER_1.0", "RECHNER ÄRGER", "1.0");
  modSetup::FindOtherVersion(session);
  ASSERT_TRUE(session.OtherPackage);
  EXPECT_FALSE(session.OtherIsNewer);
}

TEST_F(OtherVersion, NoSearchForAVersionWithoutLeadingNumber) {
  Current("Demo", "beta");
  Installed("Demo_1.0", "Demo", "1.0");
  modSetup::FindOtherVersion(session);
  EXPECT_FALSE(session.OtherPackage);
}

TEST_F(OtherVersion, EntriesWithoutReadableVersionAreSkipped) {
  Current("Demo", "2.0");
  Installed("Demo_x", "Demo", "x");
  modRegTools::SetString(std::string(modSetup::kPackagesKey) + "\\Demo_none", "Product", "Demo", HKEY_LOCAL_MACHINE);
  modSetup::FindOtherVersion(session);
  EXPECT_FALSE(session.OtherPackage);
}

TEST(OtherVersionStart, AnOlderInstalledVersionLeadsToTheOtherVersionPage) {
  StartupWorld world;
  std::vector<MediumFile> files{{"a.txt", "A"}};
  auto old = world.InstallComplete(world.MakeMedium("m1", SetupIni("Demo", "1.0", files), files));
  auto run = world.Start("-ifp \"" + world.MakeMedium("m2", SetupIni("Demo", "2.0", files), files) + "\"");
  EXPECT_EQ(run->ui.Pages(), std::vector<PageId>{PageId::OtherInstalled});
  ASSERT_TRUE(run->session.OtherPackage);
  EXPECT_EQ(run->session.OtherPackage->InstalledIn, old->session.Package->InstalledIn);  // status loaded
  EXPECT_FALSE(run->session.OtherIsNewer);
}

}  // namespace
}  // namespace kv::test
