// The surface stays what a full rebuild would give: after local edits, with
// any thread count, in mirrored cells, and after undo.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>

#include "ClassEngine/Random.h"
#include "ClassEngine/Threader.h"
#include "MC/mcubes/MCTables.h"
#include "MC/mcubes/VolumeFill.h"
#include "MeshChecks.h"

namespace {
// A second volume with the same voxels, every cell marked and built afresh.
void FullRebuildCopy(VolumeObject& src, VolumeObject& dst) {
  src.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    VoxelCell* d = dst.GetCell(k.x, k.y, k.z, true, false);
    d->Fill = c->Fill;
    if (c->Voxels) {
      d->EnsureVoxels(3, false);
      std::memcpy(d->Voxels, c->Voxels, kCellVoxels * 2);
    }
    d->RefreshStatus(true, false);
    dst.MarkDirty(k.x, k.y, k.z, false);
  });
  dst.UpdateSurface();
}

// Triangles as index triples rotated to start at their smallest index, sorted;
// flipped ones are read in reverse order first.
std::vector<std::array<int, 3>> CanonicalTriangles(const PodArray<uint16_t>& idx, bool flip) {
  std::vector<std::array<int, 3>> out;
  for (int i = 0; i + 2 < idx.Count; i += 3) {
    std::array<int, 3> t = {idx[i], flip ? idx[i + 2] : idx[i + 1], flip ? idx[i + 1] : idx[i + 2]};
    std::rotate(t.begin(), std::min_element(t.begin(), t.end()), t.end());
    out.push_back(t);
  }
  std::sort(out.begin(), out.end());
  return out;
}

void EditBall(VolumeObject& v, int cx, int cy, int cz, int r, bool add) {
  CellCache cache;
  for (int z = cz - r; z <= cz + r; ++z)
    for (int y = cy - r; y <= cy + r; ++y)
      for (int x = cx - r; x <= cx + r; ++x) {
        const float d = r - std::sqrt(float((x - cx) * (x - cx) + (y - cy) * (y - cy) + (z - cz) * (z - cz)));
        const uint16_t s = EncodeDistance(d, 4);
        const uint16_t old = v.GetVoxel(x, y, z, &cache);
        const uint16_t now = add ? std::max(old, s) : std::min<uint16_t>(old, 65535 - s);
        if (now != old) v.PutVoxel(x, y, z, now);
      }
}

// Group (0, 0, 0) filled with a checkerboard, which cuts every lattice edge:
// far above 65000 vertices in the one group. The surface is built.
void FillCheckerboardGroup(VolumeObject& v) {
  const float mn[3] = {0, 0, 0}, mx[3] = {47, 47, 47};
  FunctionShape checker([](float x, float y, float z) { return ((int)x + (int)y + (int)z) & 1 ? 2.0f : -2.0f; }, mn, mx,
                        1000.0f);
  FillVolume(v, checker);
  v.UpdateSurface();
}
}  // namespace

TEST(SurfaceConsistency, TablesAgreeWithEachOther) {
  for (int c = 0; c < 256; ++c) {
    int mask = 0, n = 0;
    for (; triTable[c][n] >= 0; ++n) mask |= 1 << triTable[c][n];
    EXPECT_EQ(mask, edgeTable[c]) << c;
    EXPECT_EQ(n % 3, 0) << c;
    // The complement case cuts the same edges.
    EXPECT_EQ(edgeTable[c], edgeTable[255 - c]) << c;
  }
}

