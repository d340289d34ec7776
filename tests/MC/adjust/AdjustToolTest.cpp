// The adjust tools driven through the tool router with a synthetic camera,
// as the window drives them: measure draws its figure from two picks, pick
// makes the layer under the pointer current, the transform gizmo moves the
// volume and the rows below it, transpose selects (by a drag or by a drawn
// shape), drags and writes the surface into the voxels on leaving, axial clones and bas-relief act on
// Enter, copy stamps from its source; every edit is one undo record whose
// copies restore every byte, and each panel shows only its own settings.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <tuple>

#include "../brushes/ToolTableKit.h"
#include "AdjustTestKit.h"
#include "MC/adjust/AdjustHandlers.h"
#include "MC/adjust/Measure.h"
#include "paint/stroke/DrawnShape.h"
#include "MC/brushes/ShapeView.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/tree/VoxVisualTree.h"
#include "platform/Keys.h"
#include "render/NullRender.h"
#include "render/Viewer.h"
#include "shell/tools/RouterDrag.h"
#include "shell/tools/ToolRouter.h"

using namespace adjusttest;

namespace {

// The sum of x over the lattice points inside the solid.
double MomentX(const VolumeSnapshot& s) {
  double sum = 0;
  for (auto& [k, vals] : s)
    for (int z = 0; z < 8; ++z)
      for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
          if (vals[LatticeIndex(x, y, z)] >= kSurfaceLevel) sum += std::get<0>(k) * 8 + x;
  return sum;
}

struct AdjustFixture : ::testing::Test {
  GeneralPenSaver savedPen;
  SimplePen pen;
  ToolTable table;
  ToolRouter router{table};
  comms::cFreeViewer cam;
  VolumeObject volume;
  VoxelSculptTool* tool = nullptr;
  int records = 0;
  VolumeSnapshot beforeEdit;
  bool undoRestores = true;

  void SetUp() override {
    GeneralPen::CurrentPenPtr = &pen;
    GeneralPen::PenRadius = 30.f;
    cam.ViewRect = comms::cRect{0, 0, 641, 479};
    cam.SetHome(comms::cVec3(0, 0, 0), 100.f, comms::cQuat());
    tool = CurrentVoxelTool(table);
    ASSERT_NE(tool, nullptr);
    MakeSphere(volume, 28.f);
    tool->SetScene(&volume, &cam);
    // The undo hook: it keeps what the edit made, then takes the record's
    // copies back, which must restore the volume byte for byte.
    tool->OnStrokeEnd = [this](VolumeObject& v) {
      ++records;
      lastEdit = Snapshot(v);
      EXPECT_NE(lastEdit, beforeEdit);
      v.RestoreUndoCopies();
      undoRestores = undoRestores && Snapshot(v) == beforeEdit;
    };
  }
  VolumeSnapshot lastEdit;
  void TearDown() override { Pointer() = ToolPointer(); }
  void Click(float x, float y) { DragThrough(router, table, {{x, y}, {x, y}}); }
  void Key(int key) {
    // The window hands keys to the current tool.
    tool->OnKey(key);
    table.RunFrame();
  }
  template <class T>
  T* HandlerOf() {
    return dynamic_cast<T*>(tool->Handler());
  }
};

TEST_F(AdjustFixture, MeasureDrawsTheDistanceBetweenTwoPicksAndChangesNothing) {
  ASSERT_TRUE(tool->SelectMode(SCULPT_MEASURE));
  const VolumeSnapshot untouched = Snapshot(volume);
  DragThrough(router, table, {{270, 240}, {300, 240}, {370, 240}});
  MeasureHandler* m = HandlerOf<MeasureHandler>();
  ASSERT_NE(m, nullptr);
  ASSERT_TRUE(m->HasLine());
  // Both ends lie on the sphere, the figure is their distance in units.
  for (const float* p : {m->First(), m->Second()})
    EXPECT_NEAR(std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]), 28.f, 0.6f);
  tool->Settings.VoxelsPerUnit = 4.f;
  tool->Settings.Units = 2;
  tool->Settings.MeasureAlignment = MeasAlongY;
  EXPECT_EQ(m->Text(*tool), MeasureText(std::fabs(m->Second()[1] - m->First()[1]), 2, 4.f));
  tool->Settings.MeasureAlignment = MeasNoAlign;
  EXPECT_EQ(m->Text(*tool), MeasureText(MeasureDistance(m->First(), m->Second(), 0), 2, 4.f));
  EXPECT_GT(MeasureDistance(m->First(), m->Second(), 0), 20.f);
  // The overlay is drawn in place of the pen's ring.
  comms::cNullRender render;
  EXPECT_TRUE(tool->DrawOverlay(render, cam));
  EXPECT_EQ(Snapshot(volume), untouched);
  EXPECT_EQ(records, 0);
}

