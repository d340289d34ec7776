// Every voxel mode on a sphere with a seeded pen: the volume changes the way
// the mode says, the surface stays closed, cells out of reach keep every byte,
// the undo copies restore the whole stroke exactly, and one or two threads
// give the same voxels.
#include <gtest/gtest.h>

#include "BrushTestKit.h"
#include "ClassEngine/Threader.h"

namespace {
constexpr float kSphere = 28.f;
constexpr float kPen = 7.f;

struct ModeRun {
  VolumeSnapshot before, after;
  long insideBefore = 0, insideAfter = 0;
};

// A three-frame stroke across the top of a fresh sphere.
ModeRun StrokeSphere(int tool, int threads, bool invert = false, VolumeObject* keep = nullptr) {
  GeneralPenSaver saved;
  SimplePen pen;
  GeneralPen::CurrentPenPtr = &pen;
  GeneralPen::DeepDegree = 0.5f;
  VolumeObject local;
  VolumeObject& v = keep ? *keep : local;
  FillVolume(v, SphereShape(0, 0, 0, kSphere));
  // A small bump where the stroke starts, for the plane to cut.
  const PenPoint start = OnSphere(-8, 0, kSphere, kPen);
  FillVolume(v, SphereShape(start.P[0], start.P[1], start.P[2], 3));
  v.UpdateSurface();
  ModeRun r;
  r.before = Snapshot(v);
  r.insideBefore = InsideCount(v);
  VoxelBrushSettings settings;
  VoxelSculptStroke stroke(settings);
  stroke.Tool = tool;
  stroke.Threads = threads;
  stroke.InvertModifier = invert;
  EXPECT_TRUE(stroke.Begin(v, OnSphere(-8, 0, kSphere, kPen), 42));
  stroke.MoveTo(OnSphere(0, 2, kSphere, kPen));
  stroke.MoveTo(OnSphere(8, 0, kSphere, kPen));
  stroke.End();
  r.after = Snapshot(v);
  r.insideAfter = InsideCount(v);
  return r;
}

// Cells whose centre lies this far from every stroke point are out of reach.
bool FarFromStroke(const std::tuple<int, int, int>& k) {
  const float c[3] = {std::get<0>(k) * 8 + 4.f, std::get<1>(k) * 8 + 4.f, std::get<2>(k) * 8 + 4.f};
  for (float x : {-8.f, 0.f, 8.f}) {
    const PenPoint p = OnSphere(x, 0, kSphere, kPen);
    const float d = std::sqrt((c[0] - p.P[0]) * (c[0] - p.P[0]) + (c[1] - p.P[1]) * (c[1] - p.P[1]) + (c[2] - p.P[2]) * (c[2] - p.P[2]));
    if (d < 3 * kPen + 16) return false;
  }
  return true;
}

class EveryVoxelMode : public ::testing::TestWithParam<int> {};
}  // namespace

TEST_P(EveryVoxelMode, ChangesOnlyWhatItReachesAndStaysClosed) {
  const int tool = GetParam();
  VolumeObject v;
  ModeRun r = StrokeSphere(tool, 2, false, &v);
  EXPECT_NE(r.before, r.after) << "mode " << tool << " changed nothing";
  ExpectClosed(Surface(v));
  int compared = 0;
  for (auto& [k, vals] : r.before) {
    if (!FarFromStroke(k)) continue;
    ++compared;
    auto it = r.after.find(k);
    ASSERT_NE(it, r.after.end());
    EXPECT_EQ(it->second, vals) << "cell out of reach changed";
  }
  EXPECT_GT(compared, 10);
}

TEST_P(EveryVoxelMode, UndoCopiesRestoreTheWholeStroke) {
  VolumeObject v;
  ModeRun r = StrokeSphere(GetParam(), 2, false, &v);
  v.RestoreUndoCopies();
  EXPECT_EQ(Snapshot(v), r.before);
  ExpectClosed(Surface(v));
}

TEST_P(EveryVoxelMode, OneAndTwoThreadsGiveTheSameVoxels) {
  ModeRun one = StrokeSphere(GetParam(), 1), two = StrokeSphere(GetParam(), 2);
  EXPECT_EQ(one.after, two.after);
}

INSTANTIATE_TEST_SUITE_P(Modes0To13, EveryVoxelMode, ::testing::Range(0, 14));

