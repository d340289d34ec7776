// The line, curve, preview and area stroke modes of the pen, driven through
// the tool router:
// a line follows the press and the release, not the drag between them, and is
// previewed until the release; a curve is laid through the clicked points on
// Enter. Both lay their dabs on the path an equal screen step apart (the
// pen's spacing), each path is one undo record, and the stroke stays open for
// the next path until the mode changes. The paths themselves: ends kept, even
// steps, the curve through its nodes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "PaintMeshes.h"
#include "paint/PenShapes.h"
#include "paint/StrokePath.h"
#include "paint/layers/PixelMap.h"
#include "paint/tools/PaintBrushTools.h"
#include "platform/Keys.h"
#include "render/Viewer.h"
#include "shell/tools/ToolRouter.h"

using comms::cVec3;

namespace {

// Samples of the face's current layer painted more than half over.
int PaintedSamples(PaintScene& s, int face) {
  int n = 0;
  FaceLayer* fl = s.GetFaceLayer(face, s.CurrentLayer, false);
  for (int i = 0; fl && i < s.Faces[face].SampleCount(); i++) n += fl->Data[i].Opacity > 0.5f;
  return n;
}

float Dist(ScreenPoint a, ScreenPoint b) { return std::hypot(a.X - b.X, a.Y - b.Y); }

// Distance of p from the segment a-b.
float FromSegment(ScreenPoint p, ScreenPoint a, ScreenPoint b) {
  const float dx = b.X - a.X, dy = b.Y - a.Y, L2 = dx * dx + dy * dy;
  const float t = std::clamp(((p.X - a.X) * dx + (p.Y - a.Y) * dy) / L2, 0.0f, 1.0f);
  return Dist(p, {a.X + dx * t, a.Y + dy * t});
}

// Every step of the path within `slack` of the mean step, which is at most `step`.
void ExpectEvenSteps(const std::vector<ScreenPoint>& path, float step, float slack) {
  ASSERT_GE(path.size(), 11u);
  float sum = 0;
  for (size_t i = 1; i < path.size(); i++) sum += Dist(path[i - 1], path[i]);
  const float mean = sum / (path.size() - 1);
  EXPECT_LE(mean, step * 1.001f);
  for (size_t i = 1; i < path.size(); i++) EXPECT_NEAR(Dist(path[i - 1], path[i]), mean, slack) << i;
}

struct StrokeModeFixture : ::testing::Test {
  GeneralPenSaver savedPen;
  SimplePen pen;
  ToolTable table;
  ToolRouter router{table};
  comms::cFreeViewer cam;
  PaintScene scene;
  PaintBrushTool* tool = nullptr;
  StrokeRecord record;
  int records = 0;

  void SetUp() override {
    GeneralPen::Reset();
    GeneralPen::CurrentPenPtr = &pen;
    GeneralPen::PenRadius = 8.f;
    GeneralPen::DrawDepth = GeneralPen::DrawSpecular = false;
    GeneralPen::Color[0] = 1, GeneralPen::Color[1] = 0, GeneralPen::Color[2] = 0;
    // Down -z at the middle of a 4 x 3 sheet, about 90 pixels a unit.
    cam.ViewRect = comms::cRect{0, 0, 640, 480};
    cam.SetHome(cVec3(2, 1.5f, 0), 4.f, comms::cQuat());
    ToolProviders providers;
    RegisterPaintTools(providers);
    RegisterStandardTools(table, providers);
    ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(4, 3), PaintImportMode::MicroVertex,
                                    paintmeshes::Grid(4)).ok);
    scene.NewLayer(true);
    tool = FindPaintTool(table, "StdPen");
    tool->SetScene(&scene, &cam);
    tool->Recording = &record;
    tool->OnStrokeEnd = [this](PaintScene&, PaintStroke& s) {
      records += !s.Backups().empty() || !s.BackedUpMaps().empty();
    };
    table.SetCurrentTool("StdPen");
  }
  void TearDown() override { Pointer() = ToolPointer(); }

  void MoveTo(float x, float y) {
    router.OnPointerMove(x, y);
    table.RunFrame();
  }
  void Button(bool down) {
    router.OnKeyChange(keys::LeftButton, down, false);
    table.RunFrame();
  }
  void Click(float x, float y) { MoveTo(x, y), Button(true), Button(false); }
  // A key as the interface hands it to the current tool.
  void Key(int key) {
    EXPECT_TRUE(table.CurrentTool()->OnKey(key));
    table.RunFrame();
  }
  // The recorded dabs of the pen's own track, on the screen.
  std::vector<ScreenPoint> DabsOnScreen() const {
    std::vector<ScreenPoint> out;
    for (const PenHit& h : record.Hits)
      if (h.Mirror == 0) {
        const cVec3 p = cam.ProjectToView(h.Pos);
        out.push_back({p.x, p.y});
      }
    return out;
  }
  int RedAtPixel(float x, float y) {
    PaintPenPoint p;
    if (!tool->PenAt(x, y, p)) return -1;
    const int f = (int)p.Pos.y * 4 + (int)p.Pos.x;
    const int gx = (int)((p.Pos.x - (int)p.Pos.x) * 16), gy = (int)((p.Pos.y - (int)p.Pos.y) * 16);
    return (int)((scene.Faces[f].Grid[gy * 16 + gx].Color >> 16) & 255);
  }
  bool LayerEmpty() {
    for (int f = 0; f < (int)scene.Faces.size(); f++)
      if (FaceLayer* fl = scene.GetFaceLayer(f, scene.CurrentLayer, false))
        for (int i = 0; i < scene.Faces[f].SampleCount(); i++)
          if (!fl->Data[i].IsEmpty()) return false;
    return true;
  }
};

}  // namespace

