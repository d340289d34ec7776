// The block tags of the scene file and the reader's running state.
#pragma once
#include <cstdint>

#include "ClassEngine/streams/BinStream.h"

namespace scenetags {
constexpr uint32_t kHead = FourCC("MESH");
constexpr uint32_t kRender = FourCC("RNDR");
constexpr uint32_t kNoSwapYZ = FourCC("NSYZ");
constexpr uint32_t kNewBlend = FourCC("NBLN");
constexpr uint32_t kScale = FourCC("MSSK");
constexpr uint32_t kSymmetry = FourCC("SYPL");
constexpr uint32_t kSpecular = FourCC("SSPC");
constexpr uint32_t kLayers = FourCC("LR01");
constexpr uint32_t kMaterials = FourCC("MTLS");
constexpr uint32_t kMaterialTextures = FourCC("MTEX");
constexpr uint32_t kObjects = FourCC("OBJS");
constexpr uint32_t kTargets = FourCC("RNTS");
constexpr uint32_t kUVSets = FourCC("UVST");
constexpr uint32_t kSubdivision = FourCC("SUBD");
constexpr uint32_t kVertexMaps = FourCC("VMAP");
constexpr uint32_t kVertexMapTypes = FourCC("VMTP");
constexpr uint32_t kBasePositions = FourCC("POS0");
constexpr uint32_t kUVPatches = FourCC("UVS0");
constexpr uint32_t kSurface = FourCC("SAR7");
constexpr uint32_t kPixels = FourCC("MAQ2");
// The last block: a file without it was cut short (a copy stopped, a disk
// filled) and is refused rather than read in part.
constexpr uint32_t kEnd = FourCC("MEND");
}  // namespace scenetags

// The four letters of a tag, for messages.
inline void TagLetters(uint32_t tag, char out[5]) {
  for (int i = 0; i < 4; i++) {
    char c = (char)(tag >> (24 - 8 * i));
    out[i] = c >= 32 && c < 127 ? c : '?';
  }
  out[4] = 0;
}
