// The layer panel's commands and the recomposition after an edit.
#include "paint/layers/LayerStack.h"

#include "paint/layers/LayerOps.h"
#include "paint/scene/PaintScene.h"

void LayerStack::AddLayer() {
  if (Scene) Scene->NewLayer(true, Scene->OrderOf(Scene->CurrentLayer) - 1);
}

void LayerStack::DeleteCurrent() {
  if (Scene) DeleteLayer(*Scene, Scene->CurrentLayer);
}

void LayerStack::MoveCurrentUp() {
  if (Scene) MoveLayer(*Scene, Scene->CurrentLayer, true);
}

void LayerStack::MoveCurrentDown() {
  if (Scene) MoveLayer(*Scene, Scene->CurrentLayer, false);
}

void LayerStack::LayerChanged(OneLayerInfo* layer) {
  if (!Scene || !layer) return;
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
