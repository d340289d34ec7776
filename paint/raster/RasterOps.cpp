// Per-pixel operations of the software rasteriser.
#include "paint/raster/RasterOps.h"

#include <algorithm>
#include <cmath>

#include "paint/layers/PixelMap.h"

using comms::cVec3;
using comms::cVec4;

namespace {

// The first corner weighs 1 - u - v.
template <class T>
T Blend(const T c[3], float u, float v) {
  return c[0] + (c[1] - c[0]) * u + (c[2] - c[0]) * v;
}
cVec4 Blend(const cVec4 c[3], float u, float v) {
  auto ch = [&](float a, float b, float d) { return a + (b - a) * u + (d - a) * v; };
  return {ch(c[0].x, c[1].x, c[2].x), ch(c[0].y, c[1].y, c[2].y), ch(c[0].z, c[1].z, c[2].z),
          ch(c[0].w, c[1].w, c[2].w)};
}
uint32_t Byte(float f) { return (uint32_t)std::lround(std::clamp(f, 0.0f, 255.0f)); }
bool Inside(int x, int y, int w, int h) { return x >= 0 && y >= 0 && x < w && y < h; }
int Wrap(int a, int n) {
  a %= n;
  return a < 0 ? a + n : a;
}

}  // namespace

void RastZ::Op(int x, int y, float z, float u, float v) {
  if (!Inside(x, y, W, H)) return;
  const size_t i = (size_t)(H - 1 - y) * W + x;
  if (!(z <= Depth[i] + kDepthSlack)) return;
  Depth[i] = z;
  if (!Color) return;
  const cVec4 c = Blend(Corner, u, v);
  Color[i] = Byte(c.w) << 24 | Byte(c.x) << 16 | Byte(c.y) << 8 | Byte(c.z);
}

void RastZB::Op(int x, int y, float z, float, float) {
  if (!Inside(x, y, W, H)) return;
  float& d = Plane[(size_t)y * W + x];
  d = std::max(d, z);
}

void ZChecker::Reset(int x0, int y0, int w, int h, float far) {
  X0 = x0, Y0 = y0, W = std::max(w, 0), H = std::max(h, 0);
  Plane.assign((size_t)W * H, far);
}

void ZChecker::Op(int x, int y, float z, float, float) {
  x -= X0, y -= Y0;
  if (!Inside(x, y, W, H)) return;
  float& d = Plane[(size_t)y * W + x];
  if (z <= d + kDepthSlack) d = z;
}

float ZChecker::At(int x, int y, float far) const {
  x -= X0, y -= Y0;
  return Inside(x, y, W, H) ? Plane[(size_t)y * W + x] : far;
}

uint16_t RastP::PackCoordinate(float t) {
  return (uint16_t)std::clamp(std::lround(t * 32768.0f + 16384.0f), 0L, 65535L);
}

uint32_t RastP::PackNormal(const cVec3& n) {
  return Byte(n.x * 127 + 128) << 16 | Byte(n.y * 127 + 128) << 8 | Byte(n.z * 127 + 128);
}

void RastP::Op(int x, int y, float z, float u, float v) {
  if (!Inside(x, y, W, H)) return;
  const size_t i = (size_t)(H - 1 - y) * W + x;
  if (!(z <= Depth[i] + kDepthSlack)) return;
  Depth[i] = z;
  uint32_t word0 = Constant;
  if (HasFrame) {
    const cVec3 n = Blend(Normal, u, v).Normalized();
    word0 = PackNormal(cVec3(Dot(n, Frame[0]), Dot(n, Frame[1]), Dot(n, Frame[2])));
  }
  const comms::cVec2 t(UV[0].x + (UV[1].x - UV[0].x) * u + (UV[2].x - UV[0].x) * v,
                       UV[0].y + (UV[1].y - UV[0].y) * u + (UV[2].y - UV[0].y) * v);
  const uint32_t word1 = (uint32_t)PackCoordinate(t.y) << 16 | PackCoordinate(t.x);
  Cells[i] = (uint64_t)word1 << 32 | word0;
}

int RastPN::Pass(int x, int y) {
  if (W <= 0 || H <= 0) return -1;
  if (Plane.empty()) Plane.assign((size_t)W * H, 0.0f);
  const int i = Wrap(y, H) * W + Wrap(x, W);
  if (TriangleDepth < Plane[i]) return -1;
  Plane[i] = TriangleDepth;
  return i;
}

void RastPN::Op(int x, int y, float, float u, float v) {
  const int i = Pass(x, y);
  if (i < 0) return;
  Positions[i] = Blend(P, u, v);
  Normals[i] = Blend(N, u, v);
}

void RastPN2::Op(int x, int y, float, float u, float v) {
  const int i = Pass(x, y);
  if (i < 0) return;
  Positions[i] = Blend(P, u, v);
  Normals[i] = Blend(N, u, v);
  Positions2[i] = Blend(P2, u, v);
}

void TriRast3D::Op(int x, int y, float, float u, float v) {
  if (!Inside(x, y, W, H)) return;
  FrameCell& c = Cells[(size_t)y * W + x];
  c.Position = Blend(P, u, v);
  c.Normal = Blend(N, u, v).Normalized();
  c.Tangent = Blend(T, u, v).Normalized();
  c.Binormal = Blend(B, u, v).Normalized();
  c.Triangle = TriangleIndex;
}

void RasterTBN::Op(int x, int y, float, float u, float v) {
  PixelCursor cur;
  if (!Map || !Map->FetchPixel(cur, x, y, true, false, false)) return;
  PixelTile* tile = cur.Tile;
  if (!tile->Frames) tile->Frames = new TexelFrame[kTilePixels];
  TexelFrame& f = tile->Frames[cur.Index];
  const uint32_t mark = (uint32_t)TriangleIndex + 1;  // 0: empty slot
  if (f.Spare[0] == mark) return;
  const cVec3 rows[3] = {Blend(T, u, v), Blend(B, u, v), Blend(N, u, v)};
  for (int r = 0; r < 3; r++) f.Rows[r][0] = rows[r].x, f.Rows[r][1] = rows[r].y, f.Rows[r][2] = rows[r].z;
  f.Spare[0] = mark;
}

void RastUvIntrs::Op(int x, int y, float, float, float) {
  if (W <= 0 || H <= 0) return;
  uint8_t& c = Plane[(size_t)Wrap(y, H) * W + Wrap(x, W)];
  if (c < 255) c++;
  if (c >= 2) Overlaps++;
}

void WorldRender::Op(int x, int y, float, float u, float v) {
  if (!Inside(x, y, W, H)) return;
  const size_t i = (size_t)y * W + x;
  const cVec3 p = Blend(P, u, v);
  X[i] = p.x, Y[i] = p.y, Z[i] = p.z;
}

void RastFPreview::Op(int x, int y, float z, float u, float v) {
  if (!Inside(x, y, W, H)) return;
  int& slot = Index[(size_t)y * W + x];
  if (slot < 0) {
    slot = (int)Cells.size();
    PreviewCell c;
    c.X = x, c.Y = y;
    Cells.push_back(c);
  }
  PreviewCell& c = Cells[slot];
  if (!(z <= c.Depth)) return;
  c.Depth = z;
  c.Normal = Blend(N, u, v).Normalized();
  c.Color = Blend(C, u, v);
}
