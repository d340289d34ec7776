// The stroke handler of the voxel room: pen positions of each frame become
// stroke samples (interpolated, re-projected on the surface, evenly spaced by
// arc length, turned to object space), and each consecutive pair of samples
// becomes a field operation of the current tool on the volume. Touched cells
// keep their undo copies until the stroke's undo record takes them; the
// surface follows with UpdateSurface at the end of each frame.
// VoxelSculptTool wraps this class for the tool table.
#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ClassEngine/Random.h"
#include "MC/brushes/SurfaceTools.h"
#include "MC/brushes/VoxelBrushSettings.h"
#include "paint/BrushMaskSource.h"

class VolumeObject;

// The view's stencil and material mask (GeneralPen::Mask) read scene points;
// the fields hand lattice points of the volume, which this takes to the scene
// first.
class LatticeMask final : public BrushMaskSource {
 public:
  const VolumeObject* Volume = nullptr;
  const BrushMaskSource* SceneMask = nullptr;
  float At(const float p[3]) const override;
};

// One pen position in scene space: where the pen touches, the outward normal,
// the world radius and the pressure.
struct PenPoint {
  float P[3] = {0, 0, 0};
  float N[3] = {0, 0, 1};
  float Radius = 5.f;
  float Pressure = 1.f;
};

// A stroke sample, object space. Radius and Depth are the dab's own, after
// the pen's pressure curve, random variation and jitter (ShapeDab).
struct StrokeSample {
  float P[3], N[3];
  float Radius, Pressure;
  float Depth = 0.5f;
  // The pen's amount at this dab relative to its setting (pressure in the
  // soft stroke modes, depth and opacity variation): 1 when nothing varies.
  float Strength = 1.f;
  // The pen frame in the plane across N: the profile's x and y axes.
  float PenX[3] = {0, 0, 0}, PenY[3] = {0, 0, 0};
};

class VoxelSculptStroke {
 public:
  VoxelSculptStroke(VoxelBrushSettings& settings) : settings_(settings) {}

  int Tool = SCULPT_CARVE;
  // The invert modifier of this stroke (exclusive-or with the tool's flag).
  bool InvertModifier = false;
  int Threads = 0;
  // Re-project samples on the surface before the stroke (off for tool 9).
  bool Reproject = true;
  // The one-stamp flags of the pen: the stroke is a single stamp.
  bool SingleStamp = false;
  // A stencil or material pattern that reads lattice points, or null for
  // the view's own (GeneralPen::Mask, read through the volume's transform).
  // Not owned.
  const BrushMaskSource* Mask = nullptr;

  // Pen down. Returns false (with `Message()` set) for a tool that cannot
  // stroke yet.
  bool Begin(VolumeObject& volume, const PenPoint& first, uint32_t seed = 1);
  // One frame's pen position: samples from the last position to this one,
  // then the tool's operations. Returns the cells changed.
  int MoveTo(const PenPoint& p);
  // Pen up: a surface tool's edit in a volume not in surface mode goes into
  // the voxels (ApplyMC), floating specks the stroke left are dropped
  // (DropSpecks); the undo copies stay on the volume for the undo record.
  void End();
  bool Active() const { return volume_ != nullptr; }
  bool Inverted() const;
  const std::string& Message() const { return message_; }
  // Samples of the last frame (for tests and drawing the path).
  const std::vector<StrokeSample>& LastSamples() const { return samples_; }

  // From two pen points to samples, as the frame does (exposed for tests).
  std::vector<StrokeSample> MakeSamples(const PenPoint& a, const PenPoint& b) const;
  // The dab of one sample by the pen (GeneralPen::CurrentPenPtr and the
  // stroke mode): radius from pressure and radius variation, depth from
  // pressure, depth and opacity variation, the pen frame with its rotation
  // and flips, and the position jitter. `motion` is the stroke's direction.
  void ShapeDab(StrokeSample& s, const float motion[3]);

 private:
  int ApplyPair(const StrokeSample& a, const StrokeSample& b, bool moving);
  // One tool operation on a pair of samples already in the copy's space.
  int ApplyTool(const StrokeSample& a, const StrokeSample& b, const StrokeSample& first, float handed, bool moving);
  void ToObject(const PenPoint& p, StrokeSample& s) const;
  VoxelBrushSettings& settings_;
  VolumeObject* volume_ = nullptr;
  PenPoint last_;
  StrokeSample first_;
  Random rnd_;
  std::string message_;
  std::vector<StrokeSample> samples_;
  // The last dab of the frame before: the first sample of the next frame.
  std::optional<StrokeSample> prevDab_;
  size_t pairIndex_ = 0;
  bool hasCubic_ = false;
  SurfaceStrokeState surface_;  // what the surface tools keep for the stroke
  LatticeMask viewMask_;        // GeneralPen::Mask seen from the lattice
  float cubicBefore_[3], cubicAfter_[3];
};
