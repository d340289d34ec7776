// The string hash keeps entry indices across growth and reuses entries after
// a clear; the name table moves to the hash at its 16th name without changing
// indices; uni_hash keeps chain order, skip counts and its pool index rule.
#include <gtest/gtest.h>

#include <string>

#include "ClassEngine/Assert.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/NameTable.h"
#include "ClassEngine/khash.h"
#include "ClassEngine/unihash.h"

TEST(HashTest, IndicesStayValidAcrossGrowth) {
  Hash<Str_for_hash, 257, 256> h;
  std::vector<std::string> names;
  for (int i = 0; i < 1000; i++) names.push_back("name" + std::to_string(i));
  for (int i = 0; i < 1000; i++) EXPECT_EQ(h.add(Str_for_hash(names[i].c_str())), i);
  EXPECT_GE(h.capacity(), 1000);
  EXPECT_EQ(h.capacity(), 256 + 128 + 192 + 288 + 432);  // grows by half
  for (int i = 0; i < 1000; i++) {
    EXPECT_EQ(h.find(Str_for_hash(names[i].c_str())), i);
    EXPECT_STREQ(h.get(i).str, names[i].c_str());
  }
  EXPECT_EQ(h.add(Str_for_hash("name7")), 7);  // existing key
  EXPECT_EQ(h.find(Str_for_hash("missing")), -1);
}

TEST(HashTest, KeysAreCopiedAndOwned) {
  Hash<Str_for_hash, 257, 256> h;
  char text[] = "abc";
  int i = h.add(Str_for_hash(text));
  text[0] = 'x';
  EXPECT_STREQ(h.get(i).str, "abc");
  EXPECT_EQ(h.get(i).owned, 1);
  EXPECT_NE(h.get(i).str, text);
}

TEST(HashTest, BucketIsSignedByteSum) {
  // "ab" and "ba" share a bucket; a high byte counts negative.
  EXPECT_EQ(Str_for_hash("ab").hash(), Str_for_hash("ba").hash());
  EXPECT_EQ((int)Str_for_hash("\xFF").hash(), -1);
  Hash<Str_for_hash, 257, 256> h;
  EXPECT_EQ(h.add(Str_for_hash("ab")), 0);
  EXPECT_EQ(h.add(Str_for_hash("ba")), 1);
  EXPECT_EQ(h.find(Str_for_hash("ab")), 0);
  EXPECT_EQ(h.find(Str_for_hash("ba")), 1);
}

TEST(HashTest, ClearReusesEntriesFromIndexZero) {
  Hash<Str_for_hash, 257, 256> h;
  h.add(Str_for_hash("one"));
  h.add(Str_for_hash("two"));
  h.clear();
  EXPECT_EQ(h.size(), 0);
  EXPECT_EQ(h.find(Str_for_hash("one")), -1);
  EXPECT_EQ(h.add(Str_for_hash("two")), 0);
  EXPECT_EQ(h.add(Str_for_hash("three")), 1);
  EXPECT_EQ(h.find(Str_for_hash("two")), 0);
  EXPECT_STREQ(h.get(1).str, "three");
}

TEST(HashTest, IndexOutsideTheTableFailsTheAssertion) {
  ResetAssertionCount();
  Hash<Str_for_hash, 257, 256> h;
  h.add(Str_for_hash("a"));
  (void)h.get(1);
  EXPECT_EQ(AssertionCount(), 1);
  EXPECT_NE(LogText().find("idx >= 0 && idx < m_NEntries"), std::string::npos);
  ResetAssertionCount();
}

TEST(NameTableTest, SixteenthNameMovesAllToTheHashKeepingIndices) {
  NameTable t;
  for (int i = 0; i < 15; i++) EXPECT_EQ(t.Add(("n" + std::to_string(i)).c_str()), i);
  EXPECT_FALSE(t.UsesHash());
  EXPECT_EQ(t.Add("n3"), 3);  // a known name does not grow the list
  EXPECT_FALSE(t.UsesHash());
  EXPECT_EQ(t.Add("sixteenth"), 15);
  EXPECT_TRUE(t.UsesHash());
  for (int i = 0; i < 15; i++) {
    EXPECT_EQ(t.Find(("n" + std::to_string(i)).c_str()), i);
    EXPECT_STREQ(t.Get(i), ("n" + std::to_string(i)).c_str());
  }
  EXPECT_EQ(t.Find("sixteenth"), 15);
  EXPECT_EQ(t.Find("absent"), -1);
  EXPECT_EQ(t.Find(nullptr), -1);
  EXPECT_EQ(t.Get(16), nullptr);
  EXPECT_EQ(t.Get(-1), nullptr);
  EXPECT_EQ(t.Count(), 16);
}

