// The camera of the drawn-shape tests: it looks down -z at the origin from
// 100 units, 640 x 480 pixels, so a sphere at the origin fills the middle.
#pragma once
#include "render/Viewer.h"

inline comms::cFreeViewer FrontCamera() {
  comms::cFreeViewer cam;
  cam.ViewRect = comms::cRect{0, 0, 640, 480};
  cam.SetHome(comms::cVec3(0, 0, 0), 100.f, comms::cQuat());
  return cam;
}
