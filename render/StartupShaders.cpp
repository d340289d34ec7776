// The table of start-up shader requests.
#include "render/StartupShaders.h"

#include "ClassEngine/Log.h"
#include "render/IRS.h"

namespace comms {

std::vector<ShaderRequest> StartupShaderList() {
  std::vector<ShaderRequest> list;
  const std::string screen = "#define SCREEN_SPACE", world = "#define WORLD_SPACE";
  for (const char* n : {"hud2t", "hud_smooth", "text2", "tex_preview", "tex_preview_nrm", "tex_preview_alpha",
                        "tex_preview_all", "inrect", "preview_rect", "preview_fill", "mcubes_nrm"})
    list.push_back({n, 2, screen});
  list.push_back({"LinesPointsUI", 0, ""});
  list.push_back({"Colored", 0, ""});
  list.push_back({"RenderSystem", 2, screen});
  list.push_back({"RenderSystem", 2, world});
  for (const char* v : {"VIEW_ALL", "VIEW_ENV", "VIEW_RELIEF", "VIEW_SPECULAR"}) {
    std::string d = std::string("#define ") + v;
    list.push_back({"obj_sel", 5, d});
    list.push_back({"obj_sel", 5, d + "\n#define VERT_NORMAL"});
  }
  list.push_back({"obj_sel", 5, "#define VIEW_COLOR"});
  // Per-pixel targets bend the normal by their tangent-space map.
  for (const char* v : {"VIEW_ALL", "VIEW_RELIEF"})
    list.push_back({"obj_sel", 5, std::string("#define ") + v + "\n#define TANGENT_NORMALS"});
  list.push_back({"rt_copy", 8, ""});
  // The paint mesh drawn from its micro-vertex grids.
  for (const char* v : {"", "#define VIEW_COLOR", "#define VIEW_RELIEF"}) list.push_back({"obj_grid", 4, v});
  for (const char* n : {"obj_render_color", "obj_render_normals", "obj_render_mrt"}) list.push_back({n, 12, ""});
  for (const char* n : {"obj_preview_pen2", "draw_pic_over_curve"}) {
    list.push_back({n, 2, world});
    list.push_back({n, 2, screen});
  }
  list.push_back({"uv", 13, world});
  list.push_back({"wires", 0, world});
  list.push_back({"wires", 14, world});
  list.push_back({"sphere", 5, ""});
  list.push_back({"mpreview", 5, ""});
  list.push_back({"obj_preview_pen", 2, screen});
  list.push_back({"mcubes", 3, ""});
  list.push_back({"mcubes_rt", 3, ""});
  list.push_back({"Font", 1, ""});
  return list;
}

int RequestStartupShaders(cIRS& irs) {
  int failed = 0, asked = 0;
  for (const ShaderRequest& r : StartupShaderList()) {
    if (!irs.Render() || r.VertexFormat >= irs.Render()->GetVertexFormatCount()) continue;
    ++asked;
    if (irs.GetShaderID(r.Name, r.VertexFormat, r.Defines) < 0) {
      Log("Start-up shader \"%s\" (%d, \"%s\") failed", r.Name.c_str(), r.VertexFormat, r.Defines.c_str());
      ++failed;
    }
  }
  Log("Start-up shaders: %d of %d compiled", asked - failed, asked);
  return failed;
}

}  // namespace comms
