// Writing surface-mode edits back into the voxels (VolumeObject::ApplyMC):
// the triangles of the moved neighbourhood, closed by hard caps where the
// neighbourhood meets the untouched field, are rasterised again through the
// triangle collector; cells outside the neighbourhood carry the mark bit and
// the merge leaves them alone.
#include <cmath>
#include <vector>

#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/MergeIntoVolume.h"
#include "MC/mesh/StageTimer.h"

namespace {

// Marching squares over one square of a face: corner 0 is the origin, 1 is
// +u, 2 is +v, 3 is +u+v. Each point is 0xab: corner a when a == b, else
// the iso point of edge a-b. Up to three triangles, -1 ends the list.
constexpr int8_t kSquareTriangles[16][10] = {
    {-1},
    {0x00, 0x01, 0x02, -1},
    {0x01, 0x11, 0x13, -1},
    {0x00, 0x11, 0x02, 0x11, 0x13, 0x02, -1},
    {0x02, 0x23, 0x22, -1},
    {0x00, 0x01, 0x22, 0x22, 0x01, 0x23, -1},
    {0x01, 0x11, 0x13, 0x02, 0x23, 0x22, -1},
    {0x00, 0x11, 0x13, 0x00, 0x13, 0x23, 0x00, 0x23, 0x22, -1},
    {0x13, 0x33, 0x23, -1},
    {0x00, 0x01, 0x02, 0x13, 0x33, 0x23, -1},
    {0x01, 0x11, 0x33, 0x01, 0x33, 0x23, -1},
    {0x00, 0x11, 0x02, 0x02, 0x11, 0x23, 0x23, 0x11, 0x33, -1},
    {0x02, 0x13, 0x22, 0x22, 0x13, 0x33, -1},
    {0x00, 0x01, 0x22, 0x22, 0x01, 0x13, 0x22, 0x13, 0x33, -1},
    {0x22, 0x02, 0x33, 0x33, 0x02, 0x01, -1},
    {0x00, 0x11, 0x22, 0x22, 0x11, 0x33, -1},
};

// The six faces of a cell: the step to the neighbour across it and its
// corners (first, +u, +u+v, +v) as offsets of 0 or 1.
constexpr int kFaceStep[6][3] = {{-1, 0, 0}, {1, 0, 0}, {0, -1, 0}, {0, 1, 0}, {0, 0, -1}, {0, 0, 1}};
constexpr int kCubeCorner[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                                   {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
constexpr int kFaceCorners[6][4] = {{0, 3, 7, 4}, {1, 5, 6, 2}, {0, 4, 5, 1}, {3, 2, 6, 7}, {0, 1, 2, 3}, {4, 7, 6, 5}};

// Closes the region at one face of an affected cell with the inside part of
// the field on that face, as triangles of hard kind (entering on the lower
// faces, leaving on the upper ones).
void CapFace(VolumeObject& v, const CellKey& k, int face, TriangleCollector& collector) {
  const int* c0 = kCubeCorner[kFaceCorners[face][0]];
  const int* c1 = kCubeCorner[kFaceCorners[face][1]];
  const int* c3 = kCubeCorner[kFaceCorners[face][3]];
  int origin[3], u[3], w[3];
  const int cell[3] = {k.x, k.y, k.z};
  for (int a = 0; a < 3; ++a) {
    origin[a] = cell[a] * 8 + c0[a] * 8;
    u[a] = c1[a] - c0[a];
    w[a] = c3[a] - c0[a];
  }
  collector.SetKind(true, 256 - (face & 1), false);
  CellCache cache;
  for (int j = 0; j < 8; ++j)
    for (int i = 0; i < 8; ++i) {
      float p[4][3];
      float value[4];
      int bits = 0;
      for (int q = 0; q < 4; ++q) {
        const int du = i + (q & 1), dv = j + (q >> 1);
        int lattice[3];
        for (int a = 0; a < 3; ++a) {
          lattice[a] = origin[a] + u[a] * du + w[a] * dv;
          p[q][a] = (float)lattice[a];
        }
        value[q] = v.GetVoxel(lattice[0], lattice[1], lattice[2], &cache);
        if (value[q] >= kSurfaceLevel) bits |= 1 << q;
      }
      const int8_t* list = kSquareTriangles[bits];
      for (int t = 0; list[t] >= 0; t += 3) {
        float tri[3][3];
        for (int n = 0; n < 3; ++n) {
          const int a = list[t + n] >> 4, b = list[t + n] & 15;
          for (int x = 0; x < 3; ++x) {
            if (a == b) {
              tri[n][x] = p[a][x];
            } else {
              const float span = value[b] - value[a];
              tri[n][x] = p[a][x] * (value[b] - 32767.5f) / span + p[b][x] * (32767.5f - value[a]) / span;
            }
          }
        }
        collector.AddTriangle(tri[0], tri[1], tri[2]);
      }
    }
  collector.SetKind(false, 0, false);
}

bool Affected(CellKeyMap<int>& region, int x, int y, int z) { return region.Find(x, y, z) != nullptr; }

}  // namespace

bool VolumeObject::ApplyMC(bool force, bool keepUndo) {
  StageTimer steps;
  steps.End("ApplyMC-1A");

  SurfaceChanged = false;
  TriangleCollector collector;
  Cells.ForEach([](const CellKey&, VoxelCell*& c) { c->Flags = (uint8_t)((c->Flags & ~kCellChanged) | kCellMark); });
  steps.End("ApplyMC-1B");

  // Moved cells, and the cells their vertices passed on the way.
  CellKeyMap<int> moved(4099);
  std::vector<CellKey> surfaceCells;
  Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    CellSurface* s = c->Surface;
    if (!s) return;
    surfaceCells.push_back(k);
    if (s->OldVertices.Count) MarkDirty(k.x, k.y, k.z, false);
    const int n = std::min(s->Vertices.Count, s->OldVertices.Count);
    bool any = force && s->Vertices.Count > 0;
    for (int i = 0; i < n; ++i) {
      const float* p = s->Vertices[i].Pos;
      const float* o = s->OldVertices[i].Pos;
      const float d[3] = {o[0] - p[0], o[1] - p[1], o[2] - p[2]};
      const float length2 = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
      if (length2 <= 0.1f) continue;
      any = true;
      const int steps = (int)std::sqrt(length2) / 12 + 1;
      for (int t = 0; t <= steps; ++t) {
        const float f = (float)t / (float)steps;
        moved.Set((int)std::floor((p[0] + d[0] * f) / 8), (int)std::floor((p[1] + d[1] * f) / 8),
                  (int)std::floor((p[2] + d[2] * f) / 8), 1);
      }
    }
    if (any) moved.Set(k.x, k.y, k.z, 1);
  });
  steps.End("ApplyMC-1C");
  if (!moved.Count()) {
    Cells.ForEach([](const CellKey&, VoxelCell*& c) { c->Flags &= (uint8_t)~kCellMark; });
    return false;
  }

