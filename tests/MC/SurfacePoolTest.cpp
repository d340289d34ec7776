// The surface pool hands out distinct, aligned blocks of every class, takes
// them back from any thread for reuse, keeps no more empty memory than its
// bound, and a volume built on it returns every block when it goes; the
// triangles built on reused (dirty) blocks are the bytes built on fresh ones,
// and a second volume of the same shape maps no new memory.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "MC/mcubes/SurfacePool.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"

namespace {
long MinorFaults() {
  rusage u;
  getrusage(RUSAGE_SELF, &u);
  return u.ru_minflt;
}

// Every cell's vertices and indices and every group's mesh, in key order, as bytes.
std::string SurfaceBytes(VolumeObject& v) {
  std::map<std::array<int, 3>, std::string> cells, groups;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!c->Surface) return;
    const CellSurface& s = *c->Surface;
    std::string b((const char*)s.Vertices.Data, sizeof(MCVertex) * s.Vertices.Count);
    b.append((const char*)s.Indices.Data, 2 * s.Indices.Count);
    cells[{k.x, k.y, k.z}] = b;
  });
  v.RenderGroups.ForEach([&](const CellKey& k, RenderGroup& g) {
    if (!g.Mesh) return;
    const GroupMesh& m = *g.Mesh;
    std::string b((const char*)m.Positions.data(), 4 * m.Positions.size());
    b.append((const char*)m.Normals.data(), 4 * m.Normals.size());
    b.append((const char*)m.Indices16.data(), 2 * m.Indices16.size());
    b.append((const char*)m.Indices32.data(), 4 * m.Indices32.size());
    groups[{k.x, k.y, k.z}] = b;
  });
  std::string out;
  for (auto& [k, b] : cells) out += std::to_string(k[0]) + "," + std::to_string(k[1]) + "," + std::to_string(k[2]) + b;
  out += "|groups|";
  for (auto& [k, b] : groups) out += std::to_string(k[0]) + "," + std::to_string(k[1]) + "," + std::to_string(k[2]) + b;
  return out;
}

void Extract(VolumeObject& v, SurfacePool& pool, float radius) {
  v.Surfaces.SetPool(&pool);
  FillVolume(v, SphereShape(0.f, 0.f, 0.f, radius));
  v.UpdateSurface();
}
}  // namespace

TEST(SurfacePool, BlocksOfEveryClassAreDistinctAlignedAndHoldTheirSize) {
  SurfacePool pool;
  std::vector<std::pair<char*, size_t>> blocks;
  for (int cls = 0; cls < SurfacePool::kClasses; ++cls) {
    const size_t bytes = SurfacePool::ClassBytes(cls);
    EXPECT_EQ(SurfacePool::ClassOf(bytes), cls);
    EXPECT_EQ(SurfacePool::ClassOf(bytes / 2 + 1), cls);
    for (int i = 0; i < 9; ++i) {
      char* b = (char*)pool.Allocate(bytes - i);
      ASSERT_NE(b, nullptr);
      EXPECT_EQ((uintptr_t)b % std::min<size_t>(bytes, 64), 0u) << "class " << cls;
      EXPECT_EQ(SurfacePool::BlockBytes(b), bytes);
      EXPECT_EQ(SurfacePool::PoolOf(b), &pool);
      std::memset(b, cls * 9 + i, bytes);
      blocks.push_back({b, bytes});
    }
  }
  // A large block gets a mapping of its own.
  const size_t large = SurfacePool::ClassBytes(SurfacePool::kClasses - 1) + 1;
  EXPECT_EQ(SurfacePool::ClassOf(large), SurfacePool::kLarge);
  char* big = (char*)pool.Allocate(large);
  EXPECT_GE(SurfacePool::BlockBytes(big), large);
  std::memset(big, 0x5A, large);
  EXPECT_EQ(pool.LiveBlocks(), (int64_t)blocks.size() + 1);

  // No two blocks overlap, and none was written over by another's fill.
  std::vector<std::pair<char*, size_t>> sorted = blocks;
  std::sort(sorted.begin(), sorted.end());
  for (size_t i = 1; i < sorted.size(); ++i) EXPECT_LE(sorted[i - 1].first + sorted[i - 1].second, sorted[i].first);
  for (size_t i = 0; i < blocks.size(); ++i) {
    const char want = (char)i;  // cls * 9 + i counts the blocks in order
    const auto [b, bytes] = blocks[i];
    EXPECT_TRUE(std::all_of(b, b + bytes, [&](char c) { return c == want; })) << "block " << i;
  }
  EXPECT_TRUE(std::all_of(big, big + large, [](char c) { return c == 0x5A; }));
  for (auto [b, bytes] : blocks) SurfacePool::Free(b);
  SurfacePool::Free(big);
  SurfacePool::Free(nullptr);
  EXPECT_EQ(pool.LiveBlocks(), 0);
}

