// The surface tools of the voxel room (move 17, draw 38 to rapid relax 49, and
// smoothing 1 while the volume is in surface mode): each stroke sample moves
// the vertices of the surface around the pen through SurfacePatch, weighted by
// the pen profile in the pen's frame and held back by each vertex's Freeze.
// The voxels follow through ApplyMC: at pen-up in a volume that is not in
// surface mode, when the volume leaves that mode otherwise.
#pragma once

class VolumeObject;
class VoxelBrushSettings;
struct StrokeSample;
struct PenProfile;

#include <vector>

// What a surface stroke keeps from one sample to the next: the plane of
// SCULP_PLANE, fitted once at the stroke's first sample, one per symmetry
// copy (told apart by where the copy's stroke began).
struct SurfaceStrokeState {
  struct Plane {
    float First[3];
    float Point[3];
    float Normal[3];
  };
  std::vector<Plane> Planes;
};

// Whether `tool` works on the vertices of `volume`'s surface: 17 and 38..49
// always, 1 while the volume is in surface mode.
bool UsesSurfacePath(int tool, const VolumeObject& volume);

// One sample pair of a surface tool on the volume (object space, as the
// stroke gives them, with the stroke's first sample). Returns the cells whose surface changed.
int ApplySurfaceTool(VolumeObject& volume, int tool, const StrokeSample& a, const StrokeSample& b,
                     const StrokeSample& first, const VoxelBrushSettings& settings, bool inverted, const PenProfile& pen,
                     SurfaceStrokeState& state);

// Pen-up of a surface stroke: in a volume not in surface mode, a changed
// surface is written into the voxels (the cells keep their undo copies).
void EndSurfaceStroke(VolumeObject& volume, int tool);
