// The stroke handler of the voxel room: pen positions of each frame become
// stroke samples (interpolated, re-projected on the surface, evenly spaced by
// arc length, turned to object space), and each consecutive pair of samples
// becomes a field operation of the current tool on the volume. Touched cells
// keep their undo copies until the stroke's undo record takes them; the
// surface follows with UpdateSurface at the end of each frame.
// VoxelSculptTool wraps this class for the tool table.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "ClassEngine/Random.h"
#include "MC/brushes/VoxelBrushSettings.h"

class VolumeObject;

// One pen position in scene space: where the pen touches, the outward normal,
// the world radius and the pressure.
struct PenPoint {
  float P[3] = {0, 0, 0};
  float N[3] = {0, 0, 1};
  float Radius = 5.f;
  float Pressure = 1.f;
};

// A stroke sample, object space.
struct StrokeSample {
  float P[3], N[3];
  float Radius, Pressure;
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

  // Pen down. Returns false (with `Message()` set) for a tool that cannot
  // stroke yet.
  bool Begin(VolumeObject& volume, const PenPoint& first, uint32_t seed = 1);
  // One frame's pen position: samples from the last position to this one,
  // then the tool's operations. Returns the cells changed.
  int MoveTo(const PenPoint& p);
  // Pen up: the undo copies stay on the volume for the undo record.
  void End();
  bool Active() const { return volume_ != nullptr; }
  bool Inverted() const;
  const std::string& Message() const { return message_; }
  // Samples of the last frame (for tests and drawing the path).
  const std::vector<StrokeSample>& LastSamples() const { return samples_; }

  // From two pen points to samples, as the frame does (exposed for tests).
  std::vector<StrokeSample> MakeSamples(const PenPoint& a, const PenPoint& b) const;

 private:
  int ApplyPair(const StrokeSample& a, const StrokeSample& b, bool moving);
  void ToObject(const PenPoint& p, StrokeSample& s) const;
  VoxelBrushSettings& settings_;
  VolumeObject* volume_ = nullptr;
  PenPoint last_;
  StrokeSample first_;
  Random rnd_;
  std::string message_;
  std::vector<StrokeSample> samples_;
};
