// The link-proxy file class in HKEY_CLASSES_ROOT and the removal of proxy
// files and the folders they leave empty.
#include <gtest/gtest.h>

#include "install/InstallTestSupport.h"
#include "install/Links.h"
#include "platform/RegTools.h"

namespace kv::test {
namespace {

using modInstall::DeleteLinkFiles;

class LinkClass : public InstallFixture {
 protected:
  std::string Value(const std::string& key, const std::string& name = "") {
    return modRegTools::GetString(key, name, "<fehlt>", HKEY_CLASSES_ROOT);
  }
};

// The class's values are checked end to end (fresh installation); here the
// suffix, a class without a tip and what unregistering leaves alone.
TEST_F(LinkClass, SuffixTipAndUnregister) {
  Package->Name = "Mein Programm";
  Package->Version = "1.2 beta";
  Package->EXEFile = "prog.exe";
  EXPECT_EQ(modInstall::LinkSuffix(*Package), "MeinProgramm_1_2beta");
  modInstall::RegisterLinkClass(session, *Package);
  const std::string cls = "KivraSetup.Link.Mein Programm_1.2 beta";  // dots and blanks kept
  EXPECT_EQ(Value(".kvsetuplink_MeinProgramm_1_2beta"), cls);
  EXPECT_TRUE(ValueExists(HKEY_CLASSES_ROOT, cls, "NeverShowExt") && !ValueExists(HKEY_CLASSES_ROOT, cls, "InfoTip"));
  modRegTools::SetString(".txt", "", "txtfile", HKEY_CLASSES_ROOT);
  modInstall::UnregisterLinkClass(*Package);
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, ".kvsetuplink_MeinProgramm_1_2beta") || KeyExists(HKEY_CLASSES_ROOT, cls));
  EXPECT_EQ(Value(".txt"), "txtfile");
  Package->Name = "A:B/C";  // the suffix becomes file-name safe
  Package->Version = "v?1";
  EXPECT_EQ(modInstall::LinkSuffix(*Package), "ABC_v1");
}

using LinkFiles = InstallFixture;

TEST_F(LinkFiles, ProxiesGoAndFoldersTheyAloneFilledGoWithThem) {
  const std::string menu = Scratch.MakeFolder("Startmenü");
  Scratch.MakeFolder("Startmenü\\Kivra\\Werkzeuge");
  Scratch.MakeFolder("Startmenü\\Gemischt");
  Scratch.MakeFolder("Startmenü\\Leer");
  Scratch.WriteFile("Startmenü\\Kivra\\Programm.kvsetuplink_Test_2_0");
  Scratch.WriteFile("Startmenü\\Kivra\\Hilfe.KVSETUPLINK_test_2_0");  // any case
  Scratch.WriteFile("Startmenü\\Kivra\\Werkzeuge\\Tool.kvsetuplink_Test_2_0");
  Scratch.WriteFile("Startmenü\\Gemischt\\Programm.kvsetuplink_Test_2_0");
  Scratch.WriteFile("Startmenü\\Gemischt\\Andere.lnk");
  Scratch.WriteFile("Startmenü\\Gemischt\\Fremd.kvsetuplink_Test_2_01");  // another package
  const std::string ro = Scratch.WriteFile("Startmenü\\Schreibgeschützt.kvsetuplink_Test_2_0");
  SetReadOnly(ro);

  DeleteLinkFiles("Test_2_0", menu);
  EXPECT_FALSE(Exists(menu + "\\Kivra"));  // held only proxies, also in its subfolder
  EXPECT_EQ(ListFolder(menu + "\\Gemischt"), (std::vector<std::string>{"Andere.lnk", "Fremd.kvsetuplink_Test_2_01"}));
  EXPECT_FALSE(Exists(ro));
  EXPECT_TRUE(Exists(menu + "\\Leer"));  // never held a proxy
  EXPECT_TRUE(Exists(menu));             // the folder searched stays
  DeleteLinkFiles("Test_2_0", Scratch / "gibt-es-nicht");  // quietly nothing
}

}  // namespace
}  // namespace kv::test
