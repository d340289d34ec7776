// PixelMap::Update: dirty tiles are composed and given normals on the thread
// pool (each worker takes the next few tiles as it comes free), then links copy pixels across
// seams and into padding, and the tiles go to the device 64 at a time.
#include <algorithm>
#include <atomic>
#include <cstring>

#include "ClassEngine/Threader.h"
#include "paint/layers/OneLayerInfo.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"

namespace {
constexpr int kUploadBatch = 64;

// Tiles a worker takes at a time: enough that the shared counter is rarely
// touched, few enough that the workers end together.
constexpr size_t kTileChunk = 8;
// Staged words kept between updates, in tiles: a dab's worth and more; what
// a whole map's update took is given back.
constexpr size_t kKeptStageTiles = 4096;

// Runs fn(0 .. n - 1) on the pool, each worker taking the next chunk as it
// comes free: a worker that wakes late, or tiles that cost more than others,
// do not leave one thread with the larger share. fn writes only what index
// i owns, so any order gives the same bytes.
void OnWorkers(size_t n, const std::function<void(size_t)>& fn) {
  const int workers = std::max(1, std::min(UsingProcessors(), kMaxThreads));
  const int count = n <= kTileChunk ? 1 : std::min(workers, (int)((n + kTileChunk - 1) / kTileChunk));
  std::atomic<size_t> next{0};
  RunSection(count, [&](int) {
    for (size_t first; (first = next.fetch_add(kTileChunk, std::memory_order_relaxed)) < n;)
      for (size_t i = first, last = std::min(n, first + kTileChunk); i < last; i++) fn(i);
  });
}

void OnWorkers(const std::vector<PixelTile*>& tiles, const std::function<void(PixelTile*)>& fn) {
  OnWorkers(tiles.size(), [&](size_t i) { fn(tiles[i]); });
}
}  // namespace

bool PixelMap::NeedsNormals(const PixelTile* tile) const {
  if (tile->DirtyState == 2 || tile->DepthChanged) return true;
  for (int dy = -1; dy <= 1; dy++)
    for (int dx = -1; dx <= 1; dx++) {
      const int tx = (tile->X + dx + TilesX()) % TilesX(), ty = (tile->Y + dy + TilesY()) % TilesY();
      const PixelTile* n = FindTile(tx, ty);
      if (n && n->DepthChanged) return true;
    }
  for (const LayerTile* l : tile->LayerTiles)
    if (l->Info && l->Info->ColorOp == ColorOps::LOP_NORMALMAP) return true;
  return false;
}

void PixelMap::WalkLinks(PixelTile* tile, int layerID, bool pad) {
  const DynArray<TileLink>& links = pad ? tile->PadLinks : tile->SeamLinks;
  PixelCursor from, to;
  for (const TileLink& l : links) {
    if (!FetchPixel(from, l.X0, l.Y0, false, false, false, layerID)) continue;
    FetchPixel(to, l.X1, l.Y1, true, false, false, layerID);
    TilePixel& dst = to.Pixel();
    const TilePixel& src = from.Pixel();
    const uint32_t bits = dst.PixelBits;
    const float w = dst.Width, h = dst.Height;
    dst = src;  // composite, specular, freeze and normals
    dst.PixelBits = bits, dst.Width = w, dst.Height = h;
    if (layerID >= 0 && from.Layer) {
      if (!to.Layer) to.Layer = GetLayerTile(to.Tile, layerID, true);
      to.Layer->Pixels[to.Index] = from.Layer->Pixels[from.Index];
    }
    if (to.Tile != tile) DirtyTiles.insert(TileKey(to.Tile->X, to.Tile->Y));
  }
}

