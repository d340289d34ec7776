// OBJ with MTL: index forms and their failures, materials and their maps,
// surfaces from shared textures, round trips and morph files.
#include <memory>

#include "MeshSamples.h"
#include "TestFiles.h"
#include "ClassEngine/Progress.h"
#include "interchange/MeshIO.h"

using comms::cMesh;
using comms::cMeshIO;
using namespace testfiles;

namespace {
std::unique_ptr<cMesh> LoadText(const std::string& dir, const std::string& name, const std::string& text) {
  WriteText(dir + name, text);
  return std::unique_ptr<cMesh>(cMeshIO::LoadMesh((dir + name).c_str()));
}
}  // namespace

TEST(ObjCodec, IndexFormsAndNegativeIndicesResolveAgainstTheListsOfTheirLine) {
  std::string dir = FreshFolder();
  auto mesh = LoadText(dir, "neg.obj",
                       "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0 9\nvt 1 0\nvn 0 0 1\n"
                       "f -3/-2/-1 -2/-1/-1 -1/-1/-1\n"
                       "v 5 5 5\n"
                       "f -4//1 -3//1 -1//1   # a comment\n"
                       "f 1 2\n"
                       "f 1/1 2/2 3/1 4/2\n");
  ASSERT_TRUE(mesh);
  ASSERT_EQ(mesh->PolygonCount(), 3);  // the two-corner face is skipped
  ASSERT_EQ(mesh->uvs.size(), 2u);
  EXPECT_FLOAT_EQ(mesh->uvs[0].x, 0);  // a third texture coordinate is ignored
  const auto& c = mesh->polygons;
  EXPECT_EQ(c[1].a, 0);
  EXPECT_EQ(c[1].b, 0);
  EXPECT_EQ(c[1].c, 0);
  EXPECT_EQ(c[3].a, 2);
  // Second face: -1 is now the fourth position.
  EXPECT_EQ(c[5].a, 0);
  EXPECT_EQ(c[5].b, -1);
  EXPECT_EQ(c[7].a, 3);
  EXPECT_EQ(c[8].a, 4);  // quad header
  EXPECT_EQ(c[10].c, -1);
  ASSERT_EQ(mesh->materials.size(), 1u);
  EXPECT_EQ(mesh->materials[0].name, "default");
  ASSERT_EQ(mesh->objects.size(), 1u);
  EXPECT_EQ(mesh->objects[0].name, "default");
  ASSERT_EQ(mesh->surfaces.size(), 1u);  // filled by LoadMesh from the materials
}

TEST(ObjCodec, BadLinesFailWithTheirMessages) {
  std::string dir = FreshFolder();
  struct Case {
    const char* text;
    const char* message;
  } cases[] = {
      {"v 1 2\n", "cMeshObj::DecodeObj(): Too few position coordinates: \"v 1 2\"."},
      {"v 1 2 3\nvt 1\n", "cMeshObj::DecodeObj(): Too few texture coordinates: \"vt 1\"."},
      {"v 1 2 3\nvn 1 x 2\n", "cMeshObj::DecodeObj(): Too few normal coordinates: \"vn 1 x 2\"."},
      {"v 1 2 3\nv 1 2 3\nv 1 2 3\nf 0 1 2\n", "cMeshObj: Zero indices not allowed: \"f 0 1 2\"."},
      {"v 1 2 3\nf 1 2 99999999999\n", "has indices out of range"},
      {"v 1 2 3\nf 1 -5 1\n", "has indices out of range"},
  };
  for (const Case& c : cases) {
    size_t mark = LogMark();
    auto mesh = LoadText(dir, "bad.obj", c.text);
    EXPECT_FALSE(mesh) << c.text;
    EXPECT_NE(LogSince(mark).find(c.message), std::string::npos) << LogSince(mark);
  }
}

TEST(ObjCodec, MaterialsTakeTheirDiffuseMapFromTheMtlOrNothingWhenItIsMissing) {
  std::string dir = FreshFolder();
  WriteText(dir + "tex.png", "x");
  WriteText(dir + "lib.mtl",
            "newmtl skinny\nmap_Kd nowhere/skin.png\nnewmtl skin\nKd 1 1 1\r\nmap_Kd tex.png  \r\n"
            "newmtl bare\nNs 1\nnewmtl other\nmap_Kd tex.png\n");
  auto mesh = LoadText(dir, "m.obj",
                       "mtllib lib.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\ng body\nusemtl skin\nf 1 2 3\n"
                       "usemtl bare\nf 1 2 3\ng head\nusemtl other\nf 3 2 1\n");
  ASSERT_TRUE(mesh);
  ASSERT_EQ(mesh->materials.size(), 3u);
  EXPECT_EQ(mesh->materials[0].slots[comms::kDiffuseSlot].path, dir + "tex.png");
  EXPECT_EQ(mesh->materials[1].slots[comms::kDiffuseSlot].path, "");
  EXPECT_EQ(mesh->objects.size(), 2u);
  // skin and other share tex.png: one surface for both.
  ASSERT_EQ(mesh->surfaces.size(), 2u);
  std::vector<int> surfaceOf;
  mesh->ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell*) {
    surfaceOf.push_back(cMesh::SurfaceOf(h.b));
  });
  EXPECT_EQ(surfaceOf, (std::vector<int>{0, 1, 0}));

  auto missing = LoadText(dir, "n.obj", "mtllib absent.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl a\nf 1 2 3\n");
  ASSERT_TRUE(missing);
  EXPECT_EQ(missing->materials[0].name, "a");
  EXPECT_EQ(missing->materials[0].slots[comms::kDiffuseSlot].path, "");
}

