// The per-pixel operations of the software rasteriser against values worked
// out by hand: the row flip, the depth test with its slack, colour and
// coordinate packing, wrapping, constant-depth tests, overlap counts and the
// preview cells; and the span walk's weights, which must rebuild the pixel's
// own position.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

#include "paint/layers/PixelMap.h"
#include "paint/raster/RasterOps.h"

using comms::cVec2;
using comms::cVec3;
using comms::cVec4;

TEST(RasterOps, SpanWeightsRebuildThePixelPosition) {
  struct Probe : RasterOp {
    cVec3 p[3];
    int n = 0;
    void Op(int x, int y, float z, float u, float v) override {
      n++;
      const float px = p[0].x + (p[1].x - p[0].x) * u + (p[2].x - p[0].x) * v;
      const float py = p[0].y + (p[1].y - p[0].y) * u + (p[2].y - p[0].y) * v;
      const float pz = p[0].z + (p[1].z - p[0].z) * u + (p[2].z - p[0].z) * v;
      ASSERT_NEAR(px, x + 0.5f, 2e-3f);
      ASSERT_NEAR(py, y + 0.5001f, 2e-3f);
      ASSERT_NEAR(pz, z, 1e-4f);
    }
  } probe;
  probe.p[0] = cVec3(1.2f, 0.7f, 2), probe.p[1] = cVec3(17.9f, 5.3f, -1), probe.p[2] = cVec3(6.1f, 13.8f, 5);
  probe.Triangle(probe.p[0], probe.p[1], probe.p[2]);
  EXPECT_GT(probe.n, 60);
  // Points only: the three corners, rounded, with their own weights.
  struct Corners : RasterOp {
    std::vector<std::array<float, 5>> got;
    void Op(int x, int y, float z, float u, float v) override { got.push_back({(float)x, (float)y, z, u, v}); }
  } corners;
  corners.PointsOnly = true;
  corners.Triangle(cVec3(1.4f, 2.6f, 3), cVec3(7.5f, 0.2f, 4), cVec3(3, 9, 5));
  ASSERT_EQ(corners.got.size(), 3u);
  EXPECT_EQ(corners.got[0], (std::array<float, 5>{1, 3, 3, 0, 0}));
  EXPECT_EQ(corners.got[1], (std::array<float, 5>{8, 0, 4, 1, 0}));
  EXPECT_EQ(corners.got[2], (std::array<float, 5>{3, 9, 5, 0, 1}));
}

TEST(RasterOps, RastZFlipsRowsKeepsTheNearestAndBlendsColours) {
  const int W = 5, H = 3;
  std::vector<float> depth(W * H, 1.0f);
  std::vector<uint32_t> colour(W * H, 0);
  RastZ op;
  op.Depth = depth.data(), op.Color = colour.data(), op.W = W, op.H = H;
  op.Corner[0] = cVec4(200, 0, 100, 255);
  op.Corner[1] = cVec4(0, 40, 100, 255);
  op.Corner[2] = cVec4(100, 80, 300, 0);
  op.Op(1, 0, 0.5f, 0.25f, 0.5f);
  // r = 200 - 200/4 - 100/2 = 100; g = 10 + 40 = 50; b = 100 + 100 -> 200; a = 255 - 127.5
  const size_t at = (H - 1 - 0) * W + 1;  // row 0 lands on the last row
  EXPECT_EQ(depth[at], 0.5f);
  EXPECT_EQ(colour[at], 0x806432c8u);
  // Farther by more than the slack: refused; within it: accepted.
  op.Op(1, 0, 0.5f + 2e-5f, 0, 0);
  EXPECT_EQ(depth[at], 0.5f);
  op.Op(1, 0, 0.5f + 5e-6f, 0, 0);
  EXPECT_EQ(depth[at], 0.5f + 5e-6f);
  EXPECT_EQ(colour[at], 0xffc80064u);  // corner 0: a 255, r 200, g 0, b 100
  // Clamping: a channel above 255 stays 255.
  op.Op(0, 2, 0, 0, 1);
  EXPECT_EQ(colour[0], 0x00645000u | 255u);
  // Outside the target: nothing, no crash.
  op.Op(-1, 0, 0, 0, 0), op.Op(W, 0, 0, 0, 0), op.Op(0, H, 0, 0, 0);
  int written = 0;
  for (float d : depth) written += d != 1.0f;
  EXPECT_EQ(written, 2);
}

