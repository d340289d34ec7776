// PixelMap: the sparse tile store, the one road to a pixel, per-tile layer
// lists with their undo copies, and the composition of a tile.
#include "paint/layers/PixelMap.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "paint/layers/BlendOps.h"
#include "paint/layers/OneLayerInfo.h"
#include "paint/scene/PaintScene.h"

PixelTile::~PixelTile() {
  for (LayerTile* l : LayerTiles) delete l;
  for (LayerTile* l : OtherLayerUndo) delete l;
  delete UndoLayerTile;
  delete ScratchLayerTile;
  delete[] Frames;
  delete[] FreezeUndo;
}

LayerTile* PixelTile::FindLayer(int layerID) const {
  for (LayerTile* l : LayerTiles)
    if ((int)l->LayerID == layerID) return l;
  return nullptr;
}

PixelMap::PixelMap(PaintScene* scene, int width, int height)
    : Width(std::max(1, width)), Height(std::max(1, height)), Scene(scene) {
  Tiles.reserve(31457);
  directory_.assign((size_t)TilesX() * TilesY(), nullptr);
}

PixelMap::~PixelMap() {
  for (auto& [key, tile] : Tiles) delete tile;
}

PixelTile* PixelMap::FindTile(int tx, int ty) const {
  if (tx < 0 || ty < 0 || tx >= TilesX() || ty >= TilesY()) return nullptr;
  return directory_[(size_t)ty * TilesX() + tx];
}

PixelTile* PixelMap::GetTile(int tx, int ty) {
  if (tx < 0 || ty < 0 || tx >= TilesX() || ty >= TilesY()) return nullptr;
  PixelTile*& slot = directory_[(size_t)ty * TilesX() + tx];
  if (!slot) {
    slot = new PixelTile;
    slot->X = tx, slot->Y = ty;
    Tiles[TileKey(tx, ty)] = slot;
  }
  return slot;
}

void PixelMap::MarkDirty(PixelTile* tile, int state) {
  DirtyTiles.insert(TileKey(tile->X, tile->Y));
  if (state == 1 || tile->DirtyState == 0) tile->DirtyState = state;
}

bool PixelMap::FetchPixel(PixelCursor& cursor, int x, int y, bool create, bool markDirty,
                          bool backup, int layerID) {
  x %= Width, y %= Height;
  if (x < 0) x += Width;
  if (y < 0) y += Height;
  const int tx = x >> 4, ty = y >> 4;
  if (!cursor.Tile || cursor.TileX != tx || cursor.TileY != ty) {
    cursor.Tile = create ? GetTile(tx, ty) : FindTile(tx, ty);
    cursor.TileX = tx, cursor.TileY = ty;
    cursor.LayerID = -1;
    cursor.Layer = nullptr;
  }
  PixelTile* tile = cursor.Tile;
  if (!tile) return false;
  cursor.Index = (y & 15) * kTileSide + (x & 15);
  if (markDirty) MarkDirty(tile, 1);
  if (create && backup) GetLayerTile(tile, Scene ? Scene->CurrentLayer : 0, true);
  if (backup && !tile->UndoLayerTile && tile->CurrentLayerTile) {
    tile->UndoLayerTile = new LayerTile(*tile->CurrentLayerTile);
    Changed = true;
    if (!tile->FreezeUndo) {
      tile->FreezeUndo = new uint16_t[kTilePixels];
      for (int i = 0; i < kTilePixels; i++) tile->FreezeUndo[i] = tile->Pixels[i].Freeze;
    }
  }
  if (layerID >= 0 && (cursor.LayerID != layerID || (!cursor.Layer && create))) {
    cursor.Layer = GetLayerTile(tile, layerID, create);
    cursor.LayerID = layerID;
  }
  return true;
}

LayerTile* PixelMap::GetLayerTile(PixelTile* tile, int layerID, bool create) {
  LayerTile* found = tile->FindLayer(layerID);
  if (!found && create) {
    found = new LayerTile;
    found->LayerID = (uint32_t)layerID;
    found->Info = Scene ? Scene->GetLayerByID(layerID) : nullptr;
    int order = Scene ? Scene->OrderOf(layerID) : layerID;
    int pos = tile->LayerTiles.GetAmount();
    for (int i = 0; i < tile->LayerTiles.GetAmount(); i++) {
      int o = Scene ? Scene->OrderOf(tile->LayerTiles[i]->LayerID) : tile->LayerTiles[i]->LayerID;
      if (o > order) {
        pos = i;
        break;
      }
    }
    tile->LayerTiles.Insert(found, pos);
  }
  if (found && Scene && layerID == Scene->CurrentLayer) tile->CurrentLayerTile = found;
  return found;
}

bool PixelMap::BackupLayerTile(PixelTile* tile, int layerID) {
  for (LayerTile* l : tile->OtherLayerUndo)
    if ((int)l->LayerID == layerID) return true;
  LayerTile* l = tile->FindLayer(layerID);
  if (!l) return false;
  tile->OtherLayerUndo.Add(new LayerTile(*l));
  return true;
}

