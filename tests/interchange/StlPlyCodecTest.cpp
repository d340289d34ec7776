// STL and PLY: text and binary forms, the weld, the exact headers written,
// round trips, and files whose counts lie.
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <memory>

#include "MeshSamples.h"
#include "TestFiles.h"
#include "ClassEngine/Random.h"
#include "interchange/MeshIO.h"

using comms::cMesh;
using comms::cMeshIO;
using namespace testfiles;

namespace {

std::unique_ptr<cMesh> Load(const std::string& path) { return std::unique_ptr<cMesh>(cMeshIO::LoadMesh(path.c_str())); }

void PutFloat(std::vector<uint8_t>& b, float f) {
  uint8_t x[4];
  std::memcpy(x, &f, 4);
  b.insert(b.end(), x, x + 4);
}

// A binary STL whose header starts with "solid", as many exporters write.
std::vector<uint8_t> BinaryStl(const std::vector<std::array<float, 9>>& triangles, uint32_t count) {
  std::vector<uint8_t> b(80, ' ');
  std::memcpy(b.data(), "solid exported by a tool", 24);
  for (int k = 0; k < 4; k++) b.push_back((uint8_t)(count >> (8 * k)));
  for (const auto& t : triangles) {
    for (int k = 0; k < 3; k++) PutFloat(b, 0);
    for (float v : t) PutFloat(b, v);
    b.push_back(0);
    b.push_back(0);
  }
  return b;
}

// Writes the triangles as a binary STL and loads it back.
std::unique_ptr<cMesh> LoadSoup(const std::vector<std::array<float, 9>>& triangles) {
  std::string dir = FreshFolder();
  WriteBytes(dir + "soup.stl", BinaryStl(triangles, (uint32_t)triangles.size()));
  return Load(dir + "soup.stl");
}

// The position of each corner, polygon by polygon.
std::vector<int> CornerPositions(const cMesh& mesh) {
  std::vector<int> corners;
  mesh.ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell* c) {
    for (int k = 0; k < h.a; k++) corners.push_back(c[k].a);
  });
  return corners;
}

}  // namespace

TEST(StlCodec, BinaryStartingWithSolidIsToldByItsSizeAndCornersWeld) {
  std::string dir = FreshFolder();
  // Two triangles sharing an edge, the shared corners 0.001 apart: they weld.
  auto bytes = BinaryStl({{0, 0, 0, 1, 0, 0, 0, 1, 0}, {1.001f, 0, 0, 1, 1, 0, 0, 1.001f, 0}}, 2);
  WriteBytes(dir + "two.stl", bytes);
  auto mesh = Load(dir + "two.stl");
  ASSERT_TRUE(mesh);
  EXPECT_EQ(mesh->PolygonCount(), 2);
  EXPECT_EQ(mesh->positions.size(), 4u);
  EXPECT_FLOAT_EQ(mesh->positions[1].x, 1.0f);  // the first position within the tolerance stays
  EXPECT_EQ(mesh->materials.at(0).name, "default");
  EXPECT_TRUE(mesh->uvs.empty());
  EXPECT_TRUE(mesh->normals.empty());
}

TEST(StlCodec, ZeroTrianglesGiveAnEmptyMeshAndLyingCountsFail) {
  std::string dir = FreshFolder();
  WriteBytes(dir + "none.stl", BinaryStl({}, 0));
  auto none = Load(dir + "none.stl");
  ASSERT_TRUE(none);
  EXPECT_EQ(none->PolygonCount(), 0);
  EXPECT_EQ(none->materials.at(0).name, "default");

  auto lying = BinaryStl({{0, 0, 0, 1, 0, 0, 0, 1, 0}}, 0x7fffffff);
  lying[0] = 'x';  // not "solid": binary by its first word
  WriteBytes(dir + "lying.stl", lying);
  size_t mark = LogMark();
  EXPECT_FALSE(Load(dir + "lying.stl"));
  EXPECT_NE(LogSince(mark).find("cMeshStl::DecodeStl(): The file is shorter than its 2147483647 triangles."),
            std::string::npos);
}

