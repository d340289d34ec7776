// The layer panel's commands and the recomposition after an edit.
#include "paint/layers/LayerStack.h"

#include <algorithm>
#include <cmath>

#include "paint/GeneralPen.h"
#include "paint/layers/LayerOps.h"
#include "paint/scene/PaintScene.h"
#include "paint/undo/LayersUndo.h"
#include "paint/undo/UndoGesture.h"

namespace {
// Every layer's ID: what a merge of several layers may change.
std::vector<int> AllLayerIDs(PaintScene& scene) {
  std::vector<int> ids;
  for (OneLayerInfo* l : scene.Layers) ids.push_back(l->LayerID);
  return ids;
}
}  // namespace

void LayerStack::AddLayer() {
  if (Scene) RecordLayerChange(*Scene, {});
  if (Scene) Scene->NewLayer(true, Scene->OrderOf(Scene->CurrentLayer) - 1);
  Settle();
}

void LayerStack::DeleteCurrent() {
  if (Scene && Scene->CurrentLayer > 0 && Scene->OrderOf(Scene->CurrentLayer) > 0)
    RecordLayerChange(*Scene, {Scene->CurrentLayer});
  if (Scene) DeleteLayer(*Scene, Scene->CurrentLayer);
  Settle();
}

void LayerStack::MoveCurrentUp() {
  if (Scene && Scene->CurrentLayer > 0 && Scene->OrderOf(Scene->CurrentLayer) < Scene->Layers.GetAmount())
    RecordLayerChange(*Scene, {Scene->CurrentLayer});
  if (Scene) MoveLayer(*Scene, Scene->CurrentLayer, true);
  Settle();
}

void LayerStack::MoveCurrentDown() {
  if (Scene && Scene->CurrentLayer > 0 && Scene->OrderOf(Scene->CurrentLayer) > 2)
    RecordLayerChange(*Scene, {Scene->CurrentLayer});
  if (Scene) MoveLayer(*Scene, Scene->CurrentLayer, false);
  Settle();
}

void LayerStack::DuplicateCurrent() {
  if (!Scene) return;
  RecordLayerChange(*Scene, {});
  const int id = DuplicateLayer(*Scene, Scene->CurrentLayer);
  if (id >= 0) Scene->CurrentLayer = id;
  Settle();
}

void LayerStack::DuplicateCurrentFlipped() {
  if (!Scene) return;
  RecordLayerChange(*Scene, {});
  const int id = DuplicateLayerFlipped(*Scene, Scene->CurrentLayer);
  if (id >= 0) Scene->CurrentLayer = id;
  Settle();
}

void LayerStack::MergeCurrentDown() {
  if (Scene) RecordLayerChange(*Scene, AllLayerIDs(*Scene));
  if (Scene) MergeDown(*Scene, Scene->CurrentLayer);
  Settle();
}

void LayerStack::MergeCurrentUp() {
  if (Scene) RecordLayerChange(*Scene, AllLayerIDs(*Scene));
  if (Scene) MergeUp(*Scene, Scene->CurrentLayer);
  Settle();
}

void LayerStack::MergeAllVisible() {
  if (!Scene) return;
  RecordLayerChange(*Scene, AllLayerIDs(*Scene));
  const int id = MergeVisible(*Scene);
  if (id >= 0) Scene->CurrentLayer = id;
  Settle();
}

void LayerStack::ApplyCurrentMask() {
  if (Scene) RecordLayerChange(*Scene, {Scene->CurrentLayer});
  if (Scene) ApplyLayerMask(*Scene, Scene->CurrentLayer);
  Settle();
}

void LayerStack::ApplyCurrentBlending() {
  if (Scene) RecordLayerChange(*Scene, {Scene->CurrentLayer});
  if (Scene) ApplyBlending(*Scene, Scene->CurrentLayer);
  Settle();
}

