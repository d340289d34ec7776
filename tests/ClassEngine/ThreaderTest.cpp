// The fork-join contract of parallel sections: every index runs exactly once,
// index 0 on the caller, results do not depend on the thread count, and nested
// sections do not deadlock.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "ClassEngine/Threader.h"

namespace {
struct CountingJob : Threader {
  std::vector<std::atomic<int>> hits;
  std::thread::id firstThread;
  explicit CountingJob(int n) : hits(n) {}
  void Process(int index, int count) override {
    ASSERT_EQ(count, (int)hits.size());
    hits[index]++;
    if (index == 0) firstThread = std::this_thread::get_id();
  }
};
}  // namespace

TEST(ThreaderTest, EveryIndexRunsOnceAndIndexZeroOnTheCaller) {
  for (int count : {1, 2, 3, 8, 32}) {
    CountingJob job(count);
    job.Run(count);
    for (int i = 0; i < count; i++) EXPECT_EQ(job.hits[i].load(), 1) << count << " " << i;
    EXPECT_EQ(job.firstThread, std::this_thread::get_id());
  }
}

TEST(ThreaderTest, ManySectionsInARowReuseThePool) {
  std::atomic<long long> sum{0};
  for (int round = 0; round < 2000; round++)
    RunSection(4, [&](int i) { sum += i + 1; });
  EXPECT_EQ(sum.load(), 2000LL * 10);
}

TEST(ThreaderTest, NestedSectionsRunOnTheCallingThread) {
  std::atomic<int> inner{0};
  RunSection(2, [&](int) {
    EXPECT_TRUE(InParallelSection());
    RunSection(3, [&](int) { inner++; });
  });
  EXPECT_EQ(inner.load(), 6);
  EXPECT_FALSE(InParallelSection());
}

TEST(ThreaderTest, ParallelRangeSplitsTheSameWayForAnyThreadCount) {
  auto fill = [](int threads) {
    std::vector<int> out(1001, -1);
    ParallelRange(0, (int)out.size(), [&](int a, int b) {
      for (int i = a; i < b; i++) out[i] = i * 7 % 13;
    }, threads);
    return out;
  };
  std::vector<int> one = fill(1);
  EXPECT_EQ(one, fill(2));
  EXPECT_EQ(one, fill(7));
  for (int v : one) EXPECT_GE(v, 0);
  int calls = 0;
  ParallelRange(5, 5, [&](int, int) { calls++; });
  EXPECT_EQ(calls, 0);
}

TEST(ThreaderTest, ThreadCountFollowsTheOptions) {
  bool multi = ThreadOptions::UseMultiCore;
  int cap = ThreadOptions::MaxProcessorsToBeUsed;
  ThreadOptions::UseMultiCore = false;
  EXPECT_EQ(UsingProcessors(), 1);
  ThreadOptions::UseMultiCore = true;
  ThreadOptions::MaxProcessorsToBeUsed = 1;  // 1 means no cap
  EXPECT_EQ(UsingProcessors(), std::min<int>(kMaxThreads, std::max(1u, std::thread::hardware_concurrency())));
  ThreadOptions::MaxProcessorsToBeUsed = 2;
  EXPECT_LE(UsingProcessors(), 2);
  ThreadOptions::UseMultiCore = multi;
  ThreadOptions::MaxProcessorsToBeUsed = cap;
}
