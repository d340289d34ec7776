// The sketch tool's solid from three silhouettes drawn here (a disk seen from
// the front, a box from the side, a right triangle from above, each an odd,
// off-centre picture): the solid is inside exactly where all three see it,
// the early-out of uniform cells gives the same bytes as visiting every
// lattice point, one and two threads agree, the old density is kept and cells
// out of reach stay as they were, and the surface is closed.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "MC/brushes/BrushTestKit.h"
#include "MC/objects/SketchSolid.h"
#include "interchange/Image.h"

namespace {

constexpr float kSize = 64;

// A picture of w x h whose pixel (i, j) (j from the bottom) is bright where
// `inside` holds for its centre (i + 0.5, j + 0.5).
comms::cImage Silhouette(int w, int h, const std::function<bool(float, float)>& inside) {
  comms::cImage p;
  p.Create(w, h, 3);
  for (int j = 0; j < h; ++j)
    for (int i = 0; i < w; ++i)
      if (inside(i + 0.5f, j + 0.5f)) {
        uint8_t* px = p.data.data() + (size_t(j) * w + i) * 3;
        px[0] = 40, px[1] = 255, px[2] = 90;
      }
  return p;
}

// Signed distances in pixels (inside positive; outside no farther than the
// truth) of the three shapes.
float Disk(float x, float y) { return 12 - std::hypot(x - 18, y - 22); }
float Box(float x, float y) { return std::min({x - 8, 30 - x, y - 6, 33 - y}); }
float Wedge(float x, float y) { return std::min({x - 6, y - 5, (36 - x - y) / std::sqrt(2.f)}); }

struct Sketch : ::testing::Test {
  SketchView views[3];
  int size[3][2] = {{45, 39}, {37, 41}, {43, 35}};

  void Load(int smooth) {
    const std::function<float(float, float)> shapes[3] = {Disk, Box, Wedge};
    for (int s = 0; s < 3; ++s) {
      const comms::cImage p =
          Silhouette(size[s][0], size[s][1], [&](float x, float y) { return shapes[s](x, y) >= 0; });
      ASSERT_TRUE(SketchValues(p, smooth, kSize / float(std::max(size[s][0], size[s][1])), views[s]));
      const float centre[3] = {0, 0, 0};
      PlaceSketchView(views[s], s, centre, kSize);
    }
  }
  std::vector<const SketchView*> All() const { return {&views[0], &views[1], &views[2]}; }
  int Merge(VolumeObject& v, const SketchParams& p) {
    const float lo[3] = {-kSize / 2 - 4, -kSize / 2 - 4, -kSize / 2 - 4},
                hi[3] = {kSize / 2 + 4, kSize / 2 + 4, kSize / 2 + 4};
    return MergeSketch(v, All(), lo, hi, p);
  }
  // The signed distance in voxels of view s at an object-space point, from
  // the shapes themselves: the picture's pixel spans kSize / longer edge.
  float Truth(int s, const float p[3]) const {
    const int w = size[s][0], h = size[s][1];
    const float pixel = kSize / float(std::max(w, h));
    float right = 0, up = 0;
    if (s == kSketchFront) right = p[0], up = p[1];
    if (s == kSketchSide) right = -p[2], up = p[1];
    if (s == kSketchTop) right = p[0], up = -p[2];
    const float x = right / pixel + w / 2.f, y = up / pixel + h / 2.f;
    const float d = s == 0 ? Disk(x, y) : s == 1 ? Box(x, y) : Wedge(x, y);
    return d * pixel;
  }
};

TEST_F(Sketch, SolidIsWhereAllThreeSilhouettesSeeIt) {
  Load(0);
  VolumeObject v;
  ASSERT_GT(Merge(v, SketchParams()), 0);
  int inside = 0, outside = 0;
  for (int z = -34; z <= 34; ++z)
    for (int y = -34; y <= 34; ++y)
      for (int x = -34; x <= 34; ++x) {
        const float p[3] = {float(x), float(y), float(z)};
        float least = 1e9f;
        bool sure = true;
        for (int s = 0; s < 3; ++s) {
          const float d = Truth(s, p);
          least = std::min(least, d);
          sure &= std::fabs(d) > 2.5f;
        }
        // Clear of every border, or well outside one of them.
        if (!sure && least > -2.5f) continue;
        const bool solid = v.GetVoxel(x, y, z) >= kSurfaceLevel;
        ASSERT_EQ(solid, least > 0) << "at " << x << ", " << y << ", " << z;
        (solid ? inside : outside)++;
      }
  EXPECT_GT(inside, 2000);
  EXPECT_GT(outside, 20000);
  ExpectClosed(Surface(v));
}

TEST_F(Sketch, EarlyOutGivesTheBytesOfTheFullVisit) {
  for (int smooth : {0, 6})
    for (float softness : {0.f, 1.5f}) {
      Load(smooth);
      VolumeObject quick, full;
      SketchParams p;
      p.Softness = softness;
      Merge(quick, p);
      p.EarlyOut = false;
      Merge(full, p);
      EXPECT_EQ(Snapshot(quick), Snapshot(full)) << "smooth " << smooth << ", softness " << softness;
    }
}

TEST_F(Sketch, OneAndTwoThreadsGiveTheSameBytes) {
  Load(6);
  VolumeObject one, two;
  SketchParams p;
  p.Softness = 1;
  p.Threads = 1;
  Merge(one, p);
  p.Threads = 2;
  Merge(two, p);
  EXPECT_EQ(Snapshot(one), Snapshot(two));
}

TEST_F(Sketch, OldDensityStaysAndCellsOutOfReachAreUntouched) {
  Load(6);
  VolumeObject v;
  FillVolume(v, SphereShape(30, 0, 0, 28));
  v.UpdateSurface();
  const VolumeSnapshot before = Snapshot(v);
  const long insideBefore = InsideCount(v);
  SketchParams p;
  Merge(v, p);
  const VolumeSnapshot after = Snapshot(v);
  EXPECT_GT(InsideCount(v), insideBefore);
  for (const auto& [key, values] : before) {
    const auto& [cx, cy, cz] = key;
    auto it = after.find(key);
    ASSERT_NE(it, after.end());
    const bool reached =
        cx * 8 + 8 >= -36 && cx * 8 <= 36 && cy * 8 + 8 >= -36 && cy * 8 <= 36 && cz * 8 + 8 >= -36 && cz * 8 <= 36;
    if (!reached) {
      EXPECT_EQ(it->second, values) << "cell " << cx << ", " << cy << ", " << cz;
    }
    for (int i = 0; i < kCellVoxels; ++i) ASSERT_GE(it->second[i], values[i]);
  }
  ExpectClosed(Surface(v));
}

TEST_F(Sketch, HiddenViewsDropOut) {
  Load(0);
  VolumeObject all, two, none;
  Merge(all, SketchParams());
  views[kSketchTop].Visible = false;
  Merge(two, SketchParams());
  EXPECT_GT(InsideCount(two), InsideCount(all)) << "without the top the solid is larger";
  for (SketchView& view : views) view.Visible = false;
  EXPECT_EQ(Merge(none, SketchParams()), 0);
  EXPECT_TRUE(Snapshot(none).empty());
  // Outside the picture a view reads far outside.
  EXPECT_LT(views[0].Sample(-0.01f, 0.5f), -1000);
  EXPECT_LT(views[0].Sample(0.5f, 1.01f), -1000);
  comms::cImage floats;
  floats.Create(5, 5, 16);
  SketchView unread;
  EXPECT_FALSE(SketchValues(floats, 0, 1, unread));
}

}  // namespace
