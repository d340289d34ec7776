// Vertex formats: element lists, their checks and packed layout, and the twelve
// stock formats every back end registers at start-up in this order.
#pragma once
#include <vector>

#include "render/Render.h"

namespace comms {

struct cVertexFormat {
  std::vector<VertexElement> Elements;
  std::vector<int> Offsets;  // packed, in list order
  int Size = 0;              // bytes per vertex
};

// Checks every element against its semantic's allowed type and count and lays
// the format out; false (and `out` untouched) when an element is refused.
bool BuildVertexFormat(const std::vector<VertexElement>& elements, cVertexFormat& out);
int ElementBytes(const VertexElement& e);
// The stock formats, numbers 0..11.
std::vector<std::vector<VertexElement>> StockVertexFormats();

// Count of primitives drawn from n vertices or indices of a primitive kind.
int PrimitiveCount(int kind, int n);
// 0xAARRGGBB to the byte order a UBYTE4N element reads as r, g, b, a.
inline uint32_t ToDeviceColour(uint32_t argb) {
  return (argb & 0xff00ff00u) | ((argb >> 16) & 0xffu) | ((argb & 0xffu) << 16);
}

}  // namespace comms
