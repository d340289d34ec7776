// The skin merge closes a sheet into a slab of the chosen thickness on each
// side, and gives a closed surface for an open scan.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <memory>

#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/MergeIntoVolume.h"
#include "MC/mesh/MergeMeshSkin.h"
#include "interchange/Mesh.h"
#include "interchange/MeshIO.h"
#include "../MeshChecks.h"

namespace {

// An open square sheet in the plane z = 0.3 from (-15, -11) to (16, 19),
// split into 5 x 5 quads, facing +z.
comms::cMesh Sheet() {
  comms::cMesh m;
  m.AddObject("sheet");
  const int n = 5;
  for (int v = 0; v <= n; ++v)
    for (int u = 0; u <= n; ++u) m.positions.push_back({-15.0f + 31.0f * u / n, -11.0f + 30.0f * v / n, 0.3f});
  for (int v = 0; v < n; ++v)
    for (int u = 0; u < n; ++u) {
      const int a = v * (n + 1) + u;
      m.BeginPolygon(4, 0, 0);
      for (int q : {a, a + 1, a + n + 2, a + n + 1}) m.AddCorner(q, -1, -1);
    }
  return m;
}

bool Inside(VolumeObject& v, float x, float y, float z) { return v.SampleField(x, y, z) >= kSurfaceLevel; }

}  // namespace

TEST(SkinMerge, SheetBecomesASlabOfInAndOutThickness) {
  const struct {
    float in, out;
  } cases[] = {{0, 4}, {2.5f, 2.5f}, {3, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.in);
    VolumeObject v;
    MergeMeshSkin(v, Sheet(), nullptr, kMergeUnion, c.in, c.out);
    const MeshTopology t = SurfaceTopology(v);
    ExpectClosed(t);
    EXPECT_EQ(t.Euler(), 2);
    const float thick = c.in + c.out;
    EXPECT_NEAR(std::fabs(t.signedVolume), 31.0 * 30.0 * thick, 31.0 * 30.0 * 0.6);
    EXPECT_TRUE(Inside(v, 1, 2, 0.3f + (c.out - c.in) * 0.5f));
    EXPECT_FALSE(Inside(v, 1, 2, 0.3f + c.out + 1.2f));
    EXPECT_FALSE(Inside(v, 1, 2, 0.3f - c.in - 1.2f));
    EXPECT_FALSE(Inside(v, 17.5f, 2, 0.3f));  // beyond the rim
  }
}

TEST(SkinMerge, OpenBunnyGivesAClosedShell) {
  const std::string bunny = "/usr/share/glmark2/models/bunny.obj";
  if (!std::filesystem::exists(bunny)) GTEST_SKIP() << "glmark2-data is not installed (scripts/deps.sh --tests)";
  std::unique_ptr<comms::cMesh> mesh(comms::cMeshIO::LoadMesh(bunny.c_str()));
  ASSERT_TRUE(mesh);
  const float s = 40.0f;
  const float matrix[16] = {s, 0, 0, 0, 0, s, 0, 0, 0, 0, s, 0, 0.2f, 0.1f, -0.4f, 1};
  VolumeObject v;
  MergeMeshSkin(v, *mesh, matrix, kMergeUnion, 1.0f, 1.5f);
  ExpectClosed(SurfaceTopology(v));
}
