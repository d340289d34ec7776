// Writing and applying the layer record (see LayersUndo.h).
#include "paint/undo/LayersUndo.h"

#include <algorithm>
#include <set>
#include <string>

#include "ClassEngine/Log.h"
#include "ClassEngine/streams/ClassBin.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "ClassEngine/xml/XmlNode.h"
#include "paint/file/BlockCoding.h"
#include "paint/layers/ComposeFace.h"
#include "paint/layers/LayerStack.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"
#include "paint/undo/SampleCoding.h"
#include "paint/undo/UndoStack.h"

namespace {
UndoStack* gLayerStack = nullptr;

bool Listed(const std::vector<int>& ids, int id) { return std::find(ids.begin(), ids.end(), id) != ids.end(); }

// Faces holding an entry of any listed layer.
std::set<int> FacesHolding(PaintScene& scene, const std::vector<int>& ids) {
  std::set<int> out;
  for (int f = 0; f < (int)scene.Faces.size(); ++f)
    for (const FaceLayer& l : scene.Faces[f].LayerList)
      if (Listed(ids, l.LayerID)) out.insert(f);
  return out;
}

// Removes every entry and layer tile of a listed layer or of a layer the
// stack no longer has (the bottom entry of a face stays).
void DropEntries(PaintScene& scene, const std::vector<int>& ids) {
  auto gone = [&](int id) { return Listed(ids, id) || (id != 0 && scene.OrderOf(id) == 0); };
  for (PaintFace& f : scene.Faces)
    for (int i = f.LayerList.GetAmount() - 1; i >= 1; --i)
      if (gone(f.LayerList[i].LayerID)) f.RemoveLayerAt(i);
  for (int rt = 0; rt < scene.RenderTargets.GetAmount(); ++rt)
    if (PixelMap* m = scene.GetPixelMap(rt))
      for (auto& [key, tile] : m->Tiles) {
        bool any = false;
        for (int i = tile->LayerTiles.GetAmount() - 1; i >= 0; --i) {
          LayerTile* l = tile->LayerTiles[i];
          if (!gone((int)l->LayerID)) continue;
          if (tile->CurrentLayerTile == l) tile->CurrentLayerTile = nullptr;
          if (tile->ScratchLayerTile == l) tile->ScratchLayerTile = nullptr;
          delete l;
          tile->LayerTiles.Del(i, 1);
          any = true;
        }
        if (any) m->MarkDirty(tile, 1);
      }
}

// The entries' Info pointers follow the reloaded stack.
void RepairInfo(PaintScene& scene) {
  for (PaintFace& f : scene.Faces)
    for (FaceLayer& l : f.LayerList) l.Info = scene.GetLayerByID(l.LayerID);
  for (int rt = 0; rt < scene.RenderTargets.GetAmount(); ++rt)
    if (PixelMap* m = scene.GetPixelMap(rt))
      for (auto& [key, tile] : m->Tiles)
        for (LayerTile* l : tile->LayerTiles) l->Info = scene.GetLayerByID((int)l->LayerID);
}
}  // namespace

void SetLayerUndoStack(UndoStack* stack) { gLayerStack = stack; }

void RecordLayerChange(PaintScene& scene, const std::vector<int>& layerIDs) {
  if (gLayerStack && !gLayerStack->InUndo && !gLayerStack->InRedo) PushLayersUndo(*gLayerStack, scene, layerIDs);
}

namespace {
// One layer's members as bytes.
std::string MemberBytes(OneLayerInfo* l) {
  MemoryBinStream s;
  l->SaveBin(l, nullptr, &s, nullptr);
  return std::string((const char*)s.GetData(), (size_t)s.Size());
}

// Whether `settled` holds the present layers, in order, and differs from
// the present stack in layer `layerID` alone.
bool SettledBeforeEditOf(PaintScene& scene, const std::string& settled, int layerID) {
  MemoryBinStream bytes;
  bytes.Write(settled.data(), settled.size());
  bytes.SetReadPos(0);
  LayerStack before;
  if (!LoadBinArray(&before.Layers, &bytes, nullptr)) return false;
  if (before.Layers.GetAmount() != scene.Layers.GetAmount()) return false;
  for (int i = 0; i < scene.Layers.GetAmount(); ++i) {
    OneLayerInfo *was = before.Layers[i], *now = scene.Layers[i];
    if (was->LayerID != now->LayerID) return false;
    if (now->LayerID != layerID && MemberBytes(was) != MemberBytes(now)) return false;
  }
  return true;
}
}  // namespace