TEST(StrokePath, ALineKeepsItsEndsAndEvenSteps) {
  const ScreenPoint a{10.5f, 20}, b{131, -7};
  const std::vector<ScreenPoint> path = LinePath(a, b, 3.f);
  EXPECT_FLOAT_EQ(path.front().X, a.X);
  EXPECT_FLOAT_EQ(path.back().Y, b.Y);
  for (const ScreenPoint& p : path) EXPECT_LT(FromSegment(p, a, b), 1e-3f);
  ExpectEvenSteps(path, 3.f, 1e-3f);
  // A short line still has ten steps; a point, eleven copies of itself.
  EXPECT_EQ(LinePath(a, {12, 21}, 5.f).size(), 11u);
  for (const ScreenPoint& p : LinePath(a, a, 2.f)) EXPECT_EQ(Dist(p, a), 0.f);
  EXPECT_FLOAT_EQ(PathStep(20, true, 10), 20 / 10.01f);
}

TEST(StrokePath, ACurvePassesThroughItsNodesInEvenSteps) {
  const std::vector<ScreenPoint> nodes = {{0, 0}, {100, 40}, {130, 150}, {40, 170}};
  const std::vector<ScreenPoint> path = CurvePath(nodes, 2.f, false);
  EXPECT_EQ(Dist(path.front(), nodes.front()), 0.f);
  EXPECT_EQ(Dist(path.back(), nodes.back()), 0.f);
  for (const ScreenPoint& n : nodes) {
    float nearest = 1e9f;
    for (const ScreenPoint& p : path) nearest = std::min(nearest, Dist(p, n));
    EXPECT_LT(nearest, 1.01f) << n.X;  // within half of a 2-pixel step
  }
  ExpectEvenSteps(path, 2.f, 0.05f);
  // The B-spline keeps its ends but bends inside the nodes' polygon.
  const std::vector<ScreenPoint> b = CurvePath(nodes, 2.f, true);
  EXPECT_LT(Dist(b.front(), nodes.front()), 1e-3f);
  EXPECT_LT(Dist(b.back(), nodes.back()), 1e-3f);
  float nearest = 1e9f;
  for (const ScreenPoint& p : b) nearest = std::min(nearest, Dist(p, nodes[2]));
  EXPECT_GT(nearest, 5.f);
  ExpectEvenSteps(b, 2.f, 0.05f);
  EXPECT_TRUE(CurvePath({}, 2.f, false).empty());
  EXPECT_EQ(CurvePath({{3, 4}}, 2.f, false).size(), 1u);
}

