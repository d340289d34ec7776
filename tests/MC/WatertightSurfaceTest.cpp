// The welded surface of a closed solid is a closed, consistently wound
// manifold with the Euler characteristic of its shape, wherever the solid
// sits on the lattice (negative coordinates included).
#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "ClassEngine/Random.h"
#include "MC/mcubes/VolumeFill.h"
#include "MeshChecks.h"

namespace {
MeshTopology Extract(VolumeObject& v) {
  v.UpdateSurface();
  WeldedMeshBuilder m;
  v.ExtractWeldedAll(m);
  return Analyse(m);
}
}  // namespace

TEST(WatertightSurface, SpheresOfManySizesAndPlacesHaveEulerTwo) {
  const float cases[][4] = {{0, 0, 0, 10}, {3.3f, -2.7f, 0.5f, 17.2f}, {-40, -40, -40, 9}, {-4, 4, -4, 30.5f}, {0, 0, 0, 2.2f}};
  for (auto& c : cases) {
    VolumeObject v;
    FillVolume(v, SphereShape(c[0], c[1], c[2], c[3]));
    MeshTopology t = Extract(v);
    SCOPED_TRACE(c[3]);
    ExpectClosed(t);
    EXPECT_EQ(t.Euler(), 2);
    // Normals point into the solid, the triangles face out: the enclosed volume is positive.
    const double expected = 4.0 / 3.0 * M_PI * c[3] * c[3] * c[3];
    EXPECT_NEAR(std::fabs(t.signedVolume), expected, expected * (c[3] < 5 ? 0.15 : 0.05));
  }
}

TEST(WatertightSurface, WindingFacesTheSameWayOnBothSidesOfZero) {
  VolumeObject a, b;
  FillVolume(a, SphereShape(40, 40, 40, 12));     // all cells positive
  FillVolume(b, SphereShape(-40, -40, -40, 12));  // all cells negative
  MeshTopology ta = Extract(a), tb = Extract(b);
  EXPECT_GT(ta.signedVolume * tb.signedVolume, 0);
  EXPECT_NEAR(ta.signedVolume, tb.signedVolume, 1e-3 * std::fabs(ta.signedVolume));
}

TEST(WatertightSurface, TorusHasEulerZero) {
  for (float cx : {0.0f, -13.5f}) {
    VolumeObject v;
    FillVolume(v, TorusShape(cx, 1.5f, -3, 24, 8));
    MeshTopology t = Extract(v);
    ExpectClosed(t);
    EXPECT_EQ(t.Euler(), 0);
  }
}

TEST(WatertightSurface, BoxWithFlatFacesOnCellPlanesIsClosed) {
  VolumeObject v;
  FillVolume(v, BoxShape(0, 0, 0, 16, 8, 24));  // faces fall exactly on shared cell planes
  MeshTopology t = Extract(v);
  ExpectClosed(t);
  EXPECT_EQ(t.Euler(), 2);
}

TEST(WatertightSurface, ThinShellGivesTwoClosedSurfaces) {
  VolumeObject v;
  const float mn[3] = {-30, -30, -30}, mx[3] = {30, 30, 30};
  // A shell 2.5 voxels thick: outer sphere minus inner sphere.
  FunctionShape shell([](float x, float y, float z) { return 1.25f - std::fabs(std::sqrt(x * x + y * y + z * z) - 25.0f); },
                      mn, mx);
  FillVolume(v, shell);
  MeshTopology t = Extract(v);
  ExpectClosed(t);
  EXPECT_EQ(t.Euler(), 4);
}

TEST(WatertightSurface, RandomBlobsAndNoiseAreClosed) {
  for (uint32_t seed = 1; seed <= 4; ++seed) {
    SCOPED_TRACE(seed);
    Random rnd(seed);
    std::vector<std::array<float, 4>> balls;
    for (int i = 0; i < 6; ++i) balls.push_back({rnd.Range(-30, 30), rnd.Range(-30, 30), rnd.Range(-30, 30), rnd.Range(4, 14)});
    const float mn[3] = {-45, -45, -45}, mx[3] = {45, 45, 45};
    FunctionShape blobs(
        [&](float x, float y, float z) {
          float best = -1e9f;
          for (auto& b : balls)
            best = std::max(best, b[3] - std::sqrt((x - b[0]) * (x - b[0]) + (y - b[1]) * (y - b[1]) + (z - b[2]) * (z - b[2])));
          return best;
        },
        mn, mx);
    VolumeObject v;
    FillVolume(v, blobs);
    MeshTopology t = Extract(v);
    ExpectClosed(t);
    EXPECT_EQ(t.Euler() % 2, 0);

    VolumeObject n;
    FillVolume(n, NoiseShape(-3, 5, -7, 26, 9, 11, seed));
    ExpectClosed(Extract(n));
  }
}

TEST(WatertightSurface, ChaoticFieldStillClosesEveryCube) {
  // Random values in every voxel exercise every case of the tables, including
  // the ambiguous ones; the solid is closed by a zero frame around it.
  VolumeObject v;
  Random rnd(7);
  for (int z = -12; z <= 12; ++z)
    for (int y = -12; y <= 12; ++y)
      for (int x = -12; x <= 12; ++x) {
        const bool frame = std::abs(x) == 12 || std::abs(y) == 12 || std::abs(z) == 12;
        v.PutVoxel(x, y, z, frame ? 0 : (uint16_t)(rnd.Next() * 2));
      }
  MeshTopology t = Extract(v);
  ExpectClosed(t);
}
