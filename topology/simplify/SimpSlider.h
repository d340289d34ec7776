// The live polycount slider: the collapses of one simplification, stored, and
// replayed forwards or backwards over the triangle list as built, so that a
// slider can show any triangle count between the input and the result at
// once. A collapse's record names the vertex that went and the one it went
// into, the up to two triangles it removed, and the corners (triangle * 3 +
// corner) that it turned from the one vertex to the other.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

struct CollapseRecord {
  int from = -1, to = -1;
  int removed[2] = {-1, -1};
  int firstCorner = 0, cornerCount = 0;  // into CollapseLog::corners
};

// Filled by HalfEdgeMesh::Simplify when given one.
struct CollapseLog {
  std::vector<CollapseRecord> records;
  std::vector<int> corners;
};

class SimpSlider {
 public:
  // `indices`: three per triangle, as the simplifier built them; `log`: the
  // collapses it made on them, in order.
  SimpSlider(std::vector<uint32_t> indices, CollapseLog log);
  // Replays collapses, one record at a time, until the live triangle count
  // is within 2 of trunc(index count * fraction / 3). The ends are exact:
  // 1 (or more) is the input, 0 (or less) every stored collapse; no
  // fraction goes past them.
  void SetFraction(float fraction);
  int LiveTriangles() const { return live_; }
  // Collapses applied now.
  int Position() const { return position_; }
  // The corners of every triangle, removed ones included (see Alive).
  const std::vector<uint32_t>& Indices() const { return indices_; }
  bool Alive(int triangle) const { return alive_[size_t(triangle)] != 0; }

 private:
  void Forward();
  void Backward();
  std::vector<uint32_t> indices_;
  std::vector<uint8_t> alive_;
  CollapseLog log_;
  int live_ = 0, position_ = 0;
};
