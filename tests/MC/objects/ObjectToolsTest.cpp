// The logo, text and sketch tools through the tool router: a press asks for
// its files through the window's question (the logo's kinds of picture, its
// remembered folder and its shipped default), the reliefs become the merge
// tool's mesh and a merge puts them into the volume closed, the sketch merges
// its solid at once; each edit is one undo record that brings every byte
// back; a cancelled or failed question leaves everything as it was; the
// replay commands give the same bytes on one and two threads, on a sphere and
// on the sculpted head.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "../brushes/ToolTableKit.h"
#include "ClassEngine/DataFolder.h"
#include "ClassEngine/Threader.h"
#include "ClassEngine/UserPaths.h"
#include "MC/TempFolder.h"
#include "MC/brushes/BrushTestKit.h"
#include "MC/brushes/ReplayCommand.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/objects/ObjectTools.h"
#include "MC/objects/TextRelief.h"
#include "MC/undo/VolumeUndo.h"
#include "interchange/IO.h"
#include "interchange/Mesh.h"
#include "paint/undo/UndoStack.h"
#include "paint/undo/UndoTestFolder.h"
#include "platform/Keys.h"
#include "render/Viewer.h"
#include "shell/tools/RouterDrag.h"
#include "shell/tools/ToolRouter.h"

namespace {

// The user's files (Temp/logo.obj) go to the test's own folder.
struct UserFolderTest : TempFolderTest {
  void SetUp() override {
    TempFolderTest::SetUp();
    SetUserPathResolver([this](const std::string& relative) { return Path(relative.c_str()); });
  }
  void TearDown() override {
    SetUserPathResolver(nullptr);
    TempFolderTest::TearDown();
  }
};

struct ObjectTools : UserFolderTest {
  GeneralPenSaver savedPen;
  SimplePen pen;
  ToolTable table;
  ToolRouter router{table};
  comms::cFreeViewer cam;
  VolumeObject volume;
  VoxelSculptTool* tool = nullptr;
  UndoTestFolder undoFolder;
  UndoStack stack{undoFolder.Path};
  std::vector<FileQuestion> asked;
  int records = 0;

