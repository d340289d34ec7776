// Tools whose rooms are not built yet. Each is a real registered tool with its
// reflected parameters (so panels, saved state and presets already work), and
// says honestly that its work is not available: IsAvailable is false, pointer
// events are not taken, and its panel opens with a "NOT_AVAILABLE_YET" line.
// A layer that implements a tool hands its own object to the registration in
// StandardTools.h, and the pending one is never made.
#pragma once
#include "ClassEngine/Enumerator.h"
#include "shell/tools/BasicTool.h"

class PendingTool : public BasicTool {
 public:
  MV_CLASS(PendingTool, BasicTool) { AddDelimiter("NOT_AVAILABLE_YET"); }
  PendingTool() = default;
  explicit PendingTool(const char* room, int group = 0, bool listed = true)
      : room_(room), group_(group), listed_(listed) {}
  const char* GetRoomName() override { return room_; }
  int GetGroup() override { return group_; }
  bool IsInToolList() override { return listed_; }
  bool IsAvailable() override { return false; }
  const char* GetSecondHintId() override { return "NOT_AVAILABLE_YET"; }

 private:
  const char* room_ = "Paint";
  int group_ = 0;
  bool listed_ = true;
};

// Brush-like paint tools share these; the pen itself comes with the paint room.
class PendingPaintTool : public PendingTool {
 public:
  float Radius = 32.0f;
  float Opacity = 1.0f;
  bool UsePressure = true;
  MV_CLASS(PendingPaintTool, PendingTool) {
    Member("CtrlFSlider", Radius, "Radius", NewFloatSliderRange(1, 512));
    Member("CtrlFSlider", Opacity, "Opacity", NewFloatSliderRange(0, 1));
    Member("_bool", UsePressure, "UsePressure");
  }
  PendingPaintTool() : PendingTool("Paint") {}
  bool UsesPenSettings() override { return true; }
};

// A command on the current layer: no pointer, no button in the tool list.
class PendingLayerOp : public PendingTool {
 public:
  float Amount = 0.5f;
  float Second = 0.0f;
  MV_CLASS(PendingLayerOp, PendingTool) {
    Member("CtrlFSlider", Amount, "Amount", NewFloatSliderRange(0, 1));
    Member("CtrlFSlider", Second, "SecondAmount", NewFloatSliderRange(-1, 1));
  }
  PendingLayerOp() : PendingTool("Paint", 3, false) {}
};

class PendingSculptTool : public PendingTool {
 public:
  float Strength = 0.5f;
  bool Symmetry = false;
  MV_CLASS(PendingSculptTool, PendingTool) {
    Member("CtrlFSlider", Strength, "Strength", NewFloatSliderRange(0, 1));
    Member("_bool", Symmetry, "Symmetry");
  }
  PendingSculptTool() : PendingTool("Sculpt") {}
};

class PendingRetopoTool : public PendingTool {
 public:
  bool SnapToSurface = true;
  bool Symmetry = false;
  float PointSize = 4.0f;
  MV_CLASS(PendingRetopoTool, PendingTool) {
    Member("_bool", SnapToSurface, "SnapToSurface");
    Member("_bool", Symmetry, "Symmetry");
    Member("_float", PointSize, "PointSize");
  }
  PendingRetopoTool() : PendingTool("Retopo") {}
};

class PendingUVTool : public PendingTool {
 public:
  int Method = 0;
  float IslandMargin = 4.0f;
  MV_CLASS(PendingUVTool, PendingTool) {
    Member("_index", Method, "Method", UVMethods());
    Member("_float", IslandMargin, "IslandMargin");
  }
  static Enumerator* UVMethods();
  PendingUVTool() : PendingTool("UV") {}
};

class PendingVoxelTool : public PendingTool {
 public:
  float Radius = 20.0f;
  float Depth = 0.5f;
  MV_CLASS(PendingVoxelTool, PendingTool) {
    Member("CtrlFSlider", Radius, "Radius", NewFloatSliderRange(1, 200));
    Member("CtrlFSlider", Depth, "Depth", NewFloatSliderRange(0, 1));
  }
  PendingVoxelTool() : PendingTool("Voxels") {}
};

class PendingRenderTool : public PendingTool {
 public:
  int Samples = 64;
  bool DepthOfField = false;
  float FocalDistance = 10.0f;
  MV_CLASS(PendingRenderTool, PendingTool) {
    Member("CtrlISlider", Samples, "Samples", NewIntSliderRange(1, 4096));
    Member("_bool", DepthOfField, "DepthOfField");
    Member("_float", FocalDistance, "%FocalDistance");
  }
  PendingRenderTool() : PendingTool("Render") {}
};
