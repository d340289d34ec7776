// Writing and applying the moved-vertex and whole-face records (see ShapeUndo.h).
#include "paint/undo/ShapeUndo.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "ClassEngine/ExMalloc.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "paint/file/BlockCoding.h"
#include "paint/layers/ComposeFace.h"
#include "paint/scene/FaceBatches.h"
#include "paint/scene/PaintScene.h"
#include "paint/undo/UndoStack.h"
#include "shell/tools/BasicTool.h"

using comms::cVec3;

namespace {
constexpr uint64_t kMicroVertexBytes = 48;
constexpr uint64_t kSampleBytes = 24;

struct VertexPosition {
  int Vertex = -1;
  cVec3 Position;
};

void PutVertices(BinStream& out, const std::vector<VertexPosition>& list) {
  BlockWriter w(out);
  w.U32(kVertUndoTag);
  w.U32((uint32_t)list.size());
  for (const VertexPosition& v : list) w.U32((uint32_t)v.Vertex), w.Vec3(v.Position);
}

// The unique corners of a face (its FaceCornerMap entries but the repeated last).
int CornerCount(const PaintScene& scene, int face) { return std::max(scene.FaceCornerMap.Entries(face) - 1, 0); }

// Every face with a corner on a flagged vertex.
std::vector<int> FacesOn(const PaintScene& scene, const std::vector<uint8_t>& flagged) {
  std::vector<int> out;
  for (int f = 0; f < (int)scene.Faces.size(); ++f) {
    const int* c = scene.FaceCornerMap.Entries(f) ? scene.FaceCornerMap.Of(f) : nullptr;
    for (int i = 0; i < CornerCount(scene, f); ++i) {
      const int v = scene.Corners[c[i]].Vertex;
      if (v >= 0 && v < (int)flagged.size() && flagged[v]) {
        out.push_back(f);
        break;
      }
    }
  }
  return out;
}

// One face as a whole-face record holds it.
struct FaceState {
  int Face = -1;
  int Nx = 0, Ny = 0;
  uint8_t Flags = 0, SeamBits = 0, FreezeState = 0;
  std::vector<MicroVertex> Grid;
  std::vector<int> LayerIDs;
  std::vector<std::vector<LayerMicroVertex>> Layers;
  struct CornerUV {
    int Corner = -1;
    float U = 0, V = 0;
  };
  std::vector<CornerUV> Corners;
};

FaceState PresentFaceState(PaintScene& scene, int face) {
  FaceState s;
  PaintFace& f = scene.Faces[face];
  s.Face = face;
  if (f.Grid) s.Nx = f.Nx, s.Ny = f.Ny;
  const int n = s.Nx * s.Ny;
  s.Flags = f.Flags, s.SeamBits = f.SeamBits, s.FreezeState = f.FreezeState;
  if (n) s.Grid.assign(f.Grid, f.Grid + n);
  for (const FaceLayer& l : f.LayerList) {
    s.LayerIDs.push_back(l.LayerID);
    s.Layers.emplace_back(l.Data, l.Data + (l.Data ? n : 0));
  }
  const int* c = CornerCount(scene, face) ? scene.FaceCornerMap.Of(face) : nullptr;
  for (int i = 0; i < CornerCount(scene, face); ++i) {
    const FaceCorner& k = scene.Corners[c[i]];
    s.Corners.push_back({c[i], k.UV.x, k.UV.y});
  }
  return s;
}

void PutFaceState(BlockWriter& w, const FaceState& s) {
  w.U32((uint32_t)s.Face), w.U32((uint32_t)s.Nx), w.U32((uint32_t)s.Ny);
  w.U8(s.Flags), w.U8(s.SeamBits), w.U8(s.FreezeState), w.U8(0);
  w.U32((uint32_t)s.Layers.size());
  for (const MicroVertex& m : s.Grid) {
    w.Vec3(m.Position), w.Vec3(m.Normal);
    w.U32(m.Color), w.F32(m.Freeze), w.F32(m.Opacity);
    w.Vec3(m.BaseNormal);
  }
  for (size_t l = 0; l < s.Layers.size(); ++l) {
    w.U32((uint32_t)s.LayerIDs[l]);
    for (const LayerMicroVertex& v : s.Layers[l]) w.Vec3(v.Offset), w.U32(v.Color), w.F32(v.Opacity), w.F32(v.Emboss);
  }
  w.U32((uint32_t)s.Corners.size());
  for (const FaceState::CornerUV& c : s.Corners) w.U32((uint32_t)c.Corner), w.F32(c.U), w.F32(c.V);
}

bool ReadFaceState(BlockReader& r, const PaintScene& scene, FaceState& s) {
  const uint32_t face = r.U32(), nx = r.U32(), ny = r.U32();
  s.Flags = r.U8(), s.SeamBits = r.U8(), s.FreezeState = r.U8();
  r.U8();
  const uint32_t layers = r.U32();
  if (!r.Ok()) return false;
  if (face >= scene.Faces.size() || nx > 0xffff || ny > 0xffff) {
    r.Fail("face or grid size out of range");
    return false;
  }
  s.Face = (int)face;
  const uint64_t n = nx && ny ? (uint64_t)nx * ny : 0;
  s.Nx = n ? (int)nx : 0, s.Ny = n ? (int)ny : 0;
  if (!r.Fits(n, kMicroVertexBytes, "micro-vertex") || !r.Fits(layers, 4 + n * kSampleBytes, "face layer"))
    return false;
  s.Grid.resize(n);
  for (MicroVertex& m : s.Grid) {
    m.Position = r.Vec3(), m.Normal = r.Vec3();
    m.Color = r.U32(), m.Freeze = r.F32(), m.Opacity = r.F32();
    m.BaseNormal = r.Vec3();
  }
  s.LayerIDs.resize(layers);
  s.Layers.resize(layers);
  for (uint32_t l = 0; l < layers; ++l) {
    s.LayerIDs[l] = r.I32();
    s.Layers[l].resize(n);
    for (LayerMicroVertex& v : s.Layers[l]) v.Offset = r.Vec3(), v.Color = r.U32(), v.Opacity = r.F32(), v.Emboss = r.F32();
  }
  const uint32_t corners = r.U32();
  if (!r.Fits(corners, 12, "corner")) return false;
  s.Corners.resize(corners);
  for (FaceState::CornerUV& c : s.Corners) {
    const uint32_t k = r.U32();
    c.U = r.F32(), c.V = r.F32();
    if (k >= scene.Corners.size()) {
      r.Fail("corner out of range");
      return false;
    }
    c.Corner = (int)k;
  }
  return r.Ok();
}

// On a target of Ptex planes each grid face owns a rectangle of the map:
// Nx by Ny texels from its first corner's UV times the size, less half a
// texel, rounded. `value` 0 frees it, 1 claims it.
void MarkPtexRect(PaintScene& scene, int face, uint8_t value) {
  const PaintFace& f = scene.Faces[face];
  if (!f.Grid || f.RenderTarget >= scene.RenderTargets.GetAmount() || CornerCount(scene, face) == 0) return;
  MRenderTarget* rt = scene.RenderTargets[f.RenderTarget];
  if (!rt || !rt->PtexOccupancy) return;
  const comms::cVec2& uv = scene.Corners[scene.FaceCornerMap.Of(face)[0]].UV;
  const int x0 = (int)std::lround(uv.x * rt->rtSizeX - 0.5f), y0 = (int)std::lround(uv.y * rt->rtSizeY - 0.5f);
  for (int y = std::max(y0, 0); y < std::min(y0 + (int)f.Ny, rt->rtSizeY); ++y)
    for (int x = std::max(x0, 0); x < std::min(x0 + (int)f.Nx, rt->rtSizeX); ++x)
      rt->PtexOccupancy[(size_t)y * rt->rtSizeX + x] = value;
}

void RestoreFaceState(PaintScene& scene, const FaceState& s) {
  PaintFace& f = scene.Faces[s.Face];
  scene.MicroVertexCount -= f.Grid ? f.SampleCount() : 0;
  for (int i = f.LayerList.GetAmount() - 1; i >= 0; --i) f.RemoveLayerAt(i);
  f.AllocateGrid(s.Nx, s.Ny);
  const int n = f.Grid ? f.SampleCount() : 0;
  scene.MicroVertexCount += n;
  std::copy(s.Grid.begin(), s.Grid.begin() + n, f.Grid);
  for (size_t l = 0; l < s.Layers.size(); ++l) {
    auto* data = n ? (LayerMicroVertex*)cExMalloc((int)(sizeof(LayerMicroVertex) * (size_t)n)) : nullptr;
    for (int i = 0; data && i < n; ++i) new (&data[i]) LayerMicroVertex(s.Layers[l][(size_t)i]);
    f.LayerList.Add(FaceLayer{data, s.LayerIDs[l], scene.GetLayerByID(s.LayerIDs[l])});
  }
  // The bottom entry stays first; the rest follow the layer order as it is now.
  if (f.LayerList.GetAmount() > 2)
    std::stable_sort(f.LayerList.Values + 1, f.LayerList.Values + f.LayerList.GetAmount(),
                     [&](const FaceLayer& a, const FaceLayer& b) { return scene.OrderOf(a.LayerID) < scene.OrderOf(b.LayerID); });
  f.Flags = s.Flags, f.SeamBits = s.SeamBits, f.FreezeState = s.FreezeState;
  for (const FaceState::CornerUV& c : s.Corners) {
    FaceCorner& k = scene.Corners[(size_t)c.Corner];
    k.UV = comms::cVec2(c.U, c.V);
    k.UV2 = k.UV;
  }
}
}  // namespace

