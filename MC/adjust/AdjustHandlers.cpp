// The smaller adjust tools of the voxel room: measure, pick, copy stamp, axial
// clones, wrap and bas-relief, and the registration of every adjust handler
// (see AdjustHandlers.h).
#include "MC/adjust/AdjustHandlers.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "MC/adjust/CopyStamp.h"
#include "MC/adjust/Measure.h"
#include "MC/adjust/SurfaceCopies.h"
#include "MC/brushes/Symmetry.h"
#include "MC/brushes/VolumePick.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/tree/VoxVisualTree.h"
#include "paint/GeneralPen.h"
#include "platform/Keys.h"
#include "render/Render.h"
#include "render/Viewer.h"

using comms::cVec3;

namespace {

// The pen's point in the current volume's object space; false off the surface.
bool PenObject(VoxelSculptTool& tool, float out[3], float* radius = nullptr) {
  PenPoint pen;
  if (!tool.PenAt(Pointer().X, Pointer().Y, pen)) return false;
  tool.Volume()->PointToObject(pen.P, out);
  if (radius) *radius = pen.Radius / std::max(tool.Volume()->TransformScale, 1e-6f);
  return true;
}

cVec3 ToView(VoxelSculptTool& tool, const comms::cViewer& camera, const float object[3]) {
  float s[3];
  tool.Volume()->PointToScene(object, s);
  return camera.ProjectToView(cVec3(s[0], s[1], s[2]));
}

void Cross(comms::cRender& render, const cVec3& at, uint32_t colour) {
  render.DrawLine(at.x - 6, at.y, at.x + 6, at.y, 0.f, colour, colour);
  render.DrawLine(at.x, at.y - 6, at.x, at.y + 6, 0.f, colour, colour);
}

}  // namespace

// --- measure ---

bool MeasureHandler::PickObject(VoxelSculptTool& tool, float out[3]) const { return PenObject(tool, out); }

std::string MeasureHandler::Text(VoxelSculptTool& tool) const {
  return MeasureText(MeasureDistance(a_, b_, tool.Settings.MeasureAlignment), tool.Settings.Units,
                     tool.Settings.VoxelsPerUnit);
}

bool MeasureHandler::OnLMBDown(VoxelSculptTool& tool) {
  if (Pointer().Alt) return false;
  float p[3];
  if (!PickObject(tool, p)) return false;
  for (int k = 0; k < 3; ++k) a_[k] = b_[k] = p[k];
  state_ = 1;
  return true;
}

bool MeasureHandler::OnMouseMove(VoxelSculptTool& tool) {
  if (state_ != 1) return false;
  float p[3];
  if (PickObject(tool, p))
    for (int k = 0; k < 3; ++k) b_[k] = p[k];
  return true;
}

bool MeasureHandler::OnLMBUp(VoxelSculptTool& tool) {
  if (state_ != 1) return false;
  OnMouseMove(tool);
  state_ = 2;
  return true;
}

bool MeasureHandler::DrawOverlay(VoxelSculptTool& tool, comms::cRender& render, const comms::cViewer& camera) {
  if (state_ == 0) return false;
  const cVec3 a = ToView(tool, camera, a_), b = ToView(tool, camera, b_);
  const uint32_t colour = 0xff60ff60u;
  render.DrawLine(a.x, a.y, b.x, b.y, 0.f, colour, colour);
  Cross(render, a, colour);
  Cross(render, b, colour);
  DrawStrokeText(render, Text(tool), (a.x + b.x) / 2 + 8, (a.y + b.y) / 2 - 24, 16.f, 0xffffffffu);
  render.Flush2D();
  return true;
}

