// "DUPLICATE_WITH_FLIP": a copy of a layer laid through the symmetry planes.
// Every sample of the scene looks up the source sample nearest to its own
// mirror image (in a hash grid of the samples' base positions) and takes
// that sample's paint, its depth mirrored with it.
#include <cmath>
#include <limits>
#include <string>
#include <unordered_map>
#include <vector>

#include "paint/GeneralPen.h"
#include "paint/layers/LayerOps.h"
#include "paint/layers/LayerSamples.h"

using comms::cVec3;

namespace {

// Where a sample sits: a face's micro-vertex, or a pixel of a map.
struct SampleAt {
  cVec3 Position;
  int Face = -1, Index = 0;         // micro-vertex
  PixelMap* Map = nullptr;          // pixel
  int X = 0, Y = 0;
};

struct SampleGrid {
  float Cell = 1;
  std::unordered_map<uint64_t, std::vector<int>> Cells;
  std::vector<SampleAt> Samples;

  static uint64_t Key(int x, int y, int z) {
    return (uint64_t)(uint32_t)(x & 0x1fffff) << 42 | (uint64_t)(uint32_t)(y & 0x1fffff) << 21 | (uint32_t)(z & 0x1fffff);
  }
  int Coord(float v) const { return (int)std::floor(v / Cell); }
  void Add(const SampleAt& s) {
    Cells[Key(Coord(s.Position.x), Coord(s.Position.y), Coord(s.Position.z))].push_back((int)Samples.size());
    Samples.push_back(s);
  }
  // The nearest sample within one cell of `p`, or null.
  const SampleAt* Nearest(const cVec3& p) const {
    const int cx = Coord(p.x), cy = Coord(p.y), cz = Coord(p.z);
    const SampleAt* best = nullptr;
    float bestD = std::numeric_limits<float>::max();
    for (int dz = -1; dz <= 1; dz++)
      for (int dy = -1; dy <= 1; dy++)
        for (int dx = -1; dx <= 1; dx++) {
          auto it = Cells.find(Key(cx + dx, cy + dy, cz + dz));
          if (it == Cells.end()) continue;
          for (int i : it->second) {
            const cVec3 d = Samples[i].Position - p;
            const float dd = d.x * d.x + d.y * d.y + d.z * d.z;
            if (dd < bestD) bestD = dd, best = &Samples[i];
          }
        }
    return best;
  }
};

// The base position of a micro-vertex: the bottom layer's offset.
cVec3 BasePosition(PaintScene& scene, int face, int i) {
  const FaceLayer* bottom = scene.GetFaceLayer(face, 0, false);
  return bottom ? bottom->Data[i].Offset : scene.Faces[face].Grid[i].Position;
}

cVec3 Mirror(const cVec3& p, const cVec3& shift, int axes) {
  // Mirrored in world space (stored position + Shift) through the planes of
  // the axes asked, then back to stored space.
  cVec3 w = p + shift;
  if (axes & 1) w.x = -w.x;
  if (axes & 2) w.y = -w.y;
  if (axes & 4) w.z = -w.z;
  return w - shift;
}

cVec3 MirrorVector(cVec3 v, int axes) {
  if (axes & 1) v.x = -v.x;
  if (axes & 2) v.y = -v.y;
  if (axes & 4) v.z = -v.z;
  return v;
}

}  // namespace

int DuplicateLayerFlipped(PaintScene& scene, int layerID, int axes) {
  if (axes == 0) axes = GeneralPen::Symmetry ? GeneralPen::Symmetry : 1;
  const int id = DuplicateLayer(scene, layerID);
  if (id < 0) return -1;
  // The copy's samples are written anew below; the plain copy is dropped.
  ClearLayerChannels(scene, id, true, true, true);
  // Every sample of the source layer, by base position. A sample's spacing
  // sets the grid: the scene's cell over the finest grid side, or a texel.
  SampleGrid grid;
  int side = 1;
  for (const PaintFace& f : scene.Faces) side = std::max(side, (int)std::max(f.Nx, f.Ny));
  grid.Cell = scene.CellSize / side;
  for (int f = 0; f < (int)scene.Faces.size(); f++) {
    const PaintFace& face = scene.Faces[f];
    if (face.Grid && scene.GetFaceLayer(f, layerID, false))
      for (int i = 0; i < face.SampleCount(); i++) grid.Add({BasePosition(scene, f, i), f, i, nullptr, 0, 0});
  }
  float texel = 0;
  for (MRenderTarget* rt : scene.RenderTargets) {
    PixelMap* map = rt->Pixels;
    if (!map) continue;
    for (const PaintFace& face : scene.Faces) {
      if (!face.Texels) continue;
      for (int i = 0; i < face.Texels->Count; i++) {
        const FaceTexel& t = face.Texels->Texels[i];
        PixelTile* tile = map->FindTile(t.X / kTileSide, t.Y / kTileSide);
        if (!tile || !tile->FindLayer(layerID)) continue;
        if (texel == 0 && i + 1 < face.Texels->Count)
          texel = (face.Texels->Texels[i + 1].Position - t.Position).Length();
        grid.Add({t.Position, -1, 0, map, t.X, t.Y});
      }
    }
  }
  if (texel > 0 && texel * 2 < grid.Cell) {
    // A texel map is finer than the grids: rebuild the hash at its spacing.
    SampleGrid fine;
    fine.Cell = texel * 2;
    for (const SampleAt& s : grid.Samples) fine.Add(s);
    grid = std::move(fine);
  }
  if (grid.Samples.empty()) return id;
  const cVec3 shift = scene.Shift;
  // Micro-vertices of the copy.
  for (int f = 0; f < (int)scene.Faces.size(); f++) {
    const PaintFace& face = scene.Faces[f];
    if (!face.Grid) continue;
    for (int i = 0; i < face.SampleCount(); i++) {
      const SampleAt* from = grid.Nearest(Mirror(BasePosition(scene, f, i), shift, axes));
      if (!from || from->Face < 0) continue;
      const LayerMicroVertex src = scene.GetFaceLayer(from->Face, layerID, false)->Data[from->Index];
      LayerMicroVertex& dst = scene.GetFaceLayer(f, id, true)->Data[i];
      dst = src;
      dst.Offset = MirrorVector(src.Offset, axes);
    }
  }
  // Pixels of the copy.
  for (MRenderTarget* rt : scene.RenderTargets) {
    PixelMap* map = rt->Pixels;
    if (!map) continue;
    PixelCursor to, from;
    for (const PaintFace& face : scene.Faces) {
      if (!face.Texels) continue;
      for (int i = 0; i < face.Texels->Count; i++) {
        const FaceTexel& t = face.Texels->Texels[i];
        const SampleAt* s = grid.Nearest(Mirror(t.Position, shift, axes));
        if (!s || !s->Map) continue;
        if (!s->Map->FetchPixel(from, s->X, s->Y, false, false, false, layerID) || !from.Layer) continue;
        const LayerPixel src = from.Layer->Pixels[from.Index];
        if (src.IsEmpty()) continue;
        map->FetchPixel(to, t.X, t.Y, true, true, false, id);
        to.Layer->Pixels[to.Index] = src;
      }
    }
  }
  RecomposeLayer(scene, id);
  return id;
}
