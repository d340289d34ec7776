// The merge tool's list of shipped sample meshes: each sample is a closed,
// outward-facing solid that merges into a watertight volume of its size; a
// pick in the panel's list holds that sample, and a file that cannot be read
// leaves the held mesh as it was and says which file and why.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "../MeshChecks.h"
#include "ClassEngine/Enumerator.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/MergeIntoVolume.h"
#include "MC/mesh/MeshMerge.h"
#include "interchange/Mesh.h"
#include "interchange/MeshIO.h"

TEST(MergeSamples, EverySampleIsListedAndMergesIntoAClosedSolidOfItsSize) {
  const std::vector<std::string> paths = MergeSamplePaths();
  ASSERT_GE(paths.size(), 6u);
  Enumerator* list = GetEnumerator("MERGE_SAMPLES");
  ASSERT_EQ(list->GetStoredAmount(), (int)paths.size());
  EXPECT_GE(list->GetIndex("Torus"), 0);
  for (size_t i = 0; i < paths.size(); ++i) {
    SCOPED_TRACE(paths[i]);
    MeshMerge merge;
    ASSERT_TRUE(merge.LoadSample(int(i)));
    EXPECT_EQ(merge.Settings.MergeBrowser, int(i));
    // Held at the preview size: the farthest vertex 150 voxels from the centre.
    float far = 0;
    for (const auto& p : merge.Mesh()->positions) far = std::max(far, std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z));
    EXPECT_NEAR(far, 150.f, 0.01f);
    merge.Settings.MergeScale = 0.2f;
    VolumeObject v;
    ASSERT_TRUE(merge.Merge(v, kMergeUnion, {}));
    v.UpdateSurface();
    WeldedMeshBuilder welded;
    v.ExtractWeldedAll(welded);
    const MeshTopology t = Analyse(welded);
    EXPECT_GT(t.faces, 100);
    EXPECT_EQ(t.badEdges, 0);
    EXPECT_EQ(t.flippedEdges, 0);
    EXPECT_GT(t.signedVolume, 0) << "the sample faces outward, so the merge fills it";
    // Within a voxel or two of the placed size.
    float lo = 1e9f, hi = -1e9f;
    for (int k = 0; k < welded.VertexCount(); ++k)
      for (int a = 0; a < 3; ++a) lo = std::min(lo, welded.Positions[k * 3 + a]), hi = std::max(hi, welded.Positions[k * 3 + a]);
    EXPECT_LE(hi, 30.f + 2.f);
    EXPECT_GE(lo, -30.f - 2.f);
    EXPECT_GT(hi - lo, 30.f);
  }
}

TEST(MergeSamples, APickInTheListHoldsThatSampleAndABadOneKeepsTheMesh) {
  MeshMerge merge;
  MergeSamplePaths();
  const int cube = GetEnumerator("MERGE_SAMPLES")->Get("Cube");
  ASSERT_GE(cube, 0);
  // The panel writes the member, then tells its owner.
  merge.Settings.MergeBrowser = cube;
  merge.Settings.OnChange(nullptr, nullptr, nullptr, "MergeBrowser");
  ASSERT_NE(merge.Mesh(), nullptr);
  const size_t cubeVertices = merge.Mesh()->positions.size();
  EXPECT_EQ(cubeVertices, 98u);
  merge.Settings.MergeBrowser = 1000;
  merge.Settings.OnChange(nullptr, nullptr, nullptr, "MergeBrowser");
  EXPECT_EQ(merge.Settings.MergeBrowser, -1);
  ASSERT_NE(merge.Mesh(), nullptr);
  EXPECT_EQ(merge.Mesh()->positions.size(), cubeVertices);

  // A file that is not a mesh: the reason names it, the cube stays.
  const std::string bad = (std::filesystem::temp_directory_path() / "morvane-not-a-mesh.obj").string();
  std::ofstream(bad) << "this is no mesh\n";
  std::string why;
  EXPECT_FALSE(merge.LoadFile(bad, &why));
  EXPECT_NE(why.find(bad), std::string::npos);
  EXPECT_EQ(merge.Mesh()->positions.size(), cubeVertices);
  EXPECT_FALSE(merge.LoadFile(bad + ".missing", &why));
  std::filesystem::remove(bad);
  // The button asks the window for a file; without one it does nothing.
  int asked = 0;
  merge.Settings.MergeObject();
  merge.Settings.ObjectAsked = [&] { ++asked; };
  merge.Settings.MergeObject();
  EXPECT_EQ(asked, 1);
}

TEST(MergeSamples, JittersTurnEachMergeAnewButLeaveThePlacementShown) {
  MeshMerge merge;
  MergeSamplePaths();
  ASSERT_TRUE(merge.LoadSample(GetEnumerator("MERGE_SAMPLES")->Get("Cube")));
  merge.Settings.MergeScale = 0.15f;
  auto merged = [&](uint32_t seed) {
    VolumeObject v;
    EXPECT_TRUE(merge.Merge(v, kMergeUnion, {}, nullptr, {}, false, seed));
    v.UpdateSurface();
    WeldedMeshBuilder m;
    v.ExtractWeldedAll(m);
    return std::vector<float>(m.Positions.begin(), m.Positions.end());
  };
  const std::vector<float> still = merged(1);
  EXPECT_EQ(merged(2), still) << "without jitter the seed changes nothing";
  merge.Settings.MrgYawJitter = 40;
  float before[16], after[16];
  merge.Placement(before);
  const std::vector<float> a = merged(1), b = merged(2);
  merge.Placement(after);
  EXPECT_EQ(std::vector<float>(before, before + 16), std::vector<float>(after, after + 16));
  EXPECT_NE(a, still);
  EXPECT_NE(a, b);
  EXPECT_EQ(merged(1), a) << "the same seed turns it the same way";
}
