// The whole program on the fake platform, drawn through EGL: a long
// operation's box and the autosave countdown show in the view, a changed
// scene makes closing ask first, and files handed over on the command line
// or through Exchange/import.txt reach the scene commands, which say plainly
// what cannot be done yet and name the file; scene files save and open with
// their volume, by the recent list, a drop and the open command; a mouse
// stroke in the window leaves the same samples as the same stroke headless.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "ClassEngine/UserPaths.h"
#include "MC/adjust/AdjustHandlers.h"
#include "MC/brushes/VoxelModes.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/render/RenderTool.h"
#include "MC/render/VolumeRender.h"
#include "MC/tree/VoxVisualTree.h"
#include "shell/tools/ToolTable.h"
#include "ShellFixture.h"
#include "interchange/IO.h"
#include "interface/AppOptions.h"
#include "interface/OptionsFile.h"
#include "interface/VoxTreePanel.h"
#include "interface/WidgetTree.h"
#include "paint/SceneChanges.h"
#include "paint/file/SceneFile.h"
#include "render/EglContext.h"
#include "paint/scene/PaintScene.h"
#include "paint/GeneralPen.h"
#include "paint/raster/TargetColorMap.h"
#include "paint/scene/SceneImport.h"
#include "paint/stroke/PaintDabs.h"
#include "paint/tools/PaintBrushTools.h"
#include "interchange/TestFiles.h"
#include "paint/undo/UndoStack.h"
#include "platform/Keys.h"
#include "shell/PaintRoom.h"
#include "shell/Program.h"
#include "shell/SceneCommands.h"
#include "shell/Viewport.h"

namespace {
constexpr int kW = 640, kH = 400;

class ProgramSeams : public ShellTest {
 protected:
  void SetUp() override {
    ShellTest::SetUp();
    std::string why;
    if (!comms::cEglContext::Create(8, 8, &why)) GTEST_SKIP() << "no headless GL context: " << why;
    ChangedSinceSave = 0;
  }
  void TearDown() override {
    program_.reset();
    SetDefaultOptions();
    ChangedSinceSave = 0;
    ShellTest::TearDown();
  }
  Program& Run(const std::string& commandLine = "", int width = kW, int height = kH) {
    fake.SetClientSize(width, height);
    ProgramMode mode;
    mode.offscreen = true;
    mode.askInWindow = false;
    program_ = std::make_unique<Program>(fake, mode);
    StartOptions o;
    o.installCrashHandler = false;
    o.commandLine = commandLine;
    EXPECT_TRUE(program_->Start(o));
    return *program_;
  }
  // The last frame, bottom row first.
  comms::cImage Frame() {
    comms::cImage image;
    const std::string path = (dir_ / "frame.png").string();
    EXPECT_EQ(program_->View().WriteScreenshot(path), path);
    EXPECT_TRUE(comms::cIO::LoadImage(path, image));
    return image;
  }
  // One frame, `ms` after the last.
  void Tick(int ms) {
    fake.AdvanceTick(uint32_t(ms));
    program_->TheShell().RunFrames(1);
  }
  // A left-button mouse event at (x, y), then two frames.
  void Mouse(PlatformEvent::Type type, float x, float y) {
    PlatformEvent e;
    e.type = type;
    e.key = keys::LeftButton;
    e.x = int(x), e.y = int(y);
    fake.Push(e);
    program_->TheShell().RunFrames(2);
  }
  const SystemDialog* DialogSaying(const std::string& words) {
    for (const SystemDialog& d : fake.DialogsShown())
      if (d.text.find(words) != std::string::npos) return &d;
    return nullptr;
  }
  std::unique_ptr<Program> program_;
};
}  // namespace

