// The layer tree's matrices are 16 floats in rows (a point multiplies from
// the left); these turn them into cMat4 and back.
#pragma once
#include <cstring>

#include "render/Math3D.h"

inline comms::cMat4 ToMat(const float m[16]) {
  comms::cMat4 r;
  std::memcpy(r.m, m, sizeof(r.m));
  return r;
}
inline void FromMat(const comms::cMat4& a, float m[16]) { std::memcpy(m, a.m, sizeof(a.m)); }
