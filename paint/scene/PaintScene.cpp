// PaintScene: layers and their per-face sample lists, dirty faces, the
// parallel face loop, reset and face deletion.
#include "paint/scene/PaintScene.h"

#include <algorithm>
#include <cstdio>
#include <new>

#include "ClassEngine/Enumerator.h"
#include "ClassEngine/ExMalloc.h"
#include "ClassEngine/Progress.h"
#include "ClassEngine/Threader.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/SceneDevice.h"
#include "shell/tools/ToolTable.h"

PaintScene& ThePaintScene() {
  static PaintScene scene;
  return scene;
}

PaintScene::PaintScene() {
  LayerPanel.Scene = this;
  OneLayerInfo::RegisterModeNames();
  MakeDefaults();
}

PaintScene::~PaintScene() = default;

void PaintScene::MakeDefaults() {
  if (Layers.GetAmount() == 0) {
    auto* l = new OneLayerInfo;
    l->Name = "Layer 0";
    l->LayerID = 0;
    l->Parent = &Layers;
    Layers.Add(l);
    RebuildLayerOrder();
    CurrentLayer = 0;
  }
  if (Materials.GetAmount() == 0) {
    auto* m = new OneMaterial;
    m->Name = "Default";
    m->Parent = &Materials;
    Materials.Add(m);
    RebuildMaterialEnumerator(Materials);
  }
  if (Objects.GetAmount() == 0) {
    auto* o = new OneSubObject;
    o->Name = "Default";
    o->Parent = &Objects;
    Objects.Add(o);
  }
}

// ---------------------------------------------------------------- layers

void PaintScene::RebuildLayerOrder() {
  int maxID = 0;
  for (OneLayerInfo* l : Layers) maxID = std::max(maxID, l->LayerID);
  LayerOrder.assign((size_t)maxID + 1, 0);
  for (int i = 0; i < Layers.GetAmount(); i++)
    if (Layers[i]->LayerID >= 0) LayerOrder[Layers[i]->LayerID] = i + 1;
  Enumerator* e = GetEnumerator("$LRLINKAGELIST");
  e->Clear();
  // Add() reads the value -1 as "the next index": "NO_LINK" gets -1 itself.
  e->Values[e->Add("NO_LINK")] = -1;
  for (OneLayerInfo* l : Layers) e->Add(l->Name.cpchar(), l->LayerID);
}

FaceLayer* PaintScene::GetFaceLayer(int face, int layerID, bool create) {
  if (face < 0 || face >= (int)Faces.size()) return nullptr;
  if (layerID < 0) layerID = 0;
  PaintFace& f = Faces[face];
  for (FaceLayer& l : f.LayerList)
    if (l.LayerID == layerID) return &l;
  if (!create || f.SampleCount() == 0) return nullptr;
  // One lock across the whole insertion, the layer's creation included.
  std::lock_guard<std::mutex> lock(layerLock_);
  OneLayerInfo* info = GetLayerByID(layerID);
  int n = f.SampleCount();
  auto* data = (LayerMicroVertex*)cExMalloc((int)(sizeof(LayerMicroVertex) * (size_t)n));
  if (!data) return nullptr;
  for (int i = 0; i < n; i++) new (&data[i]) LayerMicroVertex;
  FaceLayer entry{data, layerID, info};
  // Sorted by LayerOrder, never before index 0.
  int order = OrderOf(layerID);
  int pos = f.LayerList.GetAmount();
  for (int i = 1; i < f.LayerList.GetAmount(); i++)
    if (OrderOf(f.LayerList[i].LayerID) > order) {
      pos = i;
      break;
    }
  // Most faces hold one or two layers: grow the list by one slot at a time
  // at first rather than by the array's usual reserve.
  // (the array keeps one spare slot beyond what it holds).
  if (f.LayerList.MaxValues <= f.LayerList.GetAmount() + 1 && f.LayerList.GetAmount() < 4)
    f.LayerList.ReserveExact(f.LayerList.GetAmount() + 2);
  f.LayerList.Insert(entry, pos);
  return &f.LayerList[pos];
}

namespace {
// A layer named "Layer %d" after its ID.
OneLayerInfo* MakeLayer(ClassArray<OneLayerInfo>& layers, int id) {
  auto* l = new OneLayerInfo;
  char name[32];
  snprintf(name, sizeof(name), "Layer %d", id);
  l->Name = name;
  l->LayerID = id;
  l->Parent = &layers;
  return l;
}
}  // namespace

OneLayerInfo* PaintScene::GetLayerByID(int layerID) {
  if (layerID < 0) layerID = 0;
  int order = OrderOf(layerID);
  if (order > 0) return Layers[order - 1];
  OneLayerInfo* l = MakeLayer(Layers, layerID);
  Layers.Add(l);
  RebuildLayerOrder();
  for (PaintFace& f : Faces)
    for (FaceLayer& fl : f.LayerList)
      if (fl.LayerID == layerID) fl.Info = l;
  return l;
}