TEST_F(ProgramSeams, LongOperationShowsItsBoxWithTheBarHalfway) {
  Program& p = Run();
  p.TheShell().RunFrames(2);
  ASSERT_TRUE(p.TheShell().ProgressBar(50, 100, "LOADING_PROGRESS"));
  const comms::cImage image = Frame();
  long green = 0;
  int minX = kW, maxX = 0;
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x) {
      const uint8_t* c = image.Pixel(x, y);
      if (c[1] > 220 && c[0] < 40 && c[2] < 40) {
        ++green;
        minX = std::min(minX, x), maxX = std::max(maxX, x);
      }
    }
  EXPECT_GT(green, 800) << "no green bar";
  EXPECT_NEAR(maxX, kW / 2, 6) << "half done: the bar ends in the middle";
  EXPECT_LT(minX, kW / 2 - 100);
  EXPECT_NE(p.TheShell().Window().Title().find("50%"), std::string::npos);
}

TEST_F(ProgramSeams, AutosaveCountdownShowsInTheView) {
  // Wide enough that the tool panel leaves the middle of the view free.
  constexpr int w = 1280, h = 720;
  Program& p = Run("", w, h);
  // Through the options, as the dialog would set them.
  AppOptions::Autosave = true;
  AppOptions::AutosaveTime = 1;
  ASSERT_TRUE(SaveOptions());
  ASSERT_TRUE(p.TheShell().Autosave().Autosave);
  ChangedSinceSave = 1;
  for (int i = 0; i < 45; ++i) Tick(1000);  // 45 s of frames
  const comms::cImage image = Frame();
  long red = 0;
  for (int y = 96; y < 120; ++y)
    for (int x = w / 2 - 30; x < w / 2 + 120; ++x) {
      const uint8_t* c = image.Pixel(x, h - 1 - y);
      red += c[0] > c[1] + 40 && c[0] > c[2] + 40;
    }
  EXPECT_GT(red, 30) << "no countdown text at y = 100";
}

TEST_F(ProgramSeams, ClosingAChangedSceneAsksFirst) {
  Program& p = Run();
  p.TheShell().RunFrames(2);
  EXPECT_TRUE(p.TheShell().CanClose()) << "nothing changed: leaves at once";
  EXPECT_TRUE(fake.DialogsShown().empty());

  ChangedSinceSave = 1;  // a stroke
  fake.AnswerDialogs({2});  // Cancel
  EXPECT_FALSE(p.TheShell().CanClose());
  ASSERT_EQ(fake.DialogsShown().size(), 1u);
  EXPECT_EQ(fake.DialogsShown()[0].text, "Save the changes to the scene before closing?");
  EXPECT_EQ(fake.DialogsShown()[0].title, "Leaving Morvane");
  fake.AnswerDialogs({1});  // No
  EXPECT_TRUE(p.TheShell().CanClose());
}

TEST_F(ProgramSeams, FilesHandedOverReachTheSceneCommands) {
  Program& p = Run("\"/models/bust.obj\"");
  p.TheShell().RunFrames(5);  // the command line waits for the fourth frame
  const SystemDialog* d = DialogSaying("could not be imported");
  ASSERT_NE(d, nullptr);
  EXPECT_NE(d->text.find("/models/bust.obj"), std::string::npos) << d->text;

  std::ofstream(Home("Exchange/import.txt")) << "/models/from-another-program.stl\n";
  for (int i = 0; i < 3; ++i) Tick(600);
  EXPECT_NE(DialogSaying("/models/from-another-program.stl"), nullptr);
  EXPECT_FALSE(std::filesystem::exists(Home("Exchange/import.txt")));

  // Once a room takes meshes, the same road leads there.
  std::vector<std::string> imported;
  SceneCommands saved = TheSceneCommands();
  TheSceneCommands().ImportMesh = [&](const std::string& path, CommandLineDecision::Action) {
    imported.push_back(path);
    return true;
  };
  std::ofstream(Home("Exchange/import.txt")) << "/models/next.ply";
  for (int i = 0; i < 3; ++i) Tick(600);
  TheSceneCommands() = saved;
  ASSERT_EQ(imported.size(), 1u);
  EXPECT_EQ(imported[0], "/models/next.ply");
}

