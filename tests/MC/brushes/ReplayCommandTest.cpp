// Stroke scripts: the shipped head script runs clean and sculpts, errors
// point at their line and stop the script, and the command writes the mesh
// and, where an offscreen context exists, a picture of the sculpted volume.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "BrushTestKit.h"
#include "ClassEngine/DataFolder.h"
#include "MC/brushes/ReplayCommand.h"
#include "MC/brushes/ReplayPicture.h"
#include "MC/mcubes/MakeVolumeCommand.h"
#include "MC/file/VolumeSceneFiles.h"
#include "MC/tree/VoxVisualTree.h"
#include "interchange/IO.h"
#include "render/EglContext.h"

namespace {
std::string ReadText(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  std::stringstream s;
  s << f.rdbuf();
  return s.str();
}

std::string HeadScript() { return comms::DataFilePath("Replays/sphere.txt"); }

TEST(ReplayScript, TheShippedHeadRunsCleanAndSculpts) {
  const std::string text = ReadText(HeadScript());
  ASSERT_FALSE(text.empty()) << HeadScript();
  VolumeObject head, plain;
  const ReplayResult r = RunReplayScript(text, head);
  EXPECT_EQ(r.Line, 0) << r.Error;
  EXPECT_GT(r.Strokes, 10);
  RunReplayScript("sphere 60\n", plain);
  EXPECT_NE(Snapshot(head), Snapshot(plain));
  const MeshTopology t = Surface(head);
  EXPECT_EQ(t.badEdges, 0);
  EXPECT_EQ(t.flippedEdges, 0);
}

TEST(ReplayScript, AnErrorNamesItsLineAndStopsTheScript) {
  VolumeObject v;
  ReplayResult r = RunReplayScript("sphere 20\n# fine\ntool carve\nwobble 3\nstroke 0 0 20\n", v);
  EXPECT_EQ(r.Line, 4);
  EXPECT_NE(r.Error.find("wobble"), std::string::npos);
  EXPECT_EQ(r.Strokes, 0) << "nothing after the error runs";
  for (const char* bad : {"sphere 0\n", "sphere 20\nstroke 1 2\n", "sphere 20\ntool nosuch\n", "sphere 20\nview 0 0 0\n"}) {
    VolumeObject w;
    EXPECT_EQ(RunReplayScript(bad, w).Line > 0, true) << bad;
  }
}

TEST(ReplayCommand, WritesTheMeshTheSceneAndThePicture) {
  const std::filesystem::path out = std::filesystem::temp_directory_path() / "morvane_replay_test";
  std::filesystem::remove_all(out);
  std::filesystem::create_directories(out);
  const std::string script = (out / "s.txt").string();
  std::ofstream(script) << "sphere 24\ntool carve\nradius 6\nstroke -8 0 0  8 0 0\n";
  ASSERT_EQ(RunReplayCommand({script, out.string()}), 0);
  EXPECT_GT(std::filesystem::file_size(out / "replay.ply"), 1000u);
  // The sculpted volume as a scene: it converts to a surface of the same size.
  const std::string scene = (out / "replay.mvn").string(), again = (out / "again.ply").string();
  ASSERT_EQ(RunConvertSceneCommand(scene, again), 0);
  EXPECT_EQ(std::filesystem::file_size(again), std::filesystem::file_size(out / "replay.ply"));
  EXPECT_EQ(RunReplayCommand({(out / "missing.txt").string(), out.string()}), 1);
  EXPECT_EQ(RunReplayCommand({}), 2);

  std::string why;
  if (!comms::cEglContext::Create(8, 8, &why)) GTEST_SKIP() << "no offscreen OpenGL: " << why;
  comms::cImage img;
  ASSERT_TRUE(comms::cIO::LoadImage((out / "replay.png").string(), img));
  EXPECT_EQ(img.width, 800);
  EXPECT_EQ(img.height, 800);
  // The volume stands in the middle, lighter than the gradient's corner.
  const uint8_t* centre = img.Pixel(400, 400);
  const uint8_t* corner = img.Pixel(2, 2);
  EXPECT_GT(centre[0] + centre[1] + centre[2], corner[0] + corner[1] + corner[2] + 60);
}
}  // namespace

