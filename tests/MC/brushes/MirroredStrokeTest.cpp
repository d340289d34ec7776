// A stroke with symmetry on leaves the volume's mirror image of itself: with
// each mirror setting, every cell equals its mirror cell read backwards in the
// mirrored axes, byte for byte, and the copies really sculpt (the stroke lies
// off every mirror plane, so only the copies can make the far side match).
// Axial copies turn the stroke about the axis in quarter turns.
#include <gtest/gtest.h>

#include "BrushTestKit.h"
#include "MC/brushes/Symmetry.h"

namespace {
constexpr float kSphere = 28.f;

// The value of the cell's mirror image at local (x, y, z) for the mirror m.
uint16_t MirroredValue(VolumeObject& v, const CellKey& k, int x, int y, int z, int m) {
  const int cx = m & 1 ? ~k.x : k.x, cy = m & 2 ? ~k.y : k.y, cz = m & 4 ? ~k.z : k.z;
  VoxelCell** c = v.Cells.Find(cx, cy, cz);
  const int lx = m & 1 ? 8 - x : x, ly = m & 2 ? 8 - y : y, lz = m & 4 ? 8 - z : z;
  return OldValue(c ? *c : nullptr, LatticeIndex(lx, ly, lz));
}

// Lattice points whose mirror image differs by more than `tolerance`.
long MirrorMismatches(VolumeObject& v, int m, int tolerance = 0) {
  long bad = 0;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    for (int z = 0; z <= 8; ++z)
      for (int y = 0; y <= 8; ++y)
        for (int x = 0; x <= 8; ++x)
          bad += std::abs(OldValue(c, LatticeIndex(x, y, z)) - MirroredValue(v, k, x, y, z, m)) > tolerance;
  });
  return bad;
}

struct Stroked {
  GeneralPenSaver saved;
  SimplePen pen;
  VolumeObject volume;
  VoxelBrushSettings settings;
  // `away` moves the stroke further from the planes.
  explicit Stroked(int tool, int symmetry, bool invert = false, float away = 0.f) {
    GeneralPen::CurrentPenPtr = &pen;
    GeneralPen::DeepDegree = 0.6f;
    GeneralPen::Symmetry = symmetry;
    FillVolume(volume, SphereShape(0, 0, 0, kSphere));
    VoxelSculptStroke stroke(settings);
    stroke.Tool = tool;
    stroke.InvertModifier = invert;
    // Off every plane through the origin: x, y and z all positive.
    const float path[][2] = {{7, 5}, {11, 7}, {15, 8}, {18, 11}};
    EXPECT_TRUE(stroke.Begin(volume, OnSphere(path[0][0] + away, path[0][1], kSphere, 6.f), 3));
    for (int i = 1; i < 4; ++i) stroke.MoveTo(OnSphere(path[i][0] + away * (i > 0), path[i][1], kSphere, 6.f));
    stroke.End();
    volume.DropUndoCopies();
  }
};

class MirrorSetting : public ::testing::TestWithParam<int> {};

TEST_P(MirrorSetting, CarveLeavesMirroredCellsByteForByte) {
  const int bits = GetParam();
  Stroked plain(SCULPT_CARVE, 0), mirrored(SCULPT_CARVE, bits);
  for (int m = 1; m < 8; ++m) {
    if ((m & bits) != m) continue;
    EXPECT_EQ(MirrorMismatches(mirrored.volume, m), 0) << "mirror " << m;
    EXPECT_GT(MirrorMismatches(plain.volume, m), 0) << "without symmetry the far side is untouched, mirror " << m;
  }
  // Each copy removes as much as the stroke itself.
  VolumeObject sphere;
  FillVolume(sphere, SphereShape(0, 0, 0, kSphere));
  const long full = InsideCount(sphere), one = full - InsideCount(plain.volume);
  const int copies = (int)SymmetryCopies(bits).size();
  EXPECT_GT(one, 0);
  EXPECT_EQ(full - InsideCount(mirrored.volume), one * copies);
}

INSTANTIATE_TEST_SUITE_P(EveryMirror, MirrorSetting, ::testing::Values(1, 2, 4, 3, 5, 6, 7));

