// Drawn-shape input, the actions on a finished shape, and the hiding tools'
// strokes (see DrawnShapeTools.h).
#include "MC/brushes/DrawnShapeTools.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "ClassEngine/Log.h"
#include "ClassEngine/Random.h"
#include "MC/brushes/CellJobs.h"
#include "MC/brushes/HideTools.h"
#include "MC/brushes/ShapeActions.h"
#include "MC/brushes/ShapeView.h"
#include "MC/brushes/Symmetry.h"
#include "MC/brushes/VoxelStroke.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/mcubes/MakeVolumeCommand.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mcubes/WeldedMesh.h"
#include "MC/tree/VoxVisualTree.h"
#include "MC/undo/RowsUndo.h"
#include "interchange/Mesh.h"
#include "paint/GeneralPen.h"
#include "paint/SceneChanges.h"
#include "render/Render.h"
#include "render/Viewer.h"

namespace {

bool IsSplit(int mode) { return mode == SCULPT_CUTNCLONE || mode == SCULPT_RECTSPLIT; }

// The tools whose shape moves the surface rather than adding or cutting:
// the voxel tools that swell, and the surface tools that move vertices
// (smoothing too while the volume is in surface mode).
bool ExtrudesShape(int mode, bool surfaceMode = false) {
  return mode == SCULP_GROW || mode == SCULPT_ALPGROW || mode == SCULPT_BUILD || mode == SCULPT_EXTRUDE ||
         mode == SCULP_MOVE || (mode == SCULPT_SMOOTH && surfaceMode) ||
         (IsSurfaceTool(mode) && mode >= SCULPT_DRAW && mode != SCULP_SFREEZE);
}

// The surface extrude tools' ways of moving (ShapeExtrudeParams::Mode).
int ExtrudeModeOf(int mode) { return mode == SCULP_SFEXTRUDE ? 3 : mode == SCULP_SFEXTRUDEA ? 2 : 0; }

VoxVisualTree* TreeOf(VoxelSculptTool& tool) { return tool.Tree ? tool.Tree() : nullptr; }

// One undo record for an edit of several volumes where the tool can make one.
void EndEditOf(VoxelSculptTool& tool, const std::vector<VolumeObject*>& volumes) {
  if (volumes.size() > 1 && tool.OnMergeEnd) {
    tool.OnMergeEnd(volumes);
    for (VolumeObject* v : volumes) v->UpdateSurface();
    ChangedSinceSave = 1;
    return;
  }
  for (VolumeObject* v : volumes) tool.EndEdit(*v);
}

// A cell's plane 8 differs somewhere from plane 0 of its upper neighbours.
bool BorderDiffers(VolumeObject& volume, const CellKey& k, const VoxelCell* cell) {
  for (int m = 1; m < 8; ++m) {
    const int dx = m & 1, dy = (m >> 1) & 1, dz = (m >> 2) & 1;
    VoxelCell** nf = volume.Cells.Find(k.x + dx, k.y + dy, k.z + dz);
    const VoxelCell* n = nf ? *nf : nullptr;
    for (int z = dz ? 8 : 0; z <= (dz ? 8 : 7); ++z)
      for (int y = dy ? 8 : 0; y <= (dy ? 8 : 7); ++y)
        for (int x = dx ? 8 : 0; x <= (dx ? 8 : 7); ++x)
          if (OldValue(cell, LatticeIndex(x, y, z)) != OldValue(n, LatticeIndex(dx ? 0 : x, dy ? 0 : y, dz ? 0 : z)))
            return true;
  }
  return false;
}

// The surface's moved vertices into the voxels (ApplyMC, undo copies kept),
// then every plane a cell shares with its upper neighbours made equal again
// (the rim of the rewritten region may leave them apart), so the surface
// built from the cells stays closed.
void WriteSurfaceIntoVoxels(VolumeObject& volume, bool force) {
  volume.ApplyMC(force, true);
  std::vector<CellKey> apart;
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (BorderDiffers(volume, k, c)) apart.push_back(k);
  });
  for (const CellKey& k : apart) {
    volume.SaveUndoCopy(k.x, k.y, k.z);
    volume.SyncBorders(k.x, k.y, k.z);
    volume.MarkDirty(k.x, k.y, k.z, false);
  }
}

