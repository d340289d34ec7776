// The measure tool's distance, figure and lettering (see Measure.h).
#include "MC/adjust/Measure.h"

#include <cmath>
#include <cstdio>
#include <locale>
#include <sstream>

#include "render/Render.h"

float MeasureDistance(const float a[3], const float b[3], int align) {
  // Which axes count, per alignment: x, y, z bits.
  static const int kAxes[7] = {7, 1, 2, 4, 3, 6, 5};
  const int axes = align >= 0 && align < 7 ? kAxes[align] : 7;
  double sum = 0;
  for (int k = 0; k < 3; ++k)
    if (axes & (1 << k)) sum += double(b[k] - a[k]) * double(b[k] - a[k]);
  return float(std::sqrt(sum));
}

std::string MeasureText(float voxels, int units, float voxelsPerUnit) {
  static const char* kShort[8] = {"m", "mm", "cm", "km", "ft", "in", "yd", "mi"};
  const char* unit = units >= 0 && units < 8 ? kShort[units] : kShort[0];
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out.setf(std::ios::fixed);
  out.precision(2);
  out << (voxelsPerUnit > 0 ? voxels / voxelsPerUnit : voxels) << ' ' << unit;
  return out.str();
}

namespace {
// Segments a..g of a seven-stroke cell, and two more: h the middle upright of
// the lower half, i a dot at the foot.
//   aaa
//  f   b
//   ggg
//  e h c
//   ddd  i
int Segments(char c) {
  switch (c) {
    case '0': return 0x3f;
    case '1': return 0x06;
    case '2': return 0x5b;
    case '3': return 0x4f;
    case '4': return 0x66;
    case '5': return 0x6d;
    case '6': return 0x7d;
    case '7': return 0x07;
    case '8': return 0x7f;
    case '9': return 0x6f;
    case '-': return 0x40;
    case '.': return 0x100;
    case 'c': return 0x58;
    case 'd': return 0x5e;
    case 'f': return 0x71;
    case 't': return 0x78;
    case 'i': return 0x04;
    case 'n': return 0x54;
    case 'm': return 0xd4;
    case 'y': return 0x6e;
    case 'k': return 0x74 | 0x80;
    default: return 0;
  }
}
}  // namespace

float DrawStrokeText(comms::cRender& render, const std::string& text, float x, float y, float height,
                     uint32_t colour) {
  const float w = height * 0.5f, h = height / 2, step = height * 0.75f;
  float at = x;
  for (char c : text) {
    const int s = Segments(c);
    auto line = [&](float x0, float y0, float x1, float y1) {
      render.DrawLine(at + x0, y + y0, at + x1, y + y1, 0.f, colour, colour);
    };
    if (s & 0x01) line(0, 0, w, 0);
    if (s & 0x02) line(w, 0, w, h);
    if (s & 0x04) line(w, h, w, 2 * h);
    if (s & 0x08) line(0, 2 * h, w, 2 * h);
    if (s & 0x10) line(0, h, 0, 2 * h);
    if (s & 0x20) line(0, 0, 0, h);
    if (s & 0x40) line(0, h, w, h);
    if (s & 0x80) line(w / 2, h, w / 2, 2 * h);
    if (s & 0x100) {
      line(w / 2 - 1, 2 * h - 1, w / 2 + 1, 2 * h - 1);
      line(w / 2 - 1, 2 * h, w / 2 + 1, 2 * h);
    }
    at += c == '.' ? step / 2 : step;
  }
  return at - x;
}
