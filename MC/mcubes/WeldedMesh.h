// A triangle mesh welded across cells: vertices on cell faces are merged by
// the global identity of the lattice edge they lie on, so the mesh has no
// cracks. Export and simplification take the surface through this.
#pragma once
#include <cstdint>
#include <vector>

class WeldedMeshBuilder {
 public:
  std::vector<float> Positions;  // 3 per vertex
  std::vector<float> Normals;    // 3 per vertex
  std::vector<uint32_t> Indices;

  int VertexCount() const { return (int)Positions.size() / 3; }
  int TriangleCount() const { return (int)Indices.size() / 3; }

  // Index of the vertex of lattice edge (x, y, z, axis), or -1.
  int FindEdge(int x, int y, int z, int axis) const;
  void AddEdge(int x, int y, int z, int axis, int vertex);
  int AddVertex(const float pos[3], const float normal[3]);

 private:
  static uint64_t Pack(int x, int y, int z, int axis);
  void Grow();
  std::vector<uint64_t> keys_;  // 0 = empty slot
  std::vector<int> values_;
  size_t used_ = 0;
};
