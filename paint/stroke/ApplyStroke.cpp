// One dab from the pen to the samples: flood, backups, the walk over grids and
// texels on the thread pool, composition and the dirty marks.
#include "paint/stroke/ApplyStroke.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>

#include "ClassEngine/Threader.h"
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

// Measures points against one dab. What is the same for every point (the
// segment, its squared length, one over a constant radius and over the unit
// scale) is worked out once.
class PenMeasure {
 public:
  // `all`: every point is in, at the pen's centre, both radii the end radius.
  // `texel`: the per-pixel form, whose pen coordinates are divided by the fade.
  PenMeasure(const StrokeFrame& f, float unitScale, bool all, bool texel)
      : f_(f), all_(all), texel_(texel), invScale_(1.0f / unitScale) {
    straight_ = !f.SinglePoint && !f.IsCurved;
    pressure_ = f.PressureScaled;
    start_ = f.SegmentStart, ax_ = f.AxisX, ay_ = f.AxisY, az_ = f.AxisZ;
    axis_ = f.SegmentEnd - f.SegmentStart;
    const float L2 = Dot(axis_, axis_);
    invL2_ = L2 > 0 ? 1.0f / L2 : 0;
    constantRadius_ = f.SinglePoint || f.StartRadius == f.EndRadius;
    if (constantRadius_) r_ = f.RadiusAt(0.5f), invR_ = 1.0f / r_;
    // The frame is orthonormal, so x^2 + y^2 + z^2 = |v|^2 / r^2. A texel
    // needs x^2 + y^2 < fade^2 <= 1 - z^2, hence |v| < r; a grid sample
    // needs x^2 + y^2 < 1 and z^2 < 1, hence |v|^2 < 2 r^2. Farther points
    // stop at that test, taken with a margin over rounding.
    reach2_ = texel ? 1.001f : 2.002f;
  }

  // False when the point (paint units) is out of the pen. Worked in locals
  // and copies of the frame's vectors, so that the writes to `o` do not make
  // the frame be read again; inlined into the walks.
  [[gnu::always_inline]] bool operator()(const cVec3& p, PenPoint& o) const {
    if (all_) {
      o.fade = 1, o.radius = o.scaled = f_.EndRadius * invScale_;
      return true;
    }
    cVec3 v;
    float t;
    if (straight_) {
      const cVec3 q = p - start_;
      if (invL2_ > 0) {
        t = Dot(q, axis_) * invL2_;
        v = q - axis_ * (t < 0 ? 0.0f : t > 1 ? 1.0f : t);
      } else {
        t = 0.5f, v = q;
      }
    } else {
      f_.SegmentPoint(p, v, t);
    }
    const float r = constantRadius_ ? r_ : f_.RadiusAt(t);
    o.v = v, o.t = t, o.r = r;
    if (Dot(v, v) > reach2_ * r * r) return false;
    const float Rp = pressure_ ? r * f_.PressureAt(t) : r;
    const float inv = constantRadius_ ? invR_ : 1.0f / r;
    float x = Dot(ax_, v) * inv;
    float y = Dot(ay_, v) * inv;
    const float z = Dot(az_, v) * inv;
    const float fade = 1 - z * z;
    o.Rp = Rp, o.fade = fade;
    if (!(fade > 0)) {
      o.x = x, o.y = y;
      return false;
    }
    if (texel_) {
      const float k = 1.0f / fade;
      x *= k, y *= k;
    }
    o.x = x, o.y = y;
    if (x * x + y * y >= 1) return false;
    o.radius = r * invScale_, o.scaled = fade * Rp * invScale_;
    return true;
  }

 private:
  const StrokeFrame& f_;
  bool all_, texel_, straight_ = true, constantRadius_ = false, pressure_ = false;
  float invScale_, invL2_ = 0, r_ = 1, invR_ = 1, reach2_ = 1;
  cVec3 axis_, start_, ax_, ay_, az_;
};

// Runs fn(0 .. count - 1) on the pool, each worker taking the next index as
// it comes free: the cost of a face or piece varies along the lists (the
// flood's first faces are the pen's middle), so fixed shares would not be
// even. Callers write only what index i owns, so any order gives the same.
void OnFreeWorkers(int count, const std::function<void(int)>& fn) {
  std::atomic<int> next{0};
  const int threads = count < 2 ? 1 : std::max(1, std::min(UsingProcessors(), kMaxThreads));
  RunSection(threads, [&](int) {
    for (int i; (i = next.fetch_add(1, std::memory_order_relaxed)) < count;) fn(i);
  });
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
  DropEmptyEntries();
  if (OnEnd && partTouched_) OnEnd(*this);
  Release();
}