namespace {
// Runs in `folder` as the working folder and comes back.
struct InFolder {
  std::filesystem::path old = std::filesystem::current_path();
  explicit InFolder(const std::filesystem::path& folder) { std::filesystem::current_path(folder); }
  ~InFolder() { std::filesystem::current_path(old); }
};

TEST(CommandPaths, RelativeOutputsLandInTheWorkingFolder) {
  const std::filesystem::path out = std::filesystem::temp_directory_path() / "morvane_relative_out";
  std::filesystem::remove_all(out);
  std::filesystem::create_directories(out);
  std::ofstream(out / "s.txt") << "sphere 12\ntool carve\nradius 4\nstroke -4 0 0  4 0 0\n";
  std::ofstream(out / "a-file") << "not a folder";
  {
    InFolder here(out);
    ASSERT_EQ(RunMakeVolumeCommand({"sphere", "10", "rel.ply"}), 0);
    // The output folder need not exist: it is made, nested or not.
    ASSERT_EQ(RunReplayCommand({"s.txt", "sub/deeper"}), 0);
    // A folder that cannot be made is said, and nothing runs.
    EXPECT_EQ(RunReplayCommand({"s.txt", "a-file/sub"}), 1);
  }
  EXPECT_GT(std::filesystem::file_size(out / "rel.ply"), 1000u);
  EXPECT_GT(std::filesystem::file_size(out / "sub" / "deeper" / "replay.ply"), 1000u);
}

TEST(CommandPaths, NoPictureIsClaimedWithoutTheDataFolder) {
  const std::filesystem::path out = std::filesystem::temp_directory_path() / "morvane_no_data";
  std::filesystem::remove_all(out);
  std::filesystem::create_directories(out);
  const char* oldData = std::getenv("MORVANE_DATA");
  const std::string keep = oldData ? oldData : "";
  setenv("MORVANE_DATA", (out / "nothing").c_str(), 1);
  setenv("MORVANE_NO_SOURCE_DATA", "1", 1);
  VolumeObject v;
  FillVolume(v, SphereShape(0, 0, 0, 10));
  v.UpdateSurface();
  std::string why;
  bool wrote;
  {
    InFolder here(out);
    wrote = WriteReplayPicture(v, (out / "p.png").string(), 64, 48, &why);
  }
  if (oldData) setenv("MORVANE_DATA", keep.c_str(), 1); else unsetenv("MORVANE_DATA");
  unsetenv("MORVANE_NO_SOURCE_DATA");
  EXPECT_FALSE(wrote);
  EXPECT_NE(why.find("data folder"), std::string::npos) << why;
  EXPECT_FALSE(std::filesystem::exists(out / "p.png"));
}
}  // namespace

TEST(ReplayScript, HidingAndSplittingIntoLayersGiveTheSameBytesWithOneAndTwoThreads) {
  std::ifstream file(comms::DataFilePath("Replays/layers.txt"), std::ios::binary);
  std::stringstream text;
  text << file.rdbuf();
  ASSERT_FALSE(text.str().empty());
  auto run = [&](int threads, std::map<std::string, VolumeSnapshot>& layers) {
    VoxVisualTree tree;
    VolumeObject& volume = *tree.AddVolume()->Volume;
    const ReplayResult r = RunReplayScript("threads " + std::to_string(threads) + "\n" + text.str(), volume, &tree);
    EXPECT_EQ(r.Line, 0) << r.Error;
    EXPECT_EQ(r.Strokes, 2);
    ASSERT_EQ(tree.VolumeList.size(), 3u) << "the volume, its hidden space and the split part";
    VolumeObject& hidden = *tree.VolumeList[1];
    VolumeObject& part = *tree.VolumeList[2];
    // Under the hiding rectangle the density went to the hidden space,
    // through the whole depth; the split's side went to the new layer.
    for (float z : {-20.f, 0.f, 20.f}) {
      EXPECT_LT(volume.SampleField(-3, 1, z), 8000.f) << z;
      EXPECT_GT(hidden.SampleField(-3, 1, z), 40000.f) << z;
      EXPECT_LT(volume.SampleField(20, 0, z / 2), 8000.f) << z;
      EXPECT_GT(part.SampleField(20, 0, z / 2), 40000.f) << z;
    }
    EXPECT_GT(volume.SampleField(-20, 0, 0), 40000.f) << "the rest stays";
    for (const std::unique_ptr<VolumeObject>& v : tree.VolumeList) layers[v->Name] = Snapshot(*v);
  };
  std::map<std::string, VolumeSnapshot> one, two;
  run(1, one);
  run(2, two);
  EXPECT_TRUE(one == two);
  // Without a tree the two tools refuse, as before.
  VolumeObject alone;
  EXPECT_NE(RunReplayScript("sphere 30\ntool SCULP_HIDE\nshape 1 -12 -8 0 6 10 0\n", alone).Line, 0);
}