namespace {
// What a fill lays down: the pen's colour and specular. A fill has no stroke
// to take a depth from, so it leaves depth alone.
LayerFill PenFill() {
  LayerFill fill;
  auto byte = [](float v) { return (uint32_t)std::lround(std::clamp(v, 0.0f, 1.0f) * 255); };
  fill.Color = byte(GeneralPen::Color[0]) << 16 | byte(GeneralPen::Color[1]) << 8 | byte(GeneralPen::Color[2]);
  fill.Specular = (uint8_t)byte(GeneralPen::SpecularDegree);
  fill.UseColor = GeneralPen::DrawColor;
  fill.UseSpecular = GeneralPen::DrawSpecular;
  fill.UseDepth = false;
  return fill;
}
}  // namespace

void LayerStack::FillCurrent() {
  if (Scene) RecordLayerChange(*Scene, {Scene->CurrentLayer});
  if (Scene) FillLayer(*Scene, Scene->CurrentLayer, PenFill(), false);
  Settle();
}

void LayerStack::FillCurrentPainted() {
  if (Scene) RecordLayerChange(*Scene, {Scene->CurrentLayer});
  if (Scene) FillLayer(*Scene, Scene->CurrentLayer, PenFill(), true);
  Settle();
}

void LayerStack::InvertCurrentColor() {
  if (Scene) RecordLayerChange(*Scene, {Scene->CurrentLayer});
  if (Scene) InvertColor(*Scene, Scene->CurrentLayer);
  Settle();
}

void LayerStack::InvertCurrentSpecular() {
  if (Scene) RecordLayerChange(*Scene, {Scene->CurrentLayer});
  if (Scene) InvertSpecular(*Scene, Scene->CurrentLayer);
  Settle();
}

void LayerStack::CurrentColorToSpecular() {
  if (Scene) RecordLayerChange(*Scene, {Scene->CurrentLayer});
  if (Scene) ColorToSpecular(*Scene, Scene->CurrentLayer);
  Settle();
}

void LayerStack::ClearCurrentHeight() {
  if (Scene) RecordLayerChange(*Scene, {Scene->CurrentLayer});
  if (Scene) ClearLayerChannels(*Scene, Scene->CurrentLayer, true, false, false);
  Settle();
}

void LayerStack::ClearCurrentColor() {
  if (Scene) RecordLayerChange(*Scene, {Scene->CurrentLayer});
  if (Scene) ClearLayerChannels(*Scene, Scene->CurrentLayer, false, true, false);
  Settle();
}

void LayerStack::ClearCurrentSpecular() {
  if (Scene) RecordLayerChange(*Scene, {Scene->CurrentLayer});
  if (Scene) ClearLayerChannels(*Scene, Scene->CurrentLayer, false, false, true);
  Settle();
}

void LayerStack::CopyBlueToRed() {
  if (Scene) RecordLayerChange(*Scene, {Scene->CurrentLayer});
  if (Scene) CopyColorChannel(*Scene, Scene->CurrentLayer, true);
  Settle();
}

void LayerStack::CopyRedToBlue() {
  if (Scene) RecordLayerChange(*Scene, {Scene->CurrentLayer});
  if (Scene) CopyColorChannel(*Scene, Scene->CurrentLayer, false);
  Settle();
}

void LayerStack::Settle() {
  if (Scene) settled_ = LayerStackBytes(*Scene);
}

LayerStack::~LayerStack() { ForgetGestureRecord(this); }

void LayerStack::LayerChanged(OneLayerInfo* layer) {
  if (!Scene || !layer) return;
  // A slider dragged along the row changes the layer at every step of the
  // pointer: one record for the whole drag, of the stack as it was settled
  // before the press.
  const int id = layer->LayerID;
  RecordWhenGestureEnds(this, [this, id] {
    if (!Scene) return;
    RecordPanelEdit(*Scene, settled_, id);
    Settle();
  });
  Scene->RebuildLayerOrder();  // a new name shows in the mask list
  RecomposeLayer(*Scene, layer->LayerID);
  // Layers masked by this one change with it.
  for (OneLayerInfo* l : Layers)
    if (l->LinkedLayer == layer->LayerID) RecomposeLayer(*Scene, l->LayerID);
}

bool OneLayerInfo::OnChange(BaseClass*, void*, void*, const char*) {
  auto* stack = Parent ? dynamic_cast<LayerStack*>(Parent->Parent) : nullptr;
  if (stack) stack->LayerChanged(this);
  return stack != nullptr;
}
