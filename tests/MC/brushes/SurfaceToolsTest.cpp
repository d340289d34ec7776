// The surface tools on a seeded sphere and on the sculpted head of the shipped
// replay: each moves the vertices under the pen the way its row says (out,
// in, towards the path, onto a plane, along the drag), frozen vertices stay,
// cells out of reach keep every byte, the welded surface stays closed, an
// edit written into the voxels comes back within a tenth of a voxel, undo
// gives back every byte, and replays agree with one and two threads.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <set>
#include <fstream>
#include <sstream>

#include "BrushTestKit.h"
#include "ClassEngine/DataFolder.h"
#include "MC/brushes/ReplayCommand.h"
#include "MC/brushes/SurfacePatch.h"
#include "MC/brushes/SurfaceTools.h"
#include "MC/brushes/VolumePick.h"
#include "MC/brushes/VoxelModes.h"
#include "../mesh/SurfaceDistance.h"
#include "MC/undo/VolumeUndo.h"
#include "paint/undo/UndoStack.h"
#include "paint/undo/UndoTestFolder.h"
#include "../undo/VolumePicture.h"

namespace {

constexpr float kR = 28.f;

// Every cell's triangles, vertex by vertex, as bytes.
using SurfaceBytes = std::map<std::tuple<int, int, int>, std::vector<uint8_t>>;
SurfaceBytes SurfaceOf(VolumeObject& v) {
  SurfaceBytes out;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!c->Surface || !c->Surface->Vertices.Count) return;
    const CellSurface* s = c->Surface;
    std::vector<uint8_t> b((const uint8_t*)s->Vertices.Data, (const uint8_t*)(s->Vertices.Data + s->Vertices.Count));
    b.insert(b.end(), (const uint8_t*)s->Indices.Data, (const uint8_t*)(s->Indices.Data + s->Indices.Count));
    out[{k.x, k.y, k.z}] = std::move(b);
  });
  return out;
}

// Vertex positions by (cell, index): surface mode keeps the vertex lists.
using Positions = std::map<std::tuple<int, int, int, int>, std::array<float, 3>>;
Positions PositionsOf(VolumeObject& v) {
  Positions out;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!c->Surface) return;
    for (int i = 0; i < c->Surface->Vertices.Count; ++i) {
      const float* p = c->Surface->Vertices[i].Pos;
      out[{k.x, k.y, k.z, i}] = {p[0], p[1], p[2]};
    }
  });
  return out;
}

std::string ReadText(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  std::stringstream s;
  s << f.rdbuf();
  return s.str();
}

struct Scene {
  const char* Name;
  bool Head;
};

// A fresh volume: the seeded sphere or the head of the shipped script, with
// its surface current and no undo copies.
void MakeScene(VolumeObject& v, bool head) {
  if (head) {
    const ReplayResult r = RunReplayScript(ReadText(comms::DataFilePath("Replays/sphere.txt")), v);
    ASSERT_EQ(r.Line, 0) << r.Error;
  } else {
    FillVolume(v, SphereShape(0, 0, 0, kR));
  }
  v.UpdateSurface();
  v.DropUndoCopies();
}

// The front of the scene along +z at (x, y): the pen's point there.
PenPoint FrontAt(VolumeObject& v, float x, float y, float radius, bool fromUndo = false) {
  const float o[3] = {x, y, 1000.f}, d[3] = {0, 0, -1};
  SurfaceHit hit;
  PenPoint p;
  EXPECT_TRUE(PickVolume(v, o, d, hit, fromUndo));
  for (int k = 0; k < 3; ++k) p.P[k] = hit.Pos[k], p.N[k] = hit.Normal[k];
  p.Radius = radius;
  return p;
}

struct StrokeOptions {
  bool Invert = false;
  float Depth = 0.5f;
  VoxelBrushSettings Settings;
};

// A stroke of `tool` through pen points on the front at (x, y) pairs.
void StrokeFront(VolumeObject& v, int tool, const std::vector<std::pair<float, float>>& path, float radius,
                 StrokeOptions o = {}) {
  SimplePen pen;
  GeneralPen::CurrentPenPtr = &pen;
  GeneralPen::DeepDegree = o.Depth;
  VoxelSculptStroke stroke(o.Settings);
  stroke.Tool = tool;
  stroke.InvertModifier = o.Invert;
  ASSERT_TRUE(stroke.Begin(v, FrontAt(v, path[0].first, path[0].second, radius), 5));
  for (size_t i = 1; i < path.size(); ++i) {
    stroke.MoveTo(FrontAt(v, path[i].first, path[i].second, radius, !PicksLiveSurface(tool)));
    v.UpdateSurface();
  }
  stroke.End();
  v.UpdateSurface();
  GeneralPen::CurrentPenPtr = nullptr;
}

