// The smudge's gathering and laying of colour.
#include "paint/stroke/SmudgeSample.h"

#include <algorithm>
#include <cmath>

#include "paint/GeneralPen.h"
#include "paint/stroke/PaintSample.h"

namespace {
constexpr double kFixed = 65536.0;  // weights in 1/65536
constexpr float kPickup = 0.35f;    // how much of what it passes the pen takes up per radius travelled
}  // namespace

void SmudgeSample::BeginGather() {
  gathering_ = true;
  for (auto& s : sum_) s.store(0);
}

bool SmudgeSample::EndGather(float travel) {
  gathering_ = false;
  const double w = (double)sum_[4].load();
  if (w <= 0) return false;
  float mean[4];
  for (int i = 0; i < 4; i++) mean[i] = (float)(sum_[i].load() / w);
  mean[3] /= 255.0f;
  const float pickup = 1 - std::pow(1 - kPickup, std::max(travel, 0.0f));
  for (int i = 0; i < 4; i++) carried_[i] = carrying_ ? carried_[i] + (mean[i] - carried_[i]) * pickup : mean[i];
  carrying_ = true;
  return true;
}

void SmudgeSample::Add(uint32_t color, float coverage, float w) const {
  const int64_t q = (int64_t)std::lround(std::clamp(w, 0.0f, 1.0f) * kFixed);
  if (q == 0) return;
  sum_[0] += q * (int64_t)((color >> 16) & 255);
  sum_[1] += q * (int64_t)((color >> 8) & 255);
  sum_[2] += q * (int64_t)(color & 255);
  sum_[3] += q * (int64_t)std::lround(coverage * 255);
  sum_[4] += q;
}

bool SmudgeSample::Smear(float w, uint32_t& color, float& coverage) const {
  if (!carrying_ || !GeneralPen::DrawColor) return false;
  const float k = std::clamp(w * GeneralPen::ColorOpacity, 0.0f, 1.0f) * carried_[3];
  const float cover = k + (1 - k) * coverage;
  if (k <= 0 || cover <= 0) return false;
  float D[4], R[3];
  UnpackArgb(color, D);
  for (int i = 0; i < 3; i++) R[i] = (k * carried_[i] + (1 - k) * coverage * D[i]) / cover;
  color = PackArgb(R, color >> 24);
  coverage = std::min(cover, 1.0f);
  return true;
}

float SmudgeSample::Vertex(const StrokeContext& ctx, VertexSample& s, float, float) const {
  LayerMicroVertex& dest = *s.Dest;
  PenWeights pw;
  if (!SamplePenWeights(ctx, s, s.Vertex->Freeze, s.Vertex->Color, dest.Color, dest.Opacity, 0, 0, pw)) return 0;
  const float w = pw.W * pw.Weights[0] * pw.Color[3];
  if (gathering_) {
    Add(s.Vertex->Color, 1.0f, w);  // what the painter sees there
    return 0;
  }
  return Smear(w, dest.Color, dest.Opacity) ? w : 0;
}

float SmudgeSample::Pixel(const StrokeContext& ctx, PixelSample& s, float, float) const {
  LayerPixel& dest = *s.Dest;
  PenWeights pw;
  float cover = (dest.Color >> 24) / 255.0f;
  if (!SamplePenWeights(ctx, s, s.Pixel->Freeze / 65535.0f, s.Pixel->Color, dest.Color, cover, dest.Depth, 0, pw))
    return 0;
  const float w = pw.W * pw.Weights[0] * pw.Color[3];
  if (gathering_) {
    Add(s.Pixel->Color, 1.0f, w);
    return 0;
  }
  if (!Smear(w, dest.Color, cover)) return 0;
  dest.Color = (dest.Color & 0xffffff) | (uint32_t)std::lround(cover * 255) << 24;
  return w;
}
