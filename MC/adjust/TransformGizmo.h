// The gizmo of the transform and transpose tools: three arrows that move
// along the axes, three rings that turn about them and a box at the centre
// that scales, drawn over the view and dragged with the mouse. The gizmo
// only turns pixels into a scene-space matrix (row vectors, p * M); what the
// matrix moves is the tool's business, so the whole of it runs without a
// window.
#pragma once
#include "render/Math3D.h"

namespace comms {
class cRender;
class cViewer;
}

class TransformGizmo {
 public:
  enum Part { kNone = -1, kMoveX = 0, kMoveY, kMoveZ, kTurnX, kTurnY, kTurnZ, kScale };

  comms::cVec3 Centre;
  // Length of the arrows and radius of the rings on the screen.
  float SizePixels = 90.f;
  // How near (pixels) the pointer must come to a handle to take it.
  float GrabPixels = 7.f;

  // The handle under view pixel (x, y), or kNone.
  int HitTest(const comms::cViewer& camera, float x, float y) const;
  // Takes the handle under (x, y); false (and no drag) when there is none.
  bool Begin(const comms::cViewer& camera, float x, float y);
  // The scene-space matrix from the start of the drag to pixel (x, y): a
  // move along the arrow that keeps the grabbed point of it under the pointer, a
  // turn by the angle the pointer swept around the centre, a scale by the
  // ratio of the pointer's distances from the centre.
  comms::cMat4 DragTo(const comms::cViewer& camera, float x, float y) const;
  void End() { part_ = kNone; }
  bool Dragging() const { return part_ != kNone; }
  int DraggedPart() const { return part_; }
  // Arrows, rings and the centre box; `hover` is drawn brighter.
  void Draw(comms::cRender& render, const comms::cViewer& camera, int hover) const;

  // The world length of SizePixels at the centre.
  float WorldSize(const comms::cViewer& camera) const;

 private:
  comms::cVec3 Axis(int a) const { return comms::cVec3(a == 0, a == 1, a == 2); }
  // The parameter along the line Centre + axis t nearest to the ray of
  // pixel (x, y); false when the ray runs along the line.
  bool AxisParam(const comms::cViewer& camera, const comms::cVec3& axis, float x, float y, float& t) const;
  // Distance in pixels from (x, y) to the drawn ring about axis `a`.
  float RingDistance(const comms::cViewer& camera, int a, float x, float y) const;
  int part_ = kNone;
  float startX_ = 0, startY_ = 0;
};
