// A field's row of nine values is exactly what Value gives point by point,
// and a carve driven through rows leaves the same voxels as one driven
// through Value alone: the fast road changes speed, never the result.
#include <gtest/gtest.h>

#include <cmath>

#include "BrushTestKit.h"
#include "MC/brushes/ApplyField.h"

namespace {
// Hides the half space x < 3 behind a soft edge.
class SoftEdgeMask : public BrushMaskSource {
 public:
  float At(const float p[3]) const override { return std::clamp((p[0] - 3.f) / 5.f + 0.5f, 0.f, 1.f); }
};

// The same field seen only through Value: the driver falls back to the
// plain row, one Value per point.
class ValueOnly : public BrushField {
 public:
  explicit ValueOnly(const BrushField& f) : f_(f) {}
  float Value(float x, float y, float z) const override { return f_.Value(x, y, z); }

 private:
  const BrushField& f_;
};

BrushEnd End(float x, float y, float z, float nx, float ny, float nz, float r, float h) {
  BrushEnd e;
  e.P[0] = x, e.P[1] = y, e.P[2] = z;
  const float l = std::sqrt(nx * nx + ny * ny + nz * nz);
  e.N[0] = nx / l, e.N[1] = ny / l, e.N[2] = nz / l;
  e.R = r, e.H = h;
  return e;
}

struct CarveCase {
  const char* name;
  BrushEnd a, b;
  bool flat, invert, masked;
  float falloff;
};

std::vector<CarveCase> Cases() {
  return {
      {"dab", End(1.5f, -2.f, 20.f, 0, 0, 1, 9.f, 0.5f), End(1.5f, -2.f, 20.f, 0, 0, 1, 9.f, 0.5f), false, false, false, 0},
      {"turning segment", End(-6, 1, 19, -0.3f, 0.1f, 1, 7, 0.4f), End(7, -2, 18, 0.4f, 0, 1, 11, 0.7f), false, false,
       false, 0},
      {"inverted", End(-3, 0, 20, 0, 0.2f, 1, 8, 0.6f), End(4, 3, 20, 0.1f, 0, 1, 8, 0.6f), false, true, false, 0},
      {"flat", End(0, 0, 20, 0, 0, 1, 10, 0.3f), End(5, 5, 19, 0, 0, 1, 10, 0.3f), true, false, false, 0},
      {"masked with falloff", End(-4, 2, 20, 0, 0, 1, 9, 0.8f), End(6, 2, 20, 0, 0, 1, 9, 0.8f), false, false, true,
       0.6f},
  };
}
}  // namespace

TEST(FieldRow, CarveRowsAreValueForValue) {
  SimplePen pen;
  SoftEdgeMask mask;
  for (const CarveCase& c : Cases()) {
    PenProfile profile;
    profile.Pen = &pen;
    profile.Falloff = c.falloff;
    profile.Mask = c.masked ? &mask : nullptr;
    CarveField f(c.a, c.b, 4.f, c.flat, c.invert, profile, c.flat ? 1.5f : 0.f);
    int positive = 0;
    // Odd starts and both signs, across the whole reach of the operation.
    for (int z = 0; z <= 30; z += 1)
      for (int y = -17; y <= 17; y += 2)
        for (int x0 = -25; x0 <= 16; x0 += 9) {
          float row[9];
          f.Row((float)x0, (float)y, (float)z, row);
          for (int i = 0; i < 9; ++i) {
            const float v = f.Value((float)(x0 + i), (float)y, (float)z);
            ASSERT_EQ(row[i], v) << c.name << " at " << x0 + i << " " << y << " " << z;
            positive += v > 0;
          }
        }
    EXPECT_GT(positive, 100) << c.name << ": the rows crossed the cut";
  }
}

TEST(FieldRow, CarveThroughRowsLeavesTheVoxelsOfCarveThroughValues) {
  SimplePen pen;
  for (const CarveCase& c : Cases()) {
    PenProfile profile;
    profile.Pen = &pen;
    profile.Falloff = c.falloff;
    CarveField f(c.a, c.b, 4.f, c.flat, c.invert, profile, 0.f);
    FieldOptions o;
    o.Mode = c.invert ? kFieldUnion : kFieldSubtract;
    o.Band = 4.f;
    o.Rounding = RimRounding(std::min(c.a.R, c.b.R), o.Band);
    const FieldBox box = FieldBox::OfSpheres(c.a.P, c.a.R + 8, c.b.P, c.b.R + 8);
    VolumeObject rows, values, untouched;
    for (VolumeObject* v : {&rows, &values, &untouched}) FillVolume(*v, SphereShape(0, 0, 0, 20));
    const int changedRows = ApplyField(rows, f, box, o);
    const int changedValues = ApplyField(values, ValueOnly(f), box, o);
    EXPECT_GT(changedRows, 0) << c.name;
    EXPECT_EQ(changedRows, changedValues) << c.name;
    const VolumeSnapshot after = Snapshot(rows);
    EXPECT_EQ(after, Snapshot(values)) << c.name;
    EXPECT_NE(after, Snapshot(untouched)) << c.name;
  }
}