bool PaintStroke::Checkpoint() {
  if (!partTouched_) return false;
  DropEmptyEntries();
  if (OnEnd) OnEnd(*this);
  for (auto& b : backups_) kept_.push_back(std::move(b));
  backups_.clear();
  partFaces_.clear();
  for (PixelMap* m : maps_) m->KeepUndoAtCheckpoint();
  partTouched_ = false;
  return true;
}

void PaintStroke::Release() {
  for (PaintFace& f : scene_.Faces) f.Backup = nullptr;
  backups_.clear();
  kept_.clear();
  partFaces_.clear();
  partTouched_ = false;
  for (PixelMap* m : maps_) m->ClearUndo(), m->KeepUnderBlends(false);
  maps_.clear();
}

void PaintStroke::DropEmptyEntries() {
  auto empty = [](const LayerMicroVertex* s, size_t n) {
    for (size_t i = 0; i < n; ++i)
      if (!s[i].IsEmpty()) return false;
    return true;
  };
  for (const auto& b : backups_) {
    PaintFace& F = scene_.Faces[b->Face];
    if (!empty(b->Samples.data(), b->Samples.size())) continue;
    for (int i = 1; i < F.LayerList.GetAmount(); ++i) {
      const FaceLayer& l = F.LayerList[i];
      if (l.LayerID != b->LayerID) continue;
      if (empty(l.Data, (size_t)F.SampleCount())) {
        F.RemoveLayerAt(i);
        ComposeFace(scene_, b->Face);
        scene_.MarkFaceDirty(b->Face);
      }
      break;
    }
  }
}

bool PaintStroke::PrepareFace(int face, bool backup) {
  PaintFace& F = scene_.Faces[face];
  const bool fresh = !scene_.GetFaceLayer(face, scene_.CurrentLayer, false);
  FaceLayer* fl = scene_.GetFaceLayer(face, scene_.CurrentLayer, true);
  if (!fl) return false;
  if (!backup) return fresh;
  // Once a part; the face's Backup keeps the stroke's start of this layer.
  if (!partFaces_.insert((int64_t)face << 32 | (uint32_t)scene_.CurrentLayer).second) return fresh;
  auto b = std::make_unique<FaceBackup>();
  b->Face = face;
  b->LayerID = scene_.CurrentLayer;
  b->Samples.assign(fl->Data, fl->Data + F.SampleCount());
  if (F.Grid) {
    b->Normals.resize(F.SampleCount());
    for (int i = 0; i < F.SampleCount(); ++i) b->Normals[i] = F.Grid[i].Normal;
  }
  if (!F.Backup || F.Backup->LayerID != scene_.CurrentLayer) F.Backup = b.get();
  backups_.push_back(std::move(b));
  return fresh;
}

void PaintStroke::PrepareTiles(int face, const StrokeFrame& frame, bool backup, bool all) {
  const PaintFace& F = scene_.Faces[face];
  PixelMap* map = scene_.GetPixelMap(F.RenderTarget);
  if (!map || !F.Texels) return;
  if (backup && std::find(maps_.begin(), maps_.end(), map) == maps_.end()) {
    maps_.push_back(map);
    map->KeepUnderBlends(true);  // only the current layer changes until the stroke ends
  }
  PixelCursor cur;
  // The tiles are made here; their layer tiles and undo copies are made
  // on the workers once the list is whole (see RunDab).
  auto touch = [&](const FaceTexel& t) {
    const PixelTile* before = cur.Tile;
    if (!map->FetchPixel(cur, t.X, t.Y, true, false, false)) return;
    if (cur.Tile == before) return;
    prepared_.push_back({cur.Tile, map});
  };
  const FaceTexels& T = *F.Texels;
  if (T.BlockCount == 0 || all) {
    for (int i = 0; i < T.Count; i++) touch(T.Texels[i]);
    return;
  }
  for (int b = 0; b < T.BlockCount; b++)
    if (BlockInReach(frame, T.Directory[b], scene_.UnitScale)) {
      touch(T.Texels[T.Directory[b].First]);
      reach_.push_back(b);
    }
}

