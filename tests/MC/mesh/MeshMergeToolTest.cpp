// The merge tool's core: the held mesh is centred and sized for the preview,
// the placement turns, scales and shifts it as the settings say, the mode
// follows the invert state, and every mirror copy is merged.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <string>

#include "MC/brushes/VoxelModes.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/MergeIntoVolume.h"
#include "MC/mesh/MergePreview.h"
#include "MC/mesh/MeshMerge.h"
#include "interchange/Mesh.h"
#include "interchange/MeshIO.h"
#include "paint/GeneralPen.h"
#include "platform/Keys.h"
#include "render/NullRender.h"
#include "render/Viewer.h"

namespace {

const char* kPyramid = "/usr/share/games/minetest/games/devtest/mods/testnodes/models/testnodes_pyramid.obj";

void Apply(const float m[16], const float p[3], float out[3]) {
  for (int c = 0; c < 3; ++c) out[c] = p[0] * m[c] + p[1] * m[4 + c] + p[2] * m[8 + c] + m[12 + c];
}

bool In(VolumeObject& v, float x, float y, float z) { return v.SampleField(x, y, z) >= kSurfaceLevel; }

}  // namespace

TEST(MeshMergeTool, PlacementTurnsScalesAndShifts) {
  MeshMerge merge;
  float m[16];
  merge.Placement(m);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(m[i], i % 5 == 0 ? 1.0f : 0.0f);
  merge.Settings.MrgYaw = 90;
  merge.Settings.MergeScale = 2;
  merge.Settings.ShiftX = 5, merge.Settings.ShiftY = -3, merge.Settings.ShiftZ = 7;
  merge.Placement(m);
  const float x[3] = {1, 0, 0}, y[3] = {0, 1, 0};
  float px[3], py[3];
  Apply(m, x, px);
  Apply(m, y, py);
  // Yaw turns about y: x goes to the z axis, y stays; lengths double.
  EXPECT_NEAR(px[0], 5, 1e-5);
  EXPECT_NEAR(std::fabs(px[2] - 7), 2, 1e-5);
  EXPECT_NEAR(py[0], 5, 1e-5);
  EXPECT_NEAR(py[1], -1, 1e-5);
  EXPECT_NEAR(py[2], 7, 1e-5);
  // Roll and pitch of 180 degrees both: y comes back up, x and z flip... by
  // the two half turns, x is negated once (roll) and z once (pitch).
  merge.Settings = MergeSettings();
  merge.Settings.MrgRoll = 180, merge.Settings.MrgPitch = 180;
  merge.Placement(m);
  const float p[3] = {1, 2, 3};
  float q[3];
  Apply(m, p, q);
  EXPECT_NEAR(q[0], -1, 1e-5);
  EXPECT_NEAR(q[1], 2, 1e-5);
  EXPECT_NEAR(q[2], -3, 1e-5);
}

TEST(MeshMergeTool, ModeFollowsTheInvertState) {
  EXPECT_EQ(MergeModeOf(false, false), kMergeUnion);
  EXPECT_EQ(MergeModeOf(false, true), kMergeUnion);
  EXPECT_EQ(MergeModeOf(true, false), kMergeSubtract);
  EXPECT_EQ(MergeModeOf(true, true), kMergeIntersect);
}

