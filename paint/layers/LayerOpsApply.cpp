// Layer operations that bake something into the samples: merge of the visible
// stack, the mask, the blending members, fills and channel copies.
#include <algorithm>
#include <cmath>

#include "paint/layers/BlendOps.h"
#include "paint/layers/LayerOps.h"
#include "paint/layers/LayerSamples.h"

namespace {

uint8_t Byte(float v) { return (uint8_t)std::lround(std::clamp(v, 0.0f, 255.0f)); }

uint32_t Rgb(uint32_t c) { return c & 0x00ffffffu; }

// The colour bytes of `to` moved toward `from` by k, the top byte kept.
uint32_t MixRgb(uint32_t to, uint32_t from, float k) {
  uint32_t out = to & 0xff000000u;
  for (int shift = 0; shift < 24; shift += 8) {
    const float a = float((to >> shift) & 255), b = float((from >> shift) & 255);
    out |= uint32_t(Byte(a + (b - a) * k)) << shift;
  }
  return out;
}

float MaskOf(const OneLayerInfo& info, bool present, float value) {
  if (!present) value = 0;
  return info.InverseLinkage ? 1 - value : value;
}

// A freeze of 0..65535 as the share of new paint a pixel takes.
float FreeShare(uint16_t freeze) { return 1.0f - freeze / 65535.0f; }

}  // namespace

int MergeVisible(PaintScene& scene) {
  int target = -1;
  for (int p = 1; p < scene.Layers.GetAmount() && target < 0; p++)
    if (scene.Layers[p]->Visible) target = scene.Layers[p]->LayerID;
  if (target < 0) return -1;
  OneLayerInfo* info = scene.GetLayerByID(target);
  // Members back to their defaults; name, ID and visibility stay.
  const OneLayerInfo defaults;
  info->LockTransparency = defaults.LockTransparency;
  info->ColorOp = defaults.ColorOp, info->DepthOp = defaults.DepthOp;
  info->DepthTransparency = defaults.DepthTransparency, info->ColorTransparency = defaults.ColorTransparency;
  info->EmbossPower = defaults.EmbossPower;
  info->Contrast = defaults.Contrast, info->Brightness = defaults.Brightness;
  info->SpecContrast = defaults.SpecContrast, info->SpecBrightness = defaults.SpecBrightness;
  info->LinkedLayer = -1, info->InverseLinkage = false;
  for (int f = 0; f < (int)scene.Faces.size(); f++) {
    PaintFace& face = scene.Faces[f];
    if (!face.Grid || !scene.GetFaceLayer(f, 0, false)) continue;
    // Made first: a new entry may move the face's list, and the bottom's with it.
    FaceLayer* into = scene.GetFaceLayer(f, target, true);
    const FaceLayer* bottom = scene.GetFaceLayer(f, 0, false);
    for (int i = 0; i < face.SampleCount(); i++) {
      const MicroVertex& c = face.Grid[i];
      LayerMicroVertex& d = into->Data[i];
      d.Offset = c.Position - bottom->Data[i].Offset;
      d.Color = c.Color;
      d.Opacity = c.Opacity;
    }
  }
  ForEachMap(scene, [&](PixelMap& m) {
    for (auto& [key, tile] : m.Tiles) {
      const LayerTile* bottom = tile->FindLayer(0);
      LayerTile* into = m.GetLayerTile(tile, target, true);
      for (int i = 0; i < kTilePixels; i++) {
        const TilePixel& c = tile->Pixels[i];
        LayerPixel& d = into->Pixels[i];
        d.Depth = c.Depth - (bottom ? bottom->Pixels[i].Depth : 0);
        d.Color = c.Color;
        d.Specular = c.Specular;
      }
    }
  });
  RecomposeLayer(scene, target);
  return target;
}

bool ApplyLayerMask(PaintScene& scene, int layerID) {
  OneLayerInfo* info = scene.OrderOf(layerID) ? scene.GetLayerByID(layerID) : nullptr;
  if (!info || info->LinkedLayer < 0) return false;
  const int mask = info->LinkedLayer;
  for (int f = 0; f < (int)scene.Faces.size(); f++) {
    FaceLayer* l = scene.GetFaceLayer(f, layerID, false);
    if (!l) continue;
    const FaceLayer* m = scene.GetFaceLayer(f, mask, false);
    for (int i = 0; i < scene.Faces[f].SampleCount(); i++) {
      const float k = MaskOf(*info, m != nullptr, m ? m->Data[i].Opacity : 0);
      if (layerID != 0) l->Data[i].Offset = l->Data[i].Offset * k;  // the bottom layer's offsets are positions
      l->Data[i].Opacity *= k;
    }
  }
  ForEachMap(scene, [&](PixelMap& pm) {
    for (auto& [key, tile] : pm.Tiles) {
      LayerTile* l = tile->FindLayer(layerID);
      if (!l) continue;
      const LayerTile* m = tile->FindLayer(mask);
      for (int i = 0; i < kTilePixels; i++) {
        LayerPixel& p = l->Pixels[i];
        const float k = MaskOf(*info, m != nullptr, m ? (m->Pixels[i].Color >> 24) / 255.0f : 0);
        p.Depth *= k;
        p.Color = Rgb(p.Color) | uint32_t(Byte((p.Color >> 24) * k)) << 24;
      }
      pm.MarkDirty(tile);
    }
  });
  info->LinkedLayer = -1;
  info->InverseLinkage = false;
  RecomposeLayer(scene, layerID);
  return true;
}

