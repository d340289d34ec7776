// The render room's accumulated picture (see VolumeRender.h).
#include "MC/render/VolumeRender.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "ClassEngine/Threader.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mcubes/WeldedMesh.h"
#include "interchange/FloatImage.h"
#include "interchange/IO.h"
#include "interchange/Image.h"
#include "render/Viewer.h"

using comms::cVec3;

namespace {
constexpr float kPi = 3.14159265f;
const cVec3 kAlbedo(0.66f, 0.65f, 0.63f);
const cVec3 kAmbient(0.85f, 0.88f, 0.95f);

cVec3 Mul(const cVec3& a, const cVec3& b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }

cVec3 UnpackColor(uint32_t c) {
  return {((c >> 16) & 255) / 255.f, ((c >> 8) & 255) / 255.f, (c & 255) / 255.f};
}

// A point of the unit ball, by rejection.
cVec3 InBall(Random& r) {
  for (;;) {
    const cVec3 p(r.Signed(), r.Signed(), r.Signed());
    if (comms::Dot(p, p) <= 1.f) return p;
  }
}

// Runs body(firstRow, lastRow) over fixed bands of rows. Each pixel's result
// depends only on the triangles over it and their order, never on the band.
void ForBands(int rows, const std::function<void(int, int)>& body) {
  const int bands = std::max(1, std::min(UsingProcessors(), rows));
  ParallelRange(0, bands, [&](int b0, int b1) {
    for (int b = b0; b < b1; ++b) body(rows * b / bands, rows * (b + 1) / bands);
  });
}

// Projected corner: pixel x, y and 1 / depth.
struct Corner {
  float x, y, w;
};

// Rasterises the triangles of `tri` (projected corners, three each) into the
// rows [y0, y1) of a w x h grid, keeping per pixel the nearest by 1/depth.
template <class Keep>
void Raster(const std::vector<Corner>& c, const std::vector<uint32_t>& idx, int w, int y0, int y1, Keep keep) {
  const int n = (int)idx.size() / 3;
  for (int t = 0; t < n; ++t) {
    const Corner& a = c[idx[3 * t]];
    const Corner& b = c[idx[3 * t + 1]];
    const Corner& d = c[idx[3 * t + 2]];
    if (a.w <= 0 || b.w <= 0 || d.w <= 0) continue;  // behind the eye
    const float area = (b.x - a.x) * (d.y - a.y) - (b.y - a.y) * (d.x - a.x);
    if (std::abs(area) < 1e-12f) continue;
    int minY = std::max(y0, (int)std::floor(std::min({a.y, b.y, d.y}) - 0.5f));
    int maxY = std::min(y1 - 1, (int)std::ceil(std::max({a.y, b.y, d.y}) - 0.5f));
    if (minY > maxY) continue;
    int minX = std::max(0, (int)std::floor(std::min({a.x, b.x, d.x}) - 0.5f));
    int maxX = std::min(w - 1, (int)std::ceil(std::max({a.x, b.x, d.x}) - 0.5f));
    if (minX > maxX) continue;
    const float inv = 1.f / area;
    for (int y = minY; y <= maxY; ++y) {
      const float py = y + 0.5f;
      for (int x = minX; x <= maxX; ++x) {
        const float px = x + 0.5f;
        const float w0 = ((b.x - px) * (d.y - py) - (b.y - py) * (d.x - px)) * inv;
        const float w1 = ((d.x - px) * (a.y - py) - (d.y - py) * (a.x - px)) * inv;
        const float w2 = 1.f - w0 - w1;
        if (w0 < 0 || w1 < 0 || w2 < 0) continue;
        keep(x, y, t, w0, w1, w2, a.w, b.w, d.w);
      }
    }
  }
}
}  // namespace

VolumeRender::VolumeRender(const RenderParams& params, int width, int height, uint32_t seed)
    : params_(params), width_(std::max(1, width)), height_(std::max(1, height)), random_(seed) {
  accum_.assign((size_t)width_ * height_ * 4, 0.f);
  shadowSize_ = 256;
  while (shadowSize_ < 2 * std::max(width_, height_) && shadowSize_ < 2048) shadowSize_ *= 2;
}