// A fresh scene in surface mode; with a bump radius, two full-depth draw
// dabs of that radius raise a bump at the front's middle first.
void MakeSurfaceScene(VolumeObject& v, bool head, float bump = 0) {
  MakeScene(v, head);
  v.SurfaceMode = true;
  if (bump <= 0) return;
  StrokeOptions o;
  o.Depth = 1.f;
  StrokeFront(v, SCULPT_DRAW, {{0, 0}}, bump, o);
  StrokeFront(v, SCULPT_DRAW, {{0, 0}}, bump, o);
}

// Mean displacement of the vertices that moved, and how many did.
struct Motion {
  int Moved = 0;
  float Mean[3] = {0, 0, 0};
  float Farthest = 0;  // largest distance from (cx, cy) in xy of a moved vertex
};
Motion Compare(const Positions& before, const Positions& after, float cx, float cy) {
  Motion m;
  for (auto& [key, p] : after) {
    auto it = before.find(key);
    if (it == before.end()) continue;
    const auto& q = it->second;
    if (p == q) continue;
    ++m.Moved;
    for (int k = 0; k < 3; ++k) m.Mean[k] += p[k] - q[k];
    m.Farthest = std::max(m.Farthest, std::hypot(q[0] - cx, q[1] - cy));
  }
  if (m.Moved)
    for (float& c : m.Mean) c /= (float)m.Moved;
  return m;
}

void ExpectClosed(VolumeObject& v, const char* what) {
  WeldedMeshBuilder m;
  v.ExtractWeldedAll(m);
  const MeshTopology t = Analyse(m);
  EXPECT_GT(t.faces, 0) << what;
  EXPECT_EQ(t.badEdges, 0) << what;
  EXPECT_EQ(t.flippedEdges, 0) << what;
}

double EnclosedVolume(VolumeObject& v) {
  WeldedMeshBuilder m;
  v.ExtractWeldedAll(m);
  return Analyse(m).signedVolume;
}

class OnBothScenes : public ::testing::TestWithParam<Scene> {
 protected:
  GeneralPenSaver saved;
  VolumeObject volume;
  void SetUp() override {
    MakeScene(volume, GetParam().Head);
    volume.SurfaceMode = true;  // vertices move, the voxels wait
  }
};

}  // namespace

TEST_P(OnBothScenes, DrawRaisesUnderThePenOnlyAndInvertedSinks) {
  const Positions start = PositionsOf(volume);
  const VolumeSnapshot voxels = Snapshot(volume);
  const double size = EnclosedVolume(volume);
  StrokeFront(volume, SCULPT_DRAW, {{-4, 0}, {0, 1}, {4, 0}}, 8.f);
  const Motion out = Compare(start, PositionsOf(volume), 0, 0);
  ASSERT_GT(out.Moved, 20);
  EXPECT_GT(out.Mean[2], 0.05f) << "the front moves out, towards +z";
  EXPECT_LT(out.Farthest, 4 + 8 + 1.f) << "nothing moves beyond the pen's reach";
  EXPECT_GT(EnclosedVolume(volume), size);
  EXPECT_TRUE(Snapshot(volume) == voxels) << "surface mode keeps the voxels";
  ExpectClosed(volume, "after draw");
  if (!GetParam().Head) {
    // Normals made again from the moved triangles keep the cells' sense
    // (into the solid) and their unit length.
    volume.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
      if (!c->Surface) return;
      for (int i = 0; i < c->Surface->Vertices.Count; ++i) {
        const MCVertex& m = c->Surface->Vertices[i];
        EXPECT_LT(m.Pos[0] * m.Normal[0] + m.Pos[1] * m.Normal[1] + m.Pos[2] * m.Normal[2], 0.f);
        EXPECT_NEAR(std::sqrt(m.Normal[0] * m.Normal[0] + m.Normal[1] * m.Normal[1] + m.Normal[2] * m.Normal[2]), 1.f,
                    1e-2f);
      }
    });
  }

  const Positions raised = PositionsOf(volume);
  StrokeOptions inv;
  inv.Invert = true;
  StrokeFront(volume, SCULPT_DRAW, {{-4, 0}, {0, 1}, {4, 0}}, 8.f, inv);
  EXPECT_LT(Compare(raised, PositionsOf(volume), 0, 0).Mean[2], -0.05f);
}

