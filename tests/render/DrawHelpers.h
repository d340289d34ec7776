// Small drawing helpers of the GL tests: 2D-layout vertices (format 2) and
// clip-space quads through the stock shaders.
#pragma once
#include <cstdint>
#include <vector>

#include "render/Render.h"
#include "render/VertexFormat.h"

namespace rendertest {

// Vertex of format 2: position, colour, two texture coordinates.
struct Vertex2 {
  float x, y, z;
  uint32_t colour;
  float u, v, u2, v2;
};
// Vertex of format 0: position and colour.
struct Vertex0 {
  float x, y, z;
  uint32_t colour;
};

// Two triangles (counter-clockwise) covering x0..x1, y0..y1 at depth z.
inline std::vector<Vertex0> ClipQuad(float x0, float y0, float x1, float y1, float z, uint32_t argb) {
  uint32_t c = comms::ToDeviceColour(argb);
  return {{x0, y0, z, c}, {x1, y0, z, c}, {x1, y1, z, c}, {x0, y0, z, c}, {x1, y1, z, c}, {x0, y1, z, c}};
}

// A quad over the whole viewport in pixels (y upwards), texture 0..1 with v = 0 at the bottom.
inline std::vector<Vertex2> PixelQuad(float w, float h) {
  const uint32_t white = 0xffffffffu;
  return {{0, 0, 0, white, 0, 0, 0, 0}, {w, 0, 0, white, 1, 0, 1, 0}, {w, h, 0, white, 1, 1, 1, 1},
          {0, 0, 0, white, 0, 0, 0, 0}, {w, h, 0, white, 1, 1, 1, 1}, {0, h, 0, white, 0, 1, 0, 1}};
}

}  // namespace rendertest
