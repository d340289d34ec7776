// Size-classed blocks for the surface arrays, carved from 4 MB chunks
// that are kept for reuse (see SurfacePool.h).
#include "MC/mcubes/SurfacePool.h"

#include <sys/mman.h>

#include <algorithm>
#include <cassert>
#include <new>

#include "ClassEngine/Threader.h"

#ifndef MADV_POPULATE_WRITE
#define MADV_POPULATE_WRITE 23
#endif

static_assert(SurfaceArena::kCaches >= kMaxThreads, "one cache per worker index");

// The head of every mapping, at its chunk-aligned start; blocks follow it.
struct SurfacePool::Chunk {
  static constexpr uint32_t kMagic = 0x53524643;  // "SRFC"
  uint32_t Magic;
  int32_t Class;
  SurfacePool* Pool;
  size_t Bytes;    // of the mapping
  void* Free;      // freed blocks, linked through their first word
  char* Room;      // first byte never handed out
  char* End;
  char* Ready;     // pages below are populated
  int64_t Used;    // blocks handed out
  bool Open;       // in its class's open list
  Chunk* Prev;     // in the open list or the empty list
  Chunk* Next;
  Chunk* AllPrev;  // every mapping of the pool
  Chunk* AllNext;
};

namespace {
constexpr size_t kHeader = 128;  // keeps the blocks 64-byte aligned
// A chunk's pages are populated this much at a time as blocks are carved, so a
// class that hands out a few blocks does not populate a whole chunk.
constexpr size_t kPopulateStep = size_t(256) << 10;
constexpr size_t kPage = 4096;

// All pages in one call. Where the kernel cannot, they fault in on use.
void Populate(char* from, char* to) {
  if (to > from) madvise(from, to - from, MADV_POPULATE_WRITE);
}
static_assert(kHeader % 64 == 0);

thread_local SurfaceCache* tBound = nullptr;

// Blocks a cache moves in one batch: fewer of the large classes, so a cache
// never sits on more than about 64 KB of one class.
int BatchOf(int cls) {
  const size_t bytes = SurfacePool::ClassBytes(cls);
  return (int)std::clamp<size_t>((size_t(64) << 10) / bytes, 1, SurfaceCache::kBatch);
}
}  // namespace

SurfacePool::SurfacePool(size_t keepBytes) : keepBytes_(keepBytes) {}

SurfacePool::~SurfacePool() {
  std::lock_guard<std::mutex> guard(emptyLock_);
  while (all_) {
    Chunk* c = all_;
    all_ = c->AllNext;
    munmap(c, c->Bytes);
  }
}

SurfacePool& SurfacePool::Process() {
  // Keeps what one large volume frees (a sphere of radius 400 voxels holds
  // about 330 MB of lists and meshes) for the next one; Trim hands it back.
  constexpr size_t kProcessKeepBytes = size_t(512) << 20;
  static SurfacePool* pool = new SurfacePool(kProcessKeepBytes);  // outlives every volume and mesh
  return *pool;
}

int SurfacePool::ClassOf(size_t bytes) {
  if (bytes <= ClassBytes(0)) return 0;
  if (bytes > ClassBytes(kClasses - 1)) return kLarge;
  const int shift = 64 - __builtin_clzll((unsigned long long)(bytes - 1));
  return shift - kMinClassShift;
}

SurfacePool::Chunk* SurfacePool::ChunkOf(const void* p) {
  Chunk* c = (Chunk*)((uintptr_t)p & ~(uintptr_t)(kChunkBytes - 1));
  assert(c->Magic == Chunk::kMagic);
  return c;
}

SurfacePool* SurfacePool::PoolOf(const void* p) { return ChunkOf(p)->Pool; }

size_t SurfacePool::BlockBytes(const void* p) {
  const Chunk* c = ChunkOf(p);
  return c->Class == kLarge ? c->Bytes - kHeader : ClassBytes(c->Class);
}

