// The paint sample in its two forms. The steps are written once where the
// forms agree (pen weights, colour mix, specular mix); the forms differ in how
// depth, coverage and specular are stored.
#include "paint/stroke/PaintSample.h"

#include <algorithm>
#include <cmath>

#include "paint/BrushMaskSource.h"
#include "paint/GeneralPen.h"
#include "paint/OnePenStyle.h"
#include "paint/PenConditions.h"
#include "paint/PenShapes.h"
#include "paint/layers/OneLayerInfo.h"

using comms::cVec3;

namespace {

// The bodies of UnpackArgb and PackArgb, inlined into the texel's sample.
[[gnu::always_inline]] inline void UnpackBytes(uint32_t c, float out[4]) {
  out[0] = (float)((c >> 16) & 255), out[1] = (float)((c >> 8) & 255), out[2] = (float)(c & 255);
  out[3] = (float)(c >> 24);
}

[[gnu::always_inline]] inline uint32_t PackBytes(const float rgb[3], uint32_t alpha) {
  // Clamped to 0..255 first, so adding a half and truncating rounds.
  auto b = [](float f) { return (uint32_t)(std::clamp(f, 0.0f, 255.0f) + 0.5f); };
  return (alpha & 255) << 24 | b(rgb[0]) << 16 | b(rgb[1]) << 8 | b(rgb[2]);
}

}  // namespace

void UnpackArgb(uint32_t c, float out[4]) { UnpackBytes(c, out); }

uint32_t PackArgb(const float rgb[3], uint32_t alpha) { return PackBytes(rgb, alpha); }

namespace {

// Every step below is written once. `Plain` is the form for a dab with no
// modificator, mask, strip, condition, pen style or edge fade: the steps they
// would run are left out at compile time and the rest is inlined into the
// texel's sample, with the same arithmetic in the same order.
template <bool Plain>
[[gnu::always_inline]] inline bool PenWeightsAt(const StrokeContext& ctx, const SampleCommon& s, float freeze,
                                                uint32_t composite, uint32_t layerColor, float layerOpacity,
                                                float height, float cavity, PenWeights& out, float stripScale) {
  const StrokeFrame& f = *ctx.Frame;
  if (s.PenX * s.PenX + s.PenY * s.PenY >= 1) return false;
  const float nv = Dot(s.Normal, f.ViewDir);
  if (f.IgnoreBackfaces && nv > 0) return false;
  if (ctx.Pen) {
    ctx.Pen->Sample(s.PenX, s.PenY, out.Color, out.Weights);
    // A free sample's factor is 1, which changes no bit; leaving it out
    // also spares reading the pen's four stores back as one.
    if (freeze != 0) {
      const float keep = 1 - freeze;
      for (float& x : out.Weights) x *= keep;
      out.Color[3] *= keep;
    }
    out.Accumulate = !ctx.Pen->DrawBySpots;
  } else if (freeze > 0) {
    for (float& x : out.Weights) x *= 1 - freeze;
    out.Color[3] *= 1 - freeze;
  }
  if constexpr (Plain) return true;
  if (BasicPenShape::FadeOnEdge) out.W *= std::fabs(nv);
  if (ctx.Mask) {
    const float p[3] = {s.Position.x, s.Position.y, s.Position.z};
    out.W *= ctx.Mask->At(p);
  }
  if (ctx.Strip) {
    // Across the strip is its x, along it its y.
    float c2[4] = {1, 1, 1, 1}, w2[4] = {1, 1, 0, 0};
    ctx.Strip->Sample(s.StripY, s.StripX, c2, w2);
    for (int i = 0; i < 4; i++) out.Color[i] *= c2[i];
    for (int i = 0; i < 3; i++) out.Weights[i] *= w2[i] * stripScale;
  }
  if (GeneralPen::ConditionMode != 0) {
    ConditionInput in;
    in.Composite[0] = (uint8_t)(composite >> 16), in.Composite[1] = (uint8_t)(composite >> 8),
    in.Composite[2] = (uint8_t)composite;
    in.CurrentColor[0] = ((layerColor >> 16) & 255) / 255.0f;
    in.CurrentColor[1] = ((layerColor >> 8) & 255) / 255.0f;
    in.CurrentColor[2] = (layerColor & 255) / 255.0f;
    in.LayerOpacity = layerOpacity;
    in.Height = height;
    in.Cavity = cavity;
    in.UnitScale = ctx.UnitScale;
    out.W = ConditionWeight(GeneralPen::ConditionMode, out.W, in);
  }
  return true;
}

// The settings that `Plain` leaves out, all unset for this dab.
bool PlainDab(const StrokeContext& ctx) {
  return !ctx.Modificator && !ctx.Mask && !ctx.Strip && GeneralPen::ConditionMode == 0 && !OnePenStyle::Active &&
         !BasicPenShape::FadeOnEdge;
}

}  // namespace

