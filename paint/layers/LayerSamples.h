// Walks shared by the layer operations: every per-pixel map of the scene,
// every sample of one layer in both storages, and the hand-over of composed
// tiles to the device.
#pragma once
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"

void RecomposeLayer(PaintScene& scene, int layerID);

template <class F>
void ForEachMap(PaintScene& scene, F&& f) {
  for (MRenderTarget* rt : scene.RenderTargets)
    if (rt->Pixels) f(*rt->Pixels);
}

// Composes the per-pixel maps' dirty tiles and hands them to the device.
inline void UpdateMaps(PaintScene& scene) {
  for (int t = 0; t < scene.RenderTargets.GetAmount(); t++) scene.UpdatePixelMap(t);
}

// v(sample) for each micro-vertex sample of the layer, p(pixel) for each of
// its pixels, then the layer is recomposed.
template <class OnVertex, class OnPixel>
void EachSample(PaintScene& scene, int layerID, OnVertex&& v, OnPixel&& p) {
  for (PaintFace& f : scene.Faces)
    for (FaceLayer& l : f.LayerList)
      if (l.LayerID == layerID)
        for (int i = 0; i < f.SampleCount(); i++) v(l.Data[i]);
  ForEachMap(scene, [&](PixelMap& m) {
    m.ForEachLayerTile(layerID, [&](LayerTile& t) {
      for (LayerPixel& px : t.Pixels) p(px);
    });
  });
  RecomposeLayer(scene, layerID);
}
