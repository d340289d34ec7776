// The transpose tool of the voxel room (SCULPT_TRANSPOSE, see AdjustHandlers.h).
#include <algorithm>
#include <cmath>

#include "MC/adjust/AdjustHandlers.h"
#include "MC/brushes/Symmetry.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/mcubes/VolumeObject.h"
#include "paint/GeneralPen.h"
#include "render/Render.h"
#include "render/Viewer.h"

using comms::cMat4;
using comms::cVec3;

namespace {
cMat4 ToMat(const float m[16]) {
  cMat4 r;
  for (int i = 0; i < 16; ++i) r.m[i / 4][i % 4] = m[i];
  return r;
}
}  // namespace

bool TransposeHandler::PickObject(VoxelSculptTool& tool, float out[3]) const {
  PenPoint pen;
  if (!tool.PenAt(Pointer().X, Pointer().Y, pen)) return false;
  tool.Volume()->PointToObject(pen.P, out);
  return true;
}

void TransposeHandler::Commit(VoxelSculptTool& tool) {
  state_ = 0;
  hasGizmo_ = false;
  VolumeObject* v = volume_;
  Selection.Clear();
  volume_ = nullptr;
  total_ = cMat4();
  if (!v || v != tool.Volume() || !v->SurfaceChanged) return;
  v->ApplyMC(false, true);
  tool.EndEdit(*v);
}

bool TransposeHandler::OnLMBDown(VoxelSculptTool& tool) {
  if (Pointer().Alt) return false;
  if (hasGizmo_ && volume_ == tool.Volume() && Gizmo.Begin(*tool.Camera(), Pointer().X, Pointer().Y)) {
    state_ = 2;
    return true;
  }
  const bool byShape = GeneralPen::DrawShape >= kShapeRectangle && GeneralPen::DrawShape <= kShapeSpline;
  float p[3];
  if (!byShape && !PickObject(tool, p)) return false;
  // A new selection: what the last one moved goes into the voxels first.
  Commit(tool);
  if (byShape) {
    volume_ = tool.Volume();
    drawing_.Begin(tool);
    state_ = 3;
    return true;
  }
  tool.Volume()->UpdateSurface();
  volume_ = tool.Volume();
  for (int k = 0; k < 3; ++k) a_[k] = b_[k] = p[k];
  state_ = 1;
  if (tool.Settings.TRN_MODE == TRN_CUSTOM) Select(tool);
  return true;
}

void TransposeHandler::Select(VoxelSculptTool& tool) {
  VolumeObject& v = *tool.Volume();
  const float opacity = tool.Settings.MASK_OPACITY;
  const int mode = tool.Settings.TRN_MODE;
  if (mode == TRN_CUSTOM) {
    PenPoint pen;
    if (!tool.PenAt(Pointer().X, Pointer().Y, pen)) return;
    float c[3];
    v.PointToObject(pen.P, c);
    const float r = pen.Radius / v.TransformScale;
    Selection.SelectWhere(v, [&](const float* p) { return DabStrength(p, c, r, opacity); });
    return;
  }
  Selection.SelectWhere(v, [&](const float* p) { return TransposeStrength(mode, p, a_, b_, opacity); });
}

void TransposeHandler::SelectByShape(VoxelSculptTool& tool) {
  VolumeObject& v = *tool.Volume();
  float pick[3], normal[3];
  ShapePick(v, drawing_.Action(), pick, normal);
  const ShapeView view = ShapeViewFor(tool, v, drawing_.Shape(), pick);
  const float opacity = tool.Settings.MASK_OPACITY, soft = ShapeActionSoftBorder();
  for (const SymmetryCopy& c : SymmetryCopies(GeneralPen::Symmetry, tool.Settings.AxialSymmetry,
                                               tool.Settings.AxialAxis)) {
    const ShapeView copy = MirroredView(view, c.M);
    Selection.SelectWhere(v, [&](const float* p) {
      return opacity * std::clamp(copy.Distance(drawing_.Shape(), p, copy.S) / soft, 0.f, 1.f);
    });
  }
}

void TransposeHandler::PlaceGizmo(VoxelSculptTool& tool, const float* at) {
  float c[3];
  if (at)
    std::copy(at, at + 3, c);
  else if (!Selection.Centre(c))
    return;
  float s[3];
  tool.Volume()->PointToScene(c, s);
  Gizmo.Centre = cVec3(s[0], s[1], s[2]);
  hasGizmo_ = !Selection.Empty();
}

