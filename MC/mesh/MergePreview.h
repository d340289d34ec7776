// The merge tool's preview: the held mesh drawn as lines where the placement
// puts it, over the volume, so the artist sees what Enter or a click merges.
#pragma once
#include <cstdint>

namespace comms {
class cRender;
class cViewer;
}  // namespace comms
class MeshMerge;

// Draws each polygon edge of the placed mesh once; at most `maxEdges` edges
// (a big mesh shows an even sample of them). Returns the edges drawn.
int DrawMergePreview(comms::cRender& render, const comms::cViewer& camera, const MeshMerge& merge,
                     uint32_t colour = 0xff40c0ffu, int maxEdges = 60000);
