// Exchanging the contents of two paint scenes: a scene file is read into a
// scene of its own and exchanged with the open one only when it read cleanly.
#pragma once

class PaintScene;

// Exchanges every stored member of a and b (faces, tables, lists, layers,
// maps). Each scene keeps its own lock, layer panel and face-batch drawer;
// owner pointers (array parents, PixelMap::Scene) follow.
void SwapSceneContents(PaintScene& a, PaintScene& b);
