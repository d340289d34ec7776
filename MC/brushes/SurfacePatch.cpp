// Welded surface patches and the vertex-function driver of surface mode
// (see SurfacePatch.h).
#include "MC/brushes/SurfacePatch.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "ClassEngine/Threader.h"
#include "MC/mcubes/VolumeObject.h"

namespace {

void Unit(const float in[3], float out[3]) {
  const float l = std::sqrt(in[0] * in[0] + in[1] * in[1] + in[2] * in[2]);
  for (int k = 0; k < 3; ++k) out[k] = l > 1e-20f ? in[k] / l : (k == 2 ? 1.f : 0.f);
}

bool SameVertex(const PatchVertex& a, const PatchVertex& b) {
  return std::memcmp(a.Pos, b.Pos, sizeof a.Pos) == 0 && std::memcmp(a.Normal, b.Normal, sizeof a.Normal) == 0 &&
         a.Freeze == b.Freeze;
}

// Cells store the field's gradient, which points into the solid; the patch
// works with the outward normal.
void Outward(const float stored[3], float out[3]) {
  Unit(stored, out);
  for (int k = 0; k < 3; ++k) out[k] = -out[k];
}

// The stored normal carries the freeze in its length.
void StoreNormal(MCVertex& out, const float outward[3], uint16_t freeze) {
  const float scale = 1.f + (float)freeze / 65536.f;
  for (int k = 0; k < 3; ++k) out.Normal[k] = -outward[k] * scale;
}

}  // namespace

void TouchCellSurface(VolumeObject& volume, int cx, int cy, int cz) {
  VoxelCell** found = volume.Cells.Find(cx, cy, cz);
  if (!found) return;
  VoxelCell* cell = *found;
  CellSurface* s = cell->Surface;
  if (!cell->UndoCopy) {
    volume.SaveUndoCopy(cx, cy, cz);
    VoxelCell* copy = cell->UndoCopy;
    // The copy keeps the whole surface as it is, OldVertices included, so the
    // undo record and a rollback give it back exactly.
    if (copy && s && !copy->Surface) {
      CellSurface* keep = (CellSurface*)volume.apool.Allocate(true);
      std::memcpy(keep->ScreenRect, s->ScreenRect, sizeof keep->ScreenRect);
      std::memcpy(keep->Bounds, s->Bounds, sizeof keep->Bounds);
      keep->Vertices.Assign(s->Vertices.Data, s->Vertices.Count);
      keep->Indices.Assign(s->Indices.Data, s->Indices.Count);
      keep->OldVertices.Assign(s->OldVertices.Data, s->OldVertices.Count);
      copy->Surface = keep;
    }
  }
  if (s && s->OldVertices.Count != s->Vertices.Count) s->OldVertices.Assign(s->Vertices.Data, s->Vertices.Count);
  volume.SurfaceChanged = true;
}

namespace {

// A lattice edge's identity as one word (20 bits a coordinate, 0 kept for "none").
uint64_t EdgeKey(int x, int y, int z, int axis) {
  return ((uint64_t)((x + 0x80000) & 0xFFFFF) | (uint64_t)((y + 0x80000) & 0xFFFFF) << 20 |
          (uint64_t)((z + 0x80000) & 0xFFFFF) << 40 | (uint64_t)axis << 60) + 1;
}

size_t MixKey(uint64_t k) {
  k ^= k >> 33;
  k *= 0xff51afd7ed558ccdull;
  k ^= k >> 33;
  return (size_t)k;
}

// A surface cell of the patch and where its vertices and triangle corners
// start in the patch's running lists.
struct PatchCell {
  VoxelCell* Cell;
  CellKey Key;
  int FirstVertex;
  int FirstIndex;
};

// The weld's lists of one thread.
struct WeldScratch {
  std::vector<uint64_t> Edge, Keys;
  std::vector<int> Local, Source, Values;
};

}  // namespace

