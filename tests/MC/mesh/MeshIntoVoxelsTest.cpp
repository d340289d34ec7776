// Meshes into voxels: exact coverage of lattice lines by the fixed-point
// rasteriser, exact planes from a lattice-aligned cube, and closed solids
// within a voxel of meshes made by others, agreeing with a ray-parity test.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>

#include "ClassEngine/Random.h"
#include "ClassEngine/Threader.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/MergeIntoVolume.h"
#include "../MeshChecks.h"
#include "SurfaceDistance.h"
#include "interchange/MeshIO.h"

namespace {

// A box from lo to hi whose faces are split into n x n quads, two triangles
// each, wound counter-clockwise seen from outside.
comms::cMesh GridBox(const float lo[3], const float hi[3], int n) {
  comms::cMesh m;
  m.AddObject("box");
  for (int k = 0; k < 3; ++k)
    for (int side = 0; side < 2; ++side) {
      int i = (k + 1) % 3, j = (k + 2) % 3;
      if (side == 0) std::swap(i, j);  // the face looking down the axis turns the other way
      const int base = (int)m.positions.size();
      for (int v = 0; v <= n; ++v)
        for (int u = 0; u <= n; ++u) {
          float p[3];
          p[k] = side ? hi[k] : lo[k];
          p[i] = lo[i] + (hi[i] - lo[i]) * u / n;
          p[j] = lo[j] + (hi[j] - lo[j]) * v / n;
          m.positions.push_back({p[0], p[1], p[2]});
        }
      for (int v = 0; v < n; ++v)
        for (int u = 0; u < n; ++u) {
          const int a = base + v * (n + 1) + u, b = a + 1, c = a + n + 2, d = a + n + 1;
          for (auto tri : {std::array<int, 3>{a, b, c}, std::array<int, 3>{a, c, d}}) {
            m.BeginPolygon(3, 0, 0);
            for (int q : tri) m.AddCorner(q, -1, -1);
          }
        }
    }
  return m;
}

WeldedMeshBuilder Surface(VolumeObject& v) {
  v.UpdateSurface();
  WeldedMeshBuilder m;
  v.ExtractWeldedAll(m);
  return m;
}

bool Inside(VolumeObject& v, const double p[3]) {
  return v.SampleField((float)p[0], (float)p[1], (float)p[2]) >= kSurfaceLevel;
}

}  // namespace

TEST(LatticeCoverage, VerticesAndEdgesOnLatticeLinesGiveOneCrossingEachWay) {
  const float lo[3] = {-12, 4, -20}, hi[3] = {12, 28, 4};
  for (int n : {1, 4, 6}) {  // 24 / n: diagonals through lattice points, and vertices on lines
    SCOPED_TRACE(n);
    TriangleCollector c;
    AddMeshPart(c, GridBox(lo, hi, n), -1);
    constexpr int kKeyA[3] = {0, 0, 2}, kKeyB[3] = {1, 2, 1}, kDepth[3] = {2, 1, 0};
    for (int axis = 0; axis < 3; ++axis) {
      const int ka = kKeyA[axis], kb = kKeyB[axis], kd = kDepth[axis];
      int inner = 0;
      std::map<uint64_t, std::vector<Crossing>> rays;
      for (const RayCrossing& r : c.Rays[axis]) rays[r.Key].push_back(r.Hit);
      for (const auto& [key, list] : rays) {
        const int a = RayKeyA(key), b = RayKeyB(key);
        ASSERT_TRUE(a >= lo[ka] && a <= hi[ka] && b >= lo[kb] && b <= hi[kb]) << a << " " << b;
        ASSERT_EQ(list.size(), 2u) << "axis " << axis << " ray " << a << "," << b;
        const bool firstEnters = list[0].Depth < list[1].Depth ? list[0].Kind == 1 : list[1].Kind == 1;
        EXPECT_NE(list[0].Kind, list[1].Kind);
        EXPECT_TRUE(firstEnters);
        EXPECT_EQ(std::min(list[0].Depth, list[1].Depth), lo[kd]);
        EXPECT_EQ(std::max(list[0].Depth, list[1].Depth), hi[kd]);
        inner += a > lo[ka] && a < hi[ka] && b > lo[kb] && b < hi[kb];
      }
      // Every line strictly inside the face is covered, none twice.
      EXPECT_EQ(inner, 23 * 23);
    }
  }
}