float PaintStroke::WalkGrid(const SampleFunction& fn, const StrokeContext& ctx, int face, bool all,
                            SampleRect& reached) {
  PaintFace& F = scene_.Faces[face];
  // A wholly frozen face takes no paint: every weight would be 0.
  if (!F.Grid || (F.FreezeState == 2 && !all)) return 0;
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
  const PenMeasure measure(f, us, all, false);
  float sum = 0;
  VertexSample s;
  s.Face = face, s.Layer = fl->Info;
  auto visit = [&](int x, int y) {
    const int i = y * Nx + x;
    MicroVertex& mv = F.Grid[i];
    measured++;
    PenPoint pp;
    if (!measure(startPosition(i), pp)) return;
    reached.Add(x, y);
    s.PenX = pp.x, s.PenY = pp.y;
    if (ctx.Strip && !all)
      f.StripPlace(pp.v, pp.t, pp.r, Cross(f.DirectionAt(pp.t), mv.BaseNormal).Normalized(), s.StripX, s.StripY);
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
    // The cells left out are not measured, but the face's freeze is counted
    // over all its samples: one test each, far cheaper than a measure.
    int free = 0, frozen = 0;
    for (int i = 0; i < Nx * Ny; i++) {
      const float fz = F.Grid[i].Freeze;
      free += fz < 0.001f, frozen += fz > 0.999f;
    }
    F.FreezeState = FreezeStateOf(free, frozen, Nx * Ny);
  } else {
    // Every sample is measured here, so the face's freeze state is counted
    // on the way (one thread owns the face).
    int free = 0, frozen = 0;
    for (int y = 0; y < Ny; y++)
      for (int x = 0; x < Nx; x++) {
        const float fz = F.Grid[y * Nx + x].Freeze;
        free += fz < 0.001f, frozen += fz > 0.999f;
        visit(x, y);
      }
    F.FreezeState = FreezeStateOf(free, frozen, Nx * Ny);
  }
  std::atomic_ref<int64_t>(LastSamples).fetch_add(measured, std::memory_order_relaxed);
  return sum;
}

