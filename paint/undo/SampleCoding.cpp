// The sample coding of the paint undo records (see SampleCoding.h).
#include "paint/undo/SampleCoding.h"

#include <algorithm>
#include <cstring>

#include "paint/file/BlockCoding.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"
#include "paint/stroke/PickState.h"

namespace {
constexpr int kSampleBytes = 24;
constexpr int kTileEntryBytes = 16 + 8 + kTilePixels * 12 + 2;
}  // namespace

void PutPickState(BlockWriter& w, const PickState& p) {
  auto vecs = [&](const comms::cVec3* v, int n) {
    for (int i = 0; i < n; ++i) w.Vec3(v[i]);
  };
  w.F32(p.PickValue);
  w.Vec3(p.Pick0), w.Vec3(p.Pick1), w.Vec3(p.Pick2);
  w.Vec3(p.PickDirection);
  vecs(p.PickMirrors0, PickState::kCopies), vecs(p.PickMirrors1, PickState::kCopies);
  vecs(p.PickMirrors2, PickState::kCopies), vecs(p.DirectionMirrors, PickState::kCopies);
  w.U32(p.PickMode);
  for (int32_t face : p.PickExtra) w.I32(face);
  w.Vec3(p.PickUp);
  vecs(p.UpMirrors, PickState::kCopies);
}

bool ReadPickState(BlockReader& r, PickState& p) {
  if (!r.Fits(1, PickState::kRecordBytes, "pick state")) return false;
  auto vecs = [&](comms::cVec3* v, int n) {
    for (int i = 0; i < n; ++i) v[i] = r.Vec3();
  };
  p.PickValue = r.F32();
  p.Pick0 = r.Vec3(), p.Pick1 = r.Vec3(), p.Pick2 = r.Vec3();
  p.PickDirection = r.Vec3();
  vecs(p.PickMirrors0, PickState::kCopies), vecs(p.PickMirrors1, PickState::kCopies);
  vecs(p.PickMirrors2, PickState::kCopies), vecs(p.DirectionMirrors, PickState::kCopies);
  p.PickMode = r.U32();
  for (int32_t& face : p.PickExtra) face = r.I32();
  p.PickUp = r.Vec3();
  vecs(p.UpMirrors, PickState::kCopies);
  return r.Ok();
}

void PutSamples(BlockWriter& w, const LayerMicroVertex* s, int n) {
  w.U32((uint32_t)n);
  for (int i = 0; i < n; ++i) {
    w.Vec3(s[i].Offset);
    w.U32(s[i].Color), w.F32(s[i].Opacity), w.F32(s[i].Emboss);
  }
}

void PutNormals(BlockWriter& w, const std::vector<comms::cVec3>& normals) {
  w.U32((uint32_t)normals.size());
  for (const comms::cVec3& n : normals) w.Vec3(n);
}

void PutFace(BlockWriter& w, const FaceEntry& e) {
  w.I32(e.Face), w.I32(e.LayerID), w.U8(e.HasSamples ? 1 : 0);
  if (e.HasSamples) PutSamples(w, e.Samples.data(), (int)e.Samples.size());
  PutNormals(w, e.Normals);
}

void PutTile(BlockWriter& w, int target, int layerID, int x, int y, const LayerPixel* pixels, const uint16_t* freeze) {
  w.U32((uint32_t)target + 1), w.U32((uint32_t)layerID), w.U32((uint32_t)x), w.U32((uint32_t)y);
  w.U32((uint32_t)layerID), w.U32(0);  // the tile's own head: its layer, no info
  static const LayerPixel kEmpty;
  for (int i = 0; i < kTilePixels; ++i) {
    const LayerPixel& p = pixels ? pixels[i] : kEmpty;
    w.F32(p.Depth), w.U32(p.Color), w.U8(p.Reserved0), w.U8(p.Specular), w.U8(p.Reserved1[0]), w.U8(p.Reserved1[1]);
  }
  w.U16(freeze ? 1 : 0);
  for (int i = 0; freeze && i < kTilePixels; ++i) w.U16(freeze[i]);
}

bool AllEmpty(const LayerMicroVertex* s, int n) {
  for (int i = 0; i < n; ++i)
    if (!s[i].IsEmpty()) return false;
  return true;
}

int TargetOf(PaintScene& scene, const PixelMap* map) {
  for (int rt = 0; rt < scene.RenderTargets.GetAmount(); ++rt)
    if (scene.GetPixelMap(rt) == map) return rt;
  return -1;
}

void CaptureCorners(const PaintScene& scene, FaceEntry& e) {
  e.HasCorners = true;
  const int count = std::min(scene.FaceCornerMap.Entries(e.Face) - 1, 4);
  const int* c = scene.FaceCornerMap.Of(e.Face);
  for (int i = 0; i < count; ++i) {
    const FaceCorner& k = scene.Corners[c[i]];
    if (k.Vertex >= 0 && k.Vertex < (int)scene.Vertices.size()) e.CornerPositions[i] = scene.Vertices[k.Vertex].Position;
    if (k.Normal >= 0 && k.Normal < (int)scene.Normals.size()) e.CornerNormals[i] = scene.Normals[k.Normal];
  }
}