TEST_F(ProgramSeams, AnImportedMeshOpensThePaintRoomAndAFailedOneKeepsIt) {
  // A bent sheet of quads: two faces folded along x = 1.
  const std::string mesh = Home("fold.obj");
  std::ofstream(mesh) << "v 0 0 0\nv 1 0 0\nv 2 0 -0.5\nv 0 1 0\nv 1 1 0\nv 2 1 -0.5\n"
                         "f 1 2 5 4\nf 2 3 6 5\n";
  Program& p = Run("\"" + mesh + "\"");
  p.TheShell().RunFrames(6);
  EXPECT_TRUE(fake.DialogsShown().empty());
  ASSERT_TRUE(PaintRoomIsCurrent(Tools()));
  ASSERT_EQ(ThePaintScene().Faces.size(), 2u);
  const comms::cImage shown = Frame();
  // A file that is not there: said plainly, and the scene and room stay.
  EXPECT_FALSE(RunFileCommand({CommandLineDecision::Action::ImportPaintMesh, "/models/missing.obj"}));
  EXPECT_NE(DialogSaying("/models/missing.obj"), nullptr);
  EXPECT_EQ(ThePaintScene().Faces.size(), 2u);
  EXPECT_TRUE(PaintRoomIsCurrent(Tools()));
  p.TheShell().RunFrames(2);
  const comms::cImage again = Frame();
  ASSERT_EQ(again.data.size(), shown.data.size());
  EXPECT_EQ(again.data, shown.data);
  ThePaintScene().ResetScene(true);
}

TEST_F(ProgramSeams, AStrokeOfTheMouseOverThePaintMeshPaintsItAndCtrlZTakesItBack) {
  const std::string mesh = Home("plate.obj");
  std::ofstream(mesh) << "v -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\nf 1 2 3 4\n";
  Program& p = Run("\"" + mesh + "\"", 1280, 720);
  p.TheShell().RunFrames(6);
  ASSERT_TRUE(PaintRoomIsCurrent(Tools()));
  ASSERT_EQ(ThePaintScene().Faces.size(), 1u);
  // From the plate's left samples to its right ones, a pen narrower than
  // the samples' spacing: only a stroke that follows the mouse reaches both.
  const comms::cVec3 from = p.View().Camera().ProjectToView(comms::cVec3(-0.75f, -0.75f, 0));
  const comms::cVec3 to = p.View().Camera().ProjectToView(comms::cVec3(0.75f, -0.75f, 0));
  const float radius = GeneralPen::PenRadius;
  GeneralPen::PenRadius = std::fabs(to.x - from.x) / 12;
  Mouse(PlatformEvent::Type::MouseMove, from.x, from.y);
  Mouse(PlatformEvent::Type::ButtonDown, from.x, from.y);
  for (int i = 1; i <= 20; i++)
    Mouse(PlatformEvent::Type::MouseMove, from.x + (to.x - from.x) * i / 20, from.y + (to.y - from.y) * i / 20);
  Mouse(PlatformEvent::Type::ButtonUp, to.x, to.y);
  GeneralPen::PenRadius = radius;
  const PaintFace& f = ThePaintScene().Faces[0];
  auto painted = [&](int i) { return f.Grid[i].Color != 0x00808080u || f.Grid[i].Position.z != 0; };
  EXPECT_TRUE(painted(0)) << "where the stroke began";
  EXPECT_TRUE(painted(3)) << "where it ended";
  EXPECT_FALSE(painted(15)) << "far from it";
  // The title marks the change; Ctrl+Z takes the stroke back, Ctrl+Y brings it again.
  EXPECT_NE(fake.Title().find('*'), std::string::npos) << fake.Title();
  auto key = [&](int k, bool down) {
    PlatformEvent e;
    e.type = down ? PlatformEvent::Type::KeyDown : PlatformEvent::Type::KeyUp;
    e.key = k;
    fake.Push(e);
    p.TheShell().RunFrames(1);
  };
  auto ctrl = [&](char letter) {
    key(keys::Control, true);
    key(keys::A + (letter - 'A'), true);
    key(keys::A + (letter - 'A'), false);
    key(keys::Control, false);
  };
  EXPECT_EQ(TheUndoStack().UndoPosition, 1) << TheUndoStack().LastError();
  ctrl('Z');
  EXPECT_EQ(TheUndoStack().UndoPosition, 0);
  EXPECT_FALSE(painted(0)) << "after Ctrl+Z";
  EXPECT_FALSE(painted(3)) << "after Ctrl+Z";
  ctrl('Y');
  EXPECT_TRUE(painted(0)) << "after Ctrl+Y";
  EXPECT_TRUE(painted(3)) << "after Ctrl+Y";
  ThePaintScene().ResetScene(true);
}

