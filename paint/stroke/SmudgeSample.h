// The smudge: the pen carries colour along the stroke. Before each dab the
// colour under the previous dab is gathered (Gather, a weighted mean kept in
// integers so any thread count sums it the same); the dab then lays the
// carried colour over the current layer by the pen's weight times
// ColorOpacity, and the carried colour takes up some of what it passed over:
// about a third of it per radius travelled.
// Smudging stacks dab by dab: it works on the layer as the last dab left it.
#pragma once
#include <atomic>
#include <cstdint>

#include "paint/stroke/StrokeSample.h"

class SmudgeSample : public SampleFunction {
 public:
  // A new stroke: nothing carried yet.
  void Reset() { carrying_ = false; }
  // Gathers the mean colour under the pen at the dab's start (a pass of
  // ApplyStroke with this object in gathering mode), then mixes it into the
  // carried colour, the more the farther the pen went since the last dab
  // (`travel` in radii). Returns false when nothing lay there.
  void BeginGather();
  bool EndGather(float travel);
  bool Gathering() const { return gathering_; }
  const float* Carried() const { return carried_; }

  float Vertex(const StrokeContext& ctx, VertexSample& s, float radius, float scaled) const override;
  float Pixel(const StrokeContext& ctx, PixelSample& s, float radius, float scaled) const override;

 private:
  // Adds one sample's colour with weight w to the gathering sums.
  void Add(uint32_t color, float coverage, float w) const;
  // Lays the carried colour with the pen's weight w over a sample's colour
  // and coverage (0..1); false when nothing changes.
  bool Smear(float w, uint32_t& color, float& coverage) const;

  bool gathering_ = false, carrying_ = false;
  float carried_[4] = {128, 128, 128, 0};  // r, g, b 0..255 and coverage 0..1
  mutable std::atomic<int64_t> sum_[5] = {0, 0, 0, 0, 0};  // w r, w g, w b, w coverage, w; fixed point
};
