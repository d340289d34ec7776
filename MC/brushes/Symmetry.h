// The copies of a brush operation in the volume's own space: the identity,
// each enabled mirror across the planes through the origin, and with axial
// symmetry the same set turned about an axis. Brushes transform their points,
// directions and normals into each copy and repeat the field operation, so
// a mirrored stroke leaves mirrored cells.
#pragma once
#include <functional>
#include <vector>

struct SymmetryCopy {
  // 3 x 3, row-major, a point multiplies from the left (p * M).
  float M[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  // -1 when the copy is mirrored (an odd number of reflections): a pen
  // profile that is not round is read mirrored.
  float Handed = 1.f;
  bool Identity() const;
  void Point(const float in[3], float out[3]) const;
};

// The mirror matrix of index m (bit 0 x, bit 1 y, bit 2 z negated).
SymmetryCopy MirrorCopy(int m);
// The identity first, then every non-zero combination of the enabled mirror
// bits (`mirrorBits`, as GeneralPen::Symmetry), each also turned by
// 360 / axialCount degrees more about `axialAxis` (0 x, 1 y, 2 z) when
// axialCount is above 1. Quarter and half turns are exact.
std::vector<SymmetryCopy> SymmetryCopies(int mirrorBits, int axialCount = 1, int axialAxis = 1);
// Runs `callback` for each copy of SymmetryCopies, identity first; the second
// argument is false for the identity and true for every further copy, so an
// operation can skip what must run once.
void ForEachSymmetry(const std::function<void(const SymmetryCopy&, bool isCopy)>& callback, int mirrorBits,
                     int axialCount = 1, int axialAxis = 1);
