// The layer record "LR01": written by the layer panel's commands before they
// change anything. It holds the current layer (u32), the stack as text (u32
// n and n bytes with the final NUL: "%d\n" of the current layer, then the
// XML of the layers), the same stack as the reflected members' bytes (which
// undo reads, exact to the bit), and every sample of the layers the
// command changes, on grid faces and in tiles, with the composite normals of
// the faces that hold them, so undo puts back exactly what was there.
// Faces and tiles of layers no longer in the stack lose their entries.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "ClassEngine/streams/BinStream.h"
#include "paint/undo/BasicUndoMaker.h"

class PaintScene;
class UndoStack;

constexpr uint32_t kLayersUndoTag = FourCC("LR01");

// The members of every layer, in order, as a layer record holds them.
std::string LayerStackBytes(PaintScene& scene);
// Writes the record of the present layer stack (or of `stackBytes`, a stack
// as LayerStackBytes gave it) and the samples of `layerIDs`; the normals of
// `extraFaces` go in too.
void WriteLayersUndo(BinStream& out, PaintScene& scene, const std::vector<int>& layerIDs,
                     const std::vector<int>& extraFaces = {}, const std::string* stackBytes = nullptr);
bool PushLayersUndo(UndoStack& stack, PaintScene& scene, const std::vector<int>& layerIDs);

// The stack the layer commands record into; none (the default) records nothing.
void SetLayerUndoStack(UndoStack* stack);
// Called by a layer command before it changes the stack or the samples of
// `layerIDs` (a change of members only: the layer whose members change).
void RecordLayerChange(PaintScene& scene, const std::vector<int>& layerIDs);
// Called after a row of the layer panel changed members of layer `layerID`
// (the row writes before it tells): records the stack as `settled` held it,
// the layer stack's bytes from before the edit. Nothing is recorded unless
// `settled` has the same layers in the same order, differing from the
// present in that one layer alone: a stale copy must not bring back another
// state.
void RecordPanelEdit(PaintScene& scene, const std::string& settled, int layerID);

class LayersUndo : public BasicUndoMaker {
 public:
  LayersUndo(UndoStack& stack, PaintScene& scene) : stack_(stack), scene_(scene) {}
  uint32_t GetUndoTag() override { return kLayersUndoTag; }
  void Apply(BinStream& stream) override;

 private:
  UndoStack& stack_;
  PaintScene& scene_;
};
