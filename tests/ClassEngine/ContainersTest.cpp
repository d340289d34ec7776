// The growable arrays keep their growth rules, clip deletions to the array,
// and (cList) copy strings element by element.
#include <gtest/gtest.h>

#include <string>

#include "ClassEngine/Assert.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/cList.h"
#include "ClassEngine/cStr.h"
#include "ClassEngine/dynarray.h"
#include "ClassEngine/pool.h"

TEST(DynArrayTest, NeverAddedArrayHasNoStorageAndGrowsToNeededPlusFifteen) {
  DynArray<int> a;
  EXPECT_EQ(a.Values, nullptr);
  a.Del(0, 3);
  EXPECT_EQ(a.NValues, 0);
  EXPECT_EQ(a.Values, nullptr);
  EXPECT_EQ(a.Add(7), 0);
  EXPECT_EQ(a.MaxValues, 16);  // needed 1 + 15
}

TEST(DynArrayTest, GrowthKeepsOneSpareSlot) {
  DynArray<int> a;
  for (int i = 0; i < 15; i++) a.Add(i);
  EXPECT_EQ(a.MaxValues, 16);
  a.Add(15);  // 16 needed: capacity 16 is "full"
  EXPECT_EQ(a.MaxValues, 16 + 15 + 8);
  for (int i = 0; i < 16; i++) EXPECT_EQ(a[i], i);
  EXPECT_GT(a.MaxValues, a.NValues);
}

TEST(DynArrayTest, AddCountReturnsLastIndexAndReserveExactIsExact) {
  DynArray<int> a;
  EXPECT_EQ(a.Add(5, 3), 2);
  EXPECT_EQ(a.MaxValues, 3 + 15);
  a.ReserveExact(100);
  EXPECT_EQ(a.MaxValues, 100);
  EXPECT_EQ(a[0] + a[1] + a[2], 15);
}

TEST(DynArrayTest, DelClipsNegativeFirstAndRangePastTheEnd) {
  DynArray<int> a;
  for (int i = 0; i < 10; i++) a.Add(i);
  a.Del(-2, 5);  // removes the first 3
  ASSERT_EQ(a.NValues, 7);
  EXPECT_EQ(a[0], 3);
  a.Del(5, 100);
  ASSERT_EQ(a.NValues, 5);
  EXPECT_EQ(a[4], 7);
  a.Del(2, 0);
  a.Del(-5, 3);
  EXPECT_EQ(a.NValues, 5);
}

TEST(DynArrayTest, InsertShiftsTailAndAddOfOwnElementIsSafe) {
  DynArray<int> a;
  for (int i = 0; i < 16; i++) a.Add(i);
  a.Insert(99, 1);
  EXPECT_EQ(a[1], 99);
  EXPECT_EQ(a[2], 1);
  EXPECT_EQ(a.NValues, 17);
  DynArray<int> b;
  for (int i = 0; i < 15; i++) b.Add(i + 1);
  b.Add(b[0]);  // grows while reading its own element
  EXPECT_EQ(b[15], 1);
}

TEST(DynArrayTest, LastOfEmptyArrayFailsTheAssertion) {
  ResetAssertionCount();
  size_t before = LogMark();
  DynArray<int> a;
  EXPECT_EQ(a.GetLast(), 0);  // never added: no storage to read
  a.Add(1);
  a.Del(0, 1);
  (void)a.GetLast();
  EXPECT_EQ(AssertionCount(), 2);
  a.Add(4);
  EXPECT_EQ(a.GetLast(), 4);
  EXPECT_EQ(AssertionCount(), 2);
  EXPECT_NE(LogTextSince(before).find("NValues!=0"), std::string::npos);
  ResetAssertionCount();
}

TEST(DynArrayTest, ClearFreesAndZeroes) {
  DynArray<int*> a;
  int x = 0;
  a.Add(&x);
  a.Clear();
  EXPECT_EQ(a.Values, nullptr);
  EXPECT_EQ(a.MaxValues, 0);
}

TEST(cListTest, GrowthRuleAndCopiesKeepStrings) {
  comms::cList<comms::cStr> list;
  EXPECT_EQ(list.Add(comms::cStr("a long string that is not inline at all")), 0);
  EXPECT_EQ(list.Capacity, 1 + 32);
  EXPECT_EQ(list.Add(comms::cStr("short"), 3), 3);
  comms::cList<comms::cStr> copy = list;
  list[0] = "changed";
  EXPECT_EQ(copy[0], "a long string that is not inline at all");
  EXPECT_EQ(copy[3], "short");
  EXPECT_NE(copy[0].Data, list[0].Data);
  for (int i = 0; i < 40; i++) copy.Add(comms::cStr("x"));
  EXPECT_EQ(copy[0], "a long string that is not inline at all");  // survived growth
}

TEST(cListTest, InsertAndResize) {
  comms::cList<int> list;
  for (int i = 0; i < 5; i++) list.Add(i);
  list.Insert(2, 9, 2);
  ASSERT_EQ(list.Count, 7);
  EXPECT_EQ(list[1], 1);
  EXPECT_EQ(list[2], 9);
  EXPECT_EQ(list[3], 9);
  EXPECT_EQ(list[4], 2);
  list.Resize(3);
  EXPECT_EQ(list.Count, 3);
  EXPECT_NE(list.Data, nullptr);
  list.Resize(0);
  EXPECT_EQ(list.Data, nullptr);
  EXPECT_EQ(list.Capacity, 0);
}

TEST(BoundedSetTest, ReadingPastTheSizeFailsTheAssertion) {
  ResetAssertionCount();
  BoundedSet<int> s(2);
  EXPECT_EQ(s.add(4), 0);
  EXPECT_EQ(s.add(5), 1);
  EXPECT_EQ(s.add(6), -1);
  s.remove(0);
  EXPECT_EQ(s[0], 5);
  (void)s[1];
  EXPECT_EQ(AssertionCount(), 1);
  EXPECT_NE(LogText().find("pos>=0&&pos<set_size"), std::string::npos);
  ResetAssertionCount();
}
