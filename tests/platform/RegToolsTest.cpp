// Registry access against the real (redirected) registry.
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

TEST(RegTools, ReadsByTypeWithDefaults) {
  RegistryGuard guard;
  SetString(kKey, "Text", "Grüße aus Köln", kCU);
  SetString(kKey, "Empty", "", kCU);
  SetString(kKey, "Digits", "17", kCU);
  SetNumber(kKey, "Negative", -7, kCU);
  const wchar_t noZero[] = {L'a', L'b', L'c'}, expand[] = L"%TEMP%\\x";
  test::WriteRawValue(kCU, kKey, "NoZero", REG_SZ, noZero, sizeof(noZero));
  test::WriteRawValue(kCU, kKey, "Expand", REG_EXPAND_SZ, expand, sizeof(expand));
  test::WriteRawValue(kCU, kKey, "Binary", REG_BINARY, "\1\2\3\4", 4);

  // Any type but REG_DWORD reads as number 0, not the default; an empty string
  // is "", not the default; string reads ignore the type and expand nothing.
  struct Row { const char* key; const char* name; const char* str; int32_t num; };  // str nullptr: unchecked
  const Row rows[] = {{kKey, "Text", "Grüße aus Köln", 0}, {kKey, "Empty", "", 0},
                      {kKey, "Digits", "17", 0},           {kKey, "NoZero", "abc", 0},
                      {kKey, "Expand", "%TEMP%\\x", 0},    {kKey, "Binary", nullptr, 0},
                      {kKey, "Negative", nullptr, -7},     {kKey, "Missing", "def", -1},
                      {"Software\\KVTest\\NoSuchKey", "Text", "def", -1}};
  for (const Row& r : rows) {
    SCOPED_TRACE(r.name);
    if (r.str) { EXPECT_EQ(GetString(r.key, r.name, "def", kCU), r.str); }
    EXPECT_EQ(GetNumber(r.key, r.name, -1, kCU), r.num);
  }
  EXPECT_EQ(GetString(kKey, "Text", "def", HKEY_LOCAL_MACHINE), "def");  // roots are separate

  // Stored as REG_SZ of the characters; the length passed excludes the
  // terminator (the system may still store the zero that follows in memory).
  DWORD type = 0;
  std::string bytes;
  ASSERT_TRUE(test::ReadRawValue(kCU, kKey, "Digits", type, bytes));
  EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
  EXPECT_TRUE(bytes == std::string("1\0" "7\0", 4) || bytes == std::string("1\0" "7\0\0\0", 6)) << bytes.size();
}

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

TEST(RegTools, SplitPathAndRoot) {
  std::string last;
  EXPECT_EQ(SplitPath("Software\\Kivra\\Setup", last) + "|" + last, "Software\\Kivra|Setup");
  EXPECT_EQ(SplitPath("Single", last) + "|" + last, "|Single");
  HKEY root = HKEY_USERS;
  bool matched = false;
  EXPECT_EQ(SplitRoot("hkey_classes_root\\.txt", root, &matched), ".txt");
  EXPECT_TRUE(matched && root == HKEY_CLASSES_ROOT);
  for (const char* other : {"HKEY_USERS\\x", "HKEY_LOCAL_MACHINE"})  // the prefix needs its backslash
    EXPECT_TRUE(SplitRoot(other, root, &matched) == other && !matched && root == HKEY_CLASSES_ROOT) << other;
}

}  // namespace
}  // namespace kv
