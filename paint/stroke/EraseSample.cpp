// The eraser on micro-vertices and texels.
#include "paint/stroke/EraseSample.h"

#include <algorithm>
#include <cmath>

#include "paint/GeneralPen.h"
#include "paint/stroke/PaintSample.h"

namespace {

// How much the dab erases at the sample, 0..1.
float EraseWeight(const PenWeights& pw) {
  const float shape = pw.Weights[2] > 0 ? pw.Weights[2] : pw.Weights[0];
  return std::clamp(pw.W * shape * pw.Color[3] * GeneralPen::ColorOpacity, 0.0f, 1.0f);
}

// The colour of the bottom layer taken toward grey by e from the start,
// unless the destination is already nearer to grey.
uint32_t TowardGrey(uint32_t backup, uint32_t dest, float e) {
  float B[4], D[4], R[4];
  UnpackArgb(backup, B), UnpackArgb(dest, D);
  for (int i = 0; i < 3; i++) R[i] = B[i] + (128 - B[i]) * e;
  auto far = [](const float* c) { return std::fabs(c[0] - 128) + std::fabs(c[1] - 128) + std::fabs(c[2] - 128); };
  return far(D) <= far(R) ? dest : PackArgb(R, dest >> 24);
}

// |a| smaller than |b| keeps a.
float Weaker(float a, float b) { return std::fabs(a) <= std::fabs(b) ? a : b; }

}  // namespace

float EraseSample::Vertex(const StrokeContext& ctx, VertexSample& s, float, float) const {
  LayerMicroVertex& dest = *s.Dest;
  const LayerMicroVertex& backup = *s.Backup;
  PenWeights pw;
  if (!SamplePenWeights(ctx, s, s.Vertex->Freeze, s.Vertex->Color, dest.Color, dest.Opacity, 0, 0, pw)) return 0;
  const float e = EraseWeight(pw);
  if (e <= 0) return 0;
  const comms::cVec3& n = s.Vertex->BaseNormal;
  if (ctx.CurrentLayer == 0) {
    if (GeneralPen::DrawColor) dest.Color = TowardGrey(backup.Color, dest.Color, e);
  } else {
    if (GeneralPen::DrawDepth && std::fabs(Dot(backup.Offset, n)) * (1 - e) < std::fabs(Dot(dest.Offset, n)))
      dest.Offset = backup.Offset * (1 - e);
    if (GeneralPen::DrawColor) dest.Opacity = std::min(dest.Opacity, backup.Opacity * (1 - e));
  }
  if (GeneralPen::DrawSpecular) {
    const uint32_t spec = std::min<uint32_t>(dest.Color >> 24, (uint32_t)std::lround((backup.Color >> 24) * (1 - e)));
    dest.Color = (dest.Color & 0xffffff) | spec << 24;
  }
  return pw.W;
}

float EraseSample::Pixel(const StrokeContext& ctx, PixelSample& s, float, float) const {
  LayerPixel& dest = *s.Dest;
  const LayerPixel& backup = *s.Backup;
  PenWeights pw;
  if (!SamplePenWeights(ctx, s, s.Pixel->Freeze / 65535.0f, s.Pixel->Color, dest.Color, (dest.Color >> 24) / 255.0f,
                        dest.Depth, 0, pw))
    return 0;
  const float e = EraseWeight(pw);
  if (e <= 0) return 0;
  if (GeneralPen::DrawDepth) dest.Depth = Weaker(dest.Depth, backup.Depth * (1 - e));
  if (GeneralPen::DrawColor) {
    if (ctx.CurrentLayer == 0) {
      dest.Color = TowardGrey(backup.Color, dest.Color, e);
    } else {
      const uint32_t a = std::min<uint32_t>(dest.Color >> 24, (uint32_t)std::lround((backup.Color >> 24) * (1 - e)));
      dest.Color = (dest.Color & 0xffffff) | a << 24;
    }
  }
  if (GeneralPen::DrawSpecular)
    dest.Specular = (uint8_t)std::min<int>(dest.Specular, (int)std::lround(backup.Specular * (1 - e)));
  return pw.W;
}