TEST(SurfaceConsistency, LocalEditsMatchAFullRebuild) {
  VolumeObject v;
  FillVolume(v, SphereShape(-3, 2, 5, 30));
  v.UpdateSurface();
  EditBall(v, -3 + 30, 2, 5, 6, false);  // dent on the surface
  EditBall(v, -3, 2 - 30, 5, 5, true);   // bump on the other side
  v.PutVoxel(-3, 2 + 30, 5, 0);          // a single voxel
  v.UpdateSurface();
  VolumeObject full;
  FullRebuildCopy(v, full);
  EXPECT_EQ(CellTriangles(v), CellTriangles(full));
  // The render groups hold the same meshes too.
  int groups = 0;
  v.RenderGroups.ForEach([&](const CellKey& g, RenderGroup& rg) {
    RenderGroup* other = full.RenderGroups.Find(g.x, g.y, g.z);
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(rg.Mesh->Positions, other->Mesh->Positions);
    EXPECT_EQ(rg.Mesh->Indices16, other->Mesh->Indices16);
    ++groups;
  });
  EXPECT_EQ(groups, full.RenderGroups.Count());
}

TEST(SurfaceConsistency, OneAndTwoThreadsGiveTheSameTriangles) {
  const bool saved = ThreadOptions::UseMultiCore;
  ThreadOptions::UseMultiCore = false;
  VolumeObject one;
  FillVolume(one, NoiseShape(0, 0, 0, 40, 8, 13, 3), 1);
  one.UpdateSurface();
  ThreadOptions::UseMultiCore = true;
  VolumeObject two;
  FillVolume(two, NoiseShape(0, 0, 0, 40, 8, 13, 3), 2);
  two.UpdateSurface();
  ThreadOptions::UseMultiCore = saved;
  EXPECT_EQ(CellTriangles(one), CellTriangles(two));
}

TEST(SurfaceConsistency, MirroredCellsGiveExactlyMirroredPositions) {
  // The same shape on both sides of x = 0: cell cx against -cx - 1.
  VolumeObject pos, neg;
  FillVolume(pos, NoiseShape(37.3f, 1.5f, 2.25f, 21, 5, 9, 11));
  const float mn[3] = {-70, -30, -30}, mx[3] = {-5, 30, 30};
  NoiseShape original(37.3f, 1.5f, 2.25f, 21, 5, 9, 11);
  FunctionShape mirrored([&](float x, float y, float z) { return original.Distance(-x, y, z); }, mn, mx,
                         original.Lipschitz());
  FillVolume(neg, mirrored);
  pos.UpdateSurface();
  neg.UpdateSurface();
  int cells = 0;
  pos.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!c->Surface || !c->Surface->Vertices.Count) return;
    VoxelCell* m = neg.GetCell(-k.x - 1, k.y, k.z, false, false);
    ASSERT_NE(m, nullptr);
    ASSERT_EQ(m->Surface->Vertices.Count, c->Surface->Vertices.Count);
    for (int i = 0; i < c->Surface->Vertices.Count; ++i) {
      const MCVertex &a = c->Surface->Vertices[i], &b = m->Surface->Vertices[i];
      EXPECT_EQ(a.Pos[0], -b.Pos[0]);
      EXPECT_EQ(a.Pos[1], b.Pos[1]);
      EXPECT_EQ(a.Pos[2], b.Pos[2]);
    }
    // Same triangles, opposite winding.
    EXPECT_EQ(CanonicalTriangles(c->Surface->Indices, true), CanonicalTriangles(m->Surface->Indices, false));
    ++cells;
  });
  EXPECT_GT(cells, 20);
}

TEST(SurfaceConsistency, MirroredCopyStaysClosedAndMirrored) {
  VolumeObject src;
  FillVolume(src, TorusShape(20, 3, -7, 15, 5));
  src.UpdateSurface();
  VolumeObject copy;
  copy.CopyFromMirrored(src, 1 | 4);
  copy.UpdateSurface();
  WeldedMeshBuilder a, b;
  src.ExtractWeldedAll(a);
  copy.ExtractWeldedAll(b);
  MeshTopology ta = Analyse(a), tb = Analyse(b);
  ExpectClosed(tb);
  EXPECT_EQ(tb.Euler(), 0);
  EXPECT_EQ(ta.faces, tb.faces);
  EXPECT_NEAR(ta.signedVolume, tb.signedVolume, 1e-3 * std::fabs(ta.signedVolume));
  EXPECT_EQ(copy.GetVoxel(-21, 3, 6), src.GetVoxel(20, 3, -7));
}

