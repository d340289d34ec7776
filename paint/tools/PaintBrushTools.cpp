// The brush tools of the paint room: pointer hooks, the pen on the mesh and
// the cursor ring.
#include "paint/tools/PaintBrushTools.h"

#include <cmath>
#include <string>

#include "ClassEngine/Enumerator.h"
#include "paint/PenPressure.h"
#include "paint/SceneChanges.h"
#include "paint/scene/PaintScene.h"
#include "paint/stroke/PaintArea.h"
#include "paint/stroke/ScenePick.h"
#include "platform/Keys.h"
#include "render/Render.h"
#include "render/SurfaceRing.h"
#include "render/Viewer.h"

using comms::cVec3;

PaintBrushTool::PaintBrushTool(PaintKind kind) : kind_(kind), mouse_(std::make_unique<MousePressure>()) {}

PaintBrushTool::~PaintBrushTool() = default;

void PaintBrushTool::SetScene(PaintScene* scene, const comms::cViewer* camera) {
  if (scene != scene_) Finish(), dabs_.reset();
  scene_ = scene, camera_ = camera;
}

bool PaintBrushTool::PenAt(float x, float y, PaintPenPoint& out) const {
  if (!scene_ || !camera_) return false;
  cVec3 origin, dir;
  camera_->PixelRay(x, y, origin, dir);
  SurfaceHit hit;
  if (!PickPaintSurface(*scene_, origin, dir, hit)) return false;
  out.Pos = cVec3(hit.Pos[0], hit.Pos[1], hit.Pos[2]);
  out.Normal = cVec3(hit.Normal[0], hit.Normal[1], hit.Normal[2]);
  out.Face = hit.Face;
  // A unit step along the camera's side at the hit covers `perUnit` pixels.
  const cVec3 a = camera_->ProjectToView(out.Pos), b = camera_->ProjectToView(out.Pos + camera_->Right);
  const float perUnit = std::hypot(b.x - a.x, b.y - a.y);
  out.WorldRadius = perUnit > 1e-6f ? GeneralPen::PenRadius / perUnit : GeneralPen::PenRadius;
  return true;
}

bool PaintBrushTool::Pick(float sx, float sy, SurfaceHit& hit) {
  PaintPenPoint p;
  if (!PenAt(sx, sy, p)) return false;
  hit.Pos[0] = p.Pos.x, hit.Pos[1] = p.Pos.y, hit.Pos[2] = p.Pos.z;
  hit.Normal[0] = p.Normal.x, hit.Normal[1] = p.Normal.y, hit.Normal[2] = p.Normal.z;
  hit.Face = p.Face;
  return true;
}

void PaintBrushTool::Project(const float world[3], float& sx, float& sy) {
  const cVec3 p = camera_ ? camera_->ProjectToView(cVec3(world[0], world[1], world[2])) : cVec3();
  sx = p.x, sy = p.y;
}

bool PaintBrushTool::PickNear(float sx, float sy, const float* near, SurfaceHit& hit) {
  if (!scene_ || !camera_) return false;
  cVec3 origin, dir;
  camera_->PixelRay(sx, sy, origin, dir);
  return PickPaintSurfaceNear(*scene_, origin, dir, cVec3(near[0], near[1], near[2]), hit);
}

namespace {
// The modes whose stroke stays open from one laid path to the next.
bool PathMode() {
  return GeneralPen::StrokeMode == kStrokeLines || GeneralPen::StrokeMode == kStrokeCurves ||
         GeneralPen::StrokeMode == kStrokePreview;
}
// A press draws an area to paint in one go.
bool AreaMode() {
  return GeneralPen::StrokeMode == kStrokeDefault && GeneralPen::DrawShape >= kShapeRectangle &&
         GeneralPen::DrawShape <= kShapeSpline;
}
// The DrawnShape border style whose distance is the plain distance to the
// border (no arc), so the soft border fades evenly.
constexpr int kPlainBorder = 2;
}  // namespace

void PaintBrushTool::BeginDabs() {
  if (!dabs_) dabs_ = std::make_unique<PaintDabs>(*scene_);
  dabs_->Stroke.OnEnd = [this](PaintStroke& s) {
    if (OnStrokeEnd && scene_) OnStrokeEnd(*scene_, s);
  };
  dabs_->Kind = kind_;
  dabs_->Recording = Recording;
  dabs_->Begin(++strokes_);
}

