// PixelMap::ComposeTile: the layers of one tile blended into its composite
// pixels. Each layer's 12-byte samples are first split into plain arrays, so
// that the blend of a whole row runs over contiguous values as vectors.
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

#include "ClassEngine/Random.h"
#include "paint/layers/BlendOps.h"
#include "paint/layers/OneLayerInfo.h"
#include "paint/layers/PixelMap.h"
#include "paint/layers/UnderBlend.h"
#include "paint/scene/PaintScene.h"

namespace {

// The running blend of a tile's pixels, one array per quantity. Every layer
// visits every pixel, so "the first layer" is the same for all.
struct TileBlend {
  alignas(32) float A[4][kTilePixels];
  alignas(32) float Coverage[kTilePixels];
  alignas(32) float Specular[kTilePixels];
  alignas(32) float Depth[kTilePixels];
  bool First = true;
  uint32_t Seed;
  bool Seeded = false;
  Random Rng[kTilePixels];  // Dissolve's dice, one stream a pixel, seeded when first needed

  explicit TileBlend(uint32_t seed) : Seed(seed) {
    std::fill(&A[0][0], &A[0][0] + 4 * kTilePixels, 0.0f);
    std::fill(Coverage, Coverage + kTilePixels, 0.0f);
    std::fill(Specular, Specular + kTilePixels, 0.0f);
    std::fill(Depth, Depth + kTilePixels, 0.0f);
  }
  void SeedDice() {
    if (Seeded) return;
    for (int i = 0; i < kTilePixels; i++) Rng[i].Seed(Seed + (uint32_t)i);
    Seeded = true;
  }
};

// Where the specular byte sits in the sample's third 32-bit word.
static_assert(offsetof(LayerPixel, Specular) == offsetof(LayerPixel, Reserved0) + 1);
constexpr int kSpecularShift = std::endian::native == std::endian::little ? 8 : 16;

// One layer tile's samples as separate arrays.
struct LayerRow {
  alignas(32) uint32_t Color[kTilePixels];
  alignas(32) float Depth[kTilePixels];
  alignas(32) float Specular[kTilePixels];

  explicit LayerRow(const LayerPixel* px) {
    for (int i = 0; i < kTilePixels; i++) {
      Color[i] = px[i].Color;
      Depth[i] = px[i].Depth;
      // The specular byte is read with its neighbours as one 32-bit word, as
      // colour and depth are: byte loads 12 bytes apart do not vectorise well.
      uint32_t word;
      std::memcpy(&word, &px[i].Reserved0, sizeof word);
      Specular[i] = (float)((word >> kSpecularShift) & 255);
    }
  }
};

// One normal-blend layer's colour over the row.
void BlendPlainRow(const LayerRow& r, float ct, float* __restrict A0, float* __restrict A1, float* __restrict A2,
                   float* __restrict C, float* __restrict S) {
  for (int i = 0; i < kTilePixels; i++) {
    const uint32_t c = r.Color[i];
    const float a = (float)(c >> 24) * ct;
    A0[i] += ((float)(c & 255) - A0[i]) * a;
    A1[i] += ((float)((c >> 8) & 255) - A1[i]) * a;
    A2[i] += ((float)((c >> 16) & 255) - A2[i]) * a;
    C[i] = (1 - a) * C[i] + a;
    S[i] += r.Specular[i];
  }
}

void AddDepthRow(const LayerRow& r, float ct, float dt, float emboss, float* __restrict D) {
  for (int i = 0; i < kTilePixels; i++) D[i] += dt * r.Depth[i] + emboss * (float)(r.Color[i] >> 24) * ct;
}

// One layer of a per-channel mode over the row, the mode's formula fixed.
template <int Op, bool First>
void BlendChannelRowAs(const LayerRow& r, float ct, float* __restrict A0, float* __restrict A1,
                       float* __restrict A2, float* __restrict A3, float* __restrict C, float* __restrict S) {
  for (int i = 0; i < kTilePixels; i++) {
    const uint32_t c = r.Color[i];
    const float a = (float)(c >> 24) * ct;
    const float L0 = Clamp255(ChannelOp<Op>((float)(c & 255), A0[i]));
    const float L1 = Clamp255(ChannelOp<Op>((float)((c >> 8) & 255), A1[i]));
    const float L2 = Clamp255(ChannelOp<Op>((float)((c >> 16) & 255), A2[i]));
    if (First) {
      A0[i] = L0, A1[i] = L1, A2[i] = L2;
      A3[i] = Clamp255(ChannelOp<Op>((float)(c >> 24), A3[i]));
    } else {
      A0[i] += (L0 - A0[i]) * a;
      A1[i] += (L1 - A1[i]) * a;
      A2[i] += (L2 - A2[i]) * a;
    }
    C[i] = (1 - a) * C[i] + a;
    S[i] += r.Specular[i];
  }
}

template <int Op>
void BlendChannelRow(const LayerRow& r, float ct, bool first, TileBlend& t) {
  if (first) BlendChannelRowAs<Op, true>(r, ct, t.A[0], t.A[1], t.A[2], t.A[3], t.Coverage, t.Specular);
  else BlendChannelRowAs<Op, false>(r, ct, t.A[0], t.A[1], t.A[2], t.A[3], t.Coverage, t.Specular);
}

// The blend's end as bytes: colour with coverage as alpha, and specular.
void PackRow(const TileBlend& t, uint32_t* __restrict colour, uint8_t* __restrict specular) {
  auto byte = [](float v) { return (uint32_t)(int)(std::min(std::max(v, 0.0f), 255.0f) + 0.5f); };
  for (int i = 0; i < kTilePixels; i++)
    colour[i] = byte(t.A[0][i]) | byte(t.A[1][i]) << 8 | byte(t.A[2][i]) << 16 |
                byte(std::min(t.Coverage[i], 1.0f) * 255) << 24;
  for (int i = 0; i < kTilePixels; i++) specular[i] = (uint8_t)byte(t.Specular[i]);
}

}  // namespace