float PaintStroke::WalkTexels(const SampleFunction& fn, const StrokeContext& ctx, int face, bool all,
                              const int* blocks, int count, FreezeCount& freeze) {
  const PaintFace& F = scene_.Faces[face];
  PixelMap* map = scene_.GetPixelMap(F.RenderTarget);
  // A wholly frozen face takes no paint: every weight would be 0.
  if (!map || !F.Texels || !fn.HasPixelForm() || (F.FreezeState == 2 && !all)) return 0;
  const StrokeFrame& f = *ctx.Frame;
  const float us = ctx.UnitScale;
  const FaceTexels& T = *F.Texels;
  OneLayerInfo* info = scene_.GetLayerByID(ctx.CurrentLayer);
  PixelCursor cur;
  PixelSample s;
  s.Layer = info;
  const PenMeasure measure(f, us, all, true);
  // Across the strip on texels: the stroke's direction crossed with the pen's axis.
  const cVec3 stripSide = ctx.Strip ? Cross(f.DirectionAt(0.5f), f.AxisZ).Normalized() : cVec3();
  float sum = 0;
  int64_t measured = 0;
  const bool strip = ctx.Strip && !all;
  // The tile's current layer, when it is the one painted, and its undo copy.
  auto currentLayer = [&](const PixelTile* tile) {
    LayerTile* layer = tile->CurrentLayerTile;
    return layer && (int)layer->LayerID == ctx.CurrentLayer ? layer : nullptr;
  };
  // One texel whose pixel is (tile, index); `layer` as currentLayer gives.
  // True when the sample changed it; the caller marks the tile.
  auto visit = [&](const FaceTexel& t, PixelTile* tile, LayerTile* layer, const LayerTile* undo,
                   int index) __attribute__((always_inline)) {
    TilePixel& pixel = tile->Pixels[index];
    freeze.Add(pixel.Freeze);
    PenPoint pp;
    if (!measure(t.Position * us, pp) || !layer) return false;
    s.PenX = pp.x, s.PenY = pp.y;
    if (strip) f.StripPlace(pp.v, pp.t, pp.r, stripSide, s.StripX, s.StripY);
    s.X = t.X, s.Y = t.Y, s.UVX = t.X, s.UVY = t.Y;
    s.Position = t.Position, s.Normal = t.Normal;
    s.Pixel = &pixel;
    s.Dest = &layer->Pixels[index];
    s.Backup = undo ? &undo->Pixels[index] : s.Dest;
    const float w = fn.Pixel(ctx, s, pp.radius, pp.scaled);
    if (w == 0) return false;
    sum += w;
    return true;
  };
  auto markDirty = [](PixelTile* tile) {
    std::atomic_ref<int>(tile->DirtyState).store(1, std::memory_order_relaxed);
  };
  // Texels one by one, each finding its tile.
  auto walk = [&](uint32_t first, uint32_t count) {
    measured += count;
    for (uint32_t i = first; i < first + count; i++) {
      const FaceTexel& t = T.Texels[i];
      if (map->FetchPixel(cur, t.X, t.Y, false, false, false)) {
        if (visit(t, cur.Tile, currentLayer(cur.Tile), cur.Tile->UndoLayerTile, cur.Index)) markDirty(cur.Tile);
      } else {
        freeze.Add(0);  // no tile yet: nothing frozen there
      }
    }
  };
  // A block's texels share one tile: it is looked up once.
  auto walkBlock = [&](const FaceTexelBlock& b) {
    PixelTile* tile = map->FindTile(b.TileX, b.TileY);
    if (!tile) {
      for (uint32_t i = 0; i < b.Count; i++) freeze.Add(0);
      return;
    }
    measured += b.Count;
    LayerTile* const layer = currentLayer(tile);
    const LayerTile* const undo = tile->UndoLayerTile;
    // The tile is marked once after its block: a store per texel would pull
    // the tile's line back and forth when both workers paint it.
    bool painted = false;
    for (uint32_t i = b.First; i < b.First + b.Count; i++) {
      const FaceTexel& t = T.Texels[i];
      if ((t.X >> 4) != b.TileX || (t.Y >> 4) != b.TileY) {  // a damaged directory
        freeze.Add(0);
        continue;
      }
      painted |= visit(t, tile, layer, undo, (t.Y & 15) * kTileSide + (t.X & 15));
    }
    if (painted) markDirty(tile);
  };
  if (!blocks) {
    walk(0, (uint32_t)T.Count);
  } else {
    for (int i = 0; i < count; i++)
      if (blocks[i] >= 0 && blocks[i] < T.BlockCount) walkBlock(T.Directory[blocks[i]]);
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
  // Serial: layer entries, backups and tiles exist before any worker runs;
  // the walk is cut into pieces of at most kPieceBlocks texel blocks.
  constexpr int kPieceBlocks = 4;
  pieces_.clear();
  reach_.clear();
  // Grids whose entry of the layer this dab made: the new entry can change
  // samples the pen never reached (a dissolving layer covers the whole
  // face), so they recompose whole.
  std::vector<uint8_t> fresh(faces.size(), 0);
  for (int i = 0; i < (int)faces.size(); i++) {
    const int f = faces[i];
    const PaintFace& F = scene_.Faces[f];
    if (F.Grid) {
      fresh[i] = PrepareFace(f, backup);
      pieces_.push_back({f, i, true, -1, -1});
    }
    if (F.Texels) {
      const int first = (int)reach_.size();
      PrepareTiles(f, frame, backup, all);
      if (all || F.Texels->BlockCount == 0) {
        pieces_.push_back({f, i, false, -1, -1});
      } else {
        for (int b = first; b < (int)reach_.size(); b += kPieceBlocks)
          pieces_.push_back({f, i, false, b, std::min(b + kPieceBlocks, (int)reach_.size())});
      }
    }
  }
  if (backup && (!backups_.empty() || !maps_.empty())) partTouched_ = true;
  std::sort(prepared_.begin(), prepared_.end());
  prepared_.erase(std::unique(prepared_.begin(), prepared_.end()), prepared_.end());
  // Each tile's current layer and undo copy: every tile is its own, so the
  // workers share them; a map whose copies were taken is marked changed.
  // The layer's record is made here, should it be missing, not on a worker.
  if (!prepared_.empty()) scene_.GetLayerByID(scene_.CurrentLayer);
  std::vector<uint8_t> copied(prepared_.size(), 0);
  OnFreeWorkers((int)prepared_.size(),
                [&](int i) { copied[i] = prepared_[i].second->PrepareLayerTile(prepared_[i].first, backup); });
  for (size_t i = 0; i < prepared_.size(); i++)
    if (copied[i]) prepared_[i].second->Changed = true;
  std::vector<int> stateBefore;
  for (auto& [tile, map] : prepared_) stateBefore.push_back(tile->DirtyState), tile->DirtyState = 0;
  StrokeContext ctx;
  ctx.Frame = &frame, ctx.Scene = &scene_, ctx.Pen = Pen, ctx.Modificator = Modificator, ctx.Mask = Mask;
  ctx.Strip = Strip;
  ctx.CurrentLayer = scene_.CurrentLayer, ctx.UnitScale = scene_.UnitScale;
  // Workers take the next piece as they come free; each piece's sum has its
  // own slot, and the sums are added piece by piece afterwards, so the wear
  // does not depend on which worker took what.
  std::vector<float> sums(pieces_.size(), 0.0f);
  std::vector<SampleRect> reached(pieces_.size());
  std::vector<FreezeCount> freezes(pieces_.size());
  OnFreeWorkers((int)pieces_.size(), [&](int k) {
    const WalkPiece& p = pieces_[k];
    sums[k] = p.Grid ? WalkGrid(fn, ctx, p.Face, all, reached[k])
                     : WalkTexels(fn, ctx, p.Face, all, p.First < 0 ? nullptr : &reach_[p.First], p.Last - p.First,
                                  freezes[k]);
  });
  std::vector<uint8_t> touched(faces.size(), 0);
  std::vector<float> faceSums(faces.size(), 0.0f);
  std::vector<FreezeCount> faceFreeze(faces.size());
  for (size_t k = 0; k < pieces_.size(); k++) {
    faceSums[pieces_[k].Place] += sums[k];
    if (!pieces_[k].Grid) faceFreeze[pieces_[k].Place].Merge(freezes[k]);
  }
  // Texel faces: the pieces' counts, face by face. Every texel seen gives
  // the state; fewer can still show that the state held was wrong.
  for (size_t i = 0; i < faces.size(); i++) {
    PaintFace& F = scene_.Faces[faces[i]];
    const FreezeCount& c = faceFreeze[i];
    if (F.Grid || !F.Texels || c.Seen == 0) continue;
    if (c.Seen >= F.Texels->Count)
      F.FreezeState = FreezeStateOf(c.Free, c.Frozen, c.Seen);
    else if ((F.FreezeState == 0 && c.Free < c.Seen) || (F.FreezeState == 2 && c.Frozen < c.Seen))
      F.FreezeState = 1;
  }
  for (size_t i = 0; i < faces.size(); i++)
    if (faceSums[i] != 0) {
      PaintFace& F = scene_.Faces[faces[i]];
      F.Wear = std::clamp(F.Wear + faceSums[i], 0.0f, 1e30f);
      touched[i] = 1;
    }
  GeneralPen::DeepDegree = savedDepth;
  // Touched grids recompose the samples the dab reached; they and their
  // neighbours (whose drawn border reaches into them) are redrawn.
  std::vector<int> composed;
  std::vector<SampleRect> rects;
  for (size_t k = 0; k < pieces_.size(); k++)
    if (pieces_[k].Grid && touched[pieces_[k].Place]) composed.push_back(pieces_[k].Face), rects.push_back(reached[k]);
  LastTouchedFaces = 0;
  for (uint8_t t : touched) LastTouchedFaces += t;
  const int n = (int)composed.size();
  std::vector<int> whole;
  for (size_t k = 0; k < pieces_.size(); k++)
    if (pieces_[k].Grid && fresh[pieces_[k].Place]) whole.push_back(pieces_[k].Face);
  std::sort(whole.begin(), whole.end());
  OnFreeWorkers(n, [&](int i) {
    if (std::binary_search(whole.begin(), whole.end(), composed[i])) return;
    ComposeFaceSamples(scene_, composed[i], rects[i].X0, rects[i].Y0, rects[i].X1, rects[i].Y1);
  });
  OnFreeWorkers((int)whole.size(), [&](int i) { ComposeFace(scene_, whole[i]); });
  for (int f : whole) scene_.MarkFaceDirty(f);
  // Normals read the neighbours' composite positions: a pass of their own,
  // over the reached samples and their ring, and over the face's border
  // when a neighbour across it moved too.
  if (GeneralPen::DrawDepth) {
    std::vector<int> sorted = composed;
    std::sort(sorted.begin(), sorted.end());
    OnFreeWorkers(n, [&](int i) {
      const int face = composed[i];
      const SampleRect& r = rects[i];
      GridNormals(scene_, face, r.X0 - 1, r.Y0 - 1, r.X1 + 1, r.Y1 + 1);
      const PaintFace& F = scene_.Faces[face];
      bool moved = false;
      for (int g : F.Neighbour) moved |= g >= 0 && std::binary_search(sorted.begin(), sorted.end(), g);
      if (!moved) return;
      GridNormals(scene_, face, 0, 0, F.Nx, 1);
      GridNormals(scene_, face, 0, F.Ny - 1, F.Nx, F.Ny);
      GridNormals(scene_, face, 0, 1, 1, F.Ny - 1);
      GridNormals(scene_, face, F.Nx - 1, 1, F.Nx, F.Ny - 1);
    });
    // Faces beside the stroke that it did not reach, hidden ones too.
    NeighbourBorderNormals(scene_, composed);
  }
  for (int f : composed) {
    scene_.MarkFaceDirty(f);
    for (int g : scene_.Faces[f].Neighbour)
      if (g >= 0) scene_.MarkFaceDirty(g);
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
