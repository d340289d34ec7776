// The composed colour map of a render target as an image, drawn on the CPU:
// per-pixel targets read their composite tiles; micro-vertex targets draw
// each face's grid into UV space through the span rasteriser, with the ring
// of samples across the face's border as the redraw on the device does.
#pragma once
#include "interchange/Image.h"

class PaintScene;

// An RGB image of the target's size (rows bottom-up, as every cImage);
// pixels no face covers stay mid grey, and per-pixel composites show over
// that grey by their coverage. False for a target out of range.
bool ComposedColorMap(PaintScene& scene, int target, comms::cImage& out);
