// One dab from the pen to the samples: flood, backups, the walk over grids and
// texels on the thread pool, composition and the dirty marks.
#include "paint/stroke/ApplyStroke.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"
#include "paint/layers/ComposeFace.h"
#include "paint/layers/OneLayerInfo.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"
#include "paint/stroke/StrokeFlood.h"
#include "paint/stroke/StrokeOcclusion.h"

using comms::cVec3;

namespace {

// Where a point (paint units) lies against the pen, and the two radius
// arguments of the sample there.
struct PenPoint {
  cVec3 v;
  float t = 0, r = 1, Rp = 1, x = 0, y = 0, fade = 0;
  float radius = 1, scaled = 1;  // world units
};

// False when the point is out of the pen. `all`: every point is in, at the
// pen's centre, both radii the end radius. `texel`: the per-pixel form, whose
// pen coordinates are divided by the fade.
inline bool Measure(const StrokeFrame& f, const cVec3& p, float unitScale, bool all, bool texel, PenPoint& o) {
  if (all) {
    o.fade = 1, o.radius = o.scaled = f.EndRadius / unitScale;
    return true;
  }
  f.SegmentPoint(p, o.v, o.t);
  o.r = f.RadiusAt(o.t);
  o.Rp = f.PressureScaled ? o.r * f.PressureAt(o.t) : o.r;
  const float inv = 1.0f / o.r;
  o.x = Dot(f.AxisX, o.v) * inv;
  o.y = Dot(f.AxisY, o.v) * inv;
  const float z = Dot(f.AxisZ, o.v) * inv;
  o.fade = 1 - z * z;
  if (!(o.fade > 0)) return false;
  if (texel) o.x /= o.fade, o.y /= o.fade;
  if (o.x * o.x + o.y * o.y >= 1) return false;
  o.radius = o.r / unitScale, o.scaled = o.fade * o.Rp / unitScale;
  return true;
}

// sqrt(2) r: the rim of the pen's cylinder.
constexpr float kRim = 1.415f;

}  // namespace

bool BlockInReach(const StrokeFrame& frame, const FaceTexelBlock& block, float unitScale) {
  cVec3 v;
  float t;
  frame.SegmentPoint(block.Centre() * unitScale, v, t);
  // The pen reaches r across its axis and r along it: the block's sphere
  // must come within r of the axis and within r of the pen's plane.
  const float reach = frame.MaxDabRadius() + block.Radius * unitScale;
  const float axial = Dot(v, frame.AxisZ), radial2 = Dot(v, v) - axial * axial;
  return std::fabs(axial) <= reach && radial2 <= reach * reach;
}

PaintStroke::PaintStroke(PaintScene& scene) : scene_(scene) {}

PaintStroke::~PaintStroke() { Release(); }

void PaintStroke::Begin() { End(); }

void PaintStroke::End() {
  if (OnEnd && (!backups_.empty() || !maps_.empty())) OnEnd(*this);
  Release();
}

void PaintStroke::Release() {
  for (PaintFace& f : scene_.Faces) f.Backup = nullptr;
  backups_.clear();
  for (PixelMap* m : maps_) m->ClearUndo();
  maps_.clear();
}

void PaintStroke::PrepareFace(int face, bool backup) {
  PaintFace& F = scene_.Faces[face];
  FaceLayer* fl = scene_.GetFaceLayer(face, scene_.CurrentLayer, true);
  if (!backup || !fl || (F.Backup && F.Backup->LayerID == scene_.CurrentLayer)) return;
  auto b = std::make_unique<FaceBackup>();
  b->Face = face;
  b->LayerID = scene_.CurrentLayer;
  b->Samples.assign(fl->Data, fl->Data + F.SampleCount());
  if (F.Grid) {
    b->Normals.resize(F.SampleCount());
    for (int i = 0; i < F.SampleCount(); ++i) b->Normals[i] = F.Grid[i].Normal;
  }
  F.Backup = b.get();
  backups_.push_back(std::move(b));
}