TEST(SurfaceConsistency, NeighboursAt32767And32768MeetInTheMiddle) {
  VolumeObject v;
  v.PutVoxel(2, 2, 2, 32768);
  v.PutVoxel(3, 2, 2, 32767);
  EXPECT_EQ(v.GetVoxel(3, 2, 2) >= kSurfaceLevel, false);
  v.UpdateSurface();
  VoxelCell* c = v.GetCell(0, 0, 0, false, false);
  ASSERT_NE(c->Surface, nullptr);
  bool found = false;
  for (int i = 0; i < c->Surface->Vertices.Count; ++i) {
    const MCVertex& m = c->Surface->Vertices[i];
    if (m.Pos[1] == 2 && m.Pos[2] == 2 && m.Pos[0] > 2 && m.Pos[0] < 3) {
      EXPECT_EQ(m.Pos[0], 2.5f);
      found = true;
    }
  }
  EXPECT_TRUE(found);
  // The same pair in a negative cell.
  VolumeObject n;
  n.PutVoxel(-3, -2, -2, 32768);
  n.PutVoxel(-4, -2, -2, 32767);
  n.UpdateSurface();
  VoxelCell* m = n.GetCell(-1, -1, -1, false, false);
  bool foundNeg = false;
  for (int i = 0; i < m->Surface->Vertices.Count; ++i) {
    const MCVertex& mv = m->Surface->Vertices[i];
    if (mv.Pos[1] == -2 && mv.Pos[2] == -2 && mv.Pos[0] < -3) {
      EXPECT_EQ(mv.Pos[0], -3.5f);
      foundNeg = true;
    }
  }
  EXPECT_TRUE(foundNeg);
}

TEST(SurfaceConsistency, SurfaceOnTheSharedPlaneWeldsAcrossCells) {
  // Solid only on lattice plane x = 8: both cells see it, cell 0 at local 8.
  VolumeObject v;
  for (int z = 2; z <= 5; ++z)
    for (int y = 2; y <= 5; ++y) v.PutVoxel(8, y, z, 65535);
  v.UpdateSurface();
  VoxelCell* low = v.GetCell(0, 0, 0, false, false);
  ASSERT_NE(low->Surface, nullptr);
  ASSERT_GT(low->Surface->Vertices.Count, 0);
  int border = 0;
  for (int i = 0; i < low->Surface->Vertices.Count; ++i) {
    const MCVertex& m = low->Surface->Vertices[i];
    if (m.BorderCode != kNoBorder) {
      ++border;
      const int code = m.BorderCode, axis = code / 729;
      const float lower[3] = {float(code % 9), float(code / 9 % 9), float(code / 81 % 9)};
      for (int k = 0; k < 3; ++k) {
        if (k != axis) {
          EXPECT_EQ(m.Pos[k], lower[k]);
        }
      }
    }
  }
  EXPECT_GT(border, 0);
  WeldedMeshBuilder w;
  v.ExtractWeldedAll(w);
  ExpectClosed(Analyse(w));
}

TEST(SurfaceConsistency, UndoCopiesRestoreVoxelsByteForByte) {
  VolumeObject v;
  FillVolume(v, SphereShape(1, -2, 3, 25));
  v.UpdateSurface();
  v.DropUndoCopies();
  std::map<std::tuple<int, int, int>, std::vector<uint16_t>> before;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    before[{k.x, k.y, k.z}] = c->Voxels ? std::vector<uint16_t>(c->Voxels, c->Voxels + kCellVoxels)
                                        : std::vector<uint16_t>(1, c->Fill);
  });
  const auto triangles = CellTriangles(v);
  EditBall(v, 26, -2, 3, 7, true);
  EditBall(v, 1, -2, 3, 9, false);  // hollows the inside, creating new surface cells
  v.ReplaceWithEmpty(0, 0, 0);
  v.UpdateSurface();
  EXPECT_NE(CellTriangles(v), triangles);
  v.RestoreUndoCopies();
  v.UpdateSurface();
  std::map<std::tuple<int, int, int>, std::vector<uint16_t>> after;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!before.count({k.x, k.y, k.z}) && !c->Voxels && c->Fill == 0) return;  // created by the edit, empty again
    after[{k.x, k.y, k.z}] = c->Voxels ? std::vector<uint16_t>(c->Voxels, c->Voxels + kCellVoxels)
                                       : std::vector<uint16_t>(1, c->Fill);
  });
  EXPECT_EQ(before, after);
  EXPECT_EQ(CellTriangles(v), triangles);
  EXPECT_EQ(v.UndoCopies, 0);
  EXPECT_TRUE(v.TouchedCells.empty());
}

