// PixelMap::Build: the faces of one render target are rasterised in UV space.
// Texels whose centres fall inside a face become mesh pixels with their world
// size, and the face keeps their positions and normals (FaceTexels, grouped by
// tile). Empty texels next to the mesh become padding that shows a neighbour.
#include <algorithm>
#include <cmath>
#include <vector>

#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"

using comms::cVec3;

namespace {

struct BuildTexel {
  int x, y;
  cVec3 position, normal;
  float width, height;
};

// Texel centres inside triangle (uv pixel coordinates p[3]); calls
// f(x, y, w0, w1, w2) with barycentric weights. Coordinates are not wrapped.
template <class F>
void RasteriseUV(const float px[3], const float py[3], F&& f) {
  float area = (px[1] - px[0]) * (py[2] - py[0]) - (px[2] - px[0]) * (py[1] - py[0]);
  if (std::fabs(area) < 1e-12f) return;
  int x0 = (int)std::floor(std::min({px[0], px[1], px[2]}));
  int x1 = (int)std::ceil(std::max({px[0], px[1], px[2]}));
  int y0 = (int)std::floor(std::min({py[0], py[1], py[2]}));
  int y1 = (int)std::ceil(std::max({py[0], py[1], py[2]}));
  if ((long long)(x1 - x0) * (y1 - y0) > 100000000LL) return;
  for (int y = y0; y <= y1; y++)
    for (int x = x0; x <= x1; x++) {
      float cx = x + 0.5f, cy = y + 0.5f;
      float w1 = ((cx - px[0]) * (py[2] - py[0]) - (px[2] - px[0]) * (cy - py[0])) / area;
      float w2 = ((px[1] - px[0]) * (cy - py[0]) - (cx - px[0]) * (py[1] - py[0])) / area;
      float w0 = 1 - w1 - w2;
      const float eps = -1e-6f;
      if (w0 >= eps && w1 >= eps && w2 >= eps) f(x, y, w0, w1, w2);
    }
}

}  // namespace