TEST(StlCodec, TextFilesSelectObjectsAndReportShortVertices) {
  std::string dir = FreshFolder();
  WriteText(dir + "t.stl",
            "solid first\r\nfacet normal 0 0 1\r\nouter loop\r\nvertex 0 0 0\r\nvertex 1 0 0\r\nvertex 0 1 0\r\n"
            "endloop\r\nendfacet\r\nendsolid first\r\nsolid second\nfacet normal 0 0 1\nouter loop\n"
            "vertex 1 0 0\nvertex 1 1 0\nvertex 0 1 0\nvertex -1 0.5 0\nendloop\nendfacet\nendsolid second\n");
  auto mesh = Load(dir + "t.stl");
  ASSERT_TRUE(mesh);
  EXPECT_EQ(mesh->PolygonCount(), 2);
  EXPECT_EQ(mesh->positions.size(), 5u);
  ASSERT_EQ(mesh->objects.size(), 2u);
  EXPECT_EQ(mesh->objects[1].name, "second");
  EXPECT_EQ(mesh->polygons[4].a, 4);  // a four-corner loop stays one polygon

  WriteText(dir + "short.stl", "solid s\nouter loop\nvertex 1 2\nendloop\n");
  size_t mark = LogMark();
  EXPECT_FALSE(Load(dir + "short.stl"));
  EXPECT_NE(LogSince(mark).find("cMeshStl::DecodeStl(): Too few position coordinates: \"vertex 1 2\"."),
            std::string::npos);
}

TEST(StlCodec, TrianglesWriteBinaryAndAQuadTurnsTheFileToText) {
  std::string dir = FreshFolder();
  cMesh oct = meshsamples::Octahedron();
  ASSERT_TRUE(cMeshIO::SaveMesh(oct, (dir + "oct.stl").c_str()));
  auto bytes = ReadBytes(dir + "oct.stl");
  ASSERT_EQ(bytes.size(), 84u + 50 * 8);
  EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 22), "Exported from Morvane\n");
  EXPECT_EQ(bytes[79], ' ');
  float normal[3];
  std::memcpy(normal, bytes.data() + 84, 12);  // face (x, y, z) of the first triangle
  EXPECT_NEAR(normal[0], 0.57735f, 1e-4);
  EXPECT_NEAR(normal[2], 0.57735f, 1e-4);
  auto back = Load(dir + "oct.stl");
  ASSERT_TRUE(back);
  meshsamples::ExpectSameCorners(oct, *back, false, false, false);
  EXPECT_EQ(back->positions.size(), 6u);  // welded back to the shared corners

  cMesh cube = meshsamples::CubeAndTriangle();
  ASSERT_TRUE(cMeshIO::SaveMesh(cube, (dir + "cube.stl").c_str()));
  std::string text = ReadText(dir + "cube.stl");
  EXPECT_EQ(text.rfind("solid sample\r\nfacet normal 0.000000 0.000000 -1.000000\r\nouter loop\r\n", 0), 0u);
  EXPECT_NE(text.find("endloop\r\nendfacet\r\n \r\n"), std::string::npos);
  EXPECT_NE(text.find("endsolid sample\r\n"), std::string::npos);
  auto cubeBack = Load(dir + "cube.stl");
  ASSERT_TRUE(cubeBack);
  meshsamples::ExpectSameCorners(cube, *cubeBack, false, false, false);
}

TEST(PlyCodec, WritesTheExactHeaderAndReadsItBack) {
  std::string dir = FreshFolder();
  cMesh cube = meshsamples::CubeAndTriangle();
  ASSERT_TRUE(cMeshIO::SaveMesh(cube, (dir + "cube.ply").c_str()));
  std::string text = ReadText(dir + "cube.ply");
  const std::string header =
      "ply\nformat binary_little_endian 1.0\ncomment by Morvane\nelement vertex 11\nproperty float x\n"
      "property float y\nproperty float z\nelement face 7\nproperty list uchar int vertex_indices\nend_header\n";
  EXPECT_EQ(text.substr(0, header.size()), header);
  EXPECT_EQ(text.size(), header.size() + 11 * 12 + 6 * (1 + 16) + (1 + 12));
  auto back = Load(dir + "cube.ply");
  ASSERT_TRUE(back);
  meshsamples::ExpectSameCorners(cube, *back, false, false, false, 0);
  EXPECT_EQ(back->materials.at(0).name, "plyMaterial");
  EXPECT_EQ(back->objects.at(0).name, "plyObject");
}

