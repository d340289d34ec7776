// Mesh files that nobody here wrote, from Debian packages: glmark2-data's
// bunny, minetest-data's OBJ models, openscad-testing-data's STLs (good and
// malformed) and CGAL's demo meshes (STL and PLY, unpacked at test time).
// Counts come from scanning the text independently, bounds from Assimp.
#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <sstream>

#include "MeshSamples.h"
#include "TestFiles.h"
#include "interchange/MeshIO.h"

using comms::cMesh;
using comms::cMeshIO;
using namespace testfiles;

namespace {

std::unique_ptr<cMesh> Load(const std::string& path) { return std::unique_ptr<cMesh>(cMeshIO::LoadMesh(path.c_str())); }

struct ObjCounts {
  int positions = 0, faces = 0;
};
ObjCounts CountObj(const std::string& path) {
  std::istringstream in(ReadText(path));
  std::string line;
  ObjCounts c;
  while (std::getline(in, line)) {
    std::istringstream words(line);
    std::string key, corner;
    words >> key;
    if (key == "v") c.positions++;
    int corners = 0;
    while (key == "f" && words >> corner && corner[0] != '#') corners++;
    if (corners >= 3) c.faces++;
  }
  return c;
}

// The bounds Assimp finds for the same file.
bool AssimpBounds(const std::string& path, meshsamples::Bounds& b) {
  Assimp::Importer importer;
  const aiScene* scene = importer.ReadFile(path, 0);
  if (!scene) return false;
  for (unsigned m = 0; m < scene->mNumMeshes; m++)
    for (unsigned v = 0; v < scene->mMeshes[m]->mNumVertices; v++) {
      const aiVector3D& p = scene->mMeshes[m]->mVertices[v];
      const float xyz[3] = {p.x, p.y, p.z};
      for (int k = 0; k < 3; k++) {
        b.lo[k] = std::min(b.lo[k], xyz[k]);
        b.hi[k] = std::max(b.hi[k], xyz[k]);
      }
    }
  return true;
}

void ExpectBoundsLikeAssimp(const cMesh& mesh, const std::string& path) {
  meshsamples::Bounds theirs;
  ASSERT_TRUE(AssimpBounds(path, theirs)) << path;
  meshsamples::Bounds ours = meshsamples::BoundsOf(mesh);
  for (int k = 0; k < 3; k++) {
    EXPECT_NEAR(ours.lo[k], theirs.lo[k], 1e-4f * (1 + std::abs(theirs.lo[k]))) << path;
    EXPECT_NEAR(ours.hi[k], theirs.hi[k], 1e-4f * (1 + std::abs(theirs.hi[k]))) << path;
  }
}

const char* kOpenscad = "/usr/share/openscad/testdata/";
const char* kCgalData = "/usr/share/doc/libcgal-demo/data.tar.gz";

// CGAL ships its demo meshes packed; unpack the ones we read.
std::string UnpackCgal(const std::string& dir) {
  std::string cmd = "tar xzf " + std::string(kCgalData) + " -C " + dir +
                    " data/meshes/sphere.stl data/meshes/pig.stl data/meshes/sphere.ply data/meshes/colored_tetra.ply"
                    " data/meshes/b9.ply";
  return std::system(cmd.c_str()) == 0 ? dir + "data/meshes/" : "";
}

}  // namespace

TEST(InstalledMeshes, GlmarkBunnyObj) {
  const std::string path = "/usr/share/glmark2/models/bunny.obj";
  if (!Installed(path)) GTEST_SKIP() << "glmark2-data is not installed (scripts/deps.sh --tests)";
  auto mesh = Load(path);
  ASSERT_TRUE(mesh);
  ObjCounts c = CountObj(path);
  EXPECT_EQ((int)mesh->positions.size(), c.positions);
  EXPECT_EQ(mesh->PolygonCount(), c.faces);
  EXPECT_GT(c.faces, 60000);
  ExpectBoundsLikeAssimp(*mesh, path);
}

