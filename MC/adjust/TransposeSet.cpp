// The transpose tool's selection and its blended move (see TransposeSet.h).
#include "MC/adjust/TransposeSet.h"

#include <algorithm>
#include <cmath>

#include "ClassEngine/Threader.h"

namespace {

uint64_t VertexKey(const CellKey& k, int vertex) {
  // 16 bits a coordinate reach far beyond any volume's cells; the vertex
  // index of a cell stays below 65536.
  return ((uint64_t)(uint16_t)k.x << 48) | ((uint64_t)(uint16_t)k.y << 32) | ((uint64_t)(uint16_t)k.z << 16) |
         (uint64_t)(uint16_t)vertex;
}

float Dot3(const float a[3], const float b[3]) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

void MovePoint(const float m[16], const float p[3], float out[3]) {
  float v[4];
  for (int j = 0; j < 4; ++j) v[j] = p[0] * m[j] + p[1] * m[4 + j] + p[2] * m[8 + j] + m[12 + j];
  const float w = v[3] != 0 ? v[3] : 1.f;
  for (int j = 0; j < 3; ++j) out[j] = v[j] / w;
}

void TurnVector(const float m[16], const float n[3], float out[3]) {
  for (int j = 0; j < 3; ++j) out[j] = n[0] * m[j] + n[1] * m[4 + j] + n[2] * m[8 + j];
}

}  // namespace

void TransposeSet::Clear() {
  Links.clear();
  Entries.clear();
  SurfaceTouched.clear();
  index_.clear();
}

void TransposeSet::Select(VolumeObject& volume, const CellKey& key, int vertex, float w) {
  if (!(w > 0)) return;
  const uint32_t weight = 1 + (uint32_t)std::lround(std::min(w, 2.f) * 65536.f);
  auto it = index_.find(VertexKey(key, vertex));
  if (it != index_.end()) {
    Links[it->second].Weight = std::max(Links[it->second].Weight, weight);
    return;
  }
  VoxelCell** cell = volume.Cells.Find(key.x, key.y, key.z);
  if (!cell || !(*cell)->Surface || vertex >= (*cell)->Surface->Vertices.Count) return;
  const MCVertex& v = (*cell)->Surface->Vertices[vertex];
  VLink link;
  for (int k = 0; k < 3; ++k) link.Src[k] = link.Dst[k] = v.Pos[k], link.SrcN[k] = link.DstN[k] = v.Normal[k];
  // The stored normal carries the freeze as its length: the link keeps a unit one.
  const float l = std::sqrt(Dot3(link.SrcN, link.SrcN));
  if (l > 1e-12f)
    for (int k = 0; k < 3; ++k) link.SrcN[k] /= l, link.DstN[k] /= l;
  link.Weight = weight;
  const int index = (int)Links.size();
  Links.push_back(link);
  Entries.push_back({key, vertex, index});
  index_[VertexKey(key, vertex)] = index;
  if (std::find(SurfaceTouched.begin(), SurfaceTouched.end(), key) == SurfaceTouched.end())
    SurfaceTouched.push_back(key);
}

bool TransposeSet::Centre(float out[3]) const {
  double sum[3] = {0, 0, 0}, total = 0;
  for (const VLink& l : Links) {
    const double w = (l.Weight - 1) / 65536.0;
    for (int k = 0; k < 3; ++k) sum[k] += l.Src[k] * w;
    total += w;
  }
  if (total <= 0) return false;
  for (int k = 0; k < 3; ++k) out[k] = float(sum[k] / total);
  return true;
}