  void SetUp() override {
    UserFolderTest::SetUp();
    GeneralPen::CurrentPenPtr = &pen;
    GeneralPen::PenRadius = 30.f;
    cam.ViewRect = comms::cRect{0, 0, 640, 480};
    cam.SetHome(comms::cVec3(0, 0, 0), 100.f, comms::cQuat());
    tool = CurrentVoxelTool(table);
    ASSERT_NE(tool, nullptr);
    FillVolume(volume, SphereShape(0, 0, 0, 28));
    volume.UpdateSurface();
    volume.DropUndoCopies();
    tool->SetScene(&volume, &cam);
    stack.FreeBytes = [] { return (int64_t)1 << 40; };
    stack.RegisterUndoMaker(
        std::make_unique<Volume_Undo>(stack, [this] { return std::vector<VolumeObject*>{&volume}; }));
    tool->OnStrokeEnd = [this](VolumeObject& v) { ++records, PushVolumeUndo(stack, {&v}, tool->Mode); };
    tool->OnMergeEnd = [this](const std::vector<VolumeObject*>& v) { ++records, PushVolumeUndo(stack, v, tool->Mode); };
  }
  void TearDown() override {
    Pointer() = ToolPointer();
    UserFolderTest::TearDown();
  }
  // Every question is answered with the next of `answers` (or left open).
  void Answer(std::vector<std::string> answers) {
    tool->AskFile = [this, answers, next = size_t(0)](const FileQuestion& q,
                                                      std::function<void(const std::string&)> then) mutable {
      asked.push_back(q);
      if (next < answers.size()) then(answers[next++]);
    };
  }
  void Click(float x = 320, float y = 240) { DragThrough(router, table, {{x, y}}); }
  // The shell hands keys to the current tool.
  bool Enter() { return table.CurrentTool()->OnKey(keys::Enter); }
};

TEST_F(ObjectTools, LogoAsksForAPictureAndHandsItsReliefToTheMergeTool) {
  ASSERT_TRUE(tool->SelectMode(SCULPT_LOGO));
  EXPECT_STREQ(tool->GetSecondHintId(), "SCULPT_LOGO");
  const VolumeSnapshot start = Snapshot(volume);
  std::filesystem::remove(LogoObjPath());
  Answer({LogoQuestion().DefaultPath});
  Click();
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_EQ(asked[0].Types, "tga,bmp,png,jpg - files");
  EXPECT_EQ(asked[0].Masks, "*.tga;*.bmp;*.png;*.jpg");
  EXPECT_EQ(asked[0].FolderKey, "PICKIMG");
  EXPECT_TRUE(std::filesystem::exists(asked[0].DefaultPath)) << asked[0].DefaultPath;
  EXPECT_EQ(tool->Mode, SCULP_MERGE);
  ASSERT_TRUE(tool->Merge.Mesh());
  EXPECT_EQ(LogoObjPath(), Path("Temp/logo.obj"));
  EXPECT_TRUE(std::filesystem::exists(LogoObjPath()));
  EXPECT_TRUE(Snapshot(volume) == start) << "holding the relief changes nothing yet";

  // Placed small over the sphere's front and merged.
  tool->Merge.Settings.MergeScale = 0.15f;
  tool->Merge.Settings.ShiftZ = 28;
  Enter();
  const VolumeSnapshot merged = Snapshot(volume);
  EXPECT_GT(InsideCount(volume), 0);
  EXPECT_TRUE(merged != start);
  ExpectClosed(Surface(volume));
  // Cells behind the sphere's centre are out of the relief's reach.
  for (const auto& [key, values] : start)
    if (std::get<2>(key) < -1) {
      EXPECT_TRUE(merged.at(key) == values);
    }
  ASSERT_EQ(records, 1);
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(Snapshot(volume) == start);
}

TEST_F(ObjectTools, LogoQuestionCancelledOrUnreadableLeavesEverything) {
  ASSERT_TRUE(tool->SelectMode(SCULPT_LOGO));
  Answer({});
  Click();
  EXPECT_EQ(asked.size(), 1u);
  EXPECT_EQ(tool->Mode, SCULPT_LOGO);
  EXPECT_FALSE(tool->Merge.Mesh());
  std::ofstream(Path("broken.png")) << "not a picture";
  Answer({Path("broken.png")});
  Click();
  EXPECT_EQ(tool->Mode, SCULPT_LOGO);
  EXPECT_FALSE(tool->Merge.Mesh());
  EXPECT_EQ(records, 0);
}

TEST_F(ObjectTools, TextOfThePanelBecomesTheMergeToolsMesh) {
  if (!std::filesystem::exists(DefaultTextFont())) GTEST_SKIP() << "no DejaVu font";
  ASSERT_TRUE(tool->SelectMode(SCULP_TEXT));
  tool->Settings.ReliefText = "Fg";
  tool->Settings.TextThickness = 12;
  const VolumeSnapshot start = Snapshot(volume);
  Enter();
  EXPECT_EQ(tool->Mode, SCULP_MERGE);
  ASSERT_TRUE(tool->Merge.Mesh());
  EXPECT_TRUE(asked.empty()) << "the text asks for no file";
  // Wider than high and as thick as asked, relative to the em.
  float lo[3] = {1e9f, 1e9f, 1e9f}, hi[3] = {-1e9f, -1e9f, -1e9f};
  for (const auto& p : tool->Merge.Mesh()->positions) {
    const float q[3] = {p.x, p.y, p.z};
    for (int a = 0; a < 3; ++a) lo[a] = std::min(lo[a], q[a]), hi[a] = std::max(hi[a], q[a]);
  }
  EXPECT_GT(hi[0] - lo[0], hi[1] - lo[1]);
  float em = 0;
  FlatFigure f;
  ASSERT_TRUE(TextFigure("Fg", DefaultTextFont(), f, em, nullptr));
  float ylo = 1e9f, yhi = -1e9f;
  for (size_t i = 1; i < f.XY.size(); i += 2) ylo = std::min(ylo, f.XY[i]), yhi = std::max(yhi, f.XY[i]);
  EXPECT_NEAR((hi[2] - lo[2]) / (hi[1] - lo[1]), 12 / (yhi - ylo), 1e-3);

  tool->Merge.Settings.MergeScale = 0.12f;
  tool->Merge.Settings.ShiftZ = 27;
  Click();
  const VolumeSnapshot merged = Snapshot(volume);
  EXPECT_TRUE(merged != start);
  ExpectClosed(Surface(volume));
  for (const auto& [key, values] : start)
    if (std::get<2>(key) < -1) {
      EXPECT_TRUE(merged.at(key) == values) << "a cell behind the sphere's centre changed";
    }
  ASSERT_EQ(records, 1);
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(Snapshot(volume) == start);
}

namespace {
const char* const kSketchPictures[3] = {"front.png", "side.png", "top.png"};

// A disk, a bar and a wedge, odd sizes, bright on dark, in the test's folder.
void WriteSketchPictures(TempFolderTest& folder) {
  const int sizes[3][2] = {{31, 27}, {25, 33}, {29, 23}};
  for (int s = 0; s < 3; ++s) {
    comms::cImage p;
    p.Create(sizes[s][0], sizes[s][1], 3);
    for (int y = 0; y < p.height; ++y)
      for (int x = 0; x < p.width; ++x) {
        const bool in = s == 0   ? std::hypot(x - 13.f, y - 14.f) < 9
                        : s == 1 ? (x > 5 && x < 20 && y > 3)
                                 : (x > 3 && y > 4 && x + y < 32);
        if (in) p.data[(size_t(y) * p.width + x) * 3 + 1] = 255;
      }
    ASSERT_TRUE(comms::cIO::SaveImage(folder.Path(kSketchPictures[s]), p));
  }
}

// The largest x of a lattice point inside the solid.
int RightmostInside(VolumeObject& v) {
  int right = -1000000;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    for (int z = 0; z < 8; ++z)
      for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
          if (OldValue(c, LatticeIndex(x, y, z)) >= kSurfaceLevel) right = std::max(right, k.x * 8 + x);
  });
  return right;
}
}  // namespace

