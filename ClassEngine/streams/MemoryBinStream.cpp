#include "ClassEngine/streams/MemoryBinStream.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

void MemoryBinStream::Reserve(int64_t needed) {
  if (needed <= capacity_) return;
  // Small blocks grow by size classes; larger ones by half again.
  int64_t cap;
  if (needed <= 128) {
    cap = 8;
    while (cap < needed) cap *= 2;
  } else {
    cap = needed + capacity_ / 2;
  }
  auto* grown = static_cast<uint8_t*>(std::realloc(data_, (size_t)cap));
  if (!grown) return;
  data_ = grown;
  capacity_ = cap;
}

void MemoryBinStream::Write(const void* data, int64_t size) {
  if (size <= 0 || writePos_ < 0) return;
  Reserve(writePos_ + size);
  if (writePos_ + size > capacity_) return;  // out of memory: the bytes are lost
  std::memcpy(data_ + writePos_, data, (size_t)size);
  writePos_ += size;
  if (size_ < writePos_) size_ = writePos_;
}

int64_t MemoryBinStream::Read(void* data, int64_t size) {
  if (size <= 0 || readPos_ < 0 || readPos_ >= size_) return 0;
  int64_t n = size < size_ - readPos_ ? size : size_ - readPos_;
  std::memcpy(data, data_ + readPos_, (size_t)n);
  readPos_ += n;
  return n;
}

bool MemoryBinStream::WriteToFile(const char* name) {
  FILE* f = std::fopen(name, "wb");
  if (!f) return false;
  bool ok = size_ == 0 || std::fwrite(data_, 1, (size_t)size_, f) == (size_t)size_;
  ok = std::fclose(f) == 0 && ok;
  return ok;
}

bool MemoryBinStream::ReadFromFile(const char* name) {
  Clear();
  FILE* f = std::fopen(name, "rb");
  if (!f) return false;
  std::fseek(f, 0, SEEK_END);
  long length = std::ftell(f);
  std::fseek(f, 0, SEEK_SET);
  bool ok = length >= 0;
  if (ok && length > 0) {
    Reserve(length);
    ok = capacity_ >= length && std::fread(data_, 1, (size_t)length, f) == (size_t)length;
  }
  std::fclose(f);
  if (!ok) {
    Clear();
    return false;
  }
  size_ = length;
  return true;
}

void MemoryBinStream::Clear() {
  std::free(data_);
  data_ = nullptr;
  size_ = capacity_ = writePos_ = readPos_ = 0;
}
