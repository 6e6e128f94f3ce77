// The text-and-number list: 1-based positions, storage in steps of ten.
#include "package/CStringLongStringStack.h"

#include <gtest/gtest.h>

#include "package/VbError.h"

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

TEST(StringLongStringStack, NewListHasOnlyPositionZero) {
  CStringLongStringStack list;
  EXPECT_EQ(list.Count(), 0);
  EXPECT_EQ(list.Capacity(), 0);
  EXPECT_EQ(list.ItemText(0), "");
  EXPECT_EQ(ErrorOf([&] { list.ItemText(1); }), vberr::SubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { list.SetItemIndex(-1, 5); }), vberr::SubscriptOutOfRange);
}

TEST(StringLongStringStack, AddItemStoresTheColumnsInNameOrder) {
  CStringLongStringStack list;
  EXPECT_EQ(list.AddItem("data", 42, "text", false), 1);
  EXPECT_EQ(list.Count(), 1);
  EXPECT_EQ(list.ItemData(1), "data");
  EXPECT_EQ(list.ItemIndex(1), 42);
  EXPECT_EQ(list.ItemText(1), "text");
  // Positions up to the capacity are open, also beyond Count.
  EXPECT_EQ(list.ItemText(10), "");
  list.SetItemText(10, "beyond");
  EXPECT_EQ(list.ItemText(10), "beyond");
  EXPECT_EQ(ErrorOf([&] { list.ItemText(11); }), vberr::SubscriptOutOfRange);
}

TEST(StringLongStringStack, CapacityFollowsCountInStepsOfTen) {
  CStringLongStringStack list;
  for (int i = 1; i <= 11; ++i) list.AddItem("", i, "t" + std::to_string(i), false);
  EXPECT_EQ(list.Capacity(), 20);
  list.SetCount(10);
  EXPECT_EQ(list.Capacity(), 10);
  EXPECT_EQ(list.ItemText(10), "t10");  // kept: below the new capacity
  list.SetCount(3);
  EXPECT_EQ(list.Capacity(), 10);
  EXPECT_EQ(list.ItemText(7), "t7");  // above Count but inside the capacity: kept
  list.SetCount(11);
  EXPECT_EQ(list.ItemText(11), "");  // dropped when the capacity went to 10
  list.SetCount(0);
  EXPECT_EQ(list.Capacity(), 0);
  EXPECT_EQ(ErrorOf([&] { list.ItemText(1); }), vberr::SubscriptOutOfRange);
}

TEST(StringLongStringStack, NegativeCountsRoundTowardsZero) {
  CStringLongStringStack list;
  list.SetCount(-5);  // capacity stays 0
  EXPECT_EQ(list.Count(), -5);
  EXPECT_EQ(list.Capacity(), 0);
  EXPECT_EQ(ErrorOf([&] { list.SetCount(-10); }), vberr::SubscriptOutOfRange);
  EXPECT_EQ(list.Count(), -5);  // unchanged after the failure
}

TEST(StringLongStringStack, NoDuplicatesComparesTextExactly) {
  CStringLongStringStack list;
  list.AddItem("", 0, "Datei.dll", true);
  EXPECT_EQ(list.AddItem("other", 1, "Datei.dll", true), 0);
  EXPECT_EQ(list.Count(), 1);
  EXPECT_EQ(list.AddItem("", 2, "DATEI.DLL", true), 2);
  EXPECT_EQ(list.AddItem("", 3, "Datei.dll", false), 3);  // the flag is off
}

TEST(StringLongStringStack, CountCannotOverflow) {
  CStringLongStringStack list;
  EXPECT_EQ(ErrorOf([&] { list.SetCount(INT32_MAX); }), vberr::Overflow);  // capacity beyond 32 bits
  EXPECT_EQ(list.Count(), 0);
}

}  // namespace
}  // namespace kv