TEST_F(StrokeModeFixture, ALineGoesFromThePressToTheReleaseAsOneRecord) {
  GeneralPen::StrokeMode = kStrokeLines;
  const ScreenPoint press{150, 250}, bend{300, 330}, release{470, 215};
  MoveTo(press.X, press.Y);
  Button(true);
  MoveTo(bend.X, bend.Y);
  // While dragging the line is a preview to the pointer; nothing is painted.
  const std::vector<ScreenPoint> preview = tool->PreviewPath();
  ASSERT_FALSE(preview.empty());
  EXPECT_LT(Dist(preview.front(), press), 1e-3f);
  EXPECT_LT(Dist(preview.back(), bend), 1e-3f);
  EXPECT_TRUE(LayerEmpty());
  EXPECT_EQ(records, 0);
  MoveTo(release.X, release.Y);
  Button(false);
  EXPECT_TRUE(tool->PreviewPath().empty());
  EXPECT_EQ(records, 1);
  // The dabs lie on the straight line, the pen's spacing apart.
  const std::vector<ScreenPoint> dabs = DabsOnScreen();
  for (const ScreenPoint& d : dabs) EXPECT_LT(FromSegment(d, press, release), 0.05f);
  EXPECT_LT(Dist(dabs.front(), press), 0.05f);
  EXPECT_LT(Dist(dabs.back(), release), 0.05f);
  ExpectEvenSteps(dabs, PathStep(GeneralPen::PenRadius, pen.UseSpacing, pen.Spacing), 0.05f);
  EXPECT_GT(RedAtPixel(310, 232), 200);  // on the line
  EXPECT_LT(RedAtPixel(bend.X, bend.Y), 140);  // where the drag went, off the line
  // The stroke stays open: a second line is a second record of it.
  EXPECT_TRUE(tool->Stroking());
  MoveTo(200, 120), Button(true), MoveTo(260, 380), Button(false);
  EXPECT_EQ(records, 2);
  EXPECT_GT(RedAtPixel(230, 250), 200);
  // Another mode ends it without a further record.
  GeneralPen::StrokeMode = kStrokeDefault;
  table.RunFrame();
  EXPECT_FALSE(tool->Stroking());
  EXPECT_EQ(records, 2);
}

TEST_F(StrokeModeFixture, ACurveIsLaidThroughItsClickedPointsOnEnter) {
  GeneralPen::StrokeMode = kStrokeCurves;
  const std::vector<ScreenPoint> nodes = {{170, 300}, {250, 170}, {380, 330}, {470, 200}};
  for (const ScreenPoint& n : nodes) Click(n.X, n.Y);
  ASSERT_EQ(tool->CurveNodes().size(), nodes.size());
  EXPECT_TRUE(LayerEmpty());
  // The preview runs through the nodes on to the pointer.
  MoveTo(520, 260);
  EXPECT_LT(Dist(tool->PreviewPath().back(), {520, 260}), 1e-3f);
  Key(keys::Enter);
  EXPECT_TRUE(tool->CurveNodes().empty());
  EXPECT_EQ(records, 1);
  const std::vector<ScreenPoint> dabs = DabsOnScreen();
  EXPECT_LT(Dist(dabs.front(), nodes.front()), 0.05f);
  EXPECT_LT(Dist(dabs.back(), nodes.back()), 0.05f);
  const float step = PathStep(GeneralPen::PenRadius, pen.UseSpacing, pen.Spacing);
  for (const ScreenPoint& n : nodes) {
    float nearest = 1e9f;
    for (const ScreenPoint& d : dabs) nearest = std::min(nearest, Dist(d, n));
    EXPECT_LE(nearest, step / 2 + 0.05f);
  }
  ExpectEvenSteps(dabs, step, 0.1f);
  for (const ScreenPoint& n : nodes) EXPECT_GT(RedAtPixel(n.X, n.Y), 200);
  // Esc drops the nodes of a curve not yet laid.
  Click(200, 365), Click(300, 365);
  ASSERT_EQ(tool->CurveNodes().size(), 2u);
  Key(keys::Esc);
  EXPECT_TRUE(tool->CurveNodes().empty());
  EXPECT_EQ(records, 1);
  EXPECT_LT(RedAtPixel(250, 365), 140);
}

