// Parallel sections. A section is a fork-join job: `Process(index, count)` runs
// once for every index from 0 to count - 1, index 0 on the calling thread, the
// others on the workers of one persistent pool, and `Run` returns when all are
// done. Workers sleep on a condition variable between sections; nothing spins.
// A section started from inside another runs all its indices on the calling
// thread, so nesting never deadlocks.
#pragma once
#include <functional>

// The thread count of parallel sections: the processors, capped by
// MaxProcessorsToBeUsed when that is above 1, 1 when UseMultiCore is off, and
// never more than 32.
struct ThreadOptions {
  static inline bool UseMultiCore = true;
  static inline int MaxProcessorsToBeUsed = 0;
};
constexpr int kMaxThreads = 32;
int UsingProcessors();

class Threader {
 public:
  virtual ~Threader() = default;
  virtual void Process(int index, int count) = 0;
  void Run();             // count = UsingProcessors()
  void Run(int count);
};

// Runs body(index) for index 0 .. count - 1 as one section.
void RunSection(int count, const std::function<void(int index)>& body);

// Splits [begin, end) into one contiguous block per thread and runs
// body(first, last) on each block. The split depends only on the range and the
// thread count, so a body that writes disjoint ranges gives the same result
// with any number of threads.
void ParallelRange(int begin, int end, const std::function<void(int first, int last)>& body,
                   int threads = 0);

// True on a worker thread of the pool or inside a running section.
bool InParallelSection();
