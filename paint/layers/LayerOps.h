// The layer operations of the layer panel, on both storages at once: the
// micro-vertex sample lists of the faces and the layer tiles of every
// PixelMap. Each recomposes what it touched. Operations that the bottom layer
// refuses return false for layer 0.
#pragma once

class PaintScene;

// "DELETE_LAYER_HINT": frees every sample list of the layer and removes it;
// the layer below becomes current. Refused for layer 0.
bool DeleteLayer(PaintScene& scene, int layerID);
// "DUPLICATE_LAYER": a copy behind the source, " copy" appended to its name,
// with all sample lists copied. Returns the new ID, -1 when refused.
int DuplicateLayer(PaintScene& scene, int layerID);
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
// Recomposes every face and tile that holds the layer.
void RecomposeLayer(PaintScene& scene, int layerID);