int PixelMap::Update(const TileUploader& upload) {
  if (DirtyTiles.empty()) return 0;
  // Kept blends of the layers under the current one: other layers' pixels
  // written since (undo marks that with LayerChanged), or any change of the
  // layer rows, and they no longer hold.
  const bool keepUnder = keepUnder_ && Scene;
  if (keepUnder) {
    if (LayerChanged) DropUnderBlends();
    CheckUnderBlends();
    updates_++;
  }
  std::vector<uint32_t> keys(DirtyTiles.begin(), DirtyTiles.end());
  std::sort(keys.begin(), keys.end());  // the same walk whatever the hash did
  std::vector<PixelTile*> dirty, compose;
  for (uint32_t k : keys) {
    PixelTile* t = FindTile((int)(k & 0xffff), (int)(k >> 16));
    if (!t) continue;
    dirty.push_back(t);
    if (t->DirtyState == 1) compose.push_back(t);
  }
  // Phase one: composition.
  OnWorkers(compose, [&](PixelTile* t) { t->DepthChanged = ComposeTile(t, keepUnder); });
  const bool composed = !compose.empty();
  if (keepUnder) TrimUnderBlends(compose);
  // Phase two: normals, once every composite is in place; only where they can
  // have changed: a tile whose depth or a neighbour's depth moved, one asked
  // for normals alone, one with a normal-map layer. The neighbours of a tile
  // whose depth moved join even when they were not dirty, so that no normal
  // depends on which tiles earlier frames happened to touch.
  const size_t wereDirty = dirty.size();
  for (PixelTile* t : compose) {
    if (!t->DepthChanged) continue;
    for (int dy = -1; dy <= 1; dy++)
      for (int dx = -1; dx <= 1; dx++) {
        const int tx = (t->X + dx + TilesX()) % TilesX(), ty = (t->Y + dy + TilesY()) % TilesY();
        const uint32_t k = TileKey(tx, ty);
        PixelTile* n = FindTile(tx, ty);
        if (n && !std::binary_search(keys.begin(), keys.end(), k) && DirtyTiles.insert(k).second) dirty.push_back(n);
      }
  }
  if (dirty.size() != wereDirty) {  // keep the walk in key order
    std::sort(dirty.begin(), dirty.end(),
              [&](const PixelTile* a, const PixelTile* b) { return TileKey(a->X, a->Y) < TileKey(b->X, b->Y); });
    keys.clear();
    for (PixelTile* t : dirty) keys.push_back(TileKey(t->X, t->Y));
  }
  std::vector<PixelTile*> normals;
  if (composed)
    for (PixelTile* t : dirty)
      if (NeedsNormals(t)) normals.push_back(t);
  for (PixelTile* t : dirty) t->DirtyState = 0;
  for (PixelTile* t : compose) t->DepthChanged = false;
  OnWorkers(normals, [&](PixelTile* t) { ComputeTileNormals(t); });
  // Links: padding pixels show their source, seams copy the current layer.
  const int current = Scene ? Scene->CurrentLayer : 0;
  const OneLayerInfo* info = Scene ? Scene->GetLayerByID(current) : nullptr;
  const size_t before = DirtyTiles.size();
  for (PixelTile* t : dirty) {
    WalkLinks(t, info && info->ColorOp == ColorOps::LOP_NORMALMAP ? current : -1, true);
    WalkLinks(t, current, false);
  }
  if (LayerChanged && Scene) {
    for (OneLayerInfo* l : Scene->Layers)
      if (l->LayerID != current && !l->IsExternal())
        for (PixelTile* t : dirty) WalkLinks(t, l->LayerID, false);
    LayerChanged = false;
    DropUnderBlends();  // the seams wrote other layers
  }
  // Tiles reached by links join the upload.
  if (DirtyTiles.size() != before)
    for (uint32_t k : DirtyTiles)
      if (!std::binary_search(keys.begin(), keys.end(), k)) {
        auto it = Tiles.find(k);
        if (it != Tiles.end()) dirty.push_back(it->second), it->second->DirtyState = 0;
      }
  if (upload) {
    // The staged words of every tile are filled on the workers, each tile in
    // its own slot; the batches then go to the device in order.
    // The words are kept between calls: a dab's megabytes, freed and taken
    // again each time, came back as fresh pages to fault in.
    std::vector<uint32_t>& colour = stageColour_;
    std::vector<uint32_t>& normal = stageNormal_;
    colour.resize(dirty.size() * kTilePixels), normal.resize(dirty.size() * kTilePixels);
    OnWorkers(dirty.size(), [&](size_t b) {
      const TilePixel* px = dirty[b]->Pixels;
      uint32_t* __restrict c = &colour[b * kTilePixels];
      uint32_t* __restrict n = &normal[b * kTilePixels];
      for (int i = 0; i < kTilePixels; i++) {
        const TilePixel& p = px[i];
        const uint32_t v = p.Color;
        c[i] = (v & 0xff00ff00) | ((v >> 16) & 0xff) | ((v & 0xff) << 16);  // red <-> blue
        const int nx = std::clamp(p.NormalX + p.MapNormalX - 128, 0, 255);
        const int ny = std::clamp(p.NormalY + p.MapNormalY - 128, 0, 255);
        n[i] = (uint32_t)nx | ((uint32_t)ny << 8) | ((uint32_t)(p.Freeze >> 8) << 16) | ((uint32_t)p.Specular << 24);
      }
    });
    std::vector<PixelTile*>& batch = batch_;
    std::vector<uint32_t>& batchColour = batchColour_;
    std::vector<uint32_t>& batchNormal = batchNormal_;
    for (size_t first = 0; first < dirty.size(); first += kUploadBatch) {
      const size_t last = std::min(dirty.size(), first + kUploadBatch);
      batch.assign(dirty.begin() + first, dirty.begin() + last);
      batchColour.assign(colour.begin() + first * kTilePixels, colour.begin() + last * kTilePixels);
      batchNormal.assign(normal.begin() + first * kTilePixels, normal.begin() + last * kTilePixels);
      upload(batch, batchColour, batchNormal, composed);
    }
    if (colour.capacity() > kKeptStageTiles * kTilePixels) {
      for (std::vector<uint32_t>* v : {&colour, &normal, &batchColour, &batchNormal}) v->clear(), v->shrink_to_fit();
    }
  }
  DirtyTiles.clear();
  return (int)compose.size();
}