namespace {

// --- pick ---

// SCULPT_PICK: the nearest volume under the pen, over every visible row of
// the tree, becomes current.
class PickHandler : public VoxelModeHandler {
 public:
  bool OnLMBDown(VoxelSculptTool& tool) override {
    if (Pointer().Alt || !tool.Camera()) return false;
    VoxVisualTree* tree = tool.Tree ? tool.Tree() : nullptr;
    std::vector<VolumeObject*> volumes = tree ? tree->VisibleVolumes() : std::vector<VolumeObject*>{tool.Volume()};
    cVec3 o, d;
    tool.Camera()->PixelRay(Pointer().X, Pointer().Y, o, d);
    const float of[3] = {o.x, o.y, o.z}, df[3] = {d.x, d.y, d.z};
    const int hit = PickVolumeIndex(volumes, of, df);
    if (hit < 0) return false;  // nothing under the pen: the view may navigate
    VolumeObject* picked = volumes[hit];
    if (tree) tree->MakeCurrent(tree->BranchOf(picked));
    tool.SetScene(picked, tool.Camera());
    return true;
  }
  bool OnLMBUp(VoxelSculptTool&) override { return true; }
};

// --- copy stamp ---

// SCULPT_COPY: Ctrl with a press takes the source point on the current
// layer; each drag then stamps, into the layer current at that time, what
// lies around the source point, shifted by the drag's start. So a source
// chosen in the layer tree stamps into another layer. Every symmetry copy of
// the stamp reads the source at the mirror (or turn) of its point.
class CopyHandler : public VoxelModeHandler {
 public:
  bool OnLMBDown(VoxelSculptTool& tool) override {
    if (Pointer().Alt) return false;
    float p[3], r;
    if (!PenObject(tool, p, &r)) return false;
    VolumeObject* source = Source(tool);
    if (Pointer().Ctrl || !source) {
      for (int k = 0; k < 3; ++k) source_[k] = p[k];
      sourceVolume_ = tool.Volume();
      sourceId_ = tool.Volume()->ObjectId;
      return true;
    }
    // The target's object space to the source's: to the scene, shifted from
    // the drag's start to the source point, into the source.
    VolumeObject& target = *tool.Volume();
    float start[3], from[3], shift[16], toSource[16];
    target.PointToScene(p, start);
    source->PointToScene(source_, from);
    for (int i = 0; i < 16; ++i) shift[i] = i % 5 == 0 ? 1.f : 0.f;
    for (int k = 0; k < 3; ++k) shift[12 + k] = from[k] - start[k];
    Multiply(target.Transform, shift, toSource);
    Multiply(toSource, source->InverseTransform, base_);
    for (int k = 0; k < 3; ++k) last_[k] = p[k];
    lastR_ = r;
    stamping_ = true;
    Stamp(tool, *source, p, r);
    return true;
  }
  bool OnMouseMove(VoxelSculptTool& tool) override {
    if (!stamping_) return false;
    VolumeObject* source = Source(tool);
    if (!source) return true;
    // The surface as it was before the stroke, so the pen does not climb its stamp.
    PenPoint pen;
    if (!tool.PenAt(Pointer().X, Pointer().Y, pen, true)) return true;
    float p[3];
    tool.Volume()->PointToObject(pen.P, p);
    Stamp(tool, *source, p, pen.Radius / std::max(tool.Volume()->TransformScale, 1e-6f));
    return true;
  }
  bool OnLMBUp(VoxelSculptTool& tool) override {
    if (!stamping_) return sourceVolume_ != nullptr;
    stamping_ = false;
    tool.EndEdit(*tool.Volume());
    return true;
  }
  bool DrawOverlay(VoxelSculptTool& tool, comms::cRender& render, const comms::cViewer& camera) override {
    VolumeObject* source = Source(tool);
    if (!source) return false;
    float s[3];
    source->PointToScene(source_, s);
    Cross(render, camera.ProjectToView(cVec3(s[0], s[1], s[2])), 0xffff8040u);
    render.Flush2D();
    return false;  // the pen's ring is drawn as well
  }

