// Where the pen last stood on the paint surface: the place, view direction
// and pen-frame up of the pen's own dab and of each of its eight mirror
// copies, the face under each, with the places of the two steps before. The
// dabs keep it up to date; every stroke record of the undo stack carries it
// (580 bytes, field by field), so an undone step brings back where the pen
// stood.
#pragma once
#include <cstdint>

#include "render/Math3D.h"

struct PickState {
  // The pen's own dab is copy 0; a mirrored copy is x + 2y + 4z of its axes.
  static constexpr int kCopies = 8;
  // Its size in a record.
  static constexpr int kRecordBytes = 580;

  float PickValue = 0;  // the pressure of the pen's own last dab
  comms::cVec3 Pick0, Pick1, Pick2;  // the last place, then those of the two steps before
  comms::cVec3 PickDirection;        // where the view looked along at Pick0
  comms::cVec3 PickMirrors0[kCopies], PickMirrors1[kCopies], PickMirrors2[kCopies];
  comms::cVec3 DirectionMirrors[kCopies];
  uint32_t PickMode = 0;  // the stroke mode of the last dab
  int32_t PickExtra[kCopies] = {-1, -1, -1, -1, -1, -1, -1, -1};  // the face under each copy
  comms::cVec3 PickUp;  // the pen frame's up at Pick0
  comms::cVec3 UpMirrors[kCopies];

  // A dab of copy `mirror` landed at `pos` on `face`.
  void Note(int mirror, const comms::cVec3& pos, const comms::cVec3& direction, const comms::cVec3& up, int face,
            float pressure, uint32_t mode);
  // A new step is recorded: each history moves one step back.
  void Roll();
  bool operator==(const PickState& o) const;
};
