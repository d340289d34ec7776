// Block-compressed (DXT1/3/5) helpers: turning a level upside down without
// decoding it, and decoding one 4 x 4 block to RGBA.
#pragma once
#include <cstdint>

namespace comms {

// Reverses the row order of a w x h level of blocks. Exact when h is a
// multiple of 4 or below 4 (the sizes textures have); for other heights the
// padding rows of the last block row move with it.
void FlipDxtLevel(uint8_t* data, int format, int w, int h);

// Decodes one block into 16 RGBA pixels, row by row.
void DecodeDxtBlock(const uint8_t* block, int format, uint8_t out[16][4]);

}  // namespace comms
