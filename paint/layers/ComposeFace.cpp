// Composition of a micro-vertex face: its layer entries are blended sample
// by sample into the grid (position, colour, coverage).
#include "paint/layers/ComposeFace.h"

#include <algorithm>
#include <vector>

#include "paint/layers/BlendOps.h"
#include "paint/scene/PaintScene.h"

namespace {
constexpr int kMaxLayersLooked = 1024;

// A visible colour layer of a face, with its mask's entries.
struct Entry {
  const FaceLayer* layer;
  const LayerMicroVertex* mask;  // linked layer's samples, null for none
};

// Sample s of the face from the layers list[0 .. count), bottom first.
void ComposeSample(PaintFace& f, int faceIndex, int s, const Entry* list, int count, float unitScale) {
  MicroVertex& mv = f.Grid[s];
  SampleBlend blend((uint32_t)faceIndex * 2654435761u + (uint32_t)s);
  comms::cVec3 D, base;
  for (int k = 0; k < count; k++) {
    const FaceLayer& l = *list[k].layer;
    LayerMicroVertex& v = l.Data[s];
    const OneLayerInfo& info = *l.Info;
    const bool blendIt = info.Visible && info.ColorOp < ColorOps::LOP_NORMALMAP;
    const float m = LinkMask(info, list[k].mask != nullptr,
                             list[k].mask ? list[k].mask[s].Opacity : 0);
    const float a = v.Opacity;
    if (k == 0 && l.LayerID == 0) {
      base = v.Offset;  // the bottom sample is the base position, not a depth
    } else if (blendIt) {
      comms::cVec3 d = v.Offset * (info.DepthTransparency * m);
      float emboss = info.EmbossPower != 0 ? info.EmbossPower * v.Opacity * 2 / unitScale : 0;
      v.Emboss = emboss;  // kept for merging down
      d += mv.BaseNormal * emboss;
      D = ApplyDepthOp(info.DepthOp, D, d, mv.BaseNormal, unitScale);
    }
    if (!blendIt) continue;
    blend.Add(info, v.Color, (float)(v.Color >> 24), a, m, false);
  }
  float outColor[4] = {blend.A[0], blend.A[1], blend.A[2], 0};
  const float specular = blend.Specular > 255 ? 255 : blend.Specular < 0 ? 0 : blend.Specular;
  outColor[3] = specular;
  mv.Color = PackColor(outColor);
  mv.Opacity = blend.Coverage > 1 ? 1 : blend.Coverage;
  mv.Position = base + D;
}
}  // namespace

void ComposeFace(PaintScene& scene, int faceIndex) {
  const PaintFace& f = scene.Faces[faceIndex];
  ComposeFaceSamples(scene, faceIndex, 0, 0, f.Nx, f.Ny);
}

void ComposeFaceSamples(PaintScene& scene, int faceIndex, int x0, int y0, int x1, int y1) {
  PaintFace& f = scene.Faces[faceIndex];
  if (!f.Grid || f.LayerList.GetAmount() == 0) return;
  // The visible colour layers, bottom first, with their masks' entries.
  thread_local std::vector<Entry> list;
  list.clear();
  for (int i = 0; i < f.LayerList.GetAmount() && i < kMaxLayersLooked; i++) {
    const FaceLayer& l = f.LayerList[i];
    if (!l.Data || !l.Info) continue;
    const bool shown = l.Info->Visible && l.Info->ColorOp < ColorOps::LOP_NORMALMAP;
    // The bottom entry carries the base positions even when it is hidden.
    if (!shown && !(i == 0 && l.LayerID == 0)) continue;
    const LayerMicroVertex* mask = nullptr;
    if (l.Info->LinkedLayer >= 0)
      for (const FaceLayer& m : f.LayerList)
        if (m.LayerID == l.Info->LinkedLayer && m.Info && m.Info->Visible) mask = m.Data;
    list.push_back({&l, mask});
  }
  const int count = (int)list.size();
  const float unitScale = scene.UnitScale;
  x0 = std::max(x0, 0), y0 = std::max(y0, 0), x1 = std::min(x1, (int)f.Nx), y1 = std::min(y1, (int)f.Ny);
  for (int y = y0; y < y1; y++)
    for (int x = x0; x < x1; x++)
      ComposeSample(f, faceIndex, y * f.Nx + x, list.data(), count, unitScale);
}


void GridNormals(PaintScene& scene, int face, int x0, int y0, int x1, int y1) {
  PaintFace& f = scene.Faces[face];
  if (!f.Grid) return;
  x0 = std::max(x0, 0), y0 = std::max(y0, 0), x1 = std::min(x1, (int)f.Nx), y1 = std::min(y1, (int)f.Ny);
  for (int y = y0; y < y1; y++)
    for (int x = x0; x < x1; x++) {
      // Inside the grid directly; across a side through the neighbour.
      auto at = [&](int i, int j) {
        if (i >= 0 && j >= 0 && i < f.Nx && j < f.Ny) return f.Grid[j * f.Nx + i].Position;
        MicroVertex scratch;
        return scene.GetMicroVertex(face, i, j, &scratch).Vertex->Position;
      };
      const comms::cVec3 l = at(x - 1, y), r = at(x + 1, y), u = at(x, y - 1), d = at(x, y + 1);
      const comms::cVec3 n = comms::Cross(r - l, d - u);
      if (n.Length() > 0) f.Grid[y * f.Nx + x].Normal = n.Normalized();
    }
}