void PutFaceBackup(BlockWriter& w, PaintScene& scene, const FaceEntry& e) {
  (void)scene;
  w.U32(e.HasSamples ? 1 : 0), w.U32(0), w.U32(e.Freeze.empty() ? 0 : 1);
  w.I32(e.LayerID);
  for (const comms::cVec3& p : e.CornerPositions) w.Vec3(p);
  for (const comms::cVec3& n : e.CornerNormals) w.Vec3(n);
  w.I32(e.Face);
  w.U8(0), w.U8(0), w.U16(0);  // not checkpointed, not reused; padding
  if (e.HasSamples)
    for (const LayerMicroVertex& s : e.Samples) w.Vec3(s.Offset), w.U32(s.Color), w.F32(s.Opacity), w.F32(s.Emboss);
  for (float f : e.Freeze) w.F32(f);
}

bool ReadFaceBackup(BlockReader& r, PaintScene& scene, FaceEntry& e) {
  if (!r.Fits(1, kFaceBackupBytes, "undo face")) return false;
  e.HasSamples = r.U32() != 0;
  const bool baseNormals = r.U32() != 0, freeze = r.U32() != 0;
  e.LayerID = r.I32();
  for (comms::cVec3& p : e.CornerPositions) p = r.Vec3();
  for (comms::cVec3& n : e.CornerNormals) n = r.Vec3();
  e.Face = r.I32();
  e.HasCorners = true;
  r.U8(), r.U8(), r.U16();
  if (!r.Ok() || e.Face < 0 || e.Face >= (int)scene.Faces.size()) return false;
  const int n = scene.Faces[e.Face].SampleCount();
  if (e.HasSamples) {
    if (!r.Fits((uint64_t)n, kSampleBytes, "undo sample")) return false;
    e.Samples.resize(n);
    for (LayerMicroVertex& s : e.Samples) {
      s.Offset = r.Vec3();
      s.Color = r.U32(), s.Opacity = r.F32(), s.Emboss = r.F32();
    }
  }
  if (freeze) {
    if (!scene.Faces[e.Face].Grid || !r.Fits((uint64_t)n, 4, "undo freeze")) return false;
    e.Freeze.resize(n);
    for (float& f : e.Freeze) f = r.F32();
  }
  // Base normals come with tools that move vertices; none writes them yet.
  if (baseNormals && !r.Skip((uint64_t)n * 12)) return false;
  return r.Ok();
}

void PutEntryNormals(BlockWriter& w, const FaceEntry& e) { PutNormals(w, e.Normals); }

static bool ReadNormals(BlockReader& r, PaintScene& scene, FaceEntry& e);
bool ReadEntryNormals(BlockReader& r, PaintScene& scene, FaceEntry& e) { return ReadNormals(r, scene, e); }

static bool ReadNormals(BlockReader& r, PaintScene& scene, FaceEntry& e) {
  const uint32_t n = r.U32();
  if (n && (n != (uint32_t)scene.Faces[e.Face].SampleCount() || !r.Fits(n, 12, "undo normal"))) return false;
  e.Normals.resize(n);
  for (comms::cVec3& v : e.Normals) v = r.Vec3();
  return r.Ok();
}

bool ReadFace(BlockReader& r, PaintScene& scene, FaceEntry& e) {
  e.Face = r.I32(), e.LayerID = r.I32(), e.HasSamples = r.U8() != 0;
  if (!r.Ok() || e.Face < 0 || e.Face >= (int)scene.Faces.size()) return false;
  if (!e.HasSamples) return ReadNormals(r, scene, e);
  const uint32_t n = r.U32();
  if (n != (uint32_t)scene.Faces[e.Face].SampleCount() || !r.Fits(n, kSampleBytes, "undo sample")) return false;
  e.Samples.resize(n);
  for (LayerMicroVertex& s : e.Samples) {
    s.Offset = r.Vec3();
    s.Color = r.U32(), s.Opacity = r.F32(), s.Emboss = r.F32();
  }
  return ReadNormals(r, scene, e);
}