bool SurfacePatch::Build(VolumeObject& volume, const float center[3], float radius, int threads) {
  Vertices.clear();
  Indices.clear();
  refs_.clear();
  refHead_.clear();
  refNext_.clear();
  neighbours_.clear();
  original_.clear();
  int lo[3], hi[3];
  for (int a = 0; a < 3; ++a) {
    lo[a] = (int)std::floor((center[a] - radius - 4.f) / 8.f);
    hi[a] = (int)std::floor((center[a] + radius + 4.f) / 8.f);
    if (!(hi[a] - lo[a] + 1 + 2 < kMaxCellsPerAxis + 1)) return false;
  }
  std::vector<PatchCell> cells;
  int cellVertices = 0, corners = 0;
  for (int cz = lo[2]; cz <= hi[2]; ++cz)
    for (int cy = lo[1]; cy <= hi[1]; ++cy)
      for (int cx = lo[0]; cx <= hi[0]; ++cx) {
        VoxelCell** found = volume.Cells.Find(cx, cy, cz);
        if (!found) continue;
        VoxelCell* cell = *found;
        const CellSurface* s = cell->Surface;
        if (!s || !s->Vertices.Count || (cell->Flags & kCellHidden)) continue;
        cells.push_back({cell, {cx, cy, cz}, cellVertices, corners});
        cellVertices += s->Vertices.Count;
        corners += s->Indices.Count / 3 * 3;
      }
  if (cells.empty()) return false;

  // The identity of the lattice edge of each cell vertex on a cell face (0
  // for the others), on the workers. The scratch lists live as long as the
  // thread, so a dab does not fault in fresh pages for them.
  // (The workers reach them through these references: a thread_local named
  // inside the lambda would be the worker's own.)
  thread_local WeldScratch scratch;
  std::vector<uint64_t>& edge = scratch.Edge;
  std::vector<uint64_t>& keys = scratch.Keys;
  std::vector<int>& local = scratch.Local;
  std::vector<int>& source = scratch.Source;
  std::vector<int>& values = scratch.Values;
  edge.resize((size_t)cellVertices);
  ParallelRange(
      0, (int)cells.size(),
      [&](int first, int last) {
        for (int c = first; c < last; ++c) {
          const PatchCell& pc = cells[c];
          const CellSurface* s = pc.Cell->Surface;
          for (int i = 0; i < s->Vertices.Count; ++i) {
            const int code = s->Vertices[i].BorderCode;
            edge[(size_t)pc.FirstVertex + i] =
                code == kNoBorder ? 0
                                  : EdgeKey(code % 9 + 8 * pc.Key.x, (code / 9) % 9 + 8 * pc.Key.y,
                                            (code / 81) % 9 + 8 * pc.Key.z, code / 729);
          }
        }
      },
      threads);

  // The weld, in cell order, so the patch's vertices come in the same order
  // whatever the thread count: a face vertex whose edge already has a patch
  // vertex becomes one more cell copy of it.
  size_t faceVertices = 0;
  for (size_t r = 0; r < (size_t)cellVertices; ++r) faceVertices += edge[r] != 0;
  size_t slots = 64;
  while (slots < faceVertices * 2) slots *= 2;
  keys.assign(slots, 0);
  values.resize(slots);
  const size_t mask = slots - 1;
  local.resize((size_t)cellVertices);
  source.clear();
  refHead_.clear();
  refs_.resize((size_t)cellVertices);
  refNext_.resize((size_t)cellVertices);
  for (const PatchCell& pc : cells) {
    const int count = pc.Cell->Surface->Vertices.Count;
    for (int i = 0; i < count; ++i) {
      const size_t r = (size_t)pc.FirstVertex + i;
      refs_[r] = {pc.Cell, i, pc.Key};
      int vertex = -1;
      size_t slot = 0;
      if (edge[r]) {
        for (slot = MixKey(edge[r]) & mask; keys[slot] && keys[slot] != edge[r]; slot = (slot + 1) & mask) {
        }
        if (keys[slot]) vertex = values[slot];
      }
      if (vertex < 0) {
        vertex = (int)source.size();
        source.push_back((int)r);
        refHead_.push_back(-1);
        if (edge[r]) keys[slot] = edge[r], values[slot] = vertex;
      }
      local[r] = vertex;
      refNext_[r] = refHead_[vertex];
      refHead_[vertex] = (int)r;
    }
  }

  // The patch's vertices from their first cell copy, and the triangles
  // through the weld, each in stretches of their own, on the workers.
  Vertices.resize(source.size());
  ParallelRange(
      0, (int)source.size(),
      [&](int first, int last) {
        for (int v = first; v < last; ++v) {
          const CellRef& ref = refs_[(size_t)source[v]];
          const CellSurface* s = ref.Cell->Surface;
          const MCVertex& m = s->Vertices[ref.Index];
          PatchVertex& out = Vertices[v];
          std::memcpy(out.Pos, m.Pos, sizeof out.Pos);
          Outward(m.Normal, out.Normal);
          const MCVertex& o = s->OldVertices.Count == s->Vertices.Count ? s->OldVertices[ref.Index] : m;
          std::memcpy(out.OldPos, o.Pos, sizeof out.OldPos);
          Outward(o.Normal, out.OldNormal);
          out.Freeze = m.Freeze;
        }
      },
      threads);
  Indices.resize((size_t)corners);
  ParallelRange(
      0, (int)cells.size(),
      [&](int first, int last) {
        for (int c = first; c < last; ++c) {
          const PatchCell& pc = cells[c];
          const CellSurface* s = pc.Cell->Surface;
          const int n = s->Indices.Count / 3 * 3;
          for (int j = 0; j < n; ++j)
            Indices[(size_t)pc.FirstIndex + j] = (uint32_t)local[(size_t)pc.FirstVertex + s->Indices[j]];
        }
      },
      threads);
  original_ = Vertices;
  return true;
}

