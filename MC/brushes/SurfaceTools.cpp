// The vertex rules of the surface tools (see SurfaceTools.h).
#include "MC/brushes/SurfaceTools.h"

#include <algorithm>
#include <cmath>

#include "MC/brushes/BrushFields.h"
#include "MC/brushes/SurfacePatch.h"
#include "MC/brushes/VoxelBrushSettings.h"
#include "MC/brushes/VoxelStroke.h"
#include "MC/mcubes/VolumeObject.h"

namespace {

float Dot(const float a[3], const float b[3]) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

void Unit(float v[3]) {
  const float l = std::sqrt(Dot(v, v));
  if (l > 1e-20f) v[0] /= l, v[1] /= l, v[2] /= l;
}

// The pen's frame at a sample: centre, outward normal N, profile axes T and B.
struct DabFrame {
  float C[3], N[3], T[3], B[3];
  float R;
  const PenProfile* Pen;

  DabFrame(const StrokeSample& a, const StrokeSample& b, const PenProfile& pen) : R(b.Radius), Pen(&pen) {
    float motion[3];
    for (int k = 0; k < 3; ++k) C[k] = b.P[k], N[k] = b.N[k], motion[k] = b.P[k] - a.P[k];
    Unit(N);
    if (Dot(motion, motion) < 1e-20f)
      for (int k = 0; k < 3; ++k) motion[k] = b.PenX[k];
    TangentFrame(N, motion, T, B);
  }