// The window's road (mouse events, the router, the pen tool, its spacer and
// picks, frames drawn between moves) against the headless one (the stroke's
// hits handed straight to the dabs) on minetest's boat: the same samples and
// the same composed colour map, byte for byte.
TEST_F(ProgramSeams, AStrokeInTheWindowPaintsWhatItPaintsHeadless) {
  const std::string boat = "/usr/share/games/minetest/games/minetest_game/mods/boats/models/boats_boat.obj";
  if (!testfiles::Installed(boat)) GTEST_SKIP() << "minetest-data is not installed (scripts/deps.sh --tests)";
  GeneralPenSaver keep;
  GeneralPen::DrawColor = GeneralPen::DrawDepth = true;
  GeneralPen::Color[0] = 0.9f, GeneralPen::Color[1] = 0.2f, GeneralPen::Color[2] = 0.1f;
  GeneralPen::ColorOpacity = 0.8f;
  Program& p = Run("\"" + boat + "\"", 1280, 720);
  p.TheShell().RunFrames(6);
  ASSERT_TRUE(PaintRoomIsCurrent(Tools()));
  PaintBrushTool* pen = FindPaintTool(Tools(), "StdPen");
  ASSERT_NE(pen, nullptr);
  StrokeRecord record;
  pen->Recording = &record;
  // Across the middle of the framed boat, left to right.
  PaintScene& scene = ThePaintScene();
  const comms::cVec3 lo(scene.Bounds.Min[0], scene.Bounds.Min[1], scene.Bounds.Min[2]);
  const comms::cVec3 hi(scene.Bounds.Max[0], scene.Bounds.Max[1], scene.Bounds.Max[2]);
  const comms::cVec3 mid = (lo + hi) * 0.5f;
  const comms::cVec3 a = p.View().Camera().ProjectToView(mid), b = p.View().Camera().ProjectToView(hi);
  const float from = a.x - std::fabs(b.x - a.x) * 0.6f, to = a.x + std::fabs(b.x - a.x) * 0.6f;
  // However large the boat shows, the pen covers a good part of it.
  GeneralPen::PenRadius = std::max(4.0f, std::fabs(b.x - a.x) * 0.5f);
  Mouse(PlatformEvent::Type::MouseMove, from, a.y);
  Mouse(PlatformEvent::Type::ButtonDown, from, a.y);
  for (int i = 1; i <= 16; i++) Mouse(PlatformEvent::Type::MouseMove, from + (to - from) * i / 16, a.y + 3 * (i % 3));
  Mouse(PlatformEvent::Type::ButtonUp, to, a.y);
  pen->Recording = nullptr;
  ASSERT_GE(record.Hits.size(), 10u) << "the stroke should cross the boat";
  // Headless: the same import and the same hits on a scene of its own.
  PaintScene headless, untouched;
  ASSERT_TRUE(ImportMeshFile(headless, boat, PaintImportMode::MicroVertex, DPSettings()).ok);
  ASSERT_TRUE(ImportMeshFile(untouched, boat, PaintImportMode::MicroVertex, DPSettings()).ok);
  PaintDabs dabs(headless);
  dabs.Replay(record);
  ASSERT_EQ(headless.Faces.size(), scene.Faces.size());
  int painted = 0, differ = 0;
  for (size_t f = 0; f < scene.Faces.size(); f++) {
    const PaintFace &w = scene.Faces[f], &h = headless.Faces[f], &u = untouched.Faces[f];
    ASSERT_EQ(w.SampleCount(), h.SampleCount());
    for (int i = 0; i < w.SampleCount(); i++) {
      const MicroVertex &x = w.Grid[i], &y = h.Grid[i];
      differ += x.Color != y.Color || x.Opacity != y.Opacity || std::memcmp(&x.Position, &y.Position, sizeof x.Position) ||
                std::memcmp(&x.Normal, &y.Normal, sizeof x.Normal);
      painted += x.Color != u.Grid[i].Color;
    }
  }
  EXPECT_EQ(differ, 0);
  EXPECT_GT(painted, 20) << "the stroke should paint: " << record.Hits.size() << " hits";
  comms::cImage shown, replayed;
  ASSERT_TRUE(ComposedColorMap(scene, 0, shown));
  ASSERT_TRUE(ComposedColorMap(headless, 0, replayed));
  ASSERT_EQ(shown.data.size(), replayed.data.size());
  EXPECT_TRUE(shown.data == replayed.data);
  scene.ResetScene(true);
}

