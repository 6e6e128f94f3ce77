// Registry access against the real (redirected) registry: paths, deletion
// and listing (reads and writes by type run in every installation test).
#include "platform/RegTools.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/RegistryGuard.h"

namespace kv {
namespace {

using namespace modRegTools;
using test::KeyExists;
using test::RegistryGuard;

const char kKey[] = "Software\\KVTest\\Reg";
const HKEY kCU = HKEY_CURRENT_USER;

// One trailing backslash is cut, also from the caller's own variable.
TEST(RegTools, PathsDeletionAndListing) {
  RegistryGuard guard;
  std::string path = "Software\\KVTest\\Trim\\", twice = "Software\\KVTest\\Trim\\\\";
  SetString(path, "V", "x", kCU);
  GetNumber(twice, "V", 0, kCU);
  EXPECT_EQ(path + "|" + twice, "Software\\KVTest\\Trim|Software\\KVTest\\Trim\\");
  EXPECT_EQ(GetString(std::string("Software\\KVTest\\Trim\\"), "V", "", kCU), "x");  // const path too

  const HKEY cr = HKEY_CLASSES_ROOT;
  SetString("Software\\KVTest\\Tree", "Top", "1", cr);
  SetString("Software\\KVTest\\Tree\\A\\Deep", "V", "3", cr);
  SetString("KVTopLevel", "V", "5", cr);
  Delete("Software\\KVTest\\Tree", "Top", cr);
  EXPECT_FALSE(test::ValueExists(cr, "Software\\KVTest\\Tree", "Top"));
  Delete("Software\\KVTest\\Tree", "", cr);  // has subkeys: stays
  EXPECT_TRUE(KeyExists(cr, "Software\\KVTest\\Tree\\A\\Deep"));
  Delete("KVTopLevel\\", "", cr);  // no parent in the path
  EXPECT_FALSE(KeyExists(cr, "KVTopLevel"));
  DeleteTree("Software\\KVTest\\Tree\\", cr);
  EXPECT_FALSE(KeyExists(cr, "Software\\KVTest\\Tree"));
  DeleteTree("", cr);  // refused, not the whole root
  EXPECT_TRUE(KeyExists(cr, "Software\\KVTest"));

  EXPECT_TRUE(ListSubkeys("Software\\KVTest\\Absent", kCU).empty());
  const std::vector<std::string> names = {"Alpha_1.0", std::string(120, 'L'), "Übung"};
  for (const std::string& name : names) SetString("Software\\KVTest\\List\\" + name + "\\Child", "V", "x", kCU);
  std::vector<std::string> listed = ListSubkeys("Software\\KVTest\\List\\", kCU);
  std::sort(listed.begin(), listed.end());
  EXPECT_EQ(listed, names);
}

}  // namespace
}  // namespace kv
