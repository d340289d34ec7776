// Ownership of a face's samples: the grid, the texels and the layer lists.
#include "paint/scene/SceneRecords.h"

#include <new>
#include <utility>

#include "ClassEngine/ExMalloc.h"

FaceTexels* FaceTexels::Create(int count, int blocks) {
  if (count < 0 || blocks < 0) return nullptr;
  size_t bytes = sizeof(FaceTexels) + sizeof(FaceTexelBlock) * (size_t)blocks +
                 sizeof(FaceTexel) * (size_t)count;
  auto* raw = (uint8_t*)cExMalloc((int)bytes);
  if (!raw) return nullptr;
  auto* t = new (raw) FaceTexels;
  t->Count = count;
  t->BlockCount = blocks;
  t->Directory = blocks ? (FaceTexelBlock*)(raw + sizeof(FaceTexels)) : nullptr;
  t->Texels = (FaceTexel*)(raw + sizeof(FaceTexels) + sizeof(FaceTexelBlock) * (size_t)blocks);
  for (int i = 0; i < blocks; i++) new (&t->Directory[i]) FaceTexelBlock;
  for (int i = 0; i < count; i++) new (&t->Texels[i]) FaceTexel;
  return t;
}

void FaceTexels::Free(FaceTexels* t) { cExFree(t); }

PaintFace::PaintFace(PaintFace&& o) noexcept { *this = std::move(o); }

PaintFace& PaintFace::operator=(PaintFace&& o) noexcept {
  if (this == &o) return *this;
  FreeSamples();
  Flags = o.Flags, SeamBits = o.SeamBits, FreezeState = o.FreezeState;
  for (int i = 0; i < 4; i++) Neighbour[i] = o.Neighbour[i];
  Material = o.Material, Object = o.Object, Visited = o.Visited;
  RenderTarget = o.RenderTarget, UVSet = o.UVSet, Nx = o.Nx, Ny = o.Ny;
  Wear = o.Wear, Visible = o.Visible, Editable = o.Editable;
  for (int i = 0; i < 3; i++) CellKey[i] = o.CellKey[i];
  std::swap(Grid, o.Grid);
  std::swap(Texels, o.Texels);
  std::swap(LayerList.Values, o.LayerList.Values);
  std::swap(LayerList.NValues, o.LayerList.NValues);
  std::swap(LayerList.MaxValues, o.LayerList.MaxValues);
  std::swap(Backup, o.Backup);
  return *this;
}

void PaintFace::AllocateGrid(int nx, int ny) {
  cExFree(Grid);
  Grid = nullptr;
  Nx = Ny = 0;
  if (nx <= 0 || ny <= 0) return;
  Grid = (MicroVertex*)cExMalloc((int)(sizeof(MicroVertex) * (size_t)nx * ny));
  if (!Grid) return;
  for (int i = 0; i < nx * ny; i++) new (&Grid[i]) MicroVertex;
  Nx = (uint16_t)nx, Ny = (uint16_t)ny;
}

void PaintFace::RemoveLayerAt(int i) {
  if (i < 0 || i >= LayerList.GetAmount()) return;
  cExFree(LayerList[i].Data);
  LayerList.Del(i, 1);
}

void PaintFace::FreeSamples() {
  cExFree(Grid);
  Grid = nullptr;
  FaceTexels::Free(Texels);
  Texels = nullptr;
  for (FaceLayer& l : LayerList) cExFree(l.Data);
  LayerList.Clear();
}