TEST(SurfaceConsistency, UniformCellLosesItsTrianglesAtTheNextUpdate) {
  VolumeObject v;
  FillVolume(v, SphereShape(4, 4, 4, 3));
  v.UpdateSurface();
  VoxelCell* c = v.GetCell(0, 0, 0, false, false);
  ASSERT_GT(c->Surface->Vertices.Count, 0);
  v.ClearVoxels();
  EXPECT_TRUE(c->Flags & kCellChanged);
  v.UpdateSurface();
  EXPECT_EQ(c->Surface->Vertices.Count, 0);
  EXPECT_EQ(c->Surface->Indices.Count, 0);
  EXPECT_EQ(v.RenderGroups.Count(), 0);
}

TEST(SurfaceConsistency, BigGroupSwitchesToWideIndices) {
  VolumeObject v;
  FillCheckerboardGroup(v);
  RenderGroup* g = v.RenderGroups.Find(0, 0, 0);
  ASSERT_NE(g, nullptr);
  EXPECT_GE(g->Mesh->VertexCount(), 65000);
  EXPECT_TRUE(g->Mesh->WideIndices);
  EXPECT_TRUE(g->Mesh->Indices16.empty());
  uint32_t maxIndex = 0;
  for (uint32_t i : g->Mesh->Indices32) maxIndex = std::max(maxIndex, i);
  EXPECT_EQ((int)maxIndex, g->Mesh->VertexCount() - 1);
  // A small group stays on 16-bit indices.
  VolumeObject s;
  FillVolume(s, SphereShape(20, 20, 20, 8));
  s.UpdateSurface();
  EXPECT_FALSE(s.RenderGroups.Find(0, 0, 0)->Mesh->WideIndices);
}

TEST(SurfaceConsistency, NormalsPointIntoTheSolidWithUnitLength) {
  VolumeObject v;
  FillVolume(v, SphereShape(-5, 0, 5, 20));
  v.UpdateSurface();
  int checked = 0;
  v.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    if (!c->Surface) return;
    for (int i = 0; i < c->Surface->Vertices.Count; ++i) {
      const MCVertex& m = c->Surface->Vertices[i];
      const float d[3] = {m.Pos[0] + 5, m.Pos[1], m.Pos[2] - 5};
      const float len = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
      const float dot = -(d[0] * m.Normal[0] + d[1] * m.Normal[1] + d[2] * m.Normal[2]) / len;
      EXPECT_GT(dot, 0.9f);
      EXPECT_NEAR(m.Normal[0] * m.Normal[0] + m.Normal[1] * m.Normal[1] + m.Normal[2] * m.Normal[2], 1.0f, 0.01f);
      float again[3];
      v.CalcNormal(again, m.Pos[0], m.Pos[1], m.Pos[2]);
      EXPECT_EQ(again[0], m.Normal[0]);
      EXPECT_EQ(again[1], m.Normal[1]);
      EXPECT_EQ(again[2], m.Normal[2]);
      ++checked;
    }
  });
  EXPECT_GT(checked, 1000);
}

