// PixelMap: the per-pixel sample store of one render target. Pixels live in
// 16 x 16 tiles created on first touch; each tile holds its composite pixels
// and one LayerTile per layer painted there, so memory follows paint. Build
// rasterises the faces in UV space once; Update composes the dirty tiles on
// the thread pool and hands them to the GPU in batches.
#pragma once
#include <cstdint>
#include <functional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "paint/layers/LayerRecords.h"

class PaintScene;

// The last tile and layer FetchPixel found, so that a run of pixels in one
// tile skips the hash.
struct PixelCursor {
  PixelTile* Tile = nullptr;
  int TileX = -1, TileY = -1;
  int LayerID = -1;  // -1: no layer asked
  LayerTile* Layer = nullptr;
  int Index = 0;  // pixel inside the tile
  TilePixel& Pixel() const { return Tile->Pixels[Index]; }
};

// A batch of composed tiles handed to the device: receives tile positions and
// the 64 tiles' colour and normal texels, as staged.
using TileUploader = std::function<void(const std::vector<PixelTile*>& tiles,
                                        const std::vector<uint32_t>& colour,
                                        const std::vector<uint32_t>& normal, bool colourToo)>;

class PixelMap {
 public:
  int Width = 0, Height = 0;
  int Colour = 0;  // the current layer's ID, cached for stroke code
  PaintScene* Scene = nullptr;
  std::unordered_map<uint32_t, PixelTile*> Tiles;
  std::unordered_set<uint32_t> DirtyTiles;
  int ColorTexture = -1, NormalTexture = -1;
  bool Changed = false;
  bool LayerChanged = false;

  PixelMap(PaintScene* scene, int width, int height);
  ~PixelMap();
  PixelMap(const PixelMap&) = delete;
  PixelMap& operator=(const PixelMap&) = delete;

  static uint32_t TileKey(int tx, int ty) { return ((uint32_t)ty << 16) | (uint32_t)tx; }
  int TilesX() const { return (Width + kTileSide - 1) / kTileSide; }
  int TilesY() const { return (Height + kTileSide - 1) / kTileSide; }
  // The tile at (tx, ty) or null; a flat directory answers without hashing.
  PixelTile* FindTile(int tx, int ty) const;
  // Makes the tile, zeroed, if it is missing (null outside the map).
  PixelTile* GetTile(int tx, int ty);
  void MarkDirty(PixelTile* tile, int state = 1);

  // The one road to a pixel: x and y wrap modulo the map size. `layerID` -1
  // asks for no layer. True when the tile exists (after create). Creating
  // tiles or layer tiles is for the main thread; workers only read.
  bool FetchPixel(PixelCursor& cursor, int x, int y, bool create, bool markDirty, bool backup,
                  int layerID = -1);
  // Finds or inserts (by LayerOrder) a zeroed LayerTile.
  LayerTile* GetLayerTile(PixelTile* tile, int layerID, bool create);
  // The scene's current layer of an existing tile, created if missing, and
  // with `backup` its undo copy taken once. Touches only this tile, so the
  // workers may prepare different tiles at once; true when an undo copy was
  // taken (the caller then sets Changed).
  bool PrepareLayerTile(PixelTile* tile, bool backup);
  // Copies the tile's layer into OtherLayerUndo once; true if the layer exists.
  bool BackupLayerTile(PixelTile* tile, int layerID);
  // Frees layer tiles whose pixels are all empty.
  void PruneEmpty(PixelTile* tile);
  void PruneEmptyLayer(PixelTile* tile, int layerID);
  void PruneAll();
  // Drops the undo copies of the tiles (an undo point has stored them).
  void ClearUndo();
  // A part of a stroke in several parts has been recorded: each tile keeps
  // its copy from the stroke's start (later dabs still measure against it)
  // and takes a copy of its layer as it stands now into OtherLayerUndo, in
  // place of an earlier part's, so the next part's record, which writes the
  // start copy first and the other copies after it, restores this state.
  void KeepUndoAtCheckpoint();
  // Re-sorts each tile's LayerTiles by LayerOrder.
  void ResortLayers();

  // Composes one tile from its layers; true when a pixel's depth moved.
  bool ComposeTile(PixelTile* tile);
  // While on (a stroke paints the map), Update keeps each composed tile's
  // blend of the layers under the current one and starts the next
  // composition of the tile from it; off frees what was kept. Kept blends
  // are dropped when a layer row, the layer list or the current layer
  // changes, when a tile gains or loses a layer tile, and when other layers'
  // pixels are written through the map (undo, seams, layer commands).
  void KeepUnderBlends(bool on);
  // Forgets every kept blend: a layer under the current one changed.
  void DropUnderBlends() { underGeneration_++; }
  // Normals from depth for one tile.
  void ComputeTileNormals(PixelTile* tile);
  // Composes every dirty tile on the pool, derives normals, walks the links
  // and hands the tiles to `upload` (when set) in batches of 64; empties
  // DirtyTiles. Returns the number of tiles composed.
  int Update(const TileUploader& upload = nullptr);
  // Rasterises the faces of `renderTarget` in UV space: pixel classes, texel
  // sizes, FaceTexels, padding links. Marks every built tile dirty.
  void Build(PaintScene& scene, int renderTarget);

  // Calls fn(layerTile) for the layer's tile in every tile that has one and
  // marks those tiles for composition.
  void ForEachLayerTile(int layerID, const std::function<void(LayerTile&)>& fn);
  // Frees the layer's tiles (the layer is being deleted).
  void DeleteLayer(int layerID);

  size_t MemoryBytes() const;

 private:
  std::vector<PixelTile*> directory_;  // TilesX * TilesY slots, the tiles of Tiles
  // Update's staged words and batch, kept so their memory is reused.
  std::vector<uint32_t> stageColour_, stageNormal_, batchColour_, batchNormal_;
  std::vector<PixelTile*> batch_;
  bool keepUnder_ = false;
  uint64_t underGeneration_ = 1;  // a kept blend is good while its generation is this
  std::vector<uint32_t> stackStamp_;  // the layer rows the kept blends were made under
  uint64_t updates_ = 0;  // Update calls that composed with kept blends
  std::vector<PixelTile*> kept_;  // the tiles that hold a kept blend
  // Lists the kept blends made while composing `composed`, and frees those
  // the update did not use once there are more than a few dabs' worth: the
  // pen has left those tiles behind.
  void TrimUnderBlends(const std::vector<PixelTile*>& composed);
  // Composes with the kept blend of the layers under the current one, when
  // there is a good one, and keeps it when there is not.
  bool ComposeTile(PixelTile* tile, bool keepUnder);
  // Drops the kept blends when the layer rows differ from the stamp.
  void CheckUnderBlends();
  // Copies pixels along the tile's seam or padding links; layerID -1 copies
  // the composite only. Padding links sit in the tile of their source pixel.
  void WalkLinks(PixelTile* tile, int layerID, bool pad);
  // Whether the tile's normals may differ from what they were (see Update).
  bool NeedsNormals(const PixelTile* tile) const;
  // The current layer's undo copy and the freeze's, once; true when taken.
  bool TakeUndoCopy(PixelTile* tile);
};
