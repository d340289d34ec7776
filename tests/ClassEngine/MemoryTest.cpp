// The allocator counts live blocks, keeps an emergency reserve and reports
// running out of memory once; the pools stamp their blocks and keep a block
// in place when a reallocation stays in its size class.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>
#include <vector>

#include "ClassEngine/BlockPool.h"
#include "ClassEngine/ExMalloc.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/SaveWorkOffer.h"
#include "ClassEngine/SystemDialog.h"
#include "ClassEngine/TextLookup.h"

namespace {
uint32_t FirstWord(void* p) {
  uint32_t w;
  memcpy(&w, p, 4);
  return w;
}

std::atomic<bool> gFailAll{false};
void* FailingAlloc(size_t n) { return gFailAll ? nullptr : malloc(n); }
std::atomic<int> gReserveFrees{0};
void CountingFree(void* p) {
  if (p) gReserveFrees++;
  free(p);
}
}  // namespace

TEST(ExMallocTest, LiveCountFollowsBlocksAndNullFreeLeavesIt) {
  int before = cExLiveBlocks();
  void* a = cExMalloc(10);
  void* b = cExMalloc(0);
  ASSERT_NE(a, nullptr);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(cExLiveBlocks(), before + 2);
  cExFree(nullptr);
  EXPECT_EQ(cExLiveBlocks(), before + 2);
  cExFree(a);
  cExFree(b);
  EXPECT_EQ(cExLiveBlocks(), before);
  EXPECT_TRUE(EmergencyReserveHeld());
}

// A component loaded at run time finds the allocator by its plain names.
TEST(ExMallocTest, AllocatorIsExportedUnderItsPlainNames) {
  using Malloc = void* (*)(int);
  using Free = void (*)(void*);
  auto m = reinterpret_cast<Malloc>(dlsym(RTLD_DEFAULT, "cExMalloc"));
  auto f = reinterpret_cast<Free>(dlsym(RTLD_DEFAULT, "cExFree"));
  ASSERT_NE(m, nullptr) << dlerror();
  ASSERT_NE(f, nullptr) << dlerror();
  EXPECT_EQ(m, &cExMalloc);
  int before = cExLiveBlocks();
  void* p = m(24);
  EXPECT_EQ(cExLiveBlocks(), before + 1);
  f(p);
  EXPECT_EQ(cExLiveBlocks(), before);
}

TEST(ExMallocTest, OutOfMemoryPathRunsOnceThenFailsSilently) {
  ResetOutOfMemoryReport();
  SetSystemAllocator(&FailingAlloc, &CountingFree);
  cExFree(cExMalloc(4));  // takes the reserve through the installed heap
  ASSERT_TRUE(EmergencyReserveHeld());

  std::vector<SystemDialog> boxes;
  auto oldHandler = SetSystemDialogHandler([&](const SystemDialog& d) {
    boxes.push_back(d);
    return 0;
  });
  auto oldLookup = SetTextLookup([](const char* key) -> const char* {
    if (strcmp(key, "OUT_OFMEM") == 0) return "Not enough memory";
    return nullptr;  // FATAL_ERROR misses
  });
  int offers = 0;
  ResetSaveWorkOffer();
  SetSaveWorkOffer([&] { offers++; });
  size_t logStart = LogMark();
  int live = cExLiveBlocks();
  gReserveFrees = 0;

  gFailAll = true;
  EXPECT_EQ(cExMalloc(1234), nullptr);
  EXPECT_FALSE(EmergencyReserveHeld());
  EXPECT_EQ(gReserveFrees, 1);
  std::string logged = LogTextSince(logStart);
  size_t oom = logged.find("Out of memory, requested 1234 bytes");
  size_t stack = logged.find("Call stack info:");
  ASSERT_NE(oom, std::string::npos);
  ASSERT_NE(stack, std::string::npos);
  EXPECT_LT(oom, stack);
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].kind, SystemDialog::Kind::Stop);
  EXPECT_EQ(boxes[0].text, "Not enough memory");
  EXPECT_EQ(boxes[0].title, "Fatal error");  // the key's English words on a miss
  EXPECT_EQ(offers, 1);

  size_t secondStart = LogMark();
  EXPECT_EQ(cExMalloc(99), nullptr);
  EXPECT_EQ(boxes.size(), 1u);
  EXPECT_EQ(offers, 1);
  EXPECT_EQ(LogTextSince(secondStart).find("Out of memory"), std::string::npos);
  EXPECT_EQ(cExLiveBlocks(), live);

  gFailAll = false;
  SetSystemAllocator(nullptr, nullptr);
  SetSystemDialogHandler(oldHandler);
  SetTextLookup(oldLookup);
  SetSaveWorkOffer(nullptr);
  ResetSaveWorkOffer();
  ResetOutOfMemoryReport();
  void* p = cExMalloc(8);
  EXPECT_NE(p, nullptr);
  cExFree(p);
}

