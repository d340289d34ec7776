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

// The running state of the samples being composed, one slot a sample, kept
// per thread between faces. Layers are walked in the outer loop and samples
// in the inner one, so each layer's samples are read in order and the
// layer's switches are taken once per face; every sample still sees its
// layers bottom first with the same arithmetic as SampleBlend::Add.
struct FaceBlend {
  std::vector<SampleBlend> Blend;
  std::vector<comms::cVec3> Depth, Base;
  std::vector<int> Index;  // grid index of each slot

  void Start(const PaintFace& f, int faceIndex, int x0, int y0, int x1, int y1) {
    const size_t n = (size_t)(x1 - x0) * (size_t)(y1 - y0);
    Blend.resize(n);
    Depth.assign(n, comms::cVec3());
    Base.assign(n, comms::cVec3());
    Index.resize(n);
    size_t k = 0;
    for (int y = y0; y < y1; y++)
      for (int x = x0; x < x1; x++, k++) {
        const int s = y * f.Nx + x;
        Index[k] = s;
        Blend[k] = SampleBlend((uint32_t)faceIndex * 2654435761u + (uint32_t)s);
      }
  }
};

// Whether the layer blends as the plain case: normal blend, no mask, no
// corrections. Its steps are SampleBlend::Add's with m = 1 and no clamp
// (colour bytes are 0..255 already).
bool IsPlain(const OneLayerInfo& info) {
  return info.ColorOp == ColorOps::LOP_STANDART_BLEND && info.LinkedLayer < 0 && info.Contrast == 0 &&
         info.Brightness == 0 && info.SpecContrast == 0 && info.SpecBrightness == 0;
}

void BlendPlain(FaceBlend& t, const LayerMicroVertex* data, float transparency) {
  const size_t n = t.Index.size();
  for (size_t k = 0; k < n; k++) {
    const LayerMicroVertex& v = data[t.Index[k]];
    SampleBlend& b = t.Blend[k];
    const float L[4] = {(float)(v.Color & 0xff), (float)((v.Color >> 8) & 0xff), (float)((v.Color >> 16) & 0xff),
                        (float)(v.Color >> 24)};
    const float e = transparency * v.Opacity;
    if (b.First) {
      for (int i = 0; i < 4; i++) b.A[i] = L[i];
      b.First = false;
    }
    for (int i = 0; i < 3; i++) b.A[i] = b.A[i] * (1 - e) + L[i] * e;
    b.Coverage = (1 - e) * b.Coverage + e;
    b.Specular += L[3];
  }
}

void ComposeLayers(PaintFace& f, FaceBlend& t, const Entry* list, int count, float unitScale) {
  const size_t n = t.Index.size();
  for (int k = 0; k < count; k++) {
    const FaceLayer& l = *list[k].layer;
    LayerMicroVertex* data = l.Data;
    const LayerMicroVertex* mask = list[k].mask;
    const OneLayerInfo& info = *l.Info;
    const bool blendIt = info.Visible && info.ColorOp < ColorOps::LOP_NORMALMAP;
    if (k == 0 && l.LayerID == 0) {
      // The bottom samples are the base position, not a depth.
      for (size_t j = 0; j < n; j++) t.Base[j] = data[t.Index[j]].Offset;
    } else if (blendIt) {
      const bool linked = info.LinkedLayer >= 0;
      for (size_t j = 0; j < n; j++) {
        const int s = t.Index[j];
        LayerMicroVertex& v = data[s];
        const float m = linked ? LinkMask(info, mask != nullptr, mask ? mask[s].Opacity : 0) : 1.0f;
        comms::cVec3 d = v.Offset * (info.DepthTransparency * m);
        const float emboss = info.EmbossPower != 0 ? info.EmbossPower * v.Opacity * 2 / unitScale : 0;
        v.Emboss = emboss;  // kept for merging down
        const comms::cVec3& baseNormal = f.Grid[s].BaseNormal;
        d += baseNormal * emboss;
        t.Depth[j] = info.DepthOp == DepthOps::LOP_ADDDEPTH
                         ? t.Depth[j] + d
                         : ApplyDepthOp(info.DepthOp, t.Depth[j], d, baseNormal, unitScale);
      }
    }
    if (!blendIt) continue;
    if (IsPlain(info)) {
      BlendPlain(t, data, info.ColorTransparency);
      continue;
    }
    for (size_t j = 0; j < n; j++) {
      const int s = t.Index[j];
      const LayerMicroVertex& v = data[s];
      const float m = LinkMask(info, mask != nullptr, mask ? mask[s].Opacity : 0);
      t.Blend[j].Add(info, v.Color, (float)(v.Color >> 24), v.Opacity, m, false);
    }
  }
  for (size_t j = 0; j < n; j++) {
    const SampleBlend& b = t.Blend[j];
    MicroVertex& mv = f.Grid[t.Index[j]];
    float outColor[4] = {b.A[0], b.A[1], b.A[2], 0};
    outColor[3] = b.Specular > 255 ? 255 : b.Specular < 0 ? 0 : b.Specular;
    mv.Color = PackColor(outColor);
    mv.Opacity = b.Coverage > 1 ? 1 : b.Coverage;
    mv.Position = t.Base[j] + t.Depth[j];
  }
}
}  // namespace

