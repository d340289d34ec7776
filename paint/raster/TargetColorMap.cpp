// Colour maps of render targets for export and the replay's output.
#include "paint/raster/TargetColorMap.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "paint/layers/PixelMap.h"
#include "paint/raster/RasterOps.h"
#include "paint/scene/PaintScene.h"

using comms::cVec3;
using comms::cVec4;

namespace {

// UV of grid position (x, y) of a face: the bilinear blend of its first four
// corner UVs at the sample's centre, in pixels with rows from the top.
cVec3 GridUV(const PaintScene& s, int face, int x, int y, int W, int H) {
  const PaintFace& f = s.Faces[face];
  const int n = s.FaceCornerMap.Entries(face) - 1;
  const int* c = s.FaceCornerMap.Of(face);
  comms::cVec2 uv[4];
  for (int i = 0; i < 4; i++) uv[i] = s.Corners[c[std::min(i, n - 1)]].UV;
  const float a = (x + 0.5f) / f.Nx, b = (y + 0.5f) / f.Ny;
  const float u = uv[0].x * (1 - a) * (1 - b) + uv[1].x * a * (1 - b) + uv[2].x * a * b + uv[3].x * (1 - a) * b;
  const float v = uv[0].y * (1 - a) * (1 - b) + uv[1].y * a * (1 - b) + uv[2].y * a * b + uv[3].y * (1 - a) * b;
  return cVec3(u * W, (1 - v) * H, 0);
}

// A composite texel over the mid grey by its coverage: what a texel shows
// where the layers above the mesh's own colour cover it only partly.
uint32_t OverGrey(uint32_t c) {
  const uint32_t a = c >> 24;
  auto ch = [&](int shift) { return (((c >> shift) & 255) * a + 128 * (255 - a) + 127) / 255; };
  return 0xff000000u | ch(16) << 16 | ch(8) << 8 | ch(0);
}

cVec4 Rgb(uint32_t c) { return cVec4((float)((c >> 16) & 255), (float)((c >> 8) & 255), (float)(c & 255), 255); }

}  // namespace

bool ComposedColorMap(PaintScene& s, int target, comms::cImage& out) {
  if (target < 0 || target >= s.RenderTargets.GetAmount()) return false;
  const MRenderTarget& rt = *s.RenderTargets[target];
  PixelMap* map = s.GetPixelMap(target);
  // A mesh without texture coordinates shows its grids one cell per face.
  std::vector<int> faces;
  bool spread = false;
  int cell = 1;
  for (int f = 0; f < (int)s.Faces.size(); f++) {
    const PaintFace& face = s.Faces[f];
    if (face.RenderTarget != target || !face.Grid || !face.Nx || !face.Ny) continue;
    faces.push_back(f);
    cell = std::max({cell, (int)face.Nx, (int)face.Ny});
    const int n = s.FaceCornerMap.Entries(f) - 1;
    const int* c = s.FaceCornerMap.Of(f);
    for (int i = 1; i < n; i++) {
      const comms::cVec2 a = s.Corners[c[0]].UV, b = s.Corners[c[i]].UV;
      spread = spread || a.x != b.x || a.y != b.y;
    }
  }
  const bool atlas = !map && !faces.empty() && !spread;
  const int columns = atlas ? (int)std::ceil(std::sqrt((double)faces.size())) : 0;
  int W = map ? map->Width : std::max(rt.rtSizeX, 1), H = map ? map->Height : std::max(rt.rtSizeY, 1);
  if (atlas) W = columns * cell, H = (int)((faces.size() + columns - 1) / columns) * cell;
  std::vector<uint32_t> colour((size_t)W * H, 0xff808080u);  // rows bottom-up
  if (atlas) {
    for (size_t k = 0; k < faces.size(); k++) {
      const PaintFace& face = s.Faces[faces[k]];
      const int x0 = (int)(k % columns) * cell, y0 = (int)(k / columns) * cell;
      for (int y = 0; y < face.Ny; y++)
        for (int x = 0; x < face.Nx; x++)
          colour[(size_t)(H - 1 - (y0 + y)) * W + x0 + x] = face.Grid[y * face.Nx + x].Color | 0xff000000u;
    }
  } else if (map) {
    PixelCursor cur;
    for (int y = 0; y < H; y++)
      for (int x = 0; x < W; x++)
        if (map->FetchPixel(cur, x, y, false, false, false) && cur.Pixel().Class() != kPixelOutside)
          colour[(size_t)(H - 1 - y) * W + x] = OverGrey(cur.Pixel().Color);
  } else {
    std::vector<float> depth((size_t)W * H, 1e30f);
    RastZ op;
    op.Depth = depth.data(), op.Color = colour.data(), op.W = W, op.H = H;
    MicroVertex scratch[4];
    for (int f : faces) {
      const PaintFace& face = s.Faces[f];
      // The ring: x and y from -1 to N, the outer samples from the neighbours.
      for (int y = -1; y < face.Ny; y++)
        for (int x = -1; x < face.Nx; x++) {
          const int px[4] = {x, x + 1, x + 1, x}, py[4] = {y, y, y + 1, y + 1};
          cVec3 p[4];
          cVec4 c[4];
          for (int k = 0; k < 4; k++) {
            p[k] = GridUV(s, f, px[k], py[k], W, H);
            c[k] = Rgb(s.GetMicroVertex(f, px[k], py[k], &scratch[k]).Vertex->Color);
          }
          op.Corner[0] = c[0], op.Corner[1] = c[1], op.Corner[2] = c[2];
          op.Triangle(p[0], p[1], p[2]);
          op.Corner[0] = c[0], op.Corner[1] = c[2], op.Corner[2] = c[3];
          op.Triangle(p[0], p[2], p[3]);
        }
    }
  }
  out = comms::cImage();
  out.width = W, out.height = H, out.format = 3;
  out.data.resize((size_t)W * H * 3);
  for (size_t i = 0; i < colour.size(); i++) {
    out.data[i * 3 + 0] = (uint8_t)(colour[i] >> 16);
    out.data[i * 3 + 1] = (uint8_t)(colour[i] >> 8);
    out.data[i * 3 + 2] = (uint8_t)colour[i];
  }
  return true;
}
