// PixelMap::Build: the faces of one render target are rasterised in UV space.
// Texels whose centres fall inside a face become mesh pixels with their world
// size, and the face keeps their positions and normals (FaceTexels, grouped by
// tile). Empty texels next to the mesh become padding that shows a neighbour.
#include <algorithm>
#include <climits>
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

// Groups a face's texels by tile, rows of tiles in order and tiles left to
// right, keeping the order of texels inside a tile: a counting sort over the
// face's tile rectangle (`sorted` and `buckets` are scratch kept between faces).
void SortByTile(std::vector<BuildTexel>& texels, std::vector<BuildTexel>& sorted, std::vector<int>& buckets) {
  int tx0 = INT_MAX, ty0 = INT_MAX, tx1 = INT_MIN, ty1 = INT_MIN;
  for (const BuildTexel& t : texels)
    tx0 = std::min(tx0, t.x >> 4), tx1 = std::max(tx1, t.x >> 4), ty0 = std::min(ty0, t.y >> 4),
    ty1 = std::max(ty1, t.y >> 4);
  const int across = tx1 - tx0 + 1;
  buckets.assign((size_t)across * (ty1 - ty0 + 1) + 1, 0);
  auto bucket = [&](const BuildTexel& t) { return (size_t)((t.y >> 4) - ty0) * across + ((t.x >> 4) - tx0); };
  for (const BuildTexel& t : texels) buckets[bucket(t) + 1]++;
  for (size_t i = 1; i < buckets.size(); i++) buckets[i] += buckets[i - 1];
  sorted.resize(texels.size());
  for (const BuildTexel& t : texels) sorted[(size_t)buckets[bucket(t)]++] = t;
  texels.swap(sorted);
}

// One side of a UV seam in pixel space: the edge's ends and the unit normal
// pointing away from the face.
struct SeamSide {
  float ax, ay, bx, by, nx, ny;
};

SeamSide SideOf(const comms::cVec2& a, const comms::cVec2& b, float cx, float cy, int W, int H) {
  SeamSide s{a.x * W, (1 - a.y) * H, b.x * W, (1 - b.y) * H, 0, 0};
  float dx = s.bx - s.ax, dy = s.by - s.ay, len = std::sqrt(dx * dx + dy * dy);
  if (len > 0) s.nx = dy / len, s.ny = -dx / len;
  // Point away from the face's centre.
  if (((s.ax + s.bx) / 2 - cx) * s.nx + ((s.ay + s.by) / 2 - cy) * s.ny < 0) s.nx = -s.nx, s.ny = -s.ny;
  return s;
}

}  // namespace

// The sphere around a block's texels: their mean, and the farthest texel plus
// one texel's half diagonal, so a pen that reaches a texel's area reaches it.
// `built` holds the block's texels' sizes, in the same order.
static void BoundBlock(const FaceTexels& texels, const BuildTexel* built, FaceTexelBlock& b) {
  cVec3 c;
  for (uint32_t i = 0; i < b.Count; i++) c += texels.Texels[b.First + i].Position;
  if (b.Count) c = c * (1.0f / (float)b.Count);
  float r2 = 0, diagonal2 = 0;
  for (uint32_t i = 0; i < b.Count; i++) {
    const cVec3 d = texels.Texels[b.First + i].Position - c;
    r2 = std::max(r2, Dot(d, d));
    const BuildTexel& t = built[b.First + i];
    diagonal2 = std::max(diagonal2, t.width * t.width + t.height * t.height);
  }
  b.CentreX = c.x, b.CentreY = c.y, b.CentreZ = c.z;
  b.Radius = std::sqrt(r2) + 0.5f * std::sqrt(diagonal2);
}

