// Composition of one micro-vertex face from its layer entries, and the
// normals of its grid; both whole or over a rectangle of samples.
#pragma once
#include <vector>

class PaintScene;

// Blends the face's visible layers into its grid: composite position
// (base + depth), colour with specular in the alpha byte, and coverage.
void ComposeFace(PaintScene& scene, int face);

// Asks the memory for the face's grid and layer samples ahead of their use:
// the faces of a loaded scene lie scattered, and composing a face waits on
// them far longer than it computes.
void PrefetchFaceSamples(const PaintScene& scene, int face);
// The face's list of layer entries only, a step before PrefetchFaceSamples.
void PrefetchFaceLayers(const PaintScene& scene, int face);

// The samples x0 <= x < x1, y0 <= y < y1 only (clipped to the grid): a dab
// recomposes what it touched. Each sample's result is the whole face's.
void ComposeFaceSamples(PaintScene& scene, int face, int x0, int y0, int x1, int y1);

// Normals of the grid's samples in the rectangle (clipped to the grid), from
// the positions of their four neighbours, across faces at the border.
void GridNormals(PaintScene& scene, int face, int x0, int y0, int x1, int y1);

// The border normals of the faces beside `changed` (not in it): they read the
// changed faces' positions across their sides, so after the changed faces
// moved (or came back) they are worked out anew and every normal stays what
// the positions say, whichever step made them.
void NeighbourBorderNormals(PaintScene& scene, std::vector<int> changed);
// The same, and the border normals of the changed faces themselves.
void BorderNormalsAround(PaintScene& scene, const std::vector<int>& changed);
