// PackVoxels and UnpackVoxels; see VoxelPacking.h.
#include "MC/file/VoxelPacking.h"

#include "paint/file/BlockCoding.h"

namespace {
void PutU16(std::vector<uint8_t>& out, uint16_t v) {
  out.push_back((uint8_t)v);
  out.push_back((uint8_t)(v >> 8));
}
}  // namespace

void PackVoxels(const uint16_t* v, int n, std::vector<uint8_t>& out) {
  if (n <= 0) return;
  PutU16(out, v[0]);
  int i = 1;
  while (i < n) {
    int run = 0;
    while (i + run < n && run < 219 && v[i + run] == v[i - 1]) run++;
    if (run > 0) {
      out.push_back((uint8_t)run);
      i += run;
      continue;
    }
    // Literals up to 35, stopping before a value equal to its predecessor.
    int lit = 0;
    while (i + lit < n && lit < 35 && v[i + lit] != v[i + lit - 1]) lit++;
    out.push_back((uint8_t)(220 + lit));
    for (int k = 0; k < lit; k++) PutU16(out, (uint16_t)(v[i + k] - v[i + k - 1]));
    i += lit;
  }
}

bool UnpackVoxels(BlockReader& in, uint16_t* v, int n) {
  if (n <= 0) return true;
  v[0] = in.U16();
  int i = 1;
  while (i < n && in.Ok()) {
    int c = in.U8();
    int count = c < 220 ? c : c - 220;
    if (count == 0 || i + count > n) {
      in.Fail("a voxel code runs past its cell");
      return false;
    }
    if (c < 220) {
      for (int k = 0; k < count; k++, i++) v[i] = v[i - 1];
    } else {
      for (int k = 0; k < count; k++, i++) v[i] = (uint16_t)(v[i - 1] + in.U16());
    }
  }
  return in.Ok();
}
