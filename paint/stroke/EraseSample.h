// The eraser's sample: takes coverage, depth and specular of the current
// layer back toward nothing by the pen's erase weight (its depth weight when
// the shape gives none). The bottom layer keeps its depth and goes back to the
// plain grey instead. Like the paint sample it measures against the stroke's
// start, so passing twice over a spot erases it once.
#pragma once
#include "paint/stroke/StrokeSample.h"

class EraseSample : public SampleFunction {
 public:
  float Vertex(const StrokeContext& ctx, VertexSample& s, float radius, float scaled) const override;
  float Pixel(const StrokeContext& ctx, PixelSample& s, float radius, float scaled) const override;
};