void PaintStroke::PrepareTiles(int face, const StrokeFrame& frame, bool backup) {
  const PaintFace& F = scene_.Faces[face];
  PixelMap* map = scene_.GetPixelMap(F.RenderTarget);
  if (!map || !F.Texels) return;
  if (backup && std::find(maps_.begin(), maps_.end(), map) == maps_.end()) maps_.push_back(map);
  PixelCursor cur;
  auto touch = [&](const FaceTexel& t) {
    const PixelTile* before = cur.Tile;
    if (!map->FetchPixel(cur, t.X, t.Y, true, false, backup)) return;
    if (cur.Tile == before) return;
    map->GetLayerTile(cur.Tile, scene_.CurrentLayer, true);
    prepared_.push_back({cur.Tile, map});
  };
  const FaceTexels& T = *F.Texels;
  if (T.BlockCount == 0) {
    for (int i = 0; i < T.Count; i++) touch(T.Texels[i]);
    return;
  }
  for (int b = 0; b < T.BlockCount; b++)
    if (BlockInReach(frame, T.Directory[b], scene_.UnitScale)) touch(T.Texels[T.Directory[b].First]);
}

float PaintStroke::WalkGrid(const SampleFunction& fn, const StrokeContext& ctx, int face, bool all) {
  PaintFace& F = scene_.Faces[face];
  if (!F.Grid) return 0;
  FaceLayer* fl = scene_.GetFaceLayer(face, ctx.CurrentLayer, true);
  if (!fl) return 0;
  const StrokeFrame& f = *ctx.Frame;
  LayerMicroVertex* dest = fl->Data;
  const LayerMicroVertex* back =
      F.Backup && F.Backup->LayerID == ctx.CurrentLayer ? F.Backup->Samples.data() : dest;
  const float dt = fl->Info ? fl->Info->DepthTransparency : 1.0f;
  const float us = ctx.UnitScale;
  const int Nx = F.Nx, Ny = F.Ny;
  int64_t measured = 0;
  // The surface as it was before this stroke: depth this stroke added does
  // not push a sample out of the pen.
  auto startPosition = [&](int i) {
    const MicroVertex& mv = F.Grid[i];
    return (mv.Position - ((dest[i].Offset - back[i].Offset) * dt + mv.BaseNormal * dest[i].Emboss)) * us;
  };
  float sum = 0;
  VertexSample s;
  s.Face = face, s.Layer = fl->Info;
  auto visit = [&](int x, int y) {
    const int i = y * Nx + x;
    MicroVertex& mv = F.Grid[i];
    measured++;
    PenPoint pp;
    if (!Measure(f, startPosition(i), us, all, false, pp)) return;
    s.PenX = pp.x, s.PenY = pp.y;
    s.X = x, s.Y = y;
    s.Position = mv.Position, s.Normal = mv.Normal;
    s.Vertex = &mv, s.Dest = &dest[i], s.Backup = &back[i];
    sum += fn.Vertex(ctx, s, pp.radius, pp.scaled);
  };
  if (!all && Nx > 12 && Ny > 12 && Nx % 8 == 0 && Ny % 8 == 0) {
    // Every fourth sample of the grid decides which 4 x 4 cells are walked.
    const int a = Nx / 4, b = Ny / 4;
    float step = 0;
    auto edge = [&](int x0, int y0, int dx, int dy, int n) {
      for (int k = 1; k < n; k++) {
        const cVec3 d = F.Grid[(y0 + dy * k) * Nx + x0 + dx * k].Position -
                        F.Grid[(y0 + dy * (k - 1)) * Nx + x0 + dx * (k - 1)].Position;
        step = std::max(step, Dot(d, d));
      }
    };
    edge(0, 0, 1, 0, Nx), edge(0, Ny - 1, 1, 0, Nx), edge(0, 0, 0, 1, Ny), edge(Nx - 1, 0, 0, 1, Ny);
    // A sample of a cell lies within 2 sqrt(2) steps of one of its corners.
    const float reach = kRim * f.MaxDabRadius() + 3 * std::sqrt(step) * us;
    std::vector<uint8_t> set((size_t)(a + 1) * (b + 1));
    for (int j = 0; j <= b; j++)
      for (int i = 0; i <= a; i++) {
        cVec3 v;
        float t;
        f.SegmentPoint(startPosition(std::min(4 * j, Ny - 1) * Nx + std::min(4 * i, Nx - 1)), v, t);
        set[(size_t)j * (a + 1) + i] = Dot(v, v) < reach * reach;
      }
    for (int cj = 0; cj < b; cj++)
      for (int ci = 0; ci < a; ci++) {
        const size_t k = (size_t)cj * (a + 1) + ci;
        if (!(set[k] | set[k + 1] | set[k + a + 1] | set[k + a + 2])) continue;
        for (int y = 4 * cj; y < 4 * cj + 4; y++)
          for (int x = 4 * ci; x < 4 * ci + 4; x++) visit(x, y);
      }
  } else {
    for (int y = 0; y < Ny; y++)
      for (int x = 0; x < Nx; x++) visit(x, y);
  }
  std::atomic_ref<int64_t>(LastSamples).fetch_add(measured, std::memory_order_relaxed);
  return sum;
}

