// Composition of one micro-vertex face from its layer entries.
#pragma once

class PaintScene;

// Blends the face's visible layers into its grid: composite position
// (base + depth), colour with specular in the alpha byte, and coverage.
void ComposeFace(PaintScene& scene, int face);