void ApplyBlending(PaintScene& scene, int layerID) {
  OneLayerInfo* info = scene.OrderOf(layerID) ? scene.GetLayerByID(layerID) : nullptr;
  if (!info) return;
  // The members as they were, read by the walks below.
  struct {
    float Contrast, Brightness, SpecContrast, SpecBrightness, ColorTransparency, DepthTransparency;
  } const b{info->Contrast,     info->Brightness,        info->SpecContrast,
            info->SpecBrightness, info->ColorTransparency, info->DepthTransparency};
  const bool colour = b.Contrast != 0 || b.Brightness != 0, specular = b.SpecContrast != 0 || b.SpecBrightness != 0;
  auto recolour = [&](uint32_t c) {
    if (!colour) return c;
    uint32_t out = c & 0xff000000u;
    for (int shift = 0; shift < 24; shift += 8)
      out |= uint32_t(Byte((float((c >> shift) & 255) - 128) * (b.Contrast + 1) + 128 + b.Brightness)) << shift;
    return out;
  };
  auto respecular = [&](float s) { return specular ? Byte((b.SpecContrast + 1) * s + b.SpecBrightness) : Byte(s); };
  info->Contrast = info->Brightness = info->SpecContrast = info->SpecBrightness = 0;
  info->ColorTransparency = info->DepthTransparency = 1;
  EachSample(
      scene, layerID,
      [&](LayerMicroVertex& v) {
        v.Color = Rgb(recolour(v.Color)) | uint32_t(respecular(float(v.Color >> 24))) << 24;
        v.Opacity *= b.ColorTransparency;
        if (layerID != 0) v.Offset = v.Offset * b.DepthTransparency;
      },
      [&](LayerPixel& p) {
        p.Color = Rgb(recolour(p.Color)) | uint32_t(Byte((p.Color >> 24) * b.ColorTransparency)) << 24;
        p.Specular = respecular(p.Specular);
        p.Depth *= b.DepthTransparency;
      });
}

void FillLayer(PaintScene& scene, int layerID, const LayerFill& fill, bool onlyWherePainted) {
  if (!scene.OrderOf(layerID)) return;
  for (int f = 0; f < (int)scene.Faces.size(); f++) {
    PaintFace& face = scene.Faces[f];
    if (!face.Grid || face.FreezeState == 2 || !face.Editable || !face.Visible) continue;
    FaceLayer* l = scene.GetFaceLayer(f, layerID, !onlyWherePainted);
    if (!l) continue;
    for (int i = 0; i < face.SampleCount(); i++) {
      LayerMicroVertex& v = l->Data[i];
      if (onlyWherePainted && v.Opacity <= 0.001f) continue;
      const float k = 1 - std::clamp(face.Grid[i].Freeze, 0.0f, 1.0f);
      if (fill.UseColor) {
        v.Color = MixRgb(v.Color, fill.Color, k);
        if (!onlyWherePainted) v.Opacity = std::max(v.Opacity, k);
      }
      if (fill.UseSpecular)
        v.Color = Rgb(v.Color) | uint32_t(Byte(float(v.Color >> 24) + (fill.Specular - float(v.Color >> 24)) * k)) << 24;
      if (fill.UseDepth && layerID != 0) {
        const comms::cVec3 to = face.Grid[i].BaseNormal * fill.Depth;
        v.Offset = v.Offset + (to - v.Offset) * k;
      }
    }
  }
  ForEachMap(scene, [&](PixelMap& m) {
    for (auto& [key, tile] : m.Tiles) {
      LayerTile* l = onlyWherePainted ? tile->FindLayer(layerID) : m.GetLayerTile(tile, layerID, true);
      if (!l) continue;
      for (int i = 0; i < kTilePixels; i++) {
        const TilePixel& t = tile->Pixels[i];
        LayerPixel& p = l->Pixels[i];
        if (t.Class() == kPixelOutside || (onlyWherePainted && (p.Color >> 24) == 0)) continue;
        const float k = FreeShare(t.Freeze);
        if (fill.UseColor) {
          p.Color = MixRgb(p.Color, fill.Color, k);
          if (!onlyWherePainted) p.Color = Rgb(p.Color) | uint32_t(std::max<int>(p.Color >> 24, Byte(k * 255))) << 24;
        }
        if (fill.UseSpecular) p.Specular = Byte(p.Specular + (fill.Specular - float(p.Specular)) * k);
        if (fill.UseDepth) p.Depth += (fill.Depth - p.Depth) * k;
      }
      m.PruneEmptyLayer(tile, layerID);
      m.MarkDirty(tile);
    }
  });
  RecomposeLayer(scene, layerID);
}

void CopyColorChannel(PaintScene& scene, int layerID, bool blueToRed) {
  auto copy = [blueToRed](uint32_t c) {
    return blueToRed ? (c & 0xff00ffffu) | (c & 0xffu) << 16 : (c & 0xffffff00u) | ((c >> 16) & 0xffu);
  };
  EachSample(scene, layerID, [&](LayerMicroVertex& v) { v.Color = copy(v.Color); },
             [&](LayerPixel& p) { p.Color = copy(p.Color); });
}