 private:
  // The source layer while it still exists: the current volume, or a
  // volume of the tool's layer tree (the same object with the same id).
  VolumeObject* Source(VoxelSculptTool& tool) const {
    if (!sourceVolume_) return nullptr;
    if (sourceVolume_ == tool.Volume()) return sourceVolume_->ObjectId == sourceId_ ? sourceVolume_ : nullptr;
    VoxVisualTree* tree = tool.Tree ? tool.Tree() : nullptr;
    if (!tree) return nullptr;
    for (VolumeObject* v : tree->Volumes())
      if (v == sourceVolume_ && v->ObjectId == sourceId_) return v;
    return nullptr;
  }
  // out = a then b (row vectors, 4 x 4).
  static void Multiply(const float a[16], const float b[16], float out[16]) {
    for (int i = 0; i < 4; ++i)
      for (int j = 0; j < 4; ++j) {
        float sum = 0;
        for (int k = 0; k < 4; ++k) sum += a[i * 4 + k] * b[k * 4 + j];
        out[i * 4 + j] = sum;
      }
  }
  // The capsule from the last point to p, once per symmetry copy.
  void Stamp(VoxelSculptTool& tool, VolumeObject& source, const float p[3], float r) {
    VolumeObject& target = *tool.Volume();
    for (const SymmetryCopy& c : SymmetryCopies(GeneralPen::Symmetry, tool.Settings.AxialSymmetry,
                                                 tool.Settings.AxialAxis)) {
      float a[3], b[3], back[16] = {0}, toSource[16];
      c.Point(last_, a);
      c.Point(p, b);
      // A copy's point goes back to the point it copies (the transpose of a
      // turn or mirror), then on to the source.
      for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) back[i * 4 + j] = c.M[j * 3 + i];
      back[15] = 1;
      Multiply(back, base_, toSource);
      StampCopy(target, source, a, lastR_, b, r, toSource);
    }
    for (int k = 0; k < 3; ++k) last_[k] = p[k];
    lastR_ = r;
    target.UpdateSurface();
  }

  bool stamping_ = false;
  VolumeObject* sourceVolume_ = nullptr;  // compared, read only through Source()
  uintptr_t sourceId_ = 0;
  float source_[3] = {}, last_[3] = {}, lastR_ = 0, base_[16] = {};
};

// --- axial clones and wrap ---

// SCULPT_AXIAL and SCULP_WRAP: a press places the axis (through the picked
// point, or the volume's centre, along the view); Enter makes the copies and
// selects the transform gizmo.
class CopiesHandler : public VoxelModeHandler {
 public:
  explicit CopiesHandler(bool wrap) : wrap_(wrap) {}
  bool OnLMBDown(VoxelSculptTool& tool) override {
    if (Pointer().Alt) return false;
    if (!PenObject(tool, point_)) return false;
    placed_ = true;
    return true;
  }
  bool OnLMBUp(VoxelSculptTool&) override { return placed_; }
  bool OnKey(VoxelSculptTool& tool, int key) override {
    if (key != keys::Enter || !tool.Volume() || !tool.Camera()) return false;
    VolumeObject& v = *tool.Volume();
    if (MergeSurfaceCopies(v, Matrices(tool))) tool.EndEdit(v);
    placed_ = false;
    tool.SelectMode(SCULPT_TRANSFORM);
    return true;
  }
  bool DrawOverlay(VoxelSculptTool& tool, comms::cRender& render, const comms::cViewer& camera) override {
    if (!placed_) return false;
    Cross(render, ToView(tool, camera, point_), 0xff40c0ffu);
    if (wrap_ && tool.Settings.PreviewImmediately) DrawCopies(tool, render, camera);
    render.Flush2D();
    return true;
  }

