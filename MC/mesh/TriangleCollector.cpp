// Rasterising triangles onto the lattice lines of the three axes, and sorting
// each ray's crossings into clean spans.
#include "MC/mesh/TriangleCollector.h"

#include <algorithm>
#include <cmath>

#include "ClassEngine/Threader.h"
#include "interchange/Mesh.h"

namespace {

constexpr int64_t kFixed = 1024;  // fixed-point steps per voxel
constexpr double kMaxBoxLines = 1e9;

int64_t ToFixed(double v) { return (int64_t)std::rint(v * (double)kFixed - 0.49999999999); }

int64_t FloorDiv(int64_t v, int64_t d) { return v >= 0 ? v / d : -((-v + d - 1) / d); }
int64_t CeilDiv(int64_t v, int64_t d) { return -FloorDiv(-v, d); }

// Which component of a point is the depth of each axis, and which two form the key.
constexpr int kKeyA[3] = {0, 0, 2};
constexpr int kKeyB[3] = {1, 2, 1};
constexpr int kDepth[3] = {2, 1, 0};

bool Entering(uint16_t kind) { return (kind & 1) != 0; }

}  // namespace

// Stores crossings of the current axis under their ray.
class TriangleCollector::AxisRastr : public VolRastr {
 public:
  explicit AxisRastr(std::vector<RayCrossing>& list) : list_(list) {}
  void Put(int a, int b, float depth, int, int) override {
    uint16_t k;
    if (Kind < 255) k = (uint16_t)Kind;
    else k = Kind == 256 ? 3 : 2;
    list_.push_back({RayKey(a, b), {depth, k}});
  }

 private:
  std::vector<RayCrossing>& list_;
};

TriangleCollector::TriangleCollector() {
  for (auto& m : Rays) m.reserve(8192);
}

const Crossing* SpanList::Find(uint64_t key, size_t& count) const {
  const auto it = std::lower_bound(Keys.begin(), Keys.end(), key);
  if (it == Keys.end() || *it != key) {
    count = 0;
    return nullptr;
  }
  return Ray((size_t)(it - Keys.begin()), count);
}

void SpanList::Clear() {
  Keys.clear();
  Start.assign(1, 0);
  Data.clear();
}

void TriangleCollector::SetKind(bool fixedKind, int kind, bool flip) {
  fixedKind_ = fixedKind;
  kind_ = kind;
  flip_ = flip;
}

bool TriangleCollector::Empty() const {
  return Rays[0].empty() && Rays[1].empty() && Rays[2].empty() && Spans[0].Empty() && Spans[1].Empty() &&
         Spans[2].Empty();
}

int64_t TriangleCollector::CrossingCount(int axis) const {
  return (int64_t)Rays[axis].size();
}

void TriangleCollector::AddTriangle(const float p0[3], const float p1[3], const float p2[3]) {
  const double e1[3] = {(double)p1[0] - p0[0], (double)p1[1] - p0[1], (double)p1[2] - p0[2]};
  const double e2[3] = {(double)p2[0] - p0[0], (double)p2[1] - p0[1], (double)p2[2] - p0[2]};
  const double normal[3] = {e1[1] * e2[2] - e1[2] * e2[1], e1[2] * e2[0] - e1[0] * e2[2],
                            e1[0] * e2[1] - e1[1] * e2[0]};
  for (int axis = 0; axis < 3; ++axis) {
    const double n = normal[kDepth[axis]];
    if (n == 0) continue;
    const double q[3][3] = {{p0[kKeyA[axis]], p0[kKeyB[axis]], p0[kDepth[axis]]},
                            {p1[kKeyA[axis]], p1[kKeyB[axis]], p1[kDepth[axis]]},
                            {p2[kKeyA[axis]], p2[kKeyB[axis]], p2[kDepth[axis]]}};
    AxisRastr put(Rays[axis]);
    put.FixedKind = fixedKind_;
    // A ray going up the depth axis enters where the outward normal faces it.
    int kind = fixedKind_ ? kind_ : (n < 0 ? 1 : 0);
    if (flip_ && kind < 255) kind ^= 1;
    put.Kind = kind;
    current_ = &put;
    Rasterise(axis, q[0], q[1], q[2]);
    current_ = nullptr;
  }
}