TEST_F(AdjustFixture, PickMakesTheNearestVolumeUnderThePenCurrent) {
  VoxVisualTree tree;
  VoxTreeBranch* left = tree.AddVolume();
  const float shift[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 30, 0, 0, 1};
  VoxTreeBranch* right = tree.AddVolume(nullptr, shift);
  FillVolume(*left->Volume, SphereShape(-20, 0, 0, 12));
  FillVolume(*right->Volume, SphereShape(0, 0, 0, 12));  // at x = 30 in the scene
  left->Volume->UpdateSurface();
  right->Volume->UpdateSurface();
  tool->Tree = [&] { return &tree; };
  tool->SetScene(left->Volume, &cam);
  ASSERT_TRUE(tool->SelectMode(SCULPT_PICK));
  const comms::cVec3 r = cam.ProjectToView(comms::cVec3(30, 0, 0)), l = cam.ProjectToView(comms::cVec3(-20, 0, 0));
  Click(r.x, r.y);
  EXPECT_EQ(tree.CurrentVolume, right->Volume);
  EXPECT_EQ(tool->Volume(), right->Volume);
  Click(l.x, l.y);
  EXPECT_EQ(tool->Volume(), left->Volume);
  // Off every volume the press is left to the view.
  router.OnPointerMove(3, 3);
  EXPECT_FALSE(router.OnKeyChange(keys::LeftButton, true, false));
  router.OnKeyChange(keys::LeftButton, false, false);
  EXPECT_EQ(tool->Volume(), left->Volume);
  // A hidden row is not picked.
  right->Visible = false;
  Click(r.x, r.y);
  EXPECT_EQ(tool->Volume(), left->Volume);
}

TEST_F(AdjustFixture, TheTransformGizmoMovesTheVolumeAndTheRowsBelowIt) {
  VoxVisualTree tree;
  VoxTreeBranch* parent = tree.AddVolume();
  VoxTreeBranch* child = tree.AddVolume(parent);
  FillVolume(*parent->Volume, SphereShape(0, 0, 0, 10));
  parent->Volume->UpdateSurface();
  tool->Tree = [&] { return &tree; };
  tool->SetScene(parent->Volume, &cam);
  ASSERT_TRUE(tool->SelectMode(SCULPT_TRANSFORM));
  const VolumeSnapshot untouched = Snapshot(*parent->Volume);
  TransformHandler* h = HandlerOf<TransformHandler>();
  ASSERT_NE(h, nullptr);
  h->Activate(*tool);
  const comms::cVec3 c = cam.ProjectToView(h->Gizmo.Centre);
  const float start = parent->Volume->Transform[12], childStart = child->Volume->Transform[12];
  // Grab the x arrow 40 pixels out and drag it 50 more.
  DragThrough(router, table, {{c.x + 40, c.y}, {c.x + 65, c.y}, {c.x + 90, c.y}});
  const float moved = parent->Volume->Transform[12] - start;
  EXPECT_GT(moved, 1.f);
  EXPECT_NEAR(child->Volume->Transform[12] - childStart, moved, 1e-4f);
  EXPECT_NEAR(parent->Volume->Transform[13], 0.f, 1e-4f);
  // The voxels themselves do not change: only where they stand.
  EXPECT_EQ(Snapshot(*parent->Volume), untouched);
  // Off the handles the press is the view's.
  router.OnPointerMove(5, 470);
  EXPECT_FALSE(router.OnKeyChange(keys::LeftButton, true, false));
  router.OnKeyChange(keys::LeftButton, false, false);
}

