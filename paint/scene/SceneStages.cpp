// The loading stages that make a filled scene ready: bounds and scale, edges,
// neighbours and seams, padding directions, targets and UV sets, cells and
// block lists, tangent space; each logs its line when it ends.
#include <algorithm>
#include <cmath>

#include "ClassEngine/Log.h"
#include "ClassEngine/Progress.h"
#include "ClassEngine/Threader.h"
#include "paint/layers/ComposeFace.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"
#include "paint/scene/SceneDevice.h"

using comms::cVec2;
using comms::cVec3;

void FaceCornerTable::AddFace(const int* corners, int n) {
  for (int i = 0; i < n; i++) corners_.push_back(corners[i]);
  if (n > 0) corners_.push_back(corners[0]);
  start_.push_back((int)corners_.size());
}

void PaintScene::ComputeBounds() {
  Bounds = FaceBox();
  for (const MeshVertex& v : Vertices) Bounds.Add(&v.Position.x);
  if (Bounds.Min[0] > Bounds.Max[0]) {
    CellSize = UnitScale = 1;
    return;
  }
  float dx = Bounds.Max[0] - Bounds.Min[0], dy = Bounds.Max[1] - Bounds.Min[1],
        dz = Bounds.Max[2] - Bounds.Min[2];
  float diagonal = std::sqrt(dx * dx + dy * dy + dz * dz);
  if (diagonal <= 0) {
    CellSize = UnitScale = 1;
    return;
  }
  CellSize = diagonal / (Faces.size() >= 300001 ? 100.0f : 50.0f);
  UnitScale = 1024 / diagonal;
}

void PaintScene::BuildEdgeMap() {
  EdgeMap.Clear();
  EdgeMap.Reserve(Corners.size());
  for (int f = 0; f < FaceCornerMap.FaceCount(); f++) {
    int n = FaceCornerMap.Entries(f);
    const int* c = FaceCornerMap.Of(f);
    for (int i = 0; i + 1 < n; i++)
      EdgeMap.Add(EdgeKey(Corners[c[i]].Vertex, Corners[c[i + 1]].Vertex), f);
  }
  EdgeMap.Seal();
}

namespace {
// Slot of Neighbour across quad edge e (corner e to e + 1): edge 0 is the
// grid's top row (y < 0), 1 the right column, 2 the bottom row, 3 the left.
constexpr int kNeighbourSlot[4] = {0, 3, 1, 2};
}  // namespace

void PaintScene::BuildNeighbours() {
  for (int f = 0; f < (int)Faces.size(); f++) {
    PaintFace& face = Faces[f];
    for (int& n : face.Neighbour) n = -1;
    if (!FaceCornerMap.IsQuad(f)) continue;
    const int* c = FaceCornerMap.Of(f);
    for (int e = 0; e < 4; e++) {
      int other = -1, count = 0;
      EdgeMap.ForEach(EdgeKey(Corners[c[e]].Vertex, Corners[c[e + 1]].Vertex), [&](int g) {
        if (g != f) other = g, count++;
      });
      face.Neighbour[kNeighbourSlot[e]] = count == 1 ? other : count == 0 ? -1 : -2;
    }
  }
}

void PaintScene::CreateUVEdgesInfo() {
  for (int f = 0; f < (int)Faces.size(); f++) {
    PaintFace& face = Faces[f];
    face.SeamBits = 0;
    if (!FaceCornerMap.IsQuad(f) || (!face.Grid && !face.Texels)) continue;
    const int* c = FaceCornerMap.Of(f);
    for (int e = 0; e < 4; e++) {
      const FaceCorner& a = Corners[c[e]];
      const FaceCorner& b = Corners[c[e + 1]];
      int entries = 0, other = -1;
      EdgeMap.ForEach(EdgeKey(a.Vertex, b.Vertex), [&](int g) {
        entries++;
        if (g != f) other = g;
      });
      bool seam;
      if (entries >= 3)
        seam = false;  // three or more faces: never a seam
      else if (entries <= 1 || other < 0)
        seam = true;  // a boundary
      else {
        seam = true;
        int n = FaceCornerMap.Entries(other);
        const int* oc = FaceCornerMap.Of(other);
        for (int i = 0; i + 1 < n && seam; i++) {
          const FaceCorner& o = Corners[oc[i]];
          const FaceCorner* mine = o.Vertex == a.Vertex ? &a : o.Vertex == b.Vertex ? &b : nullptr;
          if (!mine) continue;
          float du = o.UV.x - mine->UV.x, dv = o.UV.y - mine->UV.y;
          if (du * du + dv * dv < 1e-10f) seam = false;
        }
      }
      if (seam) face.SeamBits |= (uint8_t)(1 << e);
    }
  }
  CreatePaddingInfo();
}