// A mirror along the view axis: the copy of a dab on the front of a box
// lands on the back at the mirrored place, not on the front again.
TEST_F(StrokeModeFixture, AMirrorAlongTheViewLandsOnTheFarSide) {
  comms::cMesh cube = paintmeshes::Cube(false);
  for (auto& p : cube.positions) p.x = (p.x - 0.5f) * 2, p.y = (p.y - 0.5f) * 2, p.z -= 0.5f;
  PaintScene box;
  ASSERT_TRUE(ImportMeshIntoScene(box, cube, PaintImportMode::MicroVertex, paintmeshes::Grid(4)).ok);
  box.NewLayer(true);
  comms::cFreeViewer view;
  view.ViewRect = comms::cRect{0, 0, 640, 480};
  view.SetHome(cVec3(0, 0, 0), 5.f, comms::cQuat());
  tool->SetScene(&box, &view);
  GeneralPen::Symmetry = 4;  // z, the view's axis
  GeneralPen::PenRadius = 20.f;
  const std::vector<std::pair<float, float>> drag = {{300, 230}, {330, 222}, {360, 214}};
  MoveTo(drag[0].first, drag[0].second), Button(true);
  for (size_t i = 1; i < drag.size(); i++) MoveTo(drag[i].first, drag[i].second);
  Button(false);
  GeneralPen::Symmetry = 0;
  // Face 0 is the back (z = -0.5), face 1 the front (z = 0.5).
  int front = 0, back = 0;
  for (const PenHit& h : record.Hits) {
    if (h.Mirror == 0) {
      EXPECT_NEAR(h.Pos.z, 0.5f, 1e-4f);
    } else if (h.Mirror == 4) {
      EXPECT_NEAR(h.Pos.z, -0.5f, 1e-4f);
      // The copy is the mirror image of a main dab: same x and y.
      bool twin = false;
      for (const PenHit& m : record.Hits)
        twin |= m.Mirror == 0 && std::fabs(m.Pos.x - h.Pos.x) < 1e-3f && std::fabs(m.Pos.y - h.Pos.y) < 1e-3f;
      EXPECT_TRUE(twin);
    }
    front += h.Mirror == 0, back += h.Mirror == 4;
  }
  EXPECT_GT(front, 3);
  EXPECT_EQ(back, front);
  auto painted = [&](int face) { return PaintedSamples(box, face); };
  EXPECT_GT(painted(1), 10);
  EXPECT_EQ(painted(0), painted(1));
  tool->SetScene(&scene, &cam);
}

// The points mode: a press is one dab, a drag adds none.
TEST_F(StrokeModeFixture, APointsModeDragIsOneDab) {
  GeneralPen::StrokeMode = kStrokePoints;
  MoveTo(200, 240), Button(true);
  for (float x = 220; x <= 400; x += 20) MoveTo(x, 240);
  Button(false);
  EXPECT_EQ(record.Hits.size(), 1u);
  EXPECT_GT(RedAtPixel(200, 240), 200);
  EXPECT_LT(RedAtPixel(300, 240), 140);
}

// The island mode keeps a stroke on the UV island where it began: a drag
// across a seam paints one side only; the default mode paints both.
TEST_F(StrokeModeFixture, TheIslandModeStopsAtTheSeam) {
  for (int mode : {kStrokeDefault, kStrokeIsland}) {
    SCOPED_TRACE(mode);
    PaintScene cut;
    ASSERT_TRUE(ImportMeshIntoScene(cut, paintmeshes::CutSheet(), PaintImportMode::MicroVertex,
                                    paintmeshes::Grid(4)).ok);
    cut.NewLayer(true);
    comms::cFreeViewer view;
    view.ViewRect = comms::cRect{0, 0, 640, 480};
    view.SetHome(cVec3(1, 0.5f, 0), 2.f, comms::cQuat());
    tool->SetScene(&cut, &view);
    GeneralPen::StrokeMode = mode;
    GeneralPen::PenRadius = 30.f;
    MoveTo(200, 240), Button(true);
    for (float x = 230; x <= 440; x += 30) MoveTo(x, 238);
    Button(false);
    auto painted = [&](int face) { return PaintedSamples(cut, face); };
    EXPECT_GT(painted(0), 10);
    if (mode == kStrokeIsland)
      EXPECT_EQ(painted(1), 0);
    else
      EXPECT_GT(painted(1), 10);
    tool->SetScene(&scene, &cam);
  }
}

namespace {

// How much of a dab's colour an area lays at a sample whose place on the
// screen lies `inside` pixels within the shape: the opacity a coverage a
// leaves on an empty layer is a * a.
float AreaOpacity(float inside) {
  const float a = std::clamp(inside / GeneralPen::ShapeSoftBorder, 0.0f, 1.0f);
  return a * a;
}

}  // namespace