TEST(VoxelModeDirection, AddingModesAddAndCuttingModesCut) {
  for (int tool : {SCULP_GROW, SCULP_CLAY, SCULPT_ALPGROW, SCULPT_BUILD, SCULPT_EXTRUDE, SCULP_SPHERE}) {
    ModeRun r = StrokeSphere(tool, 2);
    EXPECT_GT(r.insideAfter, r.insideBefore) << "mode " << tool;
    ModeRun inv = StrokeSphere(tool, 2, true);
    EXPECT_LT(inv.insideAfter, inv.insideBefore) << "inverted mode " << tool;
  }
  for (int tool : {SCULPT_CARVE, SCULPT_BRANCH, SCULPT_RASPFILE, SCULP_VXPLANE}) {
    ModeRun r = StrokeSphere(tool, 2);
    EXPECT_LT(r.insideAfter, r.insideBefore) << "mode " << tool;
  }
  ModeRun ridge = StrokeSphere(SCULPT_CARVE, 2, true);
  EXPECT_GT(ridge.insideAfter, ridge.insideBefore);
}

TEST(VoxelModeDirection, FillNeverLowersAndInvertedFillNeverRaises) {
  for (bool inv : {false, true}) {
    ModeRun r = StrokeSphere(SCULP_FILL, 2, inv);
    for (auto& [k, vals] : r.after) {
      auto it = r.before.find(k);
      for (int i = 0; i < kCellVoxels; ++i) {
        const uint16_t old = it == r.before.end() ? 0 : it->second[i];
        if (inv)
          ASSERT_LE(vals[i], old);
        else
          ASSERT_GE(vals[i], old);
      }
    }
  }
}

TEST(VoxelModeDirection, PlaneLeavesNothingAboveThePlane) {
  VolumeObject v;
  StrokeSphere(SCULP_VXPLANE, 2, false, &v);
  // The plane of the first pick, normal out of the sphere there.
  const PenPoint first = OnSphere(-8, 0, kSphere, kPen);
  int above = 0, checked = 0;
  for (int z = 10; z < 40; ++z)
    for (int y = -12; y < 12; ++y)
      for (int x = -20; x < 4; ++x) {
        const float d[3] = {x - first.P[0], y - first.P[1], z - first.P[2]};
        const float h = d[0] * first.N[0] + d[1] * first.N[1] + d[2] * first.N[2];
        const float r = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
        if (h < 2.5f || r > kPen * 0.7f) continue;
        ++checked;
        above += v.GetVoxel(x, y, z) >= kSurfaceLevel;
      }
  EXPECT_GT(checked, 20);
  EXPECT_EQ(above, 0);
}

TEST(VoxelModeDirection, SmoothingFlattensABump) {
  GeneralPenSaver saved;
  VolumeObject v;
  FillVolume(v, SphereShape(0, 0, 0, kSphere));
  FillVolume(v, SphereShape(0, 0, kSphere, 4));  // a small bump on top
  v.UpdateSurface();
  auto top = [&]() {
    for (int z = 40; z > 0; --z)
      if (v.GetVoxel(0, 0, z) >= kSurfaceLevel) return z;
    return 0;
  };
  const int before = top();
  VoxelBrushSettings settings;
  VoxelSculptStroke stroke(settings);
  stroke.Tool = SCULPT_SMOOTH;
  PenPoint p = OnSphere(0, 0, kSphere + 4, 8);
  ASSERT_TRUE(stroke.Begin(v, p, 3));
  for (int i = 0; i < 6; ++i) stroke.MoveTo(p);
  stroke.End();
  EXPECT_LT(top(), before);
  ExpectClosed(Surface(v));
}

TEST(VoxelModeDirection, LaterModesSayTheyAreNotAvailable) {
  VolumeObject v;
  FillVolume(v, SphereShape(0, 0, 0, 10));
  VoxelBrushSettings settings;
  VoxelSculptStroke stroke(settings);
  for (int tool : {SCULP_PRIM, SCULP_CURVES, SCULP_CLOTH, SCULP_TUBE}) {
    stroke.Tool = tool;
    const VolumeSnapshot before = Snapshot(v);
    EXPECT_FALSE(stroke.Begin(v, OnSphere(0, 0, 10, 3), 1));
    EXPECT_EQ(stroke.Message(), "not available yet");
    EXPECT_EQ(Snapshot(v), before);
  }
}