std::vector<SymmetryCopy> CopiesOf(const VoxelSculptTool& tool) {
  return SymmetryCopies(GeneralPen::Symmetry, tool.Settings.AxialSymmetry, tool.Settings.AxialAxis);
}

// SCULPT_CUTNCLONE: the cut piece's surface as a mesh in scene space, held by
// the merge tool at the place it came from.
bool HandPieceToMerge(VoxelSculptTool& tool, VolumeObject& piece) {
  piece.Cells.ForEach([&](const CellKey& k, VoxelCell*&) { piece.MarkDirty(k.x, k.y, k.z, false); });
  piece.UpdateSurface();
  WeldedMeshBuilder welded;
  piece.ExtractWeldedAll(welded, piece.Transform);
  if (welded.VertexCount() == 0) return false;
  float lo[3] = {1e30f, 1e30f, 1e30f}, hi[3] = {-1e30f, -1e30f, -1e30f};
  for (int v = 0; v < welded.VertexCount(); ++v)
    for (int a = 0; a < 3; ++a)
      lo[a] = std::min(lo[a], welded.Positions[v * 3 + a]), hi[a] = std::max(hi[a], welded.Positions[v * 3 + a]);
  const float c[3] = {(lo[0] + hi[0]) / 2, (lo[1] + hi[1]) / 2, (lo[2] + hi[2]) / 2};
  float far = 0;
  for (int v = 0; v < welded.VertexCount(); ++v) {
    const float* p = &welded.Positions[v * 3];
    far = std::max(far, std::sqrt((p[0] - c[0]) * (p[0] - c[0]) + (p[1] - c[1]) * (p[1] - c[1]) +
                                  (p[2] - c[2]) * (p[2] - c[2])));
  }
  auto mesh = std::make_unique<comms::cMesh>();
  WeldedToMesh(welded, *mesh);
  if (!tool.Merge.SetMesh(std::move(mesh))) return false;
  // The merge tool holds meshes at a preview size around the origin: the
  // piece keeps its own size and place.
  constexpr float kPreviewRadius = 150.f;
  tool.Merge.Settings.MergeScale = far > 0 ? far / kPreviewRadius : 1.f;
  tool.Merge.Settings.ShiftX = c[0], tool.Merge.Settings.ShiftY = c[1], tool.Merge.Settings.ShiftZ = c[2];
  return true;
}

}  // namespace

void ShapePick(VolumeObject& volume, const ShapeAction& a, float pick[3], float normal[3]) {
  if (a.HasPick) {
    volume.PointToObject(a.Pick, pick);
    volume.VectorToObject(a.PickNormal, normal);
    const float l = std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
    for (int k = 0; k < 3; ++k) normal[k] = l > 1e-12f ? normal[k] / l : (k == 2 ? 1.f : 0.f);
    return;
  }
  volume.RecomputeCellBounds();
  for (int k = 0; k < 3; ++k) {
    pick[k] = volume.CellBoundsMin[k] <= volume.CellBoundsMax[k]
                  ? (volume.CellBoundsMin[k] + volume.CellBoundsMax[k] + 1) * 4.f
                  : 0.f;
    normal[k] = k == 2 ? 1.f : 0.f;
  }
}

ShapeView ShapeViewFor(const VoxelSculptTool& tool, VolumeObject& volume, const DrawnShape& shape,
                       const float pick[3]) {
  ShapeView view = ShapeView::Of(volume, *tool.Camera(), pick);
  if (GeneralPen::EnableFarPlane) view.LimitDepth(volume, shape, GeneralPen::ShapeDepthLimit, pick);
  return view;
}

float ShapeActionSoftBorder() { return std::max(GeneralPen::ShapeSoftBorder, 4.f); }

bool TakesDrawnShape(int mode) {
  if (IsSplit(mode)) return true;
  if (GeneralPen::DrawShape < kShapeRectangle || GeneralPen::DrawShape > kShapeSpline) return false;
  if (mode >= SCULP_GROW && mode <= SCULP_VXFOLLOW) return true;
  if (mode == SCULP_HIDE || mode == SCULP_CLHIDE || mode == SCULP_SFREEZE) return true;
  return ExtrudesShape(mode);
}

int DrawnShapeKindFor(int mode) {
  const int pen = GeneralPen::DrawShape;
  if (pen >= kShapeRectangle && pen <= kShapeSpline) return pen;
  return IsSplit(mode) ? kShapeRectangle : kShapeNone;
}