void WriteVertUndo(BinStream& out, PaintScene& scene, const std::vector<int>& vertices) {
  std::vector<uint8_t> seen(scene.Vertices.size(), 0);
  std::vector<VertexPosition> list;
  for (int v : vertices)
    if (v >= 0 && v < (int)scene.Vertices.size() && !seen[v]) {
      seen[v] = 1;
      list.push_back({v, scene.Vertices[v].Position});
    }
  PutVertices(out, list);
}

bool PushVertUndo(UndoStack& stack, PaintScene& scene, const std::vector<int>& vertices) {
  MemoryBinStream s;
  WriteVertUndo(s, scene, vertices);
  return stack.PushUndoRecord(s);
}

void RecomputeVertexNormals(PaintScene& scene, const std::vector<int>& vertices) {
  std::vector<uint8_t> moved(scene.Vertices.size(), 0);
  for (int v : vertices)
    if (v >= 0 && v < (int)moved.size()) moved[v] = 1;
  std::vector<uint8_t> marked(scene.Normals.size(), 0);
  auto normalOf = [&](int corner) {
    const int n = scene.Corners[corner].Normal;
    return n >= 0 && n < (int)marked.size() ? n : -1;
  };
  // A moved vertex turns the faces around it, and so the normals of all
  // their corners.
  for (int f : FacesOn(scene, moved)) {
    const int* c = scene.FaceCornerMap.Of(f);
    for (int i = 0; i < CornerCount(scene, f); ++i)
      if (int n = normalOf(c[i]); n >= 0) marked[n] = 1;
  }
  for (size_t n = 0; n < marked.size(); ++n)
    if (marked[n]) scene.Normals[n] = cVec3();
  // Each face adds its triangle fan's area-weighted normals to its corners.
  // A marked normal may be shared by corners of faces with no moved vertex,
  // so every face takes part.
  for (int f = 0; f < (int)scene.Faces.size(); ++f) {
    const int count = CornerCount(scene, f);
    if (count < 3) continue;
    const int* c = scene.FaceCornerMap.Of(f);
    bool any = false;
    for (int i = 0; i < count && !any; ++i) any = normalOf(c[i]) >= 0 && marked[normalOf(c[i])];
    if (!any) continue;
    auto pos = [&](int i) { return scene.Vertices[scene.Corners[c[i]].Vertex].Position; };
    for (int i = 1; i + 1 < count; ++i) {
      const cVec3 a = pos(0), b = pos(i), d = pos(i + 1);
      const cVec3 n = comms::Cross(b - a, d - a);
      for (int j : {0, i, i + 1})
        if (int k = normalOf(c[j]); k >= 0 && marked[k]) scene.Normals[k] += n;
    }
  }
  for (size_t n = 0; n < marked.size(); ++n)
    if (marked[n]) scene.Normals[n] = scene.Normals[n].Normalized();
}