TEST_P(OnBothScenes, PinchBringsTheSurfaceCloserToThePath) {
  const Positions start = PositionsOf(volume);
  // A vertical path down the front: vertices move towards x = 0.
  StrokeOptions o;
  o.Depth = 1.f;
  StrokeFront(volume, SCULPT_PINCH, {{0, -6}, {0, -2}, {0, 2}, {0, 6}}, 8.f, o);
  const Positions after = PositionsOf(volume);
  double before = 0, now = 0;
  int n = 0;
  for (auto& [key, p] : after) {
    const auto& q = start.at(key);
    if (p == q) continue;
    before += std::fabs(q[0]), now += std::fabs(p[0]), ++n;
  }
  ASSERT_GT(n, 20);
  EXPECT_LT(now, before * 0.97) << "mean distance to the path shrinks";
  ExpectClosed(volume, "after pinch");
}

TEST_P(OnBothScenes, PlanesReduceTheSpreadOfHeights) {
  for (int tool : {SCULP_PLANE, SCULP_PLANE2}) {
    VolumeObject v;
    MakeSurfaceScene(v, GetParam().Head, 4.f);  // a bump, then the plane over it
    const Positions start = PositionsOf(v);
    StrokeFront(v, tool, {{-2, 0}, {0, 0}, {2, 0}}, 10.f);
    const Positions after = PositionsOf(v);
    // Spread of z of the vertices within 5 of the path's middle, before and after.
    auto spread = [&](const Positions& ps) {
      double s = 0, s2 = 0;
      int n = 0;
      for (auto& [key, p] : ps) {
        const auto& q = start.at(key);
        if (std::hypot(q[0], q[1]) > 5 || q[2] < 0) continue;
        s += p[2], s2 += (double)p[2] * p[2], ++n;
      }
      return n ? s2 / n - (s / n) * (s / n) : 0.0;
    };
    EXPECT_LT(spread(after), spread(start) * 0.8) << "tool " << tool;
    ExpectClosed(v, "after a plane");
  }
}

TEST_P(OnBothScenes, FollowAndMoveDragAlongThePensMotion) {
  for (int tool : {SCULP_FOLLOW, SCULP_MOVE}) {
    VolumeObject v;
    MakeSurfaceScene(v, GetParam().Head);
    const Positions start = PositionsOf(v);
    StrokeFront(v, tool, {{0, 0}, {3, 0}, {6, 0}}, 8.f);
    const Motion m = Compare(start, PositionsOf(v), 0, 0);
    ASSERT_GT(m.Moved, 10) << "tool " << tool;
    EXPECT_GT(m.Mean[0], 0.1f) << "tool " << tool << " drags towards +x";
    EXPECT_GT(m.Mean[0], 3 * std::fabs(m.Mean[1])) << "tool " << tool;
    ExpectClosed(v, "after a drag");
  }
}

TEST_P(OnBothScenes, ClayFillAndExtrudesAddVolume) {
  for (int tool : {SCULP_SCLAY, SCULP_SFILL, SCULP_SFEXTRUDE0, SCULP_SFEXTRUDE, SCULP_SFEXTRUDEA}) {
    VolumeObject v;
    MakeSurfaceScene(v, GetParam().Head);
    const double size = EnclosedVolume(v);
    StrokeOptions o;
    o.Depth = 0.8f;
    StrokeFront(v, tool, {{-4, 2}, {0, 0}, {4, 2}}, 9.f, o);
    WeldedMeshBuilder m;
    v.ExtractWeldedAll(m);
    const MeshTopology t = Analyse(m);
    EXPECT_EQ(t.badEdges, 0) << "tool " << tool;
    // Fill raises what lies below the fitted plane, the rim of a round front.
    EXPECT_GT(t.signedVolume, size + (tool == SCULP_SFILL ? 0.5 : 5)) << "tool " << tool;
  }
}

TEST_P(OnBothScenes, ExtrudeModeThreeNeedsDepth) {
  const SurfaceBytes start = SurfaceOf(volume);
  StrokeOptions o;
  o.Depth = 0.05f;
  StrokeFront(volume, SCULP_SFEXTRUDE, {{-4, 0}, {4, 0}}, 8.f, o);
  EXPECT_TRUE(SurfaceOf(volume) == start);
}