TEST(LatticeCoverage, LatticeAlignedCubeGivesExactPlanes) {
  const float lo[3] = {-12, 4, -20}, hi[3] = {12, 28, 4};
  VolumeObject v;
  MergeMesh(v, GridBox(lo, hi, 3), nullptr, kMergeUnion);
  const WeldedMeshBuilder m = Surface(v);
  const MeshTopology t = Analyse(m);
  ExpectClosed(t);
  EXPECT_EQ(t.Euler(), 2);
  int onPlane = 0;
  for (int i = 0; i < m.VertexCount(); ++i) {
    const float* p = &m.Positions[i * 3];
    int nearFaces = 0;
    float planeError = 1e9f;
    for (int a = 0; a < 3; ++a) {
      const float e = std::min(std::fabs(p[a] - lo[a]), std::fabs(p[a] - hi[a]));
      nearFaces += e < 2.0f;
      planeError = std::min(planeError, e);
    }
    EXPECT_LT(planeError, 1.0f);  // every vertex within a voxel of the cube
    if (nearFaces == 1) {         // away from edges and corners the face is a lattice plane
      EXPECT_LT(planeError, 1e-3f) << p[0] << " " << p[1] << " " << p[2];
      ++onPlane;
    }
  }
  EXPECT_GT(onPlane, 6 * 18 * 18);
  // Cells deep inside are uniform and hold no array.
  const VoxelCell* deep = v.GetCell(0, 2, -1, false, false);
  ASSERT_NE(deep, nullptr);
  EXPECT_EQ(deep->Voxels, nullptr);
  EXPECT_EQ(deep->Fill, 65535);
  EXPECT_NEAR(std::fabs(t.signedVolume), 24.0 * 24 * 24, 24 * 24 * 6 * 0.1);
}

TEST(LatticeCoverage, DegenerateAndEmptyInputAddNothing) {
  TriangleCollector c;
  const float a[3] = {1.5f, 2.5f, 3.5f}, b[3] = {5.5f, 2.5f, 3.5f}, d[3] = {9.5f, 2.5f, 3.5f};
  c.AddTriangle(a, b, d);  // collinear
  c.AddTriangle(a, a, a);
  EXPECT_TRUE(c.Empty());
  VolumeObject v;
  MergeIntoVolume(c, v, kMergeUnion, false);
  EXPECT_EQ(Analyse(Surface(v)).faces, 0);
}