TEST(UniHashTest, BucketFormula) {
  using H3 = uni_hash<3, int>;
  EXPECT_EQ(H3::bucket_of({1, 2, 3}, 1000), (1u + 2u * 123761u + 3u * 1971u) % 1000u);
  // Unsigned 32-bit arithmetic: negative parts wrap.
  EXPECT_EQ(H3::bucket_of({-1, 0, 0}, 7), 0xFFFFFFFFu % 7u);
  EXPECT_EQ((uni_hash<2, int>::bucket_of({5, 1}, 100)), (5u + 123761u) % 100u);
}

TEST(UniHashTest, SameKeyElementsInChainOrderWithSkips) {
  uni_hash<2, int> h(64, -7);
  h.add({1, 2}, 10);
  h.add({1, 2}, 20);
  ASSERT_NE(h.get({1, 2}, 0), nullptr);
  EXPECT_EQ(*h.get({1, 2}, 0), 10);
  EXPECT_EQ(*h.get({1, 2}, 1), 20);
  EXPECT_EQ(h.get({1, 2}, 2), nullptr);
  EXPECT_EQ(h.size(), 2);
  int* added = h.get({1, 2}, 2, true);
  ASSERT_NE(added, nullptr);
  EXPECT_EQ(*added, -7);  // the table's default value
  EXPECT_EQ(h.get({1, 2}, 2), added);
  EXPECT_EQ(h.size(), 3);
  EXPECT_EQ(h.get({2, 1}), nullptr);
}

TEST(UniHashTest, AddAppendsAndAddFirstPrepends) {
  uni_hash<1, int> h(1);  // one bucket: every key shares the chain
  h.add({5}, 1);
  h.add({6}, 2);
  h.add_first({5}, 0);
  std::vector<int> order;
  h.for_each([&](const int*, int v) { order.push_back(v); });
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(*h.get({5}, 0), 0);
  EXPECT_EQ(*h.get({5}, 1), 1);
  EXPECT_EQ(*h.get({6}, 0), 2);
}

TEST(UniHashTest, BlocksAndFreeListIndexRule) {
  using H = uni_hash<2, int>;
  static_assert(sizeof(H::element) <= 32);
  H h(16);
  for (int i = 0; i < H::kBlock + 1; i++) h.add({i, 0}, i);
  EXPECT_EQ(h.blocks(), 2);
  for (int i = 0; i < H::kBlock + 1; i++) EXPECT_EQ(h.at(i).index, i);
  // The rest of the second block waits on the free list with -1 - index.
  EXPECT_EQ(h.at(H::kBlock + 1).index, -1 - (H::kBlock + 1));
  h.reset();
  EXPECT_EQ(h.size(), 0);
  EXPECT_EQ(h.get({3, 0}), nullptr);
  for (int i = 0; i < H::kBlock + 1; i++) EXPECT_EQ(h.at(i).index, -1 - i);
  h.add({1, 1}, 4);
  EXPECT_EQ(h.blocks(), 2);  // reset keeps the blocks
  ASSERT_TRUE(h.del({1, 1}));
  EXPECT_FALSE(h.del({1, 1}));
  EXPECT_EQ(AssertionCount(), 0);
}

TEST(UniHashTest, BlockSizesFollowTheElementSize) {
  EXPECT_EQ((uni_hash<1, int>::kBlock), 200);
  EXPECT_EQ((uni_hash<3, int, 10>::kBlock), 10);
  using HD = uni_hash<3, double>;
  EXPECT_GE((int)sizeof(HD::element) * HD::kBlock, 1024);
}