int VolumeRender::SetScene(const std::vector<VolumeObject*>& volumes) {
  DropDevice();  // its buffers hold the last scene
  WeldedMeshBuilder mesh;
  for (VolumeObject* v : volumes) {
    v->UpdateSurface();
    v->ExtractWeldedAll(mesh, v->Transform);
  }
  pos_ = mesh.Positions;
  nrm_ = mesh.Normals;
  index_ = mesh.Indices;
  for (size_t i = 0; i + 2 < nrm_.size(); i += 3) {
    const cVec3 n = cVec3(nrm_[i], nrm_[i + 1], nrm_[i + 2]).Normalized();
    nrm_[i] = n.x, nrm_[i + 1] = n.y, nrm_[i + 2] = n.z;
  }
  boxMin_ = cVec3(1e30f, 1e30f, 1e30f), boxMax_ = cVec3(-1e30f, -1e30f, -1e30f);
  for (size_t i = 0; i < pos_.size(); i += 3) {
    boxMin_ = cVec3(std::min(boxMin_.x, pos_[i]), std::min(boxMin_.y, pos_[i + 1]), std::min(boxMin_.z, pos_[i + 2]));
    boxMax_ = cVec3(std::max(boxMax_.x, pos_[i]), std::max(boxMax_.y, pos_[i + 1]), std::max(boxMax_.z, pos_[i + 2]));
  }
  Restart();
  return Triangles();
}

void VolumeRender::SetTriangles(const std::vector<float>& corners) {
  DropDevice();
  pos_ = corners;
  index_.resize(corners.size() / 3);
  for (size_t i = 0; i < index_.size(); ++i) index_[i] = (uint32_t)i;
  nrm_.assign(corners.size(), 0.f);
  boxMin_ = cVec3(1e30f, 1e30f, 1e30f), boxMax_ = cVec3(-1e30f, -1e30f, -1e30f);
  for (size_t t = 0; t + 8 < corners.size(); t += 9) {
    const cVec3 a(corners[t], corners[t + 1], corners[t + 2]), b(corners[t + 3], corners[t + 4], corners[t + 5]),
        c(corners[t + 6], corners[t + 7], corners[t + 8]);
    const cVec3 n = comms::Cross(b - a, c - a).Normalized();
    for (int k = 0; k < 3; ++k) nrm_[t + 3 * k] = n.x, nrm_[t + 3 * k + 1] = n.y, nrm_[t + 3 * k + 2] = n.z;
    for (const cVec3& p : {a, b, c}) {
      boxMin_ = cVec3(std::min(boxMin_.x, p.x), std::min(boxMin_.y, p.y), std::min(boxMin_.z, p.z));
      boxMax_ = cVec3(std::max(boxMax_.x, p.x), std::max(boxMax_.y, p.y), std::max(boxMax_.z, p.z));
    }
  }
  Restart();
}

VolumeRender::Eye VolumeRender::EyeOf(const comms::cViewer& camera, float focusDistance) {
  Eye e;
  e.Pos = camera.Pos, e.Right = camera.Right, e.Up = camera.Up, e.Forward = camera.Forward;
  e.Fov = camera.Fov;
  e.FocusDistance = focusDistance;
  return e;
}

VolumeRender::Eye VolumeRender::FramingEye(float fov) const {
  Eye e;
  const bool empty = boxMin_.x > boxMax_.x;
  const cVec3 centre = empty ? cVec3(0, 0, 0) : (boxMin_ + boxMax_) * 0.5f;
  const float radius = empty ? 1.f : std::max((boxMax_ - boxMin_).Length() * 0.5f, 1e-3f);
  const float aspect = (float)width_ / height_;
  const float half = std::atan(std::tan(fov * kPi / 360.f) * std::min(aspect, 1.f));
  const float distance = radius / std::sin(half) * 1.05f;
  const float up = 20.f * kPi / 180.f;
  e.Forward = cVec3(0, -std::sin(up), -std::cos(up));
  e.Pos = centre - e.Forward * distance;
  e.Right = comms::Cross(e.Forward, cVec3(0, 1, 0)).Normalized();
  e.Up = comms::Cross(e.Right, e.Forward);
  e.Fov = fov;
  e.FocusDistance = distance;
  return e;
}

void VolumeRender::SetEye(const Eye& eye) {
  eye_ = eye;
  Restart();
}

void VolumeRender::Restart() {
  std::fill(accum_.begin(), accum_.end(), 0.f);
  frames_ = 0;
  BuildLights();
  if (device_) ClearDeviceSum();
}