void PixelMap::PruneEmptyLayer(PixelTile* tile, int layerID) {
  for (int i = 0; i < tile->LayerTiles.GetAmount(); i++) {
    LayerTile* l = tile->LayerTiles[i];
    if ((int)l->LayerID != layerID || !l->IsEmpty()) continue;
    if (tile->CurrentLayerTile == l) tile->CurrentLayerTile = nullptr;
    if (tile->ScratchLayerTile == l) tile->ScratchLayerTile = nullptr;
    delete l;
    tile->LayerTiles.Del(i, 1);
    return;
  }
}

void PixelMap::PruneEmpty(PixelTile* tile) {
  for (int i = tile->LayerTiles.GetAmount() - 1; i >= 0; i--)
    PruneEmptyLayer(tile, (int)tile->LayerTiles[i]->LayerID);
}

void PixelMap::PruneAll() {
  for (auto& [key, tile] : Tiles) PruneEmpty(tile);
}

void PixelMap::ClearUndo() {
  for (auto& [key, tile] : Tiles) {
    delete tile->UndoLayerTile;
    tile->UndoLayerTile = nullptr;
    for (LayerTile* l : tile->OtherLayerUndo) delete l;
    tile->OtherLayerUndo.Clear();
    delete[] tile->FreezeUndo;
    tile->FreezeUndo = nullptr;
  }
  Changed = false;
}

void PixelMap::ResortLayers() {
  for (auto& [key, tile] : Tiles)
    std::stable_sort(tile->LayerTiles.begin(), tile->LayerTiles.end(),
                     [&](const LayerTile* a, const LayerTile* b) {
                       return Scene->OrderOf(a->LayerID) < Scene->OrderOf(b->LayerID);
                     });
}

namespace {

// The running blend of a tile's pixels, one array per quantity, so that the
// loops over a layer's row run the same arithmetic over contiguous floats.
// Every layer visits every pixel, so "the first layer" is the same for all.
struct TileBlend {
  alignas(32) float A[4][kTilePixels];
  alignas(32) float Coverage[kTilePixels];
  alignas(32) float Specular[kTilePixels];
  alignas(32) float Depth[kTilePixels];
  bool First = true;
  Random Rng[kTilePixels];  // Dissolve's dice, one stream a pixel

  explicit TileBlend(uint32_t seed) {
    std::fill(&A[0][0], &A[0][0] + 4 * kTilePixels, 0.0f);
    std::fill(Coverage, Coverage + kTilePixels, 0.0f);
    std::fill(Specular, Specular + kTilePixels, 0.0f);
    std::fill(Depth, Depth + kTilePixels, 0.0f);
    for (int i = 0; i < kTilePixels; i++) Rng[i].Seed(seed + (uint32_t)i);
  }
  // The first layer's colour, after its mode, is where the blend starts.
  void Start(int i, const float L[4]) {
    for (int ch = 0; ch < 4; ch++) A[ch][i] = L[ch];
  }
};

// One normal-blend layer's colour over the row: written over separate
// arrays that the compiler may take four and eight at a time.
void BlendPlainRow(const LayerPixel* __restrict px, float ct, float* __restrict A0, float* __restrict A1,
                   float* __restrict A2, float* __restrict C, float* __restrict S) {
  for (int i = 0; i < kTilePixels; i++) {
    const uint32_t c = px[i].Color;
    const float a = (float)(c >> 24) * ct;
    A0[i] += ((float)(c & 255) - A0[i]) * a;
    A1[i] += ((float)((c >> 8) & 255) - A1[i]) * a;
    A2[i] += ((float)((c >> 16) & 255) - A2[i]) * a;
    C[i] = (1 - a) * C[i] + a;
    S[i] += (float)px[i].Specular;
  }
}

void AddDepthRow(const LayerPixel* __restrict px, float ct, float dt, float emboss, float* __restrict D) {
  for (int i = 0; i < kTilePixels; i++) D[i] += dt * px[i].Depth + emboss * (float)(px[i].Color >> 24) * ct;
}

// One layer of a per-channel mode over the row, the mode's formula fixed;
// the channels written out so the loop runs over plain arrays.
template <int Op, bool First>
void BlendChannelRowAs(const LayerPixel* __restrict px, float ct, float* __restrict A0, float* __restrict A1,
                       float* __restrict A2, float* __restrict A3, float* __restrict C, float* __restrict S) {
  for (int i = 0; i < kTilePixels; i++) {
    const uint32_t c = px[i].Color;
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
    S[i] += (float)px[i].Specular;
  }
}

template <int Op>
void BlendChannelRow(const LayerPixel* px, float ct, bool first, float* A0, float* A1, float* A2, float* A3,
                     float* C, float* S) {
  if (first) BlendChannelRowAs<Op, true>(px, ct, A0, A1, A2, A3, C, S);
  else BlendChannelRowAs<Op, false>(px, ct, A0, A1, A2, A3, C, S);
}

}  // namespace

