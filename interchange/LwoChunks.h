// Big-endian readers and writers for the IFF chunks of LWO2 files: a bounded
// cursor over a byte range (reading past the end gives zeros and marks it
// failed) and a chunk tree built in memory and then written with its sizes.
#pragma once
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace comms {

constexpr uint32_t LwoTag(const char (&s)[5]) {
  return (uint32_t)(uint8_t)s[0] << 24 | (uint32_t)(uint8_t)s[1] << 16 | (uint32_t)(uint8_t)s[2] << 8 |
         (uint32_t)(uint8_t)s[3];
}

class LwoCursor {
 public:
  LwoCursor(const uint8_t* begin, const uint8_t* end) : p_(begin), end_(end) {}
  bool Ok() const { return ok_; }
  bool AtEnd() const { return p_ >= end_; }
  size_t Left() const { return (size_t)(end_ - p_); }
  const uint8_t* Here() const { return p_; }
  void Skip(size_t n) {
    if (n > Left()) {
      ok_ = false;
      p_ = end_;
    } else {
      p_ += n;
    }
  }
  uint8_t U1() { return Left() >= 1 ? *p_++ : Fail(); }
  uint16_t U2() {
    if (Left() < 2) return Fail();
    uint16_t v = (uint16_t)(p_[0] << 8 | p_[1]);
    p_ += 2;
    return v;
  }
  uint32_t U4() {
    if (Left() < 4) return Fail();
    uint32_t v = (uint32_t)p_[0] << 24 | (uint32_t)p_[1] << 16 | (uint32_t)p_[2] << 8 | p_[3];
    p_ += 4;
    return v;
  }
  float F4() {
    uint32_t u = U4();
    float f;
    std::memcpy(&f, &u, 4);
    return f;
  }
  // A variable-length index: two bytes, or four when the first is 0xFF.
  uint32_t VX() {
    if (Left() >= 1 && *p_ == 0xff) return U4() & 0x00ffffff;
    return U2();
  }
  // A zero-terminated string padded to an even length.
  std::string S0() {
    const uint8_t* s = p_;
    while (p_ < end_ && *p_) p_++;
    std::string out((const char*)s, (size_t)(p_ - s));
    if (p_ < end_) p_++;
    if ((p_ - s) & 1) Skip(1);
    return out;
  }

 private:
  uint8_t Fail() {
    ok_ = false;
    p_ = end_;
    return 0;
  }
  const uint8_t* p_;
  const uint8_t* end_;
  bool ok_ = true;
};

// A chunk being written: a tag, its own bytes and child chunks after them.
// Top-level chunks carry 32-bit sizes and subchunks 16-bit ones.
class LwoChunk {
 public:
  LwoChunk(uint32_t tag, bool shortSize) : tag_(tag), short_(shortSize) {}
  LwoChunk& Child(uint32_t tag, bool shortSize = true) {
    children_.push_back(std::make_unique<LwoChunk>(tag, shortSize));
    return *children_.back();
  }
  void U1(uint8_t v) { data_.push_back(v); }
  void U2(uint16_t v) {
    data_.push_back((uint8_t)(v >> 8));
    data_.push_back((uint8_t)v);
  }
  void U4(uint32_t v) {
    for (int s = 24; s >= 0; s -= 8) data_.push_back((uint8_t)(v >> s));
  }
  void F4(float f) {
    uint32_t u;
    std::memcpy(&u, &f, 4);
    U4(u);
  }
  void VX(uint32_t v) {
    if (v < 0xff00) U2((uint16_t)v);
    else U4(v | 0xff000000u);
  }
  void S0(const std::string& s) {
    data_.insert(data_.end(), s.begin(), s.end());
    data_.push_back(0);
    if ((s.size() + 1) & 1) data_.push_back(0);
  }
  void Raw(const std::vector<uint8_t>& bytes) { data_.insert(data_.end(), bytes.begin(), bytes.end()); }

  size_t BodySize() const {
    size_t n = data_.size();
    for (const auto& c : children_) n += c->TotalSize();
    return n;
  }
  size_t TotalSize() const {
    size_t body = BodySize();
    return (short_ ? 6 : 8) + body + (body & 1);
  }
  void WriteTo(std::vector<uint8_t>& out) const {
    size_t body = BodySize();
    for (int s = 24; s >= 0; s -= 8) out.push_back((uint8_t)(tag_ >> s));
    if (short_) {
      out.push_back((uint8_t)(body >> 8));
      out.push_back((uint8_t)body);
    } else {
      for (int s = 24; s >= 0; s -= 8) out.push_back((uint8_t)(body >> s));
    }
    out.insert(out.end(), data_.begin(), data_.end());
    for (const auto& c : children_) c->WriteTo(out);
    if (body & 1) out.push_back(0);
  }

 private:
  uint32_t tag_;
  bool short_;
  std::vector<uint8_t> data_;
  std::vector<std::unique_ptr<LwoChunk>> children_;
};

}  // namespace comms
