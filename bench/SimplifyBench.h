// What the simplifier benchmarks share: the welded surface of a voxel sphere,
// extracted once per program and radius. A radius of 163 voxels gives about
// one million triangles.
#pragma once
#include <map>
#include <memory>

#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mcubes/WeldedMesh.h"
#include "interchange/Mesh.h"
#include "topology/simplify/HalfEdgeMesh.h"

inline const WeldedMeshBuilder& SphereSurface(float radius) {
  static std::map<float, std::unique_ptr<WeldedMeshBuilder>> made;
  std::unique_ptr<WeldedMeshBuilder>& m = made[radius];
  if (!m) {
    VolumeObject v;
    FillVolume(v, SphereShape(0.31f, -0.17f, 0.23f, radius));
    v.UpdateSurface();
    m = std::make_unique<WeldedMeshBuilder>();
    v.ExtractWeldedAll(*m);
  }
  return *m;
}

constexpr float kMillionTriangleRadius = 163;

// One whole run of ours: build, remove 90 %, extract; the triangles left.
inline int SimplifyNinetyPercent(const WeldedMeshBuilder& surface, int threads) {
  HalfEdgeMesh m;
  m.Threads = threads;
  m.Progress = [](const char*, int64_t, int64_t) { return false; };
  m.AddSurface(surface);
  m.Build();
  float ratio = 0.9f;
  m.Simplify(ratio, false);
  comms::cMesh out;
  m.Extract(out);
  return out.PolygonCount();
}
