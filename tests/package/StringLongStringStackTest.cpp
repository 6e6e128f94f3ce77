// The text-and-number list: 1-based positions, storage in steps of ten.
#include "package/CStringLongStringStack.h"

#include <gtest/gtest.h>

#include "package/PackageTestSupport.h"

namespace kv {
namespace {

using test::ErrorOf;

// Positions are 1-based and open up to the capacity, which follows the count
// in steps of ten; duplicates are refused only on request, by exact text.
TEST(StringLongStringStack, PositionsCapacityAndDuplicates) {
  CStringLongStringStack list;
  EXPECT_EQ(list.ItemText(0), "");
  EXPECT_EQ(ErrorOf([&] { list.ItemText(1); }), vberr::SubscriptOutOfRange);
  EXPECT_EQ(list.AddItem("data", 42, "text", false), 1);  // columns in name order
  EXPECT_EQ(list.ItemData(1) + "|" + std::to_string(list.ItemIndex(1)) + "|" + list.ItemText(1), "data|42|text");
  EXPECT_EQ(list.AddItem("other", 1, "text", true), 0);
  EXPECT_EQ(list.AddItem("", 2, "TEXT", true), 2);
  list.SetItemText(10, "beyond");  // above Count, inside the capacity
  EXPECT_EQ(list.ItemText(10), "beyond");
  EXPECT_EQ(ErrorOf([&] { list.ItemText(11); }), vberr::SubscriptOutOfRange);
  EXPECT_EQ(list.AddItem("", 3, "text", false), 3);
  for (int i = 4; i <= 11; ++i) list.AddItem("", i, "t" + std::to_string(i), false);
  EXPECT_EQ(list.Capacity(), 20);
  list.SetCount(3);
  EXPECT_EQ(list.Capacity() * 100 + list.Count(), 1003);
  EXPECT_EQ(list.ItemText(7), "t7");  // above Count but inside the capacity: kept
  list.SetCount(11);
  EXPECT_EQ(list.ItemText(11), "");  // dropped when the capacity went to 10
  list.SetCount(-5);  // rounds towards zero: capacity 0
  EXPECT_EQ(list.Capacity(), 0);
  EXPECT_EQ(ErrorOf([&] { list.SetCount(-10); }), vberr::SubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { list.SetCount(INT32_MAX); }), vberr::Overflow);  // capacity beyond 32 bits
  EXPECT_EQ(list.Count(), -5);  // unchanged after the failures
}

}  // namespace
}  // namespace kv
