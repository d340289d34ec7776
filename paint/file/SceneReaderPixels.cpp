// The pixel blocks of the scene file: a render target's PixelMap, built from
// the faces, then its tiles' freeze values and painted layer channels.
#include <algorithm>
#include <string>

#include "paint/file/SceneReader.h"
#include "paint/layers/PixelMap.h"

using namespace scenereading;

bool SceneReader::Pixels(bool early) {
  uint32_t target = r_.U32();
  int width = r_.U16(), height = r_.U16();
  uint32_t tiles = r_.U32();
  if (!r_.Ok()) return false;
  if (target >= (uint32_t)kMaxTargets || width > kMaxMapSide || height > kMaxMapSide) {
    r_.Fail("the pixel map is out of range");
    return false;
  }
  // "MAQ1" tiles hold each pixel's derived data (15 bytes) and three link lists.
  if (!r_.Fits(tiles, early ? 4 + kTilePixels * 15 + 8 : 6, "tile")) return false;
  s_.CreateMissingTargets();
  while (s_.RenderTargets.GetAmount() <= (int)target) {
    auto* rt = new MRenderTarget;
    rt->Parent = &s_.RenderTargets;
    s_.RenderTargets.Add(rt);
  }
  MRenderTarget* rt = s_.RenderTargets[target];
  delete rt->Pixels;
  rt->Pixels = new PixelMap(&s_, width, height);
  PixelMap& map = *rt->Pixels;
  map.Build(s_, (int)target);
  for (uint32_t t = 0; t < tiles; t++) {
    int tx = r_.U16(), ty = r_.U16();
    PixelTile* tile = r_.Ok() ? map.GetTile(tx, ty) : nullptr;
    if (!tile) {
      r_.Fail("a tile lies outside the map");
      return false;
    }
    if (early ? !EarlyTile(map, *tile) : !Tile(map, *tile)) return false;
    map.MarkDirty(tile);
  }
  rt->UseExternalTexture = true;
  rt->rtSizeX = width, rt->rtSizeY = height;
  map.Scene = &s_;
  return r_.Ok();
}

bool SceneReader::Tile(PixelMap& map, PixelTile& tile) {
  uint16_t freeze = r_.U16();
  if (freeze > 1) {
    r_.Fail("a tile's freeze flag is " + std::to_string(freeze));
    return false;
  }
  for (TilePixel& p : tile.Pixels) p.Freeze = freeze ? r_.U16() : 0;
  int layers = r_.U16();
  for (int k = 0; k < layers && r_.Ok(); k++) {
    int id = std::min<int>(r_.U16(), kMaxLayerID);
    uint16_t flags = r_.U16();
    if (flags & ~7u) {
      r_.Fail("a tile layer has the flags " + std::to_string(flags));
      return false;
    }
    s_.GetLayerByID(id);
    LayerTile* l = map.GetLayerTile(&tile, id, true);
    if (!l) {
      r_.Fail("no memory for a tile layer");
      return false;
    }
    if (flags & 1)
      if (const uint8_t* d = r_.Span(kTilePixels * 4))
        for (int i = 0; i < kTilePixels; i++) l->Pixels[i].Depth = GetF32(d + 4 * i);
    if (flags & 2)
      if (const uint8_t* sp = r_.Span(kTilePixels))
        for (int i = 0; i < kTilePixels; i++) l->Pixels[i].Specular = sp[i];
    if (flags & 4)
      if (const uint8_t* c = r_.Span(kTilePixels * 4))
        for (int i = 0; i < kTilePixels; i++) l->Pixels[i].Color = GetU32(c + 4 * i);
  }
  return r_.Ok();
}

// Per pixel: u16 freeze, f32 width, f32 height, u16 source x, u16 source y,
// u8 class; then seam links, seam links again and padding links, each a u16
// count of four-u16 records; then u16 layers of u32 LayerID and 256 pixels of
// f32 depth, u32 colour, u8 spare, u8 specular, two spare bytes. Only the
// freeze values and the layers are taken: the sizes, sources, classes and
// links follow from the faces, and the map was just built from them.
bool SceneReader::EarlyTile(PixelMap& map, PixelTile& tile) {
  const uint8_t* pixels = r_.Span(kTilePixels * 15);
  if (!pixels) return false;
  for (int i = 0; i < kTilePixels; i++) tile.Pixels[i].Freeze = GetU16(pixels + 15 * i);
  for (int list = 0; list < 3; list++) {
    uint16_t links = r_.U16();
    if (!r_.Fits(links, 8, "tile link") || !r_.Skip(links * 8)) return false;
  }
  int layers = r_.U16();
  if (!r_.Fits(layers, 4 + kTilePixels * 12, "tile layer")) return false;
  for (int k = 0; k < layers; k++) {
    int id = (int)std::min<uint32_t>(r_.U32(), kMaxLayerID);
    const uint8_t* p = r_.Span(kTilePixels * 12);
    if (!p) return false;
    s_.GetLayerByID(id);
    LayerTile* l = map.GetLayerTile(&tile, id, true);
    if (!l) {
      r_.Fail("no memory for a tile layer");
      return false;
    }
    for (int i = 0; i < kTilePixels; i++, p += 12)
      l->Pixels[i].Depth = GetF32(p), l->Pixels[i].Color = GetU32(p + 4), l->Pixels[i].Specular = p[9];
  }
  return r_.Ok();
}
