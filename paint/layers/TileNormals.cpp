// PixelMap::ComputeTileNormals: the normals of one tile from its composed
// depth. The tile and the ring of pixels round it are first copied into
// 18 x 18 arrays, so that the loop over the tile reads its four neighbours
// without a lookup and without a branch per neighbour.
#include <algorithm>
#include <cfloat>
#include <cmath>

#include "paint/layers/OneLayerInfo.h"
#include "paint/layers/PixelMap.h"

namespace {
constexpr int kHalo = kTileSide + 2;

// What the normal of a pixel reads of itself and of its neighbours.
struct DepthHalo {
  alignas(32) float Depth[kHalo * kHalo];
  alignas(32) float HalfInvWidth[kHalo * kHalo];   // 0.5 / Width, 0 for no width
  alignas(32) float HalfInvHeight[kHalo * kHalo];
  alignas(32) float OnMesh[kHalo * kHalo];  // 1 or 0: a neighbour off the mesh is not read

  void Put(int c, const TilePixel* p) {
    if (!p) {
      Depth[c] = HalfInvWidth[c] = HalfInvHeight[c] = OnMesh[c] = 0;
      return;
    }
    Depth[c] = p->Depth;
    HalfInvWidth[c] = p->Width > 0 ? 0.5f / p->Width : 0.0f;
    HalfInvHeight[c] = p->Height > 0 ? 0.5f / p->Height : 0.0f;
    OnMesh[c] = p->Class() == kPixelOnMesh ? 1.0f : 0.0f;
  }
};

}  // namespace