TEST(RasterOps, RastZBAndZChecker) {
  std::vector<float> plane(4 * 3, 0.0f);
  RastZB zb;
  zb.Plane = plane.data(), zb.W = 4, zb.H = 3;
  zb.Op(2, 1, 3.0f, 0, 0), zb.Op(2, 1, 1.0f, 0, 0), zb.Op(9, 1, 7.0f, 0, 0);
  EXPECT_EQ(plane[1 * 4 + 2], 3.0f);  // the largest, rows not flipped
  ZChecker zc;
  zc.Reset(10, 20, 3, 2, 100.0f);
  zc.Op(11, 21, 5.0f, 0, 0);
  zc.Op(11, 21, 5.000009f, 0, 0);  // within the slack: stored
  zc.Op(11, 21, 6.0f, 0, 0);      // farther: refused
  zc.Op(9, 21, 1.0f, 0, 0);       // left of the window
  EXPECT_EQ(zc.At(11, 21), 5.000009f);
  EXPECT_EQ(zc.At(10, 20), 100.0f);
  EXPECT_EQ(zc.At(9, 21, -1.0f), -1.0f);
  CurveBuffer cb;  // draws nothing, and must not crash
  cb.Triangle(cVec3(0, 0, 0), cVec3(5, 0, 0), cVec3(0, 5, 0));
}

TEST(RasterOps, RastPPacksCoordinatesAndNormalsInTheFrame) {
  EXPECT_EQ(RastP::PackCoordinate(0.5f), 32768);
  EXPECT_EQ(RastP::PackCoordinate(0.25f), 24576);
  EXPECT_EQ(RastP::PackCoordinate(-0.5f), 0);
  EXPECT_EQ(RastP::PackCoordinate(1.49f), 65208);  // 48824.3 + 16384
  EXPECT_EQ(RastP::PackNormal(cVec3(0, 0, 1)), (128u << 16 | 128u << 8 | 255u));
  EXPECT_EQ(RastP::PackNormal(cVec3(-1, 0, 0)), (1u << 16 | 128u << 8 | 128u));
  const int W = 3, H = 2;
  std::vector<float> depth(W * H, 1e9f);
  std::vector<uint64_t> cells(W * H, 0);
  RastP op;
  op.Depth = depth.data(), op.Cells = cells.data(), op.W = W, op.H = H;
  op.Constant = 0xdeadbeef;
  op.UV[0] = cVec2(0, 0), op.UV[1] = cVec2(1, 0), op.UV[2] = cVec2(0, 1);
  op.Op(2, 0, 0, 0.5f, 0.25f);
  EXPECT_EQ(cells[(H - 1) * W + 2], (uint64_t)(24576u << 16 | 32768u) << 32 | 0xdeadbeefu);
  // A frame turned a quarter about z: tangent = y, binormal = -x, normal = z.
  op.HasFrame = true;
  op.Frame[0] = cVec3(0, 1, 0), op.Frame[1] = cVec3(-1, 0, 0), op.Frame[2] = cVec3(0, 0, 1);
  op.Normal[0] = op.Normal[1] = op.Normal[2] = cVec3(0, 3, 0);  // interpolated then made unit
  op.Op(0, 1, 0, 0, 0);
  EXPECT_EQ((uint32_t)cells[0], (255u << 16 | 128u << 8 | 128u));  // (1, 0, 0) in the frame
}

