// The transpose tool's selection: one VLink per selected surface vertex of a
// volume, with the vertex's place before the move, its place after it and
// the strength it was selected with. A gizmo gives up to two matrices, each
// reaching out from a centre along a normal; a link moves by their blend,
// scaled by its strength, and the moved places are written back into the
// cells' surfaces, which ApplyMC then carries into the voxels.
#pragma once
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "MC/mcubes/VolumeObject.h"

struct VLink {
  float Src[3];
  float Dst[3];
  float DstN[3];
  float SrcN[3];
  uint32_t Weight;  // 1 + 65536 w for a selection strength w
};

// One matrix of the gizmo (object space, row vectors) and the half-space it
// reaches: weight g^2 with g = max(dot(p - Centre, Normal) + 16, 0).
struct TransposeMatrix {
  float M[16];
  float Centre[3];
  float Normal[3];
};

enum TransposeMode { TRN_LINE = 0, TRN_BILINE, TRN_SPHERE, TRN_CUSTOM, TRN_OBJECT };

class TransposeSet {
 public:
  struct Entry {
    CellKey Cell;
    int Vertex;
    int Link;
  };
  std::vector<VLink> Links;
  std::vector<Entry> Entries;
  std::vector<CellKey> SurfaceTouched;

  bool Empty() const { return Links.empty(); }
  void Clear();
  // Selects vertex `vertex` of cell `key` with strength w (0..2), or raises
  // the strength of a selected one to w when higher. w <= 0 is ignored.
  void Select(VolumeObject& volume, const CellKey& key, int vertex, float w);
  // Selects every visible surface vertex for which strength(p) > 0.
  template <class Fn>
  void SelectWhere(VolumeObject& volume, Fn strength);
  // The strength-weighted centre of the selection (object space); false when empty.
  bool Centre(float out[3]) const;
  // Moves every link by the blend of the matrices (1 or 2), Dst from Src.
  void Blend(const TransposeMatrix* matrices, int count, int threads = 0);
  // Copies each link into its vertex (normal scaled by 1 + Freeze / 65536):
  // OldVertices and undo copies are made at a cell's first change, and the
  // cells are marked dirty with their surface current.
  void WriteBack(VolumeObject& volume);

 private:
  std::unordered_map<uint64_t, int> index_;  // (cell, vertex) -> link
};

// The strength of a vertex at p for a selection made by a drag from a to b
// (object space) in `mode` (TRN_CUSTOM is painted dab by dab, see
// DabStrength), times `opacity`.
float TransposeStrength(int mode, const float p[3], const float a[3], const float b[3], float opacity);
// One dab of the painted (TRN_CUSTOM) selection: (1 - (d / r)^2)^2 * opacity inside r.
float DabStrength(const float p[3], const float c[3], float r, float opacity);

template <class Fn>
void TransposeSet::SelectWhere(VolumeObject& volume, Fn strength) {
  std::vector<std::pair<CellKey, VoxelCell*>> cells;
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (c->Surface && c->Surface->Vertices.Count && !(c->Flags & kCellHidden)) cells.push_back({k, c});
  });
  for (auto& [k, c] : cells)
    for (int i = 0; i < c->Surface->Vertices.Count; ++i) {
      const float w = strength(c->Surface->Vertices[i].Pos);
      if (w > 0) Select(volume, k, i, w);
    }
}