void PaintBrushTool::DabAt(const Dab& d) {
  if (!camera_ || !dabs_) return;
  PaintPenPoint at;
  if (!PenAt(d.ScreenX, d.ScreenY, at)) return;
  PenHit h;
  h.Pos = cVec3(d.Hit.Pos[0], d.Hit.Pos[1], d.Hit.Pos[2]);
  h.Face = d.Hit.Face;
  h.WorldRadius = at.WorldRadius;
  h.Pressure = GeneralPen::IgnorePressure ? 1.0f : GeneralPen::PenPressure;
  // A mirrored copy (GeneralPen::Symmetry) looks along the mirrored view.
  const float forward[3] = {camera_->Forward.x, camera_->Forward.y, camera_->Forward.z};
  float mirrored[3];
  MirrorVector(forward, d.Mirror, mirrored);
  h.ViewDir = cVec3(mirrored[0], mirrored[1], mirrored[2]);
  h.Mirror = d.Mirror;
  if (dabs_->Dab(h) == DabResult::InvisibleLayer) message_ = "PAINT_INVIS_LAYER";
}

float PaintBrushTool::PathSpacing() const {
  const BasicPenShape* pen = GeneralPen::CurrentPenPtr;
  return PathStep(GeneralPen::PenRadius, pen ? pen->UseSpacing : true, pen ? pen->Spacing : 10.f);
}

void PaintBrushTool::ApplyPaths(const std::vector<std::vector<ScreenPoint>>& paths) {
  if (!scene_ || !camera_ || paths.empty()) return;
  if (!multiPart_) BeginDabs(), multiPart_ = true;
  const float origin[3] = {0, 0, 0};
  for (const std::vector<ScreenPoint>& path : paths) {
    dabs_->BreakPath();
    for (const ScreenPoint& p : path) {
      SurfaceHit hit;
      // Off the mesh the path breaks; the next hit starts a new track.
      if (!Pick(p.X, p.Y, hit)) {
        dabs_->BreakPath();
        continue;
      }
      DabWithMirrors(*this, hit, p.X, p.Y, origin, [this](const Dab& d) { DabAt(d); });
    }
  }
  if (dabs_->Checkpoint()) ChangedSinceSave = 1;
}

float PaintBrushTool::AreaRadius() const {
  const std::array<float, 4> box = area_.Box();
  PaintPenPoint at;
  if (PenAt((box[0] + box[2]) / 2, (box[1] + box[3]) / 2, at)) return at.WorldRadius;
  for (const DrawnShape::Point& p : area_.Points())
    if (PenAt(p[0], p[1], at)) return at.WorldRadius;
  return GeneralPen::PenRadius;
}

void PaintBrushTool::PaintArea() {
  if (!scene_ || !camera_) return;
  const ViewProjection project = ProjectionThrough(*camera_);
  std::vector<int> faces;
  FacesUnderShape(*scene_, area_, project, faces);
  const AreaMask mask(area_, project, GeneralPen::Mask, GeneralPen::ShapeSoftBorder);
  Finish();
  BeginDabs();
  if (dabs_->Area(mask, faces, AreaRadius(), camera_->Forward) == DabResult::InvisibleLayer)
    message_ = "PAINT_INVIS_LAYER";
  Finish();
}

std::vector<ScreenPoint> PaintBrushTool::PreviewPath() const {
  if (lineDown_) return LinePath(lineStart_, lineEnd_, PathSpacing());
  if (trackDown_ && !tracks_.empty()) return TrackPath(tracks_.back(), PathSpacing());
  if (curveNodes_.empty() || GeneralPen::StrokeMode != kStrokeCurves) return {};
  std::vector<ScreenPoint> nodes = curveNodes_;
  nodes.push_back({Pointer().X, Pointer().Y});
  return CurvePath(nodes, PathSpacing(), GeneralPen::BSpilnes);
}

bool PaintBrushTool::OnLMBDown() {
  message_ = "";
  if (!scene_ || !camera_) return false;
  const ToolPointer& ptr = Pointer();
  if (ptr.Alt) return false;  // Alt with a button navigates the view
  if (AreaMode() && kind_ != PaintKind::Smudge) {
    // An area may start off the mesh. The smudge has nothing to drag over an area.
    area_.Kind = GeneralPen::DrawShape;
    area_.BorderStyle = kPlainBorder;
    area_.Clear();
    area_.Add(ptr.X, ptr.Y);
    areaDown_ = true;
    return true;
  }
  PaintPenPoint pen;
  if (!PenAt(ptr.X, ptr.Y, pen)) return false;  // off the mesh the view may navigate
  UpdatePenPressure(pressure_ ? *pressure_ : *mouse_, true);
  if (GeneralPen::StrokeMode == kStrokeLines) {
    lineDown_ = true;
    lineStart_ = lineEnd_ = {ptr.X, ptr.Y};
    return true;
  }
  if (GeneralPen::StrokeMode == kStrokeCurves) {
    curveNodes_.push_back({ptr.X, ptr.Y});
    return true;
  }
  if (GeneralPen::StrokeMode == kStrokePreview) {
    tracks_.push_back({{ptr.X, ptr.Y}});
    trackDown_ = true;
    return true;
  }
  Finish();
  BeginDabs();
  spacer_ = std::make_unique<StrokeSpacer>(*this, [this](const Dab& d) { DabAt(d); });
  spacer_->Begin();
  spacer_->Step(ptr.X, ptr.Y, pen.WorldRadius);
  moved_ = false;
  return true;
}