TEST(MergeMeshModes, OverlappingShellsMergeAsUnionAndSubtractionCarves) {
  const float lo1[3] = {0, 0, 0}, hi1[3] = {20, 20, 20};
  const float lo2[3] = {10.5f, 5.25f, 5.25f}, hi2[3] = {30.5f, 15.25f, 15.25f};
  comms::cMesh both = GridBox(lo1, hi1, 2);
  {
    const comms::cMesh second = GridBox(lo2, hi2, 1);
    const int base = (int)both.positions.size();
    both.positions.insert(both.positions.end(), second.positions.begin(), second.positions.end());
    second.ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell* c) {
      both.BeginPolygon(h.a, 0, 0);
      for (int k = 0; k < h.a; ++k) both.AddCorner(c[k].a + base, -1, -1);
    });
  }
  VolumeObject v;
  MergeMesh(v, both, nullptr, kMergeUnion);
  const MeshTopology t = Analyse(Surface(v));
  ExpectClosed(t);
  EXPECT_EQ(t.Euler(), 2);  // one shell: the inner walls are gone
  const double p1[3] = {15, 10, 10}, p2[3] = {28, 10, 10}, p3[3] = {25, 18, 18};
  EXPECT_TRUE(Inside(v, p1));
  EXPECT_TRUE(Inside(v, p2));
  EXPECT_FALSE(Inside(v, p3));

  // Subtracting the second box leaves a notch; intersecting leaves the overlap.
  VolumeObject s, i;
  MergeMesh(s, GridBox(lo1, hi1, 2), nullptr, kMergeUnion);
  MergeMesh(i, GridBox(lo1, hi1, 2), nullptr, kMergeUnion);
  MergeMesh(s, GridBox(lo2, hi2, 1), nullptr, kMergeSubtract);
  MergeMesh(i, GridBox(lo2, hi2, 1), nullptr, kMergeIntersect);
  const double q1[3] = {5, 10, 10}, q2[3] = {18, 8, 8}, q3[3] = {5, 18, 18};
  EXPECT_TRUE(Inside(s, q1));
  EXPECT_FALSE(Inside(s, q2));
  EXPECT_TRUE(Inside(s, q3));
  EXPECT_FALSE(Inside(i, q1));
  EXPECT_TRUE(Inside(i, q2));
  EXPECT_FALSE(Inside(i, p2));
  ExpectClosed(Analyse(Surface(s)));
  ExpectClosed(Analyse(Surface(i)));
  const double notch = 9.5 * 10 * 10;
  EXPECT_NEAR(std::fabs(Analyse(Surface(s)).signedVolume), 8000 - notch, 600);
  EXPECT_NEAR(std::fabs(Analyse(Surface(i)).signedVolume), notch, 300);
}

namespace {

enum InputKind {
  kOpenInput,         // holes or loose sheets: only a closed result is asked
  kClosedInput,       // watertight: within a voxel both ways, inside by parity
  kOverlappingInput,  // watertight parts that cross each other: their inner
                      // faces are no surface of the union, so the distance is
                      // checked from the result to the input only
};

// Loads a mesh, scales its largest extent to `size` voxels about the origin
// (negative cells included) and merges it; checks the result against the input.
void CheckAgainstInput(const std::string& path, float size, InputKind kind) {
  const bool closedInput = kind != kOpenInput;
  SCOPED_TRACE(path);
  std::unique_ptr<comms::cMesh> mesh(comms::cMeshIO::LoadMesh(path.c_str()));
  ASSERT_TRUE(mesh);
  float lo[3] = {1e30f, 1e30f, 1e30f}, hi[3] = {-1e30f, -1e30f, -1e30f};
  for (const auto& p : mesh->positions) {
    const float q[3] = {p.x, p.y, p.z};
    for (int a = 0; a < 3; ++a) lo[a] = std::min(lo[a], q[a]), hi[a] = std::max(hi[a], q[a]);
  }
  const float extent = std::max({hi[0] - lo[0], hi[1] - lo[1], hi[2] - lo[2]});
  const float scale = size / extent;
  // Off the lattice on purpose, so nothing lines up by luck.
  const float shift[3] = {-(lo[0] + hi[0]) * 0.5f * scale + 0.37f, -(lo[1] + hi[1]) * 0.5f * scale + 0.11f,
                          -(lo[2] + hi[2]) * 0.5f * scale - 0.23f};
  float matrix[16] = {scale, 0, 0, 0, 0, scale, 0, 0, 0, 0, scale, 0, shift[0], shift[1], shift[2], 1};
  const meshtest::Soup input = meshtest::SoupOf(*mesh, scale, shift);
  if (closedInput) {
    ASSERT_EQ(meshtest::OpenEdges(input), 0) << "the input is expected closed";
  }

  VolumeObject v;
  MergeMesh(v, *mesh, matrix, kMergeUnion);
  const WeldedMeshBuilder out = Surface(v);
  const MeshTopology t = Analyse(out);
  ExpectClosed(t);
  if (!closedInput) return;

  // Two-sided distance on samples: output vertices near the input, and input
  // corners and centroids near the output.
  const meshtest::Soup output = meshtest::SoupOf(out);
  const meshtest::NearTriangles nearInput(input, 1.5f), nearOutput(output, 1.5f);
  double worstOut = 0, worstIn = 0, worstCorner = 0;
  for (int i = 0; i < out.VertexCount(); ++i) {
    const double p[3] = {out.Positions[i * 3], out.Positions[i * 3 + 1], out.Positions[i * 3 + 2]};
    worstOut = std::max(worstOut, nearInput.Distance(p));
  }
  for (int tri = 0; tri < input.Count(); ++tri) {
    const float* q = input.Tri(tri);
    const double c[3] = {(q[0] + q[3] + q[6]) / 3.0, (q[1] + q[4] + q[7]) / 3.0, (q[2] + q[5] + q[8]) / 3.0};
    const double a[3] = {q[0], q[1], q[2]};
    worstIn = std::max(worstIn, nearOutput.Distance(c));
    worstCorner = std::max(worstCorner, nearOutput.Distance(a));
  }
  EXPECT_LE(worstOut, 1.0);
  if (kind == kClosedInput) {
    EXPECT_LE(worstIn, 1.0);
    // The lattice rounds a sharp corner off: the tip of a pyramid lies
    // further from any voxel surface than a face does.
    EXPECT_LE(worstCorner, 1.5);
  }

  // Inside and outside agree with the input's ray parity away from the surface.
  Random rng(1234);
  int checked = 0, disagree = 0;
  for (int i = 0; i < 400; ++i) {
    const double p[3] = {rng.Range(-size * 0.55f, size * 0.55f), rng.Range(-size * 0.55f, size * 0.55f),
                         rng.Range(-size * 0.55f, size * 0.55f)};
    if (nearInput.Distance(p) < 1.5) continue;
    ++checked;
    disagree += Inside(v, p) != meshtest::InsideByParity(input, p);
  }
  std::printf("%s: distance out %.3f, in %.3f (corners %.3f); %d points, %d disagree\n", path.c_str(), worstOut,
              worstIn, worstCorner, checked, disagree);
  EXPECT_GT(checked, 200);
  EXPECT_EQ(disagree, 0);
}

std::string ExtractCgal(const std::string& dir, const std::string& member) {
  const std::string cmd = "tar xzf /usr/share/doc/libcgal-demo/data.tar.gz -C " + dir + " " + member;
  return std::system(cmd.c_str()) == 0 ? dir + member : std::string();
}

std::string FreshFolder() {
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  // The process too: another checkout may run the same test at once.
  const std::string dir = ::testing::TempDir() + "mesh_" + info->name() + "_" + std::to_string(getpid()) + "/";
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  return dir;
}

}  // namespace