void TriangleCollector::Rasterise(int, const double p0[3], const double p1[3], const double p2[3]) {
  int64_t x[3] = {ToFixed(p0[0]), ToFixed(p1[0]), ToFixed(p2[0])};
  int64_t y[3] = {ToFixed(p0[1]), ToFixed(p1[1]), ToFixed(p2[1])};
  const int64_t area = (x[1] - x[0]) * (y[2] - y[0]) - (y[1] - y[0]) * (x[2] - x[0]);
  if (area == 0) return;
  if (area < 0) {
    std::swap(x[1], x[2]);
    std::swap(y[1], y[2]);
  }
  const int64_t a0 = CeilDiv(std::min({x[0], x[1], x[2]}), kFixed);
  const int64_t a1 = FloorDiv(std::max({x[0], x[1], x[2]}), kFixed);
  const int64_t b0 = CeilDiv(std::min({y[0], y[1], y[2]}), kFixed);
  const int64_t b1 = FloorDiv(std::max({y[0], y[1], y[2]}), kFixed);
  if (a1 < a0 || b1 < b0) return;
  if ((double)(a1 - a0 + 1) * (double)(b1 - b0 + 1) > kMaxBoxLines) return;

  // Depth from the plane through the three vertices.
  const double e1[3] = {p1[0] - p0[0], p1[1] - p0[1], p1[2] - p0[2]};
  const double e2[3] = {p2[0] - p0[0], p2[1] - p0[1], p2[2] - p0[2]};
  const double det = e1[0] * e2[1] - e1[1] * e2[0];
  if (det == 0) return;
  const double ga = (e1[2] * e2[1] - e2[2] * e1[1]) / det;
  const double gb = (e2[2] * e1[0] - e1[2] * e2[0]) / det;
  const double dmin = std::min({p0[2], p1[2], p2[2]}), dmax = std::max({p0[2], p1[2], p2[2]});

  // Edge i runs from vertex i to i + 1; a line exactly on an edge belongs to
  // the triangle whose edge points down, or along +a: of two triangles
  // sharing an edge exactly one takes it.
  int64_t dx[3], dy[3], bias[3];
  for (int i = 0; i < 3; ++i) {
    const int j = (i + 1) % 3;
    dx[i] = x[j] - x[i];
    dy[i] = y[j] - y[i];
    bias[i] = (dy[i] < 0 || (dy[i] == 0 && dx[i] > 0)) ? 1 : 0;
  }
  for (int64_t b = b0; b <= b1; ++b) {
    const int64_t py = b * kFixed;
    int64_t w[3];
    for (int i = 0; i < 3; ++i) w[i] = dx[i] * (py - y[i]) - dy[i] * (a0 * kFixed - x[i]) + bias[i];
    for (int64_t a = a0; a <= a1; ++a) {
      if (w[0] >= 1 && w[1] >= 1 && w[2] >= 1) {
        double d = p0[2] + ga * ((double)a - p0[0]) + gb * ((double)b - p0[1]);
        d = std::clamp(d, dmin, dmax);
        current_->Put((int)a, (int)b, (float)d, 0, 0);
      }
      for (int i = 0; i < 3; ++i) w[i] -= dy[i] * kFixed;
    }
  }
}