TEST_F(AdjustFixture, TransposeSelectsDragsAndWritesTheVoxelsOnLeaving) {
  for (int mode : {TRN_SPHERE, TRN_LINE, TRN_BILINE, TRN_CUSTOM, TRN_OBJECT}) {
    MakeSphere(volume, 28.f);
    volume.DropUndoCopies();
    beforeEdit = Snapshot(volume);
    ASSERT_TRUE(tool->SelectMode(SCULPT_TRANSPOSE));
    tool->Settings.TRN_MODE = mode;
    tool->Settings.MASK_OPACITY = 1.f;
    TransposeHandler* h = HandlerOf<TransposeHandler>();
    ASSERT_NE(h, nullptr);
    const int recordsBefore = records;
    // Select on the sphere's +x flank, where its normal runs along x, and
    // drag upwards from there.
    const comms::cVec3 flank = cam.ProjectToView(comms::cVec3(25, 0, 12.6f));
    DragThrough(router, table, {{flank.x, flank.y}, {flank.x, flank.y - 12}, {flank.x, flank.y - 20}});
    ASSERT_FALSE(h->Selection.Empty()) << mode;
    // Drag the gizmo's x arrow.
    const comms::cVec3 c = cam.ProjectToView(h->Gizmo.Centre);
    DragThrough(router, table, {{c.x + 40, c.y}, {c.x + 55, c.y}, {c.x + 70, c.y}});
    int movedVertices = 0;
    for (const VLink& l : h->Selection.Links) movedVertices += l.Dst[0] - l.Src[0] > 0.5f;
    EXPECT_GT(movedVertices, 0) << mode;
    EXPECT_TRUE(volume.SurfaceChanged);
    // Leaving the tool writes the surface into the voxels: one record.
    ASSERT_TRUE(tool->SelectMode(SCULPT_MEASURE));
    EXPECT_EQ(records, recordsBefore + 1) << mode;
    EXPECT_FALSE(volume.SurfaceChanged);
    ExpectClosed(Surface(volume));
    EXPECT_TRUE(undoRestores) << mode;
    // In the voxels the edit made, the selected part went along +x: the
    // solid's first moment along x grew.
    EXPECT_GT(MomentX(lastEdit), MomentX(beforeEdit) + 50.0) << mode;
  }
}

TEST_F(AdjustFixture, TransposeSelectsWhatLiesUnderADrawnShape) {
  GeneralPen::DrawShape = kShapeRectangle;
  volume.DropUndoCopies();
  beforeEdit = Snapshot(volume);
  ASSERT_TRUE(tool->SelectMode(SCULPT_TRANSPOSE));
  tool->Settings.MASK_OPACITY = 0.5f;
  TransposeHandler* h = HandlerOf<TransposeHandler>();
  ASSERT_NE(h, nullptr);
  // A rectangle over the sphere's right half, starting off the sphere.
  const comms::cVec3 a = cam.ProjectToView(comms::cVec3(12, -10, 0)), b = cam.ProjectToView(comms::cVec3(40, 10, 0));
  DragThrough(router, table, {{a.x, a.y}, {(a.x + b.x) / 2, a.y}, {b.x, b.y}});
  ASSERT_FALSE(h->Selection.Empty());
  EXPECT_FALSE(volume.SurfaceChanged) << "selecting moves nothing";
  DrawnShape rect;
  rect.Kind = kShapeRectangle;
  rect.Add(a.x, a.y);
  rect.Add(b.x, b.y);
  ASSERT_TRUE(rect.Finish());
  const float centre[3] = {0, 0, 0};
  const ShapeView view = ShapeView::Of(volume, cam, centre);
  // Every vertex well inside is selected at the mask's strength, front and
  // back; none outside.
  std::map<std::tuple<int, int, int, int>, uint32_t> weights;
  for (const TransposeSet::Entry& e : h->Selection.Entries)
    weights[{e.Cell.x, e.Cell.y, e.Cell.z, e.Vertex}] = h->Selection.Links[e.Link].Weight;
  int inside = 0;
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!c->Surface) return;
    for (int i = 0; i < c->Surface->Vertices.Count; ++i) {
      const float d = view.Distance(rect, c->Surface->Vertices[i].Pos, view.S);
      auto it = weights.find({k.x, k.y, k.z, i});
      if (d >= 4.f) {
        ++inside;
        ASSERT_NE(it, weights.end());
        EXPECT_EQ(it->second, 1u + 32768u);
      } else if (d <= 0.f) {
        EXPECT_EQ(it, weights.end());
      }
    }
  });
  EXPECT_GT(inside, 200);
  // The gizmo sits at the selection's centre, right of the middle; dragging
  // its x arrow moves the selection, and leaving writes it into the voxels.
  const comms::cVec3 c = cam.ProjectToView(h->Gizmo.Centre);
  EXPECT_GT(h->Gizmo.Centre.x, 15.f);
  DragThrough(router, table, {{c.x + 40, c.y}, {c.x + 55, c.y}, {c.x + 70, c.y}});
  EXPECT_TRUE(volume.SurfaceChanged);
  ASSERT_TRUE(tool->SelectMode(SCULPT_MEASURE));
  EXPECT_EQ(records, 1);
  ExpectClosed(Surface(volume));
  EXPECT_TRUE(undoRestores);
  EXPECT_GT(MomentX(lastEdit), MomentX(beforeEdit) + 50.0);
}

