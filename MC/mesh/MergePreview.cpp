// The merge tool's preview lines (see MergePreview.h).
#include "MC/mesh/MergePreview.h"

#include <algorithm>
#include <vector>

#include "MC/mesh/MeshMerge.h"
#include "interchange/Mesh.h"
#include "render/Render.h"
#include "render/Viewer.h"

int DrawMergePreview(comms::cRender& render, const comms::cViewer& camera, const MeshMerge& merge, uint32_t colour,
                     int maxEdges) {
  const comms::cMesh* mesh = merge.Mesh();
  if (!mesh || maxEdges <= 0) return 0;
  float m[16];
  merge.Placement(m);
  std::vector<comms::cVec3> view(mesh->positions.size());
  for (size_t i = 0; i < view.size(); ++i) {
    const auto& p = mesh->positions[i];
    view[i] = camera.ProjectToView(comms::cVec3(p.x * m[0] + p.y * m[4] + p.z * m[8] + m[12],
                                                p.x * m[1] + p.y * m[5] + p.z * m[9] + m[13],
                                                p.x * m[2] + p.y * m[6] + p.z * m[10] + m[14]));
  }
  size_t edges = 0;
  mesh->ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell*) { edges += (size_t)h.a; });
  // Every step-th edge when there are more than the limit.
  const size_t step = std::max<size_t>(1, (edges + (size_t)maxEdges - 1) / (size_t)maxEdges);
  size_t seen = 0;
  int drawn = 0;
  mesh->ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell* c) {
    for (int k = 0; k < h.a; ++k, ++seen) {
      if (seen % step || drawn >= maxEdges) continue;
      const int a = c[k].a, b = c[(k + 1) % h.a].a;
      if (a < 0 || b < 0 || (size_t)a >= view.size() || (size_t)b >= view.size()) continue;
      render.DrawLine(view[a].x, view[a].y, view[b].x, view[b].y, 0.f, colour, colour);
      ++drawn;
    }
  });
  render.Flush2D();
  return drawn;
}
