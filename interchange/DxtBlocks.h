// Block-compressed (DXT1/3/5) helpers: turning a level upside down without
// decoding it, and decoding one 4 x 4 block to RGBA.
#pragma once
#include <cstdint>

namespace comms {

// Reverses the row order of a w x h level of blocks, its own inverse. When h
// is over 4 and not a multiple of 4, the padding rows of the file's last
// block row (below the picture) come first: the picture's bottom row is then
// row DxtPaddingRows(h) of the blocks, not row 0. Rows can't move between
// blocks without decoding them.
void FlipDxtLevel(uint8_t* data, int format, int w, int h);

// Rows of padding below the picture in a flipped level of height h.
int DxtPaddingRows(int h);

// Decodes one block into 16 RGBA pixels, row by row.
void DecodeDxtBlock(const uint8_t* block, int format, uint8_t out[16][4]);

}  // namespace comms