TEST_F(ProgramSeams, SceneFileThatCannotBeReadSaysWhyAndKeepsTheScene) {
  Program& p = Run("/scenes/head.mvn");
  VolumeObject* before = p.View().Volume();
  p.TheShell().RunFrames(5);
  const SystemDialog* d = DialogSaying("could not be opened");
  ASSERT_NE(d, nullptr);
  EXPECT_NE(d->text.find("/scenes/head.mvn"), std::string::npos);
  EXPECT_EQ(p.View().Volume(), before);
}

TEST_F(ProgramSeams, SavedSceneComesBackWithItsVolumeByRecentDropAndOpen) {
  Program& p = Run();
  p.TheShell().RunFrames(2);
  // Cells with something in them: empty ones are not written.
  auto filled = [](VolumeObject* v) {
    int n = 0;
    v->Cells.ForEach([&](const CellKey&, VoxelCell*& c) { n += c->Fill != 0 || c->Voxels; });
    return n;
  };
  const int cells = filled(p.View().Volume());
  ASSERT_GT(cells, 100);
  ChangedSinceSave = 1;
  ASSERT_TRUE(TheSceneCommands().SaveAs());
  EXPECT_EQ(ChangedSinceSave, 0);
  const std::string saved = TheSceneCommands().LastRecentFile();
  ASSERT_TRUE(std::filesystem::exists(saved)) << saved;
  EXPECT_NE(saved.find("untitled.mvn"), std::string::npos) << saved;
  // Save incremental: the next number beside it.
  ASSERT_TRUE(TheSceneCommands().SaveIncremental());
  const std::string next = TheSceneCommands().LastRecentFile();
  EXPECT_EQ(next, IncrementalName(saved));
  EXPECT_TRUE(std::filesystem::exists(next));
  program_.reset();

  // -recent opens the newest entry, and its volume replaces the start scene's.
  Program& q = Run("-recent");
  VolumeObject* start = q.View().Volume();
  q.TheShell().RunFrames(5);
  EXPECT_NE(q.View().Volume(), start);
  EXPECT_EQ(q.View().Volume()->CellCount(), cells);
  EXPECT_EQ(filled(q.View().Volume()), cells);

  // Opening over work that no file has asks first; Cancel keeps everything.
  ChangedSinceSave = 1;
  fake.AnswerDialogs({2});
  VolumeObject* kept = q.View().Volume();
  EXPECT_FALSE(LoadSceneFile(saved, false));
  EXPECT_NE(DialogSaying("before opening another"), nullptr);
  EXPECT_EQ(q.View().Volume(), kept);
  EXPECT_EQ(ChangedSinceSave, 1);
  // No: the file opens and the scene is as saved.
  fake.AnswerDialogs({1});
  EXPECT_TRUE(LoadSceneFile(saved, false));
  EXPECT_EQ(ChangedSinceSave, 0);
  EXPECT_NE(q.View().Volume(), kept);
  // A dropped scene file takes the same road.
  PlatformEvent drop;
  drop.type = PlatformEvent::Type::FileDropped;
  drop.text = next;
  kept = q.View().Volume();
  fake.Push(drop);
  q.TheShell().RunFrames(2);
  EXPECT_NE(q.View().Volume(), kept);
  EXPECT_EQ(TheSceneCommands().LastRecentFile(), next);
}

