// Registry access against the real (redirected) registry.
#include "platform/RegTools.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/RegistryGuard.h"

namespace kv {
namespace {

using namespace modRegTools;
using test::KeyExists;
using test::ReadRawValue;
using test::RegistryGuard;
using test::ValueExists;
using test::WriteRawValue;

const char kKey[] = "Software\\KVTest\\Reg";

TEST(RegTools, StringReadsAndDefaults) {
  RegistryGuard guard;
  SetString(kKey, "Name", "Grüße aus Köln", HKEY_CURRENT_USER);
  SetString(kKey, "Empty", "", HKEY_CURRENT_USER);
  EXPECT_EQ(GetString(kKey, "Name", "def", HKEY_CURRENT_USER), "Grüße aus Köln");
  // An existing empty value is "", not the default.
  EXPECT_EQ(GetString(kKey, "Empty", "def", HKEY_CURRENT_USER), "");
  EXPECT_EQ(GetString(kKey, "Missing", "def", HKEY_CURRENT_USER), "def");
  EXPECT_EQ(GetString("Software\\KVTest\\NoSuchKey", "Name", "def", HKEY_CURRENT_USER), "def");
  // Written to HKCU only: the other roots are separate scratch keys.
  EXPECT_EQ(GetString(kKey, "Name", "def", HKEY_LOCAL_MACHINE), "def");
}

TEST(RegTools, StringIsStoredAsRegSzOfItsCharacters) {
  RegistryGuard guard;
  SetString(kKey, "Path", "C:\\Programme\\Kivra", HKEY_LOCAL_MACHINE);
  DWORD type = 0;
  std::string bytes;
  ASSERT_TRUE(ReadRawValue(HKEY_LOCAL_MACHINE, kKey, "Path", type, bytes));
  EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
  // We pass the length without the terminating zero; the system then stores
  // the zero that follows the text in memory (NT and wine alike), so the value
  // holds the characters, then at most one terminator.
  const std::wstring expected = L"C:\\Programme\\Kivra";
  std::printf("stored %u bytes for %u characters\n", static_cast<unsigned>(bytes.size()),
              static_cast<unsigned>(expected.size()));
  ASSERT_GE(bytes.size(), expected.size() * 2);
  ASSERT_LE(bytes.size(), expected.size() * 2 + 2);
  EXPECT_EQ(std::wstring(reinterpret_cast<const wchar_t*>(bytes.data()), expected.size()), expected);
}

TEST(RegTools, StringReadIgnoresTypeAndMissingTerminator) {
  RegistryGuard guard;
  const wchar_t noZero[] = {L'a', L'b', L'c'};
  WriteRawValue(HKEY_CURRENT_USER, kKey, "Raw", REG_SZ, noZero, sizeof(noZero));
  EXPECT_EQ(GetString(kKey, "Raw", "def", HKEY_CURRENT_USER), "abc");
  const wchar_t expand[] = L"%TEMP%\\x";
  WriteRawValue(HKEY_CURRENT_USER, kKey, "Expand", REG_EXPAND_SZ, expand, sizeof(expand));
  EXPECT_EQ(GetString(kKey, "Expand", "def", HKEY_CURRENT_USER), "%TEMP%\\x");  // not expanded
}

TEST(RegTools, NumberReads) {
  RegistryGuard guard;
  SetNumber(kKey, "Count", 42, HKEY_LOCAL_MACHINE);
  SetNumber(kKey, "Negative", -7, HKEY_LOCAL_MACHINE);
  SetString(kKey, "Text", "17", HKEY_LOCAL_MACHINE);
  EXPECT_EQ(GetNumber(kKey, "Count", -1, HKEY_LOCAL_MACHINE), 42);
  EXPECT_EQ(GetNumber(kKey, "Negative", -1, HKEY_LOCAL_MACHINE), -7);
  EXPECT_EQ(GetNumber(kKey, "Missing", -1, HKEY_LOCAL_MACHINE), -1);
  EXPECT_EQ(GetNumber("Software\\KVTest\\NoSuchKey", "Count", 99, HKEY_LOCAL_MACHINE), 99);
  // Wrong type: 0, not the default, and not the text's number either.
  EXPECT_EQ(GetNumber(kKey, "Text", -1, HKEY_LOCAL_MACHINE), 0);
  const uint32_t big = 0x01020304;
  WriteRawValue(HKEY_LOCAL_MACHINE, kKey, "Binary", REG_BINARY, &big, sizeof(big));
  EXPECT_EQ(GetNumber(kKey, "Binary", -1, HKEY_LOCAL_MACHINE), 0);

  DWORD type = 0;
  std::string bytes;
  ASSERT_TRUE(ReadRawValue(HKEY_LOCAL_MACHINE, kKey, "Negative", type, bytes));
  EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
  EXPECT_EQ(bytes, std::string("\xF9\xFF\xFF\xFF", 4));
}

TEST(RegTools, TrailingBackslashIsCutFromCallersVariable) {
  RegistryGuard guard;
  std::string path = "Software\\KVTest\\Trim\\";
  SetString(path, "V", "x", HKEY_CURRENT_USER);
  EXPECT_EQ(path, "Software\\KVTest\\Trim");
  std::string again = "Software\\KVTest\\Trim\\";
  EXPECT_EQ(GetString(again, "V", "", HKEY_CURRENT_USER), "x");
  EXPECT_EQ(again, "Software\\KVTest\\Trim");
  // Only one backslash goes.
  std::string twice = "Software\\KVTest\\Trim\\\\";
  GetNumber(twice, "V", 0, HKEY_CURRENT_USER);
  EXPECT_EQ(twice, "Software\\KVTest\\Trim\\");
  // A const path is used trimmed as well.
  const std::string fixed = "Software\\KVTest\\Trim\\";
  EXPECT_EQ(GetString(fixed, "V", "", HKEY_CURRENT_USER), "x");
  EXPECT_EQ(fixed, "Software\\KVTest\\Trim\\");
}

TEST(RegTools, DeleteValueKeyAndTree) {
  RegistryGuard guard;
  SetString("Software\\KVTest\\Tree", "Top", "1", HKEY_CLASSES_ROOT);
  SetString("Software\\KVTest\\Tree\\A", "V", "2", HKEY_CLASSES_ROOT);
  SetString("Software\\KVTest\\Tree\\A\\Deep", "V", "3", HKEY_CLASSES_ROOT);
  SetString("Software\\KVTest\\Tree\\B", "V", "4", HKEY_CLASSES_ROOT);
  SetString("Software\\KVTest\\Leaf", "V", "5", HKEY_CLASSES_ROOT);

  Delete("Software\\KVTest\\Tree", "Top", HKEY_CLASSES_ROOT);
  EXPECT_FALSE(ValueExists(HKEY_CLASSES_ROOT, "Software\\KVTest\\Tree", "Top"));
  EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, "Software\\KVTest\\Tree"));