VoxTreeBranch* AddSplitLayer(VoxVisualTree& tree, VoxTreeBranch* row) {
  if (!row || !row->Volume) return nullptr;
  const VolumeObject& source = *row->Volume;
  auto part = std::make_unique<VolumeObject>();
  part->Name = source.Name + "_space_copy";
  part->ObjectId = tree.NewObjectId();
  part->SetTransform(source.Transform);
  part->Shader = source.Shader;
  VoxTreeBranch* b = tree.Attach(std::move(part), row->ParentBranch, row);
  std::copy(row->Tf, row->Tf + 16, b->Tf);
  std::copy(row->TfInverse, row->TfInverse + 16, b->TfInverse);
  return b;
}

bool ActOnDrawnShape(VoxelSculptTool& tool, const DrawnShape& shape, const ShapeAction& action) {
  VolumeObject* volume = tool.Volume();
  const comms::cViewer* camera = tool.Camera();
  if (!volume || !camera || !shape.Finished()) return false;
  const int mode = tool.Mode;
  const bool onSurface = IsSurfaceTool(mode) || (mode == SCULPT_SMOOTH && volume->SurfaceMode);
  // What the surface holds of an earlier surface edit goes to the voxels first.
  if (mode != SCULPT_TRANSPOSE && !onSurface && volume->SurfaceChanged)
    WriteSurfaceIntoVoxels(*volume, volume->SurfaceMode);
  float pick[3], normal[3];
  ShapePick(*volume, action, pick, normal);
  const ShapeView view = ShapeViewFor(tool, *volume, shape, pick);
  const std::vector<SymmetryCopy> copies = CopiesOf(tool);
  const bool invert = mode == SCULPT_RASPFILE ? !action.Invert : action.Invert;
  const float softBorder = ShapeActionSoftBorder();

  ShapeCutParams cut;
  cut.InvertRegion = action.InvertRegion;
  cut.Threads = action.Threads;

  if (mode == SCULP_HIDE) {
    VolumeObject* companion = HiddenSpaceOf(TreeOf(tool), *volume, true);
    if (!companion) return false;
    cut.Transfer = true;
    cut.Back = invert;
    cut.Target = invert ? volume : companion;
    VolumeObject& source = invert ? *companion : *volume;
    for (const SymmetryCopy& c : copies) CutByShape(source, shape, MirroredView(view, c.M), cut);
    EndEditOf(tool, {volume, companion});
    return true;
  }
  if (mode == SCULP_CLHIDE) {
    cut.CellHideMode = true;
    cut.Unhide = invert;
    for (const SymmetryCopy& c : copies) CutByShape(*volume, shape, MirroredView(view, c.M), cut);
    tool.EndEdit(*volume);
    return true;
  }
  if (IsSplit(mode)) {
    cut.Offset = tool.Settings.SplitBorderWidth;
    if (mode == SCULPT_RECTSPLIT) {
      VoxVisualTree* tree = TreeOf(tool);
      if (!tree) return false;
      RowsStep step(*tree);  // before the new layer is current
      VoxTreeBranch* row = AddSplitLayer(*tree, tree->BranchOf(volume));
      if (!row) return false;
      cut.Target = row->Volume;
      for (const SymmetryCopy& c : copies) CutByShape(*volume, shape, MirroredView(view, c.M), cut);
      if (tool.OnRowsStep) {
        // One step: undo takes the cells back and the layer away.
        step.NoteNew(row);
        step.NoteCells({volume, row->Volume}, mode);
        tool.OnRowsStep(step);
        volume->UpdateSurface();
        row->Volume->UpdateSurface();
        ChangedSinceSave = 1;
      } else {
        EndEditOf(tool, {volume, row->Volume});
      }
      tree->MakeCurrent(row);
      tool.SetScene(row->Volume, camera);
      tool.SelectMode(SCULPT_TRANSFORM);
      return true;
    }
    VolumeObject piece;
    piece.SetTransform(volume->Transform);
    cut.Target = &piece;
    for (const SymmetryCopy& c : copies) CutByShape(*volume, shape, MirroredView(view, c.M), cut);
    piece.DropUndoCopies();
    tool.EndEdit(*volume);
    if (!HandPieceToMerge(tool, piece)) return true;
    tool.SelectMode(SCULP_MERGE);
    return true;
  }
  if (mode == SCULP_SFREEZE) {
    ShapeFreezeParams f;
    f.SoftBorder = softBorder;
    f.Accumulate = tool.Settings.AsAirbrush;
    f.Thaw = invert;
    int changed = 0;
    for (const SymmetryCopy& c : copies) changed += ShapeFreeze(*volume, shape, MirroredView(view, c.M), f);
    if (changed) tool.EndEdit(*volume);
    return true;
  }
  if (ExtrudesShape(mode, volume->SurfaceMode)) {
    ShapeExtrudeParams e;
    e.Displacement = GeneralPen::PenRadius * view.S * GeneralPen::DeepDegree * (invert ? -1.f : 1.f);
    e.Direction = tool.Settings.ExtrudeDir;
    e.SoftBorder = softBorder;
    e.Mode = ExtrudeModeOf(mode);
    e.Depth = GeneralPen::DeepDegree;
    e.FacingOnly = tool.Settings.ExtrudeFacingOnly;
    LatticeMask mask;
    mask.Volume = volume, mask.SceneMask = GeneralPen::Mask;
    if (mask.SceneMask) e.Mask = &mask;
    for (const SymmetryCopy& c : copies) ShapeExtrude(*volume, shape, MirroredView(view, c.M), e);
    if (!onSurface) WriteSurfaceIntoVoxels(*volume, false);
    tool.EndEdit(*volume);
    return true;
  }
  if (!invert) {
    Random rnd(tool.NextSeed());
    ShapeSolidParams s;
    s.PenRadius = GeneralPen::PenRadius * view.S;
    s.BorderStyle = tool.Settings.BorderStyle;
    s.BorderFormParam = tool.Settings.BorderFormParam;
    s.KeepBehindPlane = mode == SCULPT_RASPFILE;
    std::copy(normal, normal + 3, s.PlaneNormal);
    s.Threads = action.Threads;
    for (const SymmetryCopy& c : copies) {
      c.Point(pick, s.Pick);
      if (s.KeepBehindPlane) c.Point(normal, s.PlaneNormal);
      ShapeSolid(*volume, shape, MirroredView(view, c.M), s, rnd);
    }
  } else {
    cut.KeepBehindPlane = mode == SCULPT_RASPFILE;
    for (const SymmetryCopy& c : copies) {
      c.Point(pick, cut.PlanePoint);
      c.Point(normal, cut.PlaneNormal);
      CutByShape(*volume, shape, MirroredView(view, c.M), cut);
    }
  }
  tool.EndEdit(*volume);
  return true;
}