namespace {

// Steps 2 to 6 of cleaning one ray, whose crossings arrive sorted by depth,
// then kind; false when the ray is to be dropped.
bool CleanRay(std::vector<Crossing>& c) {
  if (c.size() < 2 || (c.size() & 1)) return false;
  // A ray between two triangles crosses both at one depth, once each way.
  for (bool again = true; again;) {
    again = false;
    for (size_t i = 0; i + 1 < c.size(); ++i)
      if (((c[i].Kind ^ c[i + 1].Kind) & 1) && c[i + 1].Depth - c[i].Depth < 1e-6f) {
        c.erase(c.begin() + (long)i, c.begin() + (long)i + 2);
        again = true;
        break;
      }
  }
  auto balance = [&c] {
    int s = 0;
    for (const Crossing& k : c) s += Entering(k.Kind) ? 1 : -1;
    return s;
  };
  if (balance() != 0) {
    for (size_t i = 0; i + 1 < c.size();)
      if (c[i].Kind == c[i + 1].Kind && c[i + 1].Depth - c[i].Depth < 0.01f) c.erase(c.begin() + (long)i + 1);
      else ++i;
    if (balance() != 0) return false;
  }
  int level = 0;
  for (Crossing& k : c) {
    if (k.Kind == 255) continue;
    if (!Entering(k.Kind) && level - 1 < 0) k.Kind ^= 1;
    else if (Entering(k.Kind) && level + 1 <= 0) k.Kind ^= 1;
    level += Entering(k.Kind) ? 1 : -1;
  }
  // Keep only the outer shell: nested and overlapping solids become their union.
  level = 0;
  size_t out = 0;
  for (size_t i = 0; i < c.size(); ++i) {
    Crossing k = c[i];
    bool keep;
    if (k.Kind == 255) {
      keep = true;
      k.Kind = level ? 2 : 3;
      level = level ? 0 : 1;
    } else if (Entering(k.Kind)) {
      keep = level == 0;
      ++level;
    } else {
      keep = level == 1;
      --level;
    }
    if (keep) c[out++] = k;
  }
  c.resize(out);
  return c.size() >= 2 && !(c.size() & 1) && Entering(c.front().Kind) && !Entering(c.back().Kind);
}

}  // namespace

void TriangleCollector::BuildSpans(int axis) {
  std::vector<RayCrossing>& raw = Rays[axis];
  // By ray, then depth, then kind: equal records are equal in every field,
  // so the order is the same on every run.
  std::sort(raw.begin(), raw.end(), [](const RayCrossing& l, const RayCrossing& r) {
    if (l.Key != r.Key) return l.Key < r.Key;
    if (l.Hit.Depth != r.Hit.Depth) return l.Hit.Depth < r.Hit.Depth;
    return l.Hit.Kind < r.Hit.Kind;
  });
  SpanList& spans = Spans[axis];
  spans.Clear();
  spans.Data.reserve(raw.size());
  std::vector<Crossing> ray;
  for (size_t i = 0; i < raw.size();) {
    size_t j = i;
    ray.clear();
    for (; j < raw.size() && raw[j].Key == raw[i].Key; ++j) ray.push_back(raw[j].Hit);
    if (CleanRay(ray)) {
      spans.Keys.push_back(raw[i].Key);
      spans.Data.insert(spans.Data.end(), ray.begin(), ray.end());
      spans.Start.push_back((uint32_t)spans.Data.size());
    }
    i = j;
  }
  raw.clear();
  raw.shrink_to_fit();
}

void TriangleCollector::BuildAllSpans() {
  RunSection(3, [this](int axis) { BuildSpans(axis); });
}

void AddMeshPart(TriangleCollector& collector, const comms::cMesh& mesh, int part, const float* m) {
  const size_t nv = mesh.positions.size();
  std::vector<float> p(nv * 3);
  for (size_t i = 0; i < nv; ++i) {
    const float v[3] = {mesh.positions[i].x, mesh.positions[i].y, mesh.positions[i].z};
    for (int c = 0; c < 3; ++c)
      p[i * 3 + c] = m ? v[0] * m[c] + v[1] * m[4 + c] + v[2] * m[8 + c] + m[12 + c] : v[c];
  }
  // A mirroring matrix turns the mesh inside out: the winding is reversed
  // so that outward stays outward.
  const bool mirrored = m && m[0] * (m[5] * m[10] - m[6] * m[9]) - m[1] * (m[4] * m[10] - m[6] * m[8]) +
                                     m[2] * (m[4] * m[9] - m[5] * m[8]) <
                                 0;
  mesh.ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell* corners) {
    if (part >= 0 && h.c != part) return;
    for (int k = 1; k + 1 < h.a; ++k) {
      const int i0 = corners[0].a, i1 = corners[mirrored ? k + 1 : k].a, i2 = corners[mirrored ? k : k + 1].a;
      if (i0 < 0 || i1 < 0 || i2 < 0 || (size_t)i0 >= nv || (size_t)i1 >= nv || (size_t)i2 >= nv) continue;
      collector.AddTriangle(&p[i0 * 3], &p[i1 * 3], &p[i2 * 3]);
    }
  });
}
