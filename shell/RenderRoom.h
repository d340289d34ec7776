// The render room in the window: the render tool sees the layer tree's
// visible volumes through the view's camera, and while it is the current
// tool with IncrementalRender on, its refining picture takes the place of the
// 3D view, with the "rays" line over it. The frames are drawn on the
// graphics card through the view's renderer. A still or a sequence shows its
// picture growing frame by frame with its line, and Esc stops it (the
// picture reached is saved).
#pragma once
#include <string>

class ViewportSeams;
class RenderTool;
class VolumeRender;
namespace comms {
class cRender;
class cFreeViewer;
struct cRect;
}  // namespace comms

// After the other rooms: links the render tool to the viewport and wraps the
// viewport's room drawing so the picture shows in the render room.
void StartRenderRoom(ViewportSeams& viewport);
// Before the view goes: the tool lets go of the view, its renderer and the
// pictures it holds on it.
void StopRenderRoom();

// The picture's texture on the device, made again when the picture grew.
struct ShownPicture {
  int texture = -1, shader = -1, rays = -1;
  const VolumeRender* picture = nullptr;
};
// Draws `picture` over the view, as large as fits with its own proportions
// (a custom size may differ from the view's) and centred, and `line` over
// its top left, or over the top left of `free` (the part panels leave
// uncovered) when given.
bool DrawRenderPicture(comms::cRender& render, comms::cFreeViewer& camera, const VolumeRender& picture,
                       const std::string& line, ShownPicture& shown, const comms::cRect* free = nullptr);
// The tool's picture: the still or sequence frame being rendered with its
// line, else the refining one with "Press ESC to stop. Rays: %d". False when
// the tool has no picture yet.
bool DrawRenderPicture(comms::cRender& render, comms::cFreeViewer& camera, RenderTool& tool, ShownPicture& shown,
                       const comms::cRect* free = nullptr);