TEST(MeshMergeTool, HeldMeshIsCentredAndMergedOncePerMirrorCopy) {
  if (!std::filesystem::exists(kPyramid)) GTEST_SKIP() << "minetest-data is not installed (scripts/deps.sh --tests)";
  MeshMerge merge;
  VolumeObject v;
  EXPECT_FALSE(merge.Merge(v, kMergeUnion, {}));
  EXPECT_FALSE(merge.SetMesh(std::make_unique<comms::cMesh>()));
  ASSERT_TRUE(merge.SetMesh(std::unique_ptr<comms::cMesh>(comms::cMeshIO::LoadMesh(kPyramid))));
  float far = 0, lo = 1e30f, hi = -1e30f;
  for (const auto& p : merge.Mesh()->positions) {
    far = std::max(far, std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z));
    lo = std::min(lo, p.y), hi = std::max(hi, p.y);
  }
  EXPECT_NEAR(far, 150, 1e-3);
  EXPECT_NEAR(lo, -hi, 1e-3);  // centred on its box
  // A tenth of the preview size, shifted to +x, mirrored across x.
  merge.Settings.MergeScale = 0.1f;
  merge.Settings.ShiftX = 30;
  EXPECT_TRUE(merge.Merge(v, kMergeUnion, {{1, 0, 0, 0, 1, 0, 0, 0, 1}, {-1, 0, 0, 0, 1, 0, 0, 0, 1}}));
  EXPECT_TRUE(In(v, 30, 0, 0));
  EXPECT_TRUE(In(v, -30, 0, 0));
  EXPECT_FALSE(In(v, 0, 0, 0));
  // Subtraction with the same placement and no mirror leaves the copy only.
  EXPECT_TRUE(merge.Merge(v, kMergeSubtract, {}));
  EXPECT_FALSE(In(v, 30, 0, 0));
  EXPECT_TRUE(In(v, -30, 0, 0));
  // As a skin the mesh becomes a shell: hollow in the middle.
  VolumeObject skin;
  merge.Settings.MergeAsSkin = true;
  merge.Settings.MergeScale = 0.2f;
  merge.Settings.InSkinThickness = 1, merge.Settings.OutSkinThickness = 1;
  EXPECT_TRUE(merge.Merge(skin, kMergeUnion, {}));
  EXPECT_FALSE(In(skin, 30, 0, 0));
  EXPECT_GT(skin.CellCount(), 0);
}

TEST(MeshMergeTool, VoxelToolMergesOnEnterWithTheSymmetryAndShowsItsSettingsInThatModeOnly) {
  if (!std::filesystem::exists(kPyramid)) GTEST_SKIP() << "minetest-data is not installed (scripts/deps.sh --tests)";
  VoxelSculptTool tool;
  auto rowsNamed = [&tool](const char* id) {
    int n = 0;
    for (int r = 0; r < tool.GetAmountOfEditableElements(&tool, kRowsAll); ++r) {
      const char* e = tool.GetElementID(tool.GetEditableElementIndex(r, &tool, kRowsAll));
      n += e && std::string(e) == id;
    }
    return n;
  };
  ASSERT_TRUE(tool.SelectMode(SCULP_GROW));
  EXPECT_EQ(rowsNamed("MergeSettings"), 0);
  EXPECT_EQ(rowsNamed("MergeParams"), 0);
  EXPECT_EQ(rowsNamed("VoxelBrushSettings"), 1);
  ASSERT_TRUE(tool.SelectMode(SCULP_MERGE));
  EXPECT_EQ(rowsNamed("MergeSettings"), 1);
  EXPECT_EQ(rowsNamed("MergeParams"), 1);

  VolumeObject v;
  tool.SetScene(&v, nullptr);
  EXPECT_FALSE(tool.OnKey(keys::Enter));  // no mesh held yet
  ASSERT_TRUE(tool.Merge.SetMesh(std::unique_ptr<comms::cMesh>(comms::cMeshIO::LoadMesh(kPyramid))));
  tool.Merge.Settings.MergeScale = 0.1f;
  tool.Merge.Settings.ShiftX = 25;
  const int symmetry = GeneralPen::Symmetry;
  GeneralPen::Symmetry = 1;  // mirror across x
  EXPECT_TRUE(tool.OnKey(keys::Enter));
  GeneralPen::Symmetry = symmetry;
  EXPECT_TRUE(In(v, 25, 0, 0));
  EXPECT_TRUE(In(v, -25, 0, 0));
  EXPECT_FALSE(In(v, 0, 0, 0));
}

