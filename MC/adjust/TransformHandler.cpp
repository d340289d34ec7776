// The transform gizmo of the voxel room (SCULPT_TRANSFORM, see AdjustHandlers.h).
#include "MC/adjust/AdjustHandlers.h"

#include <cstring>

#include "MC/brushes/VoxelSculptTool.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/tree/VoxVisualTree.h"
#include "paint/SceneChanges.h"
#include "render/Viewer.h"

using comms::cMat4;

void TransformHandler::Place(VoxelSculptTool& tool) {
  ToolBounds b;
  if (!tool.GetFullBounds(b)) return;
  Gizmo.Centre = comms::cVec3((b.Min[0] + b.Max[0]) / 2, (b.Min[1] + b.Max[1]) / 2, (b.Min[2] + b.Max[2]) / 2);
}

void TransformHandler::Apply(VoxelSculptTool& tool, const cMat4& by) {
  VolumeObject& v = *tool.Volume();
  VoxVisualTree* tree = tool.Tree ? tool.Tree() : nullptr;
  if (VoxTreeBranch* row = tree ? tree->BranchOf(&v) : nullptr) {
    tree->TransformBranch(row, by.Data());
    return;
  }
  cMat4 t;
  for (int i = 0; i < 16; ++i) t.m[i / 4][i % 4] = v.Transform[i];
  v.SetTransform((t * by).Data());
}

bool TransformHandler::OnLMBDown(VoxelSculptTool& tool) {
  if (Pointer().Alt) return false;
  Place(tool);
  // Off the handles the press is left to the view.
  if (!Gizmo.Begin(*tool.Camera(), Pointer().X, Pointer().Y)) return false;
  applied_ = cMat4();
  moved_ = false;
  step_.reset();
  VoxVisualTree* tree = tool.Tree ? tool.Tree() : nullptr;
  if (VoxTreeBranch* row = tree ? tree->BranchOf(tool.Volume()) : nullptr; row && tool.OnRowsStep) {
    step_ = std::make_unique<RowsStep>(*tree);
    step_->NotePlaces(row);
  }
  return true;
}

bool TransformHandler::OnMouseMove(VoxelSculptTool& tool) {
  if (!Gizmo.Dragging()) {
    hover_ = Gizmo.HitTest(*tool.Camera(), Pointer().X, Pointer().Y);
    return false;
  }
  const cMat4 delta = Gizmo.DragTo(*tool.Camera(), Pointer().X, Pointer().Y);
  // The volume already carries `applied_`: only the rest is added.
  Apply(tool, applied_.Inverse() * delta);
  applied_ = delta;
  moved_ |= std::memcmp(delta.Data(), cMat4().Data(), sizeof(float) * 16) != 0;
  return true;
}

bool TransformHandler::OnLMBUp(VoxelSculptTool& tool) {
  if (!Gizmo.Dragging()) return false;
  Gizmo.End();
  hover_ = -1;
  Place(tool);
  if (step_ && moved_ && tool.OnRowsStep) tool.OnRowsStep(*step_);
  step_.reset();
  ChangedSinceSave = 1;
  return true;
}

bool TransformHandler::DrawOverlay(VoxelSculptTool& tool, comms::cRender& render, const comms::cViewer& camera) {
  if (!Gizmo.Dragging()) Place(tool);
  Gizmo.Draw(render, camera, hover_);
  return true;
}