// A rectangle drawn in the area mode paints everything under it at once, in
// one record: full inside, nothing outside, the soft border's ramp between,
// each sample as its place on the screen says.
TEST_F(StrokeModeFixture, ARectangleAreaPaintsWhatLiesUnderItInOneRecord) {
  GeneralPen::DrawShape = kShapeRectangle;
  const float x0 = 203.5f, y0 = 151.25f, x1 = 417.f, y1 = 322.f;
  MoveTo(x0, y0), Button(true);
  MoveTo(300, 200), MoveTo(500, 400);  // only the drag's ends count
  // While it is drawn nothing is painted.
  EXPECT_EQ(tool->AreaShape().Points().size(), 3u);
  EXPECT_TRUE(LayerEmpty());
  MoveTo(x1, y1), Button(false);
  EXPECT_EQ(records, 1);
  EXPECT_FALSE(tool->Stroking());
  int full = 0, ramp = 0;
  for (int f = 0; f < (int)scene.Faces.size(); f++) {
    FaceLayer* fl = scene.GetFaceLayer(f, scene.CurrentLayer, false);
    for (int i = 0; i < scene.Faces[f].SampleCount(); i++) {
      const cVec3 p = cam.ProjectToView(scene.Faces[f].Grid[i].Position);
      const float inside = std::min({p.x - x0, x1 - p.x, p.y - y0, y1 - p.y});
      const float want = AreaOpacity(inside);
      const float got = fl ? fl->Data[i].Opacity : 0.f;
      ASSERT_NEAR(got, want, 2e-3f) << f << " " << i << " at " << p.x << ", " << p.y;
      if (want > 0) {
        EXPECT_EQ((fl->Data[i].Color >> 16) & 255, 255u);
      }
      full += want == 1, ramp += want > 0 && want < 1;
    }
  }
  // About 90 pixels a unit, 16 samples a unit: some 5.6 pixels a sample.
  EXPECT_GT(full, 800);
  EXPECT_GT(ramp, 40);
  EXPECT_EQ(RedAtPixel(310, 240), 255);
  EXPECT_LT(RedAtPixel(190, 240), 140);
}

// A circle spans from its centre to the drag's end; a lasso is the polygon of
// the drag, its notch left alone. The circle's distance: m - |(dx m / a,
// dy m / b)| with m the larger semi-axis.
TEST_F(StrokeModeFixture, CircleAndLassoAreasFollowTheirOutline) {
  GeneralPen::DrawShape = kShapeCircle;
  const float cx = 321.f, cy = 243.f, a = 97.f, b = 61.f;
  MoveTo(cx, cy), Button(true), MoveTo(cx + a, cy + b), Button(false);
  EXPECT_EQ(records, 1);
  for (int f = 0; f < (int)scene.Faces.size(); f++) {
    FaceLayer* fl = scene.GetFaceLayer(f, scene.CurrentLayer, false);
    for (int i = 0; i < scene.Faces[f].SampleCount(); i++) {
      const cVec3 p = cam.ProjectToView(scene.Faces[f].Grid[i].Position);
      const float inside = a - std::hypot(p.x - cx, (p.y - cy) * a / b);
      ASSERT_NEAR(fl ? fl->Data[i].Opacity : 0.f, AreaOpacity(inside), 2e-3f) << f << " " << i;
    }
  }
  // A lasso: a U whose notch between its arms stays bare.
  GeneralPen::DrawShape = kShapeLasso;
  GeneralPen::Color[0] = 0, GeneralPen::Color[2] = 1;  // blue
  const std::vector<ScreenPoint> u = {{140, 120}, {200, 120}, {200, 300}, {260, 300}, {260, 120},
                                      {320, 120}, {320, 360}, {140, 360}};
  MoveTo(u[0].X, u[0].Y), Button(true);
  for (size_t i = 1; i < u.size(); i++) MoveTo(u[i].X, u[i].Y);
  Button(false);
  EXPECT_EQ(records, 2);
  auto blueAt = [&](float x, float y) {
    PaintPenPoint p;
    EXPECT_TRUE(tool->PenAt(x, y, p));
    const int f = (int)p.Pos.y * 4 + (int)p.Pos.x;
    const int gx = (int)((p.Pos.x - (int)p.Pos.x) * 16), gy = (int)((p.Pos.y - (int)p.Pos.y) * 16);
    return (int)(scene.Faces[f].Grid[gy * 16 + gx].Color & 255);
  };
  EXPECT_GT(blueAt(170, 200), 250);  // left arm
  EXPECT_GT(blueAt(290, 200), 250);  // right arm
  EXPECT_GT(blueAt(230, 335), 250);  // the bottom
  EXPECT_LT(blueAt(230, 200), 140);  // the notch
  EXPECT_LT(blueAt(360, 200), 140);  // outside
}

