// The background of the 3D view: a vertical gradient, a picture stretched over
// the view, or a sky box round the eye.
#pragma once
#include <cstdint>
#include <string>

#include "render/Mesh.h"

namespace comms {

class cViewer;

class cBackground {
 public:
  enum { Gradient = 0, Picture = 1, SkyBox = 2 };
  int UseBackgrImage = Gradient;
  uint32_t TopBackgroundColor1 = 0xff4a5260u;
  uint32_t BottomBackgroundColor1 = 0xff17191du;
  std::string BackgrImage;  // a picture file
  std::string SkyBoxImage;  // a cube image (DDS)

  // Draws into the camera's view; falls back to the gradient when the picture
  // or sky box cannot be loaded.
  void Draw(cRender& render, cViewer& camera);

 private:
  int picture_ = -1, sky_ = -1, pictureShader_ = -1;
  std::string pictureName_, skyName_;
  StaticMesh cube_;
  bool cubeReady_ = false;
};

}  // namespace comms
