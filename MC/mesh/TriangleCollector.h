// The road from triangles to voxels, first half: triangles are rasterised
// along the three axes onto the lattice lines they cover (fixed point, so a
// closed mesh leaves no line uncovered and none covered twice), giving
// crossings per ray; BuildSpans sorts each ray and keeps the outer shell.
// MergeIntoVolume (MergeIntoVolume.h) turns the spans into lattice values.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace comms {
class cMesh;
}

// One place where a ray meets the surface.
struct Crossing {
  float Depth;    // lattice units along the ray
  uint16_t Kind;  // 0 leaves, 1 enters, 2/3 the same from a hard cap, 255 undecided
};

// Key of a ray: the two lattice coordinates across it, packed.
inline uint64_t RayKey(int a, int b) { return ((uint64_t)(uint32_t)a << 32) | (uint32_t)b; }
inline int RayKeyA(uint64_t k) { return (int)(uint32_t)(k >> 32); }
inline int RayKeyB(uint64_t k) { return (int)(uint32_t)k; }

// A crossing as the rasteriser stores it, under its ray.
struct RayCrossing {
  uint64_t Key;
  Crossing Hit;
};

// The sorted rays of one axis, in three flat arrays: ray i has key Keys[i]
// (ascending) and crossings Data[Start[i]] .. Data[Start[i + 1] - 1].
struct SpanList {
  std::vector<uint64_t> Keys;
  std::vector<uint32_t> Start{0};
  std::vector<Crossing> Data;

  size_t RayCount() const { return Keys.size(); }
  bool Empty() const { return Keys.empty(); }
  const Crossing* Ray(size_t i, size_t& count) const {
    count = Start[i + 1] - Start[i];
    return Data.data() + Start[i];
  }
  // The crossings of the ray with `key`; null (count 0) when it has none.
  const Crossing* Find(uint64_t key, size_t& count) const;
  void Clear();
};

// Receives each lattice line a triangle covers, with the depth there.
class VolRastr {
 public:
  virtual ~VolRastr() = default;
  bool FixedKind = false;  // every crossing gets Kind, whatever the triangle's facing
  int Kind = 0;            // the kind when FixedKind; 256 stores 3, other tags >= 255 store 2
  bool Flip = false;       // swaps entering and leaving
  virtual void Put(int a, int b, float depth, int reserved0, int reserved1) = 0;
};

class TriangleCollector {
 public:
  TriangleCollector();
  // Crossings per axis as rasterised, in no order. Axis 0: key (x, y),
  // depth z; axis 1: (x, z), depth y; axis 2: (z, y), depth x.
  std::vector<RayCrossing> Rays[3];
  // Rays after BuildSpans: sorted, even, entering first, inner shells removed.
  SpanList Spans[3];

  // Settings of the next triangles (see VolRastr).
  void SetKind(bool fixedKind, int kind, bool flip);
  // One triangle, in the lattice space of the target, wound counter-clockwise
  // seen from outside.
  void AddTriangle(const float p0[3], const float p1[3], const float p2[3]);
  // Sorts the rays of one axis into Spans (emptying Rays of that axis); the
  // three axes may run at once.
  void BuildSpans(int axis);
  void BuildAllSpans();
  bool Empty() const;
  int64_t CrossingCount(int axis) const;

 private:
  // Rasterises one triangle over the projection of `axis`.
  void Rasterise(int axis, const double p0[3], const double p1[3], const double p2[3]);
  class AxisRastr;
  VolRastr* current_ = nullptr;  // receiver of the triangle being rasterised
  bool fixedKind_ = false;
  int kind_ = 0;
  bool flip_ = false;
};

// Adds the polygons of a mesh (each polygon as a fan), positions transformed by
// `matrix` (row vectors, 16 floats; null for none). part -1 takes every object,
// otherwise only polygons of that object. A mirroring matrix (negative
// determinant) reverses the winding, so the solid stays a solid.
void AddMeshPart(TriangleCollector& collector, const comms::cMesh& mesh, int part, const float* matrix = nullptr);