void RecordPanelEdit(PaintScene& scene, const std::string& settled, int layerID) {
  if (!gLayerStack || gLayerStack->InUndo || gLayerStack->InRedo || settled.empty()) return;
  if (settled == LayerStackBytes(scene) || !SettledBeforeEditOf(scene, settled, layerID)) return;
  // The layer's samples stay as they are; listing it (and the layers it
  // masks) makes undo recompose what they cover.
  std::vector<int> ids{layerID};
  for (OneLayerInfo* l : scene.Layers)
    if (l->LinkedLayer == layerID) ids.push_back(l->LayerID);
  MemoryBinStream s;
  WriteLayersUndo(s, scene, ids, {}, &settled);
  gLayerStack->PushUndoRecord(s);
}

namespace {
// "%d\n" of the current layer, then the stack of layers in the class
// file's XML, as `stackBytes` (LayerStackBytes) holds it.
std::string LayerStackText(int current, const std::string& stackBytes) {
  MemoryBinStream bytes;
  bytes.Write(stackBytes.data(), stackBytes.size());
  bytes.SetReadPos(0);
  LayerStack stack;
  LoadBinArray(&stack.Layers, &bytes, nullptr);
  XmlNode node;
  stack.Layers.Save(&node, &stack.Layers);
  std::string text = std::to_string(current) + "\n";
  node.Write(text);
  return text;
}
}  // namespace

std::string LayerStackBytes(PaintScene& scene) {
  MemoryBinStream layers;
  SaveBinArray(&scene.Layers, &layers, nullptr);
  return std::string((const char*)layers.GetData(), (size_t)layers.Size());
}

void WriteLayersUndo(BinStream& out, PaintScene& scene, const std::vector<int>& ids,
                     const std::vector<int>& extraFaces, const std::string* stackBytes) {
  const std::string layers = stackBytes ? *stackBytes : LayerStackBytes(scene);
  std::set<int> faces = FacesHolding(scene, ids);
  faces.insert(extraFaces.begin(), extraFaces.end());

  // The stack as text, for readers of the plain form; then the same stack
  // as the members' own bytes, which undo reads: text keeps six decimals of
  // a float, and undo must give back every bit.
  const std::string text = LayerStackText(scene.CurrentLayer, layers);
  BlockWriter w(out);
  w.U32(kLayersUndoTag);
  w.I32(scene.CurrentLayer);
  w.U32((uint32_t)text.size() + 1);
  w.Bytes(text.c_str(), text.size() + 1);
  w.U32((uint32_t)layers.size());
  w.Bytes(layers.data(), layers.size());
  w.U32((uint32_t)ids.size());
  for (int id : ids) w.I32(id);
  // Per face: the normals of its grid, then its entries of the listed layers.
  std::vector<FaceEntry> entries;
  for (int f : faces) {
    for (const FaceLayer& l : scene.Faces[f].LayerList)
      if (Listed(ids, l.LayerID)) {
        entries.push_back(PresentFace(scene, f, l.LayerID));
        entries.back().Normals.clear();  // they come once, below
      }
    FaceEntry normals = PresentFace(scene, f, 0);
    normals.LayerID = -1;  // the face's normals alone
    normals.HasSamples = false;
    normals.Samples.clear();
    entries.push_back(std::move(normals));
  }
  w.U32((uint32_t)entries.size());
  for (const FaceEntry& e : entries) PutFace(w, e);
  for (int rt = 0; rt < scene.RenderTargets.GetAmount(); ++rt)
    if (PixelMap* m = scene.GetPixelMap(rt))
      for (auto& [key, tile] : m->Tiles)
        for (LayerTile* l : tile->LayerTiles)
          if (Listed(ids, (int)l->LayerID)) PutTile(w, rt, (int)l->LayerID, tile->X, tile->Y, l->Pixels, nullptr);
  w.U32(0);
}