TEST(MirroredStroke, RaisedRidgeAndCapsuleAreMirroredByteForByte) {
  for (int tool : {SCULPT_CARVE, SCULP_SPHERE}) {
    Stroked s(tool, 1, tool == SCULPT_CARVE);
    EXPECT_EQ(MirrorMismatches(s.volume, 1), 0) << "tool " << tool;
  }
}

TEST(MirroredStroke, DisplacementIsMirroredToWithinTheLastStepOfTheField) {
  // Displacing tools read the old field between lattice points; the
  // interpolation of a mirrored point rounds on the other side, so a value
  // may differ by a few units of 65535 (a hundredth of a voxel's slope).
  // Each copy reads the field as the copy before left it, so the stroke keeps
  // clear of the mirror plane here.
  for (int tool : {SCULPT_EXTRUDE, SCULP_CLAY}) {
    Stroked plain(tool, 0, false, 6.f), s(tool, 1, false, 6.f);
    EXPECT_EQ(MirrorMismatches(s.volume, 1, 64), 0) << "tool " << tool;
    EXPECT_GT(MirrorMismatches(plain.volume, 1, 64), 0) << "tool " << tool;
  }
}

TEST(MirroredStroke, AxialCopiesTurnTheStrokeInQuarterTurns) {
  GeneralPenSaver saved;
  SimplePen pen;
  GeneralPen::CurrentPenPtr = &pen;
  VolumeObject v;
  FillVolume(v, SphereShape(0, 0, 0, kSphere));
  VoxelBrushSettings settings;
  settings.AxialSymmetry = 4;
  settings.AxialAxis = 2;  // about z: the stroke seen from +z is turned in the view
  VoxelSculptStroke stroke(settings);
  stroke.Tool = SCULPT_CARVE;
  ASSERT_TRUE(stroke.Begin(v, OnSphere(6, 4, kSphere, 5.f), 2));
  stroke.MoveTo(OnSphere(14, 6, kSphere, 5.f));
  stroke.End();
  // A quarter turn about z maps (x, y, z) to (-y, x, z); the dot products of
  // a turned point add their terms in another order, so the last bit may differ.
  long far = 0, bad = 0;
  for (int z = 0; z <= 30; z += 1)
    for (int y = -20; y <= 20; ++y)
      for (int x = -20; x <= 20; ++x) {
        const int a = v.GetVoxel(x, y, z), b = v.GetVoxel(-y, x, z);
        bad += std::abs(a - b) > 64;
        far += a != v.GetVoxel(-x, -y, z) ? 0 : 1;
      }
  EXPECT_EQ(bad, 0);
  EXPECT_GT(far, 0);
}

TEST(SymmetryCopies, IdentityFirstThenEveryEnabledCombination) {
  EXPECT_EQ(SymmetryCopies(0).size(), 1u);
  EXPECT_TRUE(SymmetryCopies(0)[0].Identity());
  const auto xz = SymmetryCopies(5);
  ASSERT_EQ(xz.size(), 4u);
  EXPECT_TRUE(xz[0].Identity());
  const float p[3] = {1, 2, 3};
  float q[3];
  xz[3].Point(p, q);
  EXPECT_EQ(q[0], -1.f);
  EXPECT_EQ(q[1], 2.f);
  EXPECT_EQ(q[2], -3.f);
  EXPECT_EQ(xz[1].Handed, -1.f);
  EXPECT_EQ(xz[3].Handed, 1.f);
  // Three axial copies of two mirrors: six, the turns exact where they land on the lattice.
  const auto ax = SymmetryCopies(1, 3, 1);
  EXPECT_EQ(ax.size(), 6u);
  const auto quarter = SymmetryCopies(0, 4, 1);
  ASSERT_EQ(quarter.size(), 4u);
  quarter[1].Point(p, q);
  EXPECT_EQ(q[0], 3.f);
  EXPECT_EQ(q[1], 2.f);
  EXPECT_EQ(q[2], -1.f);
  int calls = 0, copies = 0;
  ForEachSymmetry([&](const SymmetryCopy&, bool isCopy) { ++calls, copies += isCopy; }, 7);
  EXPECT_EQ(calls, 8);
  EXPECT_EQ(copies, 7);
}
}  // namespace
