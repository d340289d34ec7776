// Layer operations on both storages: sample lists of faces and layer tiles.
#include "paint/layers/LayerOps.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>

#include "ClassEngine/ExMalloc.h"
#include "paint/layers/BlendOps.h"
#include "paint/layers/ComposeFace.h"
#include "paint/layers/LayerSamples.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"

namespace {

int PositionOf(PaintScene& scene, int layerID) { return scene.OrderOf(layerID) - 1; }

// One layer sample blended onto a lower one, unpremultiplied: the lower
// colour and coverage become those of the pair seen together.
void BlendOnto(int op, uint32_t upper, float upperAlpha, uint32_t& lower, float& lowerCoverage) {
  float L[4], A[4];
  UnpackColor(upper, L);
  UnpackColor(lower, A);
  float a = upperAlpha;
  ApplyColorOp(op, L, A, a);
  const float e = std::clamp(a, 0.0f, 1.0f), c = std::clamp(lowerCoverage, 0.0f, 1.0f);
  const float cover = (1 - e) * c + e;
  float out[4] = {A[0], A[1], A[2], A[3]};
  if (cover > 0)
    for (int i = 0; i < 3; i++) out[i] = (A[i] * (1 - e) * c + L[i] * e) / cover;
  lower = (PackColor(out) & 0xffffff) | (lower & 0xff000000);
  lowerCoverage = cover;
}

void RemoveFaceEntries(PaintScene& scene, int layerID) {
  for (PaintFace& f : scene.Faces)
    for (int i = 0; i < f.LayerList.GetAmount(); i++)
      if (f.LayerList[i].LayerID == layerID) {
        f.RemoveLayerAt(i);
        break;
      }
}

}  // namespace

void RecomposeLayer(PaintScene& scene, int layerID) {
  std::vector<int> faces;
  for (int f = 0; f < (int)scene.Faces.size(); f++)
    for (const FaceLayer& l : scene.Faces[f].LayerList)
      if (l.LayerID == layerID) faces.push_back(f);
  std::swap(faces, scene.StrokeFaces);
  // Normals read the neighbours' positions: every face is composed first.
  scene.ForEachFace(2, [&](int f) { ComposeFace(scene, f); });
  scene.ForEachFace(2, [&](int f) { scene.ComputeGridNormals(f); });
  std::swap(faces, scene.StrokeFaces);
  NeighbourBorderNormals(scene, faces);
  for (int f : faces) scene.MarkFaceDirty(f);
  ForEachMap(scene, [&](PixelMap& m) { m.ForEachLayerTile(layerID, [](LayerTile&) {}); });
  UpdateMaps(scene);
}

bool DeleteLayer(PaintScene& scene, int layerID) {
  const int pos = PositionOf(scene, layerID);
  if (layerID <= 0 || pos < 0) return false;
  std::vector<int> touched;
  for (int f = 0; f < (int)scene.Faces.size(); f++)
    for (const FaceLayer& l : scene.Faces[f].LayerList)
      if (l.LayerID == layerID) touched.push_back(f);
  RemoveFaceEntries(scene, layerID);
  ForEachMap(scene, [&](PixelMap& m) { m.DeleteLayer(layerID); });
  scene.Layers.DelElement(pos);
  scene.RebuildLayerOrder();
  for (OneLayerInfo* l : scene.Layers)
    if (l->LinkedLayer == layerID) l->LinkedLayer = -1;
  if (scene.CurrentLayer == layerID) scene.CurrentLayer = scene.Layers[std::max(0, pos - 1)]->LayerID;
  for (int f : touched) ComposeFace(scene, f);
  for (int f : touched) {
    scene.ComputeGridNormals(f);
    scene.MarkFaceDirty(f);
  }
  NeighbourBorderNormals(scene, touched);
  UpdateMaps(scene);
  return true;
}

int DuplicateLayer(PaintScene& scene, int layerID) {
  const int pos = PositionOf(scene, layerID);
  if (layerID <= 0 || pos < 0) return -1;
  const int id = scene.NewLayer(false, pos);
  OneLayerInfo* src = scene.GetLayerByID(layerID);
  OneLayerInfo* dst = scene.GetLayerByID(id);
  dst->Copy(src);
  dst->LayerID = id;
  dst->Name = (std::string(src->Name.cpchar()) + " copy").c_str();
  scene.RebuildLayerOrder();
  for (int f = 0; f < (int)scene.Faces.size(); f++) {
    FaceLayer* from = scene.GetFaceLayer(f, layerID, false);
    if (!from) continue;
    LayerMicroVertex* data = from->Data;
    FaceLayer* to = scene.GetFaceLayer(f, id, true);
    if (to) memcpy((void*)to->Data, data, sizeof(LayerMicroVertex) * (size_t)scene.Faces[f].SampleCount());
  }
  ForEachMap(scene, [&](PixelMap& m) {
    for (auto& [key, tile] : m.Tiles)
      if (LayerTile* from = tile->FindLayer(layerID)) {
        LayerTile* to = m.GetLayerTile(tile, id, true);
        memcpy((void*)to->Pixels, from->Pixels, sizeof(from->Pixels));
      }
  });
  RecomposeLayer(scene, id);
  return id;
}

bool MoveLayer(PaintScene& scene, int layerID, bool up) {
  const int pos = PositionOf(scene, layerID);
  if (layerID <= 0 || pos < 0) return false;
  const int other = up ? pos + 1 : pos - 1;
  if (other <= 0 || other >= scene.Layers.GetAmount()) return false;  // stays above layer 0
  std::swap(scene.Layers[pos], scene.Layers[other]);
  scene.RebuildLayerOrder();
  scene.ResortSampleLists();
  RecomposeLayer(scene, layerID);
  return true;
}