void PrefetchFaceSamples(const PaintScene& scene, int faceIndex) {
  if (faceIndex < 0 || faceIndex >= (int)scene.Faces.size()) return;
  const PaintFace& f = scene.Faces[faceIndex];
  const size_t n = (size_t)f.SampleCount();
  auto lines = [](const void* p, size_t bytes) {
    for (size_t at = 0; at < bytes && at < 4096; at += 64) __builtin_prefetch((const char*)p + at);
  };
  if (f.Grid) lines(f.Grid, n * sizeof(MicroVertex));
  for (const FaceLayer& l : f.LayerList)
    if (l.Data) lines(l.Data, n * sizeof(LayerMicroVertex));
}

void PrefetchFaceLayers(const PaintScene& scene, int faceIndex) {
  if (faceIndex < 0 || faceIndex >= (int)scene.Faces.size()) return;
  const PaintFace& f = scene.Faces[faceIndex];
  if (f.LayerList.GetAmount() > 0) __builtin_prefetch(&f.LayerList[0]);
}

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
  x0 = std::max(x0, 0), y0 = std::max(y0, 0), x1 = std::min(x1, (int)f.Nx), y1 = std::min(y1, (int)f.Ny);
  if (x0 >= x1 || y0 >= y1) return;
  thread_local FaceBlend blend;
  blend.Start(f, faceIndex, x0, y0, x1, y1);
  ComposeLayers(f, blend, list.data(), (int)list.size(), scene.UnitScale);
}

namespace {
// The outermost ring of a face's samples: the ones that read across its sides.
void BorderNormals(PaintScene& scene, int face) {
  const PaintFace& F = scene.Faces[face];
  GridNormals(scene, face, 0, 0, F.Nx, 1);
  GridNormals(scene, face, 0, F.Ny - 1, F.Nx, F.Ny);
  GridNormals(scene, face, 0, 1, 1, F.Ny - 1);
  GridNormals(scene, face, F.Nx - 1, 1, F.Nx, F.Ny - 1);
}
}  // namespace

void NeighbourBorderNormals(PaintScene& scene, std::vector<int> changed) {
  std::sort(changed.begin(), changed.end());
  std::vector<int> beside;
  for (int f : changed)
    for (int g : scene.Faces[f].Neighbour)
      if (g >= 0 && !std::binary_search(changed.begin(), changed.end(), g)) beside.push_back(g);
  std::sort(beside.begin(), beside.end());
  beside.erase(std::unique(beside.begin(), beside.end()), beside.end());
  for (int g : beside) BorderNormals(scene, g);
}

void BorderNormalsAround(PaintScene& scene, const std::vector<int>& changed) {
  for (int f : changed) BorderNormals(scene, f);
  NeighbourBorderNormals(scene, changed);
}

void GridNormals(PaintScene& scene, int face, int x0, int y0, int x1, int y1) {
  PaintFace& f = scene.Faces[face];
  if (!f.Grid) return;
  x0 = std::max(x0, 0), y0 = std::max(y0, 0), x1 = std::min(x1, (int)f.Nx), y1 = std::min(y1, (int)f.Ny);
  FaceSides sides;
  if (x0 == 0 || y0 == 0 || x1 == f.Nx || y1 == f.Ny) scene.GetFaceSides(face, sides);
  for (int y = y0; y < y1; y++)
    for (int x = x0; x < x1; x++) {
      // Inside the grid directly; across a side through the neighbour.
      auto at = [&](int i, int j) {
        if (i >= 0 && j >= 0 && i < f.Nx && j < f.Ny) return f.Grid[j * f.Nx + i].Position;
        MicroVertex scratch;
        return scene.MicroVertexBeside(face, sides, i, j, &scratch)->Position;
      };
      const comms::cVec3 l = at(x - 1, y), r = at(x + 1, y), u = at(x, y - 1), d = at(x, y + 1);
      const comms::cVec3 n = comms::Cross(r - l, d - u);
      if (n.Length() > 0) f.Grid[y * f.Nx + x].Normal = n.Normalized();
    }
}
