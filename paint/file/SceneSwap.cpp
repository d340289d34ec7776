// SwapSceneContents; see SceneSwap.h.
#include "paint/file/SceneSwap.h"

#include <utility>

#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"

namespace {
template <class T>
void SwapArray(ClassArray<T>& a, ClassArray<T>& b) {
  std::swap(a.Values, b.Values);
  std::swap(a.NValues, b.NValues);
  std::swap(a.MaxValues, b.MaxValues);
  for (T* e : a)
    if (e) e->Parent = &a;
  for (T* e : b)
    if (e) e->Parent = &b;
}

void OwnMaps(PaintScene& s) {
  for (MRenderTarget* rt : s.RenderTargets)
    if (rt && rt->Pixels) rt->Pixels->Scene = &s;
}
}  // namespace

void SwapSceneContents(PaintScene& a, PaintScene& b) {
  using std::swap;
  SwapArray(a.Materials, b.Materials);
  SwapArray(a.UVSets, b.UVSets);
  SwapArray(a.Objects, b.Objects);
  SwapArray(a.RenderTargets, b.RenderTargets);
  SwapArray(a.FaceLists, b.FaceLists);
  SwapArray(a.VMapTypes, b.VMapTypes);
  SwapArray(a.Layers, b.Layers);
  std::string name = a.FileName.cpchar();
  a.FileName = b.FileName.cpchar();
  b.FileName = name.c_str();
  swap(a.RtSizeX, b.RtSizeX);
  swap(a.RtSizeY, b.RtSizeY);
  swap(a.MicroVertexCount, b.MicroVertexCount);
  swap(a.Shift, b.Shift);
  swap(a.BasePositions, b.BasePositions);
  swap(a.Vertices, b.Vertices);
  swap(a.Normals, b.Normals);
  swap(a.Corners, b.Corners);
  swap(a.Faces, b.Faces);
  swap(a.SubdPairs, b.SubdPairs);
  swap(a.VertexMaps, b.VertexMaps);
  swap(a.FaceCornerMap, b.FaceCornerMap);
  swap(a.BasicFaceCornerMap, b.BasicFaceCornerMap);
  swap(a.EdgeMap, b.EdgeMap);
  swap(a.DirtyFaces, b.DirtyFaces);
  swap(a.DirtyFlag, b.DirtyFlag);
  swap(a.MeshBlocks, b.MeshBlocks);
  swap(a.Cells, b.Cells);
  swap(a.CellBounds, b.CellBounds);
  swap(a.BlockCells, b.BlockCells);
  swap(a.BlockSet, b.BlockSet);
  swap(a.UVCells, b.UVCells);
  swap(a.Bounds, b.Bounds);
  swap(a.CellSize, b.CellSize);
  swap(a.UnitScale, b.UnitScale);
  swap(a.LayerOrder, b.LayerOrder);
  swap(a.CurrentLayer, b.CurrentLayer);
  swap(a.StrokeFaces, b.StrokeFaces);
  swap(a.Modified, b.Modified);
  swap(a.UVPatchData8, b.UVPatchData8);
  swap(a.UVPatchData12, b.UVPatchData12);
  OwnMaps(a);
  OwnMaps(b);
}