TEST(SurfacePool, FreedBlocksAndEmptyChunksAreReused) {
  SurfacePool pool;
  std::set<void*> first;
  for (int i = 0; i < 1000; ++i) first.insert(pool.Allocate(100));
  const int64_t chunks = pool.ChunksMapped();
  for (void* b : first) SurfacePool::Free(b);
  std::set<void*> again;
  for (int i = 0; i < 1000; ++i) again.insert(pool.Allocate(128));
  EXPECT_EQ(again, first);
  EXPECT_EQ(pool.ChunksMapped(), chunks);
  for (void* b : again) SurfacePool::Free(b);
  // The emptied chunk serves another class without a new mapping.
  std::vector<void*> other;
  for (int i = 0; i < 100; ++i) other.push_back(pool.Allocate(4000));
  EXPECT_EQ(pool.ChunksMapped(), chunks);
  for (void* b : other) SurfacePool::Free(b);
  EXPECT_EQ(pool.LiveBlocks(), 0);
}

TEST(SurfacePool, BlocksFreedOnOneThreadAreReusedOnAnother) {
  SurfacePool pool;
  std::vector<void*> blocks;
  std::thread maker([&] {
    SurfaceCache cache(&pool);
    SurfaceCacheScope bind(&cache);
    for (int i = 0; i < 5000; ++i) blocks.push_back(SurfaceAllocate(32 << (i % 8)));
  });  // the cache flushes what it held as the thread ends
  maker.join();
  const int64_t chunks = pool.ChunksMapped();
  EXPECT_EQ(pool.LiveBlocks(), 5000);
  std::thread freer([&] {
    SurfaceCache cache(&pool);
    SurfaceCacheScope bind(&cache);
    for (void* b : blocks) SurfaceFree(b);
    EXPECT_GT(cache.Cached(), 0);
  });
  freer.join();
  EXPECT_EQ(pool.LiveBlocks(), 0);
  std::set<uintptr_t> chunksBefore;
  for (void* b : blocks) chunksBefore.insert((uintptr_t)b & ~(uintptr_t)(SurfacePool::kChunkBytes - 1));
  SurfaceCache cache(&pool);
  SurfaceCacheScope bind(&cache);
  std::vector<void*> reused;
  for (int i = 0; i < 5000; ++i) reused.push_back(SurfaceAllocate(32 << (i % 8)));
  EXPECT_EQ(pool.ChunksMapped(), chunks);
  // Emptied chunks may serve other classes now, but in the same memory.
  for (void* b : reused)
    EXPECT_TRUE(chunksBefore.count((uintptr_t)b & ~(uintptr_t)(SurfacePool::kChunkBytes - 1))) << b;
  for (void* b : reused) SurfaceFree(b);
  cache.Flush();
  EXPECT_EQ(pool.LiveBlocks(), 0);
}

TEST(SurfacePool, ThreadsAllocatingAndFreeingTogetherKeepBlocksApart) {
  SurfacePool pool;
  std::vector<std::thread> threads;
  std::vector<int> failures(4, 0);
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&, t] {
      SurfaceCache cache(&pool);
      SurfaceCacheScope bind(&cache);
      std::vector<std::pair<unsigned char*, size_t>> held;
      for (int round = 0; round < 20000; ++round) {
        const size_t bytes = 16 + (round * 37 + t * 11) % 3000;
        auto* b = (unsigned char*)SurfaceAllocate(bytes);
        std::memset(b, t * 50 + round % 50, bytes);
        held.push_back({b, bytes});
        if (held.size() > 300) {
          // Give back an old one after checking nobody wrote into it.
          const auto [old, n] = held[round % held.size()];
          const unsigned char want = old[0];
          for (size_t i = 0; i < n; ++i) failures[t] += old[i] != want;
          SurfaceFree(old);
          held[round % held.size()] = held.back();
          held.pop_back();
        }
      }
      for (auto [b, n] : held) SurfaceFree(b);
    });
  for (auto& t : threads) t.join();
  for (int t = 0; t < 4; ++t) EXPECT_EQ(failures[t], 0) << "thread " << t;
  EXPECT_EQ(pool.LiveBlocks(), 0);
}

