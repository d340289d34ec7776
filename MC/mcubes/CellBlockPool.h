// A pool of fixed-size blocks carved from chunks of 512. Spare blocks sit on a
// free list; each block is preceded by a guard tag that reads "live" while the
// block is handed out and "free" while it waits, so a double free or a stray
// pointer is caught by an assertion instead of corrupting the pool. Not
// thread-safe: callers on worker threads hold VoxelPoolLock.
#pragma once
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

class CellBlockPool {
 public:
  static constexpr int kBlocksPerChunk = 512;
  explicit CellBlockPool(size_t blockSize = 16) { SetBlockSize(blockSize); }
  ~CellBlockPool();
  CellBlockPool(const CellBlockPool&) = delete;
  CellBlockPool& operator=(const CellBlockPool&) = delete;

  // Only while the pool holds no live block.
  void SetBlockSize(size_t blockSize);
  size_t BlockSize() const { return blockSize_; }

  // Zeroed when zero is set (records), left as is otherwise (voxel blocks are
  // always written before they are read).
  void* Allocate(bool zero = false);
  void Free(void* p);
  // Returns the chunks whose blocks are all free to the heap.
  void Trim();
  size_t MemoryUsed() const { return chunks_.size() * kBlocksPerChunk * stride_; }
  int LiveBlocks() const { return live_; }

 private:
  static constexpr uint32_t kLiveTag = 0x4C495645;  // "LIVE"
  static constexpr uint32_t kFreeTag = 0x46524545;  // "FREE"
  static constexpr size_t kHeader = 16;             // keeps blocks 16-byte aligned

  struct FreeBlock {
    FreeBlock* next;
  };
  size_t blockSize_ = 0;
  size_t stride_ = 0;
  std::vector<char*> chunks_;
  FreeBlock* free_ = nullptr;
  int live_ = 0;
};

// Serialises the cell map and voxel pool traffic of worker threads.
std::mutex& VoxelPoolLock();
