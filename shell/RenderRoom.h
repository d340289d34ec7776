// The render room in the window: the render tool sees the layer tree's
// visible volumes through the view's camera, and while it is the current
// tool with IncrementalRender on, its refining picture takes the place of the
// 3D view.
#pragma once

class ViewportSeams;

// After the other rooms: links the render tool to the viewport and wraps the
// viewport's room drawing so the picture shows in the render room.
void StartRenderRoom(ViewportSeams& viewport);