bool PushLayersUndo(UndoStack& stack, PaintScene& scene, const std::vector<int>& layerIDs) {
  MemoryBinStream s;
  WriteLayersUndo(s, scene, layerIDs);
  return stack.PushUndoRecord(s);
}

void LayersUndo::Apply(BinStream& in) {
  PaintScene& scene = scene_;
  const int64_t size = in.Size();
  BlockReader r(in, size);
  r.Enter("LR01", size);
  const int current = r.I32();
  const uint32_t textBytes = r.U32();
  if (!r.Fits(textBytes, 1, "layer text") || !r.Skip(textBytes)) return;
  const uint32_t stackBytes = r.U32();
  if (!r.Fits(stackBytes, 1, "layer stack")) return;
  MemoryBinStream layers;
  {
    std::vector<uint8_t> bytes(stackBytes);
    if (!r.Bytes(bytes.data(), stackBytes)) return;
    layers.Write(bytes.data(), stackBytes);
  }
  const uint32_t idCount = r.U32();
  if (!r.Fits(idCount, 4, "layer id")) return;
  std::vector<int> ids(idCount);
  for (int& id : ids) id = r.I32();
  const uint32_t entryCount = r.U32();
  if (!r.Fits(entryCount, 13, "layer entry")) return;
  std::vector<FaceEntry> entries(entryCount);
  for (FaceEntry& e : entries)
    if (!ReadFace(r, scene, e)) break;
  std::vector<TileEntry> tiles;
  if (!r.Ok() || !ReadTiles(r, scene, tiles)) {
    Log("LayersUndo::Apply(): damaged record (%s); left unapplied", r.Error().c_str());
    return;
  }
  // The stack must read back before anything changes.
  {
    LayerStack trial;
    layers.SetReadPos(0);
    if (!LoadBinArray(&trial.Layers, &layers, nullptr) || trial.Layers.GetAmount() == 0) {
      Log("LayersUndo::Apply(): the layer stack does not read; left unapplied");
      return;
    }
  }

  std::vector<int> recordFaces;
  for (const FaceEntry& e : entries) recordFaces.push_back(e.Face);
  const std::set<int> nowFaces = FacesHolding(scene, ids);
  if (stack_.InverseWanted()) {
    MemoryBinStream inverse;
    WriteLayersUndo(inverse, scene, ids, recordFaces);
    stack_.PushUndoRecord(inverse);
  }

  scene.Modified = 1;
  layers.SetReadPos(0);
  LoadBinArray(&scene.Layers, &layers, nullptr);
  scene.CurrentLayer = current;
  scene.RebuildLayerOrder();
  DropEntries(scene, ids);
  for (const FaceEntry& e : entries)
    if (e.LayerID >= 0) RestoreFace(scene, e);
  for (const TileEntry& t : tiles) RestoreTile(scene, t);
  RepairInfo(scene);
  scene.ResortSampleLists();

  std::set<int> faces(nowFaces);
  faces.insert(recordFaces.begin(), recordFaces.end());
  std::set<int> withNormals;
  for (int f : faces) ComposeFace(scene, f);
  for (const FaceEntry& e : entries)
    if (e.LayerID < 0) RestoreNormals(scene, e), withNormals.insert(e.Face);
  for (int f : faces) {
    if (!withNormals.count(f)) scene.ComputeGridNormals(f);
    scene.MarkFaceDirty(f);
  }
  NeighbourBorderNormals(scene, std::vector<int>(faces.begin(), faces.end()));
  // Tiles of every listed layer compose anew, whatever their side held.
  for (int rt = 0; rt < scene.RenderTargets.GetAmount(); ++rt)
    if (PixelMap* m = scene.GetPixelMap(rt))
      for (auto& [key, tile] : m->Tiles) m->MarkDirty(tile, 1);
  // A panel edit after this undo goes back to the stack as it now stands.
  scene.LayerPanel.Settle();
}