bool SamplePenWeights(const StrokeContext& ctx, const SampleCommon& s, float freeze, uint32_t composite,
                      uint32_t layerColor, float layerOpacity, float height, float cavity, PenWeights& out,
                      float stripScale) {
  return PenWeightsAt<false>(ctx, s, freeze, composite, layerColor, layerOpacity, height, cavity, out, stripScale);
}

namespace {

// The active pen style at a sample: each slot's channels, or unset.
struct StyleAt {
  bool Depth = false, Color = false, Specular = false;
  float D[4], C[4], S[4];
  float DepthMean = 0;
};
StyleAt ReadStyle(const SampleCommon& s) {
  StyleAt out;
  const OnePenStyle* style = OnePenStyle::Active;
  if (!style) return out;
  const float p[3] = {s.Position.x, s.Position.y, s.Position.z};
  out.Depth = style->Read(OnePenStyle::kDepth, p, out.D);
  out.Color = style->Read(OnePenStyle::kColor, p, out.C);
  out.Specular = style->Read(OnePenStyle::kSpecular, p, out.S);
  out.DepthMean = style->Slots[OnePenStyle::kDepth].Mean;
  return out;
}

// Steps shared by both forms once depth is written: the colour mix into R and
// its weight a. B, D: backup and destination colours; O: destination coverage.
// False when the colour block does not run.
template <bool Plain>
[[gnu::always_inline]] inline bool MixColor(const StrokeContext& ctx, const PenWeights& pw, float q, const float B[4],
                                            const float D[4], float O, float R[4], float& a, const float* fill,
                                            const StyleAt& style) {
  const StrokeFrame& f = *ctx.Frame;
  std::copy(B, B + 4, R);
  a = 0;
  if (!(pw.Color[3] > 0.005f) || !(GeneralPen::DrawColor || GeneralPen::DrawSpecular)) return false;
  if (!GeneralPen::DrawColor) return true;
  a = pw.W * pw.Color[3] * GeneralPen::ColorOpacity;
  if (f.OpacityFollowsRadius) a *= q;
  a = std::min(a, 1.0f);
  float S[3];
  for (int i = 0; i < 3; i++) S[i] = (f.UsePenColor ? f.DabColor[i] : 1.0f) * 255.0f * pw.Color[i];
  if (!Plain && style.Color) {
    for (int i = 0; i < 3; i++) S[i] *= style.C[i] / 256.0f;
    a *= style.C[3] / 255.0f;
  }
  if (!Plain && ctx.Modificator) ctx.Modificator->ModifyColor(S, a, fill);
  if (ctx.CurrentLayer > 0) O *= 1 - pw.Weights[2];
  const float rest = (1 - a) * O, total = rest + a;
  if (total > 0) {
    if (GeneralPen::ColorJitterMode == 0 && pw.Accumulate) {
      for (int i = 0; i < 3; i++) R[i] = (rest * B[i] + a * S[i]) / total;
      auto l1 = [&](const float* c) { return std::fabs(c[0] - S[0]) + std::fabs(c[1] - S[1]) + std::fabs(c[2] - S[2]); };
      if (l1(D) < l1(R)) std::copy(D, D + 3, R);
    } else {
      for (int i = 0; i < 3; i++) R[i] = (rest * D[i] + a * S[i]) / total;
    }
  }
  return true;
}

// The new specular from the backup's and the destination's.
template <bool Plain>
[[gnu::always_inline]] inline float MixSpecular(const StrokeContext& ctx, const PenWeights& pw, float q, float backup,
                                               float dest, const float* fill, const StyleAt& style) {
  const StrokeFrame& f = *ctx.Frame;
  float s = GeneralPen::SpecularDegree * 255.0f * pw.Weights[1];
  if (!Plain && style.Specular) s *= style.S[0] / 255.0f;
  if (!Plain && ctx.Modificator) ctx.Modificator->ModifySpecular(s, 1, fill);
  s = std::min(s, 255.0f);
  float t = pw.W * pw.Color[3] * GeneralPen::SpecularOpacity;
  if (f.SpecularFollowsRadius) t *= q;
  t = std::min(t, 1.0f);
  const float v = s * t + (1 - t) * backup;
  return std::fabs(v - s) < std::fabs(dest - s) ? v : dest;
}

// Depth of this dab at the sample, before the absolute or relative rule.
template <bool Plain>
[[gnu::always_inline]] inline float DabDepth(const StrokeContext& ctx, const PenWeights& pw, float scaled,
                                            const float* fill, const StyleAt& style) {
  const StrokeFrame& f = *ctx.Frame;
  float d = pw.W * pw.Weights[0] * GeneralPen::DeepDegree *
            (f.DepthFollowsRadius ? scaled : f.PenRadius / ctx.UnitScale);
  if (!Plain && style.Depth) d *= (style.D[0] - style.DepthMean) / 256.0f;
  if (!Plain && ctx.Modificator) ctx.Modificator->ModifyDepth(d, fill);
  return d;
}

[[gnu::always_inline]] inline uint32_t Byte(float f) { return (uint32_t)(std::clamp(f, 0.0f, 255.0f) + 0.5f); }

}  // namespace

