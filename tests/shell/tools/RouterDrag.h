// A drag with the left button through the tool router, one frame a point, as
// the window would deliver it: press at the first point, a frame after each
// further move, release and a last frame.
#pragma once
#include <utility>
#include <vector>

#include "platform/Keys.h"
#include "shell/tools/ToolRouter.h"
#include "shell/tools/ToolTable.h"

inline void DragThrough(ToolRouter& router, ToolTable& table, const std::vector<std::pair<float, float>>& path) {
  router.OnPointerMove(path[0].first, path[0].second);
  router.OnKeyChange(keys::LeftButton, true, false);
  table.RunFrame();
  for (size_t i = 1; i < path.size(); ++i) {
    router.OnPointerMove(path[i].first, path[i].second);
    table.RunFrame();
  }
  router.OnKeyChange(keys::LeftButton, false, false);
  table.RunFrame();
}
