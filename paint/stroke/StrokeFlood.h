// The faces under a dab: a breadth walk from the picked face across shared
// edges, taking every editable, visible face whose circumscribed sphere
// reaches the pen's capsule. The first level of rejection: a dab touches a few
// hundred faces of millions. Per-pixel faces are then pruned by their fan
// triangles, which keeps huge faces near but outside the pen from being walked.
#pragma once
#include <cstdint>
#include <vector>

class PaintScene;
struct StrokeFrame;

// Fills `faces` (cleared first) with the faces under the dab, the picked face
// first; `Visited` of every face is clear again afterwards. `island` limits the
// walk to the faces reachable without crossing a UV seam.
void FloodUnderPen(PaintScene& scene, const StrokeFrame& frame, int pickedFace, bool island,
                   std::vector<int>& faces);

// Marks (1) in `inIsland`, sized to the faces, every face reachable from
// `face` across edges without a UV seam: the island the island stroke mode
// keeps to.
void UVIslandOf(const PaintScene& scene, int face, std::vector<uint8_t>& inIsland);

// Drops the faces with a block directory none of whose fan triangles comes
// closer than R = largest radius (to the rim of the pen) + segment length to the segment's midpoint.
void PruneFarFaces(const PaintScene& scene, const StrokeFrame& frame, std::vector<int>& faces);