char* SurfacePool::MapAligned(size_t bytes, bool populate) {
  // Map a chunk more and cut the mapping down to the aligned part.
  const size_t span = bytes + kChunkBytes;
  char* raw = (char*)mmap(nullptr, span, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (raw == MAP_FAILED) throw std::bad_alloc();
  char* start = (char*)(((uintptr_t)raw + kChunkBytes - 1) & ~(uintptr_t)(kChunkBytes - 1));
  if (start > raw) munmap(raw, start - raw);
  if (raw + span > start + bytes) munmap(start + bytes, raw + span - (start + bytes));
  if (populate) Populate(start, start + bytes);
  return start;
}

void SurfacePool::Unlink(Chunk*& head, Chunk* c) {
  if (c->Prev) c->Prev->Next = c->Next;
  else head = c->Next;
  if (c->Next) c->Next->Prev = c->Prev;
  c->Prev = c->Next = nullptr;
}

void SurfacePool::Push(Chunk*& head, Chunk* c) {
  c->Prev = nullptr;
  c->Next = head;
  if (head) head->Prev = c;
  head = c;
}

SurfacePool::Chunk* SurfacePool::NewChunk(int cls) {
  static_assert(sizeof(Chunk) <= kHeader);
  Chunk* c = nullptr;
  {
    std::lock_guard<std::mutex> guard(emptyLock_);
    if (empty_) {
      c = empty_;
      Unlink(empty_, c);
      emptyBytes_ -= c->Bytes;
    }
  }
  if (!c) {
    c = (Chunk*)MapAligned(kChunkBytes, false);
    c->Ready = (char*)c + kPopulateStep;
    Populate((char*)c, c->Ready);
    c->Magic = Chunk::kMagic;
    c->Pool = this;
    c->Bytes = kChunkBytes;
    c->Prev = c->Next = nullptr;
    mapped_ += kChunkBytes;
    ++chunksMapped_;
    LinkMapped(c);
  }
  c->Class = cls;
  c->Free = nullptr;
  c->Room = (char*)c + kHeader;
  c->End = (char*)c + c->Bytes;
  c->Used = 0;
  c->Open = false;
  return c;
}

void SurfacePool::Retire(Chunk* c) {
  std::lock_guard<std::mutex> guard(emptyLock_);
  if (emptyBytes_ + c->Bytes <= keepBytes_.load(std::memory_order_relaxed)) {
    Push(empty_, c);
    emptyBytes_ += c->Bytes;
    return;
  }
  Unmap(c);
}

void SurfacePool::TakeBatch(int cls, void** out, int n) {
  assert(cls >= 0 && cls < kClasses);
  const size_t size = ClassBytes(cls);
  ClassList& list = classes_[cls];
  std::lock_guard<std::mutex> guard(list.Lock);
  for (int i = 0; i < n; ++i) {
    Chunk* c = list.Open;
    if (!c) {
      c = NewChunk(cls);
      Push(list.Open, c);
      c->Open = true;
    }
    void* b;
    if (c->Free) {
      b = c->Free;
      c->Free = *(void**)b;
    } else {
      b = c->Room;
      c->Room += size;
      if (c->Room > c->Ready) {
        char* ready = (char*)c + ((c->Room - (char*)c + kPopulateStep - 1) & ~(kPopulateStep - 1));
        Populate(c->Ready, ready);
        c->Ready = ready;
      }
    }
    ++c->Used;
    if (!c->Free && c->Room + size > c->End) {
      Unlink(list.Open, c);
      c->Open = false;
    }
    out[i] = b;
  }
  live_ += n;
}

void SurfacePool::GiveBatch(int cls, void* const* blocks, int n) {
  ClassList& list = classes_[cls];
  std::lock_guard<std::mutex> guard(list.Lock);
  for (int i = 0; i < n; ++i) {
    Chunk* c = ChunkOf(blocks[i]);
    assert(c->Pool == this && c->Class == cls && c->Used > 0);
    *(void**)blocks[i] = c->Free;
    c->Free = blocks[i];
    if (!c->Open) {
      Push(list.Open, c);
      c->Open = true;
    }
    if (--c->Used == 0) {
      Unlink(list.Open, c);
      c->Open = false;
      Retire(c);
    }
  }
  live_ -= n;
}

void* SurfacePool::AllocateLarge(size_t bytes) {
  const size_t total = (bytes + kHeader + kPage - 1) & ~(kPage - 1);
  Chunk* c = (Chunk*)MapAligned(total, true);
  c->Magic = Chunk::kMagic;
  c->Class = kLarge;
  c->Pool = this;
  c->Bytes = total;
  c->Free = nullptr;
  c->Room = c->End = c->Ready = (char*)c + total;
  c->Used = 1;
  c->Open = false;
  c->Prev = c->Next = nullptr;
  mapped_ += total;
  ++live_;
  LinkMapped(c);
  return (char*)c + kHeader;
}

void SurfacePool::LinkMapped(Chunk* c) {
  std::lock_guard<std::mutex> guard(emptyLock_);
  c->AllPrev = nullptr;
  c->AllNext = all_;
  if (all_) all_->AllPrev = c;
  all_ = c;
}

void SurfacePool::FreeLarge(Chunk* c) {
  SurfacePool* pool = c->Pool;
  std::lock_guard<std::mutex> guard(pool->emptyLock_);
  --pool->live_;
  pool->Unmap(c);
}

void* SurfacePool::Allocate(size_t bytes) {
  const int cls = ClassOf(std::max<size_t>(bytes, 1));
  if (cls == kLarge) return AllocateLarge(bytes);
  void* b;
  TakeBatch(cls, &b, 1);
  return b;
}

void SurfacePool::Free(void* p) {
  if (!p) return;
  Chunk* c = ChunkOf(p);
  if (c->Class == kLarge) FreeLarge(c);
  else c->Pool->GiveBatch(c->Class, &p, 1);
}

void SurfacePool::Unmap(Chunk* c) {
  if (c->AllPrev) c->AllPrev->AllNext = c->AllNext;
  else all_ = c->AllNext;
  if (c->AllNext) c->AllNext->AllPrev = c->AllPrev;
  mapped_ -= c->Bytes;
  munmap(c, c->Bytes);
}

void SurfacePool::ReleaseEmptyAbove(size_t keepBytes) {
  while (empty_ && emptyBytes_ > keepBytes) {
    Chunk* c = empty_;
    Unlink(empty_, c);
    emptyBytes_ -= c->Bytes;
    Unmap(c);
  }
}

void SurfacePool::Trim() {
  std::lock_guard<std::mutex> guard(emptyLock_);
  ReleaseEmptyAbove(0);
}

void SurfacePool::SetKeepBytes(size_t keepBytes) {
  keepBytes_ = keepBytes;
  std::lock_guard<std::mutex> guard(emptyLock_);
  ReleaseEmptyAbove(keepBytes);
}

size_t SurfacePool::KeptBytes() const {
  std::lock_guard<std::mutex> guard(emptyLock_);
  return emptyBytes_;
}

// --- SurfaceCache ---

void* SurfaceCache::Allocate(size_t bytes) {
  const int cls = SurfacePool::ClassOf(std::max<size_t>(bytes, 1));
  if (cls == SurfacePool::kLarge) return pool_->Allocate(bytes);
  if (count_[cls] == 0) {
    const int batch = BatchOf(cls);
    pool_->TakeBatch(cls, blocks_[cls], batch);
    count_[cls] = batch;
  }
  return blocks_[cls][--count_[cls]];
}

void SurfaceCache::Free(void* p) {
  if (!p) return;
  if (SurfacePool::PoolOf(p) != pool_) return SurfacePool::Free(p);
  const size_t bytes = SurfacePool::BlockBytes(p);
  const int cls = SurfacePool::ClassOf(bytes);
  if (cls == SurfacePool::kLarge || SurfacePool::ClassBytes(cls) != bytes) return SurfacePool::Free(p);
  const int batch = BatchOf(cls);
  if (count_[cls] >= 2 * batch) {
    count_[cls] -= batch;
    pool_->GiveBatch(cls, &blocks_[cls][count_[cls]], batch);
  }
  blocks_[cls][count_[cls]++] = p;
}

void SurfaceCache::Flush() {
  for (int cls = 0; cls < SurfacePool::kClasses; ++cls)
    if (count_[cls]) {
      pool_->GiveBatch(cls, blocks_[cls], count_[cls]);
      count_[cls] = 0;
    }
}

int SurfaceCache::Cached() const {
  int n = 0;
  for (int c : count_) n += c;
  return n;
}

SurfaceCacheScope::SurfaceCacheScope(SurfaceCache* cache) : previous_(tBound) { tBound = cache; }
SurfaceCacheScope::~SurfaceCacheScope() { tBound = previous_; }

void* SurfaceAllocate(size_t bytes) {
  return tBound ? tBound->Allocate(bytes) : SurfacePool::Process().Allocate(bytes);
}

void SurfaceFree(void* p) {
  if (tBound) tBound->Free(p);
  else SurfacePool::Free(p);
}

// --- SurfaceArena ---

SurfaceArena::SurfaceArena(SurfacePool* pool) : pool_(pool) {}

void SurfaceArena::SetPool(SurfacePool* pool) {
  Flush();
  pool_ = pool;
  for (auto& c : caches_)
    if (c) c->SetPool(pool);
}

SurfaceCache* SurfaceArena::Cache(int index) {
  assert(index >= 0 && index < kCaches);
  if (!caches_[index]) caches_[index] = std::make_unique<SurfaceCache>(pool_);
  return caches_[index].get();
}

void SurfaceArena::Flush() {
  for (auto& c : caches_)
    if (c) c->Flush();
}