void ShapeDrawing::Begin(VoxelSculptTool& tool) {
  const ToolPointer& ptr = Pointer();
  shape_.Kind = DrawnShapeKindFor(tool.Mode);
  shape_.BorderStyle = tool.Settings.BorderStyle;
  shape_.Clear();
  shape_.Add(ptr.X, ptr.Y);
  action_ = ShapeAction();
  action_.Invert = tool.Settings.InvertToolAction[tool.Mode] != ptr.Ctrl;
  action_.InvertRegion = ptr.Shift;
  NotePick(tool, ptr.X, ptr.Y);
  drawing_ = true;
}

void ShapeDrawing::Add(VoxelSculptTool& tool) {
  if (!drawing_) return;
  const ToolPointer& ptr = Pointer();
  shape_.Add(ptr.X, ptr.Y);
  if (!action_.HasPick) NotePick(tool, ptr.X, ptr.Y);
}

bool ShapeDrawing::End() {
  if (!drawing_) return false;
  drawing_ = false;
  return shape_.Finish();
}

void ShapeDrawing::Cancel() {
  drawing_ = false;
  shape_.Clear();
}

bool ShapeDrawing::DrawOutline(comms::cRender& render, const comms::cViewer& camera) const {
  if (!drawing_ || shape_.Points().size() < 2) return false;
  const std::vector<DrawnShape::Point> outline = shape_.Outline();
  const float ox = camera.ViewRect.left, oy = camera.ViewRect.top;
  const uint32_t colour = 0xffffc040u;
  for (size_t i = 0; i < outline.size(); ++i) {
    const DrawnShape::Point& a = outline[i];
    const DrawnShape::Point& b = outline[(i + 1) % outline.size()];
    render.DrawLine(a[0] - ox, a[1] - oy, b[0] - ox, b[1] - oy, 0.f, colour, colour);
  }
  return true;
}

