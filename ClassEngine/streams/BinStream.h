// The one binary I/O interface of the program. Scene files, undo files, caches
// and in-memory clones go through it, and reflected classes serialise
// themselves into it. Multi-byte values are little-endian. Positions are 64-bit.
#pragma once
#include <cstdint>

class BinStream {
 public:
  virtual ~BinStream() = default;
  // Appends at the write position.
  virtual void Write(const void* data, int64_t size) = 0;
  // Reads at the read position; returns the count read.
  virtual int64_t Read(void* data, int64_t size) = 0;
  // Makes the stream's contents the file `name`.
  virtual bool WriteToFile(const char* name) = 0;
  // Attaches or loads the file `name`.
  virtual bool ReadFromFile(const char* name) = 0;
  virtual int64_t Size() = 0;
  virtual void SetReadPos(int64_t pos) = 0;
  virtual void SetWritePos(int64_t pos) = 0;
  virtual int64_t GetReadPos() = 0;
  virtual int64_t GetWritePos() = 0;
  // The bytes, for a stream held in memory; null otherwise.
  virtual uint8_t* GetData() { return nullptr; }
  // Closes or empties the stream.
  virtual void Clear() = 0;

  void WriteBYTE(uint8_t v) { Write(&v, 1); }
  void WriteWORD(uint16_t v) {
    uint8_t b[2] = {(uint8_t)v, (uint8_t)(v >> 8)};
    Write(b, 2);
  }
  void WriteDWORD(uint32_t v) {
    uint8_t b[4] = {(uint8_t)v, (uint8_t)(v >> 8), (uint8_t)(v >> 16), (uint8_t)(v >> 24)};
    Write(b, 4);
  }
  // 0 when nothing could be read.
  uint8_t ReadBYTE() {
    uint8_t v = 0;
    return Read(&v, 1) == 1 ? v : 0;
  }
  uint16_t ReadWORD() {
    uint8_t b[2] = {0, 0};
    if (Read(b, 2) != 2) return 0;
    return (uint16_t)(b[0] | b[1] << 8);
  }
  uint32_t ReadDWORD() {
    uint8_t b[4] = {0, 0, 0, 0};
    if (Read(b, 4) != 4) return 0;
    return (uint32_t)b[0] | (uint32_t)b[1] << 8 | (uint32_t)b[2] << 16 | (uint32_t)b[3] << 24;
  }
};

// A four-character tag as one number, the first character in the highest byte:
// FourCC("VOLU") == 0x564F4C55.
constexpr uint32_t FourCC(const char (&s)[5]) {
  return (uint32_t)(uint8_t)s[0] << 24 | (uint32_t)(uint8_t)s[1] << 16 |
         (uint32_t)(uint8_t)s[2] << 8 | (uint32_t)(uint8_t)s[3];
}