bool PixelMap::ComposeTile(PixelTile* tile) { return ComposeTile(tile, false); }

bool PixelMap::ComposeTile(PixelTile* tile, bool keepUnder) {
  const float unitScale = Scene ? Scene->UnitScale : 1.0f;
  // Layer by layer over the tile's pixels: each layer's samples are read in
  // order, and the blend's switches are the same for a whole row of work.
  TileBlend t(PixelMap::TileKey(tile->X, tile->Y) * 2654435761u);
  float* const D = t.Depth;
  int looked = 0;
  const int count = tile->LayerTiles.GetAmount();
  // The current layer's place in the tile: the blend of what lies under it
  // is kept, and taken up again while it is good.
  int current = -1;
  if (keepUnder && Scene)
    for (int i = 0; i < count; i++)
      if ((int)tile->LayerTiles[i]->LayerID == Scene->CurrentLayer) {
        current = i;
        break;
      }
  if (current <= 0) keepUnder = false;
  int start = 0;
  if (UnderBlend* u = tile->Under; keepUnder && u && u->Generation == underGeneration_ && u->Below == current) {
    std::memcpy(t.A, u->A, sizeof t.A);
    std::memcpy(t.Coverage, u->Coverage, sizeof t.Coverage);
    std::memcpy(t.Specular, u->Specular, sizeof t.Specular);
    std::memcpy(t.Depth, u->Depth, sizeof t.Depth);
    t.First = u->First;
    looked = u->Looked;
    u->Used = updates_;
    start = current;
    keepUnder = false;  // nothing new to keep
  }
  for (int index = start; index < count; index++) {
    if (keepUnder && index == current) {
      // The layers under the current one are blended: keep them, unless the
      // blend rolled Dissolve's dice (their streams would have to be kept too).
      if (!t.Seeded) {
        UnderBlend* u = tile->Under ? tile->Under : (tile->Under = new UnderBlend);
        std::memcpy(u->A, t.A, sizeof t.A);
        std::memcpy(u->Coverage, t.Coverage, sizeof t.Coverage);
        std::memcpy(u->Specular, t.Specular, sizeof t.Specular);
        std::memcpy(u->Depth, t.Depth, sizeof t.Depth);
        u->First = t.First;
        u->Looked = looked;
        u->Below = current;
        u->Generation = underGeneration_;
        u->Used = updates_;
      }
      keepUnder = false;
    }
    const LayerTile* l = tile->LayerTiles[index];
    const OneLayerInfo* info = l->Info;
    if (!info || !info->Visible || info->ColorOp >= ColorOps::LOP_NORMALMAP) continue;
    // An empty layer tile composes as an absent one: whether a stroke, an
    // undo or a seam copy left one behind must not change the colour (the
    // first layer seeds the blend).
    if (l->IsEmpty()) continue;
    if (++looked > 1024) break;
    // A layer masked by another reads that layer too, which may be the
    // current one: nothing under the current one is kept.
    if (info->LinkedLayer >= 0 && index < current) keepUnder = false;
    const LayerTile* mask = nullptr;
    if (info->LinkedLayer >= 0) {
      mask = tile->FindLayer(info->LinkedLayer);
      if (mask && (!mask->Info || !mask->Info->Visible)) mask = nullptr;
    }
    const float ct = info->ColorTransparency / 255.0f, dt = info->DepthTransparency;
    const float emboss = info->EmbossPower != 0 ? 2 * info->EmbossPower / unitScale : 0;
    const int depthOp = info->DepthOp;
    const bool unmasked = info->LinkedLayer < 0 && info->Contrast == 0 && info->Brightness == 0 &&
                          info->SpecContrast == 0 && info->SpecBrightness == 0;
    const LayerPixel* px = l->Pixels;
    if (unmasked) {
      const LayerRow r(px);
      // The layer's depth, by row, when no mask weighs it.
      auto depthRow = [&] {
        if (depthOp == DepthOps::LOP_ADDDEPTH) {
          AddDepthRow(r, ct, dt, emboss, D);
        } else {
          for (int i = 0; i < kTilePixels; i++) {
            const float a = (float)(r.Color[i] >> 24) * ct;
            D[i] = ApplyDepthOp(depthOp, D[i], dt * r.Depth[i] + emboss * a, unitScale);
          }
        }
      };
      if (info->ColorOp == ColorOps::LOP_STANDART_BLEND) {
        // The common layer: normal blend, no mask, no corrections. The same
        // steps as SampleBlend::Add with m = 1, on bytes that need no clamp.
        depthRow();
        if (t.First)
          for (int i = 0; i < kTilePixels; i++) {
            const uint32_t c = r.Color[i];
            t.A[0][i] = (float)(c & 255), t.A[1][i] = (float)((c >> 8) & 255);
            t.A[2][i] = (float)((c >> 16) & 255), t.A[3][i] = (float)(c >> 24);
          }
        BlendPlainRow(r, ct, t.A[0], t.A[1], t.A[2], t.Coverage, t.Specular);
        t.First = false;
        continue;
      }
      // A per-channel blend mode: the mode's formula is fixed for the whole
      // row, so the loop carries no switch.
      if (WithChannelMode(info->ColorOp, [&](auto mode) {
            depthRow();
            BlendChannelRow<decltype(mode)::value>(r, ct, t.First, t);
          })) {
        t.First = false;
        continue;
      }
    }
    // Everything else, sample by sample through the general blend.
    t.SeedDice();
    for (int i = 0; i < kTilePixels; i++) {
      const LayerPixel& lp = px[i];
      const float m = info->LinkedLayer < 0 ? 1.0f
                                            : LinkMask(*info, mask != nullptr,
                                                       mask ? (mask->Pixels[i].Color >> 24) / 255.0f : 0);
      const float a = (float)(lp.Color >> 24) * ct;
      const float d = dt * m * lp.Depth + emboss * a;
      D[i] = depthOp == DepthOps::LOP_ADDDEPTH ? D[i] + d : ApplyDepthOp(depthOp, D[i], d, unitScale);
      SampleBlend b;
      for (int ch = 0; ch < 4; ch++) b.A[ch] = t.A[ch][i];
      b.Coverage = t.Coverage[i];
      b.Specular = t.Specular[i];
      b.First = t.First;
      b.Rng = t.Rng[i];
      b.Add(*info, lp.Color, lp.Specular, a, m, true);
      for (int ch = 0; ch < 4; ch++) t.A[ch][i] = b.A[ch];
      t.Coverage[i] = b.Coverage;
      t.Specular[i] = b.Specular;
      t.Rng[i] = b.Rng;
    }
    t.First = false;
  }
  alignas(32) uint32_t colour[kTilePixels];
  alignas(32) uint8_t specular[kTilePixels];
  PackRow(t, colour, specular);
  bool depthMoved = false;
  for (int i = 0; i < kTilePixels; i++) {
    TilePixel& p = tile->Pixels[i];
    if (p.Class() == kPixelPadding) continue;  // shows its source, copied by the links
    depthMoved |= p.Depth != D[i];
    p.Depth = D[i];
    p.Specular = specular[i];
    p.Color = colour[i];
  }
  return depthMoved;
}