  // Without a value name the key goes - unless it has subkeys.
  Delete("Software\\KVTest\\Tree", "", HKEY_CLASSES_ROOT);
  EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, "Software\\KVTest\\Tree\\A\\Deep"));
  Delete("Software\\KVTest\\Leaf\\", "", HKEY_CLASSES_ROOT);
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, "Software\\KVTest\\Leaf"));

  DeleteTree("Software\\KVTest\\Tree\\", HKEY_CLASSES_ROOT);
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, "Software\\KVTest\\Tree"));
  EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, "Software\\KVTest"));

  // Nothing to delete, nothing happens; an empty tree path is refused.
  Delete("Software\\KVTest\\Nothing", "", HKEY_CLASSES_ROOT);
  Delete("Software\\KVTest\\Nothing", "V", HKEY_CLASSES_ROOT);
  DeleteTree("", HKEY_CLASSES_ROOT);
  EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, "Software\\KVTest"));
}

TEST(RegTools, TopLevelKeyWithoutBackslash) {
  RegistryGuard guard;
  SetString("KVTopLevel", "V", "x", HKEY_CURRENT_USER);
  ASSERT_TRUE(KeyExists(HKEY_CURRENT_USER, "KVTopLevel"));
  Delete("KVTopLevel", "", HKEY_CURRENT_USER);
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, "KVTopLevel"));
}

TEST(RegTools, ListSubkeys) {
  RegistryGuard guard;
  EXPECT_TRUE(ListSubkeys("Software\\KVTest\\Absent", HKEY_LOCAL_MACHINE).empty());
  SetString("Software\\KVTest\\List", "V", "x", HKEY_LOCAL_MACHINE);
  EXPECT_TRUE(ListSubkeys("Software\\KVTest\\List", HKEY_LOCAL_MACHINE).empty());
  const std::string longName(120, 'L');
  for (const std::string& name : {std::string("Beta_2.0"), std::string("Alpha_1.0"), std::string("Übung"), longName})
    SetString("Software\\KVTest\\List\\" + name + "\\Child", "V", "x", HKEY_LOCAL_MACHINE);
  std::vector<std::string> names = ListSubkeys("Software\\KVTest\\List\\", HKEY_LOCAL_MACHINE);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"Alpha_1.0", "Beta_2.0", longName, "Übung"}));
}

TEST(RegTools, SplitPathAndRoot) {
  std::string last;
  EXPECT_EQ(SplitPath("Software\\Kivra\\Setup", last), "Software\\Kivra");
  EXPECT_EQ(last, "Setup");
  EXPECT_EQ(SplitPath("Single", last), "");
  EXPECT_EQ(last, "Single");

  HKEY root = nullptr;
  bool matched = false;
  EXPECT_EQ(SplitRoot("hkey_local_machine\\Software\\X", root, &matched), "Software\\X");
  EXPECT_TRUE(matched);
  EXPECT_EQ(root, HKEY_LOCAL_MACHINE);
  EXPECT_EQ(SplitRoot("HKEY_CLASSES_ROOT\\.txt", root, &matched), ".txt");
  EXPECT_EQ(root, HKEY_CLASSES_ROOT);
  root = HKEY_CURRENT_USER;
  EXPECT_EQ(SplitRoot("HKEY_USERS\\x", root, &matched), "HKEY_USERS\\x");
  EXPECT_FALSE(matched);
  EXPECT_EQ(root, HKEY_CURRENT_USER);
  // The prefix needs its backslash.
  EXPECT_EQ(SplitRoot("HKEY_CURRENT_USER", root, &matched), "HKEY_CURRENT_USER");
  EXPECT_FALSE(matched);
}

TEST(RegTools, GuardIsolatesAndCleansUp) {
  std::wstring scratch;
  {
    RegistryGuard guard;
    scratch = guard.ScratchPath();
    SetString("Software\\KVTest\\Isolated", "V", "inside", HKEY_LOCAL_MACHINE);
    EXPECT_EQ(GetString("Software\\KVTest\\Isolated", "V", "", HKEY_LOCAL_MACHINE), "inside");
  }
  EXPECT_EQ(GetString("Software\\KVTest\\Isolated", "V", "gone", HKEY_LOCAL_MACHINE), "gone");
  HKEY key = nullptr;
  EXPECT_NE(RegOpenKeyExW(HKEY_CURRENT_USER, scratch.c_str(), 0, KEY_READ, &key), ERROR_SUCCESS);
}

}  // namespace
}  // namespace kv
