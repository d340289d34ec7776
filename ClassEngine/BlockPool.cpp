// The small-block pools: chunks of 512 blocks, a free list per size, tags in
// the first word; the comms set adds one mutex around the same design.
#include "ClassEngine/BlockPool.h"

#include <cstring>

namespace {
void Stamp(void* p, uint32_t tag) { memcpy(p, &tag, sizeof(tag)); }
}  // namespace

BlockPool::~BlockPool() {
  for (char* chunk : chunks_) cExFree(chunk);
}

void* BlockPool::Allocate() {
  if (free_.GetAmount() == 0) {
    char* chunk = (char*)cExMalloc(blockSize_ * kBlocksPerChunk);
    if (!chunk) return nullptr;
    chunks_.Add(chunk);
    free_.ReserveExact(chunks_.GetAmount() * kBlocksPerChunk);
    // Pushed in reverse so the chunk is handed out from its start.
    for (int i = kBlocksPerChunk - 1; i >= 0; i--) free_.Add(chunk + i * blockSize_);
  }
  void* p = free_[free_.GetAmount() - 1];
  free_.NValues--;
  Stamp(p, kBlockTagInUse);
  return p;
}

void BlockPool::Free(void* p) {
  if (!p) return;
  Stamp(p, kBlockTagFree);
  free_.Add(p);
}

int BlockPoolSet::PoolIndex(int size) {
  if (size <= 0 || size > kLargestBlock) return -1;
  int i = 0;
  while ((8 << i) < size) i++;
  return i;
}

void* BlockPoolSet::Allocate(int size) {
  if (size <= 0) return nullptr;
  int i = PoolIndex(size);
  return i < 0 ? cExMalloc(size) : pools_[i].Allocate();
}

void BlockPoolSet::Free(void* p, int size) {
  if (!p) return;
  int i = PoolIndex(size);
  if (i < 0)
    cExFree(p);
  else
    pools_[i].Free(p);
}

void* BlockPoolSet::Reallocate(void* p, int oldSize, int newSize) {
  if (!p) return Allocate(newSize);
  int from = PoolIndex(oldSize);
  if (from >= 0 && from == PoolIndex(newSize)) return p;
  void* q = Allocate(newSize);
  if (q) memcpy(q, p, (size_t)(oldSize < newSize ? oldSize : newSize));
  Free(p, oldSize);
  return q;
}

BlockPoolSet& GetPool() {
  static BlockPoolSet* set = new BlockPoolSet;  // lives to the process end
  return *set;
}

namespace comms {
void* LockedBlockPoolSet::Allocate(int size) {
  if (BlockPoolSet::PoolIndex(size) < 0) return size > 0 ? cExMalloc(size) : nullptr;
  std::lock_guard<std::mutex> guard(lock_);
  return set_.Allocate(size);
}

void LockedBlockPoolSet::Free(void* p, int size) {
  if (!p) return;
  if (BlockPoolSet::PoolIndex(size) < 0) {
    cExFree(p);
    return;
  }
  std::lock_guard<std::mutex> guard(lock_);
  set_.Free(p, size);
}

void* LockedBlockPoolSet::Reallocate(void* p, int oldSize, int newSize) {
  if (!p) return Allocate(newSize);
  int from = BlockPoolSet::PoolIndex(oldSize);
  if (from >= 0 && from == BlockPoolSet::PoolIndex(newSize)) return p;
  void* q = Allocate(newSize);
  if (q) memcpy(q, p, (size_t)(oldSize < newSize ? oldSize : newSize));
  Free(p, oldSize);
  return q;
}

LockedBlockPoolSet& GetCommsPool() {
  static LockedBlockPoolSet* set = new LockedBlockPoolSet;
  return *set;
}
}  // namespace comms
