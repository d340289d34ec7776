// Filling a volume from a signed distance (voxel units, positive inside) in
// parallel: the program's primitives for tests, benchmarks and the
// make-volume command. Distances are encoded as d = f / BandWidth + 0.5.
#pragma once
#include <cstdint>
#include <functional>
#include <vector>

class VolumeObject;

class DensityShape {
 public:
  virtual ~DensityShape() = default;
  // Signed distance in voxels, positive inside.
  virtual float Distance(float x, float y, float z) const = 0;
  // Box that holds the whole solid, in voxels.
  virtual void Bounds(float mn[3], float mx[3]) const = 0;
  // Upper bound of the gradient's length: 1 for a true distance. The fill
  // trusts it to decide which cells are uniform without sampling them.
  virtual float Lipschitz() const { return 1.0f; }
};

class SphereShape : public DensityShape {
 public:
  SphereShape(float cx, float cy, float cz, float radius) : c_{cx, cy, cz}, r_(radius) {}
  float Distance(float x, float y, float z) const override;
  void Bounds(float mn[3], float mx[3]) const override;

 private:
  float c_[3], r_;
};

class BoxShape : public DensityShape {
 public:
  BoxShape(float cx, float cy, float cz, float hx, float hy, float hz) : c_{cx, cy, cz}, h_{hx, hy, hz} {}
  float Distance(float x, float y, float z) const override;
  void Bounds(float mn[3], float mx[3]) const override;

 private:
  float c_[3], h_[3];
};

// Ring around the y axis through the centre.
class TorusShape : public DensityShape {
 public:
  TorusShape(float cx, float cy, float cz, float major, float minor) : c_{cx, cy, cz}, R_(major), r_(minor) {}
  float Distance(float x, float y, float z) const override;
  void Bounds(float mn[3], float mx[3]) const override;

 private:
  float c_[3], R_, r_;
};

// A sphere whose radius is displaced by smooth value noise (seeded, so the
// same seed gives the same blob).
class NoiseShape : public DensityShape {
 public:
  NoiseShape(float cx, float cy, float cz, float radius, float amplitude, float wavelength, uint32_t seed);
  float Distance(float x, float y, float z) const override;
  void Bounds(float mn[3], float mx[3]) const override;
  float Lipschitz() const override;

 private:
  float Noise(float x, float y, float z) const;
  float c_[3], r_, amp_, freq_;
  std::vector<float> lattice_;  // 32^3 random values in -1..1
};

// Any distance function with its bounds.
class FunctionShape : public DensityShape {
 public:
  FunctionShape(std::function<float(float, float, float)> fn, const float mn[3], const float mx[3], float lipschitz = 1.0f);
  float Distance(float x, float y, float z) const override { return fn_(x, y, z); }
  void Bounds(float mn[3], float mx[3]) const override;
  float Lipschitz() const override { return lip_; }

 private:
  std::function<float(float, float, float)> fn_;
  float mn_[3], mx_[3], lip_;
};

// Density value of a signed distance with the given band width.
uint16_t EncodeDistance(float distance, int bandWidth);

// Unites the shape into the volume (max with what is there), marking the
// changed cells dirty; no undo copies. threads 0 = all processors.
void FillVolume(VolumeObject& volume, const DensityShape& shape, int threads = 0);
