#include <gtest/gtest.h>

#include <thread>

#include "ClassEngine/Random.h"

TEST(RandomTest, FifteenBitSequenceRepeatsFromItsSeed) {
  Random a(1);
  // The classic 15-bit congruential sequence from seed 1.
  EXPECT_EQ(a.Next(), 41);
  EXPECT_EQ(a.Next(), 18467);
  EXPECT_EQ(a.Next(), 6334);
  Random b(12345), c(12345);
  int seen_max = 0;
  for (int i = 0; i < 100000; i++) {
    int x = b.Next();
    EXPECT_EQ(x, c.Next());
    ASSERT_GE(x, 0);
    ASSERT_LE(x, Random::kMax);
    seen_max = std::max(seen_max, x);
  }
  EXPECT_GT(seen_max, 32000);
}

TEST(RandomTest, EachThreadHasItsOwnGenerator) {
  ThreadRandom().Seed(7);
  int mainFirst = ThreadRandom().Next();
  int otherFirst = -1;
  std::thread t([&] {
    ThreadRandom().Seed(7);
    otherFirst = ThreadRandom().Next();
  });
  t.join();
  EXPECT_EQ(mainFirst, otherFirst);
  Random r(7);
  EXPECT_EQ(r.Next(), mainFirst);
}