TEST_F(ProgramSeams, EveryVolumeOfTheLayerTreeIsSavedAndTheTreeComesBack) {
  Program& p = Run();
  p.TheShell().RunFrames(2);
  VoxVisualTree* tree = p.View().Tree();
  ASSERT_NE(tree, nullptr);
  VoxTreeBranch* first = tree->BranchOf(p.View().Volume());
  ASSERT_NE(first, nullptr);
  VoxTreeBranch* child = tree->AddVolume(first, nullptr, "Ear");
  FillVolume(*child->Volume, SphereShape(70, 0, 0, 12));
  child->Visible = false;
  tree->MakeCurrent(first);
  const std::string saved = (std::filesystem::temp_directory_path() / "morvane-layer-tree.mvn").string();
  ASSERT_TRUE(TheSceneCommands().SaveScene(saved));
  program_.reset();

  Program& q = Run(saved);
  q.TheShell().RunFrames(5);
  VoxVisualTree* back = q.View().Tree();
  ASSERT_NE(back, nullptr);
  ASSERT_EQ(back->VolumeList.size(), 2u);
  VoxTreeBranch* ear = back->FindByName("Ear");
  ASSERT_NE(ear, nullptr);
  EXPECT_FALSE(ear->Visible);
  EXPECT_EQ(ear->ParentBranch, back->BranchOf(q.View().Volume())) << "the ear hangs on the first volume";
  EXPECT_GE(ear->Volume->GetVoxel(70, 0, 0), kSurfaceLevel);
  EXPECT_EQ(back->VisibleVolumes().size(), 1u);
  std::filesystem::remove(saved);
}

TEST_F(ProgramSeams, RenderRoomShowsItsRefiningPicture) {
  Program& p = Run();
  p.TheShell().RunFrames(2);
  auto* tool = dynamic_cast<RenderTool*>(Tools().FindTool("RenderTool"));
  ASSERT_NE(tool, nullptr) << "the render room runs the render tool";
  const std::string before = (std::filesystem::temp_directory_path() / "morvane-render-before.png").string();
  const std::string after = (std::filesystem::temp_directory_path() / "morvane-render-after.png").string();
  Tools().SetCurrentTool("RenderTool");
  p.TheShell().RunFrames(2);
  ASSERT_EQ(p.View().WriteScreenshot(before), before);
  tool->IncrementalRender = true;
  tool->Params.MaxRenederSteps = 3;
  p.TheShell().RunFrames(6);
  ASSERT_NE(tool->Incremental(), nullptr);
  EXPECT_EQ(tool->Incremental()->Rays(), 3);
  EXPECT_TRUE(tool->Incremental()->OnDevice()) << "the frames are summed on the graphics card";
  ASSERT_EQ(p.View().WriteScreenshot(after), after);
  comms::cImage a, b;
  ASSERT_TRUE(comms::cIO::LoadImage(before, a));
  ASSERT_TRUE(comms::cIO::LoadImage(after, b));
  EXPECT_NE(a.data, b.data) << "the picture stands in place of the view";
  if (const char* dir = std::getenv("MORVANE_TEST_PICTURES")) std::filesystem::copy_file(after, std::string(dir) + "/render-room-window.png", std::filesystem::copy_options::overwrite_existing);
  std::filesystem::remove(before);
  std::filesystem::remove(after);
}

