// The whole paint state of a scene as bytes, for undo tests: every face's
// composite grid and its non-empty layer entries, every per-pixel tile's
// composite pixels and non-empty layer tiles, and the
// layer stack's order and members. Empty entries read as absent ones.
#pragma once
#include <algorithm>
#include <string>
#include <vector>

#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"

inline std::string PaintPicture(PaintScene& scene) {
  std::string out;
  auto put = [&](const void* p, size_t n) { out.append((const char*)p, n); };
  for (size_t f = 0; f < scene.Faces.size(); ++f) {
    PaintFace& F = scene.Faces[f];
    const int n = F.SampleCount();
    if (F.Grid) put(F.Grid, sizeof(MicroVertex) * n);
    for (const FaceLayer& l : F.LayerList) {
      bool empty = true;
      for (int i = 0; i < n && empty; ++i) empty = l.Data[i].IsEmpty();
      if (empty) continue;
      put(&l.LayerID, 4);
      for (int i = 0; i < n; ++i) put(&l.Data[i], 20);  // Emboss is derived
    }
  }
  for (int rt = 0; rt < scene.RenderTargets.GetAmount(); ++rt) {
    PixelMap* m = scene.GetPixelMap(rt);
    if (!m) continue;
    std::vector<uint32_t> keys;
    for (auto& [k, t] : m->Tiles) keys.push_back(k);
    std::sort(keys.begin(), keys.end());
    for (uint32_t k : keys) {
      PixelTile* t = m->Tiles[k];
      put(&k, 4);
      // The composite as composed and copied along the links, and each
      // pixel's class (the sizes are the build's).
      for (const TilePixel& p : t->Pixels) {
        put(&p.Depth, 4), put(&p.Color, 4), put(&p.Specular, 1), put(&p.Freeze, 2);
        put(&p.NormalX, 4), put(&p.PixelBits, 4);
      }
      for (LayerTile* l : t->LayerTiles)
        if (!l->IsEmpty()) put(&l->LayerID, 4), put(l->Pixels, sizeof(l->Pixels));
    }
  }
  for (int i = 0; i < scene.Layers.GetAmount(); ++i) {
    OneLayerInfo* l = scene.Layers[i];
    out += "|layer ";
    out += std::string(l->Name.cpchar()) + " " + std::to_string(l->LayerID) + " " + std::to_string(l->Visible) + " " +
           std::to_string(l->ColorOp) + " " + std::to_string(l->DepthOp) + " " + std::to_string(l->ColorTransparency) +
           " " + std::to_string(l->DepthTransparency);
  }
  out += "|current " + std::to_string(scene.CurrentLayer);
  return out;
}

// The samples part of a picture (the layer stack left out).
inline std::string SamplesOf(const std::string& picture) { return picture.substr(0, picture.find("|layer")); }

