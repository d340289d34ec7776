// Binary streams on files.
//  FileWriteBinStream / FileReadBinStream: one system call per Write / Read.
//  FILE_WriteBinStream / FILE_ReadBinStream: 8 MB buffers for big data; the
//  writer hands full buffers to the background writer, and every stream
//  constructor first waits for it, so a file just written can be read back.
//  BinStreamCounter: counts what would be written.
#pragma once
#include <string>

#include "ClassEngine/streams/BinStream.h"

constexpr int64_t kFileStreamBuffer = 8388608;

// The per-user temporary file that streams constructed without a name write.
std::string TempStreamFilePath();

// What the four file streams share: an open descriptor, a position, and the
// direction they do not go in answered with nothing.
class FileWriteSide : public BinStream {
 public:
  int64_t Read(void*, int64_t) override { return 0; }
  bool ReadFromFile(const char*) override { return false; }
  int64_t Size() override { return position_; }
  void SetReadPos(int64_t) override {}
  void SetWritePos(int64_t) override {}
  int64_t GetReadPos() override { return 0; }
  int64_t GetWritePos() override { return position_; }
  bool IsOpen() const { return fd_ >= 0; }

 protected:
  int fd_ = -1;
  int64_t position_ = 0;
  std::string path_;
};

class FileReadSide : public BinStream {
 public:
  void Write(const void*, int64_t) override {}
  bool WriteToFile(const char*) override { return false; }
  int64_t Size() override { return size_; }
  void SetWritePos(int64_t) override {}
  int64_t GetReadPos() override { return position_; }
  int64_t GetWritePos() override { return 0; }
  bool IsOpen() const { return fd_ >= 0; }

 protected:
  int fd_ = -1;
  int64_t position_ = 0;
  int64_t size_ = 0;
};

class FileWriteBinStream : public FileWriteSide {
 public:
  // Creates `name`, or the temporary file when `name` is null.
  explicit FileWriteBinStream(const char* name);
  ~FileWriteBinStream() override { Clear(); }

  void Write(const void* data, int64_t size) override;
  // Commits the file: closes it, deletes `name`, renames the file to `name`.
  bool WriteToFile(const char* name) override;
  void Clear() override;
};

class FILE_WriteBinStream : public FileWriteSide {
 public:
  // A null name writes the temporary file; "none" opens nothing and only
  // counts, which serves for a size estimate.
  explicit FILE_WriteBinStream(const char* name);
  ~FILE_WriteBinStream() override { Clear(); }

  void Write(const void* data, int64_t size) override;
  bool WriteToFile(const char* name) override;
  void Clear() override;

 private:
  uint8_t* buffer_ = nullptr;
  int64_t fill_ = 0;
};

class FileReadBinStream : public FileReadSide {
 public:
  explicit FileReadBinStream(const char* name = nullptr);
  ~FileReadBinStream() override { Clear(); }

  int64_t Read(void* data, int64_t size) override;
  void Skip(int64_t size);
  bool ReadFromFile(const char* name) override;
  void SetReadPos(int64_t pos) override;
  void Clear() override;
};

class FILE_ReadBinStream : public FileReadSide {
 public:
  explicit FILE_ReadBinStream(const char* name = nullptr);
  ~FILE_ReadBinStream() override { Clear(); }

  int64_t Read(void* data, int64_t size) override;
  void Skip(int64_t size);
  bool ReadFromFile(const char* name) override;
  void SetReadPos(int64_t pos) override;
  void Clear() override;

 private:
  // Moves up to `size` bytes through the buffer, copying them to `out` when
  // it is not null; returns the count moved.
  int64_t Take(uint8_t* out, int64_t size);
  // Asks the system to fetch the bytes from `from` on ahead of their reading.
  void ReadAhead(int64_t from);

  uint8_t* buffer_ = nullptr;
  int64_t bufferPos_ = 0;
  int64_t bufferFill_ = 0;
  int64_t advised_ = 0;  // the end of what was asked for ahead
};

class BinStreamCounter : public BinStream {
 public:
  void Write(const void*, int64_t size) override { count_ += size; }
  int64_t Read(void*, int64_t size) override { return size; }
  bool WriteToFile(const char*) override { return false; }
  bool ReadFromFile(const char*) override { return false; }
  int64_t Size() override { return count_; }
  void SetReadPos(int64_t) override {}
  void SetWritePos(int64_t) override {}
  int64_t GetReadPos() override { return 0; }
  int64_t GetWritePos() override { return count_; }
  void Clear() override { count_ = 0; }

 private:
  int64_t count_ = 0;
};
