// The keyed collection under every group and the package's file list.
#include "package/KeyedCollection.h"

#include <gtest/gtest.h>

#include <string>

#include "package/StringTools.h"

namespace kv {
namespace {

int ErrorOf(auto&& action) {
  try {
    action();
  } catch (const VbError& e) {
    return e.Number();
  }
  return 0;
}

TEST(KeyedCollection, KeepsInsertionOrderWithAndWithoutKeys) {
  KeyedCollection<int> c;
  c.Add("b", 1);
  c.Add(2);
  c.Add("A", 3);
  c.Add(4);
  std::vector<int> seen(c.begin(), c.end());
  EXPECT_EQ(seen, (std::vector<int>{1, 2, 3, 4}));
  EXPECT_TRUE(c.HasKeyAt(0));
  EXPECT_FALSE(c.HasKeyAt(1));
  EXPECT_EQ(c.KeyAt(2), "A");
}

TEST(KeyedCollection, LooksUpWithoutRegardToCase) {
  KeyedCollection<int> c;
  c.Add("Überschrift", 1);
  c.Add("", 2);  // an empty key is a key like any other
  ASSERT_NE(c.Find("üBERSCHRIFT"), nullptr);
  EXPECT_EQ(*c.Find("üBERSCHRIFT"), 1);
  EXPECT_EQ(*c.Find(""), 2);
  EXPECT_EQ(c.Find("Uberschrift"), nullptr);
  EXPECT_TRUE(modTools::ItemExists(c, "ÜBERSCHRIFT"));
  EXPECT_FALSE(modTools::ItemExists(c, "missing"));
  EXPECT_EQ(ErrorOf([&] { c.Item("missing"); }), vberr::InvalidProcedureCall);
}

TEST(KeyedCollection, DuplicateKeyFailsAndChangesNothing) {
  KeyedCollection<int> c;
  c.Add("Files", 1);
  EXPECT_EQ(ErrorOf([&] { c.Add("FILES", 2); }), vberr::DuplicateKey);
  EXPECT_EQ(c.size(), 1u);
  EXPECT_EQ(*c.Find("files"), 1);
}

// Past a handful of entries the collection switches to a hash index; lookups,
// duplicates and removal must behave exactly as before the switch.
TEST(KeyedCollection, LargeCollectionsBehaveLikeSmallOnes) {
  KeyedCollection<int> c;
  for (int i = 0; i < 5000; ++i) {
    if (i % 3 == 0) c.Add(-i);
    c.Add("Datei" + std::to_string(i) + ".DLL", i);
  }
  for (int i = 0; i < 5000; ++i) {
    const int* v = c.Find("datei" + std::to_string(i) + ".dll");
    ASSERT_NE(v, nullptr) << i;
    EXPECT_EQ(*v, i);
  }
  EXPECT_EQ(ErrorOf([&] { c.Add("DATEI4999.dll", 0); }), vberr::DuplicateKey);
  EXPECT_TRUE(c.Remove("Datei10.dll"));
  EXPECT_FALSE(c.Remove("Datei10.dll"));
  EXPECT_EQ(c.Find("datei10.dll"), nullptr);
  EXPECT_EQ(*c.Find("datei11.dll"), 11);
  c.Add("datei10.dll", 77);  // free again after removal
  EXPECT_EQ(*c.Find("DATEI10.DLL"), 77);
  EXPECT_EQ(c[c.size() - 1], 77);
}

// Long runs of entries without key (the file list of a package) next to a few
// keyed ones: lookups must find the keys and nothing else.
TEST(KeyedCollection, FewKeysAmongManyKeylessEntries) {
  KeyedCollection<int> c;
  c.Add("vorn", -1);
  for (int i = 0; i < 3000; ++i) c.Add(i);
  c.Add("hinten", -2);
  EXPECT_EQ(*c.Find("VORN"), -1);
  EXPECT_EQ(*c.Find("Hinten"), -2);
  EXPECT_EQ(c.Find("mitte"), nullptr);
  EXPECT_EQ(ErrorOf([&] { c.Add("vorn", 0); }), vberr::DuplicateKey);
  c.RemoveAt(0);
  EXPECT_EQ(c.Find("vorn"), nullptr);
  EXPECT_EQ(*c.Find("hinten"), -2);
  c.Clear();
  EXPECT_EQ(c.Find("hinten"), nullptr);
  c.Add("hinten", 3);
  EXPECT_EQ(*c.Find("HINTEN"), 3);
}

}  // namespace
}  // namespace kv