void ShapeDrawing::NotePick(VoxelSculptTool& tool, float x, float y) {
  PenPoint pen;
  if (!tool.PenAt(x, y, pen)) return;
  action_.HasPick = true;
  std::copy(pen.P, pen.P + 3, action_.Pick);
  std::copy(pen.N, pen.N + 3, action_.PickNormal);
}

bool ReplayDrawnShape(VolumeObject& volume, int mode, int kind, bool invert, const float view[3], float radius,
                      const std::vector<float>& xyz, int threads, std::string* why, VoxVisualTree* tree) {
  auto refuse = [&](const char* text) {
    if (why) *why = text;
    return false;
  };
  if (kind < kShapeRectangle || kind > kShapeSpline) return refuse("shape kind must be 1 to 5");
  if ((mode == SCULP_HIDE || mode == SCULPT_RECTSPLIT) && !(tree && tree->BranchOf(&volume)))
    return refuse("this tool needs a layer tree");
  // An orthographic camera on the origin looking along `view`: -z turned onto it.
  comms::cFreeViewer camera;
  camera.ViewRect = comms::cRect{0, 0, 1024, 1024};
  camera.OrthoProj = true;
  camera.OrthoScale = 1.f;
  const comms::cVec3 to(view[0], view[1], view[2]), from(0, 0, -1);
  comms::cVec3 axis = comms::cVec3(from.y * to.z - from.z * to.y, from.z * to.x - from.x * to.z,
                                   from.x * to.y - from.y * to.x);
  const float turn = std::acos(std::clamp(from.x * to.x + from.y * to.y + from.z * to.z, -1.f, 1.f));
  if (axis.Length() < 1e-6f) axis = comms::cVec3(0, 1, 0);
  float best = -2.f;
  for (float sign : {1.f, -1.f}) {
    camera.SetHome(comms::cVec3(0, 0, 0), 500.f, comms::cQuat::FromAxisAngle(axis.Normalized(), sign * turn));
    const float along = camera.Forward.x * to.x + camera.Forward.y * to.y + camera.Forward.z * to.z;
    if (along > best) best = along;
    if (along > 0.999f) break;
  }
  if (best < 0.999f) return refuse("no camera looks along the view");
  GeneralPenSaver keepPen;
  GeneralPen::DrawShape = kind;
  GeneralPen::PenRadius = radius;
  VoxelSculptTool tool;
  if (tree) tool.Tree = [tree] { return tree; };
  tool.SetScene(&volume, &camera);
  tool.SelectMode(mode);
  DrawnShape shape;
  shape.Kind = kind;
  shape.BorderStyle = tool.Settings.BorderStyle;
  ShapeAction action;
  action.Invert = invert;
  action.Threads = threads;
  const float scene[3] = {0, 0, 0};
  const ShapeView screen = ShapeView::Of(volume, camera, scene);
  for (size_t i = 0; i + 2 < xyz.size(); i += 3) {
    const float p[3] = {xyz[i], xyz[i + 1], xyz[i + 2]};
    float x, y;
    if (!screen.Project(p, x, y)) continue;
    shape.Add(x, y);
    PenPoint pen;
    if (!action.HasPick && tool.PenAt(x, y, pen)) {
      action.HasPick = true;
      std::copy(pen.P, pen.P + 3, action.Pick);
      std::copy(pen.N, pen.N + 3, action.PickNormal);
    }
  }
  if (!shape.Finish()) return refuse("the shape encloses nothing");
  const bool done = ActOnDrawnShape(tool, shape, action);
  volume.DropUndoCopies();
  if (tree) {
    // The layers the action made or filled (hidden space, split part) as a
    // frame would leave them; the script goes on with its own volume.
    for (const std::unique_ptr<VolumeObject>& v : tree->VolumeList)
      if (v.get() != &volume) v->UpdateSurface(), v->DropUndoCopies();
    tree->MakeCurrent(tree->BranchOf(&volume));
  }
  tool.SetScene(nullptr, nullptr);
  return done || refuse("the tool could not act on the shape");
}