bool PixelMap::ComposeTile(PixelTile* tile) {
  const float unitScale = Scene ? Scene->UnitScale : 1.0f;
  const uint32_t seed = PixelMap::TileKey(tile->X, tile->Y) * 2654435761u;
  // Layer by layer over the tile's pixels: each layer's samples are read in
  // order, and the blend's switches are the same for a whole row of work.
  TileBlend t(seed);
  float* const D = t.Depth;
  int looked = 0;
  for (const LayerTile* l : tile->LayerTiles) {
    const OneLayerInfo* info = l->Info;
    if (!info || !info->Visible || info->ColorOp >= ColorOps::LOP_NORMALMAP) continue;
    if (++looked > 1024) break;
    const LayerTile* mask = nullptr;
    if (info->LinkedLayer >= 0) {
      mask = tile->FindLayer(info->LinkedLayer);
      if (mask && (!mask->Info || !mask->Info->Visible)) mask = nullptr;
    }
    const float ct = info->ColorTransparency / 255.0f, dt = info->DepthTransparency;
    const float emboss = info->EmbossPower != 0 ? 2 * info->EmbossPower / unitScale : 0;
    const int depthOp = info->DepthOp;
    const bool plain = info->ColorOp == ColorOps::LOP_STANDART_BLEND && info->LinkedLayer < 0 &&
                       info->Contrast == 0 && info->Brightness == 0 && info->SpecContrast == 0 &&
                       info->SpecBrightness == 0;
    const LayerPixel* px = l->Pixels;
    // The layer's depth, by row, when no mask weighs it.
    auto depthRow = [&] {
      if (depthOp == DepthOps::LOP_ADDDEPTH) {
        AddDepthRow(px, ct, dt, emboss, D);
      } else {
        for (int i = 0; i < kTilePixels; i++) {
          const float a = (float)(px[i].Color >> 24) * ct;
          D[i] = ApplyDepthOp(depthOp, D[i], dt * px[i].Depth + emboss * a, unitScale);
        }
      }
    };
    if (plain) {
      // The common layer: normal blend, no mask, no corrections. The same
      // steps as SampleBlend::Add with m = 1, on bytes that need no clamp.
      depthRow();
      if (t.First)
        for (int i = 0; i < kTilePixels; i++) {
          const uint32_t c = px[i].Color;
          const float L[4] = {(float)(c & 255), (float)((c >> 8) & 255), (float)((c >> 16) & 255), (float)(c >> 24)};
          t.Start(i, L);
        }
      BlendPlainRow(px, ct, t.A[0], t.A[1], t.A[2], t.Coverage, t.Specular);
      t.First = false;
      continue;
    }
    const bool unmasked = info->LinkedLayer < 0 && info->Contrast == 0 && info->Brightness == 0 &&
                          info->SpecContrast == 0 && info->SpecBrightness == 0;
    // A per-channel blend mode without mask or corrections: the mode's
    // formula is fixed for the whole row, so the loop carries no switch.
    if (unmasked && WithChannelMode(info->ColorOp, [&](auto mode) {
          depthRow();
          BlendChannelRow<decltype(mode)::value>(px, ct, t.First, t.A[0], t.A[1], t.A[2], t.A[3], t.Coverage,
                                                 t.Specular);
        })) {
      t.First = false;
      continue;
    }
    // Everything else, sample by sample through the general blend.
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
  bool depthMoved = false;
  for (int i = 0; i < kTilePixels; i++) {
    TilePixel& p = tile->Pixels[i];
    if (p.Class() == kPixelPadding) continue;  // shows its source, copied by the links
    depthMoved |= p.Depth != D[i];
    p.Depth = D[i];
    p.Specular = (uint8_t)(std::clamp(t.Specular[i], 0.0f, 255.0f) + 0.5f);
    float out[4] = {t.A[0][i], t.A[1][i], t.A[2][i], std::min(t.Coverage[i], 1.0f) * 255};
    p.Color = PackColor(out);
  }
  return depthMoved;
}

size_t PixelMap::MemoryBytes() const {
  size_t bytes = Tiles.bucket_count() * sizeof(void*) + directory_.capacity() * sizeof(PixelTile*);
  for (const auto& [key, tile] : Tiles) {
    bytes += sizeof(PixelTile) + sizeof(void*) * 2;
    bytes += (size_t)tile->LayerTiles.GetAmount() * (sizeof(LayerTile) + sizeof(void*));
    bytes += (size_t)(tile->SeamLinks.MaxValues + tile->PadLinks.MaxValues) * sizeof(TileLink);
  }
  return bytes;
}

void PixelMap::ForEachLayerTile(int layerID, const std::function<void(LayerTile&)>& fn) {
  for (auto& [key, tile] : Tiles)
    if (LayerTile* l = tile->FindLayer(layerID)) {
      fn(*l);
      MarkDirty(tile, 1);
    }
}

void PixelMap::DeleteLayer(int layerID) {
  for (auto& [key, tile] : Tiles)
    for (int i = 0; i < tile->LayerTiles.GetAmount(); i++)
      if ((int)tile->LayerTiles[i]->LayerID == layerID) {
        if (tile->CurrentLayerTile == tile->LayerTiles[i]) tile->CurrentLayerTile = nullptr;
        delete tile->LayerTiles[i];
        tile->LayerTiles.Del(i, 1);
        MarkDirty(tile, 1);
        break;
      }
}