TEST_F(ProgramSeams, ALayerDeletedFromItsMenuOrMovedByTheGizmoComesBackWithCtrlZ) {
  Program& p = Run("", 1280, 720);
  p.TheShell().RunFrames(2);
  VoxVisualTree* tree = p.View().Tree();
  ASSERT_NE(tree, nullptr);
  VoxTreeBranch* first = tree->BranchOf(p.View().Volume());
  ASSERT_NE(first, nullptr);
  VoxTreeBranch* ear = tree->AddVolume(first, nullptr, "Ear");
  FillVolume(*ear->Volume, SphereShape(70, 0, 0, 12));
  ear->Volume->UpdateSurface();
  ear->Volume->DropUndoCopies();
  tree->MakeCurrent(first);
  const uintptr_t earId = ear->Volume->ObjectId;
  auto key = [&](int k, bool down) {
    PlatformEvent e;
    e.type = down ? PlatformEvent::Type::KeyDown : PlatformEvent::Type::KeyUp;
    e.key = k;
    fake.Push(e);
    p.TheShell().RunFrames(1);
  };
  auto ctrl = [&](char letter) {
    key(keys::Control, true);
    key(keys::A + (letter - 'A'), true);
    key(keys::A + (letter - 'A'), false);
    key(keys::Control, false);
  };
  auto earBack = [&] {
    VoxTreeBranch* b = tree->FindByName("Ear");
    return b && b->ParentBranch == first && b->Volume && b->Volume->ObjectId == earId &&
           b->Volume->GetVoxel(70, 0, 0) >= kSurfaceLevel;
  };

  // The row's menu deletes it; Ctrl+Z brings it back, Ctrl+Y takes it again.
  auto* panel = dynamic_cast<VoxTreePanel*>(TheWidgetTree().Root().FindWidget("VOXEL_LAYERS"));
  ASSERT_NE(panel, nullptr);
  ASSERT_TRUE(panel->OpenMenu(*ear, 10, 10));
  const std::vector<std::string>& words = panel->MenuCommands();
  const auto del = std::find(words.begin(), words.end(), "DelVoxTree");
  ASSERT_NE(del, words.end());
  ASSERT_TRUE(panel->PickMenuItem(int(del - words.begin())));
  p.TheShell().RunFrames(1);
  EXPECT_EQ(tree->FindByName("Ear"), nullptr);
  EXPECT_EQ(tree->VolumeList.size(), 1u);
  EXPECT_EQ(TheUndoStack().UndoPosition, 1) << TheUndoStack().LastError();
  ctrl('Z');
  EXPECT_TRUE(earBack()) << "after Ctrl+Z";
  ctrl('Y');
  EXPECT_EQ(tree->FindByName("Ear"), nullptr) << "after Ctrl+Y";
  ctrl('Z');
  ASSERT_TRUE(earBack()) << "after the second Ctrl+Z";

  // A drag of the gizmo's x arrow moves the volume and the ear; one Ctrl+Z
  // puts both matrices back exactly.
  VoxelSculptTool* tool = FindVoxelTool(Tools());
  ASSERT_NE(tool, nullptr);
  ASSERT_EQ(Tools().CurrentTool(), tool);
  ASSERT_TRUE(tool->SelectMode(SCULPT_TRANSFORM));
  auto* gizmo = dynamic_cast<TransformHandler*>(tool->Handler());
  ASSERT_NE(gizmo, nullptr);
  gizmo->Activate(*tool);
  ear = tree->FindByName("Ear");
  float body[16], earAt[16];
  std::memcpy(body, first->Volume->Transform, sizeof body);
  std::memcpy(earAt, ear->Volume->Transform, sizeof earAt);
  // Along the x arrow as the view shows it, from 60% of its length outwards.
  const comms::cFreeViewer& cam = p.View().Camera();
  const float size = gizmo->Gizmo.WorldSize(cam);
  auto onArrow = [&](float t) { return cam.ProjectToView(gizmo->Gizmo.Centre + comms::cVec3(size * t, 0, 0)); };
  const comms::cVec3 from = onArrow(0.6f), mid = onArrow(0.9f), to = onArrow(1.2f);
  Mouse(PlatformEvent::Type::MouseMove, from.x + 0.5f, from.y + 0.5f);
  Mouse(PlatformEvent::Type::ButtonDown, from.x + 0.5f, from.y + 0.5f);
  Mouse(PlatformEvent::Type::MouseMove, mid.x + 0.5f, mid.y + 0.5f);
  Mouse(PlatformEvent::Type::MouseMove, to.x + 0.5f, to.y + 0.5f);
  Mouse(PlatformEvent::Type::ButtonUp, to.x + 0.5f, to.y + 0.5f);
  EXPECT_GT(first->Volume->Transform[12], body[12] + 1.f);
  EXPECT_GT(ear->Volume->Transform[12], earAt[12] + 1.f);
  EXPECT_EQ(TheUndoStack().UndoPosition, 1) << "the delete's record went with its second undo";
  ctrl('Z');
  EXPECT_EQ(std::memcmp(first->Volume->Transform, body, sizeof body), 0);
  EXPECT_EQ(std::memcmp(ear->Volume->Transform, earAt, sizeof earAt), 0);
  EXPECT_EQ(TheUndoStack().UndoPosition, 0);
}