TEST_P(OnBothScenes, SmoothingAndRapidRelaxFlattenABump) {
  for (int tool : {SCULPT_SMOOTH, SCULPT_RAPID}) {
    VolumeObject v;
    MakeSurfaceScene(v, GetParam().Head, 5.f);
    StrokeOptions o;
    o.Depth = 1.f;
    const Positions bump = PositionsOf(v);
    float top = -1e9f;
    for (auto& [k, p] : bump)
      if (std::hypot(p[0], p[1]) < 1.5f) top = std::max(top, p[2]);
    for (int i = 0; i < 3; ++i) StrokeFront(v, tool, {{0, 0}, {0.5f, 0}}, 8.f, o);
    float after = -1e9f;
    for (auto& [k, p] : PositionsOf(v))
      if (std::hypot(p[0], p[1]) < 1.5f) after = std::max(after, p[2]);
    EXPECT_LT(after, top - 0.05f) << "tool " << tool;
    ExpectClosed(v, "after relaxing");
  }
}

TEST_P(OnBothScenes, FreezePaintedOnVerticesProtectsThemFromTheNextStroke) {
  StrokeOptions airbrush;
  airbrush.Settings.AsAirbrush = true;  // the dabs add up to full freeze
  StrokeFront(volume, SCULP_SFREEZE, {{0, 0}, {1, 0}, {0, 1}, {-1, 0}, {0, -1}}, 6.f, airbrush);
  std::set<std::tuple<int, int, int, int>> frozen;
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!c->Surface) return;
    for (int i = 0; i < c->Surface->Vertices.Count; ++i)
      if (c->Surface->Vertices[i].Freeze == 65535) frozen.insert({k.x, k.y, k.z, i});
  });
  ASSERT_GT(frozen.size(), 5u);
  const Positions start = PositionsOf(volume);
  StrokeFront(volume, SCULPT_DRAW, {{-3, 0}, {3, 0}}, 10.f);
  const Positions after = PositionsOf(volume);
  int moved = 0;
  for (auto& [key, p] : after) {
    if (p == start.at(key)) continue;
    ++moved;
    EXPECT_FALSE(frozen.count({std::get<0>(key), std::get<1>(key), std::get<2>(key), std::get<3>(key)}))
        << "a frozen vertex moved";
  }
  EXPECT_GT(moved, 10) << "the free vertices around still move";

  // Invert twice gives the same freeze; clear leaves none.
  const SurfaceBytes painted = SurfaceOf(volume);
  InvertFreeze(volume);
  EXPECT_FALSE(SurfaceOf(volume) == painted);
  InvertFreeze(volume);
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!c->Surface) return;
    for (int i = 0; i < c->Surface->Vertices.Count; ++i)
      if (frozen.count({k.x, k.y, k.z, i})) {
        EXPECT_EQ(c->Surface->Vertices[i].Freeze, 65535);
      }
  });
  ClearFreeze(volume);
  volume.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    if (!c->Surface) return;
    for (int i = 0; i < c->Surface->Vertices.Count; ++i) {
      const MCVertex& m = c->Surface->Vertices[i];
      EXPECT_EQ(m.Freeze, 0);
      EXPECT_NEAR(std::sqrt(m.Normal[0] * m.Normal[0] + m.Normal[1] * m.Normal[1] + m.Normal[2] * m.Normal[2]), 1.f,
                  1e-4f);
    }
  });
}

TEST_P(OnBothScenes, CellsOutOfReachKeepEveryByte) {
  const SurfaceBytes start = SurfaceOf(volume);
  StrokeFront(volume, SCULPT_DRAW, {{-3, 0}, {3, 0}}, 6.f);
  const SurfaceBytes after = SurfaceOf(volume);
  int changed = 0;
  for (auto& [key, bytes] : start) {
    const auto [cx, cy, cz] = key;
    // The cell's nearest point to the path's segment on the front, in xy.
    const float nx = std::clamp(0.f, cx * 8.f, cx * 8.f + 8), ny = std::clamp(0.f, cy * 8.f, cy * 8.f + 8);
    const float far = std::hypot(std::max(std::fabs(nx) - 3.f, 0.f), ny);
    if (bytes != after.at(key)) {
      ++changed;
      EXPECT_LT(far, 6 + 1.f) << "a cell out of the pen's reach changed";
    }
  }
  EXPECT_GT(changed, 0);
}

INSTANTIATE_TEST_SUITE_P(SphereAndHead, OnBothScenes,
                         ::testing::Values(Scene{"Sphere", false}, Scene{"Head", true}),
                         [](const auto& info) { return std::string(info.param.Name); });

