// Welded extraction: cell surfaces are appended to one mesh, vertices on cell
// faces merged through their global edge identity (see WeldedMesh.h).
#include <algorithm>

#include "MC/mcubes/VolumeObject.h"
#include "MC/mcubes/WeldedMesh.h"

uint64_t WeldedMeshBuilder::Pack(int x, int y, int z, int axis) {
  // 20 bits per coordinate, offset so negatives pack; +1 keeps 0 free as "empty".
  return ((uint64_t)((x + 0x80000) & 0xFFFFF) | (uint64_t)((y + 0x80000) & 0xFFFFF) << 20 |
          (uint64_t)((z + 0x80000) & 0xFFFFF) << 40 | (uint64_t)axis << 60) + 1;
}

static inline size_t Mix(uint64_t k) {
  k ^= k >> 33;
  k *= 0xff51afd7ed558ccdull;
  k ^= k >> 33;
  return (size_t)k;
}

int WeldedMeshBuilder::FindEdge(int x, int y, int z, int axis) const {
  if (keys_.empty()) return -1;
  const uint64_t key = Pack(x, y, z, axis);
  const size_t mask = keys_.size() - 1;
  for (size_t i = Mix(key) & mask;; i = (i + 1) & mask) {
    if (keys_[i] == key) return values_[i];
    if (keys_[i] == 0) return -1;
  }
}

void WeldedMeshBuilder::Grow() {
  std::vector<uint64_t> oldKeys;
  std::vector<int> oldValues;
  oldKeys.swap(keys_);
  oldValues.swap(values_);
  const size_t size = oldKeys.empty() ? 4096 : oldKeys.size() * 2;
  keys_.assign(size, 0);
  values_.assign(size, -1);
  const size_t mask = size - 1;
  for (size_t j = 0; j < oldKeys.size(); ++j) {
    if (!oldKeys[j]) continue;
    size_t i = Mix(oldKeys[j]) & mask;
    while (keys_[i]) i = (i + 1) & mask;
    keys_[i] = oldKeys[j];
    values_[i] = oldValues[j];
  }
}

void WeldedMeshBuilder::AddEdge(int x, int y, int z, int axis, int vertex) {
  if ((used_ + 1) * 2 > keys_.size()) Grow();
  const uint64_t key = Pack(x, y, z, axis);
  const size_t mask = keys_.size() - 1;
  size_t i = Mix(key) & mask;
  while (keys_[i] && keys_[i] != key) i = (i + 1) & mask;
  if (!keys_[i]) ++used_;
  keys_[i] = key;
  values_[i] = vertex;
}

int WeldedMeshBuilder::AddVertex(const float pos[3], const float normal[3]) {
  const int index = VertexCount();
  Positions.insert(Positions.end(), pos, pos + 3);
  Normals.insert(Normals.end(), normal, normal + 3);
  return index;
}

void VolumeObject::ExtractWelded(VoxelCell* cell, int cx, int cy, int cz, WeldedMeshBuilder& builder,
                                 const float* matrix, std::vector<int>& localRemap) {
  const CellSurface* s = cell ? cell->Surface : nullptr;
  if (!s || !s->Vertices.Count) return;
  if ((int)localRemap.size() < s->Vertices.Count) localRemap.resize(std::max(512, s->Vertices.Count * 2));
  for (int i = 0; i < s->Vertices.Count; ++i) {
    const MCVertex& v = s->Vertices[i];
    int gx = 0, gy = 0, gz = 0, axis = 0;
    if (v.BorderCode != kNoBorder) {
      const int code = v.BorderCode;
      gx = code % 9 + 8 * cx;
      gy = (code / 9) % 9 + 8 * cy;
      gz = (code / 81) % 9 + 8 * cz;
      axis = code / 729;
      const int found = builder.FindEdge(gx, gy, gz, axis);
      if (found >= 0) {
        localRemap[i] = found;
        continue;
      }
    }
    float p[3] = {v.Pos[0], v.Pos[1], v.Pos[2]}, n[3] = {v.Normal[0], v.Normal[1], v.Normal[2]};
    if (matrix) {
      for (int c = 0; c < 3; ++c) {
        p[c] = v.Pos[0] * matrix[c] + v.Pos[1] * matrix[4 + c] + v.Pos[2] * matrix[8 + c] + matrix[12 + c];
        n[c] = v.Normal[0] * matrix[c] + v.Normal[1] * matrix[4 + c] + v.Normal[2] * matrix[8 + c];
      }
    }
    const int index = builder.AddVertex(p, n);
    if (v.BorderCode != kNoBorder) builder.AddEdge(gx, gy, gz, axis, index);
    localRemap[i] = index;
  }
  for (int i = 0; i < s->Indices.Count; ++i) builder.Indices.push_back((uint32_t)localRemap[s->Indices[i]]);
}

void VolumeObject::ExtractWeldedAll(WeldedMeshBuilder& builder, const float* matrix) {
  std::vector<int> remap(512);
  size_t vertices = 0, indices = 0;
  Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    if (c->Surface) vertices += c->Surface->Vertices.Count, indices += c->Surface->Indices.Count;
  });
  // Welding keeps roughly half of the per-cell vertices.
  builder.Positions.reserve(builder.Positions.size() + vertices * 3 / 2 + 16);
  builder.Normals.reserve(builder.Normals.size() + vertices * 3 / 2 + 16);
  builder.Indices.reserve(builder.Indices.size() + indices);
  Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!(c->Flags & kCellHidden)) ExtractWelded(c, k.x, k.y, k.z, builder, matrix, remap);
  });
}
