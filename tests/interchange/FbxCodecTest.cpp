// FBX through Assimp: a file that Assimp's own exporter writes from an OBJ
// reads back with the same polygons, materials and objects; a hand-written
// file comes back with its control points shared by its faces; a damaged
// real file that breaks the reader fails with a reason. The exporter's
// ASCII form is used: Assimp 5.2 can't read back its own binary FBX
// ("block offset is out of range").
#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#include <map>
#include <memory>

#include "MeshSamples.h"
#include "TestFiles.h"
#include "interchange/MeshIO.h"

using comms::cMesh;
using comms::cMeshIO;
using namespace testfiles;

TEST(FbxCodec, ReadsWhatAssimpWritesFromAnObj) {
  std::string dir = FreshFolder();
  cMesh original = meshsamples::CubeAndTriangle();
  ASSERT_TRUE(cMeshIO::SaveMesh(original, (dir + "src.obj").c_str()));
  Assimp::Importer importer;
  const aiScene* scene = importer.ReadFile(dir + "src.obj", 0);
  ASSERT_TRUE(scene) << importer.GetErrorString();
  Assimp::Exporter exporter;
  ASSERT_EQ(exporter.Export(scene, "fbxa", dir + "m.fbx"), AI_SUCCESS) << exporter.GetErrorString();

  std::unique_ptr<cMesh> mesh(cMeshIO::LoadMesh((dir + "m.fbx").c_str()));
  ASSERT_TRUE(mesh);
  EXPECT_EQ(mesh->PolygonCount(), original.PolygonCount());
  meshsamples::Bounds b = meshsamples::BoundsOf(*mesh);
  EXPECT_NEAR(b.lo[0], 0, 1e-5);
  EXPECT_NEAR(b.hi[0], 4, 1e-5);
  EXPECT_NEAR(b.hi[2], 1, 1e-5);
  std::vector<std::string> materials;
  for (const auto& m : mesh->materials) materials.push_back(m.name);
  EXPECT_NE(std::find(materials.begin(), materials.end(), "red"), materials.end());
  EXPECT_NE(std::find(materials.begin(), materials.end(), "blue"), materials.end());
  EXPECT_FALSE(mesh->uvs.empty());
  EXPECT_FALSE(mesh->normals.empty());
  int quads = 0;
  mesh->ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell*) { quads += h.a == 4; });
  EXPECT_EQ(quads, 6);

  WriteText(dir + "junk.fbx", "Kaydara FBX Binary  \0 nonsense");
  size_t mark = LogMark();
  std::unique_ptr<cMesh> junk(cMeshIO::LoadMesh((dir + "junk.fbx").c_str()));
  EXPECT_FALSE(junk);
  EXPECT_NE(LogSince(mark).find("cMeshIO::LoadMesh(): Can't decode mesh file"), std::string::npos);
}

namespace {

// An ASCII FBX 7.4 file as a modelling program writes one: a box of 8
// control points and 6 quads (the last corner of each polygon stored as
// -index - 1), under a model moved by (10, 0, 0).
std::string BoxFbx() {
  return R"(; FBX 7.4.0 project file
FBXHeaderExtension:  {
	FBXHeaderVersion: 1003
	FBXVersion: 7400
}
GlobalSettings:  {
	Version: 1000
	Properties70:  {
		P: "UpAxis", "int", "Integer", "",1
		P: "UnitScaleFactor", "double", "Number", "",1
	}
}
Objects:  {
	Geometry: 1001, "Geometry::box", "Mesh" {
		Vertices: *24 {
			a: 0,0,0,2,0,0,2,3,0,0,3,0,0,0,5,2,0,5,2,3,5,0,3,5
		}
		PolygonVertexIndex: *24 {
			a: 0,3,2,-2,4,5,6,-8,0,1,5,-5,3,7,6,-3,0,4,7,-4,1,2,6,-6
		}
		GeometryVersion: 124
	}
	Model: 2001, "Model::box", "Mesh" {
		Version: 232
		Properties70:  {
			P: "Lcl Translation", "Lcl Translation", "", "A",10,0,0
		}
	}
}
Connections:  {
	C: "OO",1001,2001
	C: "OO",2001,0
}
)";
}

}  // namespace

TEST(FbxCodec, PositionsAreTheControlPointsAndFacesShareThem) {
  std::string dir = FreshFolder();
  WriteText(dir + "box.fbx", BoxFbx());
  std::unique_ptr<cMesh> mesh(cMeshIO::LoadMesh((dir + "box.fbx").c_str()));
  ASSERT_TRUE(mesh) << LogText();
  const float points[8][3] = {{0, 0, 0}, {2, 0, 0}, {2, 3, 0}, {0, 3, 0}, {0, 0, 5}, {2, 0, 5}, {2, 3, 5}, {0, 3, 5}};
  ASSERT_EQ(mesh->positions.size(), 8u);
  // Each control point once, moved by the model's translation.
  for (const auto& p : points) {
    int found = 0;
    for (const auto& q : mesh->positions) found += q.x == p[0] + 10 && q.y == p[1] && q.z == p[2];
    EXPECT_EQ(found, 1) << p[0] << " " << p[1] << " " << p[2];
  }
  // A closed box: every corner is shared by three faces, every edge by two.
  std::vector<int> uses(8, 0);
  std::map<std::pair<int, int>, int> edges;
  mesh->ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell* c) {
    EXPECT_EQ(h.a, 4);
    for (int k = 0; k < h.a; k++) {
      uses[c[k].a]++;
      int a = c[k].a, b = c[(k + 1) % h.a].a;
      edges[{std::min(a, b), std::max(a, b)}]++;
    }
  });
  EXPECT_EQ(uses, std::vector<int>(8, 3));
  EXPECT_EQ(edges.size(), 12u);
  for (const auto& [edge, count] : edges) EXPECT_EQ(count, 2);
}

// A real file (from assimp-testmodels) with 19 bits flipped, on which the FBX
// reader corrupts its memory and aborts: that happens in a child process, and
// the load fails with a reason while the program goes on.
TEST(FbxCodec, AFileThatBreaksTheReaderFailsWithAReason) {
  const std::string real = "/usr/share/assimp/models/FBX/box_orphant_embedded_texture.fbx";
  if (!Installed(real)) GTEST_SKIP() << "assimp-testmodels is not installed (scripts/deps.sh --tests)";
  std::vector<uint8_t> bytes = ReadBytes(real);
  ASSERT_EQ(bytes.size(), 36622u);
  const std::pair<size_t, uint8_t> flips[] = {
      {920, 1},     {7993, 4},    {11230, 1},   {11323, 128}, {11815, 64}, {15062, 8},  {19207, 64},
      {21737, 1},   {22115, 32},  {22140, 4},   {22390, 2},   {23447, 8},  {25382, 64}, {30524, 8},
      {31545, 16},  {32511, 8},   {35178, 128}, {35935, 32},  {36558, 128}};
  for (const auto& [at, bit] : flips) bytes[at] ^= bit;
  std::string dir = FreshFolder();
  WriteBytes(dir + "damaged.fbx", bytes);
  size_t mark = LogText().size();
  std::unique_ptr<cMesh> mesh(cMeshIO::LoadMesh((dir + "damaged.fbx").c_str()));
  EXPECT_FALSE(mesh);
  EXPECT_NE(LogSince(mark).find("cMeshFbx::Decode(): "), std::string::npos) << LogSince(mark);
  std::unique_ptr<cMesh> whole(cMeshIO::LoadMesh(real.c_str()));  // and the reader still works
  ASSERT_TRUE(whole);
  EXPECT_GT(whole->PolygonCount(), 0);
}
