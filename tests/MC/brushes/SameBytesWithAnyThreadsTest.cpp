// A carve stroke leaves the same bytes with one thread and with two: the
// voxels, the undo copies and the order the cells were touched in, each
// cell's triangles and the render groups' meshes.
#include <gtest/gtest.h>

#include <cstring>

#include "BrushTestKit.h"
#include "ClassEngine/Threader.h"

namespace {
constexpr float kSphere = 48.f;

// Everything a stroke leaves, as bytes, keyed by cell or group.
struct Trace {
  VolumeSnapshot voxels, undo;
  std::vector<CellKey> touched;
  std::map<std::tuple<int, int, int>, std::vector<uint8_t>> surfaces, groups;
};

template <class T>
void Append(std::vector<uint8_t>& out, const T* data, size_t n) {
  const uint8_t* b = reinterpret_cast<const uint8_t*>(data);
  out.insert(out.end(), b, b + n * sizeof(T));
}

Trace Carve(int threads) {
  const int saved = ThreadOptions::MaxProcessorsToBeUsed;
  ThreadOptions::MaxProcessorsToBeUsed = threads;
  GeneralPenSaver pens;
  SimplePen pen;
  GeneralPen::CurrentPenPtr = &pen;
  GeneralPen::DeepDegree = 0.5f;
  VolumeObject v;
  FillVolume(v, SphereShape(0, 0, 0, kSphere));
  v.UpdateSurface();
  v.DropUndoCopies();
  VoxelBrushSettings settings;
  VoxelSculptStroke stroke(settings);
  stroke.Tool = SCULPT_CARVE;
  stroke.Threads = threads;
  EXPECT_TRUE(stroke.Begin(v, OnSphere(-12, 3, kSphere, 14.f), 3));
  stroke.MoveTo(OnSphere(6, -4, kSphere, 14.f));
  stroke.MoveTo(OnSphere(15, 8, kSphere, 10.f, 0.6f));
  stroke.End();
  v.UpdateSurface();
  ThreadOptions::MaxProcessorsToBeUsed = saved;

  Trace t;
  t.voxels = Snapshot(v);
  t.touched = v.TouchedCells;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (c->UndoCopy) {
      std::vector<uint16_t> vals(kCellVoxels);
      for (int i = 0; i < kCellVoxels; ++i) vals[i] = OldValue(c->UndoCopy, i);
      t.undo[{k.x, k.y, k.z}] = vals;
    }
    if (c->Surface && c->Surface->Vertices.Count) {
      std::vector<uint8_t>& s = t.surfaces[{k.x, k.y, k.z}];
      for (int i = 0; i < c->Surface->Vertices.Count; ++i) {
        const MCVertex& mv = c->Surface->Vertices[i];
        Append(s, mv.Pos, 3), Append(s, mv.Normal, 3), Append(s, &mv.BorderCode, 1), Append(s, &mv.Freeze, 1);
      }
      Append(s, c->Surface->Indices.Data, (size_t)c->Surface->Indices.Count);
    }
  });
  v.RenderGroups.ForEach([&](const CellKey& g, RenderGroup& r) {
    std::vector<uint8_t>& m = t.groups[{g.x, g.y, g.z}];
    Append(m, r.Mesh->Positions.data(), r.Mesh->Positions.size());
    Append(m, r.Mesh->Normals.data(), r.Mesh->Normals.size());
    Append(m, r.Mesh->Indices16.data(), r.Mesh->Indices16.size());
    Append(m, r.Mesh->Indices32.data(), r.Mesh->Indices32.size());
  });
  return t;
}

TEST(SameBytesWithAnyThreads, CarveStrokeLeavesTheSameVoxelsUndoCopiesTrianglesAndGroups) {
  const Trace one = Carve(1), two = Carve(2);
  ASSERT_GT(one.undo.size(), 50u) << "the stroke reached many cells";
  EXPECT_EQ(one.voxels, two.voxels);
  EXPECT_EQ(one.undo, two.undo);
  ASSERT_EQ(one.touched.size(), two.touched.size());
  for (size_t i = 0; i < one.touched.size(); ++i) {
    EXPECT_EQ(one.touched[i].x, two.touched[i].x);
    EXPECT_EQ(one.touched[i].y, two.touched[i].y);
    EXPECT_EQ(one.touched[i].z, two.touched[i].z);
  }
  EXPECT_EQ(one.surfaces, two.surfaces);
  EXPECT_EQ(one.groups, two.groups);
  EXPECT_GT(one.groups.size(), 1u);
}
}  // namespace
