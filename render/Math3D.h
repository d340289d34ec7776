// The program's small vector and matrix types (namespace comms). Matrices are
// row-major and vectors are rows: a point multiplies from the left (p * M), the
// translation sits in the last row, and A * B applies A first. Space is
// right-handed with y up; a camera looks down its own -Z.
#pragma once
#include <cmath>
#include <cstdint>

namespace comms {

struct cVec2 {
  float x = 0, y = 0;
  cVec2() = default;
  cVec2(float x_, float y_) : x(x_), y(y_) {}
};

struct cVec3 {
  float x = 0, y = 0, z = 0;
  cVec3() = default;
  cVec3(float x_, float y_, float z_) : x(x_), y(y_), z(z_) {}
  cVec3 operator+(const cVec3& o) const { return {x + o.x, y + o.y, z + o.z}; }
  cVec3 operator-(const cVec3& o) const { return {x - o.x, y - o.y, z - o.z}; }
  cVec3 operator-() const { return {-x, -y, -z}; }
  cVec3 operator*(float s) const { return {x * s, y * s, z * s}; }
  cVec3& operator+=(const cVec3& o) { return *this = *this + o; }
  cVec3& operator-=(const cVec3& o) { return *this = *this - o; }
  float Length() const { return std::sqrt(x * x + y * y + z * z); }
  cVec3 Normalized() const {
    float l = Length();
    return l > 0 ? *this * (1.0f / l) : *this;
  }
};
inline float Dot(const cVec3& a, const cVec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline cVec3 Cross(const cVec3& a, const cVec3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

struct cVec4 {
  float x = 0, y = 0, z = 0, w = 0;
  cVec4() = default;
  cVec4(float x_, float y_, float z_, float w_) : x(x_), y(y_), z(z_), w(w_) {}
};

struct cMat3 {
  float m[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
};

struct cMat4 {
  float m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
  static cMat4 Identity() { return {}; }
  static cMat4 Zero() {
    cMat4 r;
    for (auto& row : r.m)
      for (float& v : row) v = 0;
    return r;
  }
  static cMat4 Translation(const cVec3& t) {
    cMat4 r;
    r.m[3][0] = t.x, r.m[3][1] = t.y, r.m[3][2] = t.z;
    return r;
  }
  static cMat4 Scaling(float x, float y, float z) {
    cMat4 r;
    r.m[0][0] = x, r.m[1][1] = y, r.m[2][2] = z;
    return r;
  }
  cMat4 operator*(const cMat4& b) const {
    cMat4 r = Zero();
    for (int i = 0; i < 4; i++)
      for (int j = 0; j < 4; j++)
        for (int k = 0; k < 4; k++) r.m[i][j] += m[i][k] * b.m[k][j];
    return r;
  }
  // General inverse; a singular matrix gives the identity.
  cMat4 Inverse() const;
  cMat4 Transposed() const {
    cMat4 r;
    for (int i = 0; i < 4; i++)
      for (int j = 0; j < 4; j++) r.m[i][j] = m[j][i];
    return r;
  }
  const float* Data() const { return &m[0][0]; }
};

// p * M with w = 1, divided by the resulting w.
inline cVec3 TransformPoint(const cVec3& p, const cMat4& M) {
  float v[4];
  for (int j = 0; j < 4; j++) v[j] = p.x * M.m[0][j] + p.y * M.m[1][j] + p.z * M.m[2][j] + M.m[3][j];
  float w = v[3] != 0 ? v[3] : 1.0f;
  return {v[0] / w, v[1] / w, v[2] / w};
}
inline cVec4 Transform(const cVec4& p, const cMat4& M) {
  float v[4];
  for (int j = 0; j < 4; j++) v[j] = p.x * M.m[0][j] + p.y * M.m[1][j] + p.z * M.m[2][j] + p.w * M.m[3][j];
  return {v[0], v[1], v[2], v[3]};
}
inline cVec3 TransformVector(const cVec3& p, const cMat4& M) {
  return {p.x * M.m[0][0] + p.y * M.m[1][0] + p.z * M.m[2][0], p.x * M.m[0][1] + p.y * M.m[1][1] + p.z * M.m[2][1],
          p.x * M.m[0][2] + p.y * M.m[1][2] + p.z * M.m[2][2]};
}

struct cQuat {
  float x = 0, y = 0, z = 0, w = 1;
  cQuat() = default;
  cQuat(float x_, float y_, float z_, float w_) : x(x_), y(y_), z(z_), w(w_) {}
  // Rotation of `radians` about a unit axis.
  static cQuat FromAxisAngle(const cVec3& axis, float radians) {
    float s = std::sin(radians * 0.5f);
    return {axis.x * s, axis.y * s, axis.z * s, std::cos(radians * 0.5f)};
  }
  // Composition in the matrix order of this program: (a * b) rotates by a first.
  cQuat operator*(const cQuat& b) const {
    const cQuat& a = *this;  // matrix(a * b) == matrix(a) * matrix(b)
    return {b.w * a.x + b.x * a.w + b.y * a.z - b.z * a.y, b.w * a.y - b.x * a.z + b.y * a.w + b.z * a.x,
            b.w * a.z + b.x * a.y - b.y * a.x + b.z * a.w, b.w * a.w - b.x * a.x - b.y * a.y - b.z * a.z};
  }
  cQuat Normalized() const {
    float l = std::sqrt(x * x + y * y + z * z + w * w);
    return l > 0 ? cQuat(x / l, y / l, z / l, w / l) : cQuat();
  }
  // Rotation matrix for row vectors (v * M rotates v).
  cMat4 ToMatrix() const {
    cMat4 r;
    float xx = x * x, yy = y * y, zz = z * z, xy = x * y, xz = x * z, yz = y * z, wx = w * x, wy = w * y, wz = w * z;
    r.m[0][0] = 1 - 2 * (yy + zz), r.m[0][1] = 2 * (xy + wz), r.m[0][2] = 2 * (xz - wy);
    r.m[1][0] = 2 * (xy - wz), r.m[1][1] = 1 - 2 * (xx + zz), r.m[1][2] = 2 * (yz + wx);
    r.m[2][0] = 2 * (xz + wy), r.m[2][1] = 2 * (yz - wx), r.m[2][2] = 1 - 2 * (xx + yy);
    return r;
  }
};

// Pixels, left/top/right/bottom; which way y runs is told by each user.
struct cRect {
  float left = 0, top = 0, right = 0, bottom = 0;
  cRect() = default;
  cRect(float l, float t, float r, float b) : left(l), top(t), right(r), bottom(b) {}
  float Width() const { return right - left; }
  float Height() const { return bottom - top; }
};

// Four floats 0..1; packed colours elsewhere are 0xAARRGGBB.
struct cColor {
  float r = 0, g = 0, b = 0, a = 1;
  cColor() = default;
  cColor(float r_, float g_, float b_, float a_ = 1) : r(r_), g(g_), b(b_), a(a_) {}
  static cColor FromArgb(uint32_t c) {
    return {((c >> 16) & 255) / 255.0f, ((c >> 8) & 255) / 255.0f, (c & 255) / 255.0f, (c >> 24) / 255.0f};
  }
};

}  // namespace comms
