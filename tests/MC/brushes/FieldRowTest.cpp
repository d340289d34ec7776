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

// The carve as written down point by point, for ends that share their
// normal: the footprint in the pen plane, the rim, the slab's faces, the
// pen's depth and the rounded floor.
float CarveReference(const CarveCase& c, const PenProfile& pen, float offset, const float p[3]) {
  const SegmentFrame f(c.a, c.b);
  const float w = 4.f, round = RimRounding(std::min(c.a.R, c.b.R), w);
  float t, q[3];
  f.Project(p, t, q);
  const float R = f.A.R + (f.B.R - f.A.R) * t, H = f.A.H + (f.B.H - f.A.H) * t;
  const float h = f.N[0] * q[0] + f.N[1] * q[1] + f.N[2] * q[2];
  float qq[3];
  for (int i = 0; i < 3; ++i) qq[i] = q[i] - h * f.N[i];
  const float u = (f.T[0] * qq[0] + f.T[1] * qq[1] + f.T[2] * qq[2]) / R;
  const float v = -(f.Bt[0] * qq[0] + f.Bt[1] * qq[1] + f.Bt[2] * qq[2]) / R;
  const float r2 = u * u + v * v;
  const float rim = (1.f - std::sqrt(r2)) * R / w + 0.5f;
  if (rim <= 0.f) return rim;
  if (!c.flat) {
    const float face = (c.invert ? h + 2.f : 2.f - h) / w + 0.5f;
    if (face <= 0.f) return face;
  }
  // Where the mask holds the pen back wholly, the volume is left alone.
  const float k = pen.Mask ? pen.BrushMask(p) : 1.f;
  if (k <= 0.f) return 0.f;
  const float a = (r2 < 1.f ? pen.Alpha(u, -v) * R : 0.f) * k - 0.1f * r2 * R;
  auto lift = [&](float d) { return d >= round ? d : (d > 0 ? d - (round - d) * (round - d) / round : d - round); };
  float m;
  if (c.flat) {
    const float d = lift(a * H + offset);
    m = std::min(h + d, d - h);
  } else {
    const float d = lift(a * std::max(H, 0.f));
    m = std::min(h - (c.invert ? -2.f : -d), (c.invert ? d : 2.f) - h);
  }
  return RoundedMin(m / w + 0.5f, rim, w, round);
}

TEST(FieldRow, CarveOfAStraightPenIsItsFormulaPointByPoint) {
  SimplePen pen;
  SoftEdgeMask mask;
  int checked = 0;
  std::vector<CarveCase> cases = Cases();
  cases.push_back({"inverted dab", End(2, 1, 20, 0.2f, 0, 1, 8, 0.6f), End(2, 1, 20, 0.2f, 0, 1, 8, 0.6f), false, true,
                   false, 0});
  for (const CarveCase& c : cases) {
    if (c.a.N[0] != c.b.N[0] || c.a.N[1] != c.b.N[1] || c.a.N[2] != c.b.N[2]) continue;
    PenProfile profile;
    profile.Pen = &pen;
    profile.Falloff = c.falloff;
    profile.Mask = c.masked ? &mask : nullptr;
    const float offset = c.flat ? 1.5f : 0.f;
    CarveField f(c.a, c.b, 4.f, c.flat, c.invert, profile, offset);
    for (int z = 0; z <= 30; ++z)
      for (int y = -17; y <= 17; y += 3)
        for (int x0 = -25; x0 <= 16; x0 += 9) {
          float row[9];
          f.Row((float)x0, (float)y, (float)z, row);
          for (int i = 0; i < 9; ++i) {
            const float p[3] = {(float)(x0 + i), (float)y, (float)z};
            ASSERT_EQ(row[i], CarveReference(c, profile, offset, p)) << c.name << " at " << p[0] << " " << y << " " << z;
            ++checked;
          }
        }
  }
  EXPECT_EQ(checked, 4 * 9 * 5 * 12 * 31) << "the dab, flat, masked and inverted cases were all checked";
}

