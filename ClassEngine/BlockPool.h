// Small-block pools: strings, XML nodes and other objects up to 128 bytes stay
// off the system heap. A set has one pool per size 8, 16, 32, 64 and 128; each
// pool takes chunks of 512 blocks from cExMalloc and keeps them until it is
// destroyed. A block carries no header, so the caller passes its size back on
// release. A handed-out block has "FOOD" in its first word, a returned one
// "BAAD" (first character in the top byte).
#pragma once
#include <cstdint>
#include <mutex>

#include "ClassEngine/dynarray.h"

constexpr uint32_t kBlockTagInUse = 0x464F4F44;  // "FOOD"
constexpr uint32_t kBlockTagFree = 0x42414144;   // "BAAD"

class BlockPool {
 public:
  static constexpr int kBlocksPerChunk = 512;
  explicit BlockPool(int blockSize = 8) : blockSize_(blockSize) {}
  ~BlockPool();
  BlockPool(const BlockPool&) = delete;
  BlockPool& operator=(const BlockPool&) = delete;

  void* Allocate();
  void Free(void* p);
  int BlockSize() const { return blockSize_; }
  int Chunks() const { return chunks_.GetAmount(); }
  int FreeBlocks() const { return free_.GetAmount(); }

 private:
  int blockSize_;
  DynArray<char*> chunks_;
  DynArray<void*> free_;
};

class BlockPoolSet {
 public:
  static constexpr int kPools = 5;
  static constexpr int kLargestBlock = 128;
  BlockPoolSet() = default;

  // Null for 0 bytes; above 128 bytes the block comes from cExMalloc.
  void* Allocate(int size);
  void Free(void* p, int size);
  // Keeps the pointer when both sizes fall in the same pool; otherwise
  // allocates, copies the smaller size and frees.
  void* Reallocate(void* p, int oldSize, int newSize);
  // The pool serving `size`: 0..4, or -1 for cExMalloc.
  static int PoolIndex(int size);
  const BlockPool& Pool(int i) const { return pools_[i]; }

 private:
  BlockPool pools_[kPools]{BlockPool{8}, BlockPool{16}, BlockPool{32}, BlockPool{64},
                           BlockPool{128}};
};

// The application's set. No lock: its users (DString, _str, XML nodes) belong
// to the main thread.
BlockPoolSet& GetPool();

namespace comms {
// The comms library's set, guarded by one mutex since comms strings are made
// on any thread. A request no pool serves goes to cExMalloc outside the lock.
class LockedBlockPoolSet {
 public:
  void* Allocate(int size);
  void Free(void* p, int size);
  void* Reallocate(void* p, int oldSize, int newSize);
  const BlockPoolSet& Pools() const { return set_; }

 private:
  std::mutex lock_;
  BlockPoolSet set_;
};
LockedBlockPoolSet& GetCommsPool();
}  // namespace comms
