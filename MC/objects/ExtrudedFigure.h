// A flat figure (a picture's level line, the outlines of a text) and the
// closed slab made of it: the figure's triangles as the front at +h/2, the
// same turned over as the back at -h/2, and a wall of two triangles along
// each boundary edge. The relief tools (logo, text) hand the slab to the
// merge tool as its held mesh.
#pragma once
#include <memory>
#include <vector>

namespace comms {
class cMesh;
}

struct FlatFigure {
  std::vector<float> XY;       // 2 per vertex
  std::vector<int> Triangles;  // 3 per triangle, counter-clockwise seen from +z
  std::vector<int> Boundary;   // 2 per edge, directed so the inside lies on its left
  int VertexCount() const { return (int)XY.size() / 2; }
  int AddVertex(float x, float y) {
    XY.push_back(x), XY.push_back(y);
    return VertexCount() - 1;
  }
};

// The slab of `figure`, `thickness` thick and centred on z = 0. The mesh is
// closed and consistently wound when the figure's triangles are an oriented
// surface whose border is exactly its Boundary edges. Null for an empty figure
// or a thickness that is not positive.
std::unique_ptr<comms::cMesh> ExtrudeFigure(const FlatFigure& figure, float thickness);
