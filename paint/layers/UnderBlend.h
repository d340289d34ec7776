// UnderBlend: the running blend of a tile's layers under the current one,
// kept for the length of a stroke. A dab changes only the current layer, so
// the layers under it blend to the same values dab after dab; composition
// starts from the kept values and blends the current layer and those above.
// The values are the blend's own floats, so the result is the same to the
// bit as a composition from the first layer.
#pragma once
#include <cstdint>

#include "paint/layers/LayerRecords.h"

struct UnderBlend {
  alignas(32) float A[4][kTilePixels];
  alignas(32) float Coverage[kTilePixels];
  alignas(32) float Specular[kTilePixels];
  alignas(32) float Depth[kTilePixels];
  // The map's generation when the values were taken; 0 marks them stale.
  uint64_t Generation = 0;
  uint64_t Used = 0;  // the map's update count when last taken up or made
  bool Listed = false;  // on the map's list of tiles with a kept blend
  int Below = 0;   // layer tiles under the current one in the tile's list
  int Looked = 0;  // layers the blend counted on the way
  bool First = true;
};