int PaintScene::NewLayer(bool makeCurrent, int after) {
  int id = 0;
  for (OneLayerInfo* l : Layers) id = std::max(id, l->LayerID + 1);
  OneLayerInfo* l = MakeLayer(Layers, id);
  if (after < 0 || after >= Layers.GetAmount() - 1)
    Layers.Add(l);
  else
    Layers.Insert(l, after + 1);
  RebuildLayerOrder();
  if (makeCurrent) CurrentLayer = id;
  return id;
}

void PaintScene::ResortSampleLists() {
  auto byOrder = [&](int a, int b) { return OrderOf(a) < OrderOf(b); };
  for (PaintFace& f : Faces)
    std::stable_sort(f.LayerList.begin(), f.LayerList.end(),
                     [&](const FaceLayer& a, const FaceLayer& b) {
                       if (a.LayerID == 0 || b.LayerID == 0) return a.LayerID == 0 && b.LayerID != 0;
                       return byOrder(a.LayerID, b.LayerID);
                     });
  for (MRenderTarget* rt : RenderTargets)
    if (rt->Pixels) rt->Pixels->ResortLayers();
}

// ---------------------------------------------------------------- faces

PixelMap* PaintScene::GetPixelMap(int renderTarget) {
  if (renderTarget < 0 || renderTarget >= RenderTargets.GetAmount()) return nullptr;
  return RenderTargets[renderTarget]->Pixels;
}

void PaintScene::MarkFaceDirty(int face) {
  if (face < 0 || face >= (int)Faces.size() || !Faces[face].Grid) return;
  if (DirtyFlag.size() < Faces.size()) DirtyFlag.resize(Faces.size(), 0);
  if (DirtyFlag[face]) return;
  DirtyFlag[face] = 1;
  DirtyFaces.push_back(face);
  const PaintFace& f = Faces[face];
  auto block = MeshBlocks.find({f.CellKey[0] / 4, f.CellKey[1] / 4, f.CellKey[2] / 4});
  if (block != MeshBlocks.end() && f.RenderTarget < block->second.size())
    block->second[f.RenderTarget].UpToDate = 0;
}

int PaintScene::UpdatePixelMap(int renderTarget) {
  PixelMap* map = GetPixelMap(renderTarget);
  if (!map) return 0;
  if (!Device) return map->Update();
  return map->Update([&](const std::vector<PixelTile*>& tiles, const std::vector<uint32_t>& colour,
                         const std::vector<uint32_t>& normal, bool colourToo) {
    Device->UploadTiles(renderTarget, tiles, colour, normal, colourToo);
  });
}

void PaintScene::SetAllDirty() {
  for (int i = 0; i < (int)Faces.size(); i++) MarkFaceDirty(i);
}

void PaintScene::ForEachFace(int mode, const std::function<void(int face)>& fn,
                             float progressBase, float progressSpan) {
  const std::vector<int>* list = mode == 1 ? &DirtyFaces : mode == 2 ? &StrokeFaces : nullptr;
  const int count = list ? (int)list->size() : (int)Faces.size();
  int threads = UsingProcessors();
  if (threads < 2 || (mode == 2 && count < threads)) threads = 1;
  RunSection(threads, [&](int worker) {
    for (int i = worker; i < count; i += threads) {
      fn(list ? (*list)[i] : i);
      if (worker == 0 && progressSpan > 0 && (i & 4095) == 0)
        ReportProgress("PROGRESS", (int64_t)(progressBase + progressSpan * i / count), 100);
    }
  });
}

void PaintScene::ResetScene(bool keepTools, ToolTable* tools) {
  if (Device) Device->Clear();
  Faces.clear();
  Corners.clear();
  Vertices.clear();
  Normals.clear();
  BasePositions.clear();
  SubdPairs.clear();
  VertexMaps.clear();
  FaceCornerMap.Clear();
  BasicFaceCornerMap.Clear();
  EdgeMap.Clear();
  DirtyFaces.clear();
  Picks = PickState();
  DirtyFlag.clear();
  MeshBlocks.clear();
  Cells.Clear();
  CellBounds.clear();
  BlockCells.Clear();
  BlockSet.clear();
  UVCells.Clear();
  StrokeFaces.clear();
  Materials.Clear();
  UVSets.Clear();
  Objects.Clear();
  RenderTargets.Clear();
  FaceLists.Clear();
  VMapTypes.Clear();
  Layers.Clear();
  UVPatchData8.clear();
  UVPatchData12.clear();
  FileName = "";
  MicroVertexCount = 0;
  Bounds = FaceBox();
  CellSize = UnitScale = 1;
  Shift = comms::cVec3();
  Modified = 0;
  MakeDefaults();
  if (!keepTools && tools) {
    tools->SetCurrentTool("StdPen");
    for (int i = 0; i < tools->Count(); i++) tools->At(i)->OnSceneReset();
  }
}

