// The glue from a volume's render groups to device meshes: uploads follow
// UpdateSurface's rebuilt groups, wide groups get 32-bit indices, and the
// offscreen picture of a volume shows a lit surface on the gradient.
#include <cstdio>
#include <filesystem>
#include <map>

#include "GLTestContext.h"
#include "MC/mcubes/VolumeDraw.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "interchange/IO.h"

using namespace comms;

namespace rendertest {

TEST_F(GLTest, GroupsUploadOnceAndFollowRebuilds) {
  VolumeObject volume;
  FillVolume(volume, SphereShape(0, 0, 0, 20));
  volume.UpdateSurface();
  int groups = 0;
  volume.RenderGroups.ForEach([&](const CellKey&, RenderGroup& g) { groups += g.Mesh && g.Mesh->VertexCount() > 0; });
  ASSERT_GT(groups, 1);
  VolumeDrawer drawer(*render_);
  EXPECT_EQ(drawer.Sync(volume), groups);
  EXPECT_EQ(drawer.Sync(volume), 0);
  EXPECT_EQ(drawer.DeviceMeshes(), groups);
  volume.RenderGroups.ForEach([&](const CellKey&, RenderGroup& g) {
    const StaticMesh* m = drawer.DeviceMesh(g.Mesh.get());
    ASSERT_NE(m, nullptr);
    EXPECT_GE(m->IndexBuffer16, 0);  // small groups: 16-bit indices
    EXPECT_EQ(m->IndexBuffer32, -1);
    EXPECT_EQ(m->IndexCount, g.Mesh->IndexCount());
  });
  // A group whose mesh the volume refills in place (nothing else holds it)
  // uploads again, with the new index count.
  for (int x = 14; x <= 22; ++x)
    for (int y = -4; y <= 4; ++y)
      for (int z = -4; z <= 4; ++z) volume.PutVoxel(x, y, z, 0);
  std::map<const GroupMesh*, int> indexCounts;
  volume.RenderGroups.ForEach([&](const CellKey&, RenderGroup& g) { indexCounts[g.Mesh.get()] = g.Mesh->IndexCount(); });
  volume.UpdateSurface();
  int refilled = 0;
  volume.RenderGroups.ForEach([&](const CellKey&, RenderGroup& g) {
    auto it = indexCounts.find(g.Mesh.get());
    refilled += it != indexCounts.end() && it->second != g.Mesh->IndexCount();
  });
  ASSERT_GT(refilled, 0);
  EXPECT_GE(drawer.Sync(volume), refilled);
  volume.RenderGroups.ForEach([&](const CellKey&, RenderGroup& g) {
    EXPECT_EQ(drawer.DeviceMesh(g.Mesh.get())->IndexCount, g.Mesh->IndexCount());
  });
  groups = volume.RenderGroups.Count();
  // Removing a group frees its device mesh; a new mesh for a group uploads.
  CellKey first{};
  bool have = false;
  volume.RenderGroups.ForEach([&](const CellKey& k, RenderGroup&) {
    if (!have) first = k, have = true;
  });
  volume.RenderGroups.Remove(first.x, first.y, first.z);
  EXPECT_EQ(drawer.Sync(volume), 0);
  EXPECT_EQ(drawer.DeviceMeshes(), groups - 1);
}

TEST_F(GLTest, LargeGroupsUseWideIndices) {
  VolumeObject volume;
  auto mesh = std::make_shared<GroupMesh>();
  const int n = 70000;
  mesh->Positions.assign(size_t(n) * 3, 0.0f);
  mesh->Normals.assign(size_t(n) * 3, 0.0f);
  mesh->WideIndices = true;
  mesh->Indices32 = {0, 1, 69999};
  RenderGroup g;
  g.Mesh = mesh;
  volume.RenderGroups.Set(0, 0, 0, g);
  VolumeDrawer drawer(*render_);
  ASSERT_EQ(drawer.Sync(volume), 1);
  const StaticMesh* m = drawer.DeviceMesh(mesh.get());
  ASSERT_NE(m, nullptr);
  EXPECT_GE(m->IndexBuffer32, 0);
  EXPECT_EQ(m->IndexBuffer16, -1);
  EXPECT_EQ(m->VertexCount, n);
}

TEST_F(GLTest, AVolumeRendersOffscreenToAPicture) {
  VolumeObject volume;
  FillVolume(volume, SphereShape(0, 0, 0, 24));
  volume.UpdateSurface();
  cFreeViewer camera;
  camera.Fov = 50;
  FrameVolume(volume, camera);
  const std::string path = (std::filesystem::temp_directory_path() / "morvane_volume_shot.png").string();
  std::remove(path.c_str());
  ASSERT_TRUE(RenderVolumeToPng(*render_, volume, camera, 96, 64, path));
  cImage img;
  ASSERT_TRUE(cIO::LoadImage(path, img));
  EXPECT_EQ(img.width, 96);
  EXPECT_EQ(img.height, 64);
  Rgba centre = PixelAt(img, 48, 32), top = PixelAt(img, 2, 1), bottom = PixelAt(img, 2, 62);
  EXPECT_GT(centre.r, 100);             // the clay surface
  EXPECT_NEAR(centre.r, centre.g, 25);  // grey
  EXPECT_GT(top.r + top.g + top.b, bottom.r + bottom.g + bottom.b);  // the gradient, lighter on top
  // The back buffer is drawn to again afterwards.
  EXPECT_EQ(Screen().width, kWidth);
  std::remove(path.c_str());
}

}  // namespace rendertest
