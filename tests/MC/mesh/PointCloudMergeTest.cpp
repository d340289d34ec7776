// Point clouds from mesh files nobody here wrote: every vertex ends inside a
// sphere of the chosen radius, nothing far from the points fills, the
// progress hook can stop the loop, and an unreadable file changes nothing.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <vector>

#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/PointCloud.h"
#include "interchange/Mesh.h"
#include "interchange/MeshIO.h"

namespace {
const char* kStl = "/usr/share/openscad/testdata/scad/3D/features/import.stl";
}

TEST(PointCloudMerge, EveryPointBecomesASphereOfTheRadius) {
  if (!std::filesystem::exists(kStl)) GTEST_SKIP() << "openscad-testing-data is not installed (scripts/deps.sh --tests)";
  std::unique_ptr<comms::cMesh> mesh(comms::cMeshIO::LoadMesh(kStl));
  ASSERT_TRUE(mesh);
  float extent = 0;
  for (const auto& p : mesh->positions) extent = std::max({extent, std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)});
  CloudParams params;
  params.CloudScale = 30.0f / extent;
  params.CloudSphereRadius = 2.5f;
  MeshBasedCloud cloud("stl");
  EXPECT_STREQ(cloud.GetExtension(), "stl");
  VolumeObject v;
  std::vector<int> told;
  const int merged = MergeCloud(v, cloud, kStl, params, [&](int percent) {
    told.push_back(percent);
    return true;
  });
  EXPECT_EQ(merged, (int)mesh->positions.size());
  EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
  std::vector<std::array<float, 3>> points;
  for (const auto& p : mesh->positions) {
    points.push_back({p.x * params.CloudScale, p.y * params.CloudScale, p.z * params.CloudScale});
    const auto& q = points.back();
    EXPECT_GE(v.SampleField(q[0], q[1], q[2]), kSurfaceLevel);
    EXPECT_GE(v.SampleField(q[0] + 1.5f, q[1] - 1.0f, q[2]), kSurfaceLevel);
  }
  // Points on a lattice around the cloud: inside exactly when a cloud point
  // lies within the radius (give or take a voxel at the rim).
  int checked = 0;
  for (float x = -34; x <= 34; x += 3.7f)
    for (float y = -34; y <= 34; y += 4.1f)
      for (float z = -34; z <= 34; z += 3.3f) {
        float nearest = 1e9f;
        for (const auto& q : points)
          nearest = std::min(nearest, std::hypot(x - q[0], y - q[1], z - q[2]));
        if (std::fabs(nearest - params.CloudSphereRadius) < 1.0f) continue;
        ++checked;
        EXPECT_EQ(v.SampleField(x, y, z) >= kSurfaceLevel, nearest < params.CloudSphereRadius) << x << " " << y << " " << z;
      }
  EXPECT_GT(checked, 1000);
}

TEST(PointCloudMerge, ProgressCanStopAndBadFilesChangeNothing) {
  VolumeObject v;
  CloudParams params;
  MeshBasedCloud cloud("obj");
  EXPECT_EQ(MergeCloud(v, cloud, "/nonexistent/cloud.obj", params), -1);
  EXPECT_EQ(v.CellCount(), 0);
  if (!std::filesystem::exists(kStl)) GTEST_SKIP() << "openscad-testing-data is not installed (scripts/deps.sh --tests)";
  std::unique_ptr<comms::cMesh> mesh(comms::cMeshIO::LoadMesh(kStl));
  ASSERT_TRUE(mesh);
  MeshBasedCloud stl("stl");
  const int merged = MergeCloud(v, stl, kStl, params, [](int) { return false; });
  EXPECT_GT(merged, 0);
  EXPECT_LT(merged, (int)mesh->positions.size());
  bool anyReader = false;
  for (const auto& r : CloudReaders()) anyReader |= std::string(r->GetExtension()).size() > 0;
  EXPECT_TRUE(anyReader);
}