int MergeDown(PaintScene& scene, int layerID) {
  const int pos = PositionOf(scene, layerID);
  if (pos < 0) return -1;
  int below = -1;
  for (int p = pos - 1; p >= 0 && below < 0; p--)
    if (scene.Layers[p]->Visible) below = scene.Layers[p]->LayerID;
  if (layerID == 0 || below < 0) {
    DeleteLayer(scene, layerID);
    return below < 0 ? (layerID == 0 ? 0 : scene.CurrentLayer) : below;
  }
  OneLayerInfo* info = scene.GetLayerByID(layerID);
  const bool wasCurrent = scene.CurrentLayer == layerID;
  info->Visible = false;
  for (int f = 0; f < (int)scene.Faces.size(); f++) {
    FaceLayer* upper = scene.GetFaceLayer(f, layerID, false);
    if (!upper) continue;
    LayerMicroVertex* u = upper->Data;
    FaceLayer* lower = scene.GetFaceLayer(f, below, true);
    if (!lower) continue;
    const PaintFace& face = scene.Faces[f];
    for (int i = 0; i < face.SampleCount(); i++) {
      LayerMicroVertex& d = lower->Data[i];
      d.Offset += u[i].Offset * info->DepthTransparency + face.Grid[i].BaseNormal * u[i].Emboss;
      BlendOnto(info->ColorOp, u[i].Color, u[i].Opacity * info->ColorTransparency, d.Color, d.Opacity);
    }
  }
  ForEachMap(scene, [&](PixelMap& m) {
    for (auto& [key, tile] : m.Tiles) {
      LayerTile* upper = tile->FindLayer(layerID);
      if (!upper) continue;
      LayerTile* lower = m.GetLayerTile(tile, below, true);
      for (int i = 0; i < kTilePixels; i++) {
        LayerPixel& d = lower->Pixels[i];
        const LayerPixel& u = upper->Pixels[i];
        d.Depth += u.Depth * info->DepthTransparency;
        float cover = (d.Color >> 24) / 255.0f;
        BlendOnto(info->ColorOp, u.Color, (u.Color >> 24) / 255.0f * info->ColorTransparency, d.Color, cover);
        d.Color = (d.Color & 0xffffff) | ((uint32_t)std::lround(cover * 255) << 24);
        d.Specular = std::max(d.Specular, u.Specular);
      }
    }
  });
  DeleteLayer(scene, layerID);
  RecomposeLayer(scene, below);
  if (wasCurrent) scene.CurrentLayer = below;
  return below;
}

int MergeUp(PaintScene& scene, int layerID) {
  const int pos = PositionOf(scene, layerID);
  if (pos < 0 || pos + 1 >= scene.Layers.GetAmount()) return -1;
  return MergeDown(scene, scene.Layers[pos + 1]->LayerID);
}

void InvertColor(PaintScene& scene, int layerID) {
  EachSample(scene, layerID, [](LayerMicroVertex& v) { v.Color ^= 0x00ffffff; },
             [](LayerPixel& p) { p.Color ^= 0x00ffffff; });
}

void InvertSpecular(PaintScene& scene, int layerID) {
  EachSample(scene, layerID, [](LayerMicroVertex& v) { v.Color ^= 0xff000000; },
             [](LayerPixel& p) { p.Specular = (uint8_t)(255 - p.Specular); });
}

void ColorToSpecular(PaintScene& scene, int layerID) {
  auto mean = [](uint32_t c) { return (((c >> 16) & 255) + ((c >> 8) & 255) + (c & 255)) / 3.0f; };
  EachSample(scene, layerID,
             [&](LayerMicroVertex& v) {
               uint32_t s = (uint32_t)std::lround(mean(v.Color) * std::clamp(v.Opacity, 0.0f, 1.0f));
               v.Color = (v.Color & 0xffffff) | (s << 24);
             },
             [&](LayerPixel& p) { p.Specular = (uint8_t)std::lround(mean(p.Color)); });
}

void ClearLayerChannels(PaintScene& scene, int layerID, bool depth, bool colour, bool specular) {
  if (layerID == 0) depth = false;  // the bottom layer's offsets are the base positions
  EachSample(scene, layerID,
             [&](LayerMicroVertex& v) {
               if (depth) v.Offset = comms::cVec3();
               if (colour) v.Color = (v.Color & 0xff000000) | 0x808080, v.Opacity = 0;
               if (specular) v.Color &= 0x00ffffff;
             },
             [&](LayerPixel& p) {
               if (depth) p.Depth = 0;
               if (colour) p.Color = 0;
               if (specular) p.Specular = 0;
             });
  if (layerID == 0) return;  // the bottom layer's lists hold the base positions
  for (PaintFace& f : scene.Faces)
    for (int i = 0; i < f.LayerList.GetAmount(); i++) {
      FaceLayer& l = f.LayerList[i];
      if (l.LayerID != layerID) continue;
      bool empty = true;
      for (int s = 0; s < f.SampleCount() && empty; s++) empty = l.Data[s].IsEmpty();
      if (empty) f.RemoveLayerAt(i);
      break;
    }
  ForEachMap(scene, [&](PixelMap& m) {
    for (auto& [key, tile] : m.Tiles) m.PruneEmptyLayer(tile, layerID);
  });
}
