// cMeshFile: what a mesh codec reads from or writes to. The reading side holds
// the whole file in memory; the writing side gathers bytes that cMeshIO then
// writes out. Multi-byte values are little-endian; reading past the end gives
// zeros and 0 bytes read. Header-only, like cMesh, for loadable modules.
#pragma once
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace comms {

class cMeshFile {
 public:
  // Reading side.
  cMeshFile(std::string path, std::vector<uint8_t> data)
      : path_(std::move(path)), data_(std::move(data)), reading_(true) {}
  // Writing side.
  explicit cMeshFile(std::string path) : path_(std::move(path)), reading_(false) {}

  const std::string& Path() const { return path_; }
  bool IsReading() const { return reading_; }
  int64_t Size() const { return (int64_t)data_.size(); }
  int64_t Pos() const { return pos_; }
  void Seek(int64_t pos) { pos_ = pos < 0 ? 0 : (pos > Size() ? Size() : pos); }
  int64_t Left() const { return Size() - pos_; }
  const uint8_t* Data() const { return data_.data(); }
  const std::vector<uint8_t>& Bytes() const { return data_; }

  int64_t Read(void* out, int64_t count) {
    int64_t n = count < Left() ? count : Left();
    if (n < 0) n = 0;
    if (n) std::memcpy(out, data_.data() + pos_, (size_t)n);
    if (n < count) std::memset((uint8_t*)out + n, 0, (size_t)(count - n));
    pos_ += n;
    return n;
  }
  uint8_t ReadByte() {
    uint8_t v = 0;
    Read(&v, 1);
    return v;
  }
  uint16_t ReadWord() {
    uint8_t b[2];
    Read(b, 2);
    return (uint16_t)(b[0] | b[1] << 8);
  }
  uint32_t ReadDword() {
    uint8_t b[4];
    Read(b, 4);
    return (uint32_t)b[0] | (uint32_t)b[1] << 8 | (uint32_t)b[2] << 16 | (uint32_t)b[3] << 24;
  }
  float ReadFloat() {
    uint32_t u = ReadDword();
    float f;
    std::memcpy(&f, &u, 4);
    return f;
  }
  // Takes at most `count` bytes up to the first of `stops`; the stop character
  // is consumed but not kept. Returns the bytes taken, stop included.
  int64_t ReadLine(std::string_view& line, int64_t count, std::string_view stops) {
    int64_t start = pos_, end = pos_, limit = pos_ + count < Size() ? pos_ + count : Size();
    if (stops == "\r\n") {  // the common case, without a search per byte
      const uint8_t* d = data_.data();
      while (end < limit && d[end] != '\n' && d[end] != '\r') end++;
    } else {
      while (end < limit && stops.find((char)data_[end]) == std::string_view::npos) end++;
    }
    line = std::string_view((const char*)data_.data() + start, (size_t)(end - start));
    pos_ = end < Size() && end < limit ? end + 1 : end;
    return pos_ - start;
  }

  void Write(const void* bytes, size_t count) {
    const uint8_t* b = (const uint8_t*)bytes;
    data_.insert(data_.end(), b, b + count);
  }
  void WriteText(std::string_view text) { Write(text.data(), text.size()); }
  void WriteByte(uint8_t v) { Write(&v, 1); }
  void WriteWord(uint16_t v) {
    uint8_t b[2] = {(uint8_t)v, (uint8_t)(v >> 8)};
    Write(b, 2);
  }
  void WriteDword(uint32_t v) {
    uint8_t b[4] = {(uint8_t)v, (uint8_t)(v >> 8), (uint8_t)(v >> 16), (uint8_t)(v >> 24)};
    Write(b, 4);
  }
  void WriteFloat(float f) {
    uint32_t u;
    std::memcpy(&u, &f, 4);
    WriteDword(u);
  }

 private:
  std::string path_;
  std::vector<uint8_t> data_;
  int64_t pos_ = 0;
  bool reading_;
};

}  // namespace comms