TEST_F(AdjustFixture, AxialClonesOnEnterThenTheTransformGizmo) {
  volume.ClearVoxels();
  FillVolume(volume, SphereShape(20, 0, 0, 8));
  volume.UpdateSurface();
  volume.DropUndoCopies();
  beforeEdit = Snapshot(volume);
  const long one = InsideCount(volume);
  ASSERT_TRUE(tool->SelectMode(SCULPT_AXIAL));
  tool->Settings.NumAxialClones = 3;
  // Enter without a pick: the axis runs along the view through the centre
  // of the volume's box (the ball itself), so nothing new appears beyond it.
  // With a pick on the ball's left edge the copies turn about that point.
  const comms::cVec3 edge = cam.ProjectToView(comms::cVec3(13, 0, 0));
  Click(edge.x, edge.y);
  Key(keys::Enter);
  EXPECT_EQ(records, 1);
  EXPECT_TRUE(undoRestores);
  EXPECT_EQ(tool->Mode, SCULPT_TRANSFORM);
  // The record's check rolled the volume back: count the copies from what it saw.
  long inside = 0;
  for (auto& [k, vals] : lastEdit)
    for (int z = 0; z < 8; ++z)
      for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) inside += vals[LatticeIndex(x, y, z)] >= kSurfaceLevel;
  EXPECT_GT(inside, 2 * one);
  EXPECT_LT(inside, 3 * one + one / 10);
}

TEST_F(AdjustFixture, BareliefTakesTwoPicksAndFlattensOnEnter) {
  MakeHead(volume);
  volume.DropUndoCopies();
  beforeEdit = Snapshot(volume);
  ASSERT_TRUE(tool->SelectMode(SCULPT_BARELIEF));
  tool->Settings.BareliefCoef = 0.5f;
  // Enter before two picks does nothing.
  Key(keys::Enter);
  EXPECT_EQ(records, 0);
  // Seen from the front: the first pick on the nose, the second on the forehead.
  const comms::cVec3 nose = cam.ProjectToView(comms::cVec3(0, 0, 60)), brow = cam.ProjectToView(comms::cVec3(0, 30, 50));
  Click(nose.x, nose.y);
  Click(brow.x, brow.y);
  comms::cNullRender render;
  EXPECT_TRUE(tool->DrawOverlay(render, cam));
  Key(keys::Enter);
  EXPECT_EQ(records, 1);
  EXPECT_TRUE(undoRestores);
}

TEST_F(AdjustFixture, CopyStampTakesItsSourceWithCtrlAndStampsAlongTheDrag) {
  volume.DropUndoCopies();
  beforeEdit = Snapshot(volume);
  ASSERT_TRUE(tool->SelectMode(SCULPT_COPY));
  GeneralPen::PenRadius = 15.f;
  router.OnKeyChange(keys::Control, true, false);
  Click(300, 230);
  router.OnKeyChange(keys::Control, false, false);
  EXPECT_EQ(records, 0);
  DragThrough(router, table, {{340, 250}, {350, 252}, {360, 254}});
  EXPECT_EQ(records, 1);
  EXPECT_TRUE(undoRestores);
}

