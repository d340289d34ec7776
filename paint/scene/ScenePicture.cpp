// The CPU picture of the paint scene: micro-vertex grids (with their outer
// ring taken across into the neighbours, so faces close up) and per-pixel
// faces (coloured from the composite at each corner's texel) go through a
// z-buffer with two-sided Lambert light.
#include "paint/scene/ScenePicture.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "interchange/IO.h"
#include "interchange/Image.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"

using comms::cVec3;

namespace {

struct Canvas {
  int w, h;
  std::vector<float> depth;
  std::vector<uint8_t> rgb;
  cVec3 right, up, forward, centre;
  float scale;

  cVec3 Project(const cVec3& p) const {
    cVec3 d = p - centre;
    return {w * 0.5f + comms::Dot(d, right) * scale, h * 0.5f - comms::Dot(d, up) * scale,
            comms::Dot(d, forward)};
  }

  void Triangle(const cVec3& a, const cVec3& b, const cVec3& c, uint32_t colour) {
    cVec3 n = comms::Cross(b - a, c - a).Normalized();
    float light = 0.25f + 0.75f * std::fabs(comms::Dot(n, (forward * -1.0f + up * 0.4f + right * 0.3f).Normalized()));
    cVec3 p[3] = {Project(a), Project(b), Project(c)};
    float area = (p[1].x - p[0].x) * (p[2].y - p[0].y) - (p[2].x - p[0].x) * (p[1].y - p[0].y);
    if (std::fabs(area) < 1e-12f) return;
    int x0 = std::max(0, (int)std::floor(std::min({p[0].x, p[1].x, p[2].x})));
    int x1 = std::min(w - 1, (int)std::ceil(std::max({p[0].x, p[1].x, p[2].x})));
    int y0 = std::max(0, (int)std::floor(std::min({p[0].y, p[1].y, p[2].y})));
    int y1 = std::min(h - 1, (int)std::ceil(std::max({p[0].y, p[1].y, p[2].y})));
    const uint8_t r = (uint8_t)std::min(255.0f, ((colour >> 16) & 255) * light);
    const uint8_t g = (uint8_t)std::min(255.0f, ((colour >> 8) & 255) * light);
    const uint8_t bl = (uint8_t)std::min(255.0f, (colour & 255) * light);
    for (int y = y0; y <= y1; y++)
      for (int x = x0; x <= x1; x++) {
        float cx = x + 0.5f, cy = y + 0.5f;
        float w1 = ((cx - p[0].x) * (p[2].y - p[0].y) - (p[2].x - p[0].x) * (cy - p[0].y)) / area;
        float w2 = ((p[1].x - p[0].x) * (cy - p[0].y) - (cx - p[0].x) * (p[1].y - p[0].y)) / area;
        float w0 = 1 - w1 - w2;
        if (w0 < 0 || w1 < 0 || w2 < 0) continue;
        float z = p[0].z * w0 + p[1].z * w1 + p[2].z * w2;
        size_t i = (size_t)y * w + x;
        if (z >= depth[i]) continue;
        depth[i] = z;
        // Image rows are stored bottom-up.
        size_t o = ((size_t)(h - 1 - y) * w + x) * 3;
        rgb[o] = r, rgb[o + 1] = g, rgb[o + 2] = bl;
      }
  }
};

// The colour a sample shows: its composite where painted, grey where not.
uint32_t Shown(uint32_t colour, float coverage) { return coverage > 0 || colour ? colour : 0x808080; }

}  // namespace

bool WriteScenePicture(PaintScene& scene, const std::string& path, int width, int height,
                       std::string* why) {
  if (width <= 0 || height <= 0 || scene.Faces.empty()) {
    if (why) *why = "the scene is empty";
    return false;
  }
  Canvas cv{width, height, std::vector<float>((size_t)width * height, 1e30f),
            std::vector<uint8_t>((size_t)width * height * 3, 40), {}, {}, {}, {}, 1};
  // Three-quarter view from the front right, a little from above.
  const float yaw = 0.6f, pitch = -0.35f;
  cv.forward = cVec3(-std::sin(yaw) * std::cos(pitch), std::sin(pitch), -std::cos(yaw) * std::cos(pitch));
  cv.right = comms::Cross(cv.forward, cVec3(0, 1, 0)).Normalized();
  cv.up = comms::Cross(cv.right, cv.forward).Normalized();
  const FaceBox& b = scene.Bounds;
  cv.centre = cVec3((b.Min[0] + b.Max[0]) / 2, (b.Min[1] + b.Max[1]) / 2, (b.Min[2] + b.Max[2]) / 2);
  float radius = cVec3(b.Max[0] - b.Min[0], b.Max[1] - b.Min[1], b.Max[2] - b.Min[2]).Length() / 2;
  cv.scale = radius > 0 ? 0.48f * std::min(width, height) / radius : 1;
  for (int f = 0; f < (int)scene.Faces.size(); f++) {
    PaintFace& face = scene.Faces[f];
    if (!face.Visible) continue;
    const int n = scene.FaceCornerMap.Entries(f) - 1;
    const int* c = scene.FaceCornerMap.Of(f);
    if (face.Grid) {
      // The base polygon under the grid closes the half-step margins that
      // faces without neighbours (triangles, open borders) leave.
      for (int i = 1; i + 1 < n; i++)
        cv.Triangle(scene.Vertices[scene.Corners[c[0]].Vertex].Position,
                    scene.Vertices[scene.Corners[c[i]].Vertex].Position,
                    scene.Vertices[scene.Corners[c[i + 1]].Vertex].Position,
                    Shown(face.Grid[0].Color & 0xffffff, face.Grid[0].Opacity));
      MicroVertex s[4];
      for (int y = -1; y < face.Ny; y++)
        for (int x = -1; x < face.Nx; x++) {
          const MicroVertex* q[4] = {scene.GetMicroVertex(f, x, y, &s[0]).Vertex,
                                     scene.GetMicroVertex(f, x + 1, y, &s[1]).Vertex,
                                     scene.GetMicroVertex(f, x + 1, y + 1, &s[2]).Vertex,
                                     scene.GetMicroVertex(f, x, y + 1, &s[3]).Vertex};
          uint32_t c = Shown(q[0]->Color & 0xffffff, q[0]->Opacity);
          cv.Triangle(q[0]->Position, q[1]->Position, q[2]->Position, c);
          cv.Triangle(q[0]->Position, q[2]->Position, q[3]->Position, c);
        }
      continue;
    }
    uint32_t colour = 0x808080;
    if (PixelMap* map = scene.GetPixelMap(face.RenderTarget); map && face.Texels && face.Texels->Count) {
      PixelCursor cur;
      const FaceTexel& t = face.Texels->Texels[face.Texels->Count / 2];
      if (map->FetchPixel(cur, t.X, t.Y, false, false, false) && (cur.Pixel().Color >> 24))
        colour = cur.Pixel().Color & 0xffffff;
    }
    for (int i = 1; i + 1 < n; i++)
      cv.Triangle(scene.Vertices[scene.Corners[c[0]].Vertex].Position,
                  scene.Vertices[scene.Corners[c[i]].Vertex].Position,
                  scene.Vertices[scene.Corners[c[i + 1]].Vertex].Position, colour);
  }
  comms::cImage image;
  image.width = width, image.height = height, image.format = 3;
  image.data = std::move(cv.rgb);
  if (!comms::cIO::SaveImage(path, image)) {
    if (why) *why = "the picture could not be written to " + path;
    return false;
  }
  return true;
}
