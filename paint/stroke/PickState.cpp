// The pen's last picks (see PickState.h).
#include "paint/stroke/PickState.h"

#include <cstring>

using comms::cVec3;

namespace {
bool Same(const cVec3& a, const cVec3& b) { return std::memcmp(&a, &b, sizeof(cVec3)) == 0; }
bool Same(const cVec3* a, const cVec3* b, int n) {
  for (int i = 0; i < n; ++i)
    if (!Same(a[i], b[i])) return false;
  return true;
}
}  // namespace

void PickState::Note(int mirror, const cVec3& pos, const cVec3& direction, const cVec3& up, int face, float pressure,
                     uint32_t mode) {
  const int m = mirror & (kCopies - 1);
  PickMirrors0[m] = pos, DirectionMirrors[m] = direction, UpMirrors[m] = up;
  PickExtra[m] = face;
  PickMode = mode;
  if (m == 0) Pick0 = pos, PickDirection = direction, PickUp = up, PickValue = pressure;
}

void PickState::Roll() {
  Pick2 = Pick1, Pick1 = Pick0;
  for (int m = 0; m < kCopies; ++m) PickMirrors2[m] = PickMirrors1[m], PickMirrors1[m] = PickMirrors0[m];
}

bool PickState::operator==(const PickState& o) const {
  // Bit for bit: a record must bring back exactly what it holds.
  return std::memcmp(&PickValue, &o.PickValue, 4) == 0 && Same(Pick0, o.Pick0) && Same(Pick1, o.Pick1) &&
         Same(Pick2, o.Pick2) && Same(PickDirection, o.PickDirection) &&
         Same(PickMirrors0, o.PickMirrors0, kCopies) && Same(PickMirrors1, o.PickMirrors1, kCopies) &&
         Same(PickMirrors2, o.PickMirrors2, kCopies) && Same(DirectionMirrors, o.DirectionMirrors, kCopies) &&
         PickMode == o.PickMode && std::memcmp(PickExtra, o.PickExtra, sizeof PickExtra) == 0 &&
         Same(PickUp, o.PickUp) && Same(UpMirrors, o.UpMirrors, kCopies);
}