void PixelMap::Build(PaintScene& scene, int renderTarget) {
  Scene = &scene;
  if (scene.EdgeMap.Size() == 0) scene.BuildEdgeMap();  // the seams need it
  const int W = Width, H = Height;
  std::vector<int> owner((size_t)W * H, -1);
  std::vector<BuildTexel> texels, sorted;
  std::vector<int> buckets;
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
    SortByTile(texels, sorted, buckets);
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
    for (int b = 0; b < face.Texels->BlockCount; b++) BoundBlock(*face.Texels, texels.data(), face.Texels->Directory[b]);
  }
  // Seams, in two passes widening by 0 then 1 texel: an empty texel just
  // outside a seam edge shows the nearest texel across the seam, on the
  // partner edge of the other face, so colour continues over the cut.
  auto wrapIndex = [&](int x, int y) {
    x = ((x % W) + W) % W, y = ((y % H) + H) % H;
    return (size_t)y * W + x;
  };
  auto centreOf = [&](int f, float& cx, float& cy) {
    const int n = scene.FaceCornerMap.Entries(f) - 1;
    cx = cy = 0;
    for (int i = 0; i < n; i++) {
      const comms::cVec2& uv = scene.Corners[scene.FaceCornerMap.Of(f)[i]].UV;
      cx += uv.x * W / n, cy += (1 - uv.y) * H / n;
    }
  };
  std::vector<std::pair<int, int>> seamPads;  // destination, source (pixel indices)
  for (int pass = 0; pass < 2; pass++)
    for (int f = 0; f < (int)scene.Faces.size(); f++) {
      if (scene.Faces[f].RenderTarget != renderTarget) continue;
      const int n = scene.FaceCornerMap.Entries(f) - 1;
      if (n < 3) continue;
      const int* c = scene.FaceCornerMap.Of(f);
      float cx, cy;
      centreOf(f, cx, cy);
      for (int e = 0; e < n; e++) {
        const FaceCorner& a = scene.Corners[c[e]];
        const FaceCorner& b = scene.Corners[c[e + 1]];
        int count = 0, other = -1;
        scene.EdgeMap.ForEach(EdgeKey(a.Vertex, b.Vertex), [&](int g) { count++, other = g != f ? g : other; });
        if (count != 2 || other < 0 || scene.Faces[other].RenderTarget != renderTarget) continue;
        const FaceCorner *pa = nullptr, *pb = nullptr;
        const int on = scene.FaceCornerMap.Entries(other) - 1;
        for (int i = 0; i < on; i++) {
          const FaceCorner& k = scene.Corners[scene.FaceCornerMap.Of(other)[i]];
          if (k.Vertex == a.Vertex) pa = &k;
          if (k.Vertex == b.Vertex) pb = &k;
        }
        if (!pa || !pb) continue;
        auto same = [](const comms::cVec2& p, const comms::cVec2& q) {
          return (p.x - q.x) * (p.x - q.x) + (p.y - q.y) * (p.y - q.y) < 1e-10f;
        };
        if (same(a.UV, pa->UV) && same(b.UV, pb->UV)) continue;  // no seam
        float ocx, ocy;
        centreOf(other, ocx, ocy);
        const SeamSide mine = SideOf(a.UV, b.UV, cx, cy, W, H);
        const SeamSide theirs = SideOf(pa->UV, pb->UV, ocx, ocy, W, H);
        const float steps = std::ceil(std::max(std::fabs(mine.bx - mine.ax), std::fabs(mine.by - mine.ay)));
        for (int k = 0; k < (int)steps; k++) {
          const float t = (k + 0.5f) / steps;
          const float px = mine.ax + (mine.bx - mine.ax) * t, py = mine.ay + (mine.by - mine.ay) * t;
          for (int d = 1; d <= pass + 1; d++) {
            const size_t dst = wrapIndex((int)std::floor(px + mine.nx * d), (int)std::floor(py + mine.ny * d));
            if (owner[dst] != -1) continue;
            // The nearest filled texel across the seam, then on this side.
            const float qx = theirs.ax + (theirs.bx - theirs.ax) * t, qy = theirs.ay + (theirs.by - theirs.ay) * t;
            long src = -1;
            for (float o : {0.5f, 1.5f, -0.5f, 2.5f, -1.5f}) {
              size_t i = wrapIndex((int)std::floor(qx - theirs.nx * o), (int)std::floor(qy - theirs.ny * o));
              if (owner[i] >= 0) {
                src = (long)i;
                break;
              }
            }
            for (int back = 1; src < 0 && back <= 5; back++) {
              size_t i = wrapIndex((int)std::floor(px - mine.nx * back), (int)std::floor(py - mine.ny * back));
              if (owner[i] >= 0) src = (long)i;
            }
            if (src < 0) continue;
            owner[dst] = -2;
            seamPads.push_back({(int)dst, (int)src});
          }
        }
      }
    }
  // Padding: an empty texel touching a mesh texel shows that texel.
  static const int dx[8] = {-1, 1, 0, 0, -1, 1, -1, 1}, dy[8] = {0, 0, -1, 1, -1, -1, 1, 1};
  std::vector<std::pair<int, int>> pads = std::move(seamPads);  // destination, source
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
