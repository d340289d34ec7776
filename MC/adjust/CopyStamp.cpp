// The copy stamp's field (see CopyStamp.h).
#include "MC/adjust/CopyStamp.h"

#include <algorithm>
#include <cmath>

#include "MC/brushes/ApplyField.h"

CopyStampField::CopyStampField(VolumeObject& source, const float a[3], float ra, const float b[3], float rb,
                               const float toSource[16], bool fromUndo, float band)
    : source_(source), ra_(ra), rb_(rb), band_(band), fromUndo_(fromUndo), complement_(!source.Visible) {
  for (int k = 0; k < 3; ++k) s_[k] = a[k], d_[k] = b[k] - a[k];
  // The direction is left at the segment's length, so t = dot(d, p - s) / |d|^2.
  l2_ = std::max(d_[0] * d_[0] + d_[1] * d_[1] + d_[2] * d_[2], 1e-10f);
  std::copy(toSource, toSource + 16, m_);
}

float CopyStampField::Value(float x, float y, float z) const {
  const float v[3] = {x - s_[0], y - s_[1], z - s_[2]};
  const float t = std::clamp((v[0] * d_[0] + v[1] * d_[1] + v[2] * d_[2]) / l2_, 0.f, 1.f);
  const float q[3] = {v[0] - d_[0] * t, v[1] - d_[1] * t, v[2] - d_[2] * t};
  const float r = ra_ + (rb_ - ra_) * t;
  const float c = std::clamp((r - std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2])) / band_ + 0.5f, 0.f, 1.f);
  if (c <= 0) return 0;
  float p[3];
  for (int j = 0; j < 3; ++j) p[j] = x * m_[j] + y * m_[4 + j] + z * m_[8 + j] + m_[12 + j];
  const float src = source_.SampleField(p[0], p[1], p[2], fromUndo_) / 65535.f;
  return c * (complement_ ? 1.f - src : src);
}

int StampCopy(VolumeObject& target, VolumeObject& source, const float a[3], float ra, const float b[3], float rb,
              const float toSource[16], int threads) {
  const CopyStampField field(source, a, ra, b, rb, toSource, &source == &target, float(target.BandWidth));
  FieldOptions options;
  options.Threads = threads;
  options.Band = float(target.BandWidth);
  return ApplyField(target, field, FieldBox::OfSpheres(a, ra + 4.f, b, rb + 4.f), options);
}
