// The mesh-to-volume command writes a closed surface in the units of the
// input mesh, and refuses bad arguments without writing anything.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>

#include "MC/file/VolumeSceneFiles.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/ImportMeshVolume.h"
#include "MC/mesh/MeshToVolumeCommand.h"
#include "interchange/Mesh.h"
#include "interchange/MeshIO.h"
#include "../MeshChecks.h"

namespace {

const char* kScadStl = "/usr/share/openscad/testdata/scad/3D/features/import.stl";

struct Box {
  float lo[3] = {1e30f, 1e30f, 1e30f}, hi[3] = {-1e30f, -1e30f, -1e30f};
};

std::unique_ptr<comms::cMesh> Load(const std::string& path, Box& box, WeldedMeshBuilder* welded = nullptr) {
  std::unique_ptr<comms::cMesh> mesh(comms::cMeshIO::LoadMesh(path.c_str()));
  if (!mesh) return mesh;
  for (const auto& p : mesh->positions) {
    const float q[3] = {p.x, p.y, p.z};
    for (int a = 0; a < 3; ++a) box.lo[a] = std::min(box.lo[a], q[a]), box.hi[a] = std::max(box.hi[a], q[a]);
    if (welded) welded->Positions.insert(welded->Positions.end(), {p.x, p.y, p.z});
  }
  if (welded)
    mesh->ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell* c) {
      for (int k = 0; k < h.a; ++k) welded->Indices.push_back((uint32_t)c[k].a);
    });
  return mesh;
}

std::string Temp(const char* name) { return (std::filesystem::temp_directory_path() / name).string(); }

}  // namespace

TEST(MeshToVolumeCommand, WritesAClosedSurfaceInTheUnitsOfTheInput) {
  if (!std::filesystem::exists(kScadStl)) GTEST_SKIP() << "openscad-testing-data is not installed (scripts/deps.sh --tests)";
  Box in;
  ASSERT_TRUE(Load(kScadStl, in));
  const float extent = std::max({in.hi[0] - in.lo[0], in.hi[1] - in.lo[1], in.hi[2] - in.lo[2]});
  const float voxel = extent / 37.0f;
  for (const char* name : {"m2v.obj", "m2v.ply"}) {
    SCOPED_TRACE(name);
    const std::string out = Temp(name);
    std::filesystem::remove(out);
    ASSERT_EQ(RunMeshToVolumeCommand({kScadStl, out, std::to_string(voxel)}), 0);
    Box box;
    WeldedMeshBuilder surface;
    ASSERT_TRUE(Load(out, box, &surface));
    const MeshTopology t = Analyse(surface);
    EXPECT_GT(t.faces, 0);
    EXPECT_EQ(t.badEdges, 0);
    for (int a = 0; a < 3; ++a) {
      EXPECT_NEAR(box.lo[a], in.lo[a], voxel);
      EXPECT_NEAR(box.hi[a], in.hi[a], voxel);
    }
    std::filesystem::remove(out);
  }
}

TEST(MeshToVolumeCommand, WritesTheVolumeAsASceneFileInTheUnitsOfTheInput) {
  if (!std::filesystem::exists(kScadStl)) GTEST_SKIP() << "openscad-testing-data is not installed (scripts/deps.sh --tests)";
  Box in;
  ASSERT_TRUE(Load(kScadStl, in));
  const float extent = std::max({in.hi[0] - in.lo[0], in.hi[1] - in.lo[1], in.hi[2] - in.lo[2]});
  const float voxel = extent / 41.0f;
  const std::string out = Temp("m2v_scene.MVN");
  std::filesystem::remove(out);
  ASSERT_EQ(RunMeshToVolumeCommand({kScadStl, out, std::to_string(voxel)}), 0);
  std::vector<std::unique_ptr<VolumeObject>> volumes;
  std::string error;
  ASSERT_TRUE(LoadSceneVolumes(out, volumes, &error)) << error;
  ASSERT_EQ(volumes.size(), 1u);
  VolumeObject& v = *volumes[0];
  EXPECT_EQ(v.Name, "import");
  EXPECT_GT(v.CellCount(), 20);
  v.UpdateSurface();
  WeldedMeshBuilder surface;
  v.ExtractWeldedAll(surface, v.Transform);
  const MeshTopology t = Analyse(surface);
  ExpectClosed(t);
  Box box;
  for (size_t i = 0; i < surface.Positions.size(); i += 3)
    for (int a = 0; a < 3; ++a)
      box.lo[a] = std::min(box.lo[a], surface.Positions[i + a]), box.hi[a] = std::max(box.hi[a], surface.Positions[i + a]);
  for (int a = 0; a < 3; ++a) {
    EXPECT_NEAR(box.lo[a], in.lo[a], voxel);
    EXPECT_NEAR(box.hi[a], in.hi[a], voxel);
  }
  std::filesystem::remove(out);
}

