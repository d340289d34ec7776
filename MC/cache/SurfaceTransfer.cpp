// TransferFromCache: edits made in surface mode on a cached volume's coarse
// proxy are carried onto the full-resolution surface read back from the
// cache. Each moved proxy vertex is a candidate; a full vertex takes the
// weighted mean of the moves of the candidates within 2.5 proxy voxels, with
// weights ((R^2 - d^2) / R^2)^2, so a uniform shift carries over exactly.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "MC/cache/VolumeCache.h"
#include "MC/mcubes/VolumeObject.h"
#include "render/Math3D.h"

using comms::cMat4;
using comms::cVec3;

namespace {

constexpr float kReach = 2.5f;
constexpr float kMoved2 = 0.001f;

struct Candidate {
  cVec3 Old, New;
};

uint64_t Bucket(int x, int y, int z) {
  return ((uint64_t)(uint32_t)(x + (1 << 20)) << 42) | ((uint64_t)(uint32_t)(y + (1 << 20)) << 21) |
         (uint64_t)(uint32_t)(z + (1 << 20));
}

cMat4 Mat(const float m[16]) {
  cMat4 r;
  std::memcpy(r.m, m, sizeof(r.m));
  return r;
}

// Normals of a cell's vertices from its triangles, area-weighted.
void RebuildNormals(CellSurface& s) {
  std::vector<cVec3> n((size_t)s.Vertices.Count, cVec3(0, 0, 0));
  for (int i = 0; i + 2 < s.Indices.Count; i += 3) {
    const MCVertex* v[3] = {&s.Vertices[s.Indices[i]], &s.Vertices[s.Indices[i + 1]], &s.Vertices[s.Indices[i + 2]]};
    const cVec3 a(v[0]->Pos[0], v[0]->Pos[1], v[0]->Pos[2]), b(v[1]->Pos[0], v[1]->Pos[1], v[1]->Pos[2]),
        c(v[2]->Pos[0], v[2]->Pos[1], v[2]->Pos[2]);
    const cVec3 f = comms::Cross(b - a, c - a);
    for (int k = 0; k < 3; ++k) n[s.Indices[i + k]] += f;
  }
  for (int i = 0; i < s.Vertices.Count; ++i) {
    const float l = n[i].Length();
    if (l <= 0) continue;
    // Keep the outward side the extraction chose.
    const cVec3 old(s.Vertices[i].Normal[0], s.Vertices[i].Normal[1], s.Vertices[i].Normal[2]);
    cVec3 u = n[i] * (1.f / l);
    if (comms::Dot(u, old) < 0) u = -u;
    s.Vertices[i].Normal[0] = u.x, s.Vertices[i].Normal[1] = u.y, s.Vertices[i].Normal[2] = u.z;
  }
}

}  // namespace

bool TransferFromCache(VolumeObject& volume) {
  if (!volume.InCache) return false;
  // The proxy's moved vertices, in proxy lattice units.
  std::vector<Candidate> moved;
  if (volume.SurfaceMode)
    volume.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
      const CellSurface* s = c->Surface;
      if (!s || s->Vertices.Count == 0 || s->Vertices.Count != s->OldVertices.Count) return;
      for (int i = 0; i < s->Vertices.Count; ++i) {
        const cVec3 o(s->OldVertices[i].Pos[0], s->OldVertices[i].Pos[1], s->OldVertices[i].Pos[2]);
        const cVec3 n(s->Vertices[i].Pos[0], s->Vertices[i].Pos[1], s->Vertices[i].Pos[2]);
        moved.push_back({o, n});
      }
    });
  bool any = false;
  for (const Candidate& c : moved) any |= comms::Dot(c.New - c.Old, c.New - c.Old) > kMoved2;
  if (!any) return RestoreFromCache(volume);
  std::unordered_map<uint64_t, std::vector<int>> hash;
  for (int i = 0; i < (int)moved.size(); ++i) {
    const cVec3& p = moved[i].Old;
    hash[Bucket((int)std::floor(p.x / 3), (int)std::floor(p.y / 3), (int)std::floor(p.z / 3))].push_back(i);
  }
  const cMat4 proxy = Mat(volume.Transform), proxyInverse = Mat(volume.InverseTransform);
  if (!RestoreFromCache(volume)) return false;
  // Full object space to proxy space and back.
  const cMat4 toProxy = Mat(volume.Transform) * proxyInverse;
  const cMat4 fromProxy = proxy * Mat(volume.InverseTransform);

  std::vector<CellKey> changed;
  volume.Cells.ForEach([&](const CellKey& key, VoxelCell*& c) {
    CellSurface* s = c->Surface;
    if (!s || s->Vertices.Count == 0) return;
    bool touched = false;
    for (int i = 0; i < s->Vertices.Count; ++i) {
      MCVertex& v = s->Vertices[i];
      const cVec3 q = comms::TransformPoint(cVec3(v.Pos[0], v.Pos[1], v.Pos[2]), toProxy);
      const int bx = (int)std::floor(q.x / 3), by = (int)std::floor(q.y / 3), bz = (int)std::floor(q.z / 3);
      double wsum = 0, largest = 0;
      cVec3 shift(0, 0, 0);
      for (int n = 0; n < 27; ++n) {
        auto it = hash.find(Bucket(bx + n % 3 - 1, by + (n / 3) % 3 - 1, bz + n / 9 - 1));
        if (it == hash.end()) continue;
        for (int k : it->second) {
          const cVec3 d = moved[k].Old - q;
          const float d2 = comms::Dot(d, d);
          if (d2 >= kReach * kReach) continue;
          const float w = (kReach * kReach - d2) / (kReach * kReach);
          const cVec3 m = moved[k].New - moved[k].Old;
          shift += m * (w * w);
          wsum += w * w;
          largest = std::max(largest, (double)comms::Dot(m, m));
        }
      }
      if (wsum <= 0 || largest <= kMoved2) continue;
      if (!touched) {
        // The state before the transfer stays as the surface's old vertices.
        if (s->OldVertices.Count != s->Vertices.Count) s->OldVertices.Assign(s->Vertices.Data, s->Vertices.Count);
        touched = true;
      }
      const cVec3 p = comms::TransformPoint(q + shift * (float)(1.0 / wsum), fromProxy);
      v.Pos[0] = p.x, v.Pos[1] = p.y, v.Pos[2] = p.z;
    }
    if (touched) {
      RebuildNormals(*s);
      changed.push_back(key);
    }
  });
  volume.SurfaceMode = true;
  volume.SurfaceChanged = true;
  for (const CellKey& k : changed) volume.MarkDirty(k.x, k.y, k.z, true);
  volume.UpdateSurface();
  return true;
}