TEST(SurfaceModeRoundTrip, AnEditWrittenIntoTheVoxelsComesBackWithinATenthOfAVoxel) {
  GeneralPenSaver saved;
  for (bool head : {false, true}) {
    VolumeObject v;
    MakeScene(v, head);
    v.SurfaceMode = true;
    StrokeOptions o;
    o.Depth = 0.6f;
    StrokeFront(v, SCULPT_DRAW, {{-5, 0}, {0, 2}, {5, 0}}, 9.f, o);
    WeldedMeshBuilder edited;
    v.ExtractWeldedAll(edited);
    v.SurfaceMode = false;
    ASSERT_TRUE(v.ApplyMC(true));
    v.UpdateSurface();
    ExpectClosed(v, "after writing the edit into the voxels");
    WeldedMeshBuilder again;
    v.ExtractWeldedAll(again);
    // Each new vertex of the edited front lies on the edited triangles.
    const meshtest::Soup soup = meshtest::SoupOf(edited);
    const meshtest::NearTriangles near(soup, 1.f);
    double worst = 0;
    int checked = 0, raised = 0;
    for (int i = 0; i < again.VertexCount(); ++i) {
      const double p[3] = {again.Positions[i * 3], again.Positions[i * 3 + 1], again.Positions[i * 3 + 2]};
      if (std::hypot(p[0], p[1]) > 12 || p[2] <= 0) continue;
      worst = std::max(worst, near.Distance(p));
      ++checked;
      raised += std::hypot(p[0], p[1], p[2]) > kR + 0.5;
    }
    if (!head) {
      EXPECT_GT(raised, 20) << "the raised ridge is in the voxels";
    }
    ASSERT_GT(checked, 50);
    EXPECT_LT(worst, 0.1f) << (head ? "head" : "sphere");
  }
}

// A volume whose edits are recorded on an undo stack of its own.
struct VolumeOnAStack {
  UndoTestFolder folder;
  UndoStack stack{folder.Path};
  VolumeObject volume;
  VolumeOnAStack() {
    stack.FreeBytes = [] { return (int64_t)1 << 40; };
    stack.RegisterUndoMaker(
        std::make_unique<Volume_Undo>(stack, [this] { return std::vector<VolumeObject*>{&volume}; }));
  }
};

TEST(SurfaceStroke, UndoInSurfaceModeGivesBackTrianglesAndOldVertices) {
  GeneralPenSaver saved;
  VolumeOnAStack on;
  VolumeObject& v = on.volume;
  UndoStack& stack = on.stack;
  MakeScene(v, false);
  v.SurfaceMode = true;
  auto oldCounts = [&] {
    std::map<std::tuple<int, int, int>, int> old;
    v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
      if (c->Surface && c->Surface->OldVertices.Count) old[std::make_tuple(k.x, k.y, k.z)] = c->Surface->OldVertices.Count;
    });
    return old;
  };
  const SurfaceBytes start = SurfaceOf(v);
  StrokeFront(v, SCULPT_DRAW, {{-4, 0}, {4, 0}}, 8.f);
  ASSERT_TRUE(PushVolumeUndo(stack, {&v}, SCULPT_DRAW));
  const SurfaceBytes first = SurfaceOf(v);
  const auto firstOld = oldCounts();
  StrokeFront(v, SCULPT_DRAW, {{-6, 3}, {6, 3}}, 8.f);
  ASSERT_TRUE(PushVolumeUndo(stack, {&v}, SCULPT_DRAW));
  const SurfaceBytes second = SurfaceOf(v);
  EXPECT_FALSE(second == first);
  ASSERT_TRUE(stack.Undo());
  v.UpdateSurface();
  EXPECT_TRUE(SurfaceOf(v) == first);
  EXPECT_TRUE(oldCounts() == firstOld);
  ASSERT_TRUE(stack.Undo());
  v.UpdateSurface();
  EXPECT_TRUE(SurfaceOf(v) == start);
  EXPECT_TRUE(oldCounts().empty()) << "before the first stroke no cell had old vertices";
  ASSERT_TRUE(stack.Redo());
  ASSERT_TRUE(stack.Redo());
  v.UpdateSurface();
  EXPECT_TRUE(SurfaceOf(v) == second);
}