TEST(MeshToVolumeCommand, RefusesBadArgumentsWithoutWriting) {
  const std::string out = Temp("m2v_refused.ply");
  std::filesystem::remove(out);
  EXPECT_EQ(RunMeshToVolumeCommand({}), 2);
  EXPECT_EQ(RunMeshToVolumeCommand({Temp("no_such_mesh.obj"), out}), 1);
  EXPECT_EQ(RunMeshToVolumeCommand({Temp("no_such_mesh.obj"), Temp("m2v_refused.mvn")}), 1);
  EXPECT_FALSE(std::filesystem::exists(Temp("m2v_refused.mvn")));
  if (std::filesystem::exists(kScadStl)) {
    EXPECT_EQ(RunMeshToVolumeCommand({kScadStl, out, "0"}), 2);
    EXPECT_EQ(RunMeshToVolumeCommand({kScadStl, out, "-1"}), 2);
    EXPECT_EQ(RunMeshToVolumeCommand({kScadStl, out, "1,5"}), 2);
    EXPECT_EQ(RunMeshToVolumeCommand({kScadStl, out, "1e-9"}), 2);  // far too many voxels
  }
  EXPECT_FALSE(std::filesystem::exists(out));
}

TEST(MeshToVolumeCommand, ImportIntoAVolumeReplacesItsContentsOrLeavesItAlone) {
  if (!std::filesystem::exists(kScadStl)) GTEST_SKIP() << "openscad-testing-data is not installed (scripts/deps.sh --tests)";
  VolumeObject v;
  std::string why;
  ASSERT_TRUE(ImportMeshIntoVolume(v, kScadStl, 64, &why)) << why;
  EXPECT_EQ(v.Name, "import");
  WeldedMeshBuilder first;
  v.ExtractWeldedAll(first);
  const MeshTopology t = Analyse(first);
  ExpectClosed(t);
  float lo[3] = {1e30f, 1e30f, 1e30f}, hi[3] = {-1e30f, -1e30f, -1e30f};
  for (size_t i = 0; i < first.Positions.size(); i += 3)
    for (int a = 0; a < 3; ++a)
      lo[a] = std::min(lo[a], first.Positions[i + a]), hi[a] = std::max(hi[a], first.Positions[i + a]);
  EXPECT_NEAR(std::max({hi[0] - lo[0], hi[1] - lo[1], hi[2] - lo[2]}), 64, 1.5);  // centred, 64 voxels across
  for (int a = 0; a < 3; ++a) EXPECT_NEAR(lo[a] + hi[a], 0, 1.5);
  // A second import replaces the first; a bad file leaves the volume alone.
  ASSERT_TRUE(ImportMeshIntoVolume(v, kScadStl, 32, &why));
  const int cells = v.CellCount();
  EXPECT_FALSE(ImportMeshIntoVolume(v, Temp("no_such_mesh.stl"), 32, &why));
  EXPECT_NE(why.find("no_such_mesh"), std::string::npos);
  EXPECT_FALSE(ImportMeshIntoVolume(v, kScadStl, 0, &why));
  EXPECT_EQ(v.CellCount(), cells);
  EXPECT_EQ(v.SampleField(0, 0, 0) >= kSurfaceLevel, true);
}