bool PaintBrushTool::OnKey(int key) {
  if (GeneralPen::StrokeMode == kStrokePreview && !tracks_.empty() && !trackDown_) {
    if (key == keys::Enter) {
      std::vector<std::vector<ScreenPoint>> paths;
      for (const std::vector<ScreenPoint>& t : tracks_) paths.push_back(TrackPath(t, PathSpacing()));
      tracks_.clear();
      ApplyPaths(paths);
      return true;
    }
    if (key == keys::Esc) {
      tracks_.clear();
      return true;
    }
  }
  if (GeneralPen::StrokeMode == kStrokeCurves && !curveNodes_.empty()) {
    if (key == keys::Enter) {
      const std::vector<ScreenPoint> path = CurvePath(curveNodes_, PathSpacing(), GeneralPen::BSpilnes);
      curveNodes_.clear();
      ApplyPaths({path});
      return true;
    }
    if (key == keys::Esc) {
      curveNodes_.clear();
      return true;
    }
  }
  return false;
}

bool PaintBrushTool::OnMouseMove() {
  const ToolPointer& ptr = Pointer();
  if (areaDown_) {
    area_.Add(ptr.X, ptr.Y);
    return true;
  }
  if (trackDown_ && !tracks_.empty()) {
    const ScreenPoint& last = tracks_.back().back();
    if (std::hypot(ptr.X - last.X, ptr.Y - last.Y) >= 0.5f) tracks_.back().push_back({ptr.X, ptr.Y});
    return true;
  }
  if (lineDown_) {
    lineEnd_ = {Pointer().X, Pointer().Y};
    return true;
  }
  if (!Stroking() || !spacer_) return false;
  // In the points mode a click is one dab; dragging adds none.
  moved_ = GeneralPen::StrokeMode != kStrokePoints;
  return true;
}

void PaintBrushTool::Step() {
  if (!Stroking() || !moved_ || !spacer_) return;
  UpdatePenPressure(pressure_ ? *pressure_ : *mouse_, false);
  const ToolPointer& ptr = Pointer();
  PaintPenPoint pen;
  if (PenAt(ptr.X, ptr.Y, pen)) spacer_->Step(ptr.X, ptr.Y, pen.WorldRadius);
  moved_ = false;
}

void PaintBrushTool::FrameUpdate() {
  // A line or curve stroke ends when the mode changes.
  if (GeneralPen::StrokeMode != kStrokeCurves) curveNodes_.clear();
  if (GeneralPen::StrokeMode != kStrokeLines) lineDown_ = false;
  if (GeneralPen::StrokeMode != kStrokePreview) tracks_.clear(), trackDown_ = false;
  if (!AreaMode()) area_.Clear(), areaDown_ = false;
  if (multiPart_ && !PathMode()) Finish();
  Step();
}

void PaintBrushTool::Finish() {
  lineDown_ = false;
  curveNodes_.clear();
  tracks_.clear(), trackDown_ = false;
  multiPart_ = false;
  if (!Stroking()) return;
  Step();
  dabs_->End();
  spacer_.reset();
  ChangedSinceSave = 1;
}

bool PaintBrushTool::OnLMBUp() {
  if (areaDown_) {
    areaDown_ = false;
    area_.Add(Pointer().X, Pointer().Y);
    if (area_.Finish()) PaintArea();
    area_.Clear();
    return true;
  }
  if (trackDown_) {
    trackDown_ = false;
    return true;
  }
  if (lineDown_) {
    lineDown_ = false;
    lineEnd_ = {Pointer().X, Pointer().Y};
    ApplyPaths({LinePath(lineStart_, lineEnd_, PathSpacing())});
    return true;
  }
  if (GeneralPen::StrokeMode == kStrokeCurves && !curveNodes_.empty()) return true;
  if (!Stroking() || !spacer_) return false;
  Finish();
  return true;
}

void PaintBrushTool::Deactivate() { Finish(); }

void PaintBrushTool::OnSceneReset() {
  Finish();
  dabs_.reset();
}

