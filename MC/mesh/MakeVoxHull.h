// The voxel hull: erosion on the voxels themselves, leaving a wall along the
// surface. Unlike the surface hull (OffsetSurface.h) it needs no triangles.
#pragma once

class VolumeObject;

// Every voxel loses the smallest value found at `radius` voxels along the 26
// lattice directions (0.75 radius on the edge diagonals, 0.6 on the corner
// ones), read from the field as it was before: a voxel deeper than that below
// the surface becomes empty. radius 2 or more; smaller does nothing.
// keepUndo keeps the undo copies for the caller's record. Progress goes to
// ReportProgress ("MakeVoxHull") after each batch of cells; a stop request
// ends the hull there.
void MakeVoxHull(VolumeObject& volume, int radius, bool keepUndo = false);