TEST(PlyCodec, AsciiAndBigEndianWithExtraPropertiesAndElements) {
  std::string dir = FreshFolder();
  WriteText(dir + "a.ply",
            "ply\r\nformat ascii 1.0\r\ncomment x\r\nelement vertex 3\r\nproperty uchar red\r\n"
            "property double x\r\nproperty float32 y\r\nproperty float z\r\nproperty list uchar int extra\r\n"
            "element face 1\r\nproperty list uint8 int32 vertex_indices\r\nproperty int flags\r\n"
            "element edge 1\r\nproperty int a\r\nproperty int b\r\nend_header\r\n"
            "7 0 0 0 2 9 9\r\n7 1.5 0 0 0\r\n7 0 2.5 -1 1 4\r\n3 0 1 2 77\r\n0 1\r\n");
  auto ascii = Load(dir + "a.ply");
  ASSERT_TRUE(ascii);
  ASSERT_EQ(ascii->positions.size(), 3u);
  EXPECT_FLOAT_EQ(ascii->positions[1].x, 1.5f);
  EXPECT_FLOAT_EQ(ascii->positions[2].y, 2.5f);
  EXPECT_FLOAT_EQ(ascii->positions[2].z, -1.0f);
  EXPECT_EQ(ascii->PolygonCount(), 1);

  std::string big = "ply\nformat binary_big_endian 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
                    "property float z\nproperty short s\nelement face 1\nproperty list uchar uint vertex_indices\n"
                    "end_header\n";
  std::vector<uint8_t> b(big.begin(), big.end());
  auto be32 = [&](uint32_t v) {
    for (int s = 24; s >= 0; s -= 8) b.push_back((uint8_t)(v >> s));
  };
  const float pts[9] = {0, 0, 0, 2, 0, 0, 0, 3, 0.25f};
  for (int i = 0; i < 3; i++) {
    for (int k = 0; k < 3; k++) {
      uint32_t u;
      std::memcpy(&u, &pts[i * 3 + k], 4);
      be32(u);
    }
    b.push_back(0x12);
    b.push_back(0x34);
  }
  b.push_back(3);
  be32(0);
  be32(1);
  be32(2);
  WriteBytes(dir + "b.ply", b);
  auto bigMesh = Load(dir + "b.ply");
  ASSERT_TRUE(bigMesh);
  EXPECT_FLOAT_EQ(bigMesh->positions[1].x, 2.0f);
  EXPECT_FLOAT_EQ(bigMesh->positions[2].z, 0.25f);
  EXPECT_EQ(bigMesh->polygons[3].a, 2);
}

TEST(PlyCodec, MissingCoordinatesAndLyingCountsFail) {
  std::string dir = FreshFolder();
  struct Case {
    std::string text, message;
  } cases[] = {
      {"ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float y\nend_header\n0 0\n",
       "cMeshPly::DecodePly(): The vertex element has no x, y and z."},
      {"ply\nformat binary_little_endian 1.0\nelement vertex 4000000000\nproperty float x\nproperty float y\n"
       "property float z\nend_header\n0000",
       "is shorter than its 4000000000 \"vertex\" items"},
      {"ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\n"
       "element face 1\nproperty list uchar int vertex_indices\nend_header\n0 0 0\n1 0 0\n0 1 0\n3 0 1 7\n",
       "has indices out of range"},
      {"ply\nformat ascii 1.0\nelement vertex 2\nproperty float x\nproperty float y\nproperty float z\n"
       "end_header\n0 0 0\n1 0\n",
       "ends inside its \"vertex\" items"},
      {"plyx\n", "doesn't start with \"ply\""},
  };
  for (const Case& c : cases) {
    WriteText(dir + "bad.ply", c.text);
    size_t mark = LogMark();
    EXPECT_FALSE(Load(dir + "bad.ply")) << c.text;
    EXPECT_NE(LogSince(mark).find(c.message), std::string::npos) << LogSince(mark);
  }
}