float PaintSample::Vertex(const StrokeContext& ctx, VertexSample& s, float radius, float scaled) const {
  LayerMicroVertex& dest = *s.Dest;
  const LayerMicroVertex& backup = *s.Backup;
  const MicroVertex& mv = *s.Vertex;
  const cVec3& n = mv.BaseNormal;
  const float q = radius > 0 ? scaled / radius : 0;
  float fill[4] = {0, 0, 0, 0};
  if (ctx.Modificator) ctx.Modificator->Evaluate(s.Position * ctx.UnitScale, s.Normal, s.UVX, s.UVY, fill);
  PenWeights pw;
  const float height = ctx.CurrentLayer > 0 ? Dot(dest.Offset, n) : 0;
  // On micro-vertices the strip's weights follow the pressure's share (q) too.
  if (!SamplePenWeights(ctx, s, mv.Freeze, mv.Color, dest.Color, dest.Opacity, height, 0, pw, q)) return 0;
  const StyleAt style = ReadStyle(s);
  if (GeneralPen::DrawDepth) {
    const float d = DabDepth<false>(ctx, pw, scaled, fill, style);
    if (ctx.CurrentLayer > 0) dest.Offset = dest.Offset * (1 - pw.Weights[2]);
    if (GeneralPen::AbsoluteDepth && ctx.CurrentLayer > 0) {
      if (std::fabs(Dot(dest.Offset, n)) < std::fabs(d)) dest.Offset = n * d;
    } else {
      // Depth already laid by this stroke, measured along the normal.
      if (std::fabs(d) > std::fabs(Dot(dest.Offset - backup.Offset, n))) dest.Offset = backup.Offset + n * d;
    }
  }
  float B[4], D[4], R[4], a;
  UnpackArgb(backup.Color, B), UnpackArgb(dest.Color, D);
  if (!MixColor<false>(ctx, pw, q, B, D, dest.Opacity, R, a, fill, style)) return pw.W;
  uint32_t spec = dest.Color >> 24;
  if (GeneralPen::DrawSpecular) spec = Byte(MixSpecular<false>(ctx, pw, q, B[3], D[3], fill, style));
  dest.Color = PackArgb(R, spec);
  if (!s.Layer || !s.Layer->LockTransparency)
    dest.Opacity = std::max(dest.Opacity, (1 - a) * backup.Opacity + a * a);
  return pw.W;
}