TEST(RasterOps, RastPNWrapsAndKeepsTheHigherConstantDepth) {
  const int W = 4, H = 4;
  std::vector<cVec3> pos(W * H), nrm(W * H), pos2(W * H);
  RastPN2 op;
  op.W = W, op.H = H;
  op.Positions = pos.data(), op.Normals = nrm.data(), op.Positions2 = pos2.data();
  op.P[0] = cVec3(0, 0, 0), op.P[1] = cVec3(4, 0, 0), op.P[2] = cVec3(0, 8, 0);
  op.N[0] = op.N[1] = op.N[2] = cVec3(0, 0, 1);
  op.P2[0] = cVec3(1, 1, 1), op.P2[1] = cVec3(1, 1, 1), op.P2[2] = cVec3(1, 1, 1);
  EXPECT_TRUE(op.Plane.empty());  // made at first use
  op.TriangleDepth = 2.0f;
  op.Op(-1, -1, 0, 0.5f, 0.25f);  // wraps to (3, 3)
  ASSERT_EQ(op.Plane.size(), 16u);
  EXPECT_EQ(pos[15].x, 2.0f);
  EXPECT_EQ(pos[15].y, 2.0f);
  EXPECT_EQ(pos2[15].z, 1.0f);
  op.TriangleDepth = 1.0f;  // below the stored 2: refused
  op.Op(3, 3, 0, 0, 0);
  EXPECT_EQ(pos[15].x, 2.0f);
  op.TriangleDepth = 2.0f;  // equal: passes
  op.Op(7, 7, 0, 0, 0);
  EXPECT_EQ(pos[15].x, 0.0f);
}

TEST(RasterOps, TriRast3DAndWorldRenderInterpolate) {
  std::vector<FrameCell> cells(2 * 2);
  TriRast3D t;
  t.Cells = cells.data(), t.W = 2, t.H = 2, t.TriangleIndex = 7;
  t.P[0] = cVec3(0, 0, 0), t.P[1] = cVec3(2, 0, 0), t.P[2] = cVec3(0, 2, 0);
  t.N[0] = cVec3(0, 0, 2), t.N[1] = cVec3(0, 0, 4), t.N[2] = cVec3(0, 0, 1);
  t.T[0] = t.T[1] = t.T[2] = cVec3(5, 0, 0);
  t.B[0] = cVec3(0, 1, 0), t.B[1] = cVec3(0, 1, 0), t.B[2] = cVec3(0, -1, 0);
  t.Op(1, 1, 0, 0.5f, 0.25f);
  const FrameCell& c = cells[3];
  EXPECT_EQ(c.Triangle, 7);
  EXPECT_FLOAT_EQ(c.Position.x, 1.0f);
  EXPECT_FLOAT_EQ(c.Position.y, 0.5f);
  EXPECT_FLOAT_EQ(c.Normal.z, 1.0f);
  EXPECT_FLOAT_EQ(c.Tangent.x, 1.0f);
  EXPECT_FLOAT_EQ(c.Binormal.y, 1.0f);  // 0.5 before normalising
  t.Op(2, 0, 0, 0, 0);                  // outside: dropped
  EXPECT_EQ(cells[2].Triangle, -1);
  std::vector<float> X(6, 0), Y(6, 0), Z(6, 0);
  WorldRender w;
  w.X = X.data(), w.Y = Y.data(), w.Z = Z.data(), w.W = 3, w.H = 2;
  w.P[0] = cVec3(1, 2, 3), w.P[1] = cVec3(3, 2, 3), w.P[2] = cVec3(1, 6, -1);
  w.Op(2, 1, 0, 0.5f, 0.25f);
  EXPECT_FLOAT_EQ(X[5], 2.0f);
  EXPECT_FLOAT_EQ(Y[5], 3.0f);
  EXPECT_FLOAT_EQ(Z[5], 2.0f);
}