TEST(MeshesMadeByOthers, ClosedStlsBecomeSolidsWithinAVoxel) {
  const std::string scad = "/usr/share/openscad/testdata/scad/3D/features/import.stl";
  if (!std::filesystem::exists(scad)) GTEST_SKIP() << "openscad-testing-data is not installed (scripts/deps.sh --tests)";
  CheckAgainstInput(scad, 50, kClosedInput);
  if (!std::filesystem::exists("/usr/share/doc/libcgal-demo/data.tar.gz"))
    GTEST_SKIP() << "libcgal-demo is not installed (scripts/deps.sh --tests)";
  const std::string dir = FreshFolder();
  const std::string sphere = ExtractCgal(dir, "data/meshes/sphere.stl");
  ASSERT_FALSE(sphere.empty());
  CheckAgainstInput(sphere, 45, kClosedInput);
  const std::string pig = ExtractCgal(dir, "data/meshes/pig.stl");
  ASSERT_FALSE(pig.empty());
  CheckAgainstInput(pig, 70, kOpenInput);
  std::filesystem::remove_all(dir);
}

TEST(MeshesMadeByOthers, OpenscadsClosedStlsAndMinetestsModels) {
  const std::string scad = "/usr/share/openscad/", game = "/usr/share/games/minetest/games/";
  if (!std::filesystem::exists(scad + "testdata") || !std::filesystem::exists(game))
    GTEST_SKIP() << "openscad-testing-data or minetest-data is not installed (scripts/deps.sh --tests)";
  // Closed: within a voxel of the input, inside exactly where ray parity says.
  for (const char* path : {"regression/stlexport/stl-export-expected.stl", "testdata/stl/adns2610_dev_circuit_inv.stl",
                           "testdata/manual/issue214/cube2.stl", "testdata/scad/bugs/issue945e.stl",
                           "testdata/scad/bugs/issue945f.stl", "testdata/scad/misc/bad-stl-pcbvicebar.stl",
                           "testdata/scad/3D/features/import_bin_solid.stl"})
    CheckAgainstInput(scad + path, 61, kClosedInput);
  for (const char* path : {"testdata/scad/misc/bad-stl-wing.stl", "testdata/scad/misc/bad-stl-tardis.stl"})
    CheckAgainstInput(scad + path, 61, kOverlappingInput);
  for (const char* path : {"devtest/mods/testformspec/models/testformspec_chest.obj",
                           "devtest/mods/testnodes/models/testnodes_ocorner.obj",
                           "devtest/mods/testnodes/models/testnodes_pyramid.obj",
                           "minetest_game/mods/default/models/chest_open.obj"})
    CheckAgainstInput(game + path, 47, kClosedInput);
  CheckAgainstInput(game + "minetest_game/mods/boats/models/boats_boat.obj", 47, kOverlappingInput);
  // Open, back to back, degenerate: a closed surface and no crash.
  for (const char* path : {"testdata/stl/toomanyvertices.stl", "testdata/scad/bugs/issue1580-back-to-back.stl",
                           "testdata/scad/bugs/issue1580-back-to-back2.stl",
                           "testdata/scad/bugs/issue1580-zero-area-triangle.stl"})
    CheckAgainstInput(scad + path, 40, kOpenInput);
  for (const char* path : {"minetest_game/mods/default/models/torch_wall.obj",
                           "minetest_game/mods/doors/models/doors_fencegate_open.obj"})
    CheckAgainstInput(game + path, 40, kOpenInput);
}