// On a per-pixel target the area reaches every texel block under it, not
// only those near a pen.
TEST_F(StrokeModeFixture, AnAreaPaintsTheTexelsUnderIt) {
  PaintScene pixels;
  pixels.RtSizeX = 128, pixels.RtSizeY = 96;
  ASSERT_TRUE(ImportMeshIntoScene(pixels, paintmeshes::Sheet(4, 3), PaintImportMode::PerPixel, DPSettings()).ok);
  pixels.NewLayer(true);
  tool->SetScene(&pixels, &cam);
  GeneralPen::DrawShape = kShapeRectangle;
  const float x0 = 150.f, y0 = 130.f, x1 = 497.f, y1 = 351.f;
  MoveTo(x0, y0), Button(true), MoveTo(x1, y1), Button(false);
  EXPECT_EQ(records, 1);
  int checked = 0;
  for (int f = 0; f < (int)pixels.Faces.size(); f++) {
    const PaintFace& F = pixels.Faces[f];
    ASSERT_NE(F.Texels, nullptr);
    PixelMap* map = pixels.GetPixelMap(F.RenderTarget);
    for (int i = 0; i < F.Texels->Count; i++) {
      const FaceTexel& t = F.Texels->Texels[i];
      const cVec3 p = cam.ProjectToView(t.Position);
      const float inside = std::min({p.x - x0, x1 - p.x, p.y - y0, y1 - p.y});
      PixelCursor cur;
      float alpha = 0;
      if (map->FetchPixel(cur, t.X, t.Y, false, false, false) && cur.Tile->CurrentLayerTile)
        alpha = (cur.Tile->CurrentLayerTile->Pixels[cur.Index].Color >> 24) / 255.f;
      // The byte of a coverage a: 255 - (255 - 255 a), rounded down.
      const float want = std::clamp(inside / GeneralPen::ShapeSoftBorder, 0.f, 1.f);
      ASSERT_NEAR(alpha, want, 1.5f / 255) << f << " " << t.X << ", " << t.Y;
      checked += want == 1;
    }
  }
  EXPECT_GT(checked, 1000);
  tool->SetScene(&scene, &cam);
}

// The preview mode: drags are shown as tracks and paint nothing; Enter lays
// them all along their tracks as one record, Esc drops them.
TEST_F(StrokeModeFixture, ThePreviewModePaintsItsTracksOnEnter) {
  GeneralPen::StrokeMode = kStrokePreview;
  const std::vector<ScreenPoint> first = {{160, 200}, {220, 180}, {280, 215}, {340, 190}};
  const std::vector<ScreenPoint> second = {{200, 330}, {300, 310}, {420, 340}};
  for (const auto* track : {&first, &second}) {
    MoveTo(track->front().X, track->front().Y), Button(true);
    for (size_t i = 1; i < track->size(); i++) MoveTo((*track)[i].X, (*track)[i].Y);
    Button(false);
  }
  ASSERT_EQ(tool->PreviewTracks().size(), 2u);
  EXPECT_EQ(tool->PreviewTracks()[0].size(), first.size());
  EXPECT_TRUE(LayerEmpty());
  EXPECT_EQ(records, 0);
  Key(keys::Enter);
  EXPECT_TRUE(tool->PreviewTracks().empty());
  EXPECT_EQ(records, 1);
  // Every dab lies on one of the two tracks, and both tracks are painted.
  auto fromTrack = [](ScreenPoint p, const std::vector<ScreenPoint>& t) {
    float d = 1e9f;
    for (size_t i = 1; i < t.size(); i++) d = std::min(d, FromSegment(p, t[i - 1], t[i]));
    return d;
  };
  for (const ScreenPoint& d : DabsOnScreen()) EXPECT_LT(std::min(fromTrack(d, first), fromTrack(d, second)), 0.05f);
  for (const ScreenPoint& p : first) EXPECT_GT(RedAtPixel(p.X, p.Y), 200);
  for (const ScreenPoint& p : second) EXPECT_GT(RedAtPixel(p.X, p.Y), 200);
  EXPECT_LT(RedAtPixel(300, 260), 140);  // between them
  // Esc drops a track not yet laid.
  MoveTo(150, 125), Button(true), MoveTo(450, 125), Button(false);
  ASSERT_EQ(tool->PreviewTracks().size(), 1u);
  Key(keys::Esc);
  EXPECT_TRUE(tool->PreviewTracks().empty());
  EXPECT_EQ(records, 1);
  EXPECT_LT(RedAtPixel(300, 125), 140);
}
