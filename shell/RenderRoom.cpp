// The render room's links to the window (see RenderRoom.h).
#include "shell/RenderRoom.h"

#include <algorithm>
#include <memory>

#include "ClassEngine/UserPaths.h"
#include "MC/render/RenderFrames.h"
#include "MC/render/RenderTool.h"
#include "MC/render/VolumeRender.h"
#include "MC/tree/VoxVisualTree.h"
#include "interchange/Image.h"
#include "interface/UiContext.h"
#include "platform/Keys.h"
#include "render/Render.h"
#include "shell/Shell.h"
#include "shell/Viewport.h"
#include "shell/tools/ToolTable.h"

using namespace comms;

bool DrawRenderPicture(cRender& render, cFreeViewer& camera, RenderTool& tool, ShownPicture& shown, const cRect* free) {
  if (const VolumeRender* running = tool.Running())
    return DrawRenderPicture(render, camera, *running, tool.RunningLine(), shown, free);
  if (!tool.Incremental()) return false;
  return DrawRenderPicture(render, camera, *tool.Incremental(), RaysLine(tool.Incremental()->Rays()), shown, free);
}

bool DrawRenderPicture(cRender& render, cFreeViewer& camera, const VolumeRender& picture, const std::string& line,
                       ShownPicture& shown, const cRect* free) {
  if (picture.Rays() != shown.rays || &picture != shown.picture) {
    cImage image;
    picture.Picture(image, false);
    render.FreeTexture(shown.texture);
    shown.texture = render.CreateTexture(image, render.GetSamplerState(kFilterLinear, 1, 1, 1));
    shown.rays = picture.Rays();
    shown.picture = &picture;
  }
  if (shown.shader < 0) shown.shader = render.GetShaderID("hud_smooth", kVfPosColorTex2, "#define SCREEN_SPACE");
  if (shown.texture < 0 || shown.shader < 0) return false;
  // As large as fits, with the picture's proportions, centred in the view.
  const float vw = camera.ViewWidth(), vh = camera.ViewHeight();
  const float k = std::min(vw / float(picture.Width()), vh / float(picture.Height()));
  const float w = picture.Width() * k, h = picture.Height() * k, x = (vw - w) / 2, y = (vh - h) / 2;
  render.SetCamera(&camera);
  render.Set2DTexture(shown.texture, shown.shader);
  // Texture v = 0 is the picture's bottom row.
  render.DrawTexture(cRect(x, y, x + w, y + h), cRect(0, 1, 1, 0), 1.0f, 0xffffffffu);
  render.Flush2D();
  UiContext& ui = Ui();
  cRender* before = ui.Render;
  ui.Render = &render;
  ui.ResetClip();
  const float tx = free ? std::max(x, free->left) : x, ty = free ? std::max(y, free->top) : y;
  ui.DrawText(tx + ui.Px(8), ty + ui.Px(6), line.c_str(), 0xffffffffu);
  render.Flush2D();
  ui.Render = before;
  return true;
}

void StartRenderRoom(ViewportSeams& viewport) {
  auto* tool = dynamic_cast<RenderTool*>(Tools().FindTool("RenderTool"));
  if (!tool) return;
  const float* pivot = &viewport.Camera().m_Center.x;
  tool->SetScene([&viewport] { return viewport.Tree() ? viewport.Tree()->VisibleVolumes() : std::vector<VolumeObject*>(); },
                 &viewport.Camera(), pivot);
  // Finished pictures go to the user's folder, wherever the program was started.
  std::string folder = UserFilePath("RenderedImages/");
  if (!folder.empty() && folder.back() == '/') folder.pop_back();
  tool->Folder = folder;
  // The frames are summed on the graphics card once the view has its renderer.
  tool->Device = [&viewport] { return viewport.Renderer(); };
  auto shown = std::make_shared<ShownPicture>();
  // A still or a sequence runs inside its command, frames held: after each
  // of its frames the window shows the picture so far and its line, answers
  // one message, and Esc stops it.
  tool->ShowProgress = [shown, &viewport](const VolumeRender& picture, const std::string& line) {
    if (cRender* render = viewport.Renderer()) {
      viewport.BeginScene();
      viewport.DrawBackground();
      cRect free;
      const bool hasFree = viewport.FreeArea && viewport.FreeArea(free);
      DrawRenderPicture(*render, viewport.Camera(), picture, line, *shown, hasFree ? &free : nullptr);
      viewport.EndScene();
    }
    Shell* shell = TheShell();
    if (!shell) return false;
    shell->PumpOneMessage();
    viewport.BeginScene();
    return shell->EscRequested();
  };
  auto previous = viewport.DrawRoomScene;
  viewport.DrawRoomScene = [tool, shown, previous, &viewport](cRender& render, cFreeViewer& camera) {
    cRect free;
    const bool hasFree = viewport.FreeArea && viewport.FreeArea(free);
    if (Tools().CurrentTool() == tool && tool->IncrementalRender &&
        DrawRenderPicture(render, camera, *tool, *shown, hasFree ? &free : nullptr))
      return true;
    return previous && previous(render, camera);
  };
}

void StopRenderRoom() {
  auto* tool = dynamic_cast<RenderTool*>(Tools().FindTool("RenderTool"));
  if (!tool) return;
  tool->SetScene(nullptr, nullptr, nullptr);
  tool->Device = nullptr;
  tool->ShowProgress = nullptr;
}