float PaintStroke::WalkTexels(const SampleFunction& fn, const StrokeContext& ctx, int face, bool all) {
  const PaintFace& F = scene_.Faces[face];
  PixelMap* map = scene_.GetPixelMap(F.RenderTarget);
  if (!map || !F.Texels || !fn.HasPixelForm()) return 0;
  const StrokeFrame& f = *ctx.Frame;
  const float us = ctx.UnitScale;
  const FaceTexels& T = *F.Texels;
  OneLayerInfo* info = scene_.GetLayerByID(ctx.CurrentLayer);
  PixelCursor cur;
  PixelSample s;
  s.Layer = info;
  float sum = 0;
  int64_t measured = 0;
  auto walk = [&](uint32_t first, uint32_t count) {
    for (uint32_t i = first; i < first + count; i++) {
      const FaceTexel& t = T.Texels[i];
      measured++;
      PenPoint pp;
      if (!Measure(f, t.Position * us, us, all, true, pp)) continue;
      if (!map->FetchPixel(cur, t.X, t.Y, false, false, false)) continue;
      PixelTile* tile = cur.Tile;
      LayerTile* layer = tile->CurrentLayerTile;
      if (!layer || (int)layer->LayerID != ctx.CurrentLayer) continue;
      s.PenX = pp.x, s.PenY = pp.y;
      s.X = t.X, s.Y = t.Y, s.UVX = t.X, s.UVY = t.Y;
      s.Position = t.Position, s.Normal = t.Normal;
      s.Pixel = &tile->Pixels[cur.Index];
      s.Dest = &layer->Pixels[cur.Index];
      s.Backup = tile->UndoLayerTile ? &tile->UndoLayerTile->Pixels[cur.Index] : s.Dest;
      const float w = fn.Pixel(ctx, s, pp.radius, pp.scaled);
      if (w != 0) {
        sum += w;
        std::atomic_ref<int>(tile->DirtyState).store(1, std::memory_order_relaxed);
      }
    }
  };
  if (T.BlockCount == 0 || all) {
    walk(0, (uint32_t)T.Count);
  } else {
    for (int b = 0; b < T.BlockCount; b++)
      if (BlockInReach(f, T.Directory[b], us)) walk(T.Directory[b].First, T.Directory[b].Count);
  }
  std::atomic_ref<int64_t>(LastSamples).fetch_add(measured, std::memory_order_relaxed);
  return sum;
}