TEST(SurfacePool, KeepsNoMoreEmptyMemoryThanItsBoundAndTrimsTheRest) {
  const size_t bound = 2 * SurfacePool::kChunkBytes;
  SurfacePool pool(bound);
  std::vector<void*> blocks;
  for (int i = 0; i < 12000; ++i) blocks.push_back(pool.Allocate(size_t(64) << (i % 8)));  // 24 MB
  EXPECT_GT(pool.MappedBytes(), 5 * bound);
  EXPECT_EQ(pool.KeptBytes(), 0u);
  for (void* b : blocks) SurfacePool::Free(b);
  EXPECT_EQ(pool.LiveBlocks(), 0);
  EXPECT_LE(pool.KeptBytes(), bound);
  EXPECT_EQ(pool.MappedBytes(), pool.KeptBytes());
  pool.SetKeepBytes(SurfacePool::kChunkBytes);
  EXPECT_LE(pool.KeptBytes(), SurfacePool::kChunkBytes);
  pool.Trim();
  EXPECT_EQ(pool.KeptBytes(), 0u);
  EXPECT_EQ(pool.MappedBytes(), 0u);
  // Still usable after handing everything back.
  void* b = pool.Allocate(1000);
  EXPECT_EQ(pool.MappedBytes(), SurfacePool::kChunkBytes);
  SurfacePool::Free(b);
}

TEST(SurfacePool, VolumeReturnsItsBlocksWhenDestroyed) {
  SurfacePool pool;
  {
    VolumeObject v;
    Extract(v, pool, 40.f);
    ASSERT_GT(v.RenderGroups.Count(), 0);
    int lists = 0;
    v.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
      if (c->Surface) lists += (c->Surface->Vertices.Data != nullptr) + (c->Surface->Indices.Data != nullptr);
    });
    EXPECT_GT(lists, 500);
    EXPECT_GE(pool.LiveBlocks(), lists + v.RenderGroups.Count());
    // Undo copies and their saved lists come from the pool too.
    v.SaveUndoCopy(0, 0, 5);
    v.RestoreUndoCopies();
  }
  EXPECT_EQ(pool.LiveBlocks(), 0);
  EXPECT_EQ(pool.MappedBytes(), pool.KeptBytes());
}

TEST(SurfacePool, TrianglesOnReusedBlocksAreTheBytesOfFreshOnesAndMapNothingNew) {
  std::string fresh;
  long firstFaults = 0;
  SurfacePool pool;
  {
    VolumeObject v;
    v.Surfaces.SetPool(&pool);
    FillVolume(v, SphereShape(0.f, 0.f, 0.f, 60.f));
    const long before = MinorFaults();
    v.UpdateSurface();
    firstFaults = MinorFaults() - before;
    fresh = SurfaceBytes(v);
  }
  ASSERT_GT(fresh.size(), 100000u);
  // Dirty every free block the next volume may get.
  {
    std::vector<void*> blocks;
    for (int cls = 0; cls < SurfacePool::kClasses; ++cls)
      for (size_t n = 0; n < (size_t(1) << 20) / SurfacePool::ClassBytes(cls); ++n) {
        void* b = pool.Allocate(SurfacePool::ClassBytes(cls));
        std::memset(b, 0xA5, SurfacePool::ClassBytes(cls));
        blocks.push_back(b);
      }
    for (void* b : blocks) SurfacePool::Free(b);
  }
  const int64_t chunks = pool.ChunksMapped();
  VolumeObject v;
  v.Surfaces.SetPool(&pool);
  FillVolume(v, SphereShape(0.f, 0.f, 0.f, 60.f));
  const long before = MinorFaults();
  v.UpdateSurface();
  const long secondFaults = MinorFaults() - before;
  EXPECT_EQ(SurfaceBytes(v), fresh);
  EXPECT_EQ(pool.ChunksMapped(), chunks);
  // What faults in the second time are the records and maps outside the pool.
  EXPECT_LT(secondFaults * 2, firstFaults) << "first " << firstFaults << ", second " << secondFaults;
  // The process pool gives the same bytes.
  VolumeObject p;
  FillVolume(p, SphereShape(0.f, 0.f, 0.f, 60.f));
  p.UpdateSurface();
  EXPECT_EQ(SurfaceBytes(p), fresh);
}