void PaintScene::CreatePaddingInfo() {
  for (FaceCorner& c : Corners) c.PadDir = cVec2();
  for (int f = 0; f < (int)Faces.size(); f++) {
    if (!FaceCornerMap.IsQuad(f) || (!Faces[f].Grid && !Faces[f].Texels)) continue;
    const int* c = FaceCornerMap.Of(f);
    cVec2 uv[4], mean;
    for (int i = 0; i < 4; i++) {
      uv[i] = Corners[c[i]].UV;
      mean.x += uv[i].x / 4, mean.y += uv[i].y / 4;
    }
    cVec2 normal[4];
    float turn = 0;
    for (int e = 0; e < 4; e++) {
      const cVec2 &p = uv[e], &q = uv[(e + 1) & 3];
      float du = q.x - p.x, dv = q.y - p.y, len = std::sqrt(du * du + dv * dv);
      normal[e] = len > 0 ? cVec2(dv / len, -du / len) : cVec2();
      turn += ((p.x + q.x) / 2 - mean.x) * normal[e].x + ((p.y + q.y) / 2 - mean.y) * normal[e].y;
    }
    float sign = turn > 0 ? 1.0f : -1.0f;
    for (int i = 0; i < 4; i++) {
      const cVec2 &a = normal[(i + 3) & 3], &b = normal[i];
      FaceCorner& corner = Corners[c[i]];
      corner.PadDir.x += sign * (a.x + b.x);
      corner.PadDir.y += sign * (a.y + b.y);
    }
  }
  for (FaceCorner& c : Corners) {
    float len = std::sqrt(c.PadDir.x * c.PadDir.x + c.PadDir.y * c.PadDir.y);
    if (len > 0) c.PadDir.x /= len, c.PadDir.y /= len;
  }
}

void PaintScene::CreateMissingTargets() {
  int largest = -1;
  for (const PaintFace& f : Faces)
    if (f.RenderTarget != 65535) largest = std::max(largest, (int)f.RenderTarget);
  while (RenderTargets.GetAmount() <= largest) {
    auto* rt = new MRenderTarget;
    rt->rtSizeX = RtSizeX, rt->rtSizeY = RtSizeY;
    rt->Parent = &RenderTargets;
    RenderTargets.Add(rt);
  }
}

void PaintScene::CreateDefaultUVSets() {
  if (UVSets.GetAmount() > 0) return;
  for (int i = 0; i < Materials.GetAmount(); i++) {
    auto* set = new RTUVSet;
    set->Name = Materials[i]->Name.cpchar();
    set->TexSizeX = RtSizeX, set->TexSizeY = RtSizeY;
    set->Parent = &UVSets;
    set->AddMaterial();
    set->MtlsList[0]->MtlIndex = i;
    UVSets.Add(set);
  }
}

int PaintScene::SetupUVIds() {
  int warnings = 0;
  const int nm = Materials.GetAmount();
  std::vector<int> setOf(nm, -1);
  std::vector<uint8_t> shared(nm, 0);
  for (int s = 0; s < UVSets.GetAmount(); s++)
    for (OneMtlInUVSet* m : UVSets[s]->MtlsList) {
      if (m->MtlIndex < 0 || m->MtlIndex >= nm) continue;
      if (setOf[m->MtlIndex] >= 0 && setOf[m->MtlIndex] != s) {
        shared[m->MtlIndex] = 1;
        warnings |= WARN_SHARED_SURFACES;
      } else {
        setOf[m->MtlIndex] = s;
      }
    }
  for (PaintFace& f : Faces) {
    if (f.Material >= nm) {
      f.UVSet = 65535;
      continue;
    }
    if (shared[f.Material])
      f.UVSet = f.RenderTarget;
    else if (setOf[f.Material] >= 0)
      f.UVSet = (uint16_t)setOf[f.Material];
  }
  Log("SetupUVIds: done");
  return warnings;
}