TEST(RasterOps, RasterTBNMakesFramesOncePerTriangle) {
  PixelMap map(nullptr, 40, 24);
  RasterTBN op;
  op.Map = &map, op.TriangleIndex = 3;
  op.T[0] = op.T[1] = op.T[2] = cVec3(1, 0, 0);
  op.B[0] = op.B[1] = op.B[2] = cVec3(0, 1, 0);
  op.N[0] = op.N[1] = op.N[2] = cVec3(0, 0, 1);
  op.Op(-3, 17, 0, 0, 0);  // wraps to (37, 17): tile (2, 1)
  PixelTile* tile = map.FindTile(2, 1);
  ASSERT_NE(tile, nullptr);
  ASSERT_NE(tile->Frames, nullptr);
  const TexelFrame& f = tile->Frames[(17 - 16) * 16 + (37 - 32)];
  EXPECT_EQ(f.Rows[0][0], 1.0f);
  EXPECT_EQ(f.Rows[2][2], 1.0f);
  // The same triangle again leaves the frame; another one replaces it.
  op.T[0] = op.T[1] = op.T[2] = cVec3(0, 0, 1);
  op.Op(37, 17, 0, 0, 0);
  EXPECT_EQ(f.Rows[0][0], 1.0f);
  op.TriangleIndex = 4;
  op.Op(37, 17, 0, 0, 0);
  EXPECT_EQ(f.Rows[0][2], 1.0f);
  EXPECT_EQ(map.FindTile(0, 0), nullptr);  // nothing else was made
}

TEST(RasterOps, RastUvIntrsCountsSharedTexels) {
  RastUvIntrs op(23, 19);
  op.PixelTriangle(cVec3(1, 1, 0), cVec3(15, 2, 0), cVec3(4, 16, 0));
  EXPECT_EQ(op.Overlaps, 0);
  int first = 0;
  for (uint8_t c : op.Plane) first += c;
  op.PixelTriangle(cVec3(1, 1, 0), cVec3(15, 2, 0), cVec3(4, 16, 0));  // the same again
  EXPECT_EQ(op.Overlaps, first);
  // A neighbour across an edge shares nothing.
  RastUvIntrs pair(23, 19);
  pair.PixelTriangle(cVec3(1, 1, 0), cVec3(15, 2, 0), cVec3(4, 16, 0));
  pair.PixelTriangle(cVec3(15, 2, 0), cVec3(20, 17, 0), cVec3(4, 16, 0));
  EXPECT_EQ(pair.Overlaps, 0);
  // Wrapping: a triangle over the right border lands on the left.
  RastUvIntrs wrap(8, 8);
  wrap.Op(8, -1, 0, 0, 0);
  EXPECT_EQ(wrap.Plane[7 * 8 + 0], 1);
}

TEST(RasterOps, RastFPreviewKeepsTheNearestCell) {
  RastFPreview op(6, 5);
  op.N[0] = op.N[1] = op.N[2] = cVec3(0, 2, 0);
  op.C[0] = cVec4(1, 0, 0, 1), op.C[1] = cVec4(0, 1, 0, 1), op.C[2] = cVec4(0, 0, 1, 1);
  op.Op(4, 3, 50.0f, 0.5f, 0.5f);
  ASSERT_EQ(op.Cells.size(), 1u);
  EXPECT_EQ(op.Index[3 * 6 + 4], 0);
  EXPECT_EQ(op.Cells[0].Depth, 50.0f);
  EXPECT_FLOAT_EQ(op.Cells[0].Color.x, 0.0f);
  EXPECT_FLOAT_EQ(op.Cells[0].Color.y, 0.5f);
  EXPECT_FLOAT_EQ(op.Cells[0].Normal.y, 1.0f);
  op.Op(4, 3, 60.0f, 0, 0);  // behind: kept as it was
  EXPECT_FLOAT_EQ(op.Cells[0].Color.y, 0.5f);
  op.Op(4, 3, 40.0f, 0, 0);  // in front: replaces
  EXPECT_FLOAT_EQ(op.Cells[0].Color.x, 1.0f);
  op.Op(0, 0, 2e7f, 0, 0);  // first touch beyond the start depth: a cell, but empty
  ASSERT_EQ(op.Cells.size(), 2u);
  EXPECT_EQ(op.Cells[1].Depth, 10000000.0f);
}