namespace {

template <bool Plain>
[[gnu::always_inline]] inline float PixelAt(const StrokeContext& ctx, PixelSample& s, float radius, float scaled) {
  LayerPixel& dest = *s.Dest;
  const LayerPixel& backup = *s.Backup;
  const float q = radius > 0 ? scaled / radius : 0;
  float fill[4] = {0, 0, 0, 0};
  if (!Plain && ctx.Modificator) ctx.Modificator->Evaluate(s.Position * ctx.UnitScale, s.Normal, s.UVX, s.UVY, fill);
  PenWeights pw;
  // Two divisions a texel spared where they give nothing: a free texel's
  // freeze is 0, and the layer's opacity is read only by the conditions.
  const uint16_t frozen = s.Pixel->Freeze;
  const float freeze = frozen ? frozen / 65535.0f : 0.0f;
  const float opacity = GeneralPen::ConditionMode != 0 ? (dest.Color >> 24) / 255.0f : 0.0f;
  if (!PenWeightsAt<Plain>(ctx, s, freeze, s.Pixel->Color, dest.Color, opacity, dest.Depth, 0, pw, 1)) return 0;
  const StyleAt style = Plain ? StyleAt() : ReadStyle(s);
  if (GeneralPen::DrawDepth) {
    const float d = DabDepth<Plain>(ctx, pw, scaled, fill, style);
    if (ctx.CurrentLayer > 0) dest.Depth *= 1 - pw.Weights[2];
    if (GeneralPen::AbsoluteDepth) {
      if (std::fabs(dest.Depth) < std::fabs(d)) dest.Depth = d;
    } else if (std::fabs(d) > std::fabs(dest.Depth - backup.Depth)) {
      dest.Depth = backup.Depth + d;
    }
  }
  float B[4], D[4], R[4], a;
  UnpackBytes(backup.Color, B), UnpackBytes(dest.Color, D);
  float O = D[3] / 255.0f;
  if (!MixColor<Plain>(ctx, pw, q, B, D, O, R, a, fill, style)) return pw.W;
  if (GeneralPen::DrawSpecular)
    dest.Specular = (uint8_t)Byte(MixSpecular<Plain>(ctx, pw, q, backup.Specular, dest.Specular, fill, style));
  uint32_t alpha;
  const bool lock = s.Layer && s.Layer->LockTransparency;
  if (!lock)
    alpha = Byte(std::max(D[3], 255.0f - (1 - B[3] / 255.0f) * (255.0f - a * 255.0f)));
  else if (GeneralPen::DrawColor)
    alpha = Byte(O * (ctx.CurrentLayer > 0 ? 1 - pw.Weights[2] : 1.0f) * 255.0f);
  else
    alpha = (uint32_t)B[3];
  dest.Color = PackBytes(R, alpha);
  return pw.W;
}

}  // namespace

float PaintSample::Pixel(const StrokeContext& ctx, PixelSample& s, float radius, float scaled) const {
  return PlainDab(ctx) ? PixelAt<true>(ctx, s, radius, scaled) : PixelAt<false>(ctx, s, radius, scaled);
}
