// The scene's layers as the layer panel shows them: the list bottom to top
// (each layer's visibility, opacity, blend mode and the rest are rows of its
// own) and the panel's commands. Every edit recomposes what the layer covers.
#pragma once
#include <string>

#include "ClassEngine/ClassArray.h"
#include "paint/layers/OneLayerInfo.h"

class PaintScene;

class LayerStack : public BaseClass {
 public:
  ClassArray<OneLayerInfo> Layers;  // bottom to top; layer 0 first
  PaintScene* Scene = nullptr;

  MV_CLASS(LayerStack, BaseClass) {
    Member(Layers, "Layers");
    Method(&LayerStack::AddLayer, "ADD_NEW_LAYER_HINT");
    Method(&LayerStack::DeleteCurrent, "DELETE_LAYER_HINT");
    Method(&LayerStack::MoveCurrentUp, "MOVE_LAYER_UP_HINT");
    Method(&LayerStack::MoveCurrentDown, "MOVE_LAYER_DOWN_HINT");
    Method(&LayerStack::DuplicateCurrent, "DUPLICATE_LAYER");
    Method(&LayerStack::DuplicateCurrentFlipped, "DUPLICATE_WITH_FLIP");
    Method(&LayerStack::MergeCurrentDown, "MERGE_DOWN");
    Method(&LayerStack::MergeCurrentUp, "MERGE_UP");
    Method(&LayerStack::MergeAllVisible, "MERGE_VISIBLE");
    Method(&LayerStack::ApplyCurrentMask, "APPLY_LMASK");
    Method(&LayerStack::ApplyCurrentBlending, "ApplyBlending");
    Method(&LayerStack::FillCurrent, "FILLLAYER");
    Method(&LayerStack::FillCurrentPainted, "FILLLAYERTR");
    Method(&LayerStack::InvertCurrentColor, "INVERTCOLOR");
    Method(&LayerStack::InvertCurrentSpecular, "INVERTSPECULAR");
    Method(&LayerStack::CurrentColorToSpecular, "COLOR2SPECULAR");
    Method(&LayerStack::ClearCurrentHeight, "SETZEROHEIGHT");
    Method(&LayerStack::ClearCurrentColor, "SETZEROCOLOR");
    Method(&LayerStack::ClearCurrentSpecular, "SETZEROSPECULAR");
    Method(&LayerStack::CopyBlueToRed, "COPY_BLUE_TO_RED");
    Method(&LayerStack::CopyRedToBlue, "COPY_RED_TO_BLUE");
  }
  LayerStack() { Layers.SetParentOnly(this); }
  ~LayerStack() override;
  LayerStack(const LayerStack&) = delete;
  LayerStack& operator=(const LayerStack&) = delete;

  // The panel's commands, on the scene's current layer.
  void AddLayer();
  void DeleteCurrent();
  void MoveCurrentUp();
  void MoveCurrentDown();
  void DuplicateCurrent();
  void DuplicateCurrentFlipped();
  void MergeCurrentDown();
  void MergeCurrentUp();
  void MergeAllVisible();
  void ApplyCurrentMask();
  void ApplyCurrentBlending();
  // The pen's colour and specular, as its channel switches allow.
  void FillCurrent();
  void FillCurrentPainted();
  void InvertCurrentColor();
  void InvertCurrentSpecular();
  void CurrentColorToSpecular();
  void ClearCurrentHeight();
  void ClearCurrentColor();
  void ClearCurrentSpecular();
  void CopyBlueToRed();
  void CopyRedToBlue();
  // A row of `layer` changed (the row has written already): record the
  // layer as it was settled (at the end of the pointer's gesture, so a drag
  // is one step), then recompose what it covers.
  void LayerChanged(OneLayerInfo* layer);
  // Takes the present members as what the next row edit is undone to. The
  // commands and undo settle after they change the stack; so should code
  // that replaces it (a new or loaded scene).
  void Settle();

 private:
  std::string settled_;  // the layer stack's bytes when last settled; empty: unknown
};
