// Helpers of the adjust tool tests: the seeded sphere and the sculpted head
// of the shipped script (built once, copied per test), surface vertices in
// bulk, and the cells two snapshots differ in.
#pragma once
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "ClassEngine/DataFolder.h"
#include "MC/brushes/ReplayCommand.h"
#include "MC/brushes/BrushTestKit.h"

namespace adjusttest {

inline std::string ReadText(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  std::stringstream s;
  s << f.rdbuf();
  return s.str();
}

// The head of data/Replays/sphere.txt (radius 60 at the origin, face to +z).
inline void MakeHead(VolumeObject& v) {
  static VolumeObject* head = [] {
    auto* h = new VolumeObject;
    const ReplayResult r = RunReplayScript(ReadText(comms::DataFilePath("Replays/sphere.txt")), *h);
    EXPECT_EQ(r.Line, 0) << r.Error;
    h->UpdateSurface();
    return h;
  }();
  v.CopyFrom(*head);
  v.UpdateSurface();
  // The copy is where a test starts: nothing of it is to be undone.
  v.DropUndoCopies();
}

inline void MakeSphere(VolumeObject& v, float r = 28.f, float cx = 0, float cy = 0, float cz = 0) {
  FillVolume(v, SphereShape(cx, cy, cz, r));
  v.UpdateSurface();
  v.DropUndoCopies();
}

// Model 0: the seeded sphere of radius 28; model 1: the sculpted head.
inline void MakeModel(VolumeObject& v, int model) {
  if (model == 0)
    MakeSphere(v, 28.f);
  else
    MakeHead(v);
}

// Every surface vertex position of the visible cells.
inline std::vector<std::array<float, 3>> Vertices(VolumeObject& v) {
  std::vector<std::array<float, 3>> out;
  v.UpdateSurface();
  v.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    if (!c->Surface || (c->Flags & kCellHidden)) return;
    for (int i = 0; i < c->Surface->Vertices.Count; ++i) {
      const float* p = c->Surface->Vertices[i].Pos;
      out.push_back({p[0], p[1], p[2]});
    }
  });
  return out;
}

// The cells whose values differ between two snapshots.
inline std::set<std::tuple<int, int, int>> ChangedCells(const VolumeSnapshot& a, const VolumeSnapshot& b) {
  std::set<std::tuple<int, int, int>> out;
  for (auto& [k, v] : a) {
    auto it = b.find(k);
    if (it == b.end() || it->second != v) out.insert(k);
  }
  for (auto& [k, v] : b)
    if (!a.count(k)) out.insert(k);
  return out;
}

// The nearest distance from p to a cell's box (voxels).
inline float CellDistance(const std::tuple<int, int, int>& cell, const float p[3]) {
  const int c[3] = {std::get<0>(cell), std::get<1>(cell), std::get<2>(cell)};
  float d2 = 0;
  for (int a = 0; a < 3; ++a) {
    const float lo = c[a] * 8.f, hi = lo + 8.f;
    const float d = p[a] < lo ? lo - p[a] : p[a] > hi ? p[a] - hi : 0.f;
    d2 += d * d;
  }
  return std::sqrt(d2);
}

}  // namespace adjusttest
