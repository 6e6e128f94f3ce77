// The keyed collection under every group and the package's file list.
#include "base/KeyedCollection.h"

#include <gtest/gtest.h>

#include <string>

#include "package/PackageTestSupport.h"
#include "base/StringTools.h"

namespace kv {
namespace {

using test::ErrorOf;

TEST(KeyedCollection, KeepsOrderAndLooksUpWithoutRegardToCase) {
  KeyedCollection<int> c;
  c.Add("Überschrift", 1);
  c.Add(2);
  c.Add("", 3);  // an empty key is a key like any other
  EXPECT_EQ(std::vector<int>(c.begin(), c.end()), (std::vector<int>{1, 2, 3}));
  EXPECT_FALSE(c.HasKeyAt(1));
  EXPECT_EQ(c.KeyAt(0), "Überschrift");
  EXPECT_EQ(*c.Find("üBERSCHRIFT"), 1);
  EXPECT_EQ(*c.Find(""), 3);
  EXPECT_EQ(c.Find("Uberschrift"), nullptr);
  EXPECT_TRUE(modTools::ItemExists(c, "ÜBERSCHRIFT"));
  EXPECT_FALSE(modTools::ItemExists(c, "missing"));
  EXPECT_EQ(ErrorOf([&] { c.Item("missing"); }), vberr::InvalidProcedureCall);
  EXPECT_EQ(ErrorOf([&] { c.Add("ÜBERSCHRIFT", 4); }), vberr::DuplicateKey);
  EXPECT_EQ(c.size(), 3u);
  EXPECT_EQ(*c.Find("überschrift"), 1);
}

// Past a handful of entries a hash index takes over: lookups, duplicates and
// removal must behave as before, also with few keys among many keyless entries.
TEST(KeyedCollection, LargeCollectionsBehaveLikeSmallOnes) {
  KeyedCollection<int> c;
  c.Add("vorn", -1);
  for (int i = 0; i < 5000; ++i) {
    if (i % 3 == 0) c.Add(-i);
    c.Add("Datei" + std::to_string(i) + ".DLL", i);
  }
  for (int i = 0; i < 3000; ++i) c.Add(i);
  for (int i = 0; i < 5000; ++i) {
    const int* v = c.Find("datei" + std::to_string(i) + ".dll");
    ASSERT_TRUE(v && *v == i) << i;
  }
  EXPECT_EQ(c.Find("mitte"), nullptr);
  EXPECT_EQ(ErrorOf([&] { c.Add("DATEI4999.dll", 0); }), vberr::DuplicateKey);
  EXPECT_TRUE(c.Remove("Datei10.dll"));
  EXPECT_FALSE(c.Remove("Datei10.dll"));
  EXPECT_EQ(*c.Find("datei11.dll"), 11);
  c.Add("datei10.dll", 77);  // free again after removal
  EXPECT_EQ(*c.Find("DATEI10.DLL"), 77);
  c.RemoveAt(0);
  EXPECT_EQ(c.Find("vorn"), nullptr);
  EXPECT_EQ(*c.Find("datei12.dll"), 12);  // positions shifted, index still right
  c.Clear();
  EXPECT_EQ(c.Find("datei12.dll"), nullptr);
  c.Add("datei12.dll", 3);
  EXPECT_EQ(*c.Find("DATEI12.DLL"), 3);
}

}  // namespace
}  // namespace kv