const std::vector<std::vector<int>>& SurfacePatch::Neighbours() {
  if (!neighbours_.empty() || Vertices.empty()) return neighbours_;
  neighbours_.assign(Vertices.size(), {});
  for (size_t t = 0; t + 2 < Indices.size(); t += 3)
    for (int k = 0; k < 3; ++k) {
      const uint32_t a = Indices[t + k], b = Indices[t + (k + 1) % 3];
      neighbours_[a].push_back((int)b);
      neighbours_[b].push_back((int)a);
    }
  for (auto& n : neighbours_) {
    std::sort(n.begin(), n.end());
    n.erase(std::unique(n.begin(), n.end()), n.end());
  }
  return neighbours_;
}

void SurfacePatch::RecomputeNormals(const std::vector<char>& moved) {
  const size_t n = Vertices.size();
  // A vertex takes a new normal when it, or a vertex of one of its triangles, moved.
  std::vector<char> redo(n, 0);
  for (size_t t = 0; t + 2 < Indices.size(); t += 3) {
    const uint32_t a = Indices[t], b = Indices[t + 1], c = Indices[t + 2];
    if (moved[a] || moved[b] || moved[c]) redo[a] = redo[b] = redo[c] = 1;
  }
  std::vector<float> sum(n * 3, 0.f);
  for (size_t t = 0; t + 2 < Indices.size(); t += 3) {
    const uint32_t i[3] = {Indices[t], Indices[t + 1], Indices[t + 2]};
    if (!redo[i[0]] && !redo[i[1]] && !redo[i[2]]) continue;
    const float* p0 = Vertices[i[0]].Pos;
    const float* p1 = Vertices[i[1]].Pos;
    const float* p2 = Vertices[i[2]].Pos;
    const float e1[3] = {p1[0] - p0[0], p1[1] - p0[1], p1[2] - p0[2]};
    const float e2[3] = {p2[0] - p0[0], p2[1] - p0[1], p2[2] - p0[2]};
    // Twice the area, along the outward normal.
    const float f[3] = {e1[1] * e2[2] - e1[2] * e2[1], e1[2] * e2[0] - e1[0] * e2[2], e1[0] * e2[1] - e1[1] * e2[0]};
    for (uint32_t v : i)
      for (int k = 0; k < 3; ++k) sum[v * 3 + k] += f[k];
  }
  for (size_t v = 0; v < n; ++v)
    if (redo[v] && (sum[v * 3] != 0 || sum[v * 3 + 1] != 0 || sum[v * 3 + 2] != 0))
      Unit(&sum[v * 3], Vertices[v].Normal);
}

