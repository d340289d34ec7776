// Memory of the triangles: the per-cell vertex and index lists (PodArray) and
// the render-group meshes come from a SurfacePool instead of the heap. The pool
// keeps what is freed for the next surfaces instead of handing it back to the
// system, and takes fresh memory in 4 MB chunks whose pages are populated
// 256 KB at a time (one call instead of a page fault per 4 KB page: the first
// extraction of a large volume spent a third of its time faulting pages in).
//
// Blocks come in power-of-two size classes from 32 bytes to 1 MB; a chunk
// serves one class at a time and goes back to a shared list of empty chunks,
// for any class, when its last block comes home. Larger requests get a mapping
// of their own. Every chunk is aligned to its size, so a block finds its chunk
// (and so its pool and class) by masking its address: blocks carry no header
// and may be freed on any thread, to the pool they came from.
//
// Threads: each class has its own lock, taken once per batch of blocks. A
// worker that allocates a lot binds a SurfaceCache (a per-thread stack of
// blocks per class, filled and emptied in batches) with SurfaceCacheScope; a
// volume owns a SurfaceArena with one cache per worker index. Unbound threads
// allocate from the process pool under the class lock.
#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

class SurfacePool {
 public:
  static constexpr size_t kChunkBytes = size_t(4) << 20;
  static constexpr int kMinClassShift = 5;  // 32 bytes
  static constexpr int kMaxClassShift = 20;  // 1 MB
  static constexpr int kClasses = kMaxClassShift - kMinClassShift + 1;
  static constexpr int kLarge = -1;  // class of a block with a mapping of its own
  static constexpr size_t kDefaultKeepBytes = size_t(256) << 20;

  // keepBytes bounds the empty chunks kept for reuse; beyond it they go back
  // to the system as they empty.
  explicit SurfacePool(size_t keepBytes = kDefaultKeepBytes);
  // Unmaps every chunk; no block of the pool may be in use any more.
  ~SurfacePool();
  SurfacePool(const SurfacePool&) = delete;
  SurfacePool& operator=(const SurfacePool&) = delete;

  // The pool of the process, for threads without a bound cache (never destroyed).
  static SurfacePool& Process();

  // Class of a request of `bytes` (at least 1), kLarge above the largest class.
  static int ClassOf(size_t bytes);
  static size_t ClassBytes(int cls) { return size_t(1) << (cls + kMinClassShift); }

  // A block of at least `bytes`, 16-byte aligned (blocks of 64 bytes and more
  // are aligned to 64), contents undefined.
  void* Allocate(size_t bytes);
  // Frees a block of any pool (the block's own pool takes it); null is ignored.
  static void Free(void* p);
  // Usable size of a block: its class size, or its mapping's room.
  static size_t BlockBytes(const void* p);
  // The pool a block came from.
  static SurfacePool* PoolOf(const void* p);

  // Batches of one class under one lock: TakeBatch fills out[0 .. n) and
  // GiveBatch takes back blocks of class `cls` of this pool.
  void TakeBatch(int cls, void** out, int n);
  void GiveBatch(int cls, void* const* blocks, int n);

  // Unmaps every empty chunk.
  void Trim();
  void SetKeepBytes(size_t keepBytes);
  size_t KeepBytes() const { return keepBytes_.load(std::memory_order_relaxed); }
  // Bytes mapped from the system (chunks and large blocks), of them the empty
  // chunks kept for reuse, and the blocks handed out (caches included).
  size_t MappedBytes() const { return mapped_.load(std::memory_order_relaxed); }
  size_t KeptBytes() const;
  int64_t LiveBlocks() const { return live_.load(std::memory_order_relaxed); }
  // Chunks mapped over the pool's life (each one a fresh, populated mapping).
  int64_t ChunksMapped() const { return chunksMapped_.load(std::memory_order_relaxed); }