namespace {

// The shape input: press starts the shape, drag adds to it, release acts.
class DrawnShapeHandler final : public VoxelModeHandler {
 public:
  bool OnLMBDown(VoxelSculptTool& tool) override {
    drawing_.Begin(tool);
    return true;
  }
  bool OnMouseMove(VoxelSculptTool& tool) override {
    if (!drawing_.Drawing()) return false;
    drawing_.Add(tool);
    return true;
  }
  bool OnLMBUp(VoxelSculptTool& tool) override {
    if (!drawing_.Drawing()) return false;
    if (drawing_.End()) ActOnDrawnShape(tool, drawing_.Shape(), drawing_.Action());
    drawing_.Cancel();
    return true;
  }
  void Deactivate(VoxelSculptTool&) override { drawing_.Cancel(); }
  bool DrawOverlay(VoxelSculptTool&, comms::cRender& render, const comms::cViewer& camera) override {
    return drawing_.DrawOutline(render, camera);
  }

 private:
  ShapeDrawing drawing_;
};

// "Hide" and cell hiding by stroke: each frame's pen segment, once per
// symmetry copy; the release closes the edit.
class HideStrokeHandler final : public VoxelModeHandler {
 public:
  explicit HideStrokeHandler(int mode) : mode_(mode) {}
  bool OnLMBDown(VoxelSculptTool& tool) override {
    VolumeObject* volume = tool.Volume();
    PenPoint pen;
    if (!volume || !tool.PenAt(Pointer().X, Pointer().Y, pen)) return false;
    companion_ = nullptr;
    if (mode_ == SCULP_HIDE) {
      companion_ = HiddenSpaceOf(tool.Tree ? tool.Tree() : nullptr, *volume, true);
      if (!companion_) {
        Log("HideStrokeHandler: no layer tree to hold the hidden space");
        return true;
      }
    }
    invert_ = tool.Settings.InvertToolAction[mode_] != Pointer().Ctrl;
    volume_ = volume;
    last_ = pen;
    Step(tool, pen);
    return true;
  }
  bool OnMouseMove(VoxelSculptTool& tool) override {
    if (!volume_) return false;
    PenPoint pen;
    // The pen reads the surface as it was before the stroke: it does not
    // sink into what it hides.
    if (tool.PenAt(Pointer().X, Pointer().Y, pen, true)) Step(tool, pen);
    return true;
  }
  bool OnLMBUp(VoxelSculptTool& tool) override {
    if (!volume_) return false;
    Finish(tool);
    return true;
  }
  void Deactivate(VoxelSculptTool& tool) override {
    if (volume_) Finish(tool);
  }

 private:
  void Step(VoxelSculptTool& tool, const PenPoint& pen) {
    BrushEnd a, b;
    volume_->PointToObject(last_.P, a.P);
    volume_->PointToObject(pen.P, b.P);
    a.R = std::max(last_.Radius / volume_->TransformScale, 0.0001f);
    b.R = std::max(pen.Radius / volume_->TransformScale, 0.0001f);
    for (const SymmetryCopy& c : CopiesOf(tool)) {
      BrushEnd ca = a, cb = b;
      c.Point(a.P, ca.P);
      c.Point(b.P, cb.P);
      if (mode_ == SCULP_HIDE)
        HideStroke(*volume_, *companion_, ca, cb, invert_);
      else
        HideCellsBySphere(*volume_, cb.P, cb.R, invert_);
    }
    last_ = pen;
    volume_->UpdateSurface();
  }
  void Finish(VoxelSculptTool& tool) {
    std::vector<VolumeObject*> changed{volume_};
    if (companion_) changed.push_back(companion_);
    EndEditOf(tool, changed);
    volume_ = nullptr;
    companion_ = nullptr;
  }
  int mode_;
  VolumeObject* volume_ = nullptr;
  VolumeObject* companion_ = nullptr;
  PenPoint last_;
  bool invert_ = false;
};

}  // namespace

void RegisterDrawnShapeHandlers() {
  RegisterVoxelModeHandler(kDrawnShapeHandler, [] { return std::make_unique<DrawnShapeHandler>(); });
  for (int mode : {SCULP_HIDE, SCULP_CLHIDE})
    RegisterVoxelModeHandler(mode, [mode] { return std::make_unique<HideStrokeHandler>(mode); });
}