int SurfacePatch::WriteBack(VolumeObject& volume) {
  CellKeyMap<int> written(1031);
  std::vector<CellKey> order;
  for (size_t v = 0; v < Vertices.size(); ++v) {
    if (SameVertex(Vertices[v], original_[v])) continue;
    const PatchVertex& pv = Vertices[v];
    for (int ri = refHead_[v]; ri >= 0; ri = refNext_[ri]) {
      const CellRef& r = refs_[ri];
      if (!written.Find(r.Key.x, r.Key.y, r.Key.z)) {
        TouchCellSurface(volume, r.Key.x, r.Key.y, r.Key.z);
        written.Set(r.Key.x, r.Key.y, r.Key.z, 1);
        order.push_back(r.Key);
      }
      MCVertex& m = r.Cell->Surface->Vertices[r.Index];
      std::memcpy(m.Pos, pv.Pos, sizeof m.Pos);
      StoreNormal(m, pv.Normal, pv.Freeze);
      m.Freeze = pv.Freeze;
    }
  }
  for (const CellKey& k : order) volume.MarkDirty(k.x, k.y, k.z, true);
  original_ = Vertices;
  return (int)order.size();
}

bool SurfaceOp(VolumeObject& volume, const float center[3], float radius, const VertexFn& fn, int* cells) {
  if (cells) *cells = 0;
  thread_local SurfacePatch patch;  // its lists keep their room from one call to the next
  if (!patch.Build(volume, center, radius)) return false;
  std::vector<char> moved(patch.Vertices.size(), 0);
  const float r2 = radius * radius;
  for (size_t i = 0; i < patch.Vertices.size(); ++i) {
    PatchVertex& v = patch.Vertices[i];
    const float d[3] = {v.Pos[0] - center[0], v.Pos[1] - center[1], v.Pos[2] - center[2]};
    const float dist2 = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
    if (dist2 > r2) continue;
    const float before[3] = {v.Pos[0], v.Pos[1], v.Pos[2]};
    fn(v, std::sqrt(dist2));
    moved[i] = std::memcmp(before, v.Pos, sizeof before) != 0;
  }
  patch.RecomputeNormals(moved);
  const int n = patch.WriteBack(volume);
  if (cells) *cells = n;
  return true;
}

namespace {

// Applies rule to every vertex of every surface; cells whose vertices change
// keep their undo copies first.
template <class Rule>
int ForEveryVertex(VolumeObject& volume, Rule rule) {
  std::vector<CellKey> changed;
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    CellSurface* s = c->Surface;
    if (!s) return;
    bool touched = false;
    for (int i = 0; i < s->Vertices.Count; ++i) {
      MCVertex m = s->Vertices[i];
      rule(m);
      if (std::memcmp(&m, &s->Vertices[i], sizeof m) == 0) continue;
      if (!touched) {
        TouchCellSurface(volume, k.x, k.y, k.z);
        touched = true;
        changed.push_back(k);
      }
      s->Vertices[i] = m;
    }
  });
  for (const CellKey& k : changed) volume.MarkDirty(k.x, k.y, k.z, true);
  return (int)changed.size();
}

}  // namespace

int ClearFreeze(VolumeObject& volume) {
  return ForEveryVertex(volume, [](MCVertex& m) {
    if (m.Freeze == 0) return;
    float outward[3];
    Outward(m.Normal, outward);
    m.Freeze = 0;
    StoreNormal(m, outward, 0);
  });
}

int InvertFreeze(VolumeObject& volume) {
  return ForEveryVertex(volume, [](MCVertex& m) {
    float unit[3];
    Unit(m.Normal, unit);
    m.Freeze = (uint16_t)(65535 - m.Freeze);
    const float scale = 1.f + (float)m.Freeze / 65535.f;
    for (int k = 0; k < 3; ++k) m.Normal[k] = unit[k] * scale;
  });
}
