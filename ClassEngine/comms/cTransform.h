// cTransform: a position, a rotation (quaternion x, y, z, w) and a scale, as
// comms objects store their placement; Matrix() gives the row-major matrix
// that applies scale, then rotation, then translation to a row vector.
#pragma once
#include "ClassEngine/comms/cClass.h"

namespace comms {

class cTransform : public cClass {
 public:
  float Position[3] = {0, 0, 0};
  float Rotation[4] = {0, 0, 0, 1};
  float Scale[3] = {1, 1, 1};
  MV_CLASS(cTransform, cClass) {
    Member("_cFloat3", Position, "Position");
    Member("_cFloat4", Rotation, "Rotation");
    Member("_cFloat3", Scale, "Scale");
  }
  // Row-major 4 x 4: a point p goes to p * M.
  void Matrix(float m[16]) const;
  void Reset(void* ptr) override;
};

}  // namespace comms
