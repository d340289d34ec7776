#include "ClassEngine/Threader.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace {
thread_local bool tInSection = false;

// The persistent pool. One section runs at a time; workers take indices from a
// shared counter, and the calling thread takes them too once it has done index 0.
class ThreadPool {
 public:
  ~ThreadPool() {
    {
      std::lock_guard<std::mutex> g(lock_);
      quit_ = true;
    }
    wake_.notify_all();
    for (std::thread& t : workers_) t.join();
  }

  void Run(int count, const std::function<void(int)>& body) {
    std::lock_guard<std::mutex> section(sectionLock_);
    EnsureWorkers(count - 1);
    {
      std::lock_guard<std::mutex> g(lock_);
      body_ = &body;
      count_ = count;
      next_ = 1;
      pending_ = count - 1;
      generation_++;
    }
    wake_.notify_all();
    tInSection = true;
    body(0);
    for (int i; (i = TakeIndex()) >= 0;) Finish(i);
    tInSection = false;
    std::unique_lock<std::mutex> g(lock_);
    done_.wait(g, [&] { return pending_ == 0; });
    body_ = nullptr;
  }

 private:
  void EnsureWorkers(int wanted) {
    while ((int)workers_.size() < wanted) workers_.emplace_back([this] { WorkerLoop(); });
  }

  int TakeIndex() {
    std::lock_guard<std::mutex> g(lock_);
    return next_ < count_ ? next_++ : -1;
  }

  void Finish(int index) {
    (*body_)(index);
    std::lock_guard<std::mutex> g(lock_);
    if (--pending_ == 0) done_.notify_all();
  }

  void WorkerLoop() {
    tInSection = true;
    unsigned seen = 0;
    for (;;) {
      int index;
      {
        std::unique_lock<std::mutex> g(lock_);
        wake_.wait(g, [&] { return quit_ || (generation_ != seen && next_ < count_); });
        if (quit_) return;
        index = next_++;
        if (next_ >= count_) seen = generation_;
      }
      Finish(index);
    }
  }

  std::mutex sectionLock_;
  std::mutex lock_;
  std::condition_variable wake_, done_;
  std::vector<std::thread> workers_;
  const std::function<void(int)>* body_ = nullptr;
  int count_ = 0, next_ = 0, pending_ = 0;
  unsigned generation_ = 0;
  bool quit_ = false;
};

ThreadPool& Pool() {
  static ThreadPool pool;
  return pool;
}
}  // namespace

int UsingProcessors() {
  if (!ThreadOptions::UseMultiCore) return 1;
  int n = (int)std::max(1u, std::thread::hardware_concurrency());
  if (ThreadOptions::MaxProcessorsToBeUsed > 1) n = std::min(n, ThreadOptions::MaxProcessorsToBeUsed);
  return std::clamp(n, 1, kMaxThreads);
}

bool InParallelSection() { return tInSection; }

void RunSection(int count, const std::function<void(int)>& body) {
  count = std::min(count, kMaxThreads);
  if (count <= 0) return;
  if (count == 1 || tInSection) {
    bool was = tInSection;
    tInSection = true;
    for (int i = 0; i < count; i++) body(i);
    tInSection = was;
    return;
  }
  Pool().Run(count, body);
}

void Threader::Run() { Run(UsingProcessors()); }

void Threader::Run(int count) {
  count = std::clamp(count, 1, kMaxThreads);
  RunSection(count, [this, count](int index) { Process(index, count); });
}

void ParallelRange(int begin, int end, const std::function<void(int, int)>& body, int threads) {
  int n = end - begin;
  if (n <= 0) return;
  if (threads <= 0) threads = UsingProcessors();
  threads = std::clamp(std::min(threads, n), 1, kMaxThreads);
  RunSection(threads, [&](int index) {
    int first = begin + (int)((long long)n * index / threads);
    int last = begin + (int)((long long)n * (index + 1) / threads);
    if (first < last) body(first, last);
  });
}
