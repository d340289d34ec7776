// cSpline: a curve through its nodes (Catmull-Rom), open or closed, with a
// tension per node. Evaluate(t) runs t from 0 at the first node to 1 at the
// last (or back at the first for a closed curve).
#pragma once
#include "ClassEngine/comms/cClass.h"
#include "ClassEngine/comms/cContainers.h"

namespace comms {

class cSpline_Node : public cClass {
 public:
  float Position[3] = {0, 0, 0};
  float Tension = 0.5f;  // 0.5 is the plain Catmull-Rom curve
  MV_CLASS(cSpline_Node, cClass) {
    Member("_cFloat3", Position, "Position");
    Member("_cSliderF", Tension, "Tension", NewFloatSliderRange(0, 1));
  }
  void Reset(void* ptr) override;
};

class cSpline : public cClass {
 public:
  bool Closed = false;
  cClassList<cSpline_Node> Nodes;
  MV_CLASS(cSpline, cClass) {
    Member("_cBool", Closed, "Closed");
    Member(Nodes, "Nodes");
  }
  cSpline_Node* AddNode(float x, float y, float z);
  // The point at t in [0, 1]; false with fewer than two nodes.
  bool Evaluate(float t, float out[3]);
};

}  // namespace comms
