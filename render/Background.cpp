// Drawing the view's background.
#include "render/Background.h"

#include <algorithm>

#include "render/Viewer.h"

namespace comms {

void cBackground::Draw(cRender& render, cViewer& camera) {
  render.SetCamera(&camera);
  const cRect view(0, 0, camera.ViewWidth(), camera.ViewHeight());
  if (UseBackgrImage == Picture && !BackgrImage.empty()) {
    if (pictureName_ != BackgrImage) {
      render.FreeTexture(picture_);
      pictureName_ = BackgrImage;
      picture_ = render.LoadTexture(BackgrImage, render.GetSamplerState(kFilterLinear, 1, 1, 1));
    }
    if (pictureShader_ < 0) pictureShader_ = render.GetShaderID("hud_smooth", kVfPosColorTex2, "#define SCREEN_SPACE");
    if (picture_ >= 0) {
      render.Set2DTexture(picture_, pictureShader_);
      // Texture v = 0 is the picture's bottom row.
      render.DrawTexture(view, cRect(0, 1, 1, 0), 1.0f, 0xffffffffu);
      render.Flush2D();
      return;
    }
  }
  if (UseBackgrImage == SkyBox && !SkyBoxImage.empty()) {
    if (skyName_ != SkyBoxImage) {
      render.FreeTexture(sky_);
      skyName_ = SkyBoxImage;
      sky_ = render.LoadTexture(SkyBoxImage, render.GetSamplerState(kFilterLinear, 1, 1, 1));
    }
    if (sky_ >= 0 && render.GetTexture(sky_)->Cube) {
      if (!cubeReady_) {
        cube_.Create(render, 8, 36, kVfPos);
        float* v = reinterpret_cast<float*>(cube_.GetVertices());
        for (int i = 0; i < 8; i++) {
          v[i * 3 + 0] = (i & 1) ? 1.0f : -1.0f;
          v[i * 3 + 1] = (i & 2) ? 1.0f : -1.0f;
          v[i * 3 + 2] = (i & 4) ? 1.0f : -1.0f;
        }
        const uint16_t faces[36] = {0, 2, 1, 1, 2, 3, 4, 5, 6, 5, 7, 6, 0, 1, 4, 1, 5, 4,
                                    2, 6, 3, 3, 6, 7, 0, 4, 2, 2, 4, 6, 1, 3, 5, 3, 7, 5};
        std::copy(faces, faces + 36, cube_.GetIndices16());
        cube_.SetVertexCount(8);
        cube_.SetIndexCount(36);
        cube_.SetShader(render.GetShaderID("SkyBox", kVfPos, ""));
        cubeReady_ = true;
      }
      cube_.SetTexture(sky_, 0);
      render.SetDepthState(-1);
      render.SetCullMode(kCullNone);
      cube_.Draw();
      return;
    }
  }
  const uint32_t c[4] = {TopBackgroundColor1, TopBackgroundColor1, BottomBackgroundColor1, BottomBackgroundColor1};
  render.FillRect(view, 0.0f, c);
  render.Flush2D();
}

}  // namespace comms
