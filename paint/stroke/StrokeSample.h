// What a dab hands to a sample function at one micro-vertex or texel: where
// the sample lies in the pen's square, its destination in the current layer
// and the same sample at the stroke's start (the backup), and the context of
// the dab. A sample function returns the weight it applied, 0 when it left the
// sample alone; the walk sums the weights into the face's Wear.
#pragma once
#include "paint/layers/LayerRecords.h"
#include "paint/scene/SceneRecords.h"
#include "paint/stroke/StrokeFrame.h"

class BasicPenShape;
class BrushMaskSource;
class OneLayerInfo;
class PaintScene;

// An optional source of colour and depth consulted at each sample (the fill
// tools install one). The default changes nothing.
class GlobalModificator {
 public:
  virtual ~GlobalModificator() = default;
  virtual void Evaluate(const comms::cVec3& /*point*/, const comms::cVec3& /*normal*/, int /*u*/, int /*v*/,
                        float fill[4]) const {
    fill[0] = fill[1] = fill[2] = fill[3] = 0;
  }
  virtual void ModifyDepth(float& /*depth*/, const float* /*fill*/) const {}
  virtual void ModifyColor(float* /*rgb*/, float& /*alpha*/, const float* /*fill*/) const {}
  virtual void ModifySpecular(float& /*specular*/, float /*weight*/, const float* /*fill*/) const {}
};

// The dab, as every sample of it sees it.
struct StrokeContext {
  const StrokeFrame* Frame = nullptr;
  PaintScene* Scene = nullptr;
  BasicPenShape* Pen = nullptr;  // null: the plain round weight 1
  const GlobalModificator* Modificator = nullptr;
  const BrushMaskSource* Mask = nullptr;  // stencil and material over the view; null: none
  BasicPenShape* Strip = nullptr;         // the strip along the stroke; null: none
  int CurrentLayer = 0;
  float UnitScale = 1;
};

// The part both forms share.
struct SampleCommon {
  float PenX = 0, PenY = 0;      // in the pen's square, -1..1 inside
  float StripX = 0, StripY = 0;  // along and across a strip
  comms::cVec3 Position;         // world
  comms::cVec3 Normal;
  int UVX = 0, UVY = 0;          // texture position in pixels
  OneLayerInfo* Layer = nullptr;
};

struct VertexSample : SampleCommon {
  int X = 0, Y = 0, Face = -1;
  MicroVertex* Vertex = nullptr;
  LayerMicroVertex* Dest = nullptr;
  const LayerMicroVertex* Backup = nullptr;  // Dest itself when there is no backup
};

struct PixelSample : SampleCommon {
  TilePixel* Pixel = nullptr;
  LayerPixel* Dest = nullptr;
  const LayerPixel* Backup = nullptr;  // Dest itself when there is no backup
  int X = 0, Y = 0;
};

// A sample function and its per-pixel twin.
class SampleFunction {
 public:
  virtual ~SampleFunction() = default;
  // radius: the dab's radius at the sample in world units; scaled: the same
  // times the fade and, when the stroke mode scales by it, the pressure.
  virtual float Vertex(const StrokeContext& ctx, VertexSample& s, float radius, float scaled) const = 0;
  // Without a per-pixel twin, per-pixel faces are left alone.
  virtual bool HasPixelForm() const { return true; }
  virtual float Pixel(const StrokeContext& ctx, PixelSample& s, float radius, float scaled) const = 0;
};
