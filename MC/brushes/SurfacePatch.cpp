// Welded surface patches and the vertex-function driver of surface mode
// (see SurfacePatch.h).
#include "MC/brushes/SurfacePatch.h"

#include <algorithm>
#include <cmath>
#include <cstring>

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

bool SurfacePatch::Build(VolumeObject& volume, const float center[3], float radius) {
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
  WeldedMeshBuilder weld;  // only its edge map: which vertex a lattice edge has
  std::vector<int> local;
  for (int cz = lo[2]; cz <= hi[2]; ++cz)
    for (int cy = lo[1]; cy <= hi[1]; ++cy)
      for (int cx = lo[0]; cx <= hi[0]; ++cx) {
        VoxelCell** found = volume.Cells.Find(cx, cy, cz);
        if (!found) continue;
        VoxelCell* cell = *found;
        CellSurface* s = cell->Surface;
        if (!s || !s->Vertices.Count || (cell->Flags & kCellHidden)) continue;
        const bool hasOld = s->OldVertices.Count == s->Vertices.Count;
        local.assign(s->Vertices.Count, -1);
        for (int i = 0; i < s->Vertices.Count; ++i) {
          const MCVertex& m = s->Vertices[i];
          int gx = 0, gy = 0, gz = 0, axis = 0;
          if (m.BorderCode != kNoBorder) {
            gx = m.BorderCode % 9 + 8 * cx;
            gy = (m.BorderCode / 9) % 9 + 8 * cy;
            gz = (m.BorderCode / 81) % 9 + 8 * cz;
            axis = m.BorderCode / 729;
            const int known = weld.FindEdge(gx, gy, gz, axis);
            if (known >= 0) {
              local[i] = known;
              AddRef(known, {cell, i, {cx, cy, cz}});
              continue;
            }
          }
          PatchVertex v;
          std::memcpy(v.Pos, m.Pos, sizeof v.Pos);
          Outward(m.Normal, v.Normal);
          const MCVertex& o = hasOld ? s->OldVertices[i] : m;
          std::memcpy(v.OldPos, o.Pos, sizeof v.OldPos);
          Outward(o.Normal, v.OldNormal);
          v.Freeze = m.Freeze;
          local[i] = (int)Vertices.size();
          if (m.BorderCode != kNoBorder) weld.AddEdge(gx, gy, gz, axis, local[i]);
          Vertices.push_back(v);
          refHead_.push_back(-1);
          AddRef(local[i], {cell, i, {cx, cy, cz}});
        }
        for (int i = 0; i + 2 < s->Indices.Count; i += 3)
          for (int k = 0; k < 3; ++k) Indices.push_back((uint32_t)local[s->Indices[i + k]]);
      }
  original_ = Vertices;
  return !Vertices.empty();
}

void SurfacePatch::AddRef(int vertex, const CellRef& r) {
  refNext_.push_back(refHead_[vertex]);
  refHead_[vertex] = (int)refs_.size();
  refs_.push_back(r);
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
  SurfacePatch patch;
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