void PaintScene::PutFacesInCells() {
  Cells.Clear();
  CellBounds.clear();
  BlockCells.Clear();
  BlockSet.clear();
  UVCells.Clear();
  for (MeshVertex& v : Vertices) v.Dirty = 1;
  Cells.Reserve(Faces.size());
  BlockCells.Reserve(Faces.size());
  for (int f = 0; f < (int)Faces.size(); f++) {
    PaintFace& face = Faces[f];
    int n = FaceCornerMap.Entries(f) - 1;
    if (n <= 0) continue;  // no corners, nothing to place
    const int* c = FaceCornerMap.Of(f);
    cVec3 centre;
    FaceBox box;
    float uvMin[2] = {1e30f, 1e30f}, uvMax[2] = {-1e30f, -1e30f};
    for (int i = 0; i < n; i++) {
      const FaceCorner& corner = Corners[c[i]];
      const cVec3& p = Vertices[corner.Vertex].Position;
      centre += p * (1.0f / n);
      float scaled[3] = {p.x * UnitScale, p.y * UnitScale, p.z * UnitScale};
      box.Add(scaled);
      uvMin[0] = std::min(uvMin[0], corner.UV.x), uvMax[0] = std::max(uvMax[0], corner.UV.x);
      uvMin[1] = std::min(uvMin[1], corner.UV.y), uvMax[1] = std::max(uvMax[1], corner.UV.y);
    }
    CellKey3 key{(int)std::lround(centre.x / CellSize - 0.49999999999),
                 (int)std::lround(centre.y / CellSize - 0.49999999999),
                 (int)std::lround(centre.z / CellSize - 0.49999999999)};
    Cells.Add(key, f);
    CellBounds[key].Add(box);
    CellKey3 block{key.x / 4, key.y / 4, key.z / 4};
    BlockCells.Add(block, f);
    BlockSet.push_back(block);
    face.CellKey[0] = key.x, face.CellKey[1] = key.y, face.CellKey[2] = key.z;
    if (!face.Grid && !face.Texels) continue;
    int u0 = (int)std::lround(uvMin[0] * 64 - 0.49999999999);
    int u1 = (int)std::lround(uvMax[0] * 64 - 0.49999999999);
    int v0 = (int)std::lround(uvMin[1] * 64 - 0.49999999999);
    int v1 = (int)std::lround(uvMax[1] * 64 - 0.49999999999);
    if (u1 - u0 + 1 >= 300 || v1 - v0 + 1 >= 300) continue;
    for (int v = v0; v <= v1; v++)
      for (int u = u0; u <= u1; u++) UVCells.Add({u, v}, f);
  }
  Cells.Seal();
  BlockCells.Seal();
  UVCells.Seal();
  std::sort(BlockSet.begin(), BlockSet.end());
  BlockSet.erase(std::unique(BlockSet.begin(), BlockSet.end()), BlockSet.end());
  Log("PutFacesInCells: done");
}

bool PaintScene::CreateTargetTextures(std::string* why) {
  if (!Device) return true;
  for (MRenderTarget* rt : RenderTargets)
    if ((!rt->UseExternalTexture || rt->Pixels) && !Device->CreateTargetTextures(*rt, why)) return false;
  return true;
}

void PaintScene::CreateMeshBlocks() {
  for (auto& [key, parts] : MeshBlocks)
    for (MeshBlockPart& p : parts) p.UpToDate = 0;
  MeshBlocks.clear();
  const int targets = std::max(1, RenderTargets.GetAmount());
  for (const CellKey3& key : BlockSet) {
    std::vector<MeshBlockPart>& parts = MeshBlocks[key];
    parts.resize(targets);
    for (int t = 0; t < targets; t++) parts[t].RenderTarget = t;
    BlockCells.ForEach(key, [&](int f) {
      int t = Faces[f].RenderTarget;
      if (t < targets) parts[t].Faces.Add(f);
    });
  }
  Log("CreateMeshes: done");
}

void PaintScene::ComputeGridNormals(int face) {
  const PaintFace& f = Faces[face];
  GridNormals(*this, face, 0, 0, f.Nx, f.Ny);
}

void PaintScene::ComposeAll() {
  // A worker's next face is `threads` on: its samples are fetched while
  // this one composes, and the list of the face after it.
  const int threads = std::max(1, UsingProcessors());
  ForEachFace(0, [&](int f) {
    PrefetchFaceLayers(*this, f + 2 * threads);
    PrefetchFaceSamples(*this, f + threads);
    ComposeFace(*this, f);
  }, 0, 50);
  ForEachFace(0, [&](int f) { ComputeGridNormals(f); }, 50, 50);
  for (int t = 0; t < RenderTargets.GetAmount(); t++) UpdatePixelMap(t);
  Log("Faces: done");
}

