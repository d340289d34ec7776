// The layer operations of the layer panel, on both storages at once: the
// micro-vertex sample lists of the faces and the layer tiles of every
// PixelMap. Each recomposes what it touched. Operations that the bottom layer
// refuses return false for layer 0.
#pragma once
#include <cstdint>

class PaintScene;

// "DELETE_LAYER_HINT": frees every sample list of the layer and removes it;
// the layer below becomes current. Refused for layer 0.
bool DeleteLayer(PaintScene& scene, int layerID);
// "DUPLICATE_LAYER": a copy behind the source, " copy" appended to its name,
// with all sample lists copied. Returns the new ID, -1 when refused.
int DuplicateLayer(PaintScene& scene, int layerID);
// "DUPLICATE_WITH_FLIP": the same, laid through the symmetry planes of
// `axes` (bit 0 x, 1 y, 2 z, in world space; 0 takes the pen's symmetry, or x
// when it has none): each sample takes the paint of the source sample
// nearest its mirror image, depth mirrored with it.
int DuplicateLayerFlipped(PaintScene& scene, int layerID, int axes = 0);
// "MOVE_LAYER_UP_HINT" / "MOVE_LAYER_DOWN_HINT": swaps with the neighbour and
// re-sorts every list. Moving down stops above layer 0; layer 0 never moves.
bool MoveLayer(PaintScene& scene, int layerID, bool up);
// "MERGE_DOWN": blends the layer into the nearest visible layer below and
// deletes it; returns the ID that stays. "MERGE_UP": the layer above merges
// down; nothing (-1) on the top layer.
int MergeDown(PaintScene& scene, int layerID);
int MergeUp(PaintScene& scene, int layerID);
// "INVERTCOLOR", "INVERTSPECULAR", "COLOR2SPECULAR".
void InvertColor(PaintScene& scene, int layerID);
void InvertSpecular(PaintScene& scene, int layerID);
void ColorToSpecular(PaintScene& scene, int layerID);
// "SETZEROHEIGHT", "SETZEROCOLOR", "SETZEROSPECULAR": clears the channels
// asked; sample lists left all empty are freed.
void ClearLayerChannels(PaintScene& scene, int layerID, bool depth, bool colour, bool specular);
// "MERGE_VISIBLE": the first visible layer above layer 0 gets default
// members and the composite (less the bottom layer's depth) written into it,
// face by face and tile by tile; the other layers keep their data. Returns
// that layer's ID, -1 when no visible layer stands above layer 0.
int MergeVisible(PaintScene& scene);
// "APPLY_LMASK": the layer's depth and coverage are multiplied by its mask
// (1 - mask with InverseLinkage; a face or tile the mask never touched
// counts as mask 0), then the link is dropped. False when it has none.
bool ApplyLayerMask(PaintScene& scene, int layerID);
// "ApplyBlending": brightness, contrast, specular contrast and brightness
// and both transparencies are baked into the samples by the composition's
// formulas, and the members go back to their defaults.
void ApplyBlending(PaintScene& scene, int layerID);

// What "FILLLAYER" puts down: the pen's colour (0xRRGGBB), specular and depth,
// each only when its channel switch is on.
struct LayerFill {
  uint32_t Color = 0x808080;
  uint8_t Specular = 0;
  float Depth = 0;
  bool UseDepth = false, UseColor = true, UseSpecular = false;
};
// "FILLLAYER" (everywhere) and "FILLLAYERTR" (only where the layer already
// has coverage, which it keeps). Faces wholly frozen, locked or hidden are
// skipped; a partly frozen sample takes the fill by 1 - Freeze.
void FillLayer(PaintScene& scene, int layerID, const LayerFill& fill, bool onlyWherePainted);
// "COPY_BLUE_TO_RED" and "COPY_RED_TO_BLUE": for normal maps painted mirrored.
void CopyColorChannel(PaintScene& scene, int layerID, bool blueToRed);

// Recomposes every face and tile that holds the layer.
void RecomposeLayer(PaintScene& scene, int layerID);