TEST_F(AdjustFixture, CopyStampTakesItsSourceFromAnotherLayerAndMirrorsIt) {
  // Two layers side by side: the source, a box left of the middle, and the
  // target, a ball right of it; the pen's mirror runs across x = 0.
  VoxVisualTree tree;
  VoxTreeBranch* from = tree.AddVolume(nullptr, nullptr, "From");
  VoxTreeBranch* into = tree.AddVolume(nullptr, nullptr, "Into");
  VolumeObject& a = *from->Volume;
  VolumeObject& b = *into->Volume;
  for (VolumeObject* v : {&a, &b}) v->ClearVoxels();
  FillVolume(a, BoxShape(-30, 0, 0, 9, 9, 9));
  FillVolume(b, SphereShape(30, 0, 0, 12));
  for (VolumeObject* v : {&a, &b}) v->UpdateSurface(), v->DropUndoCopies();
  tool->Tree = [&tree] { return &tree; };
  tool->OnStrokeEnd = [this](VolumeObject& v) { ++records, v.DropUndoCopies(); };
  ASSERT_TRUE(tool->SelectMode(SCULPT_COPY));
  GeneralPen::PenRadius = 40.f;
  const comms::cVec3 s = cam.ProjectToView(comms::cVec3(-30, 0, 9)), t = cam.ProjectToView(comms::cVec3(30, 0, 12));
  tool->SetScene(&a, &cam);
  PenPoint source, pen;
  ASSERT_TRUE(tool->PenAt(s.x, s.y, source));
  router.OnKeyChange(keys::Control, true, false);
  Click(s.x, s.y);
  router.OnKeyChange(keys::Control, false, false);
  tree.MakeCurrent(into);
  tool->SetScene(&b, &cam);
  ASSERT_TRUE(tool->PenAt(t.x, t.y, pen));
  ASSERT_GT(pen.Radius, 5.f);
  GeneralPen::Symmetry = 1;
  const VolumeSnapshot sourceBefore = Snapshot(a);
  VolumeObject old;
  old.CopyFrom(b);
  Click(t.x, t.y);
  EXPECT_EQ(records, 1);
  EXPECT_TRUE(Snapshot(a) == sourceBefore) << "the source is only read";
  // Well inside the pen, the target holds the source shifted from the source
  // point to the pen (or what it had, where that is more); the mirror image
  // of the stamp stands across x = 0, where the target was empty.
  int checked = 0;
  const float r = pen.Radius - 2.5f;
  for (int z = -20; z <= 30; ++z)
    for (int y = -20; y <= 20; ++y)
      for (int x = 10; x <= 50; ++x) {
        const float d[3] = {x - pen.P[0], y - pen.P[1], z - pen.P[2]};
        if (d[0] * d[0] + d[1] * d[1] + d[2] * d[2] > r * r) continue;
        const float box = a.SampleField(x + source.P[0] - pen.P[0], y + source.P[1] - pen.P[1],
                                        z + source.P[2] - pen.P[2]);
        EXPECT_NEAR(b.GetVoxel(x, y, z), std::max<float>(old.GetVoxel(x, y, z), box), 2.f) << x << " " << y << " " << z;
        EXPECT_NEAR(b.GetVoxel(-x, y, z), box, 2.f) << "mirror " << x << " " << y << " " << z;
        ++checked;
      }
  EXPECT_GT(checked, 100);
  ExpectClosed(Surface(b));
}

namespace {
// Counts the lines of the 2D layer.
class LineCounter : public comms::cNullRender {
 public:
  int Lines = 0;
  void DrawLine(float, float, float, float, float, uint32_t, uint32_t) override { ++Lines; }
};
}  // namespace

TEST_F(AdjustFixture, WrapPreviewDrawsEachCopyAsSoonAsTheAxisIsPlaced) {
  ASSERT_TRUE(tool->SelectMode(SCULP_WRAP));
  tool->Settings.WrapSegments = 5;
  const VolumeSnapshot before = Snapshot(volume);
  Click(330, 240);
  LineCounter plain, preview;
  ASSERT_TRUE(tool->DrawOverlay(plain, cam));
  tool->Settings.PreviewImmediately = true;
  ASSERT_TRUE(tool->DrawOverlay(preview, cam));
  EXPECT_EQ(preview.Lines, plain.Lines + 5 * 12) << "twelve edges of the box of each copy";
  EXPECT_TRUE(Snapshot(volume) == before) << "the preview changes nothing";
  EXPECT_EQ(records, 0);
}

TEST(AdjustPanels, EachToolShowsOnlyItsOwnSettings) {
  const struct {
    int Tool;
    std::vector<const char*> Own;
  } cases[] = {
      {SCULPT_MEASURE, {"MeasureAlignment", "METRICS", "VoxelsPerUnit"}},
      {SCULPT_TRANSPOSE, {"TRN_MODE", "MASK_OPACITY"}},
      {SCULPT_AXIAL, {"NumAxialClones"}},
      {SCULPT_BARELIEF, {"BareliefCoef"}},
      {SCULP_WRAP,
       {"WrapType", "WrapSegments", "StartAngle", "EndAngle", "ForwardStep", "TwistAngle", "SelfOverlap",
        "PreviewImmediately"}},
  };
  const char* others[] = {"TRN_MODE", "MASK_OPACITY", "MeasureAlignment", "METRICS", "VoxelsPerUnit", "NumAxialClones",
                          "BareliefCoef", "WrapSegments", "GrowPower", "SMOOTH_DEG"};
  for (const auto& c : cases) {
    for (const char* own : c.Own) EXPECT_TRUE(VoxelSettingUsedBy(own, c.Tool)) << c.Tool << " " << own;
    for (const char* other : others) {
      bool mine = false;
      for (const char* own : c.Own) mine |= std::string(own) == other;
      EXPECT_EQ(VoxelSettingUsedBy(other, c.Tool), mine) << c.Tool << " " << other;
    }
  }
  // Pick, copy and transform have no sliders of their own.
  for (int t : {SCULPT_PICK, SCULPT_COPY, SCULPT_TRANSFORM})
    for (const char* other : others) EXPECT_FALSE(VoxelSettingUsedBy(other, t)) << t << " " << other;
}

}  // namespace