TEST(MeshesMadeByOthers, OpenBunnyGivesAClosedSurface) {
  const std::string bunny = "/usr/share/glmark2/models/bunny.obj";
  if (!std::filesystem::exists(bunny)) GTEST_SKIP() << "glmark2-data is not installed (scripts/deps.sh --tests)";
  CheckAgainstInput(bunny, 64, kOpenInput);
}

TEST(MeshesMadeByOthers, OneAndTwoThreadsGiveTheSameCells) {
  const std::string bunny = "/usr/share/glmark2/models/bunny.obj";
  if (!std::filesystem::exists(bunny)) GTEST_SKIP() << "glmark2-data is not installed (scripts/deps.sh --tests)";
  std::unique_ptr<comms::cMesh> mesh(comms::cMeshIO::LoadMesh(bunny.c_str()));
  ASSERT_TRUE(mesh);
  const float s = 30.0f;
  const float matrix[16] = {s, 0, 0, 0, 0, s, 0, 0, 0, 0, s, 0, 0.3f, -0.6f, 0.2f, 1};
  const int saved = ThreadOptions::MaxProcessorsToBeUsed;
  VolumeObject one, two;
  ThreadOptions::MaxProcessorsToBeUsed = 1;
  MergeMesh(one, *mesh, matrix, kMergeUnion);
  ThreadOptions::MaxProcessorsToBeUsed = 2;
  MergeMesh(two, *mesh, matrix, kMergeUnion);
  ThreadOptions::MaxProcessorsToBeUsed = saved;
  ASSERT_EQ(one.CellCount(), two.CellCount());
  int compared = 0;
  one.Cells.ForEach([&](const CellKey& k, VoxelCell*& a) {
    VoxelCell* b = two.GetCell(k.x, k.y, k.z, false, false);
    ASSERT_NE(b, nullptr);
    for (int z = 0; z < 9; ++z)
      for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 9; ++x) ASSERT_EQ(a->At(x, y, z), b->At(x, y, z));
    ++compared;
  });
  EXPECT_GT(compared, 100);
}