void VolumeRender::BuildLights() {
  lights_.clear();
  // The room's main light first: from the upper left of the view.
  auto toDir = [&](float xDeg, float yDeg) {
    const float x = xDeg * kPi / 180.f, y = yDeg * kPi / 180.f;
    return ((-eye_.Forward * std::cos(x) + eye_.Right * std::sin(x)) * std::cos(y) + eye_.Up * std::sin(y)).Normalized();
  };
  lights_.push_back({toDir(-45, 50), cVec3(1, 0.97f, 0.92f), 0.f, 1.f});
  for (ExtraLight* l : params_.Lights)
    if (l) lights_.push_back({toDir(l->xPos, l->yPos), UnpackColor(l->Color), l->Light_Scatter, std::max(0.f, l->Power)});
  float total = 0;
  for (const Light& l : lights_) total += l.Power;
  lightTable_.assign(256, 0);
  if (total <= 0) return;
  int slot = 0;
  float acc = 0;
  for (int i = 0; i < (int)lights_.size(); ++i) {
    acc += lights_[i].Power;
    const int end = i + 1 == (int)lights_.size() ? 256 : (int)std::lround(256 * acc / total);
    for (; slot < end; ++slot) lightTable_[slot] = i;
  }
}

void VolumeRender::PlaceShadowMap(const cVec3& dir) {
  sDir_ = dir;
  const cVec3 helper = std::abs(dir.y) < 0.9f ? cVec3(0, 1, 0) : cVec3(1, 0, 0);
  sRight_ = comms::Cross(helper, dir).Normalized();
  sUp_ = comms::Cross(dir, sRight_);
  float mn[2] = {1e30f, 1e30f}, mx[2] = {-1e30f, -1e30f};
  for (int i = 0; i < 8; ++i) {
    const cVec3 p(i & 1 ? boxMax_.x : boxMin_.x, i & 2 ? boxMax_.y : boxMin_.y, i & 4 ? boxMax_.z : boxMin_.z);
    const float u = comms::Dot(p, sRight_), v = comms::Dot(p, sUp_);
    mn[0] = std::min(mn[0], u), mx[0] = std::max(mx[0], u), mn[1] = std::min(mn[1], v), mx[1] = std::max(mx[1], v);
  }
  sScale_ = (shadowSize_ - 2) / std::max({mx[0] - mn[0], mx[1] - mn[1], 1e-6f});
  sOffsetX_ = 1 - mn[0] * sScale_, sOffsetY_ = 1 - mn[1] * sScale_;
}

void VolumeRender::RenderShadowMap(const cVec3& dir) {
  PlaceShadowMap(dir);
  const int nv = (int)pos_.size() / 3;
  std::vector<Corner> c(nv);
  std::vector<float> height(nv);
  for (int i = 0; i < nv; ++i) {
    const cVec3 p(pos_[3 * i], pos_[3 * i + 1], pos_[3 * i + 2]);
    c[i] = {comms::Dot(p, sRight_) * sScale_ + sOffsetX_, comms::Dot(p, sUp_) * sScale_ + sOffsetY_, 1.f};
    height[i] = comms::Dot(p, dir);
  }
  shadow_.assign((size_t)shadowSize_ * shadowSize_, -1e30f);
  ForBands(shadowSize_, [&](int y0, int y1) {
    Raster(c, index_, shadowSize_, y0, y1, [&](int x, int y, int t, float w0, float w1, float w2, float, float, float) {
      const float h = w0 * height[index_[3 * t]] + w1 * height[index_[3 * t + 1]] + w2 * height[index_[3 * t + 2]];
      float& s = shadow_[(size_t)y * shadowSize_ + x];
      s = std::max(s, h);
    });
  });
}

float VolumeRender::Shadow(const cVec3& p) const {
  const float u = comms::Dot(p, sRight_) * sScale_ + sOffsetX_ - 0.5f, v = comms::Dot(p, sUp_) * sScale_ + sOffsetY_ - 0.5f;
  const float h = comms::Dot(p, sDir_);
  const float bias = 1.5f / sScale_;
  // Four texels, each lit or not, weighted by distance: softer edges.
  const int x0 = (int)std::floor(u), y0 = (int)std::floor(v);
  const float fx = u - x0, fy = v - y0;
  float lit = 0;
  for (int k = 0; k < 4; ++k) {
    const int x = std::clamp(x0 + (k & 1), 0, shadowSize_ - 1), y = std::clamp(y0 + (k >> 1), 0, shadowSize_ - 1);
    const float w = ((k & 1) ? fx : 1 - fx) * ((k >> 1) ? fy : 1 - fy);
    lit += w * (h >= shadow_[(size_t)y * shadowSize_ + x] - bias ? 1.f : 0.f);
  }
  return lit;
}

