// Shared-file counts in the (redirected) SharedDLLs key.
#include "platform/SharedFiles.h"

#include <gtest/gtest.h>

#include "platform/FileTools.h"
#include "platform/RegTools.h"
#include "support/RegistryGuard.h"
#include "support/ScratchFolder.h"

namespace kv {
namespace {

using namespace modTools;
using test::RegistryGuard;
using test::ValueExists;

int32_t Count(const std::string& name) { return modRegTools::GetNumber(kSharedDllsKey, name, -1, HKEY_LOCAL_MACHINE); }
void SetCount(const std::string& name, int32_t n) {
  modRegTools::SetNumber(kSharedDllsKey, name, n, HKEY_LOCAL_MACHINE);
}

TEST(SharedFiles, AddStartsAtOneOrTwoAndCountsUp) {
  RegistryGuard guard;
  AddSharedFileReference("C:\\Windows\\System32\\kvnew.dll", false);
  EXPECT_EQ(Count("C:\\Windows\\System32\\kvnew.dll"), 1);
  AddSharedFileReference("C:\\Windows\\System32\\kvold.dll", true);
  EXPECT_EQ(Count("C:\\Windows\\System32\\kvold.dll"), 2);
  AddSharedFileReference("C:\\Windows\\System32\\kvold.dll", true);
  EXPECT_EQ(Count("C:\\Windows\\System32\\kvold.dll"), 3);

  SetCount("C:\\x\\five.dll", 5);
  AddSharedFileReference("C:\\x\\five.dll", false);
  EXPECT_EQ(Count("C:\\x\\five.dll"), 6);
  // Zero and negative counts are no counts.
  SetCount("C:\\x\\zero.dll", 0);
  AddSharedFileReference("C:\\x\\zero.dll", true);
  EXPECT_EQ(Count("C:\\x\\zero.dll"), 2);
  SetCount("C:\\x\\negative.dll", -4);
  AddSharedFileReference("C:\\x\\negative.dll", false);
  EXPECT_EQ(Count("C:\\x\\negative.dll"), 1);
  // A count stored as text reads as 0.
  modRegTools::SetString(kSharedDllsKey, "C:\\x\\text.dll", "7", HKEY_LOCAL_MACHINE);
  AddSharedFileReference("C:\\x\\text.dll", false);
  EXPECT_EQ(Count("C:\\x\\text.dll"), 1);
}

TEST(SharedFiles, ReleaseCountsDownAndRemovesTheLast) {
  RegistryGuard guard;
  SetCount("C:\\x\\five.dll", 5);
  EXPECT_FALSE(ReleaseSharedFileReference("C:\\x\\five.dll"));
  EXPECT_EQ(Count("C:\\x\\five.dll"), 4);

  SetCount("C:\\x\\one.dll", 1);
  EXPECT_TRUE(ReleaseSharedFileReference("C:\\x\\one.dll"));
  EXPECT_FALSE(ValueExists(HKEY_LOCAL_MACHINE, kSharedDllsKey, "C:\\x\\one.dll"));

  // Unknown or not really shared: keep the file, touch nothing.
  EXPECT_FALSE(ReleaseSharedFileReference("C:\\x\\unknown.dll"));
  EXPECT_FALSE(ValueExists(HKEY_LOCAL_MACHINE, kSharedDllsKey, "C:\\x\\unknown.dll"));
  SetCount("C:\\x\\zero.dll", 0);
  EXPECT_FALSE(ReleaseSharedFileReference("C:\\x\\zero.dll"));
  EXPECT_EQ(Count("C:\\x\\zero.dll"), 0);
  EXPECT_FALSE(ReleaseSharedFileReference(""));
}

TEST(SharedFiles, InstallThenUninstallTwice) {
  RegistryGuard guard;
  const std::string dll = "C:\\Programme\\Gemeinsam\\kvshared.dll";
  AddSharedFileReference(dll, false);
  AddSharedFileReference(dll, true);
  EXPECT_EQ(Count(dll), 2);
  EXPECT_FALSE(ReleaseSharedFileReference(dll));
  EXPECT_TRUE(ReleaseSharedFileReference(dll));
  EXPECT_EQ(Count(dll), -1);
}

TEST(SharedFiles, CountFoundOnlyUnderTheShortName) {
  RegistryGuard guard;
  test::ScratchFolder dir;
  const std::string longName = dir.WriteFile("Gemeinsame Bibliothek.dll", "x");
  const std::string shortName = GetShortPath(longName);
  ASSERT_FALSE(shortName.empty());
  ASSERT_NE(shortName, longName);

  SetCount(shortName, 3);
  EXPECT_FALSE(ReleaseSharedFileReference(longName));
  EXPECT_EQ(Count(longName), 2);   // written under the long name ...
  EXPECT_EQ(Count(shortName), 3);  // ... the short one stays as it was

  modRegTools::Delete(kSharedDllsKey, longName, HKEY_LOCAL_MACHINE);
  SetCount(shortName, 1);
  EXPECT_TRUE(ReleaseSharedFileReference(longName));
  EXPECT_EQ(Count(shortName), 1);
  EXPECT_FALSE(ValueExists(HKEY_LOCAL_MACHINE, kSharedDllsKey, longName));

  // The long name wins when both exist.
  SetCount(longName, 4);
  SetCount(shortName, 9);
  EXPECT_FALSE(ReleaseSharedFileReference(longName));
  EXPECT_EQ(Count(longName), 3);
  EXPECT_EQ(Count(shortName), 9);
}

}  // namespace
}  // namespace kv
