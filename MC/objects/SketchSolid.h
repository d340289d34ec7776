// The sketch tool's solid: three reference pictures (front, side, top), each
// turned into a field of signed distances to its silhouette, and the solid
// that all three see, merged into a volume cell by cell. Each cell's 729
// lattice points are visited coarse to fine, in strides of 4 from the
// offsets 0..3 per axis; when the 27 points of the first offset agree, the
// rest of the cell takes their value without being sampled.
#pragma once
#include <string>
#include <vector>

namespace comms {
class cImage;
}
class VolumeObject;

// One reference picture and where it stands.
struct SketchView {
  // Per pixel, rows bottom-up: the signed distance to the silhouette's border
  // in units of the volume's band (4 voxels), positive inside.
  std::vector<float> Values;
  int Width = 0, Height = 0;
  // Row vectors: an object-space point times Matrix gives the picture's unit
  // square in x (to the right) and y (up).
  float Matrix[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  bool Visible = true;

  // Bilinear sample at (u, v) of the unit square; -1e6 outside it.
  float Sample(float u, float v) const;
  // The value the view gives an object-space point.
  float At(const float p[3]) const;
};

// The silhouette of a picture: the green channel (the brighter part is the
// solid), blurred 3 x 3 `smoothSteps` times, cut at 128, then measured as a
// signed distance in pixels scaled by `voxelsPerPixel` / 4. False for a
// picture the tool cannot read.
bool SketchValues(const comms::cImage& picture, int smoothSteps, float voxelsPerPixel, SketchView& view);

enum SketchSide { kSketchFront = 0, kSketchSide, kSketchTop };

// Places view `side` so that its picture's longer edge spans `size` voxels,
// centred on `centre` (object space): the front is seen from +z (x right, y
// up), the side from +x (-z right, y up), the top from +y (x right, -z up).
void PlaceSketchView(SketchView& view, int side, const float centre[3], float size);

struct SketchParams {
  float Softness = 0;    // SketchSoftness, 0..4
  bool EarlyOut = true;  // off: every lattice point is sampled (for checking)
  int Threads = 0;       // 0: all processors
};

// The value 0..1 of the solid at an object-space point (no early-out).
float SketchValue(const std::vector<const SketchView*>& views, const float p[3], float softness);

// Merges the solid the visible views see into `volume` (the higher of the
// old and the new value), over the cells of the box [lo, hi] in voxels,
// with undo copies at first touch. Returns the number of changed cells.
int MergeSketch(VolumeObject& volume, const std::vector<const SketchView*>& views, const float lo[3], const float hi[3],
                const SketchParams& params);