void VertUndo::Apply(BinStream& in) {
  // The record belongs to a tool that moves vertices: in another tool the
  // step is passed over and the next one taken.
  BasicTool* tool = activeTool_ ? activeTool_() : nullptr;
  if (!tool || !tool->MovesVertices()) {
    if (stack_.InRedo) stack_.Redo();
    else stack_.Undo();
    return;
  }
  PaintScene& scene = scene_;
  const int64_t size = in.Size();
  BlockReader r(in, size);
  r.Enter("VERT", size);
  const uint32_t n = r.U32();
  std::vector<VertexPosition> record;
  if (r.Ok() && r.Fits(n, 16, "vertex")) {
    record.resize(n);
    for (VertexPosition& v : record) {
      const uint32_t index = r.U32();
      v.Position = r.Vec3();
      if (index >= scene.Vertices.size()) r.Fail("vertex out of range");
      v.Vertex = (int)index;
    }
  }
  if (!r.Ok()) {
    Log("VertUndo::Apply(): damaged record (%s); left unapplied", r.Error().c_str());
    return;
  }
  // The present positions, once per vertex, are the inverse.
  std::vector<uint8_t> flagged(scene.Vertices.size(), 0);
  std::vector<VertexPosition> present;
  std::vector<int> moved;
  for (const VertexPosition& v : record)
    if (!flagged[v.Vertex]) {
      flagged[v.Vertex] = 1;
      present.push_back({v.Vertex, scene.Vertices[v.Vertex].Position});
      moved.push_back(v.Vertex);
    }
  if (stack_.InverseWanted()) {
    MemoryBinStream inverse;
    PutVertices(inverse, present);
    stack_.PushUndoRecord(inverse);
  }
  scene.Modified = 1;
  for (const VertexPosition& v : record) scene.Vertices[v.Vertex].Position = v.Position;
  for (int f : FacesOn(scene, flagged)) MarkFaceBlocksOutOfDate(scene, f);
  RecomputeVertexNormals(scene, moved);
}