void PixelMap::Build(PaintScene& scene, int renderTarget) {
  Scene = &scene;
  const int W = Width, H = Height;
  std::vector<int> owner((size_t)W * H, -1);
  std::vector<BuildTexel> texels;
  for (int f = 0; f < (int)scene.Faces.size(); f++) {
    PaintFace& face = scene.Faces[f];
    if (face.RenderTarget != renderTarget) continue;
    const int n = scene.FaceCornerMap.Entries(f) - 1;
    if (n < 3) continue;
    const int* c = scene.FaceCornerMap.Of(f);
    texels.clear();
    for (int i = 1; i + 1 < n; i++) {
      const FaceCorner* k[3] = {&scene.Corners[c[0]], &scene.Corners[c[i]],
                                &scene.Corners[c[i + 1]]};
      float px[3], py[3];
      cVec3 p[3], nrm[3];
      for (int j = 0; j < 3; j++) {
        px[j] = k[j]->UV.x * W;
        py[j] = (1 - k[j]->UV.y) * H;
        p[j] = scene.Vertices[k[j]->Vertex].Position;
        int ni = k[j]->Normal;
        nrm[j] = ni >= 0 && ni < (int)scene.Normals.size() ? scene.Normals[ni] : cVec3();
      }
      cVec3 faceNormal = comms::Cross(p[1] - p[0], p[2] - p[0]).Normalized();
      // World length of one texel step along x and along y.
      float area = (px[1] - px[0]) * (py[2] - py[0]) - (px[2] - px[0]) * (py[1] - py[0]);
      if (std::fabs(area) < 1e-12f) continue;
      cVec3 e1 = p[1] - p[0], e2 = p[2] - p[0];
      cVec3 dPdx = (e1 * (py[2] - py[0]) - e2 * (py[1] - py[0])) * (1.0f / area);
      cVec3 dPdy = (e2 * (px[1] - px[0]) - e1 * (px[2] - px[0])) * (1.0f / area);
      const float tw = dPdx.Length(), th = dPdy.Length();
      RasteriseUV(px, py, [&](int x, int y, float w0, float w1, float w2) {
        int wx = ((x % W) + W) % W, wy = ((y % H) + H) % H;
        int& slot = owner[(size_t)wy * W + wx];
        if (slot >= 0) return;  // the first face keeps an overlapped texel
        slot = f;
        cVec3 nn = nrm[0] * w0 + nrm[1] * w1 + nrm[2] * w2;
        if (nn.Length() <= 0) nn = faceNormal;
        texels.push_back({wx, wy, p[0] * w0 + p[1] * w1 + p[2] * w2, nn.Normalized(), tw, th});
      });
    }
    if (texels.empty()) continue;
    std::stable_sort(texels.begin(), texels.end(), [](const BuildTexel& a, const BuildTexel& b) {
      int ta = ((a.y >> 4) << 16) | (a.x >> 4), tb = ((b.y >> 4) << 16) | (b.x >> 4);
      return ta < tb;
    });
    int blocks = 1;
    for (size_t i = 1; i < texels.size(); i++)
      if ((texels[i].x >> 4) != (texels[i - 1].x >> 4) || (texels[i].y >> 4) != (texels[i - 1].y >> 4))
        blocks++;
    FaceTexels::Free(face.Texels);
    face.Texels = FaceTexels::Create((int)texels.size(), blocks > 1 ? blocks : 0);
    if (!face.Texels) continue;
    PixelCursor cur;
    int block = -1;
    for (size_t i = 0; i < texels.size(); i++) {
      const BuildTexel& t = texels[i];
      FaceTexel& ft = face.Texels->Texels[i];
      ft.Position = t.position, ft.Normal = t.normal;
      ft.X = (uint16_t)t.x, ft.Y = (uint16_t)t.y;
      if (blocks > 1 && (i == 0 || (t.x >> 4) != (texels[i - 1].x >> 4) ||
                         (t.y >> 4) != (texels[i - 1].y >> 4))) {
        FaceTexelBlock& b = face.Texels->Directory[++block];
        b.First = (uint32_t)i;
        b.TileX = (uint16_t)(t.x >> 4), b.TileY = (uint16_t)(t.y >> 4);
      }
      if (blocks > 1) face.Texels->Directory[block].Count++;
      FetchPixel(cur, t.x, t.y, true, true, false);
      TilePixel& px = cur.Pixel();
      px.SetBits(kPixelOnMesh, t.x, t.y);
      px.Width = t.width, px.Height = t.height;
    }
  }
  // Padding: an empty texel touching a mesh texel shows that texel.
  static const int dx[8] = {-1, 1, 0, 0, -1, 1, -1, 1}, dy[8] = {0, 0, -1, 1, -1, -1, 1, 1};
  std::vector<std::pair<int, int>> pads;  // destination, source (pixel indices)
  for (int y = 0; y < H; y++)
    for (int x = 0; x < W; x++) {
      if (owner[(size_t)y * W + x] != -1) continue;
      for (int d = 0; d < 8; d++) {
        int sx = ((x + dx[d]) % W + W) % W, sy = ((y + dy[d]) % H + H) % H;
        if (owner[(size_t)sy * W + sx] >= 0) {
          pads.push_back({y * W + x, sy * W + sx});
          break;
        }
      }
    }
  PixelCursor cur;
  for (auto [dst, src] : pads) {
    int x = dst % W, y = dst / W, sx = src % W, sy = src / W;
    owner[dst] = -2;
    FetchPixel(cur, x, y, true, true, false);
    TilePixel& px = cur.Pixel();
    px.SetBits(kPixelPadding, sx, sy);
    PixelCursor sc;
    FetchPixel(sc, sx, sy, false, false, false);
    px.Width = sc.Pixel().Width, px.Height = sc.Pixel().Height;
    TileLink link;
    link.X0 = (uint16_t)sx, link.Y0 = (uint16_t)sy, link.X1 = (uint16_t)x, link.Y1 = (uint16_t)y;
    sc.Tile->PadLinks.Add(link);
  }
  for (auto& [key, tile] : Tiles) MarkDirty(tile, 1);
}