TEST(InstalledMeshes, MinetestObjModels) {
  const std::string root = "/usr/share/games/minetest/games/";
  if (!Installed(root)) GTEST_SKIP() << "minetest-data is not installed (scripts/deps.sh --tests)";
  int files = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (entry.path().extension() != ".obj") continue;
    const std::string path = entry.path().string();
    auto mesh = Load(path);
    ASSERT_TRUE(mesh) << path;
    ObjCounts c = CountObj(path);
    EXPECT_EQ((int)mesh->positions.size(), c.positions) << path;
    EXPECT_EQ(mesh->PolygonCount(), c.faces) << path;
    EXPECT_FALSE(mesh->uvs.empty()) << path;
    files++;
  }
  EXPECT_GE(files, 5);
}

TEST(InstalledMeshes, OpenscadStlsGoodAndMalformed) {
  if (!Installed(kOpenscad)) GTEST_SKIP() << "openscad-testing-data is not installed (scripts/deps.sh --tests)";
  const std::string d = kOpenscad;
  struct Good {
    const char* file;
    int polygons;
  } good[] = {
      {"scad/3D/features/import.stl", 46},
      {"scad/3D/features/import_bin.stl", 46},
      {"scad/3D/features/import_bin_solid.stl", 46},  // binary though it begins with "solid"
      {"stl/adns2610_dev_circuit_inv.stl", 900},
      {"scad/misc/bad-stl-tardis.stl", 3636},
      {"scad/misc/bad-stl-pcbvicebar.stl", 260},
      {"scad/misc/bad-stl-wing.stl", 842},
      {"stl/toomanyvertices.stl", 13},  // a loop of four corners stays one polygon
      {"stl/empty2.stl", 0},
  };
  for (const Good& g : good) {
    auto mesh = Load(d + g.file);
    ASSERT_TRUE(mesh) << g.file;
    EXPECT_EQ(mesh->PolygonCount(), g.polygons) << g.file;
    if (g.polygons) ExpectBoundsLikeAssimp(*mesh, d + g.file);
  }
  // The same solid as text and as binary welds to the same points.
  auto text = Load(d + "scad/3D/features/import.stl");
  auto binary = Load(d + "scad/3D/features/import_bin_solid.stl");
  EXPECT_EQ(text->positions.size(), binary->positions.size());

  size_t mark = LogMark();
  EXPECT_FALSE(Load(d + "stl/empty.stl"));
  EXPECT_NE(LogSince(mark).find("is empty."), std::string::npos);
  mark = LogMark();
  EXPECT_FALSE(Load(d + "stl/invalidvertex.stl"));
  EXPECT_NE(LogSince(mark).find("cMeshStl::DecodeStl(): Too few position coordinates: \"      vertex 0 0 blah\"."),
            std::string::npos);
}

TEST(InstalledMeshes, CgalDemoStlAndPly) {
  if (!Installed(kCgalData)) GTEST_SKIP() << "libcgal-demo is not installed (scripts/deps.sh --tests)";
  std::string dir = UnpackCgal(FreshFolder());
  ASSERT_FALSE(dir.empty());
  auto sphereStl = Load(dir + "sphere.stl");
  auto spherePly = Load(dir + "sphere.ply");
  ASSERT_TRUE(sphereStl && spherePly);
  EXPECT_EQ(sphereStl->PolygonCount(), 320);
  EXPECT_EQ(spherePly->PolygonCount(), 320);
  EXPECT_EQ(spherePly->positions.size(), 162u);
  EXPECT_EQ(sphereStl->positions.size(), 162u);  // welded back to the shared corners
  ExpectBoundsLikeAssimp(*spherePly, dir + "sphere.ply");
  ExpectBoundsLikeAssimp(*sphereStl, dir + "sphere.stl");

  auto tetra = Load(dir + "colored_tetra.ply");  // doubles, normals, colours, an edge element
  ASSERT_TRUE(tetra);
  EXPECT_EQ(tetra->positions.size(), 4u);
  EXPECT_EQ(tetra->PolygonCount(), 4);
  ExpectBoundsLikeAssimp(*tetra, dir + "colored_tetra.ply");

  auto points = Load(dir + "b9.ply");
  ASSERT_TRUE(points);
  EXPECT_EQ(points->positions.size(), 22300u);
  EXPECT_EQ(points->PolygonCount(), 0);

  auto pig = Load(dir + "pig.stl");
  ASSERT_TRUE(pig);
  EXPECT_GT(pig->PolygonCount(), 1000);
  ExpectBoundsLikeAssimp(*pig, dir + "pig.stl");
}