TEST(SurfaceConsistency, BoxTreeHoldsTheSurfaceBounds) {
  VolumeObject v;
  FillVolume(v, SphereShape(0, 0, 0, 30));
  v.UpdateSurface();
  ASSERT_EQ(v.Tree.LevelCount, 6);
  EXPECT_EQ(v.Tree.Levels[0]->Boxes.Buckets(), 524288u);
  EXPECT_EQ(v.Tree.Levels[2]->Boxes.Buckets(), 8192u);
  EXPECT_EQ(v.Tree.Levels[5]->Boxes.Buckets(), 2048u);
  CellBox all;
  for (int k = 0; k < 6; ++k) {
    const CellBox* top = v.Tree.Levels[5]->Boxes.Find(k & 1 ? 0 : -1, k & 2 ? 0 : -1, k & 4 ? 0 : -1);
    if (top) all.Merge(*top);
  }
  for (int k = 6; k < 8; ++k) {
    const CellBox* top = v.Tree.Levels[5]->Boxes.Find(k & 1 ? 0 : -1, k & 2 ? 0 : -1, k & 4 ? 0 : -1);
    if (top) all.Merge(*top);
  }
  for (int i = 0; i < 3; ++i) {
    EXPECT_NEAR(all.Min[i], -30, 0.5);
    EXPECT_NEAR(all.Max[i], 30, 0.5);
  }
}

namespace {
CellBox TopBox(const VolumeObject& v) {
  CellBox all;
  for (int k = 0; k < 8; ++k)
    if (const CellBox* top = v.Tree.Levels[5]->Boxes.Find(k & 1 ? 0 : -1, k & 2 ? 0 : -1, k & 4 ? 0 : -1)) all.Merge(*top);
  return all;
}
}  // namespace

TEST(SurfaceConsistency, BoundsSkippedDuringAStrokeAreSettledAtPenUp) {
  VolumeObject skipped, plain;
  for (VolumeObject* v : {&skipped, &plain}) {
    FillVolume(*v, SphereShape(0, 0, 0, 30));
    v->UpdateSurface();
  }
  // Two frames of a stroke: a bump out past +x, then a dent and a bump past +y.
  auto frame = [](VolumeObject& v, int step, bool skip) {
    v.SkipBoundsThisUpdate = skip;
    if (step == 0) EditBall(v, 33, 0, 0, 8, true);
    if (step == 1) EditBall(v, 0, 33, 0, 8, true), EditBall(v, 0, 0, 29, 5, false);
    v.UpdateSurface();
  };
  for (int step = 0; step < 2; ++step) frame(skipped, step, true), frame(plain, step, false);
  EXPECT_NEAR(TopBox(skipped).Max[0], 30, 0.5) << "the tree waits while the pen is down";
  EXPECT_GT(TopBox(plain).Max[0], 38);
  skipped.SkipBoundsThisUpdate = false;
  skipped.UpdateSurface();
  for (int level : {0, 2, 5}) {
    int boxes = 0;
    plain.Tree.Levels[level]->Boxes.ForEach([&](const CellKey& k, CellBox& want) {
      const CellBox* got = skipped.Tree.Levels[level]->Boxes.Find(k.x, k.y, k.z);
      ASSERT_NE(got, nullptr) << "level " << level;
      for (int i = 0; i < 3; ++i) {
        EXPECT_FLOAT_EQ(got->Min[i], want.Min[i]);
        EXPECT_FLOAT_EQ(got->Max[i], want.Max[i]);
      }
      ++boxes;
    });
    EXPECT_GT(boxes, 0);
  }
  EXPECT_EQ(skipped.BoundsOwed.Count(), 0);
}

