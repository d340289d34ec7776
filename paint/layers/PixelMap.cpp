// PixelMap: the sparse tile store, the one road to a pixel, per-tile layer
// lists with their undo copies.
#include "paint/layers/PixelMap.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "paint/layers/BlendOps.h"
#include "paint/layers/OneLayerInfo.h"
#include "paint/layers/UnderBlend.h"
#include "paint/scene/PaintScene.h"

PixelTile::~PixelTile() {
  for (LayerTile* l : LayerTiles) delete l;
  for (LayerTile* l : OtherLayerUndo) delete l;
  delete UndoLayerTile;
  delete ScratchLayerTile;
  delete[] Frames;
  delete[] FreezeUndo;
  delete Under;
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

namespace {
// The tile's layer list changed: its kept blend no longer matches it.
void StaleUnder(PixelTile* tile) {
  if (tile->Under) tile->Under->Generation = 0;
}
}  // namespace

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
  if (backup && create) Changed |= PrepareLayerTile(tile, true);
  else if (backup) Changed |= TakeUndoCopy(tile);
  if (layerID >= 0 && (cursor.LayerID != layerID || (!cursor.Layer && create))) {
    cursor.Layer = GetLayerTile(tile, layerID, create);
    cursor.LayerID = layerID;
  }
  return true;
}

bool PixelMap::TakeUndoCopy(PixelTile* tile) {
  if (tile->UndoLayerTile || !tile->CurrentLayerTile) return false;
  tile->UndoLayerTile = new LayerTile(*tile->CurrentLayerTile);
  if (!tile->FreezeUndo) {
    tile->FreezeUndo = new uint16_t[kTilePixels];
    for (int i = 0; i < kTilePixels; i++) tile->FreezeUndo[i] = tile->Pixels[i].Freeze;
  }
  return true;
}

bool PixelMap::PrepareLayerTile(PixelTile* tile, bool backup) {
  GetLayerTile(tile, Scene ? Scene->CurrentLayer : 0, true);
  return backup && TakeUndoCopy(tile);
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
    StaleUnder(tile);
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
    StaleUnder(tile);
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

void PixelMap::KeepUndoAtCheckpoint() {
  for (auto& [key, tile] : Tiles) {
    const LayerTile* start = tile->UndoLayerTile;
    if (!start) continue;
    const uint32_t id = start->LayerID;
    for (int i = tile->OtherLayerUndo.GetAmount() - 1; i >= 0; i--)
      if (tile->OtherLayerUndo[i]->LayerID == id) delete tile->OtherLayerUndo[i], tile->OtherLayerUndo.Del(i, 1);
    const LayerTile* now = tile->FindLayer((int)id);
    LayerTile* copy = now ? new LayerTile(*now) : new LayerTile;
    copy->LayerID = id;
    tile->OtherLayerUndo.Add(copy);
  }
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
  DropUnderBlends();
  for (auto& [key, tile] : Tiles)
    std::stable_sort(tile->LayerTiles.begin(), tile->LayerTiles.end(),
                     [&](const LayerTile* a, const LayerTile* b) {
                       return Scene->OrderOf(a->LayerID) < Scene->OrderOf(b->LayerID);
                     });
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
  DropUnderBlends();  // fn may write any layer
  for (auto& [key, tile] : Tiles)
    if (LayerTile* l = tile->FindLayer(layerID)) {
      fn(*l);
      MarkDirty(tile, 1);
    }
}

void PixelMap::DeleteLayer(int layerID) {
  DropUnderBlends();
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

void PixelMap::KeepUnderBlends(bool on) {
  if (on == keepUnder_) return;
  keepUnder_ = on;
  DropUnderBlends();
  stackStamp_.clear();
  if (on) return;
  for (PixelTile* tile : kept_) {
    delete tile->Under;
    tile->Under = nullptr;
  }
  kept_.clear();
}

void PixelMap::TrimUnderBlends(const std::vector<PixelTile*>& composed) {
  // A dab of radius 256 composes about a thousand tiles, and a tile stays
  // under the pen for some eight dabs.
  constexpr size_t kMostKept = 3072;
  for (PixelTile* tile : composed)
    if (UnderBlend* u = tile->Under; u && !u->Listed) u->Listed = true, kept_.push_back(tile);
  if (kept_.size() <= kMostKept) return;
  size_t n = 0;
  for (PixelTile* tile : kept_)
    if (tile->Under->Used == updates_) {
      kept_[n++] = tile;
    } else {
      delete tile->Under;
      tile->Under = nullptr;
    }
  kept_.resize(n);
}

void PixelMap::CheckUnderBlends() {
  // Every row the composition reads, layer by layer in the stack's order,
  // with the current layer and the unit scale; floats as their bits.
  std::vector<uint32_t> stamp;
  stamp.reserve(4 + (size_t)Scene->Layers.GetAmount() * 16);
  auto word = [&](float v) { stamp.push_back(std::bit_cast<uint32_t>(v)); };
  stamp.push_back((uint32_t)Scene->CurrentLayer);
  word(Scene->UnitScale);
  for (const OneLayerInfo* l : Scene->Layers) {
    const uint64_t at = (uint64_t)(uintptr_t)l;
    stamp.push_back((uint32_t)at), stamp.push_back((uint32_t)(at >> 32));
    stamp.push_back((uint32_t)l->LayerID), stamp.push_back(l->Visible);
    stamp.push_back((uint32_t)l->ColorOp), stamp.push_back((uint32_t)l->DepthOp);
    word(l->DepthTransparency), word(l->ColorTransparency), word(l->EmbossPower);
    word(l->Contrast), word(l->Brightness), word(l->SpecContrast), word(l->SpecBrightness);
    stamp.push_back((uint32_t)l->LinkedLayer), stamp.push_back(l->InverseLinkage);
  }
  if (stamp != stackStamp_) {
    DropUnderBlends();
    stackStamp_.swap(stamp);
  }
}