 private:
  // The copies' matrices in the volume's object space: about the axis along
  // the view through the placed point (or the volume's centre).
  std::vector<comms::cMat4> Matrices(VoxelSculptTool& tool) const {
    VolumeObject& v = *tool.Volume();
    float point[3], axis[3];
    const float view[3] = {tool.Camera()->Forward.x, tool.Camera()->Forward.y, tool.Camera()->Forward.z};
    v.VectorToObject(view, axis);
    if (placed_) {
      for (int k = 0; k < 3; ++k) point[k] = point_[k];
    } else {
      v.RecomputeCellBounds();
      for (int k = 0; k < 3; ++k) point[k] = (v.CellBoundsMin[k] + v.CellBoundsMax[k] + 1) * v.CellSide * 0.5f;
    }
    const VoxelBrushSettings& s = tool.Settings;
    if (!wrap_) return AxialCloneMatrices(point, axis, std::max(s.NumAxialClones, 1));
    WrapChain chain;
    chain.Twist = s.WrapType == 1;
    chain.Segments = s.WrapSegments;
    chain.StartAngle = s.StartAngle, chain.EndAngle = s.EndAngle;
    chain.Forward = s.ForwardStep, chain.TwistAngle = s.TwistAngle;
    chain.Overlap = s.SelfOverlap;
    return WrapMatrices(chain, point, axis);
  }
  // Each copy of the volume's box, its twelve edges over the view.
  void DrawCopies(VoxelSculptTool& tool, comms::cRender& render, const comms::cViewer& camera) const {
    VolumeObject& v = *tool.Volume();
    v.RecomputeCellBounds();
    if (v.CellBoundsMin[0] > v.CellBoundsMax[0]) return;
    float lo[3], hi[3];
    for (int k = 0; k < 3; ++k) lo[k] = v.CellBoundsMin[k] * v.CellSide, hi[k] = (v.CellBoundsMax[k] + 1) * v.CellSide;
    for (const comms::cMat4& m : Matrices(tool)) {
      cVec3 corner[8];
      for (int c = 0; c < 8; ++c) {
        const cVec3 p = TransformPoint(cVec3(c & 1 ? hi[0] : lo[0], c & 2 ? hi[1] : lo[1], c & 4 ? hi[2] : lo[2]), m);
        const float object[3] = {p.x, p.y, p.z};
        corner[c] = ToView(tool, camera, object);
      }
      for (int c = 0; c < 8; ++c)
        for (int bit : {1, 2, 4})
          if (!(c & bit))
            render.DrawLine(corner[c].x, corner[c].y, corner[c | bit].x, corner[c | bit].y, 0.f, 0xff40c0ffu,
                            0xff40c0ffu);
    }
  }

  bool wrap_;
  bool placed_ = false;
  float point_[3] = {};
};

// --- bas-relief ---

// SCULPT_BARELIEF: two presses pick the plane's point and the direction it
// faces; Enter flattens what lies in front of it.
class BareliefHandler : public VoxelModeHandler {
 public:
  bool OnLMBDown(VoxelSculptTool& tool) override {
    if (Pointer().Alt) return false;
    float p[3];
    if (!PenObject(tool, p)) return false;
    float* to = picks_ == 1 ? second_ : first_;
    for (int k = 0; k < 3; ++k) to[k] = p[k];
    picks_ = picks_ == 1 ? 2 : 1;
    return true;
  }
  bool OnLMBUp(VoxelSculptTool&) override { return picks_ > 0; }
  bool OnKey(VoxelSculptTool& tool, int key) override {
    if (key != keys::Enter || picks_ != 2 || !tool.Volume()) return false;
    if (FlattenBarelief(*tool.Volume(), first_, second_, tool.Settings.BareliefCoef) > 0)
      tool.EndEdit(*tool.Volume());
    picks_ = 0;
    return true;
  }
  bool DrawOverlay(VoxelSculptTool& tool, comms::cRender& render, const comms::cViewer& camera) override {
    if (!picks_) return false;
    const cVec3 a = ToView(tool, camera, first_);
    Cross(render, a, 0xffffc040u);
    if (picks_ == 2) {
      const cVec3 b = ToView(tool, camera, second_);
      render.DrawLine(a.x, a.y, b.x, b.y, 0.f, 0xffffc040u, 0xffff4040u);
    }
    render.Flush2D();
    return true;
  }

 private:
  int picks_ = 0;
  float first_[3] = {}, second_[3] = {};
};

}  // namespace

void RegisterAdjustModeHandlers() {
  RegisterVoxelModeHandler(SCULPT_MEASURE, [] { return std::make_unique<MeasureHandler>(); });
  RegisterVoxelModeHandler(SCULPT_PICK, [] { return std::make_unique<PickHandler>(); });
  RegisterVoxelModeHandler(SCULPT_TRANSPOSE, [] { return std::make_unique<TransposeHandler>(); });
  RegisterVoxelModeHandler(SCULPT_COPY, [] { return std::make_unique<CopyHandler>(); });
  RegisterVoxelModeHandler(SCULPT_TRANSFORM, [] { return std::make_unique<TransformHandler>(); });
  RegisterVoxelModeHandler(SCULP_WRAP, [] { return std::make_unique<CopiesHandler>(true); });
  RegisterVoxelModeHandler(SCULPT_AXIAL, [] { return std::make_unique<CopiesHandler>(false); });
  RegisterVoxelModeHandler(SCULPT_BARELIEF, [] { return std::make_unique<BareliefHandler>(); });
}