bool VolumeRender::PixelOf(const cVec3& p, float& x, float& y) const {
  const float f = (height_ * 0.5f) / std::tan(eye_.Fov * kPi / 360.f);
  const cVec3 d = p - eye_.Pos;
  const float z = comms::Dot(d, eye_.Forward);
  if (z < 1e-3f) return false;
  x = width_ * 0.5f + f * comms::Dot(d, eye_.Right) / z;
  y = height_ * 0.5f - f * comms::Dot(d, eye_.Up) / z;
  return true;
}

void VolumeRender::RasterFrame(float shiftX, float shiftY, float jitterX, float jitterY) {
  const int nv = (int)pos_.size() / 3;
  const float f = (height_ * 0.5f) / std::tan(eye_.Fov * kPi / 360.f);
  const float focus = std::max(eye_.FocusDistance + params_.DOF_Shift, 1e-3f);
  const cVec3 eye = eye_.Pos + eye_.Right * shiftX + eye_.Up * shiftY;
  std::vector<Corner> c(nv);
  ParallelRange(0, nv, [&](int i0, int i1) {
    for (int i = i0; i < i1; ++i) {
      const cVec3 d = cVec3(pos_[3 * i], pos_[3 * i + 1], pos_[3 * i + 2]) - eye;
      const float z = comms::Dot(d, eye_.Forward);
      if (z < 1e-3f) {
        c[i] = {0, 0, -1};
        continue;
      }
      // Off-axis: the plane at `focus` lands where the unmoved eye sees it.
      const float x = f * (comms::Dot(d, eye_.Right) / z + shiftX / focus);
      const float y = f * (comms::Dot(d, eye_.Up) / z + shiftY / focus);
      c[i] = {width_ * 0.5f + x + jitterX, height_ * 0.5f - y + jitterY, 1.f / z};
    }
  });
  const size_t n = (size_t)width_ * height_;
  depth_.assign(n, 0.f);  // 1 / depth: larger is nearer, 0 is nothing
  tri_.assign(n, -1);
  baryU_.assign(n, 0.f);
  baryV_.assign(n, 0.f);
  ForBands(height_, [&](int y0, int y1) {
    Raster(c, index_, width_, y0, y1, [&](int x, int y, int t, float w0, float w1, float w2, float a, float b, float d) {
      const float w = w0 * a + w1 * b + w2 * d;
      const size_t at = (size_t)y * width_ + x;
      if (w <= depth_[at]) return;
      depth_[at] = w;
      tri_[at] = t;
      baryU_[at] = w1 * b / w;
      baryV_[at] = w2 * d / w;
    });
  });
}

void VolumeRender::ShadeFrame(const cVec3& lightDir, const cVec3& lightColor, bool ambient, float shiftX, float shiftY) {
  const cVec3 eye = eye_.Pos + eye_.Right * shiftX + eye_.Up * shiftY;
  const float scale = params_.Lightness / 100.f;
  ForBands(height_, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y)
      for (int x = 0; x < width_; ++x) {
        const size_t at = (size_t)y * width_ + x;
        const int t = tri_[at];
        if (t < 0) continue;
        const float b1 = baryU_[at], b2 = baryV_[at], b0 = 1 - b1 - b2;
        cVec3 p(0, 0, 0), n(0, 0, 0);
        const float w[3] = {b0, b1, b2};
        for (int k = 0; k < 3; ++k) {
          const uint32_t v = index_[3 * t + k];
          p += cVec3(pos_[3 * v], pos_[3 * v + 1], pos_[3 * v + 2]) * w[k];
          n += cVec3(nrm_[3 * v], nrm_[3 * v + 1], nrm_[3 * v + 2]) * w[k];
        }
        n = n.Normalized();
        if (comms::Dot(n, eye - p) < 0) n = -n;  // a cut seen from inside
        const float cosine = std::max(0.f, comms::Dot(n, lightDir));
        float lit = cosine > 0 && !params_.WithoutShadow ? Shadow(p + n * (0.75f / sScale_)) : 1.f;
        cVec3 c;
        if (ambient)  // the mean of 4 max(0, cos) over all directions is 1
          c = Mul(kAlbedo, kAmbient) * (4.f * cosine * lit * 0.6f);
        else
          c = Mul(kAlbedo, lightColor) * (cosine * lit * 0.85f) + Mul(kAlbedo, kAmbient) * 0.12f;
        float* a = &accum_[at * 4];
        a[0] += c.x * scale, a[1] += c.y * scale, a[2] += c.z * scale, a[3] += 1.f;
      }
  });
}

