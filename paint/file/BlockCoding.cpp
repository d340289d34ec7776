// The reading side of the scene file's field coding; see BlockCoding.h.
#include "paint/file/BlockCoding.h"

#include <algorithm>
#include <cstdio>

namespace {
constexpr int64_t kWindow = 1 << 20;
}

BlockReader::BlockReader(BinStream& in, int64_t size)
    : in_(in), size_(size), limit_(size), pos_(in.GetReadPos()) {}

void BlockReader::Enter(const char* block, int64_t limit) {
  block_ = block;
  limit_ = std::min(limit, size_);
}

void BlockReader::Fail(const std::string& why) {
  if (!error_.empty()) return;
  char at[64];
  snprintf(at, sizeof(at), " (byte %lld)", (long long)Pos());
  error_ = "block " + block_ + ": " + why + at;
  cur_ = end_;  // nothing more comes out
  limit_ = Pos();
}

bool BlockReader::Fits(uint64_t count, uint64_t bytes, const char* what) {
  if (!Ok()) return false;
  uint64_t left = (uint64_t)std::max<int64_t>(0, Left());
  if (bytes == 0 || count <= left / bytes) return true;
  Fail(std::string(what) + " count " + std::to_string(count) + " does not fit in the " +
       std::to_string(left) + " bytes left");
  return false;
}

bool BlockReader::Refill(int64_t n) {
  if (!Ok()) return false;
  int64_t have = end_ - cur_;
  if (Pos() + n > limit_) {
    Fail("ends early");
    return false;
  }
  // Keep what is left, then read up to a window (or n) more.
  int64_t want = std::min<int64_t>(std::max<int64_t>(n, kWindow), limit_ - Pos());
  if ((int64_t)window_.size() < want) {
    std::vector<uint8_t> next((size_t)want);
    if (have) std::memcpy(next.data(), cur_, (size_t)have);
    window_.swap(next);
  } else if (have) {
    std::memmove(window_.data(), cur_, (size_t)have);
  }
  int64_t got = in_.Read(window_.data() + have, want - have);
  if (got < 0) got = 0;
  pos_ += got;
  cur_ = window_.data();
  end_ = cur_ + have + got;
  if (end_ - cur_ < n) {
    Fail("ends early");
    return false;
  }
  return true;
}

bool BlockReader::Bytes(void* dst, int64_t n) {
  if (n <= 0) return Ok();
  if (!Ok() || Pos() + n > limit_) {
    Fail("ends early");
    return false;
  }
  auto* out = static_cast<uint8_t*>(dst);
  int64_t held = std::min<int64_t>(n, end_ - cur_);
  std::memcpy(out, cur_, (size_t)held);
  cur_ += held;
  if (held == n) return true;
  // Large runs go straight from the stream.
  int64_t got = in_.Read(out + held, n - held);
  if (got > 0) pos_ += got;
  if (got != n - held) {
    Fail("ends early");
    return false;
  }
  return true;
}

bool BlockReader::Seek(int64_t pos) {
  if (!Ok()) return false;
  if (pos < 0 || pos > limit_) {
    Fail("ends early");
    return false;
  }
  in_.SetReadPos(pos);
  pos_ = pos;
  window_.clear();
  cur_ = end_ = nullptr;
  return true;
}

bool BlockReader::Skip(int64_t n) {
  if (n < 0) {
    Fail("negative size");
    return false;
  }
  int64_t held = end_ - cur_;
  if (n <= held) {
    cur_ += n;
    return true;
  }
  return Seek(Pos() + n);
}