TEST(MeshMergeTool, PreviewDrawsThePlacedEdgesWithinTheLimit) {
  if (!std::filesystem::exists(kPyramid)) GTEST_SKIP() << "minetest-data is not installed (scripts/deps.sh --tests)";
  MeshMerge merge;
  comms::cNullRender render;
  comms::cViewer camera;
  camera.ViewRect = comms::cRect(0, 0, 401, 203);
  camera.OrthoProj = true;
  camera.OrthoScale = 1;
  camera.OrthoZrange = 1000;
  camera.Update();
  EXPECT_EQ(DrawMergePreview(render, camera, merge), 0);  // nothing held
  ASSERT_TRUE(merge.SetMesh(std::unique_ptr<comms::cMesh>(comms::cMeshIO::LoadMesh(kPyramid))));
  int corners = 0;
  merge.Mesh()->ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell*) { corners += h.a; });
  render.ClearCalls();
  EXPECT_EQ(DrawMergePreview(render, camera, merge), corners);
  EXPECT_EQ(render.Count("DrawLine"), corners);
  // Shifted right by 40 voxels, every line moves right by 40 pixels.
  std::vector<double> before, after;
  for (const auto& call : render.Calls)
    if (call.Op == "DrawLine") before.push_back(call.Args[0]);
  merge.Settings.ShiftX = 40;
  render.ClearCalls();
  DrawMergePreview(render, camera, merge);
  for (const auto& call : render.Calls)
    if (call.Op == "DrawLine") after.push_back(call.Args[0]);
  ASSERT_EQ(before.size(), after.size());
  for (size_t i = 0; i < before.size(); ++i) EXPECT_NEAR(after[i] - before[i], 40, 1e-3);
  // Past the limit an even sample: every fourth of the 16 edges for 5.
  render.ClearCalls();
  const int sampled = DrawMergePreview(render, camera, merge, 0xffffffffu, 5);
  EXPECT_LE(sampled, 5);
  EXPECT_GE(sampled, 3);
  EXPECT_EQ(render.Count("DrawLine"), sampled);
}

TEST(MeshMergeTool, FirstMergeIntoAScaledSceneAsksOnceAndYesTakesScaleAndCentreFromThePlacement) {
  if (!std::filesystem::exists(kPyramid)) GTEST_SKIP() << "minetest-data is not installed (scripts/deps.sh --tests)";
  const int symmetry = GeneralPen::Symmetry;
  GeneralPen::Symmetry = 0;
  auto merged = [](VolumeObject& v, bool answer, int& asked) {
    VoxelSculptTool tool;
    tool.SelectMode(SCULP_MERGE);
    tool.SetScene(&v, nullptr);
    tool.AskKeepScale = [&asked, answer] { return ++asked, answer; };
    EXPECT_TRUE(tool.Merge.SetMesh(std::unique_ptr<comms::cMesh>(comms::cMeshIO::LoadMesh(kPyramid))));
    tool.Merge.Settings.MergeScale = 0.5f;
    tool.Merge.Settings.ShiftX = 7, tool.Merge.Settings.ShiftZ = -3;
    EXPECT_TRUE(tool.OnKey(keys::Enter));
    EXPECT_TRUE(tool.OnKey(keys::Enter));  // the second merge asks no more
  };
  const float twice[16] = {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 1, 2, 3, 1};
  VolumeObject yes, no, plain;
  yes.SetTransform(twice), no.SetTransform(twice);
  int askedYes = 0, askedNo = 0, askedPlain = 0;
  merged(yes, true, askedYes);
  merged(no, false, askedNo);
  merged(plain, true, askedPlain);
  GeneralPen::Symmetry = symmetry;
  EXPECT_EQ(askedYes, 1);
  EXPECT_EQ(askedNo, 1);
  EXPECT_EQ(askedPlain, 0) << "a scene at scale 1 is not asked";
  const float expected[16] = {0.5f, 0, 0, 0, 0, 0.5f, 0, 0, 0, 0, 0.5f, 0, 7, 0, -3, 1};
  for (int i = 0; i < 16; ++i) {
    EXPECT_FLOAT_EQ(yes.Transform[i], expected[i]) << i;
    EXPECT_FLOAT_EQ(no.Transform[i], twice[i]) << i;
  }
  // Either way the mesh lands where the placement put it in the scene.
  for (VolumeObject* v : {&yes, &no}) {
    float lattice[3];
    const float centre[3] = {7, 0, -3};
    v->PointToObject(centre, lattice);
    EXPECT_GE(v->SampleField(lattice[0], lattice[1], lattice[2]), kSurfaceLevel);
  }
}
