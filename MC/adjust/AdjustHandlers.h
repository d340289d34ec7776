// The voxel room's adjust tools as mode handlers: measure (14), pick (15),
// transpose (16), copy stamp (20), transform gizmo (21), wrap (22), axial
// clones (23) and bas-relief (24). Each handler turns the pointer into
// picks and gizmo drags and calls the operations of this folder; the edits
// end through VoxelSculptTool::EndEdit, so each is one undo record.
#pragma once
#include <memory>
#include <string>

#include "MC/adjust/TransformGizmo.h"
#include "MC/adjust/TransposeSet.h"
#include "MC/brushes/DrawnShapeTools.h"
#include "MC/brushes/VoxelModeHandler.h"
#include "MC/undo/RowsUndo.h"

class VolumeObject;

// Registers the handlers of modes 14, 15, 16, 20 .. 24.
void RegisterAdjustModeHandlers();

// SCULPT_MEASURE: press picks the first point, the drag (and release) the
// second; the line and its figure are drawn until the next press.
class MeasureHandler : public VoxelModeHandler {
 public:
  bool HasLine() const { return state_ == 2; }
  // The two points in the volume's object space (voxels).
  const float* First() const { return a_; }
  const float* Second() const { return b_; }
  // The figure as drawn, by the tool's alignment and units.
  std::string Text(VoxelSculptTool& tool) const;
  bool OnLMBDown(VoxelSculptTool& tool) override;
  bool OnMouseMove(VoxelSculptTool& tool) override;
  bool OnLMBUp(VoxelSculptTool& tool) override;
  bool DrawOverlay(VoxelSculptTool& tool, comms::cRender& render, const comms::cViewer& camera) override;

 private:
  bool PickObject(VoxelSculptTool& tool, float out[3]) const;
  int state_ = 0;  // 0 nothing, 1 dragging, 2 a line
  float a_[3] = {}, b_[3] = {};
};

// SCULPT_TRANSFORM: the gizmo moves, turns and scales the current volume's
// transform, through the layer tree when there is one so the rows below
// follow; each drag is one undo step (through OnRowsStep) that puts every
// matrix of those rows back.
class TransformHandler : public VoxelModeHandler {
 public:
  TransformGizmo Gizmo;
  bool OnLMBDown(VoxelSculptTool& tool) override;
  bool OnMouseMove(VoxelSculptTool& tool) override;
  bool OnLMBUp(VoxelSculptTool& tool) override;
  void Activate(VoxelSculptTool& tool) override { Place(tool); }
  bool DrawOverlay(VoxelSculptTool& tool, comms::cRender& render, const comms::cViewer& camera) override;

 private:
  // The gizmo at the centre of the volume's box.
  void Place(VoxelSculptTool& tool);
  void Apply(VoxelSculptTool& tool, const comms::cMat4& by);
  comms::cMat4 applied_;
  int hover_ = -1;
  std::unique_ptr<RowsStep> step_;  // the drag's undo step, while one runs
  bool moved_ = false;
};

// SCULPT_TRANSPOSE: a drag on the surface selects vertices by TRN_MODE and
// MASK_OPACITY, or, while the pen draws shapes, every vertex under the drawn
// shape (fading in over the shape's soft border); the gizmo at the selection
// then moves them, blended by their strength. A new selection, and leaving the tool, write the moved surface
// into the voxels (ApplyMC) as one undo record.
class TransposeHandler : public VoxelModeHandler {
 public:
  TransposeSet Selection;
  TransformGizmo Gizmo;
  bool OnLMBDown(VoxelSculptTool& tool) override;
  bool OnMouseMove(VoxelSculptTool& tool) override;
  bool OnLMBUp(VoxelSculptTool& tool) override;
  void Deactivate(VoxelSculptTool& tool) override { Commit(tool); }
  bool DrawOverlay(VoxelSculptTool& tool, comms::cRender& render, const comms::cViewer& camera) override;
  // Writes the moved selection into the voxels and closes the edit.
  void Commit(VoxelSculptTool& tool);

 private:
  bool PickObject(VoxelSculptTool& tool, float out[3]) const;
  void Select(VoxelSculptTool& tool);
  // Selects what lies under the drawn shape, once per symmetry copy.
  void SelectByShape(VoxelSculptTool& tool);
  // The gizmo at the selection's centre (or at `at`, object space, when given).
  void PlaceGizmo(VoxelSculptTool& tool, const float* at);
  void Move(VoxelSculptTool& tool, const comms::cMat4& sceneMatrix);
  int state_ = 0;  // 0 idle, 1 selecting, 2 dragging the gizmo, 3 drawing a shape
  bool hasGizmo_ = false;
  ShapeDrawing drawing_;
  VolumeObject* volume_ = nullptr;  // the volume the selection belongs to
  float a_[3] = {}, b_[3] = {};
  comms::cMat4 total_;  // scene matrix of the moves so far
};
