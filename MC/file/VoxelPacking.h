// The run-length code of voxel values (729 per cell): the first value as a
// u16, then code bytes. 0..219: that many copies of the last value; 220..255:
// c - 220 u16 differences from the value before, modulo 65536. Solid and
// empty regions cost a few bytes; a smooth band two bytes a value at worst.
#pragma once
#include <cstdint>
#include <vector>

class BlockReader;

// Appends the code of `n` values to `out`.
void PackVoxels(const uint16_t* values, int n, std::vector<uint8_t>& out);
// Decodes `n` values; false (reported on the reader) when the code is
// damaged: a run or literal that overshoots n, or a code of 0 or 220.
bool UnpackVoxels(BlockReader& in, uint16_t* values, int n);
