// What the voxel tools do with a finished drawn shape: CutByShape takes
// density away through the whole depth of the volume on the screen's lines
// of sight (or moves it into another volume, or hides whole cells),
// ShapeSolid adds a solid under the shape along the view, and ShapeExtrude
// moves the surface's vertices under the shape. All work in the volume's
// object space, with the shape read through a ShapeView.
#pragma once

#include "paint/BrushMaskSource.h"
#include "paint/stroke/DrawnShape.h"
#include "MC/brushes/ShapeView.h"

class VolumeObject;
class Random;

struct ShapeCutParams {
  // Where the taken density goes (null: nowhere). Cells are made in it at
  // the first point that receives something, with undo.
  VolumeObject* Target = nullptr;
  // The source keeps density up to Offset voxels into the shape and the
  // target receives it from Offset outside: a band of 2 Offset overlaps.
  float Offset = 0.f;
  bool Remove = true;
  // Moves density rather than copying it: forward from source to target,
  // or with Back from the target into the source.
  bool Transfer = false;
  bool Back = false;
  // Swaps inside and outside; cells whose box misses the shape are cut whole.
  bool InvertRegion = false;
  // Hides (or, with Unhide, shows) whole cells whose centre lies in the shape,
  // instead of touching density.
  bool CellHideMode = false;
  bool Unhide = false;
  // Keeps what lies behind the plane through PlanePoint with outward normal
  // PlaneNormal (the rasp's pick plane): cells more than 12 voxels behind are
  // not visited, and nearer points keep their density from 2 voxels behind on.
  bool KeepBehindPlane = false;
  float PlanePoint[3] = {0, 0, 0}, PlaneNormal[3] = {0, 0, 1};
  int Threads = 0;
};

// Returns the number of cells changed in the source and the target. Undo
// copies stay on both volumes for the caller's record.
int CutByShape(VolumeObject& source, const DrawnShape& shape, const ShapeView& view, const ShapeCutParams& params);

struct ShapeSolidParams {
  float Pick[3] = {0, 0, 0};  // object space
  float Normal[3] = {0, 0, 1};  // the direction the solid grows along; the view's when zero
  float PenRadius = 10.f;       // object units
  int BorderStyle = 0;
  float BorderFormParam = 1.f;
  bool KeepBehindPlane = false;  // the rasp: the lower of the solid and the pick plane
  float PlaneNormal[3] = {0, 0, 1};
  int Threads = 0;
};

// Searches a point inside the shape near the pick (up to 1500 tries; the
// pick when none is found) and returns it in `centre`.
bool FindShapeCentre(const DrawnShape& shape, const ShapeView& view, const float pick[3], const float n[3],
                     Random& rnd, float centre[3]);
// Adds the solid under the shape: one union of its field. Returns the cells
// changed.
int ShapeSolid(VolumeObject& volume, const DrawnShape& shape, const ShapeView& view, const ShapeSolidParams& params,
               Random& rnd);

struct ShapeExtrudeParams {
  // pen radius * depth, negative when inverted.
  float Displacement = 1.f;
  int Direction = 1;  // ExtrudeDirection
  float SoftBorder = 3.f;
  // Moves only vertices that face the view.
  bool FacingOnly = false;
  // How far a vertex goes: 0 the weight as it is; 3 a flat top with a steep
  // rim (three times the border's weight, at most 1), nothing at all when
  // |Depth| is 0.1 or less; 2 no further than the displacement from where
  // the surface began (OldVertices), so that a repeat adds nothing.
  int Mode = 0;
  float Depth = 1.f;  // the pen's depth, read by mode 3
  // The pen's stencil and material pattern at a point of the volume's
  // lattice (null: 1 everywhere). Not owned.
  const BrushMaskSource* Mask = nullptr;
  // seAlongX/Y/Z: the tool frame's axes in object space (rows).
  float Frame[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
};

// Moves the surface's vertices under the shape and gives the moved cells'
// vertices new normals from their triangles (joined across cell faces); the
// edit stays on the surface (SurfaceChanged, OldVertices) until ApplyMC
// writes it into the voxels. Returns the cells moved.
int ShapeExtrude(VolumeObject& volume, const DrawnShape& shape, const ShapeView& view, const ShapeExtrudeParams& p);

struct ShapeFreezeParams {
  float SoftBorder = 3.f;
  // Adds to each vertex's freeze (clamped) instead of raising it to the brush value.
  bool Accumulate = false;
  // The inverted action: lowers the freeze, or with Accumulate subtracts.
  bool Thaw = false;
};

// SCULP_SFREEZE's rule under a drawn shape: each visible vertex whose
// weight w = clamp(d / SoftBorder, 0, 1) is positive takes the freeze
// 65535 w (the higher of it and its own, or added), carried in the length of
// its normal. Cells keep their undo copies. Returns the cells changed.
int ShapeFreeze(VolumeObject& volume, const DrawnShape& shape, const ShapeView& view, const ShapeFreezeParams& p);