void TransposeSet::Blend(const TransposeMatrix* matrices, int count, int threads) {
  count = std::clamp(count, 0, 2);
  ParallelRange(
      0, (int)Links.size(),
      [&](int first, int last) {
        for (int i = first; i < last; ++i) {
          VLink& l = Links[i];
          float moved[3] = {0, 0, 0}, turned[3] = {0, 0, 0}, total = 0;
          for (int m = 0; m < count; ++m) {
            const TransposeMatrix& tm = matrices[m];
            const float d[3] = {l.Src[0] - tm.Centre[0], l.Src[1] - tm.Centre[1], l.Src[2] - tm.Centre[2]};
            const float g = std::max(Dot3(d, tm.Normal) + 16.f, 0.f), w = g * g;
            float p[3], n[3];
            MovePoint(tm.M, l.Src, p);
            TurnVector(tm.M, l.SrcN, n);
            for (int k = 0; k < 3; ++k) moved[k] += p[k] * w, turned[k] += n[k] * w;
            total += w;
          }
          const float f = std::max((float(l.Weight) - 1.f) / 65536.f, 0.f);
          if (total <= 0) {
            // No matrix reaches the vertex: it stays.
            for (int k = 0; k < 3; ++k) l.Dst[k] = l.Src[k], l.DstN[k] = l.SrcN[k];
            continue;
          }
          float n[3];
          for (int k = 0; k < 3; ++k) {
            l.Dst[k] = l.Src[k] + f * (moved[k] / total - l.Src[k]);
            n[k] = l.SrcN[k] + f * (turned[k] / total - l.SrcN[k]);
          }
          const float len = std::sqrt(Dot3(n, n));
          for (int k = 0; k < 3; ++k) l.DstN[k] = len > 1e-12f ? n[k] / len : l.SrcN[k];
        }
      },
      threads);
}

void TransposeSet::WriteBack(VolumeObject& volume) {
  for (const CellKey& k : SurfaceTouched) {
    VoxelCell** cell = volume.Cells.Find(k.x, k.y, k.z);
    if (!cell || !(*cell)->Surface) continue;
    CellSurface& s = *(*cell)->Surface;
    volume.SaveUndoCopy(k.x, k.y, k.z);
    if (s.OldVertices.Empty()) s.OldVertices.Assign(s.Vertices.Data, s.Vertices.Count);
  }
  for (const Entry& e : Entries) {
    VoxelCell** cell = volume.Cells.Find(e.Cell.x, e.Cell.y, e.Cell.z);
    if (!cell || !(*cell)->Surface || e.Vertex >= (*cell)->Surface->Vertices.Count) continue;
    MCVertex& v = (*cell)->Surface->Vertices[e.Vertex];
    const VLink& l = Links[e.Link];
    const float scale = 1.f + v.Freeze / 65536.f;
    for (int k = 0; k < 3; ++k) v.Pos[k] = l.Dst[k], v.Normal[k] = l.DstN[k] * scale;
  }
  for (const CellKey& k : SurfaceTouched) volume.MarkDirty(k.x, k.y, k.z, true);
  volume.SurfaceChanged = true;
}

float DabStrength(const float p[3], const float c[3], float r, float opacity) {
  if (!(r > 0)) return 0;
  const float d[3] = {p[0] - c[0], p[1] - c[1], p[2] - c[2]};
  const float u = 1.f - Dot3(d, d) / (r * r);
  return u > 0 ? u * u * opacity : 0.f;
}

float TransposeStrength(int mode, const float p[3], const float a[3], const float b[3], float opacity) {
  const float ab[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
  const float l2 = Dot3(ab, ab);
  switch (mode) {
    case TRN_OBJECT:
      return opacity;
    case TRN_SPHERE:
      return DabStrength(p, a, std::sqrt(l2), opacity);
    case TRN_LINE:
    case TRN_BILINE: {
      // Everything on a's side of the plane through b across the line; the
      // single line fades from a (full) to b (none), the double line moves
      // all of it and lets the two matrices share it out.
      if (l2 < 1e-12f) return 0;
      const float ap[3] = {p[0] - a[0], p[1] - a[1], p[2] - a[2]};
      const float t = std::clamp(Dot3(ap, ab) / l2, 0.f, 1.f);
      if (t >= 1.f) return 0;
      if (mode == TRN_BILINE) return opacity;
      return opacity * (1.f - t * t * (3.f - 2.f * t));
    }
    default:
      return 0;  // TRN_CUSTOM is painted dab by dab
  }
}
