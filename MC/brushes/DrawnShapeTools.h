// The voxel tool's drawn shapes and the tools built on them: while the pen
// draws shapes (GeneralPen::DrawShape), a press and drag in most modes draws
// a rectangle, lasso, contour, circle or spline over the view, and the
// release acts once on what lies under it (a cut, a solid, an extrusion,
// hiding, a split into a new layer, a piece for the merge tool). "Hide"
// (SCULP_HIDE) and cell hiding (SCULP_CLHIDE) also work by stroke.
#pragma once
#include <string>
#include <vector>

#include "MC/brushes/ShapeView.h"
#include "paint/stroke/DrawnShape.h"

class VoxelSculptTool;
class VolumeObject;
class VoxVisualTree;
class VoxTreeBranch;
namespace comms {
class cRender;
class cViewer;
}

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

// A shape drawn by press, drag and release over the view, its outline drawn
// while the drag lasts: the input of the drawn-shape tools, and of the
// transpose tool's selection by shape.
class ShapeDrawing {
 public:
  // A press at the pointer starts a shape of the kind `mode` draws; the
  // invert modifier and the region's swap are read here.
  void Begin(VoxelSculptTool& tool);
  // The pointer moved: one more point (and the pick, until one is found).
  void Add(VoxelSculptTool& tool);
  // The release: true when the shape encloses something; Shape() and
  // Action() then hold it until the next Begin.
  bool End();
  void Cancel();
  bool Drawing() const { return drawing_; }
  const DrawnShape& Shape() const { return shape_; }
  const ShapeAction& Action() const { return action_; }
  // The outline while drawing; false when there is nothing to draw.
  bool DrawOutline(comms::cRender& render, const comms::cViewer& camera) const;

 private:
  void NotePick(VoxelSculptTool& tool, float x, float y);
  DrawnShape shape_;
  ShapeAction action_;
  bool drawing_ = false;
};

// The place a drawn shape is measured at, in the volume's object space: the
// action's pick, or the middle of the volume without one.
void ShapePick(VolumeObject& volume, const ShapeAction& action, float pick[3], float normal[3]);
// The view of the tool's camera on `volume` for a drawn shape: s measured at
// `pick`, and the pen's depth limit when its far plane is on.
ShapeView ShapeViewFor(const VoxelSculptTool& tool, VolumeObject& volume, const DrawnShape& shape,
                       const float pick[3]);
// The soft border of a shape's action: the pen's, at least 4 pixels.
float ShapeActionSoftBorder();

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
// the tool `mode` would act on it. Hiding into the hidden-space layer and
// splitting into a new layer need `tree`, a layer tree that holds `volume`,
// and refuse without one; the volume stays the tree's current one.
// `why` says what went wrong.
bool ReplayDrawnShape(VolumeObject& volume, int mode, int kind, bool invert, const float view[3], float radius,
                      const std::vector<float>& xyz, int threads, std::string* why, VoxVisualTree* tree = nullptr);

// Registers the handlers of the shape input, "Hide" and cell hiding.
void RegisterDrawnShapeHandlers();