TEST(SurfacePatch, RefusesARegionOverAHundredCellsAndWeldsBorders) {
  VolumeObject v;
  FillVolume(v, SphereShape(0, 0, 0, kR));
  v.UpdateSurface();
  SurfacePatch patch;
  const float c[3] = {0, 0, 0};
  EXPECT_FALSE(patch.Build(v, c, 400.f));
  EXPECT_TRUE(patch.VertexCount() == 0);
  ASSERT_TRUE(patch.Build(v, c, kR + 2));
  // The whole sphere welded: a closed surface of genus 0.
  std::set<std::pair<uint32_t, uint32_t>> edges;
  std::map<std::pair<uint32_t, uint32_t>, int> uses;
  for (int t = 0; t < patch.TriangleCount(); ++t)
    for (int k = 0; k < 3; ++k) {
      uint32_t a = patch.Indices[t * 3 + k], b = patch.Indices[t * 3 + (k + 1) % 3];
      ++uses[{std::min(a, b), std::max(a, b)}];
    }
  for (auto& [e, n] : uses) EXPECT_EQ(n, 2);
  EXPECT_EQ(patch.VertexCount() - (int)uses.size() + patch.TriangleCount(), 2);
  // A region with no surface is refused as empty.
  const float away[3] = {500, 0, 0};
  EXPECT_FALSE(patch.Build(v, away, 5.f));
}

TEST(SurfacePatch, OneAndTwoThreadsWeldTheSamePatch) {
  // A sphere with a moved part, so the old places differ from the new ones.
  VolumeObject v[2];
  for (VolumeObject& one : v) {
    FillVolume(one, SphereShape(0, 0, 0, kR));
    one.UpdateSurface();
    one.SurfaceMode = true;
    StrokeFront(one, SCULPT_DRAW, {{-5, 0}, {5, 0}}, 9.f, StrokeOptions());
  }
  const float c[3] = {3, -2, kR};
  SurfacePatch patch[2];
  for (int t = 0; t < 2; ++t) ASSERT_TRUE(patch[t].Build(v[t], c, 14.f, t + 1));
  ASSERT_GT(patch[0].VertexCount(), 300);
  ASSERT_EQ(patch[0].VertexCount(), patch[1].VertexCount());
  EXPECT_EQ(0, std::memcmp(patch[0].Vertices.data(), patch[1].Vertices.data(),
                           sizeof(PatchVertex) * patch[0].Vertices.size()));
  EXPECT_EQ(patch[0].Indices, patch[1].Indices);
  // Both write the same vertices back into the same cells.
  for (SurfacePatch& p : patch)
    for (PatchVertex& pv : p.Vertices) pv.Pos[2] += 0.25f;
  EXPECT_EQ(patch[0].WriteBack(v[0]), patch[1].WriteBack(v[1]));
  EXPECT_TRUE(SurfaceOf(v[0]) == SurfaceOf(v[1]));
}

TEST(SurfaceReplay, SameBytesWithOneAndTwoThreads) {
  const std::string body =
      "sphere 30\nseed 3\npen simple\nradius 9\ndepth 0.7\n"
      "tool SCULPT_DRAW\nstroke -6 0 0  0 3 0  6 0 0\n"
      "tool SCULP_MOVE\nstroke 0 -8 0  2 -9 0\n"
      "surface 1\ntool SCULP_SFREEZE\nstroke 0 8 0\n"
      "tool SCULP_PLANE2\nstroke -5 5 0  5 5 0\n"
      "tool SCULPT_RAPID\nstroke -4 -3 0  4 -3 0\n"
      "tool SCULP_PLANE\nstroke -5 -5 0  5 -5 0\n"
      "tool SCULP_SCLAY\nstroke -8 10 0  0 12 0\n"
      "tool SCULP_SFILL\nstroke 8 10 0  0 12 0\n"
      "tool SCULP_SFEXTRUDE0\nstroke -10 -10 0\n"
      "tool SCULP_SFEXTRUDE\nstroke 10 -10 0\n"
      "tool SCULP_SFEXTRUDEA\nstroke 0 -14 0\n"
      "tool SCULP_FOLLOW\nstroke -12 0 0  -14 1 0\n"
      "tool SCULPT_PINCH\nstroke 12 -4 0  12 4 0\n"
      "tool smooth\nstroke 0 0 0  1 0 0\n"
      "freeze invert\nfreeze clear\nsurface 0\n";
  VolumeObject one, two;
  const ReplayResult a = RunReplayScript("threads 1\n" + body, one);
  const ReplayResult b = RunReplayScript("threads 2\n" + body, two);
  ASSERT_EQ(a.Line, 0) << a.Error;
  ASSERT_EQ(b.Line, 0) << b.Error;
  one.UpdateSurface(), two.UpdateSurface();
  EXPECT_TRUE(Snapshot(one) == Snapshot(two));
  EXPECT_TRUE(SurfaceOf(one) == SurfaceOf(two));
  VolumeObject plain;
  RunReplayScript("sphere 30\n", plain);
  EXPECT_FALSE(Snapshot(one) == Snapshot(plain));
  ExpectClosed(one, "after the replay");
  // The shipped surface script, the same way.
  const std::string shipped = ReadText(comms::DataFilePath("Replays/surface.txt"));
  ASSERT_FALSE(shipped.empty());
  VolumeObject s1, s2;
  ASSERT_EQ(RunReplayScript("threads 1\n" + shipped, s1).Line, 0);
  ASSERT_EQ(RunReplayScript("threads 2\n" + shipped, s2).Line, 0);
  s1.UpdateSurface(), s2.UpdateSurface();
  EXPECT_TRUE(Snapshot(s1) == Snapshot(s2));
  EXPECT_TRUE(SurfaceOf(s1) == SurfaceOf(s2));
  EXPECT_FALSE(s1.SurfaceMode);
  ExpectClosed(s1, "after the shipped surface script");
  {
    WeldedMeshBuilder m;
    s1.ExtractWeldedAll(m);
    EXPECT_EQ(Analyse(m).Euler(), 2) << "one closed piece, no crumbs, no handles";
  }
  // Bad input names its line.
  VolumeObject bad;
  EXPECT_EQ(RunReplayScript("sphere 10\nsurface\n", bad).Line, 2);
  EXPECT_EQ(RunReplayScript("sphere 10\nfreeze melt\n", bad).Line, 2);
}