TEST(FieldRow, CarveIsZeroWhereItSaysSo) {
  SimplePen pen;
  int passed = 0, kept = 0;
  for (const CarveCase& c : Cases()) {
    PenProfile profile;
    profile.Pen = &pen;
    profile.Falloff = c.falloff;
    CarveField f(c.a, c.b, 4.f, c.flat, c.invert, profile, c.flat ? 1.5f : 0.f);
    // Cells around the operation: where the field says it is 0 all over a
    // cell, every lattice point of the cell agrees.
    for (int cz = -1; cz <= 4; ++cz)
      for (int cy = -4; cy <= 3; ++cy)
        for (int cx = -4; cx <= 3; ++cx) {
          const float centre[3] = {cx * 8 + 4.f, cy * 8 + 4.f, cz * 8 + 4.f};
          if (!f.ZeroAround(centre, 6.9282033f)) {
            ++kept;
            continue;
          }
          ++passed;
          for (int z = 0; z <= 8; ++z)
            for (int y = 0; y <= 8; ++y)
              for (int x = 0; x <= 8; ++x)
                ASSERT_LE(f.Value((float)(cx * 8 + x), (float)(cy * 8 + y), (float)(cz * 8 + z)), 0.f)
                    << c.name << " in cell " << cx << " " << cy << " " << cz;
        }
  }
  EXPECT_GT(passed, 100) << "cells beyond the pen are passed over";
  EXPECT_GT(kept, 100) << "cells the pen reaches are not";
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

namespace {
// Reads exactly as the simple pen does, but is not the simple pen itself: the
// carve reads it through its virtual calls.
class SimplePenThroughCalls : public SimplePen {};
}  // namespace

TEST(FieldRow, SimplePenReadInTheLanesIsTheSimplePenReadThroughItsCalls) {
  SimplePen lanes;
  SimplePenThroughCalls calls;
  SoftEdgeMask mask;
  struct PenCase {
    const char* name;
    float handed, turn, focal;
  };
  const PenCase pens[] = {{"upright", 1.f, 0.f, 0.f},
                          {"mirrored", -1.f, 0.f, 0.f},
                          {"turned", 1.f, 0.7f, 0.f},
                          {"turned and mirrored", -1.f, 2.3f, 0.f},
                          {"focal shift", 1.f, 0.4f, 0.35f}};
  std::vector<CarveCase> cases = Cases();
  cases.push_back({"wide dab", End(0.5f, 0.f, 20.f, 0.1f, 0, 1, 40.f, 0.5f), End(0.5f, 0.f, 20.f, 0.1f, 0, 1, 40.f, 0.5f),
                   false, false, false, 0});
  cases.push_back({"small inverted dab", End(2, 1, 20, 0.2f, 0, 1, 2.5f, 0.7f), End(2, 1, 20, 0.2f, 0, 1, 2.5f, 0.7f), false,
                   true, false, 0.3f});
  const float focalBefore = GeneralPen::FocalShift;
  int compared = 0, cut = 0;
  for (const PenCase& pc : pens) {
    GeneralPen::FocalShift = pc.focal;
    for (const CarveCase& c : cases) {
      PenProfile a, b;
      for (PenProfile* p : {&a, &b}) {
        p->Falloff = c.falloff;
        p->Mask = c.masked ? &mask : nullptr;
        p->Handed = pc.handed;
        p->Axes[0] = std::cos(pc.turn), p->Axes[1] = std::sin(pc.turn);
        p->Axes[2] = -std::sin(pc.turn), p->Axes[3] = std::cos(pc.turn);
      }
      a.Pen = &lanes, b.Pen = &calls;
      const float offset = c.flat ? 1.5f : 0.f;
      const CarveField fa(c.a, c.b, 4.f, c.flat, c.invert, a, offset), fb(c.a, c.b, 4.f, c.flat, c.invert, b, offset);
      const float reach = std::max(c.a.R, c.b.R) + 10.f;
      const int step = reach > 30.f ? 3 : 1;
      for (int z = (int)(20 - reach); z <= (int)(20 + reach); z += step)
        for (int y = (int)-reach; y <= (int)reach; y += step)
          for (int x0 = (int)-reach - 8; x0 <= (int)reach; x0 += 9) {
            float ra[9], rb[9];
            fa.Row((float)x0, (float)y, (float)z, ra);
            fb.Row((float)x0, (float)y, (float)z, rb);
            for (int i = 0; i < 9; ++i) {
              ASSERT_EQ(ra[i], rb[i]) << pc.name << ", " << c.name << " at " << x0 + i << " " << y << " " << z;
              cut += ra[i] > 0.f && ra[i] < 1.f;
            }
            ASSERT_EQ(fa.Value((float)x0, (float)y, (float)z), rb[0]) << pc.name << ", " << c.name;
            compared += 9;
          }
    }
  }
  GeneralPen::FocalShift = focalBefore;
  EXPECT_GT(compared, 1000000);
  EXPECT_GT(cut, 10000) << "the rows crossed the surface of the cut, where the pen's depth shows";
}

TEST(FieldRow, WideLanesGiveTheRowsOfNarrowLanes) {
  if (!CarveField::WideLanes) GTEST_SKIP() << "the processor has no eight-wide lanes";
  SimplePen simple;
  SimplePenThroughCalls calls;
  SoftEdgeMask mask;
  std::vector<CarveCase> cases = Cases();
  cases.push_back({"inverted dab", End(2, 1, 20, 0.2f, 0, 1, 8, 0.6f), End(2, 1, 20, 0.2f, 0, 1, 8, 0.6f), false, true,
                   false, 0.4f});
  int compared = 0, surface = 0;
  for (BasicPenShape* pen : {(BasicPenShape*)&simple, (BasicPenShape*)&calls})
    for (const CarveCase& c : cases) {
      PenProfile profile;
      profile.Pen = pen;
      profile.Falloff = c.falloff;
      profile.Mask = c.masked ? &mask : nullptr;
      profile.Handed = -1.f;
      const CarveField f(c.a, c.b, 4.f, c.flat, c.invert, profile, c.flat ? 1.5f : 0.f);
      for (int z = 0; z <= 30; ++z)
        for (int y = -17; y <= 17; ++y)
          for (int x0 = -25; x0 <= 16; x0 += 9) {
            float wide[9], narrow[9];
            CarveField::WideLanes = true;
            f.Row((float)x0, (float)y, (float)z, wide);
            CarveField::WideLanes = false;
            f.Row((float)x0, (float)y, (float)z, narrow);
            CarveField::WideLanes = true;
            for (int i = 0; i < 9; ++i) {
              ASSERT_EQ(wide[i], narrow[i]) << c.name << " at " << x0 + i << " " << y << " " << z;
              surface += wide[i] > 0.f && wide[i] < 1.f;
            }
            compared += 9;
          }
    }
  EXPECT_EQ(compared, 2 * 6 * 31 * 35 * 5 * 9);
  EXPECT_GT(surface, 1000) << "the rows crossed the surface of the cut";
}

TEST(FieldRow, CarvePlanesAreValueForValue) {
  SimplePen simple;
  SimplePenThroughCalls calls;
  SoftEdgeMask mask;
  // Every row, rows that leave the column to single points, and scattered rows.
  const unsigned opens[] = {0x1ffu, 0x101u, 0x0feu, 0x155u, 0x100u, 0x0a9u};
  const bool wideBefore = CarveField::WideLanes;
  int compared = 0, surface = 0;
  for (const bool wide : {false, true}) {
    if (wide && !wideBefore) continue;
    CarveField::WideLanes = wide;
    for (BasicPenShape* pen : {(BasicPenShape*)&simple, (BasicPenShape*)&calls})
      for (const CarveCase& c : Cases()) {
        PenProfile profile;
        profile.Pen = pen;
        profile.Falloff = c.falloff;
        profile.Mask = c.masked ? &mask : nullptr;
        const CarveField f(c.a, c.b, 4.f, c.flat, c.invert, profile, c.flat ? 1.5f : 0.f);
        for (int z = 0; z <= 30; ++z)
          for (int y0 = -17; y0 <= 10; y0 += 9)
            for (int x0 = -25; x0 <= 16; x0 += 9)
              for (const unsigned open : opens) {
                float plane[81];
                for (float& v : plane) v = -7.f;  // rows not asked for stay as they were
                f.Plane((float)x0, (float)y0, (float)z, open, plane);
                for (int j = 0; j < 9; ++j)
                  for (int i = 0; i < 9; ++i) {
                    const float want = open >> j & 1 ? f.Value((float)(x0 + i), (float)(y0 + j), (float)z) : -7.f;
                    ASSERT_EQ(plane[9 * j + i], want) << c.name << (wide ? ", wide" : ", narrow") << ", rows " << open
                                                      << " at " << x0 + i << " " << y0 + j << " " << z;
                    surface += want > 0.f && want < 1.f;
                    ++compared;
                  }
              }
      }
  }
  CarveField::WideLanes = wideBefore;
  EXPECT_GT(compared, 2 * 5 * 31 * 4 * 5 * 6 * 81 - 1);
  EXPECT_GT(surface, 1000) << "the planes crossed the surface of the cut";
}

TEST(FieldRow, CarveValuesOfScatteredPointsAreValueForValue) {
  SimplePen simple;
  SimplePenThroughCalls calls;
  SoftEdgeMask mask;
  const bool wideBefore = CarveField::WideLanes;
  int compared = 0, surface = 0;
  for (const bool wide : {false, true}) {
    if (wide && !wideBefore) continue;
    CarveField::WideLanes = wide;
    for (BasicPenShape* pen : {(BasicPenShape*)&simple, (BasicPenShape*)&calls})
      for (const CarveCase& c : Cases()) {
        PenProfile profile;
        profile.Pen = pen;
        profile.Falloff = c.falloff;
        profile.Mask = c.masked ? &mask : nullptr;
        const CarveField f(c.a, c.b, 4.f, c.flat, c.invert, profile, c.flat ? 1.5f : 0.f);
        // Groups of every length up to three lanes' worth, at points strewn
        // over the reach of the operation (a probe lattice at steps of 2 and 4).
        for (int n = 1; n <= 25; ++n)
          for (int start = 0; start < 40; start += 7) {
            float p[25][3], out[25];
            for (int i = 0; i < n; ++i) {
              const int s = start * 31 + i * 17;
              p[i][0] = (float)(-24 + (s % 13) * 4), p[i][1] = (float)(-18 + (s / 13 % 10) * 4);
              p[i][2] = (float)(2 * ((s / 7) % 16));
            }
            f.Values(n, p, out);
            for (int i = 0; i < n; ++i) {
              const float want = f.Value(p[i][0], p[i][1], p[i][2]);
              ASSERT_EQ(out[i], want) << c.name << (wide ? ", wide" : ", narrow") << ", " << n << " points, at "
                                      << p[i][0] << " " << p[i][1] << " " << p[i][2];
              surface += want > 0.f && want < 1.f;
              ++compared;
            }
          }
      }
  }
  CarveField::WideLanes = wideBefore;
  EXPECT_GT(compared, 10000);
  EXPECT_GT(surface, 100) << "the points crossed the surface of the cut";
}