  // The brush value of a vertex: the pen profile (with its falloff) times the
  // mask, fading to 0 at a height of the radius over the pen's disc; 0 outside.
  float Weight(const float p[3]) const {
    const float q[3] = {p[0] - C[0], p[1] - C[1], p[2] - C[2]};
    const float h = Dot(N, q);
    const float qt[3] = {q[0] - h * N[0], q[1] - h * N[1], q[2] - h * N[2]};
    const float u = Dot(T, qt) / R, v = -Dot(B, qt) / R;
    const float rest = 1.f - u * u - v * v;
    if (rest <= 0) return 0.f;
    const float hh = h / R;
    const float g = 1.f - hh * hh / rest;
    if (g <= 0) return 0.f;
    return std::max(Pen->Alpha(u, -v), 0.f) * Pen->BrushMask(p) * g;
  }
};

float Free(const PatchVertex& v) { return (float)(65535 - v.Freeze) / 65535.f; }

// The plane through the weighted mean position and normal of the patch
// vertices within `radius` of c (weight 1 - d^2 / radius^2); with `old`, of
// the vertices as they were before editing began. False when none.
bool FitPlane(const SurfacePatch& patch, const float c[3], float radius, float point[3], float normal[3],
              bool old = false) {
  double sw = 0, sp[3] = {0, 0, 0}, sn[3] = {0, 0, 0};
  const float r2 = std::max(radius * radius, 1e-6f);
  for (const PatchVertex& v : patch.Vertices) {
    const float* p = old ? v.OldPos : v.Pos;
    const float* n = old ? v.OldNormal : v.Normal;
    const float d[3] = {p[0] - c[0], p[1] - c[1], p[2] - c[2]};
    const float w = 1.f - Dot(d, d) / r2;
    if (w <= 0) continue;
    sw += w;
    for (int k = 0; k < 3; ++k) sp[k] += w * p[k], sn[k] += w * n[k];
  }
  if (sw <= 0) return false;
  for (int k = 0; k < 3; ++k) point[k] = (float)(sp[k] / sw), normal[k] = (float)sn[k];
  Unit(normal);
  return Dot(normal, normal) > 0.5f;
}

// The direction of the extrusions for a vertex (the ExtrudeDir setting).
void DirectionOfVertex(int mode, const PatchVertex& v, const float average[3], const float penNormal[3], float out[3]) {
  for (int k = 0; k < 3; ++k) out[k] = 0;
  switch (mode) {
    case ViewDir:  // the pen's normal at the pick, which faces the view
      for (int k = 0; k < 3; ++k) out[k] = penNormal[k];
      break;
    case seAlongX:
    case seAlongY:
    case seAlongZ:
      out[mode - seAlongX] = 1.f;
      break;
    case VertexNormal:
      for (int k = 0; k < 3; ++k) out[k] = v.Normal[k];
      break;
    case InitialVertexNormal:
      for (int k = 0; k < 3; ++k) out[k] = v.OldNormal[k];
      break;
    default:
      for (int k = 0; k < 3; ++k) out[k] = average[k];
  }
}

// The closest point of segment a-b to p.
void ClosestOnSegment(const float a[3], const float b[3], const float p[3], float out[3]) {
  const float d[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
  const float l2 = Dot(d, d);
  float t = 0;
  if (l2 > 1e-20f) {
    const float ap[3] = {p[0] - a[0], p[1] - a[1], p[2] - a[2]};
    t = std::clamp(Dot(ap, d) / l2, 0.f, 1.f);
  }
  for (int k = 0; k < 3; ++k) out[k] = a[k] + d[k] * t;
}

// One relaxing pass: each weighted vertex moves towards the mean of its
// neighbours by its weight times `amount`, at most `limit` voxels.
void Relax(SurfacePatch& patch, const std::vector<float>& weight, float amount, float limit, std::vector<char>& moved) {
  const auto& nb = patch.Neighbours();
  std::vector<float> target(patch.Vertices.size() * 3);
  for (size_t i = 0; i < patch.Vertices.size(); ++i) {
    if (weight[i] <= 0 || nb[i].empty()) continue;
    float mean[3] = {0, 0, 0};
    for (int j : nb[i])
      for (int k = 0; k < 3; ++k) mean[k] += patch.Vertices[j].Pos[k];
    float step[3];
    for (int k = 0; k < 3; ++k) step[k] = (mean[k] / (float)nb[i].size() - patch.Vertices[i].Pos[k]) * weight[i] * amount;
    const float l = std::sqrt(Dot(step, step));
    if (limit > 0 && l > limit)
      for (float& s : step) s *= limit / l;
    for (int k = 0; k < 3; ++k) target[i * 3 + k] = patch.Vertices[i].Pos[k] + step[k];
  }
  // Every vertex moved from the positions before the pass.
  for (size_t i = 0; i < patch.Vertices.size(); ++i) {
    if (weight[i] <= 0 || nb[i].empty()) continue;
    for (int k = 0; k < 3; ++k) patch.Vertices[i].Pos[k] = target[i * 3 + k];
    moved[i] = 1;
  }
}

}  // namespace

bool UsesSurfacePath(int tool, const VolumeObject& volume) {
  return tool == SCULP_MOVE || (tool >= SCULPT_DRAW && tool <= SCULPT_RAPID) ||
         (tool == SCULPT_SMOOTH && volume.SurfaceMode);
}

int ApplySurfaceTool(VolumeObject& volume, int tool, const StrokeSample& a, const StrokeSample& b,
                     const StrokeSample& first, const VoxelBrushSettings& s, bool inverted, const PenProfile& pen, SurfaceStrokeState& state) {
  const DabFrame frame(a, b, pen);
  const float R = b.Radius, depth = b.Depth, sign = inverted ? -1.f : 1.f;
  float motion[3];
  for (int k = 0; k < 3; ++k) motion[k] = b.P[k] - a.P[k];
  // Rapid relax reaches twice the pen; the plane reaches where it samples.
  float reach = tool == SCULPT_RAPID ? 2 * R : R;
  if (tool == SCULP_PLANE) reach = std::max(R, R * s.Sampling);
  // The move grabs what lies around the pen's last place.
  const float* centre = tool == SCULP_MOVE ? a.P : b.P;
  // One patch a thread, built again for each dab: its lists keep their room.
  thread_local SurfacePatch patch;
  if (!patch.Build(volume, centre, reach)) return 0;
  const size_t n = patch.Vertices.size();
  std::vector<float> w(n, 0.f);
  std::vector<char> moved(n, 0);
  for (size_t i = 0; i < n; ++i) w[i] = frame.Weight(patch.Vertices[i].Pos);

  // Moves vertex i by d (scaled by how free it is).
  auto push = [&](size_t i, const float d[3], float amount) {
    PatchVertex& v = patch.Vertices[i];
    const float f = amount * Free(v);
    if (f == 0) return;
    for (int k = 0; k < 3; ++k) v.Pos[k] += d[k] * f;
    moved[i] = 1;
  };
  // Pulls every weighted vertex to the plane (point, normal); softness 0 pulls
  // the whole disc at once, 1 as much as the pen's weight.
  auto toPlane = [&](const float point[3], const float normal[3], float softness, bool keepBelow) {
    for (size_t i = 0; i < n; ++i) {
      if (w[i] <= 0) continue;
      const PatchVertex& v = patch.Vertices[i];
      const float q[3] = {v.Pos[0] - point[0], v.Pos[1] - point[1], v.Pos[2] - point[2]};
      const float d = Dot(q, normal);
      if (keepBelow && d < 0) continue;
      const float f = softness > 1e-3f ? std::min(w[i] / softness, 1.f) : 1.f;
      const float step[3] = {-normal[0] * d, -normal[1] * d, -normal[2] * d};
      push(i, step, f);
    }
  };

  switch (tool) {
    case SCULPT_SMOOTH: {
      for (size_t i = 0; i < n; ++i) w[i] *= Free(patch.Vertices[i]);
      Relax(patch, w, 0.5f * s.SMOOTH_DEG * b.Pressure, 0.f, moved);
      break;
    }
    case SCULPT_RAPID: {
      // No pen profile: a plain falloff over twice the pen's radius.
      for (size_t i = 0; i < n; ++i) {
        const PatchVertex& v = patch.Vertices[i];
        const float d[3] = {v.Pos[0] - b.P[0], v.Pos[1] - b.P[1], v.Pos[2] - b.P[2]};
        w[i] = std::max(1.f - Dot(d, d) / (reach * reach), 0.f) * Free(v);
      }
      Relax(patch, w, 1.f, R * std::fabs(depth) * b.Pressure * 0.3f, moved);
      break;
    }
    case SCULP_MOVE: {
      // The grabbed surface follows the pen, fading to its rim.
      for (size_t i = 0; i < n; ++i) {
        const PatchVertex& v = patch.Vertices[i];
        const float d[3] = {v.Pos[0] - a.P[0], v.Pos[1] - a.P[1], v.Pos[2] - a.P[2]};
        const float f = std::max(1.f - Dot(d, d) / (R * R), 0.f);
        if (f > 0) push(i, motion, f * f);
      }
      break;
    }
    case SCULPT_DRAW:
    case SCULP_SFEXTRUDE0:
    case SCULP_SFEXTRUDE:
    case SCULP_SFEXTRUDEA: {
      if (tool == SCULP_SFEXTRUDE && std::fabs(depth) <= 0.1f) return 0;  // mode 3 needs depth
      float average[3] = {0, 0, 0};
      for (size_t i = 0; i < n; ++i)
        for (int k = 0; k < 3; ++k) average[k] += patch.Vertices[i].Normal[k] * w[i];
      Unit(average);
      if (Dot(average, average) < 0.5f)
        for (int k = 0; k < 3; ++k) average[k] = frame.N[k];
      const float step = 0.1f * R * depth * sign;
      for (size_t i = 0; i < n; ++i) {
        if (w[i] <= 0) continue;
        PatchVertex& v = patch.Vertices[i];
        float dir[3];
        DirectionOfVertex(tool == SCULPT_DRAW && s.ExtrudeDir == AverageNormal ? VertexNormal : s.ExtrudeDir, v,
                         average, frame.N, dir);
        float f = w[i];
        if (tool == SCULP_SFEXTRUDE) f = std::min(3.f * f, 1.f);  // mode 3: a flat top with a steep rim
        if (tool == SCULP_SFEXTRUDEA) {
          // Mode 2: up to a level of half the pen's depth from where the surface began.
          const float level = 0.5f * R * std::fabs(depth);
          const float q[3] = {v.Pos[0] - v.OldPos[0], v.Pos[1] - v.OldPos[1], v.Pos[2] - v.OldPos[2]};
          const float done = Dot(q, dir) * sign;
          const float left = std::max(level - done, 0.f);
          f = std::min(f * std::fabs(step), left) / std::max(std::fabs(step), 1e-6f);
        }
        const float d[3] = {dir[0] * step, dir[1] * step, dir[2] * step};
        push(i, d, f);
      }
      break;
    }
    case SCULPT_PINCH: {
      // Across the surface towards the pen's path (inverted: away from it).
      for (size_t i = 0; i < n; ++i) {
        if (w[i] <= 0) continue;
        const PatchVertex& v = patch.Vertices[i];
        float c[3];
        ClosestOnSegment(a.P, b.P, v.Pos, c);
        float d[3] = {c[0] - v.Pos[0], c[1] - v.Pos[1], c[2] - v.Pos[2]};
        const float h = Dot(d, frame.N);
        for (int k = 0; k < 3; ++k) d[k] -= h * frame.N[k];
        push(i, d, w[i] * s.PinchPower * 0.5f * sign * std::min(std::fabs(depth) * 2.f, 1.f));
      }
      break;
    }
    case SCULP_FOLLOW: {
      for (size_t i = 0; i < n; ++i)
        if (w[i] > 0) push(i, motion, w[i] * s.FollowDegree * std::fabs(depth));
      break;
    }
    case SCULP_PLANE: {
      const SurfaceStrokeState::Plane* plane = nullptr;
      for (const auto& p : state.Planes)
        if (p.First[0] == first.P[0] && p.First[1] == first.P[1] && p.First[2] == first.P[2]) plane = &p;
      if (!plane) {
        SurfaceStrokeState::Plane fit;
        for (int k = 0; k < 3; ++k) fit.First[k] = first.P[k];
        if (!FitPlane(patch, b.P, reach, fit.Point, fit.Normal)) return 0;
        state.Planes.push_back(fit);
        plane = &state.Planes.back();
      }
      toPlane(plane->Point, plane->Normal, s.PlaneSoftness41, s.DontLiftEdges);
      break;
    }
    case SCULP_PLANE2: {
      // The plane follows the pen over the surface as it was before editing
      // began, sunk into it (raised when inverted): repeated passes scrape
      // down to that plane instead of digging deeper each dab.
      float point[3], normal[3];
      if (!FitPlane(patch, b.P, R, point, normal, true)) return 0;
      const float offset = (inverted ? 0.1f : -0.2f) * R * std::fabs(depth);
      for (int k = 0; k < 3; ++k) point[k] += normal[k] * offset;
      toPlane(point, normal, s.PlaneSoftness, s.DontLiftEdges);
      break;
    }
    case SCULP_SCLAY:
    case SCULP_SFILL: {
      float point[3], normal[3];
      if (!FitPlane(patch, b.P, R, point, normal)) return 0;
      // Clay lays a layer above the plane; fill stops at the plane itself.
      const float lift = tool == SCULP_SCLAY ? 0.1f * R * std::fabs(depth) : 0.f;
      for (size_t i = 0; i < n; ++i) {
        if (w[i] <= 0) continue;
        const PatchVertex& v = patch.Vertices[i];
        const float q[3] = {v.Pos[0] - point[0], v.Pos[1] - point[1], v.Pos[2] - point[2]};
        const float gap = (lift - Dot(q, normal) * sign);  // how far below the target
        if (gap <= 0) continue;
        const float d[3] = {normal[0] * gap * sign, normal[1] * gap * sign, normal[2] * gap * sign};
        push(i, d, w[i] * 0.5f);
      }
      break;
    }
    case SCULP_SFREEZE: {
      for (size_t i = 0; i < n; ++i) {
        PatchVertex& v = patch.Vertices[i];
        const float value = 65535.f * std::min(w[i], 1.f);
        int f = v.Freeze;
        if (!inverted)
          f = s.AsAirbrush ? f + (int)value : std::max(f, (int)value);
        else
          f = s.AsAirbrush ? f - (int)value : std::min(f, (int)(65535.f - value));
        v.Freeze = (uint16_t)std::clamp(f, 0, 65535);
      }
      break;
    }
    default:
      return 0;
  }
  patch.RecomputeNormals(moved);
  return patch.WriteBack(volume);
}

void EndSurfaceStroke(VolumeObject& volume, int tool) {
  if (!UsesSurfacePath(tool, volume) || volume.SurfaceMode || !volume.SurfaceChanged) return;
  volume.ApplyMC(false, true);
}
