// The make-volume command writes a welded, closed surface (binary PLY, or the
// format of the output's extension) and refuses bad arguments without writing.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "MC/file/VolumeSceneFiles.h"
#include "MC/mcubes/MakeVolumeCommand.h"
#include "interchange/Mesh.h"
#include "interchange/MeshIO.h"
#include "MeshChecks.h"

namespace {
// Reads a written surface back through the mesh codecs, as another program
// would, into the form the topology checks take.
bool ReadBack(const std::string& path, WeldedMeshBuilder& out) {
  std::unique_ptr<comms::cMesh> mesh(comms::cMeshIO::LoadMesh(path.c_str()));
  if (!mesh) return false;
  for (const comms::cMeshVec3& p : mesh->positions) out.Positions.insert(out.Positions.end(), {p.x, p.y, p.z});
  bool triangles = true;
  mesh->ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell* corners) {
    triangles &= h.a == 3;
    for (int k = 0; k < h.a; ++k) out.Indices.push_back((uint32_t)corners[k].a);
  });
  return triangles;
}

std::string TempPath(const char* name) {
  return (std::filesystem::temp_directory_path() / name).string();
}
}  // namespace

TEST(MakeVolumeCommand, WritesClosedSurfacesOfEveryShape) {
  for (const char* shape : {"sphere", "box", "torus", "noise"}) {
    SCOPED_TRACE(shape);
    const std::string path = TempPath((std::string("mv_") + shape + ".ply").c_str());
    ASSERT_EQ(RunMakeVolumeCommand({shape, "12.5", path}), 0);
    WeldedMeshBuilder mesh;
    ASSERT_TRUE(ReadBack(path, mesh));
    MeshTopology t = Analyse(mesh);
    EXPECT_EQ(t.badEdges, 0);
    EXPECT_EQ(t.flippedEdges, 0);
    EXPECT_EQ(t.Euler(), std::string(shape) == "torus" ? 0 : 2);
    std::filesystem::remove(path);
  }
}

TEST(MakeVolumeCommand, WritesTheFormatOfTheExtension) {
  const std::string path = TempPath("mv_sphere.obj");
  ASSERT_EQ(RunMakeVolumeCommand({"sphere", "9", path}), 0);
  WeldedMeshBuilder mesh;
  ASSERT_TRUE(ReadBack(path, mesh));
  MeshTopology t = Analyse(mesh);
  EXPECT_GT(t.faces, 100);
  EXPECT_EQ(t.badEdges, 0);
  EXPECT_EQ(t.Euler(), 2);
  std::filesystem::remove(path);
}

TEST(MakeVolumeCommand, RefusesBadArgumentsWithoutWriting) {
  const std::string path = TempPath("mv_bad.ply");
  std::filesystem::remove(path);
  EXPECT_EQ(RunMakeVolumeCommand({"sphere", "10"}), 2);
  EXPECT_EQ(RunMakeVolumeCommand({"cube", "10", path}), 2);
  EXPECT_EQ(RunMakeVolumeCommand({"sphere", "ten", path}), 2);
  EXPECT_EQ(RunMakeVolumeCommand({"sphere", "0", path}), 2);
  EXPECT_EQ(RunMakeVolumeCommand({"sphere", "1e9", path}), 2);
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_EQ(RunMakeVolumeCommand({"sphere", "5", "/nonexistent-dir/x.ply"}), 1);
}

TEST(MakeVolumeCommand, SceneFileConvertsToTheSameSurface) {
  // A torus into a scene file, the scene file into a mesh: the same closed
  // surface as the torus written directly.
  const std::string scene = TempPath("mv_torus.mvn"), viaScene = TempPath("mv_torus_scene.ply"),
                    direct = TempPath("mv_torus_direct.ply");
  ASSERT_EQ(RunMakeVolumeCommand({"torus", "11.5", scene}), 0);
  ASSERT_EQ(RunConvertSceneCommand(scene, viaScene), 0);
  ASSERT_EQ(RunMakeVolumeCommand({"torus", "11.5", direct}), 0);
  WeldedMeshBuilder a, b;
  ASSERT_TRUE(ReadBack(viaScene, a));
  ASSERT_TRUE(ReadBack(direct, b));
  EXPECT_EQ(a.Positions, b.Positions);
  EXPECT_EQ(a.Indices, b.Indices);
  MeshTopology t = Analyse(a);
  EXPECT_EQ(t.badEdges, 0);
  EXPECT_EQ(t.Euler(), 0);
  // A damaged scene file converts to nothing and says so.
  std::filesystem::resize_file(scene, std::filesystem::file_size(scene) - 100);
  EXPECT_EQ(RunConvertSceneCommand(scene, TempPath("mv_never.ply")), 1);
  EXPECT_FALSE(std::filesystem::exists(TempPath("mv_never.ply")));
  for (const std::string& p : {scene, viaScene, direct}) std::filesystem::remove(p);
}
