// A binary stream held in one growing block of memory, readable and writable.
// Writing after SetWritePos overwrites; the size only grows.
#pragma once
#include "ClassEngine/streams/BinStream.h"

class MemoryBinStream : public BinStream {
 public:
  MemoryBinStream() = default;
  MemoryBinStream(const MemoryBinStream&) = delete;
  MemoryBinStream& operator=(const MemoryBinStream&) = delete;
  ~MemoryBinStream() override { Clear(); }

  void Write(const void* data, int64_t size) override;
  int64_t Read(void* data, int64_t size) override;
  bool WriteToFile(const char* name) override;
  bool ReadFromFile(const char* name) override;
  int64_t Size() override { return size_; }
  void SetReadPos(int64_t pos) override { readPos_ = pos; }
  void SetWritePos(int64_t pos) override { writePos_ = pos; }
  int64_t GetReadPos() override { return readPos_; }
  int64_t GetWritePos() override { return writePos_; }
  uint8_t* GetData() override { return data_; }
  void Clear() override;

  int64_t Capacity() const { return capacity_; }

 private:
  void Reserve(int64_t needed);

  uint8_t* data_ = nullptr;
  int64_t size_ = 0;
  int64_t capacity_ = 0;
  int64_t writePos_ = 0;
  int64_t readPos_ = 0;
};
