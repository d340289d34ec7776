// The voxel tool's drawn shapes and the tools built on them: while the pen
// draws shapes (GeneralPen::DrawShape), a press and drag in most modes draws
// a rectangle, lasso, contour, circle or spline over the view, and the
// release acts once on what lies under it (a cut, a solid, an extrusion,
// hiding, a split into a new layer, a piece for the merge tool). "Hide"
// (SCULP_HIDE) and cell hiding (SCULP_CLHIDE) also work by stroke.
#pragma once
#include <string>
#include <vector>

#include "paint/stroke/DrawnShape.h"

class VoxelSculptTool;
class VolumeObject;
class VoxVisualTree;
class VoxTreeBranch;

// The handler slot of the drawn-shape input: the sculpt tool hands its events
// there instead of to the mode's own handler while TakesDrawnShape holds.
constexpr int kDrawnShapeHandler = 1000;

// Whether a press in `mode` draws a shape now: with the pen's DrawShape on in
// every mode that acts on shapes, and always in the two split modes (which
// draw a rectangle when the pen has no shape of its own).
bool TakesDrawnShape(int mode);

// The kind of shape a press in `mode` draws: the pen's, or a rectangle.
int DrawnShapeKindFor(int mode);

// How the finished shape is to be taken.
struct ShapeAction {
  bool Invert = false;        // the tool's invert state (its flag and the modifier)
  bool InvertRegion = false;  // inside and outside swapped
  bool HasPick = false;       // Pick and PickNormal hold the last pick, scene space
  float Pick[3] = {0, 0, 0};
  float PickNormal[3] = {0, 0, 1};
  int Threads = 0;
};

// Acts once with the finished shape in the tool's current mode, on the tool's
// volume seen through its camera, once per symmetry copy; closes the edit
// (undo record, surface). False when nothing could be done.
bool ActOnDrawnShape(VoxelSculptTool& tool, const DrawnShape& shape, const ShapeAction& action);

// The row SCULPT_RECTSPLIT makes: an empty volume right behind `row` in its
// parent, named after it with "_space_copy", with its transforms and shader.
VoxTreeBranch* AddSplitLayer(VoxVisualTree& tree, VoxTreeBranch* row);

// A drawn shape replayed without a window: the points are volume-space
// positions seen along `view` (unit length) by an orthographic camera at one
// pixel per voxel, the pen's radius is `radius` voxels, and the shape acts as
// the tool `mode` would act on it (modes that need a layer tree refuse).
// `why` says what went wrong.
bool ReplayDrawnShape(VolumeObject& volume, int mode, int kind, bool invert, const float view[3], float radius,
                      const std::vector<float>& xyz, int threads, std::string* why);

// Registers the handlers of the shape input, "Hide" and cell hiding.
void RegisterDrawnShapeHandlers();