TEST_F(ObjectTools, SketchAsksForThreePicturesAndMergesTheirSolid) {
  WriteSketchPictures(*this);
  const char* const* names = kSketchPictures;
  ASSERT_TRUE(tool->SelectMode(SCULP_SKETCH));
  tool->Settings.SketchPreSmoothSteps = 2;
  const VolumeSnapshot start = Snapshot(volume);
  Answer({Path(names[0]), Path(names[1]), Path(names[2])});
  // Off the volume: the solid stands at the origin, around the sphere.
  Click(5, 5);
  ASSERT_EQ(asked.size(), 3u);
  EXPECT_EQ(asked[0].TitleKey, "SKETCH_FRONT");
  EXPECT_EQ(asked[1].TitleKey, "SKETCH_SIDE");
  EXPECT_EQ(asked[2].TitleKey, "SKETCH_TOP");
  EXPECT_EQ(tool->Mode, SCULP_SKETCH);
  const VolumeSnapshot made = Snapshot(volume);
  EXPECT_TRUE(made != start);
  EXPECT_GT(InsideCount(volume), 0);
  ExpectClosed(Surface(volume));
  ASSERT_EQ(records, 1);
  // The same solid again adds nothing and records nothing.
  Enter();
  EXPECT_TRUE(Snapshot(volume) == made);
  EXPECT_EQ(records, 1);
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(Snapshot(volume) == start);
  EXPECT_EQ(asked.size(), 3u) << "the pictures are kept for the next press";
}

TEST_F(ObjectTools, SketchTakesItsSizeFromThePanel) {
  WriteSketchPictures(*this);
  ASSERT_TRUE(tool->SelectMode(SCULP_SKETCH));
  tool->Settings.SketchPreSmoothSteps = 2;
  Answer({Path(kSketchPictures[0]), Path(kSketchPictures[1]), Path(kSketchPictures[2])});
  int right[2];
  const float sizes[2] = {160, 320};
  for (int i = 0; i < 2; ++i) {
    volume.ClearVoxels();
    tool->Settings.SketchSize = sizes[i];
    if (i == 0)
      Click(5, 5);
    else
      ASSERT_TRUE(Enter());
    right[i] = RightmostInside(volume);
    ASSERT_GT(right[i], 0);
  }
  EXPECT_EQ(asked.size(), 3u) << "a new size measures the same pictures again";
  // Twice the size, twice as far out (within the band and the pictures' pixels).
  EXPECT_NEAR(right[1], 2.0 * right[0], 0.15 * right[0]) << right[0] << " " << right[1];
  EXPECT_TRUE(VoxelSettingUsedBy("SketchSize", SCULP_SKETCH));
  EXPECT_FALSE(VoxelSettingUsedBy("SketchSize", SCULPT_LOGO));
}

