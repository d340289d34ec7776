// The paint sample: one dab applied to one micro-vertex or texel. Depth
// first, then colour, then specular, then colour and coverage are packed. All
// three are measured against the stroke's start state, so a stroke that
// passes over itself keeps the strongest of what its dabs asked instead of
// stacking (unless the pen draws by spots).
#pragma once
#include "paint/stroke/StrokeSample.h"

class PaintSample : public SampleFunction {
 public:
  float Vertex(const StrokeContext& ctx, VertexSample& s, float radius, float scaled) const override;
  float Pixel(const StrokeContext& ctx, PixelSample& s, float radius, float scaled) const override;
};

// The pen's say at a sample, shared by the paint sample and the tools' own:
// w, the colour and the four weights (depth, specular, erase, spare) after the
// pen shape, the freeze factor, the edge fade, the mask, the strip (whose
// weights are further scaled by `stripScale`) and the condition. False when
// the sample is out of the pen or a back face the stroke skips.
struct PenWeights {
  float W = 1;
  float Color[4] = {1, 1, 1, 1};
  float Weights[4] = {1, 1, 0, 0};
  bool Accumulate = true;  // a continuous stroke, not spots
};
// `freeze` 0..1; `composite` the sample's composite colour, `layerColor` and
// `layerOpacity` the current layer's, `height` its depth along the normal.
bool SamplePenWeights(const StrokeContext& ctx, const SampleCommon& s, float freeze, uint32_t composite,
                      uint32_t layerColor, float layerOpacity, float height, float cavity, PenWeights& out,
                      float stripScale = 1);

// 0xAARRGGBB to r, g, b, a floats 0..255 and back (bytes rounded and clamped).
void UnpackArgb(uint32_t c, float out[4]);
uint32_t PackArgb(const float rgb[3], uint32_t alpha);
