// The render room's links to the window (see RenderRoom.h).
#include "shell/RenderRoom.h"

#include "MC/render/RenderTool.h"
#include "MC/render/VolumeRender.h"
#include "MC/tree/VoxVisualTree.h"
#include "interchange/Image.h"
#include "render/Render.h"
#include "shell/Viewport.h"
#include "shell/tools/ToolTable.h"

using namespace comms;

namespace {
// The picture's texture on the device, made again when the picture grew.
struct ShownPicture {
  int texture = -1, shader = -1, rays = -1;
};
}  // namespace

void StartRenderRoom(ViewportSeams& viewport) {
  auto* tool = dynamic_cast<RenderTool*>(Tools().FindTool("RenderTool"));
  if (!tool) return;
  const float* pivot = &viewport.Camera().m_Center.x;
  tool->SetScene([&viewport] { return viewport.Tree() ? viewport.Tree()->VisibleVolumes() : std::vector<VolumeObject*>(); },
                 &viewport.Camera(), pivot);
  auto shown = std::make_shared<ShownPicture>();
  auto previous = viewport.DrawRoomScene;
  viewport.DrawRoomScene = [tool, shown, previous](cRender& render, cFreeViewer& camera) {
    if (Tools().CurrentTool() == tool && tool->IncrementalRender && tool->Incremental()) {
      const VolumeRender& picture = *tool->Incremental();
      if (picture.Rays() != shown->rays) {
        cImage image;
        picture.Picture(image, false);
        render.FreeTexture(shown->texture);
        shown->texture = render.CreateTexture(image, render.GetSamplerState(kFilterLinear, 1, 1, 1));
        shown->rays = picture.Rays();
      }
      if (shown->shader < 0) shown->shader = render.GetShaderID("hud_smooth", kVfPosColorTex2, "#define SCREEN_SPACE");
      if (shown->texture >= 0 && shown->shader >= 0) {
        render.SetCamera(&camera);
        render.Set2DTexture(shown->texture, shown->shader);
        // Texture v = 0 is the picture's bottom row.
        render.DrawTexture(cRect(0, 0, camera.ViewWidth(), camera.ViewHeight()), cRect(0, 1, 1, 0), 1.0f, 0xffffffffu);
        render.Flush2D();
        return true;
      }
    }
    return previous && previous(render, camera);
  };
}
