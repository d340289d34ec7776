// Little-endian coding of the scene file's fields. BlockWriter gathers fields
// in a staging buffer and hands it to the stream in large pieces; BlockReader
// reads through a window and checks every field, array and count against the
// end of the block (or of the file, for blocks read by content), so a damaged
// file is reported, never read past, and never makes a large allocation the
// file cannot back.
#pragma once
#include <cstdint>
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "ClassEngine/streams/BinStream.h"
#include "render/Math3D.h"

class BlockWriter {
 public:
  explicit BlockWriter(BinStream& out) : out_(out), buf_(kStage) {}
  ~BlockWriter() { Flush(); }

  void U8(uint8_t v) {
    Room(1);
    buf_[fill_++] = v;
  }
  void U16(uint16_t v) {
    Room(2);
    buf_[fill_] = (uint8_t)v, buf_[fill_ + 1] = (uint8_t)(v >> 8);
    fill_ += 2;
  }
  void U32(uint32_t v) {
    Room(4);
    uint8_t* p = buf_.data() + fill_;
    p[0] = (uint8_t)v, p[1] = (uint8_t)(v >> 8), p[2] = (uint8_t)(v >> 16), p[3] = (uint8_t)(v >> 24);
    fill_ += 4;
  }
  void I32(int32_t v) { U32((uint32_t)v); }
  void F32(float v) {
    uint32_t u;
    std::memcpy(&u, &v, 4);
    U32(u);
  }
  void Vec3(const comms::cVec3& v) { F32(v.x), F32(v.y), F32(v.z); }
  void Bytes(const void* p, size_t n) {
    if (n >= kStage) {
      Flush();
      out_.Write(p, (int64_t)n);
      return;
    }
    Room(n);
    std::memcpy(buf_.data() + fill_, p, n);
    fill_ += n;
  }
  // Tag and size of a block whose body follows.
  void BlockHead(uint32_t tag, uint32_t size) { U32(tag), U32(size); }
  // Hands the staged bytes to the stream (before another writer uses it).
  void Flush() {
    if (fill_) out_.Write(buf_.data(), (int64_t)fill_);
    fill_ = 0;
  }
  BinStream& Stream() { return out_; }

 private:
  static constexpr size_t kStage = 4 << 20;
  void Room(size_t n) {
    if (fill_ + n > kStage) Flush();
  }
  BinStream& out_;
  std::vector<uint8_t> buf_;
  size_t fill_ = 0;
};

// Little-endian fields out of a span.
inline uint16_t GetU16(const uint8_t* p) { return (uint16_t)(p[0] | p[1] << 8); }
inline uint32_t GetU32(const uint8_t* p) {
  return (uint32_t)p[0] | (uint32_t)p[1] << 8 | (uint32_t)p[2] << 16 | (uint32_t)p[3] << 24;
}
inline float GetF32(const uint8_t* p) {
  uint32_t u = GetU32(p);
  float f;
  std::memcpy(&f, &u, 4);
  return f;
}
inline comms::cVec3 GetVec3(const uint8_t* p) { return comms::cVec3(GetF32(p), GetF32(p + 4), GetF32(p + 8)); }

class BlockReader {
 public:
  // `size` is the stream's whole size; reading starts at its read position.
  BlockReader(BinStream& in, int64_t size);

  // Reads up to `limit` (an absolute position, at most the stream's size)
  // under the name `block` for messages.
  void Enter(const char* block, int64_t limit);
  int64_t Pos() const { return pos_ - (end_ - cur_); }
  int64_t Limit() const { return limit_; }
  int64_t Left() const { return limit_ - Pos(); }
  bool Ok() const { return error_.empty(); }
  const std::string& Error() const { return error_; }
  // Records the first failure with the block's name and position.
  void Fail(const std::string& why);

  // True when `count` records of `bytes` each fit in what is left; fails
  // (naming `what`) otherwise. Call before allocating for a count read from the file.
  bool Fits(uint64_t count, uint64_t bytes, const char* what);

  uint8_t U8() { return Has(1) ? *cur_++ : 0; }
  uint16_t U16() {
    if (!Has(2)) return 0;
    uint16_t v = (uint16_t)(cur_[0] | cur_[1] << 8);
    cur_ += 2;
    return v;
  }
  uint32_t U32() {
    if (!Has(4)) return 0;
    uint32_t v = (uint32_t)cur_[0] | (uint32_t)cur_[1] << 8 | (uint32_t)cur_[2] << 16 |
                 (uint32_t)cur_[3] << 24;
    cur_ += 4;
    return v;
  }
  int32_t I32() { return (int32_t)U32(); }
  float F32() {
    uint32_t u = U32();
    float f;
    std::memcpy(&f, &u, 4);
    return f;
  }
  comms::cVec3 Vec3() {
    comms::cVec3 v;
    v.x = F32(), v.y = F32(), v.z = F32();
    return v;
  }
  // `n` bytes (at most a window's worth) in place, the position moved past
  // them; null (and failed) when they are not there. Decode with the Get
  // helpers below.
  const uint8_t* Span(int64_t n) {
    if (!Has(n)) return nullptr;
    const uint8_t* p = cur_;
    cur_ += n;
    return p;
  }
  static constexpr int64_t kMaxSpan = 1 << 20;
  // Up to `n` bytes ahead (fewer where the limit comes first; `n` is set to
  // how many) in place, without moving the read position; null and failed
  // when the stream holds fewer than the limit promises.
  const uint8_t* Peek(int64_t& n) {
    n = std::max<int64_t>(0, std::min(n, Left()));
    return Has(n) ? cur_ : nullptr;
  }
  bool Bytes(void* dst, int64_t n);
  bool Skip(int64_t n);
  // Moves the read position to `pos` (inside the limit), dropping the window.
  bool Seek(int64_t pos);

 private:
  // Makes n bytes available in the window, or fails.
  bool Has(int64_t n) {
    if (end_ - cur_ >= n) return true;
    return Refill(n);
  }
  bool Refill(int64_t n);

  BinStream& in_;
  int64_t size_;
  int64_t limit_;
  int64_t pos_;  // stream position of end_
  std::vector<uint8_t> window_;
  const uint8_t* cur_ = nullptr;
  const uint8_t* end_ = nullptr;
  std::string block_ = "head";
  std::string error_;
};
