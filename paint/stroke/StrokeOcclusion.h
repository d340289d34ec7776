// Occluded faces under a dab: the stroke faces are drawn into one depth plane
// seen along the pen, and a face none of whose pixels is in front (within the
// 0.00001 slack that keeps coplanar triangles of one face from fighting) is
// dropped, so a pen reaching through a thin part does not paint its far side.
#pragma once
#include <vector>

class PaintScene;
struct StrokeFrame;

// Removes the faces hidden behind other faces of the list. `resolution`: the
// plane's pixels across the pen's diameter.
void DropOccludedFaces(const PaintScene& scene, const StrokeFrame& frame, std::vector<int>& faces,
                       int resolution = 96);