TEST_F(ObjectTools, PanelShowsEachToolsOwnSettings) {
  EXPECT_TRUE(VoxelSettingUsedBy("ReliefText", SCULP_TEXT));
  EXPECT_TRUE(VoxelSettingUsedBy("TextThickness", SCULP_TEXT));
  EXPECT_FALSE(VoxelSettingUsedBy("ReliefText", SCULP_SKETCH));
  EXPECT_TRUE(VoxelSettingUsedBy("SketchSoftness", SCULP_SKETCH));
  EXPECT_TRUE(VoxelSettingUsedBy("SketchPreSmoothSteps", SCULP_SKETCH));
  EXPECT_FALSE(VoxelSettingUsedBy("SketchSoftness", SCULPT_LOGO));
  for (int mode : {SCULPT_LOGO, SCULP_SKETCH, SCULP_TEXT}) EXPECT_TRUE(FindVoxMode(mode)->Available);
}

std::string ReadText(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  std::stringstream s;
  s << f.rdbuf();
  return s.str();
}

struct ObjectReplay : UserFolderTest {
  // The volume a script leaves with `threads` worker threads.
  VolumeSnapshot Run(const std::string& script, int threads) {
    VolumeObject v;
    const ReplayResult r = RunReplayScript("threads " + std::to_string(threads) + "\n" + script, v);
    EXPECT_EQ(r.Line, 0) << r.Error;
    ExpectClosed(Surface(v));
    return Snapshot(v);
  }
};

TEST_F(ObjectReplay, EachToolGivesTheSameBytesOnOneAndTwoThreads) {
  const std::string head = ReadText(comms::DataFilePath("Replays/sphere.txt"));
  ASSERT_FALSE(head.empty());
  // Pictures for the sketch, drawn here; the logo is the shipped sample.
  comms::cImage p;
  p.Create(21, 17, 1);
  for (int y = 2; y < 15; ++y)
    for (int x = 3; x < 13 + y / 3; ++x) p.data[size_t(y) * 21 + x] = 255;
  ASSERT_TRUE(comms::cIO::SaveImage(Path("s.png"), p));
  const std::string s = Path("s.png");
  const std::string tools[] = {
      "logo ToolsPresets/LogoSample.bmp 0.15 0 0 55\n",
      "text 10 0.15 0 10 55 Fg\n",
      "sketch " + s + " " + s + " " + s + " 150 3 1\n",
  };
  for (const std::string& base : {std::string("sphere 40\n"), head}) {
    const VolumeSnapshot before = Run(base, 2);
    for (const std::string& t : tools) {
      const VolumeSnapshot one = Run(base + t, 1), two = Run(base + t, 2);
      EXPECT_TRUE(one == two) << t;
      EXPECT_TRUE(one != before) << t << " changed nothing";
    }
  }
}

TEST_F(ObjectReplay, TheShippedObjectsScriptRunsClean) {
  const std::string text = ReadText(comms::DataFilePath("Replays/objects.txt"));
  ASSERT_FALSE(text.empty());
  VolumeObject v;
  const ReplayResult r = RunReplayScript(text, v);
  EXPECT_EQ(r.Line, 0) << r.Error;
  const MeshTopology t = Surface(v);
  ExpectClosed(t);
  // The sphere with the logo on it, the text above it and the pawn apart.
  EXPECT_GT(t.faces, 20000);
}

TEST_F(ObjectReplay, BadCommandsNameTheirLine) {
  for (const char* bad :
       {"sphere 20\nlogo\n", "sphere 20\nlogo nosuch.png 1\n", "sphere 20\nlogo ToolsPresets/LogoSample.bmp 0\n",
        "sphere 20\ntext 10 1 0 0\n", "sphere 20\ntext 10 1 0 0 0\n", "sphere 20\nsketch a b\n",
        "sphere 20\nsketch a.png b.png c.png 90\n", "sphere 20\nlogo ToolsPresets/LogoSample.bmp 1 2\n",
        "sphere 20\nsketch a.png b.png c.png 90 2 0 1 2\n"}) {
    VolumeObject v;
    const ReplayResult r = RunReplayScript(bad, v);
    EXPECT_EQ(r.Line, 2) << bad;
    EXPECT_FALSE(r.Error.empty()) << bad;
  }
}

}  // namespace