void PaintScene::CreateTangentSpaceFromBasicNormals() {
  for (int f = 0; f < (int)Faces.size(); f++) {
    const PaintFace& face = Faces[f];
    if (!face.Grid || !FaceCornerMap.IsQuad(f)) continue;
    const int* c = FaceCornerMap.Of(f);
    const int gx[4] = {0, face.Nx - 1, face.Nx - 1, 0}, gy[4] = {0, 0, face.Ny - 1, face.Ny - 1};
    for (int i = 0; i < 4; i++) {
      int normal = Corners[c[i]].Normal;
      if (normal >= 0 && normal < (int)Normals.size())
        Normals[normal] = face.Grid[gy[i] * face.Nx + gx[i]].Normal;
    }
  }
  for (FaceCorner& c : Corners) c.Tangent = c.Binormal = cVec3();
  for (int f = 0; f < (int)Faces.size(); f++) {
    int n = FaceCornerMap.Entries(f) - 1;
    if (n < 3) continue;
    const int* c = FaceCornerMap.Of(f);
    cVec3 mean;
    cVec2 meanUV;
    for (int i = 0; i < n; i++) {
      mean += Vertices[Corners[c[i]].Vertex].Position * (1.0f / n);
      meanUV.x += Corners[c[i]].UV.x / n, meanUV.y += Corners[c[i]].UV.y / n;
    }
    cVec3 sumN, sumT, sumB;
    for (int i = 0; i < n; i++) {
      const FaceCorner& a = Corners[c[(i + n - 1) % n]];
      const FaceCorner& b = Corners[c[i]];
      cVec3 e1 = Vertices[b.Vertex].Position - Vertices[a.Vertex].Position;
      cVec3 e2 = mean - Vertices[a.Vertex].Position;
      float du1 = b.UV.x - a.UV.x, dv1 = b.UV.y - a.UV.y;
      float du2 = meanUV.x - a.UV.x, dv2 = meanUV.y - a.UV.y;
      float det = du1 * dv2 - du2 * dv1;
      sumN += comms::Cross(e1, e2);
      if (std::fabs(det) < 1e-20f) continue;
      sumT += (e1 * dv2 - e2 * dv1) * (1.0f / det);
      sumB += (e2 * du1 - e1 * du2) * (1.0f / det);
    }
    float weight = sumN.Length();
    cVec3 t = sumT.Normalized() * weight, b = sumB.Normalized() * weight;
    for (int i = 0; i < n; i++) Corners[c[i]].Tangent += t, Corners[c[i]].Binormal += b;
  }
  for (FaceCorner& c : Corners) {
    cVec3 n = c.Normal >= 0 && c.Normal < (int)Normals.size() ? Normals[c.Normal].Normalized() : cVec3();
    c.Tangent = (c.Tangent - n * comms::Dot(c.Tangent, n)).Normalized();
    c.Binormal = (c.Binormal - n * comms::Dot(c.Binormal, n)).Normalized();
  }
  Log("CreateTangentSpaceFromBasicNormals: done");
}

bool PaintScene::Prepare(int* warnings) {
  MakeDefaults();
  ComputeBounds();
  BuildEdgeMap();
  BuildNeighbours();
  CreateUVEdgesInfo();
  Log("CreateUVEdgesInfo: done");
  CreateMissingTargets();
  CreateDefaultUVSets();
  std::string why;
  if (!CreateTargetTextures(&why)) {
    Log("%s (%s)", "Unable to create render target. It is possible to lack of video-memory.", why.c_str());
    return false;
  }
  RebuildMaterialEnumerator(Materials);
  MicroVertexCount = 0;
  for (const PaintFace& f : Faces) MicroVertexCount += f.SampleCount();
  ComposeAll();
  int w = SetupUVIds();
  if (warnings) *warnings = w;
  SetAllDirty();
  Log("SetAllDirty: done");
  PutFacesInCells();
  UpdateDirtyFaces(*this, true, -1, DrawFaceBatch);
  Log("UpdateDirtyFaces: done");
  CreateMeshBlocks();
  Log("CreatePaddingInfo: done");
  Log("CreatePointsCorrespondence: done");
  bool anyMap = false;
  for (MRenderTarget* rt : RenderTargets) anyMap |= rt->Pixels != nullptr;
  if (!anyMap) CreateTangentSpaceFromBasicNormals();
  Log("Loading: done");
  return true;
}