TEST_F(ProgramSeams, AStillShowsItsPictureGrowingWithTheRaysLineAndStopsOnEsc) {
  Program& p = Run();
  p.TheShell().RunFrames(2);
  auto* tool = dynamic_cast<RenderTool*>(Tools().FindTool("RenderTool"));
  ASSERT_NE(tool, nullptr);
  Tools().SetCurrentTool("RenderTool");
  p.TheShell().RunFrames(2);
  // Pictures go to the user's folder, not to the working one.
  EXPECT_EQ(tool->Folder, UserFilePath("RenderedImages/").substr(0, UserFilePath("RenderedImages/").size() - 1));
  EXPECT_TRUE(std::filesystem::path(tool->Folder).is_absolute()) << tool->Folder;
  const std::filesystem::path folder = std::filesystem::temp_directory_path() / ("morvane-still-" + std::to_string(getpid()));
  tool->Folder = folder.string();
  tool->Params.MaxRenederSteps = 50;
  auto show = tool->ShowProgress;
  ASSERT_TRUE(show) << "the room shows a still while it renders";
  std::vector<std::string> lines;
  const std::string shot = (folder / "window.png").string();
  comms::cImage window, picture;
  tool->ShowProgress = [&](const VolumeRender& pic, const std::string& line) {
    lines.push_back(line);
    EXPECT_TRUE(pic.OnDevice()) << "the window's renderer sums the frames";
    if (pic.Rays() == 3) fake.SetKeyDown(keys::Esc, true);
    const bool stop = show(pic, line);
    if (pic.Rays() == 2) {
      // What the window shows now, beside the picture itself.
      EXPECT_EQ(p.View().WriteScreenshot(shot), shot);
      EXPECT_TRUE(comms::cIO::LoadImage(shot, window));
      pic.Picture(picture, false);
    }
    return stop;
  };
  const std::string file = tool->RenderStill();
  fake.SetKeyDown(keys::Esc, false);
  EXPECT_EQ(lines, (std::vector<std::string>{"Press ESC to stop. Rays: 1", "Press ESC to stop. Rays: 2",
                                             "Press ESC to stop. Rays: 3"}))
      << "Esc stops after the frame it came in";
  EXPECT_TRUE(std::filesystem::exists(file)) << "the picture reached is saved";
  ASSERT_EQ(window.width, picture.width);
  ASSERT_EQ(window.height, picture.height);
  // The window is the picture, but for the line's letters near its top.
  const int w = window.width, h = window.height;
  int lettered = 0, elsewhere = 0;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      int d = 0;
      for (int c = 0; c < 3; ++c) d = std::max(d, std::abs(int(window.Pixel(x, y)[c]) - int(picture.Pixel(x, y)[c])));
      if (d <= 24) continue;
      ++(y >= h * 3 / 4 ? lettered : elsewhere);  // rows go bottom-up: the line's band is at the end
    }
  EXPECT_GT(lettered, 50) << "the rays line is drawn";
  EXPECT_LT(elsewhere, w * h / 1000) << "the rest is the picture; see " << shot;
  if (!HasFailure()) std::filesystem::remove_all(folder);
}