bool TransposeHandler::OnMouseMove(VoxelSculptTool& tool) {
  if (state_ == 3) {
    drawing_.Add(tool);
    return true;
  }
  if (state_ == 2) {
    Move(tool, Gizmo.DragTo(*tool.Camera(), Pointer().X, Pointer().Y));
    return true;
  }
  if (state_ != 1) return false;
  float p[3];
  if (PickObject(tool, p))
    for (int k = 0; k < 3; ++k) b_[k] = p[k];
  if (tool.Settings.TRN_MODE == TRN_CUSTOM) Select(tool);
  return true;
}

bool TransposeHandler::OnLMBUp(VoxelSculptTool& tool) {
  if (state_ == 2) {
    const cMat4 drag = Gizmo.DragTo(*tool.Camera(), Pointer().X, Pointer().Y);
    total_ = total_ * drag;
    // The gizmo goes where its centre went.
    Gizmo.Centre = TransformPoint(Gizmo.Centre, drag);
    Gizmo.End();
    state_ = 0;
    return true;
  }
  if (state_ == 3) {
    state_ = 0;
    if (drawing_.End()) {
      SelectByShape(tool);
      // The gizmo moves the shape's selection as one: no line to fade along.
      if (Selection.Centre(a_)) std::copy(a_, a_ + 3, b_);
      PlaceGizmo(tool, nullptr);
    }
    drawing_.Cancel();
    return true;
  }
  if (state_ != 1) return false;
  state_ = 0;
  if (tool.Settings.TRN_MODE != TRN_CUSTOM) Select(tool);
  const int mode = tool.Settings.TRN_MODE;
  // Line and sphere hold the gizmo at their start, the others at the centre.
  PlaceGizmo(tool, mode == TRN_LINE || mode == TRN_BILINE || mode == TRN_SPHERE ? a_ : nullptr);
  return true;
}

void TransposeHandler::Move(VoxelSculptTool& tool, const cMat4& drag) {
  VolumeObject& v = *tool.Volume();
  // The scene matrix in the volume's own space: to the scene, move, back.
  const cMat4 m = ToMat(v.Transform) * (total_ * drag) * ToMat(v.InverseTransform);
  TransposeMatrix tm[2];
  const float* from = m.Data();
  std::copy(from, from + 16, tm[0].M);
  float n[3] = {a_[0] - b_[0], a_[1] - b_[1], a_[2] - b_[2]};
  const float l = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
  const int mode = tool.Settings.TRN_MODE;
  const bool line = (mode == TRN_LINE || mode == TRN_BILINE) && l > 1e-6f;
  for (int k = 0; k < 3; ++k) {
    tm[0].Centre[k] = a_[k], tm[0].Normal[k] = line ? n[k] / l : 0.f;
    // The double line's far end stays where it is.
    tm[1].Centre[k] = b_[k], tm[1].Normal[k] = line ? -n[k] / l : 0.f;
  }
  const cMat4 identity;
  std::copy(identity.Data(), identity.Data() + 16, tm[1].M);
  Selection.Blend(tm, mode == TRN_BILINE && line ? 2 : 1);
  Selection.WriteBack(v);
  v.UpdateSurface();
}

bool TransposeHandler::DrawOverlay(VoxelSculptTool& tool, comms::cRender& render, const comms::cViewer& camera) {
  if (state_ == 3) return drawing_.DrawOutline(render, camera);
  if (state_ == 1 && tool.Settings.TRN_MODE != TRN_CUSTOM && tool.Settings.TRN_MODE != TRN_OBJECT) {
    float sa[3], sb[3];
    tool.Volume()->PointToScene(a_, sa);
    tool.Volume()->PointToScene(b_, sb);
    const cVec3 pa = camera.ProjectToView(cVec3(sa[0], sa[1], sa[2]));
    const cVec3 pb = camera.ProjectToView(cVec3(sb[0], sb[1], sb[2]));
    render.DrawLine(pa.x, pa.y, pb.x, pb.y, 0.f, 0xffffc040u, 0xffffc040u);
    render.Flush2D();
    return true;
  }
  if (!hasGizmo_ || volume_ != tool.Volume()) return false;
  Gizmo.Draw(render, camera, Gizmo.HitTest(camera, Pointer().X, Pointer().Y));
  return true;
}