TEST(ExMallocTest, LeakReportGroupsEqualStacks) {
  SetLeakTracking(true);
  void* blocks[3];
  for (void*& b : blocks) b = cExMalloc(2048);  // one call site: one group
  void* other = cExMalloc(100);
  cExFree(other);
  std::string path = ::testing::TempDir() + "leaks.txt";
  ASSERT_TRUE(WriteLeakReport(path.c_str()));
  SetLeakTracking(false);
  for (void* b : blocks) cExFree(b);
  std::ifstream in(path);
  std::stringstream s;
  s << in.rdbuf();
  std::string text = s.str();
  EXPECT_NE(text.find("##0000-----------\n3 leaks, 6144 bytes, consists of:"), std::string::npos)
      << text;
  EXPECT_NE(text.find("\nLeaks: 3, 6 k\n"), std::string::npos) << text;
  std::remove(path.c_str());
}

TEST(BlockPoolTest, SmallestFittingPoolAndBigRequestsToTheHeap) {
  EXPECT_EQ(BlockPoolSet::PoolIndex(0), -1);
  EXPECT_EQ(BlockPoolSet::PoolIndex(1), 0);
  EXPECT_EQ(BlockPoolSet::PoolIndex(8), 0);
  EXPECT_EQ(BlockPoolSet::PoolIndex(9), 1);
  EXPECT_EQ(BlockPoolSet::PoolIndex(128), 4);
  EXPECT_EQ(BlockPoolSet::PoolIndex(129), -1);
  BlockPoolSet set;
  EXPECT_EQ(set.Allocate(0), nullptr);
  int live = cExLiveBlocks();
  void* big = set.Allocate(200);
  EXPECT_EQ(cExLiveBlocks(), live + 1);
  set.Free(big, 200);
  EXPECT_EQ(cExLiveBlocks(), live);
}

TEST(BlockPoolTest, BlocksCarryFoodAndBaadTags) {
  EXPECT_EQ(kBlockTagInUse, ((uint32_t)'F' << 24) | ('O' << 16) | ('O' << 8) | 'D');
  EXPECT_EQ(kBlockTagFree, ((uint32_t)'B' << 24) | ('A' << 16) | ('A' << 8) | 'D');
  BlockPoolSet set;
  void* p = set.Allocate(24);
  EXPECT_EQ(FirstWord(p), kBlockTagInUse);
  EXPECT_EQ(set.Pool(2).Chunks(), 1);
  EXPECT_EQ(set.Pool(2).FreeBlocks(), 511);
  set.Free(p, 24);
  EXPECT_EQ(FirstWord(p), kBlockTagFree);  // the chunk stays until the set dies
  EXPECT_EQ(set.Allocate(32), p);          // the freed block is served again
}

TEST(BlockPoolTest, ChunksOf512Blocks) {
  BlockPoolSet set;
  std::vector<void*> blocks;
  for (int i = 0; i < 513; i++) blocks.push_back(set.Allocate(8));
  EXPECT_EQ(set.Pool(0).Chunks(), 2);
  EXPECT_EQ((char*)blocks[1] - (char*)blocks[0], 8);
  for (void* b : blocks) set.Free(b, 8);
  EXPECT_EQ(set.Pool(0).FreeBlocks(), 1024);
}

TEST(BlockPoolTest, ReallocateKeepsThePointerInsideOnePool) {
  BlockPoolSet set;
  char* p = (char*)set.Allocate(20);
  strcpy(p + 4, "hello");
  EXPECT_EQ(set.Reallocate(p, 20, 30), p);
  char* q = (char*)set.Reallocate(p, 30, 100);
  EXPECT_NE(q, p);
  EXPECT_STREQ(q + 4, "hello");
  EXPECT_EQ(FirstWord(p), kBlockTagFree);
  char* r = (char*)set.Reallocate(q, 100, 300);
  EXPECT_STREQ(r + 4, "hello");
  EXPECT_EQ(set.Reallocate(r, 300, 400) == r, false);  // the heap: always a new block
}

TEST(BlockPoolTest, CommsPoolServesThreadsUnderItsLock) {
  comms::LockedBlockPoolSet& pool = comms::GetCommsPool();
  std::vector<std::thread> threads;
  std::atomic<int> bad{0};
  for (int t = 0; t < 4; t++)
    threads.emplace_back([&] {
      for (int i = 0; i < 2000; i++) {
        void* p = pool.Allocate(16);
        if (FirstWord(p) != kBlockTagInUse) bad++;
        pool.Free(p, 16);
      }
    });
  for (auto& t : threads) t.join();
  EXPECT_EQ(bad, 0);
}