TEST(SurfaceStroke, MirroredStrokeMovesTheMirroredVerticesAlike) {
  GeneralPenSaver saved;
  VolumeObject v;
  MakeScene(v, false);
  v.SurfaceMode = true;
  GeneralPen::Symmetry = 1;  // mirror in x
  StrokeFront(v, SCULPT_DRAW, {{6, 2}, {10, 4}, {14, 2}}, 6.f);
  GeneralPen::Symmetry = 0;
  // The sphere's surface is itself mirrored in x: every moved vertex on the
  // right has a moved partner on the left at the mirrored place.
  WeldedMeshBuilder m;
  v.ExtractWeldedAll(m);
  std::vector<const float*> left;
  for (int i = 0; i < m.VertexCount(); ++i)
    if (m.Positions[i * 3] < -3) left.push_back(&m.Positions[i * 3]);
  int right = 0, matched = 0;
  for (int i = 0; i < m.VertexCount(); ++i) {
    const float* p = &m.Positions[i * 3];
    if (p[0] < 4 || p[2] < 0 || std::fabs(std::hypot(p[0], p[1], p[2]) - kR) < 0.6f) continue;  // moved, right side
    ++right;
    float best = 1e9f;
    for (const float* q : left) best = std::min(best, std::hypot(q[0] + p[0], q[1] - p[1], q[2] - p[2]));
    matched += best < 0.02f;
  }
  ASSERT_GT(right, 10);
  EXPECT_GT(matched, right * 9 / 10) << "the left copy of the ridge mirrors the right one";
  ExpectClosed(v, "after a mirrored stroke");
}

TEST(SurfaceStroke, HiddenCellsAreLeftAlone) {
  GeneralPenSaver saved;
  VolumeObject v;
  MakeScene(v, false);
  v.SurfaceMode = true;
  // Hide the cells on the front right of the pen's path.
  std::vector<CellKey> hidden;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (k.x == 0 && k.z >= 2 && c->Surface) c->Flags |= kCellHidden, hidden.push_back(k);
  });
  ASSERT_FALSE(hidden.empty());
  const SurfaceBytes start = SurfaceOf(v);
  StrokeFront(v, SCULPT_DRAW, {{-6, 1}, {-2, 1}, {2, 1}, {6, 1}}, 8.f);
  const SurfaceBytes after = SurfaceOf(v);
  for (const CellKey& k : hidden) EXPECT_TRUE(after.at({k.x, k.y, k.z}) == start.at({k.x, k.y, k.z}));
  EXPECT_FALSE(after == start) << "the visible cells under the pen moved";
}

