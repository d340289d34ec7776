// Axial clones, the wrap's chain and the bas-relief (see SurfaceCopies.h).
#include "MC/adjust/SurfaceCopies.h"

#include <algorithm>
#include <cmath>

#include "MC/mcubes/VolumeObject.h"
#include "MC/mcubes/WeldedMesh.h"
#include "MC/mesh/MergeIntoVolume.h"

using comms::cMat4;
using comms::cVec3;

namespace {

cVec3 Unit(const float a[3]) {
  const cVec3 v(a[0], a[1], a[2]);
  const float l = std::sqrt(Dot(v, v));
  return l > 1e-12f ? v * (1.f / l) : cVec3(0, 1, 0);
}

// Turn by `degrees` about the axis through p, then a move of `forward` along it.
cMat4 Step(const cVec3& p, const cVec3& axis, float degrees, float forward) {
  const cMat4 turn = comms::cQuat::FromAxisAngle(axis, degrees * 3.14159265f / 180.f).ToMatrix();
  return cMat4::Translation(-p) * turn * cMat4::Translation(p + axis * forward);
}

}  // namespace

bool MergeSurfaceCopies(VolumeObject& volume, const std::vector<cMat4>& matrices) {
  if (matrices.empty()) return false;
  volume.UpdateSurface();
  WeldedMeshBuilder mesh;
  volume.ExtractWeldedAll(mesh);
  if (mesh.TriangleCount() == 0) return false;
  TriangleCollector collector;
  for (const cMat4& m : matrices) {
    std::vector<float> moved(mesh.Positions.size());
    for (size_t i = 0; i < moved.size(); i += 3) {
      const cVec3 p = TransformPoint(cVec3(mesh.Positions[i], mesh.Positions[i + 1], mesh.Positions[i + 2]), m);
      moved[i] = p.x, moved[i + 1] = p.y, moved[i + 2] = p.z;
    }
    for (size_t t = 0; t < mesh.Indices.size(); t += 3)
      collector.AddTriangle(&moved[mesh.Indices[t] * 3], &moved[mesh.Indices[t + 1] * 3],
                            &moved[mesh.Indices[t + 2] * 3]);
  }
  // Hidden cells are left out of the surface, and so are kept as they are.
  std::vector<CellKey> visible;
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!(c->Flags & kCellHidden)) visible.push_back(k);
  });
  for (const CellKey& k : visible) {
    volume.ReplaceWithEmpty(k.x, k.y, k.z);
    volume.MarkDirty(k.x, k.y, k.z, false);
  }
  MergeIntoVolume(collector, volume, kMergeUnion, true);
  return true;
}

std::vector<cMat4> AxialCloneMatrices(const float point[3], const float axis[3], int count) {
  std::vector<cMat4> out;
  const cVec3 p(point[0], point[1], point[2]), a = Unit(axis);
  for (int i = 0; i < count; ++i) out.push_back(Step(p, a, 360.f * float(i) / float(count), 0.f));
  return out;
}

std::vector<cMat4> WrapMatrices(const WrapChain& chain, const float point[3], const float axis[3]) {
  std::vector<cMat4> out;
  if (chain.Segments < 1) return out;
  const cVec3 p(point[0], point[1], point[2]), a = Unit(axis);
  const float keep = 1.f - std::clamp(chain.Overlap, 0.f, 100.f) / 100.f;
  const cMat4 step = chain.Twist ? Step(p, a, chain.TwistAngle * keep, chain.Forward * keep)
                                 : Step(p, a, (chain.EndAngle - chain.StartAngle) / float(chain.Segments) * keep,
                                        chain.Forward * keep);
  cMat4 m = Step(p, a, chain.Twist ? 0.f : chain.StartAngle, 0.f);
  for (int i = 0; i < chain.Segments; ++i) {
    out.push_back(m);
    m = m * step;
  }
  return out;
}

int FlattenBarelief(VolumeObject& volume, const float o[3], const float second[3], float coef) {
  float n[3] = {second[0] - o[0], second[1] - o[1], second[2] - o[2]};
  const float l = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
  if (l < 1e-6f) return 0;
  for (float& c : n) c /= l;
  volume.UpdateSurface();
  int moved = 0;
  std::vector<CellKey> keys;
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (c->Surface && c->Surface->Vertices.Count && !(c->Flags & kCellHidden)) keys.push_back(k);
  });
  for (const CellKey& k : keys) {
    CellSurface& s = *(*volume.Cells.Find(k.x, k.y, k.z))->Surface;
    auto front = [&](const MCVertex& v) {
      return (v.Pos[0] - o[0]) * n[0] + (v.Pos[1] - o[1]) * n[1] + (v.Pos[2] - o[2]) * n[2];
    };
    bool any = false;
    for (int i = 0; i < s.Vertices.Count && !any; ++i) any = front(s.Vertices[i]) > 0;
    if (!any) continue;
    volume.SaveUndoCopy(k.x, k.y, k.z);
    if (s.OldVertices.Empty()) s.OldVertices.Assign(s.Vertices.Data, s.Vertices.Count);
    for (int i = 0; i < s.Vertices.Count; ++i) {
      MCVertex& v = s.Vertices[i];
      const float d = front(v);
      if (d <= 0) continue;
      const bool back = v.Normal[0] * n[0] + v.Normal[1] * n[1] + v.Normal[2] * n[2] > 0;
      const float shift = back ? 0.995f * d : (1.f - coef) * d;
      for (int a = 0; a < 3; ++a) v.Pos[a] -= n[a] * shift;
      ++moved;
    }
    volume.MarkDirty(k.x, k.y, k.z, true);
  }
  if (!moved) return 0;
  volume.SurfaceChanged = true;
  // Only the moved cells go back into the voxels: the rest stays byte for byte.
  volume.ApplyMC(false, true);
  return moved;
}