void PaintScene::DeleteFaces(const std::vector<uint8_t>& doomed) {
  const int nf = (int)Faces.size();
  // One remap table: faces first, then corners and vertices still used.
  std::vector<int> faceMap(nf, -1), cornerMap(Corners.size(), -1), vertexMap(Vertices.size(), -1);
  int keptFaces = 0;
  for (int f = 0; f < nf; f++)
    if (!(f < (int)doomed.size() && doomed[f])) faceMap[f] = keptFaces++;
  if (keptFaces == nf) return;
  FaceCornerTable corners;
  int keptCorners = 0, keptVertices = 0;
  std::vector<int> loop;
  for (int f = 0; f < nf; f++) {
    if (faceMap[f] < 0) continue;
    int n = FaceCornerMap.Entries(f);
    loop.clear();
    for (int i = 0; i + 1 < n; i++) {
      int c = FaceCornerMap.Of(f)[i];
      if (cornerMap[c] < 0) cornerMap[c] = keptCorners++;
      int v = Corners[c].Vertex;
      if (v >= 0 && v < (int)Vertices.size() && vertexMap[v] < 0) vertexMap[v] = keptVertices++;
      loop.push_back(cornerMap[c]);
    }
    corners.AddFace(loop.data(), (int)loop.size());
  }
  std::vector<FaceCorner> newCorners(keptCorners);
  for (size_t c = 0; c < Corners.size(); c++)
    if (cornerMap[c] >= 0) {
      newCorners[cornerMap[c]] = Corners[c];
      int v = Corners[c].Vertex;
      newCorners[cornerMap[c]].Vertex = v >= 0 && v < (int)vertexMap.size() ? vertexMap[v] : -1;
    }
  std::vector<MeshVertex> newVertices(keptVertices);
  std::vector<comms::cVec3> newBase(BasePositions.empty() ? 0 : keptVertices);
  for (size_t v = 0; v < Vertices.size(); v++)
    if (vertexMap[v] >= 0) {
      newVertices[vertexMap[v]] = Vertices[v];
      if (!newBase.empty() && v < BasePositions.size()) newBase[vertexMap[v]] = BasePositions[v];
    }
  std::vector<PaintFace> newFaces(keptFaces);
  for (int f = 0; f < nf; f++)
    if (faceMap[f] >= 0) {
      newFaces[faceMap[f]] = std::move(Faces[f]);
      newFaces[faceMap[f]].Flags = 0;
    }
  // A pair that loses a vertex is dropped.
  std::vector<uint32_t> pairs;
  for (size_t i = 0; i + 2 < SubdPairs.size(); i += 3) {
    uint32_t a = SubdPairs[i], b = SubdPairs[i + 1];
    if (a >= vertexMap.size() || b >= vertexMap.size() || vertexMap[a] < 0 || vertexMap[b] < 0)
      continue;
    pairs.insert(pairs.end(), {(uint32_t)vertexMap[a], (uint32_t)vertexMap[b], SubdPairs[i + 2]});
  }
  std::unordered_map<uint32_t, std::array<uint32_t, 6>> maps;
  for (auto& [key, value] : VertexMaps)
    if (key < vertexMap.size() && vertexMap[key] >= 0) maps[(uint32_t)vertexMap[key]] = value;
  for (SubFaceList* l : FaceLists) {
    DynArray<int> kept;
    for (int f : l->Faces)
      if (f >= 0 && f < nf && faceMap[f] >= 0) kept.Add(faceMap[f]);
    l->Faces = kept;
  }
  Faces = std::move(newFaces);
  Corners = std::move(newCorners);
  Vertices = std::move(newVertices);
  BasePositions = std::move(newBase);
  FaceCornerMap = std::move(corners);
  SubdPairs = std::move(pairs);
  VertexMaps = std::move(maps);
  StrokeFaces.clear();
  DirtyFaces.clear();
  DirtyFlag.clear();
  BuildEdgeMap();
  BuildNeighbours();
  CreateUVEdgesInfo();
  PutFacesInCells();
  SetAllDirty();
  CreateMeshBlocks();
}

size_t PaintScene::MemoryBytes() const {
  size_t bytes = Vertices.capacity() * sizeof(MeshVertex) + Corners.capacity() * sizeof(FaceCorner) +
                 Faces.capacity() * sizeof(PaintFace) + Normals.capacity() * sizeof(comms::cVec3) +
                 FaceCornerMap.MemoryBytes() + EdgeMap.MemoryBytes() + Cells.MemoryBytes() +
                 BlockCells.MemoryBytes() + UVCells.MemoryBytes();
  for (const PaintFace& f : Faces) {
    bytes += sizeof(MicroVertex) * (size_t)f.SampleCount();
    bytes += (size_t)f.LayerList.MaxValues * sizeof(FaceLayer);
    bytes += sizeof(LayerMicroVertex) * (size_t)f.SampleCount() * f.LayerList.GetAmount();
    if (f.Texels)
      bytes += sizeof(FaceTexels) + sizeof(FaceTexel) * (size_t)f.Texels->Count +
               sizeof(FaceTexelBlock) * (size_t)f.Texels->BlockCount;
  }
  for (MRenderTarget* rt : RenderTargets)
    if (rt->Pixels) bytes += rt->Pixels->MemoryBytes();
  return bytes;
}