// Reads tile entries up to the closing 0; false when one is damaged or
// names a tile the scene does not have.
bool ReadTiles(BlockReader& r, PaintScene& scene, std::vector<TileEntry>& out) {
  while (r.Ok()) {
    const uint32_t target = r.U32();
    if (target == 0) return r.Ok();
    if (!r.Fits(1, kTileEntryBytes, "undo tile")) return false;
    TileEntry t;
    t.Target = (int)target - 1;
    t.LayerID = (int)r.U32(), t.X = (int)r.U32(), t.Y = (int)r.U32();
    r.U32(), r.U32();
    PixelMap* map = t.Target < scene.RenderTargets.GetAmount() ? scene.GetPixelMap(t.Target) : nullptr;
    if (!map || !map->FindTile(t.X, t.Y)) return false;
    t.Pixels.resize(kTilePixels);
    for (LayerPixel& p : t.Pixels) {
      p.Depth = r.F32(), p.Color = r.U32(), p.Reserved0 = r.U8(), p.Specular = r.U8();
      p.Reserved1[0] = r.U8(), p.Reserved1[1] = r.U8();
    }
    if (r.U16()) {
      if (!r.Fits(kTilePixels, 2, "undo freeze")) return false;
      t.Freeze.resize(kTilePixels);
      for (uint16_t& f : t.Freeze) f = r.U16();
    }
    out.push_back(std::move(t));
  }
  return false;
}

FaceEntry PresentFace(PaintScene& scene, int face, int layerID) {
  FaceEntry e;
  e.Face = face, e.LayerID = layerID;
  if (FaceLayer* fl = scene.GetFaceLayer(face, layerID, false)) {
    e.HasSamples = true;
    e.Samples.assign(fl->Data, fl->Data + scene.Faces[face].SampleCount());
  }
  if (const MicroVertex* g = scene.Faces[face].Grid)
    for (int i = 0; i < scene.Faces[face].SampleCount(); ++i) e.Normals.push_back(g[i].Normal), e.Freeze.push_back(g[i].Freeze);
  CaptureCorners(scene, e);
  return e;
}

void RestoreFace(PaintScene& scene, const FaceEntry& e) {
  PaintFace& F = scene.Faces[e.Face];
  if (F.Grid && (int)e.Freeze.size() == F.SampleCount()) {
    int free = 0, frozen = 0;
    for (int i = 0; i < F.SampleCount(); ++i) {
      F.Grid[i].Freeze = e.Freeze[i];
      free += e.Freeze[i] < 0.001f, frozen += e.Freeze[i] > 0.999f;
    }
    F.FreezeState = FreezeStateOf(free, frozen, F.SampleCount());
  }
  if (e.HasCorners) {
    const int count = std::min(scene.FaceCornerMap.Entries(e.Face) - 1, 4);
    const int* c = scene.FaceCornerMap.Of(e.Face);
    for (int i = 0; i < count; ++i) {
      const FaceCorner& k = scene.Corners[c[i]];
      if (k.Vertex >= 0 && k.Vertex < (int)scene.Vertices.size()) scene.Vertices[k.Vertex].Position = e.CornerPositions[i];
      if (k.Normal >= 0 && k.Normal < (int)scene.Normals.size()) scene.Normals[k.Normal] = e.CornerNormals[i];
    }
  }
  const bool keep = e.HasSamples && !AllEmpty(e.Samples.data(), (int)e.Samples.size());
  if (keep) {
    FaceLayer* fl = scene.GetFaceLayer(e.Face, e.LayerID, true);
    if (fl) std::memcpy((void*)fl->Data, e.Samples.data(), sizeof(LayerMicroVertex) * e.Samples.size());
  } else {
    // The face held nothing of the layer before: its entry goes (never the bottom one).
    for (int i = 1; i < F.LayerList.GetAmount(); ++i)
      if (F.LayerList[i].LayerID == e.LayerID) {
        F.RemoveLayerAt(i);
        break;
      }
    if (F.LayerList.GetAmount() && F.LayerList[0].LayerID == e.LayerID && e.HasSamples) {
      FaceLayer& bottom = F.LayerList[0];
      std::memcpy((void*)bottom.Data, e.Samples.data(), sizeof(LayerMicroVertex) * e.Samples.size());
    }
  }
}

void RestoreTile(PaintScene& scene, const TileEntry& t) {
  PixelMap* map = scene.GetPixelMap(t.Target);
  PixelTile* tile = map->FindTile(t.X, t.Y);
  LayerTile* l = map->GetLayerTile(tile, t.LayerID, true);
  std::memcpy((void*)l->Pixels, t.Pixels.data(), sizeof(LayerPixel) * kTilePixels);
  for (int i = 0; i < (int)t.Freeze.size(); ++i) tile->Pixels[i].Freeze = t.Freeze[i];
  map->PruneEmptyLayer(tile, t.LayerID);
  map->MarkDirty(tile, 1);
  // The next update copies every layer of the tile across its seams, not
  // only the current one: the far side shows what came back.
  map->LayerChanged = true;
}
void RestoreNormals(PaintScene& scene, const FaceEntry& e) {
  if (MicroVertex* g = scene.Faces[e.Face].Grid)
    for (size_t i = 0; i < e.Normals.size(); ++i) g[i].Normal = e.Normals[i];
}