void PixelMap::ComputeTileNormals(PixelTile* tile) {
  DepthHalo h;
  const int x0 = tile->X * kTileSide, y0 = tile->Y * kTileSide;
  if (Width % kTileSide == 0 && Height % kTileSide == 0) {
    // Whole tiles: the ring is the facing edge of the four neighbours (the
    // map wraps at its edges; a missing tile is off the mesh).
    for (int ly = 0; ly < kTileSide; ly++)
      for (int lx = 0; lx < kTileSide; lx++) h.Put((ly + 1) * kHalo + lx + 1, &tile->Pixels[ly * kTileSide + lx]);
    auto beside = [&](int dx, int dy) {
      return FindTile((tile->X + dx + TilesX()) % TilesX(), (tile->Y + dy + TilesY()) % TilesY());
    };
    const PixelTile* left = beside(-1, 0);
    const PixelTile* right = beside(1, 0);
    const PixelTile* up = beside(0, -1);
    const PixelTile* down = beside(0, 1);
    for (int i = 0; i < kTileSide; i++) {
      h.Put((i + 1) * kHalo, left ? &left->Pixels[i * kTileSide + kTileSide - 1] : nullptr);
      h.Put((i + 1) * kHalo + kHalo - 1, right ? &right->Pixels[i * kTileSide] : nullptr);
      h.Put(i + 1, up ? &up->Pixels[(kTileSide - 1) * kTileSide + i] : nullptr);
      h.Put((kHalo - 1) * kHalo + i + 1, down ? &down->Pixels[i] : nullptr);
    }
  } else {
    // A map cut inside its last tiles: the ring and the places past the
    // map's edge by lookup, which wraps pixel by pixel.
    const int insideX = std::min(kTileSide, Width - x0), insideY = std::min(kTileSide, Height - y0);
    PixelCursor cur;
    for (int ly = -1; ly <= kTileSide; ly++)
      for (int lx = -1; lx <= kTileSide; lx++) {
        const int c = (ly + 1) * kHalo + lx + 1;
        if (lx >= 0 && ly >= 0 && lx < insideX && ly < insideY) {
          h.Put(c, &tile->Pixels[ly * kTileSide + lx]);
        } else {
          const bool found = FetchPixel(cur, x0 + lx, y0 + ly, false, false, false);
          h.Put(c, found ? &cur.Pixel() : nullptr);
        }
      }
  }

  const float sx = 8.0f / Width, sy = 8.0f / Height;
  for (int y = 0; y < kTileSide; y++) {
    // One row at a time, the same steps for every pixel so the row runs as
    // vectors: a neighbour off the mesh is replaced by the pixel itself, and
    // the one-sided difference then counts twice.
    alignas(32) float nx[kTileSide], ny[kTileSide];
    const int row = (y + 1) * kHalo + 1;
    for (int x = 0; x < kTileSide; x++) {
      const int c = row + x, l = c - 1, r = c + 1, u = c - kHalo, d = c + kHalo;
      // m * a + (1 - m) * b with m 1 or 0 is exactly a or b, with no branch.
      const float ol = h.OnMesh[l], orr = h.OnMesh[r], ou = h.OnMesh[u], od = h.OnMesh[d];
      auto pick = [](float m, float a, float b) { return m * a + (1 - m) * b; };
      const float dl = pick(ol, h.Depth[l], h.Depth[c]), dr = pick(orr, h.Depth[r], h.Depth[c]);
      const float du = pick(ou, h.Depth[u], h.Depth[c]), dd = pick(od, h.Depth[d], h.Depth[c]);
      const float kx = 2 - ol * orr, ky = 2 - ou * od;
      const float wx = sx * (pick(ol, h.HalfInvWidth[l], h.HalfInvWidth[c]) +
                             pick(orr, h.HalfInvWidth[r], h.HalfInvWidth[c]));
      const float wy = sy * (pick(ou, h.HalfInvHeight[u], h.HalfInvHeight[c]) +
                             pick(od, h.HalfInvHeight[d], h.HalfInvHeight[c]));
      const float vx = (dr - dl) * kx * wy, vy = (dd - du) * ky * wx, vz = wx * wy;
      const float len2 = vx * vx + vy * vy + vz * vz;
      const float s = 1.0f / std::sqrt(len2 + FLT_MIN);  // a flat normal has vx = vy = 0
      nx[x] = vx * s * 127 + 128.5f;
      ny[x] = vy * s * 127 + 128.5f;
    }
    for (int x = 0; x < kTileSide; x++) {
      TilePixel& p = tile->Pixels[y * kTileSide + x];
      if (p.Class() == kPixelPadding) continue;  // shows its source's normal, copied by the links
      const bool outside = p.Class() == kPixelOutside;
      p.NormalX = outside ? 128 : (uint8_t)(int)nx[x];  // rounded half away from zero: the value is positive
      p.NormalY = outside ? 128 : (uint8_t)(int)ny[x];
    }
  }

  // Normal-map layers of this tile, at most 15, tilt the normal further.
  const LayerTile* maps[15];
  int nmaps = 0;
  for (const LayerTile* l : tile->LayerTiles)
    if (l->Info && l->Info->Visible && l->Info->ColorOp == ColorOps::LOP_NORMALMAP && nmaps < 15) maps[nmaps++] = l;
  for (int i = 0; i < kTilePixels; i++) {
    TilePixel& p = tile->Pixels[i];
    if (p.Class() == kPixelPadding) continue;
    p.MapNormalX = p.MapNormalY = 128;
    if (!nmaps || p.Class() == kPixelOutside) continue;
    float mx = 0, my = 0;
    for (int j = 0; j < nmaps; j++) {
      const uint32_t col = maps[j]->Pixels[i].Color;
      if (!col) continue;
      const float w = maps[j]->Info->DepthTransparency;
      mx += -((float)((col >> 16) & 0xff) - 128) * w;
      my += ((float)((col >> 8) & 0xff) - 128) * w;
    }
    p.MapNormalX = (uint8_t)(128 + (int)std::clamp(mx, -127.0f, 127.0f));
    p.MapNormalY = (uint8_t)(128 + (int)std::clamp(my, -127.0f, 127.0f));
  }
}
