// FBX through Assimp: a file that Assimp's own exporter writes from an OBJ
// reads back with the same polygons, materials and objects. The exporter's
// ASCII form is used: Assimp 5.2 can't read back its own binary FBX
// ("block offset is out of range").
#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <assimp/scene.h>

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
