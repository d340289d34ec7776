// Fixed-size block pool of the voxel engine (cells, surfaces, voxel arrays).
#include "MC/mcubes/CellBlockPool.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "ClassEngine/Assert.h"

CellBlockPool::~CellBlockPool() {
  for (char* c : chunks_) std::free(c);
}

void CellBlockPool::SetBlockSize(size_t blockSize) {
  MV_ASSERT(live_ == 0);
  for (char* c : chunks_) std::free(c);
  chunks_.clear();
  free_ = nullptr;
  blockSize_ = std::max(blockSize, sizeof(FreeBlock));
  stride_ = kHeader + ((blockSize_ + 15) & ~size_t(15));
}

void* CellBlockPool::Allocate(bool zero) {
  if (!free_) {
    char* chunk = (char*)std::aligned_alloc(16, kBlocksPerChunk * stride_);
    chunks_.push_back(chunk);
    for (int i = kBlocksPerChunk - 1; i >= 0; --i) {
      char* b = chunk + i * stride_;
      std::memcpy(b, &kFreeTag, 4);
      FreeBlock* f = (FreeBlock*)(b + kHeader);
      f->next = free_;
      free_ = f;
    }
  }
  FreeBlock* f = free_;
  free_ = f->next;
  char* header = (char*)f - kHeader;
  std::memcpy(header, &kLiveTag, 4);
  ++live_;
  if (zero) std::memset(f, 0, blockSize_);
  return f;
}

void CellBlockPool::Free(void* p) {
  if (!p) return;
  char* header = (char*)p - kHeader;
  uint32_t tag;
  std::memcpy(&tag, header, 4);
  MV_ASSERT(tag == kLiveTag);
  if (tag != kLiveTag) return;  // a double free would corrupt the free list
  std::memcpy(header, &kFreeTag, 4);
  FreeBlock* f = (FreeBlock*)p;
  f->next = free_;
  free_ = f;
  --live_;
}

void CellBlockPool::Trim() {
  if (chunks_.empty()) return;
  // Count free blocks per chunk; chunks that are entirely free go back.
  std::vector<char*> sorted = chunks_;
  std::sort(sorted.begin(), sorted.end());
  std::vector<int> freeCount(sorted.size(), 0);
  auto chunkOf = [&](const void* p) {
    auto it = std::upper_bound(sorted.begin(), sorted.end(), (char*)p) - 1;
    return (int)(it - sorted.begin());
  };
  for (FreeBlock* f = free_; f; f = f->next) ++freeCount[chunkOf(f)];
  std::vector<bool> release(sorted.size());
  bool any = false;
  for (size_t i = 0; i < sorted.size(); ++i) {
    release[i] = freeCount[i] == kBlocksPerChunk;
    any |= release[i];
  }
  if (!any) return;
  FreeBlock* keep = nullptr;
  FreeBlock** tail = &keep;
  for (FreeBlock* f = free_; f;) {
    FreeBlock* next = f->next;
    if (!release[chunkOf(f)]) {
      *tail = f;
      tail = &f->next;
    }
    f = next;
  }
  *tail = nullptr;
  free_ = keep;
  chunks_.clear();
  for (size_t i = 0; i < sorted.size(); ++i) {
    if (release[i])
      std::free(sorted[i]);
    else
      chunks_.push_back(sorted[i]);
  }
}

std::mutex& VoxelPoolLock() {
  static std::mutex lock;
  return lock;
}