 private:
  struct Chunk;
  struct ClassList {
    std::mutex Lock;
    Chunk* Open = nullptr;  // chunks of this class with a free block or room
  };
  static Chunk* ChunkOf(const void* p);
  void* AllocateLarge(size_t bytes);
  static void FreeLarge(Chunk* c);
  // Puts a new mapping at the head of the list of every mapping; Unmap takes
  // one out of that list and gives it back to the system. Both under
  // emptyLock_ (LinkMapped takes it, Unmap's caller holds it).
  void LinkMapped(Chunk* c);
  void Unmap(Chunk* c);
  // Gives empty chunks back until at most keepBytes are kept (lock held).
  void ReleaseEmptyAbove(size_t keepBytes);
  // A chunk for class `cls`: an empty kept one, or a fresh mapping.
  Chunk* NewChunk(int cls);
  // The chunk has no live block left: keep it or unmap it.
  void Retire(Chunk* c);
  static void Unlink(Chunk*& head, Chunk* c);
  static void Push(Chunk*& head, Chunk* c);
  // A fresh mapping of `bytes` (whole pages) aligned to kChunkBytes, populated
  // at once when asked.
  static char* MapAligned(size_t bytes, bool populate);

  ClassList classes_[kClasses];
  mutable std::mutex emptyLock_;  // the empty list, the mapping list and their counts
  Chunk* empty_ = nullptr;
  Chunk* all_ = nullptr;  // every mapping, for the destructor
  size_t emptyBytes_ = 0;
  std::atomic<size_t> keepBytes_;
  std::atomic<size_t> mapped_{0};
  std::atomic<int64_t> live_{0};
  std::atomic<int64_t> chunksMapped_{0};
};

// A per-thread stack of blocks per class over one pool. Not thread-safe: one
// thread at a time uses it (bound with SurfaceCacheScope).
class SurfaceCache {
 public:
  static constexpr int kBlocksPerClass = 64;
  static constexpr int kBatch = 32;
  explicit SurfaceCache(SurfacePool* pool = nullptr) : pool_(pool) {}
  ~SurfaceCache() { Flush(); }
  SurfaceCache(const SurfaceCache&) = delete;
  SurfaceCache& operator=(const SurfaceCache&) = delete;

  // Only while empty (after Flush).
  void SetPool(SurfacePool* pool) { pool_ = pool; }
  SurfacePool* Pool() const { return pool_; }
  void* Allocate(size_t bytes);
  // A block of this cache's pool stays in the cache; others go to their pool.
  void Free(void* p);
  // Gives every cached block back to the pool.
  void Flush();
  int Cached() const;

 private:
  SurfacePool* pool_;
  void* blocks_[SurfacePool::kClasses][kBlocksPerClass];
  int count_[SurfacePool::kClasses] = {};
};

// Binds a cache to the calling thread for the scope's life (the previous one,
// if any, is bound again after); null binds none.
class SurfaceCacheScope {
 public:
  explicit SurfaceCacheScope(SurfaceCache* cache);
  ~SurfaceCacheScope();
  SurfaceCacheScope(const SurfaceCacheScope&) = delete;
  SurfaceCacheScope& operator=(const SurfaceCacheScope&) = delete;

 private:
  SurfaceCache* previous_;
};

// What the surface arrays call: through the calling thread's bound cache, or
// the process pool when none is bound.
void* SurfaceAllocate(size_t bytes);
void SurfaceFree(void* p);

// A volume's share of a pool: one cache per worker index of a parallel section
// (index t binds Cache(t)). Destroying or flushing it gives the cached blocks
// back to the pool.
class SurfaceArena {
 public:
  static constexpr int kCaches = 32;
  explicit SurfaceArena(SurfacePool* pool = &SurfacePool::Process());
  SurfacePool* Pool() const { return pool_; }
  // Only while no cache is bound; flushes the caches first.
  void SetPool(SurfacePool* pool);
  SurfaceCache* Cache(int index);
  void Flush();

 private:
  SurfacePool* pool_;
  std::unique_ptr<SurfaceCache> caches_[kCaches];
};