bool PaintBrushTool::DrawBrushCursor(comms::cRender& render) const {
  const uint32_t colour = 0xffffc040u;
  auto polyline = [&](const std::vector<ScreenPoint>& path) {
    for (size_t i = 1; i < path.size(); i++)
      render.DrawLine(path[i - 1].X, path[i - 1].Y, path[i].X, path[i].Y, 0, colour, colour);
  };
  polyline(PreviewPath());
  for (const std::vector<ScreenPoint>& t : tracks_) polyline(t);
  if (areaDown_ && area_.Points().size() >= 2) {
    const std::vector<DrawnShape::Point> outline = area_.Outline();
    for (size_t i = 0; i < outline.size(); i++) {
      const DrawnShape::Point& a = outline[i];
      const DrawnShape::Point& b = outline[(i + 1) % outline.size()];
      render.DrawLine(a[0], a[1], b[0], b[1], 0, colour, colour);
    }
  }
  PaintPenPoint pen;
  if (!camera_ || !PenAt(Pointer().X, Pointer().Y, pen)) return false;
  DrawSurfaceRing(render, *camera_, pen.Pos, pen.Normal, pen.WorldRadius, 0xff40c0ffu);
  return true;
}

const std::vector<PenPressEntry>& PaintPenPressEntries() {
  static const std::vector<PenPressEntry> entries = {
      {"PENPRESS_DEFAULT", kStrokeDefault, kShapeNone},      {"PENPRESS_SOFT", kStrokeSoft, kShapeNone},
      {"PENPRESS_DOUBLESOFT", kStrokeDoubleSoft, kShapeNone}, {"PENPRESS_MIDDLENARROW", kStrokeMiddleNarrow, kShapeNone},
      {"PENPRESS_CONSTANT", kStrokeConstant, kShapeNone},    {"PENPRESS_POINTS", kStrokePoints, kShapeNone},
      {"PENPRESS_LINES", kStrokeLines, kShapeNone},          {"PENPRESS_CURVES", kStrokeCurves, kShapeNone},
      {"PENPRESS_PREVIEW", kStrokePreview, kShapeNone},      {"DRAW_BY_RECT_HINT", kStrokeDefault, kShapeRectangle},
      {"DRAW_BY_LASSO_HINT", kStrokeDefault, kShapeLasso},   {"DRAW_CONTOUR_HINT", kStrokeDefault, kShapeContour},
      {"DRAW_BY_CIRCLE_HINT", kStrokeDefault, kShapeCircle}, {"DRAW_BY_SPLINE_HINT", kStrokeDefault, kShapeSpline},
  };
  return entries;
}

void RegisterPaintPenPress() {
  Enumerator* list = GetEnumerator("PAINTPENPRESS");
  if (list->GetStoredAmount() > 0) return;
  const std::vector<PenPressEntry>& entries = PaintPenPressEntries();
  for (size_t i = 0; i < entries.size(); i++) list->Add(entries[i].Name, (int)i);
}

int PaintPenPressEntryOf(int strokeMode, int drawShape) {
  const std::vector<PenPressEntry>& entries = PaintPenPressEntries();
  const int shape = strokeMode == kStrokeDefault ? drawShape : kShapeNone;
  for (size_t i = 0; i < entries.size(); i++)
    if (entries[i].StrokeMode == strokeMode && entries[i].DrawShape == shape) return (int)i;
  return -1;
}

bool PaintBrushTool::OnChange(BaseClass*, void*, void*, const char* name) {
  if (!name || std::string(name) != "PenPressureMode") return true;
  const std::vector<PenPressEntry>& entries = PaintPenPressEntries();
  if (PressEntry < 0 || PressEntry >= (int)entries.size()) return true;
  // A change of shape frees the outline drawn so far.
  if (GeneralPen::DrawShape != entries[PressEntry].DrawShape) area_.Clear(), areaDown_ = false;
  GeneralPen::StrokeMode = entries[PressEntry].StrokeMode;
  GeneralPen::DrawShape = entries[PressEntry].DrawShape;
  return true;
}

void PaintBrushTool::Activate() {
  BasicTool::Activate();
  PressEntry = PaintPenPressEntryOf(GeneralPen::StrokeMode, GeneralPen::DrawShape);
}

void RegisterPaintTools(ToolProviders& providers) {
  RegisterPaintPenPress();
  providers["StdPen"] = [] { return static_cast<BasicTool*>(new StdPenTool); };
  providers["EraserTool"] = [] { return static_cast<BasicTool*>(new EraserTool); };
  providers["SmudgeTool"] = [] { return static_cast<BasicTool*>(new SmudgeTool); };
}

PaintBrushTool* FindPaintTool(ToolTable& table, const char* name) {
  return dynamic_cast<PaintBrushTool*>(table.FindTool(name));
}