// Outside surface mode pen-up writes the moved surface into the voxels, and
// the stroke's record takes it back to every byte.
TEST(SurfaceStroke, UndoRecordOfAStrokeWrittenIntoTheVoxelsRestoresEveryByte) {
  GeneralPenSaver saved;
  VolumeOnAStack on;
  VolumeObject& v = on.volume;
  UndoStack& stack = on.stack;
  MakeScene(v, false);
  for (int tool : {SCULPT_DRAW, SCULP_MOVE, SCULP_PLANE2, SCULP_SFEXTRUDE, SCULP_FOLLOW}) {
    const std::string before = VolumePicture(v);
    const VolumeSnapshot voxels = Snapshot(v);
    StrokeFront(v, tool, {{-4, 0}, {0, 2}, {4, 0}}, 8.f);
    EXPECT_FALSE(Snapshot(v) == voxels) << "tool " << tool << ": pen-up writes the surface into the voxels";
    EXPECT_FALSE(v.SurfaceChanged);
    ExpectClosed(v, "after pen-up");
    ASSERT_TRUE(PushVolumeUndo(stack, {&v}, tool));
    v.UpdateSurface();
    const std::string after = VolumePicture(v);
    ASSERT_NE(after, before) << "tool " << tool;
    ASSERT_TRUE(stack.Undo());
    v.UpdateSurface();
    EXPECT_TRUE(VolumePicture(v) == before) << "tool " << tool;
    ASSERT_TRUE(stack.Redo());
    v.UpdateSurface();
    EXPECT_TRUE(VolumePicture(v) == after) << "tool " << tool;
  }
}

TEST(SurfacePatch, SurfaceOpCallsTheRuleWithinTheRadiusOnlyAndKeepsCopiesTogether) {
  VolumeObject v;
  MakeScene(v, false);
  const Positions start = PositionsOf(v);
  const float c[3] = {0, 0, kR};
  int calls = 0;
  float farthest = 0;
  int cells = 0;
  ASSERT_TRUE(SurfaceOp(
      v, c, 7.f,
      [&](PatchVertex& p, float d) {
        ++calls;
        farthest = std::max(farthest, d);
        for (int k = 0; k < 3; ++k) p.Pos[k] += p.Normal[k] * 0.5f;  // outward
      },
      &cells));
  EXPECT_GT(calls, 20);
  EXPECT_LE(farthest, 7.f);
  EXPECT_GT(cells, 0);
  EXPECT_TRUE(v.SurfaceChanged);
  for (auto& [key, p] : PositionsOf(v)) {
    const auto& q = start.at(key);
    const float dq = std::hypot(q[0] - c[0], q[1] - c[1], q[2] - c[2]);
    if (dq > 7.f) {
      EXPECT_TRUE(p == q) << "a vertex beyond the radius moved";
    } else {
      EXPECT_NEAR(std::hypot(p[0], p[1], p[2]), std::hypot(q[0], q[1], q[2]) + 0.5f, 0.05f);
    }
  }
  ExpectClosed(v, "after SurfaceOp");
  // A refused region calls nothing.
  calls = 0;
  EXPECT_FALSE(SurfaceOp(v, c, 1000.f, [&](PatchVertex&, float) { ++calls; }));
  EXPECT_EQ(calls, 0);
}

TEST(SurfaceStroke, FreezeKeepsTheHigherValueAndAsAirbrushAddsUp) {
  GeneralPenSaver saved;
  auto freezeSum = [](VolumeObject& v) {
    long long sum = 0;
    v.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
      if (c->Surface)
        for (int i = 0; i < c->Surface->Vertices.Count; ++i) sum += c->Surface->Vertices[i].Freeze;
    });
    return sum;
  };
  VolumeObject v;
  MakeScene(v, false);
  v.SurfaceMode = true;
  StrokeFront(v, SCULP_SFREEZE, {{0, 0}}, 6.f);
  const long long once = freezeSum(v);
  ASSERT_GT(once, 0);
  StrokeFront(v, SCULP_SFREEZE, {{0, 0}}, 6.f);
  EXPECT_EQ(freezeSum(v), once) << "the same dab again keeps the higher value, which is the same";
  StrokeOptions airbrush;
  airbrush.Settings.AsAirbrush = true;
  StrokeFront(v, SCULP_SFREEZE, {{0, 0}}, 6.f, airbrush);
  EXPECT_GT(freezeSum(v), once) << "the airbrush adds";
  StrokeOptions thaw;
  thaw.Invert = true;
  StrokeFront(v, SCULP_SFREEZE, {{0, 0}}, 6.f, thaw);
  EXPECT_LT(freezeSum(v), once) << "inverted, the pen thaws";
  // Freeze alone moves nothing: positions stay, so nothing reaches the voxels.
  const VolumeSnapshot voxels = Snapshot(v);
  v.SurfaceMode = false;
  v.ApplyMC(false);
  EXPECT_TRUE(Snapshot(v) == voxels);
}
