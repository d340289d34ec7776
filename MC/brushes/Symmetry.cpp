// Mirror and axial copies of a brush operation (see Symmetry.h).
#include "MC/brushes/Symmetry.h"

#include <cmath>

namespace {
constexpr double kPi = 3.14159265358979323846;

SymmetryCopy Multiply(const SymmetryCopy& a, const SymmetryCopy& b) {
  SymmetryCopy r;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      float s = 0;
      for (int k = 0; k < 3; ++k) s += a.M[i * 3 + k] * b.M[k * 3 + j];
      r.M[i * 3 + j] = s;
    }
  r.Handed = a.Handed * b.Handed;
  return r;
}

// A turn about one axis; the sine and cosine of whole quarter turns are
// exact so that the copies of a lattice land on the lattice.
SymmetryCopy Turn(int axis, int step, int count) {
  float c, s;
  if ((4 * step) % count == 0) {
    const int q = ((4 * step) / count) % 4;
    const float cs[4] = {1, 0, -1, 0}, sn[4] = {0, 1, 0, -1};
    c = cs[q], s = sn[q];
  } else {
    const double a = 2 * kPi * step / count;
    c = (float)std::cos(a), s = (float)std::sin(a);
  }
  SymmetryCopy r;
  const int u = (axis + 1) % 3, v = (axis + 2) % 3;
  r.M[u * 3 + u] = c, r.M[u * 3 + v] = s;
  r.M[v * 3 + u] = -s, r.M[v * 3 + v] = c;
  return r;
}
}  // namespace

bool SymmetryCopy::Identity() const {
  for (int i = 0; i < 9; ++i)
    if (M[i] != (i % 4 == 0 ? 1.f : 0.f)) return false;
  return true;
}

void SymmetryCopy::Point(const float in[3], float out[3]) const {
  float r[3];
  for (int j = 0; j < 3; ++j) r[j] = in[0] * M[j] + in[1] * M[3 + j] + in[2] * M[6 + j];
  out[0] = r[0], out[1] = r[1], out[2] = r[2];
}

SymmetryCopy MirrorCopy(int m) {
  SymmetryCopy r;
  for (int a = 0; a < 3; ++a)
    if (m & (1 << a)) r.M[a * 4] = -1, r.Handed = -r.Handed;
  return r;
}

std::vector<SymmetryCopy> SymmetryCopies(int mirrorBits, int axialCount, int axialAxis) {
  std::vector<SymmetryCopy> mirrors;
  for (int m = 0; m < 8; ++m)
    if ((m & mirrorBits) == m) mirrors.push_back(MirrorCopy(m));
  if (axialCount <= 1 || axialAxis < 0 || axialAxis > 2) return mirrors;
  std::vector<SymmetryCopy> all = mirrors;
  for (int step = 1; step < axialCount; ++step) {
    const SymmetryCopy turn = Turn(axialAxis, step, axialCount);
    for (const SymmetryCopy& m : mirrors) all.push_back(Multiply(m, turn));
  }
  return all;
}

void ForEachSymmetry(const std::function<void(const SymmetryCopy&, bool)>& callback, int mirrorBits, int axialCount,
                     int axialAxis) {
  bool first = true;
  for (const SymmetryCopy& c : SymmetryCopies(mirrorBits, axialCount, axialAxis)) {
    callback(c, !first);
    first = false;
  }
}
