// Inline bodies of the blend and depth modes and of the per-sample blend;
// included by BlendOps.h only.
#pragma once
#include <type_traits>

#include "paint/layers/OneLayerInfo.h"

inline float Clamp255(float v) { return v < 0 ? 0 : v > 255 ? 255 : v; }

// The modes that work on each channel alone, one formula each: L is the
// layer's channel, A the accumulated one.
template <int Op>
inline float ChannelOp(float L, float A) {
  if constexpr (Op == ColorOps::Darken) return std::min(L, A);
  if constexpr (Op == ColorOps::Multiply) return L * A / 255;
  if constexpr (Op == ColorOps::Lighten) return std::max(L, A);
  if constexpr (Op == ColorOps::Screen) return 255 - (255 - L) * (255 - A) / 255;
  if constexpr (Op == ColorOps::ColorDodge) return L < 255 ? std::min(A * 255 / (255 - L), 255.0f) : L;
  if constexpr (Op == ColorOps::LinearDodge || Op == ColorOps::LOP_ADD) return std::min(L + A, 255.0f);
  if constexpr (Op == ColorOps::Overlay) return A < 128 ? 2 * A / 255 * L : 255 - (255 - L) * (255 - A) / 128;
  if constexpr (Op == ColorOps::HardLight) return L < 128 ? 2 * L / 255 * A : 255 - (255 - A) * (255 - L) / 128;
  if constexpr (Op == ColorOps::SoftLight)
    return L < 128 ? (L + 128) * A / 255 : 255 - (382 - L) * (255 - A) / 255;
  if constexpr (Op == ColorOps::VividLight)
    return Clamp255(L < 128 ? (L > 0 ? (1 - (255 - A) / 2 / L) * 255 : 0) : (L < 255 ? A * 128 / (255 - L) : 255));
  if constexpr (Op == ColorOps::LinearLight) return Clamp255(2 * L + A - 255);
  if constexpr (Op == ColorOps::PinLight)
    return Clamp255(L > 128 ? std::max(A, 2 * L - 255) : std::min(2 * L, A));
  if constexpr (Op == ColorOps::HardMix) return L < 255 - A ? 0 : 255;
  if constexpr (Op == ColorOps::Difference) return std::fabs(L - A);
  if constexpr (Op == ColorOps::Exclusion) return L + A - 2 * L * A / 255;
  return L;
}

// Calls f(std::integral_constant<int, op>) when `op` is a per-channel mode;
// false for the others.
template <class F>
inline bool WithChannelMode(int op, F&& f) {
  switch (op) {
#define MV_CHANNEL_MODE(m) \
  case ColorOps::m: f(std::integral_constant<int, ColorOps::m>{}); return true;
    MV_CHANNEL_MODE(Darken) MV_CHANNEL_MODE(Multiply) MV_CHANNEL_MODE(Lighten) MV_CHANNEL_MODE(Screen)
    MV_CHANNEL_MODE(ColorDodge) MV_CHANNEL_MODE(LinearDodge) MV_CHANNEL_MODE(LOP_ADD)
    MV_CHANNEL_MODE(Overlay) MV_CHANNEL_MODE(HardLight) MV_CHANNEL_MODE(SoftLight)
    MV_CHANNEL_MODE(VividLight) MV_CHANNEL_MODE(LinearLight) MV_CHANNEL_MODE(PinLight)
    MV_CHANNEL_MODE(HardMix) MV_CHANNEL_MODE(Difference) MV_CHANNEL_MODE(Exclusion)
#undef MV_CHANNEL_MODE
    default: return false;
  }
}

inline bool ApplyColorOp(int op, float L[4], const float A[4], float& a) {
  if (WithChannelMode(op, [&](auto mode) {
        for (int i = 0; i < 4; i++) L[i] = ChannelOp<decltype(mode)::value>(L[i], A[i]);
      }))
    return true;
  switch (op) {
    case ColorOps::ColorBurn:
      for (int i = 0; i < 4; i++) {
        L[i] = L[i] * a + (1 - a) * 255;
        if (L[i] > 0) L[i] = (1 - (255 - A[i]) / L[i]) * 255;
        L[i] = std::min(L[i], 255.0f);
      }
      a = std::min(4 * a, 1.0f);
      return true;
    case ColorOps::LinearBurn:
      for (int i = 0; i < 4; i++) L[i] = std::max(L[i] * a + A[i] - a * 255, 0.0f);
      a = std::min(4 * a, 1.0f);
      return true;
    case ColorOps::Hue:
    case ColorOps::Saturation:
    case ColorOps::Color:
    case ColorOps::Lightness:
      BlendHsvParts(op, L, A);
      return true;
    case ColorOps::LOP_MODULATE2X:
      for (int i = 0; i < 3; i++) L[i] = L[i] * A[i] * 2 / 255;
      L[3] = A[3];
      return true;
    case ColorOps::LOP_SUBTRACT:
      for (int i = 0; i < 3; i++) L[i] = A[i] - L[i];
      L[3] = L[3] + A[3];
      return true;
    default:
      return false;
  }
}

inline float ApplyDepthOp(int op, float D, float d, float unitScale) {
  switch (op) {
    case DepthOps::LOP_SUBDEPTH: return D - d;
    case DepthOps::LOP_MAXDEPTH: return std::fabs(d) > std::fabs(D) ? d : D;
    case DepthOps::LOP_MAGNIFY: return D * std::exp(d * unitScale / 5);
    case DepthOps::LOP_MINIFY: return D * std::exp(-d * unitScale / 5);
    default: return D + d;
  }
}

inline void UnpackColor(uint32_t c, float out[4]) {
  for (int i = 0; i < 4; i++) out[i] = (float)((c >> (8 * i)) & 0xff);
}

inline uint32_t PackColor(const float in[4]) {
  uint32_t c = 0;
  for (int i = 0; i < 4; i++) c |= (uint32_t)(int)(Clamp255(in[i]) + 0.5f) << (8 * i);
  return c;
}

inline float LinkMask(const OneLayerInfo& info, bool present, float value) {
  if (info.LinkedLayer < 0) return 1;
  if (!present) return info.InverseLinkage ? 1.0f : 0.0f;
  return info.InverseLinkage ? 1 - value : value;
}

inline void SampleBlend::Add(const OneLayerInfo& info, uint32_t color, float specular, float a, float m,
                      bool perPixel) {
  float L[4];
  UnpackColor(color, L);
  if (info.Contrast != 0 || info.Brightness != 0)
    for (int i = 0; i < 3; i++) L[i] = (L[i] - 128) * (info.Contrast + 1) + 128 + info.Brightness;
  float s = specular;
  if (info.SpecContrast != 0 || info.SpecBrightness != 0)
    s = (info.SpecContrast + 1) * s + info.SpecBrightness;
  const float w = perPixel ? m : info.ColorTransparency * m;
  float e;
  if (info.ColorOp == ColorOps::Dissolve) {
    e = w * a;
    if (Rng.Next() >= e * 32768) L[0] = A[0], L[1] = A[1], L[2] = A[2], L[3] = A[3];
    e = 1;
  } else if (ApplyColorOp(info.ColorOp, L, A, a)) {
    e = w * a;
  } else {
    e = w * a;
  }
  for (int i = 0; i < 4; i++) L[i] = Clamp255(L[i]);
  if (First) {
    for (int i = 0; i < 4; i++) A[i] = L[i];
    First = false;
  }
  for (int i = 0; i < 3; i++) A[i] = A[i] * (1 - e) + L[i] * e;
  s *= m;
  Coverage = (1 - e) * Coverage + e;
  Specular += s;
}