// Group meshes are filled again in place once nothing holds them; one the
// renderer still holds keeps the triangles it had.
TEST(SurfaceConsistency, GroupMeshesAreReusedOnlyWhenNobodyHoldsThem) {
  VolumeObject v;
  FillVolume(v, SphereShape(-3, 2, 5, 30));
  v.UpdateSurface();
  std::map<std::array<int, 3>, std::shared_ptr<GroupMesh>> held;
  std::map<std::array<int, 3>, MeshArray<float>> heldPositions;
  v.RenderGroups.ForEach([&](const CellKey& g, RenderGroup& rg) {
    held[{g.x, g.y, g.z}] = rg.Mesh;
    heldPositions[{g.x, g.y, g.z}] = rg.Mesh->Positions;
  });
  ASSERT_GT(held.size(), 1u);
  EditBall(v, -3 + 30, 2, 5, 6, false);
  EditBall(v, -3, 2 - 30, 5, 5, true);
  v.UpdateSurface();
  int rebuilt = 0;
  v.RenderGroups.ForEach([&](const CellKey& g, RenderGroup& rg) {
    auto it = held.find({g.x, g.y, g.z});
    if (it != held.end() && it->second != rg.Mesh) ++rebuilt;
  });
  EXPECT_GT(rebuilt, 0);
  for (auto& [key, mesh] : held) EXPECT_EQ(mesh->Positions, heldPositions[key]);

  // Let go: the next update of the same groups writes into the same meshes,
  // and they hold what a fresh build holds.
  std::map<std::array<int, 3>, const GroupMesh*> before;
  v.RenderGroups.ForEach([&](const CellKey& g, RenderGroup& rg) { before[{g.x, g.y, g.z}] = rg.Mesh.get(); });
  held.clear();
  EditBall(v, -3 + 30, 2, 5, 9, false);
  v.UpdateSurface();
  int sameObject = 0;
  v.RenderGroups.ForEach([&](const CellKey& g, RenderGroup& rg) { sameObject += before[{g.x, g.y, g.z}] == rg.Mesh.get(); });
  EXPECT_EQ(sameObject, v.RenderGroups.Count());
  VolumeObject full;
  FullRebuildCopy(v, full);
  v.RenderGroups.ForEach([&](const CellKey& g, RenderGroup& rg) {
    RenderGroup* other = full.RenderGroups.Find(g.x, g.y, g.z);
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(rg.Mesh->Positions, other->Mesh->Positions);
    EXPECT_EQ(rg.Mesh->Indices16, other->Mesh->Indices16);
  });
}

TEST(SurfaceConsistency, EmptiedGroupLendsItsMeshToANewOneWithTheRightIndexWidth) {
  // A wide group (checkerboard) empties; its mesh becomes a spare that a small
  // group elsewhere takes, on 16-bit indices and without the old 32-bit ones.
  VolumeObject v;
  FillCheckerboardGroup(v);
  const GroupMesh* wide = v.RenderGroups.Find(0, 0, 0)->Mesh.get();
  ASSERT_TRUE(wide->WideIndices);
  v.ClearVoxels();
  v.UpdateSurface();
  ASSERT_EQ(v.RenderGroups.Count(), 0);
  // Every emptied group left its mesh; only the wide one is kept for the test.
  ASSERT_GE(v.SpareMeshes.size(), 1u);
  std::erase_if(v.SpareMeshes, [&](const std::shared_ptr<GroupMesh>& m) { return m.get() != wide; });
  ASSERT_EQ(v.SpareMeshes.size(), 1u);
  FillVolume(v, SphereShape(100, 20, 20, 8));
  v.UpdateSurface();
  RenderGroup* g = v.RenderGroups.Find(GroupOf(100 / 8), 0, 0);
  ASSERT_NE(g, nullptr);
  EXPECT_EQ(g->Mesh.get(), wide);
  EXPECT_FALSE(g->Mesh->WideIndices);
  EXPECT_TRUE(g->Mesh->Indices32.empty());
  EXPECT_TRUE(v.SpareMeshes.empty());
  VolumeObject fresh;
  FillVolume(fresh, SphereShape(100, 20, 20, 8));
  fresh.UpdateSurface();
  RenderGroup* f = fresh.RenderGroups.Find(GroupOf(100 / 8), 0, 0);
  ASSERT_NE(f, nullptr);
  EXPECT_EQ(g->Mesh->Positions, f->Mesh->Positions);
  EXPECT_EQ(g->Mesh->Indices16, f->Mesh->Indices16);
}
