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

constexpr int32_t kMissing = -1, kText = -100;  // kText: stored as REG_SZ "7"

int32_t Count(const std::string& name) { return modRegTools::GetNumber(kSharedDllsKey, name, -1, HKEY_LOCAL_MACHINE); }
void SetCount(const std::string& name, int32_t n) {
  if (n == kText) modRegTools::SetString(kSharedDllsKey, name, "7", HKEY_LOCAL_MACHINE);
  else if (n != kMissing) modRegTools::SetNumber(kSharedDllsKey, name, n, HKEY_LOCAL_MACHINE);
}

TEST(SharedFiles, AddAndRelease) {
  test::RegistryGuard guard;
  // The stored count; after an install (file existed before?); release result and count after it.
  struct Row { int32_t before; bool existed; int32_t added; bool freed; int32_t released; };
  const Row rows[] = {{kMissing, false, 1, false, kMissing},  // unknown: kept, nothing written
                      {kMissing, true, 2, false, kMissing},  {5, false, 6, false, 4},
                      {1, false, 2, true, kMissing},          // the last user: value removed, file may go
                      {0, true, 2, false, 0}, {-4, false, 1, false, -4},  // zero and negative are no counts
                      {kText, false, 1, false, 0}};                       // text reads as 0
  for (size_t n = 0; n < std::size(rows); ++n) {
    const Row& r = rows[n];
    const std::string add = "C:\\x\\add" + std::to_string(n), rel = "C:\\x\\rel" + std::to_string(n);
    SetCount(add, r.before);
    SetCount(rel, r.before);
    AddSharedFileReference(add, r.existed);
    EXPECT_EQ(Count(add), r.added) << n;
    EXPECT_EQ(ReleaseSharedFileReference(rel), r.freed) << n;
    EXPECT_EQ(Count(rel), r.released) << n;
  }
  EXPECT_FALSE(ReleaseSharedFileReference(""));
}

}  // namespace
}  // namespace kv