// The weld against the plain rule it keeps: each corner goes to the earliest
// position within 0.005, or becomes a new one. The corners are a soup of
// shared points, points nudged by less and by more than the tolerance, and
// points close to the sides of the weld's grid cells, each met many times.
TEST(StlCodec, WeldKeepsTheEarliestPositionWithinTheTolerance) {
  Random random(22);
  std::vector<std::array<float, 3>> pool;
  for (int i = 0; i < 400; i++) {
    float base[3];
    for (float& v : base) v = (float)(random.Next() % 40) * 0.02f + (random.Next() % 3 == 0 ? 0.0049f : 0.0f);
    pool.push_back({base[0], base[1], base[2]});
    const float nudge = random.Next() % 2 ? 0.003f : 0.006f;
    pool.push_back({base[0] + nudge, base[1], base[2] - nudge * 0.5f});
  }
  std::vector<std::array<float, 9>> triangles;
  for (int t = 0; t < 3000; t++) {
    std::array<float, 9> tri;
    for (int k = 0; k < 3; k++)
      for (int c = 0; c < 3; c++) tri[3 * k + c] = pool[random.Next() % pool.size()][c];
    triangles.push_back(tri);
  }
  std::vector<std::array<float, 3>> expected;
  std::vector<int> expectedCorners;
  for (const auto& tri : triangles)
    for (int k = 0; k < 3; k++) {
      const float* p = &tri[3 * k];
      int found = -1;
      for (size_t i = 0; i < expected.size() && found < 0; i++) {
        float dx = expected[i][0] - p[0], dy = expected[i][1] - p[1], dz = expected[i][2] - p[2];
        if (dx * dx + dy * dy + dz * dz <= 0.005f * 0.005f) found = (int)i;
      }
      if (found < 0) {
        found = (int)expected.size();
        expected.push_back({p[0], p[1], p[2]});
      }
      expectedCorners.push_back(found);
    }
  auto mesh = LoadSoup(triangles);
  ASSERT_TRUE(mesh);
  ASSERT_EQ(mesh->positions.size(), expected.size());
  for (size_t i = 0; i < expected.size(); i++) {
    EXPECT_EQ(mesh->positions[i].x, expected[i][0]) << i;
    EXPECT_EQ(mesh->positions[i].z, expected[i][2]) << i;
  }
  EXPECT_EQ(CornerPositions(*mesh), expectedCorners);
}

// The same rule on a file too large for the weld to remember its recent
// corners: points over a wide box on both sides of zero, each met again long
// after, a packed cube where every point has neighbours within the tolerance,
// and corners that are not numbers, which never weld. The reference finds
// candidates by x alone, with nothing of the weld's grid.
TEST(StlCodec, WeldKeepsTheRuleOnALargeSoupWithFarRepeats) {
  Random random(2207);
  auto uniform = [&](float lo, float hi) { return lo + (hi - lo) * (float)random.Next() / (float)Random::kMax; };
  std::vector<std::array<float, 3>> pool;
  for (int i = 0; i < 12000; i++) {
    std::array<float, 3> p;
    for (float& v : p) v = random.Next() % 4 == 0 ? (float)(random.Next() % 300 - 150) * 0.02f + 0.0049f : uniform(-3, 3);
    pool.push_back(p);
    const float nudge = random.Next() % 2 ? 0.003f : 0.006f;
    pool.push_back({p[0] - nudge, p[1] + nudge * 0.5f, p[2]});
  }
  for (int x = 0; x < 12; x++)
    for (int y = 0; y < 12; y++)
      for (int z = 0; z < 12; z++) pool.push_back({-0.03f + 0.004f * x, 0.011f + 0.004f * y, -0.002f + 0.004f * z});
  const float nan = std::numeric_limits<float>::quiet_NaN();
  std::vector<std::array<float, 9>> triangles;
  for (int t = 0; t < 30000; t++) {
    std::array<float, 9> tri;
    for (int k = 0; k < 3; k++) {
      const auto& p = pool[((size_t)random.Next() << 15 | (size_t)random.Next()) % pool.size()];
      const bool odd = random.Next() % 500 == 0;
      for (int c = 0; c < 3; c++) tri[3 * k + c] = odd && c == 1 ? nan : p[c];
    }
    triangles.push_back(tri);
  }
  std::vector<std::array<float, 3>> expected;
  std::vector<int> expectedCorners;
  std::multimap<float, int> byX;
  for (const auto& tri : triangles)
    for (int k = 0; k < 3; k++) {
      const float* p = &tri[3 * k];
      int found = -1;
      if (!std::isnan(p[1]))
        for (auto it = byX.lower_bound(p[0] - 0.0051f); it != byX.end() && it->first <= p[0] + 0.0051f; ++it) {
          const auto& q = expected[it->second];
          float dx = q[0] - p[0], dy = q[1] - p[1], dz = q[2] - p[2];
          if (dx * dx + dy * dy + dz * dz <= 0.005f * 0.005f && (found < 0 || it->second < found)) found = it->second;
        }
      if (found < 0) {
        found = (int)expected.size();
        expected.push_back({p[0], p[1], p[2]});
        if (!std::isnan(p[1])) byX.emplace(p[0], found);
      }
      expectedCorners.push_back(found);
    }
  auto mesh = LoadSoup(triangles);
  ASSERT_TRUE(mesh);
  ASSERT_EQ(mesh->positions.size(), expected.size());
  for (size_t i = 0; i < expected.size(); i++)
    ASSERT_EQ(std::memcmp(&mesh->positions[i], expected[i].data(), 12), 0) << i;  // bits: the NaNs too
  EXPECT_EQ(CornerPositions(*mesh), expectedCorners);
}