TEST(ObjCodec, WriteThenReadGivesTheSameMeshAndItsMtl) {
  std::string dir = FreshFolder();
  cMesh original = meshsamples::CubeAndTriangle();
  ASSERT_TRUE(cMeshIO::SaveMesh(original, (dir + "round.obj").c_str()));
  std::string text = ReadText(dir + "round.obj");
  EXPECT_EQ(text.rfind("# Wavefront Obj file\r\n# sample\r\n# verts: 11 uv-s: 4\r\nmtllib round.mtl\r\n", 0), 0u);
  EXPECT_NE(text.find("\r\ng cube\r\n"), std::string::npos);
  EXPECT_NE(text.find("\r\n# 8 positions\r\n"), std::string::npos);
  EXPECT_NE(text.find("f 9 10 11\r\n"), std::string::npos);  // no UVs, no normals
  std::string mtl = ReadText(dir + "round.mtl");
  EXPECT_EQ(mtl.rfind("newmtl red\nNs 100.000\nd 1.00000\nillum 2\n", 0), 0u);
  EXPECT_NE(mtl.find("map_Kd red.png\n"), std::string::npos);
  std::unique_ptr<cMesh> back(cMeshIO::LoadMesh((dir + "round.obj").c_str()));
  ASSERT_TRUE(back);
  meshsamples::ExpectSameCorners(original, *back, true, true, true);
  EXPECT_EQ(back->positions.size(), original.positions.size());
  EXPECT_EQ(back->materials[0].slots[comms::kDiffuseSlot].path, dir + "red.png");
}

TEST(ObjCodec, CornersWithoutUvsWriteTheShortForms) {
  std::string dir = FreshFolder();
  cMesh m = meshsamples::Octahedron();
  m.normals = {{0, 0, 0}};
  m.polygons[1].c = 0;
  m.polygons[2].c = 0;
  m.polygons[3].c = 0;
  ASSERT_TRUE(cMeshIO::SaveMesh(m, (dir + "n.obj").c_str()));
  std::string text = ReadText(dir + "n.obj");
  EXPECT_NE(text.find("f 1//1 3//1 5//1\r\n"), std::string::npos);
  EXPECT_NE(text.find("f 3 2 5\r\n"), std::string::npos);
  EXPECT_NE(text.find("vn 0.000000 1.000000 0.000000"), std::string::npos);  // a zero normal
}

TEST(ObjCodec, EachMorphBecomesItsOwnFileAndTheMeshIsUnchanged) {
  std::string dir = FreshFolder();
  cMesh m = meshsamples::Octahedron();
  m.name = "oct";
  comms::cMorph smile;
  smile.name = "smile";
  smile.offsets.assign(m.positions.size(), {0, 0, 0});
  smile.offsets[2] = {0, 0.5f, 0};
  m.morphs.push_back(smile);
  ASSERT_TRUE(cMeshIO::SaveMesh(m, (dir + "face.obj").c_str()));
  EXPECT_FLOAT_EQ(m.positions[2].y, 1.0f);
  std::unique_ptr<cMesh> morph(cMeshIO::LoadMesh((dir + "face_smile.obj").c_str()));
  ASSERT_TRUE(morph);
  ASSERT_EQ(morph->positions.size(), 6u);
  EXPECT_FLOAT_EQ(morph->positions[2].y, 1.5f);
  EXPECT_FLOAT_EQ(morph->positions[0].x, 1.0f);
}

TEST(ObjCodec, LargeFilesReportProgressEveryTwoMillionBytes) {
  std::string dir = FreshFolder();
  std::string text;
  text.reserve(9000000);
  while (text.size() < 9000000) text += "v 0.125 0.25 0.5\n";
  text += "f 1 2 3\n";
  WriteText(dir + "big.obj", text);
  std::vector<int64_t> done;
  int64_t total = 0;
  SetProgressHandler([&](const char* key, int64_t d, int64_t t) {
    EXPECT_STREQ(key, "READING_OBJ");
    done.push_back(d);
    total = t;
    return false;
  });
  auto mesh = LoadText(dir, "big.obj", text);
  SetProgressHandler(nullptr);
  ASSERT_TRUE(mesh);
  EXPECT_EQ(mesh->positions.size(), 9000000u / 17 + 1);
  ASSERT_EQ(done.size(), 4u);  // at 2, 4, 6 and 8 million bytes
  EXPECT_EQ(total, (int64_t)text.size() / 256);
  EXPECT_GE(done[0], 2000000 / 256);
  EXPECT_LT(done[0], 2000100 / 256 + 1);

  // Esc at the first report: the read stops and gives nothing.
  SetProgressHandler([](const char*, int64_t, int64_t) { return true; });
  EXPECT_FALSE(LoadText(dir, "stopped.obj", text));
  SetProgressHandler(nullptr);

  auto small = LoadText(dir, "small.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  EXPECT_TRUE(small);  // no handler, no progress: nothing to trip over
}
