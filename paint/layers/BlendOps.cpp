// The blend and depth modes, one formula each, and the per-sample blend.
#include "paint/layers/BlendOps.h"

#include <algorithm>
#include <cmath>

#include "paint/layers/OneLayerInfo.h"

namespace {

// HSV on 0..1 values in r, g, b order.
void ToHSV(float r, float g, float b, float& h, float& s, float& v) {
  float mx = std::max(r, std::max(g, b)), mn = std::min(r, std::min(g, b));
  float delta = mx - mn;
  v = mx;
  s = mx > 0 ? delta / mx : 0;
  h = 0;
  if (delta <= 0) return;
  if (mx == r)
    h = 60 * ((g - b) / delta);
  else if (mx == g)
    h = 60 * ((b - r) / delta + 2);
  else
    h = 60 * ((r - g) / delta + 4);
  if (h < 0) h += 360;
}

void FromHSV(float h, float s, float v, float& r, float& g, float& b) {
  if (s <= 0) {
    r = g = b = v;
    return;
  }
  float hh = std::fmod(h, 360.0f) / 60.0f;
  int sector = (int)std::floor(hh);
  float f = hh - sector;
  float p = v * (1 - s), q = v * (1 - s * f), t = v * (1 - s * (1 - f));
  switch (sector) {
    case 0: r = v, g = t, b = p; break;
    case 1: r = q, g = v, b = p; break;
    case 2: r = p, g = v, b = t; break;
    case 3: r = p, g = q, b = v; break;
    case 4: r = t, g = p, b = v; break;
    default: r = v, g = p, b = q; break;
  }
}

}  // namespace

// Modes 19..22: mix hue, saturation and value of L and A.
void BlendHsvParts(int op, float L[4], const float A[4]) {
  // Stored order is b, g, r: exchange the first and third channels.
  float lh, ls, lv, ah, as, av;
  ToHSV(L[2] / 255, L[1] / 255, L[0] / 255, lh, ls, lv);
  ToHSV(A[2] / 255, A[1] / 255, A[0] / 255, ah, as, av);
  float h = ah, s = as, v = av;
  switch (op) {
    case ColorOps::Hue: h = lh, s = as, v = av; break;
    case ColorOps::Saturation:
      if (as == 0)
        h = lh, s = 0, v = av;
      else
        h = ah, s = ls, v = av;
      break;
    case ColorOps::Color: h = lh, s = ls, v = av; break;
    case ColorOps::Lightness: h = as == 0 ? lh : ah, s = as, v = lv; break;
  }
  float r, g, b;
  FromHSV(h, s, v, r, g, b);
  L[0] = b * 255, L[1] = g * 255, L[2] = r * 255;
}

comms::cVec3 ApplyDepthOp(int op, const comms::cVec3& D, const comms::cVec3& d,
                          const comms::cVec3& baseNormal, float unitScale) {
  switch (op) {
    case DepthOps::LOP_SUBDEPTH: return D - d;
    case DepthOps::LOP_MAXDEPTH: return comms::Dot(d, d) > comms::Dot(D, D) ? d : D;
    case DepthOps::LOP_MAGNIFY: return D * std::exp(comms::Dot(baseNormal, d) * unitScale / 5);
    case DepthOps::LOP_MINIFY: return D * std::exp(-comms::Dot(baseNormal, d) * unitScale / 5);
    default: return D + d;
  }
}