void PaintStroke::RunDab(const SampleFunction& fn, const StrokeFrame& frame, bool backup, bool all) {
  std::vector<int>& faces = scene_.StrokeFaces;
  LastFaces = (int)faces.size();
  LastSamples = 0;
  LastTiles.clear();
  prepared_.clear();
  const float savedDepth = GeneralPen::DeepDegree;
  if (Pen) GeneralPen::DeepDegree *= Pen->DepthModulator;
  // Serial: layer entries, backups and tiles exist before any worker runs.
  for (int f : faces) {
    if (scene_.Faces[f].Grid) PrepareFace(f, backup);
    if (scene_.Faces[f].Texels) PrepareTiles(f, frame, backup);
  }
  std::sort(prepared_.begin(), prepared_.end());
  prepared_.erase(std::unique(prepared_.begin(), prepared_.end()), prepared_.end());
  std::vector<int> stateBefore;
  for (auto& [tile, map] : prepared_) stateBefore.push_back(tile->DirtyState), tile->DirtyState = 0;
  StrokeContext ctx;
  ctx.Frame = &frame, ctx.Scene = &scene_, ctx.Pen = Pen, ctx.Modificator = Modificator;
  ctx.CurrentLayer = scene_.CurrentLayer, ctx.UnitScale = scene_.UnitScale;
  std::vector<uint8_t> touched(faces.size(), 0);
  // Workers get face indices; the touched flag goes by the face's place in the list.
  std::vector<std::pair<int, int>> order(faces.size());
  for (int i = 0; i < (int)faces.size(); i++) order[i] = {faces[i], i};
  std::sort(order.begin(), order.end());
  auto placeOf = [&](int face) {
    return std::lower_bound(order.begin(), order.end(), std::make_pair(face, -1))->second;
  };
  scene_.ForEachFace(2, [&](int face) {
    PaintFace& F = scene_.Faces[face];
    float sum = 0;
    if (F.Grid) sum += WalkGrid(fn, ctx, face, all);
    if (F.Texels) sum += WalkTexels(fn, ctx, face, all);
    if (sum != 0) {
      F.Wear = std::clamp(F.Wear + sum, 0.0f, 1e30f);
      touched[placeOf(face)] = 1;
    }
  });
  GeneralPen::DeepDegree = savedDepth;
  // Touched grids recompose; they and their neighbours (whose drawn border
  // reaches into them) are redrawn.
  std::vector<int> composed;
  for (int i = 0; i < (int)faces.size(); i++)
    if (touched[i] && scene_.Faces[faces[i]].Grid) composed.push_back(faces[i]);
  LastTouchedFaces = 0;
  for (uint8_t t : touched) LastTouchedFaces += t;
  std::swap(composed, faces);
  // Normals read the neighbours' composite positions: a pass of their own.
  scene_.ForEachFace(2, [&](int face) { ComposeFace(scene_, face); });
  if (GeneralPen::DrawDepth) scene_.ForEachFace(2, [&](int face) { scene_.ComputeGridNormals(face); });
  std::swap(composed, faces);
  for (int f : composed) {
    scene_.MarkFaceDirty(f);
    for (int n : scene_.Faces[f].Neighbour)
      if (n >= 0) scene_.MarkFaceDirty(n);
  }
  // Tiles a sample changed go to the upload; the rest keep their state.
  for (size_t i = 0; i < prepared_.size(); i++) {
    auto [tile, map] = prepared_[i];
    if (tile->DirtyState == 1) {
      map->MarkDirty(tile, 1);
      LastTiles.push_back(tile);
    } else {
      tile->DirtyState = stateBefore[i];
    }
  }
}

DabResult PaintStroke::ApplyStroke(const SampleFunction& fn, const StrokeFrame& frame, int picked, bool backup) {
  const OneLayerInfo* info = scene_.GetLayerByID(scene_.CurrentLayer);
  if (info && !info->Visible) return DabResult::InvisibleLayer;
  GeneralPen::MoveCounter++;
  FloodUnderPen(scene_, frame, picked, IslandOnly, scene_.StrokeFaces);
  PruneFarFaces(scene_, frame, scene_.StrokeFaces);
  if (RejectOccluded) DropOccludedFaces(scene_, frame, scene_.StrokeFaces);
  if (scene_.StrokeFaces.empty()) return DabResult::Nothing;
  RunDab(fn, frame, backup, false);
  return DabResult::Painted;
}

void PaintStroke::ApplyToAllFaces(const SampleFunction& fn, const StrokeFrame& frame, bool backup) {
  RunDab(fn, frame, backup, true);
}