  // The region: moved cells and their 26 neighbours, without the mark.
  CellKeyMap<int> region(4099);
  moved.ForEach([&](const CellKey& k, int&) {
    for (int dz = -1; dz <= 1; ++dz)
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) region.Set(k.x + dx, k.y + dy, k.z + dz, 1);
  });
  std::vector<CellKey> affected;
  region.ForEach([&](const CellKey& k, int&) {
    VoxelCell* c = GetCell(k.x, k.y, k.z, true, keepUndo);
    c->Flags &= (uint8_t)~kCellMark;
    affected.push_back(k);
  });
  steps.End("ApplyMC-1D");

  for (const CellKey& k : affected) {
    const VoxelCell* c = *Cells.Find(k.x, k.y, k.z);
    const CellSurface* s = c->Surface;
    if (!s) continue;
    for (int i = 0; i + 2 < s->Indices.Count; i += 3)
      collector.AddTriangle(s->Vertices[s->Indices[i]].Pos, s->Vertices[s->Indices[i + 1]].Pos,
                            s->Vertices[s->Indices[i + 2]].Pos);
  }
  Cells.ForEach([](const CellKey&, VoxelCell*& c) { c->Flags &= (uint8_t)~kCellChanged; });
  steps.End("ApplyMC-2");

  // Cells wholly inside the region start empty; those at its rim keep their
  // voxels, so the new field joins the untouched one.
  for (const CellKey& k : affected) {
    VoxelCell* c = *Cells.Find(k.x, k.y, k.z);
    if (!c->Voxels && !c->Fill) continue;
    bool rim = false;
    for (int dz = -1; dz <= 1 && !rim; ++dz)
      for (int dy = -1; dy <= 1 && !rim; ++dy)
        for (int dx = -1; dx <= 1 && !rim; ++dx) {
          VoxelCell** n = Cells.Find(k.x + dx, k.y + dy, k.z + dz);
          rim = n && !Affected(region, k.x + dx, k.y + dy, k.z + dz);
        }
    if (rim) continue;
    vpool.Free(c->Voxels);
    c->Voxels = nullptr;
    c->Fill = 0;
    c->Flags = (uint8_t)((c->Flags & kCellHidden) | kCellBelow | kCellChanged);
    MarkDirty(k.x, k.y, k.z, false);
  }
  steps.End("ApplyMC-2A");

  for (const CellKey& k : affected)
    for (int face = 0; face < 6; ++face) {
      const int* s = kFaceStep[face];
      if (!Affected(region, k.x + s[0], k.y + s[1], k.z + s[2])) CapFace(*this, k, face, collector);
    }
  steps.End("ApplyMC-3");

  MergeIntoVolume(collector, *this, kMergeUnion, keepUndo);
  // Plane 8 of a cell repeats plane 0 of the cells above it. A rim cell keeps
  // its old values where the emptied cell above it starts afresh, and a cell
  // below the region was not merged at all: each takes its plane 8 from its
  // upper neighbours, or the surface cracks along the region's faces.
  CellKeyMap<int> synced(4099);
  for (const CellKey& k : affected)
    for (int m = 0; m < 8; ++m) {
      const int nx = k.x - (m & 1), ny = k.y - ((m >> 1) & 1), nz = k.z - ((m >> 2) & 1);
      if (synced.Find(nx, ny, nz) || !Cells.Find(nx, ny, nz)) continue;
      synced.Set(nx, ny, nz, 1);
      if (keepUndo) SaveUndoCopy(nx, ny, nz);
      SyncBorders(nx, ny, nz);
      MarkDirty(nx, ny, nz, false);
    }
  steps.End("ApplyMC-4");

  Cells.ForEach([](const CellKey&, VoxelCell*& c) { c->Flags &= (uint8_t)~kCellMark; });
  steps.End("ApplyMC-5A");

  for (const CellKey& k : surfaceCells) {
    VoxelCell** found = Cells.Find(k.x, k.y, k.z);
    if (!found || !(*found)->Surface) continue;
    CellSurface* s = (*found)->Surface;
    s->OldVertices.Free();
    if (!s->Vertices.Count && !s->SavedVertices.Count) {
      s->FreeArrays();
      apool.Free(s);
      (*found)->Surface = nullptr;
    }
  }
  steps.End("ApplyMC-5");
  return true;
}
