// The lookup tables over the faces: corners of a face in loop order, faces on
// a vertex pair, and the sorted multi-maps behind the spatial and UV cells.
// Tables are filled, then sealed once; lookups are binary searches over flat
// arrays, so a multi-million-face scene costs a few words per entry.
#pragma once
#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

// Face -> corner indices in loop order. A face with n corners holds n + 1
// entries, the last repeating the first: a quad has 5. Faces are appended in
// index order.
class FaceCornerTable {
 public:
  void Clear() { start_.assign(1, 0), corners_.clear(); }
  bool Empty() const { return corners_.empty(); }
  int FaceCount() const { return (int)start_.size() - 1; }
  // Appends the next face; n = 0 adds a face without corners.
  void AddFace(const int* corners, int n);
  // Entry count of the face (n + 1), 0 for none or out of range.
  int Entries(int face) const {
    if (face < 0 || face >= FaceCount()) return 0;
    return start_[face + 1] - start_[face];
  }
  const int* Of(int face) const { return corners_.data() + start_[face]; }
  int* Of(int face) { return corners_.data() + start_[face]; }
  bool IsQuad(int face) const { return Entries(face) == 5; }
  size_t MemoryBytes() const { return (start_.capacity() + corners_.capacity()) * sizeof(int); }

 private:
  std::vector<int> start_{0};
  std::vector<int> corners_;
};

// A sorted multi-map from a key to face indices: Add, Seal, then Find.
template <class Key>
class FaceMultiMap {
 public:
  void Clear() { entries_.clear(), sealed_ = true; }
  void Reserve(size_t n) { entries_.reserve(n); }
  void Add(const Key& k, int face) { entries_.push_back({k, face}), sealed_ = false; }
  void Seal() {
    if (!sealed_) std::sort(entries_.begin(), entries_.end());
    sealed_ = true;
  }
  // Faces under k, in increasing order.
  template <class F>
  void ForEach(const Key& k, F&& f) const {
    auto it = std::lower_bound(entries_.begin(), entries_.end(), std::pair<Key, int>{k, INT32_MIN});
    for (; it != entries_.end() && it->first == k; ++it) f(it->second);
  }
  int Count(const Key& k) const {
    int n = 0;
    ForEach(k, [&](int) { n++; });
    return n;
  }
  size_t Size() const { return entries_.size(); }
  const std::vector<std::pair<Key, int>>& Entries() const { return entries_; }
  size_t MemoryBytes() const { return entries_.capacity() * sizeof(entries_[0]); }

 private:
  std::vector<std::pair<Key, int>> entries_;
  bool sealed_ = true;
};

// A vertex pair, smaller index first, as one 64-bit key.
inline uint64_t EdgeKey(int a, int b) {
  if (a > b) std::swap(a, b);
  return ((uint64_t)(uint32_t)a << 32) | (uint32_t)b;
}
using EdgeTable = FaceMultiMap<uint64_t>;

struct CellKey3 {
  int x = 0, y = 0, z = 0;
  auto operator<=>(const CellKey3&) const = default;
};
struct CellKey2 {
  int u = 0, v = 0;
  auto operator<=>(const CellKey2&) const = default;
};

struct FaceBox {
  float Min[3] = {1e30f, 1e30f, 1e30f};
  float Max[3] = {-1e30f, -1e30f, -1e30f};
  void Add(const float* p) {
    for (int i = 0; i < 3; i++) Min[i] = std::min(Min[i], p[i]), Max[i] = std::max(Max[i], p[i]);
  }
  void Add(const FaceBox& b) { Add(b.Min), Add(b.Max); }
};