void VolumeRender::RenderFrame() {
  if (index_.empty()) {
    ++frames_;
    return;
  }
  cVec3 dir;
  cVec3 color(1, 1, 1);
  bool ambient = false;
  const int aoShare = (int)(params_.AO_Percent / 100.f * 32768.f);
  if (frames_ > 0 && random_.Next() < aoShare) {
    ambient = true;
    cVec3 p;
    do p = InBall(random_);
    while (comms::Dot(p, p) < 1e-6f);
    dir = p.Normalized();
  } else if (frames_ == 0) {
    dir = lights_[0].Dir, color = lights_[0].Color;
  } else {
    const Light& l = lights_[lightTable_[random_.Next() & 255]];
    dir = (InBall(random_) * l.Scatter + l.Dir).Normalized();
    color = l.Color;
  }
  // The lens: the eye moves in its plane, the plane in focus stays.
  const float lens = params_.DOF_Degree * eye_.FocusDistance / 50.f;  // 5: a tenth of the distance
  float sx = 0, sy = 0;
  if (lens > 0 && frames_ > 0) {
    do sx = random_.Signed(), sy = random_.Signed();
    while (sx * sx + sy * sy > 1);
    sx *= lens, sy *= lens;
  }
  float jx = 0, jy = 0;
  if (params_.Use_AA && frames_ > 0) jx = random_.Signed() * 0.5f, jy = random_.Signed() * 0.5f;
  if (device_) {
    DeviceFrame(dir, color, ambient, sx, sy, jx, jy);
  } else {
    if (!params_.WithoutShadow) RenderShadowMap(dir);
    RasterFrame(sx, sy, jx, jy);
    ShadeFrame(dir, color, ambient, sx, sy);
  }
  ++frames_;
}

void VolumeRender::Picture(comms::cImage& out, bool alpha) const {
  out.Create(width_, height_, 4);
  const float n = (float)std::max(frames_, 1);
  const std::vector<float>& sum = Sum();
  for (int y = 0; y < height_; ++y) {
    // The backdrop: a soft vertical gradient, lighter at the top.
    const float t = (float)y / std::max(1, height_ - 1);
    const cVec3 bg = cVec3(0.36f, 0.37f, 0.40f) * (1 - t) + cVec3(0.16f, 0.16f, 0.18f) * t;
    for (int x = 0; x < width_; ++x) {
      const float* a = &sum[((size_t)y * width_ + x) * 4];
      const float cover = a[3] / n;
      cVec3 c(a[0] / n, a[1] / n, a[2] / n);
      if (alpha)
        c = cover > 0 ? c * (1.f / cover) : cVec3(0, 0, 0);
      else
        c += bg * (1 - cover);
      uint8_t* px = out.Pixel(x, height_ - 1 - y);  // rows bottom-up
      const float rgb[3] = {c.x, c.y, c.z};
      for (int k = 0; k < 3; ++k)
        px[k] = (uint8_t)std::lround(std::clamp(std::pow(std::max(rgb[k], 0.f), 1.f / 1.6f), 0.f, 1.f) * 255.f);
      px[3] = alpha ? (uint8_t)std::lround(std::clamp(cover, 0.f, 1.f) * 255.f) : 255;
    }
  }
}

bool VolumeRender::Save(const std::string& path, bool alpha) const {
  comms::cImage image;
  Picture(image, alpha);
  std::string ext = path.substr(path.find_last_of('.') + 1);
  for (char& ch : ext) ch = (char)std::tolower((unsigned char)ch);
  if (ext == "exr") {
    // Linear light, as an EXR is read.
    comms::cFloatImage f(width_, height_, 4, 32);
    for (int y = 0; y < height_; ++y)
      for (int x = 0; x < width_; ++x) {
        const uint8_t* s = image.Pixel(x, y);
        for (int k = 0; k < 3; ++k) f.Set(x, y, k, std::pow(s[k] / 255.f, 1.6f));
        f.Set(x, y, 3, s[3] / 255.f);
      }
    return f.Save(path);
  }
  return comms::cIO::SaveImage(path, image);
}
