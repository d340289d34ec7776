// Helpers of the voxel engine tests: topology of a welded mesh and whole-volume
// comparisons.
#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <tuple>
#include <vector>
#include <set>
#include <utility>

#include "MC/mcubes/VolumeObject.h"
#include "MC/mcubes/WeldedMesh.h"

struct MeshTopology {
  int vertices = 0, edges = 0, faces = 0;
  int badEdges = 0;         // undirected edges not used by exactly two triangles
  int flippedEdges = 0;     // directed edges used twice: inconsistent winding
  int degenerate = 0;       // triangles with a repeated vertex
  int unusedVertices = 0;
  double signedVolume = 0;  // > 0 when triangles wind counter-clockwise seen from outside
  int Euler() const { return vertices - edges + faces; }
};

inline MeshTopology Analyse(const WeldedMeshBuilder& m) {
  MeshTopology t;
  t.vertices = m.VertexCount();
  t.faces = m.TriangleCount();
  std::map<std::pair<uint32_t, uint32_t>, int> directed;
  std::vector<bool> used(t.vertices, false);
  for (int f = 0; f < t.faces; ++f) {
    const uint32_t v[3] = {m.Indices[f * 3], m.Indices[f * 3 + 1], m.Indices[f * 3 + 2]};
    if (v[0] == v[1] || v[1] == v[2] || v[0] == v[2]) ++t.degenerate;
    for (int k = 0; k < 3; ++k) {
      used[v[k]] = true;
      ++directed[{v[k], v[(k + 1) % 3]}];
    }
    const float* a = &m.Positions[v[0] * 3];
    const float* b = &m.Positions[v[1] * 3];
    const float* c = &m.Positions[v[2] * 3];
    t.signedVolume += (a[0] * (b[1] * c[2] - b[2] * c[1]) - a[1] * (b[0] * c[2] - b[2] * c[0]) +
                       a[2] * (b[0] * c[1] - b[1] * c[0])) / 6.0;
  }
  std::set<std::pair<uint32_t, uint32_t>> undirected;
  for (auto& [e, n] : directed) {
    if (n > 1) ++t.flippedEdges;
    undirected.insert({std::min(e.first, e.second), std::max(e.first, e.second)});
  }
  for (auto& e : undirected) {
    auto it1 = directed.find(e);
    auto it2 = directed.find({e.second, e.first});
    const int uses = (it1 == directed.end() ? 0 : it1->second) + (it2 == directed.end() ? 0 : it2->second);
    if (uses != 2) ++t.badEdges;
  }
  t.edges = (int)undirected.size();
  for (bool u : used) t.unusedVertices += !u;
  return t;
}

inline void ExpectClosed(const MeshTopology& t) {
  EXPECT_GT(t.faces, 0);
  EXPECT_EQ(t.badEdges, 0);
  EXPECT_EQ(t.flippedEdges, 0);
  EXPECT_EQ(t.degenerate, 0);
  EXPECT_EQ(t.unusedVertices, 0);
}

// The triangles of every cell, for comparing two volumes cell by cell.
inline std::map<std::tuple<int, int, int>, std::pair<std::vector<float>, std::vector<uint16_t>>> CellTriangles(
    VolumeObject& v) {
  std::map<std::tuple<int, int, int>, std::pair<std::vector<float>, std::vector<uint16_t>>> out;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!c->Surface || !c->Surface->Vertices.Count) return;
    auto& e = out[{k.x, k.y, k.z}];
    for (int i = 0; i < c->Surface->Vertices.Count; ++i) {
      const MCVertex& mv = c->Surface->Vertices[i];
      e.first.insert(e.first.end(), {mv.Pos[0], mv.Pos[1], mv.Pos[2], mv.Normal[0], mv.Normal[1], mv.Normal[2],
                                     (float)mv.BorderCode});
    }
    e.second.assign(c->Surface->Indices.Data, c->Surface->Indices.Data + c->Surface->Indices.Count);
  });
  return out;
}

// The topology of a volume's welded surface, brought up to date first.
inline MeshTopology SurfaceTopology(VolumeObject& v) {
  v.UpdateSurface();
  WeldedMeshBuilder m;
  v.ExtractWeldedAll(m);
  return Analyse(m);
}