void WriteFullFaceUndo(BinStream& out, PaintScene& scene, const std::vector<int>& faces) {
  std::vector<int> list;
  for (int f : faces)
    if (f >= 0 && f < (int)scene.Faces.size()) list.push_back(f);
  BlockWriter w(out);
  w.U32(kFullFaceUndoTag);
  w.U32((uint32_t)list.size());
  for (int f : list) PutFaceState(w, PresentFaceState(scene, f));
}

bool PushFullFaceUndo(UndoStack& stack, PaintScene& scene, const std::vector<int>& faces) {
  MemoryBinStream s;
  WriteFullFaceUndo(s, scene, faces);
  return stack.PushUndoRecord(s);
}

void FullFaceUndo::Apply(BinStream& in) {
  PaintScene& scene = scene_;
  const int64_t size = in.Size();
  BlockReader r(in, size);
  r.Enter("FFUN", size);
  const uint32_t n = r.U32();
  std::vector<FaceState> faces;
  if (r.Ok() && r.Fits(n, 24, "whole face")) {
    faces.resize(n);
    for (FaceState& s : faces)
      if (!ReadFaceState(r, scene, s)) break;
  }
  if (!r.Ok()) {
    Log("FullFaceUndo::Apply(): damaged record (%s); left unapplied", r.Error().c_str());
    return;
  }
  if (stack_.InverseWanted()) {
    std::vector<int> list;
    for (const FaceState& s : faces) list.push_back(s.Face);
    MemoryBinStream inverse;
    WriteFullFaceUndo(inverse, scene, list);
    stack_.PushUndoRecord(inverse);
  }
  scene.Modified = 1;
  std::vector<int> restored;
  for (const FaceState& s : faces) {
    MarkPtexRect(scene, s.Face, 0);
    RestoreFaceState(scene, s), restored.push_back(s.Face);
  }
  for (const FaceState& s : faces) MarkPtexRect(scene, s.Face, 1);
  // The grids come back with their own normals, and the faces beside them
  // read their sides again; the faces are drawn anew.
  NeighbourBorderNormals(scene, restored);
  for (const FaceState& s : faces) {
    MarkFaceBlocksOutOfDate(scene, s.Face);
    scene.MarkFaceDirty(s.Face);
  }
  UpdateDirtyFaces(scene, true, -1, scene.DrawFaceBatch);
}
