// Coverage of the triangle walks: over a whole UV layout every pixel is given
// to exactly one triangle (no cracks along shared edges, no double hits), for
// the span walk and the edge-function walk alike; on a real model's layout
// every double hit is a true overlap of islands; the covering walk leaves no
// hole under a sliver; and bad triangles are dropped.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <vector>

#include "ClassEngine/Random.h"
#include "interchange/MeshIO.h"
#include "interchange/TestFiles.h"
#include "paint/raster/Rasterizator.h"
#include "paint/raster/RasterOps.h"

using comms::cVec3;

namespace {

// Counts hits per pixel of a W x H target; hits outside count apart.
struct CountOp : RasterOp {
  int W, H;
  std::vector<int> Hits;
  int Outside = 0;
  CountOp(int w, int h) : W(w), H(h), Hits((size_t)w * h, 0) {}
  void Op(int x, int y, float, float, float) override {
    if (x < 0 || y < 0 || x >= W || y >= H)
      Outside++;
    else
      Hits[(size_t)y * W + x]++;
  }
};

struct CoverOp : Rasterizator {
  int W, H;
  std::vector<int> Hits;
  CoverOp(int w, int h) : W(w), H(h), Hits((size_t)w * h, 0) {}
  void Op(int x, int y, float) override {
    if (x >= 0 && y >= 0 && x < W && y < H) Hits[(size_t)y * W + x]++;
  }
};

// A jittered grid of triangles tiling the rectangle [-0.3, W - 0.3) x
// [-0.3, H - 0.3): corners land on quarter pixels, so many edges pass exactly
// through pixel centres and sample points; diagonals alternate.
std::vector<std::array<cVec3, 3>> TiledLayout(int W, int H, int nx, int ny, uint32_t seed) {
  Random rnd(seed);
  std::vector<cVec3> v((size_t)(nx + 1) * (ny + 1));
  for (int j = 0; j <= ny; j++)
    for (int i = 0; i <= nx; i++) {
      float x = -0.3f + (W * (float)i) / nx, y = -0.3f + (H * (float)j) / ny;
      if (i > 0 && i < nx) x = std::round((x + (rnd.Unit() - 0.5f) * W / nx * 0.6f) * 4) / 4;
      if (j > 0 && j < ny) y = std::round((y + (rnd.Unit() - 0.5f) * H / ny * 0.6f) * 4) / 4;
      v[(size_t)j * (nx + 1) + i] = cVec3(x, y, rnd.Unit());
    }
  std::vector<std::array<cVec3, 3>> tris;
  for (int j = 0; j < ny; j++)
    for (int i = 0; i < nx; i++) {
      const cVec3 &a = v[(size_t)j * (nx + 1) + i], &b = v[(size_t)j * (nx + 1) + i + 1];
      const cVec3 &c = v[(size_t)(j + 1) * (nx + 1) + i + 1], &d = v[(size_t)(j + 1) * (nx + 1) + i];
      if ((i + j) & 1) {
        tris.push_back({a, b, c}), tris.push_back({a, c, d});
      } else {
        tris.push_back({a, b, d}), tris.push_back({d, c, b});  // the second one clockwise
      }
    }
  return tris;
}

// Strictly inside the triangle, by a margin, in double precision.
bool StrictlyInside(double px, double py, const std::array<cVec3, 3>& t, double margin) {
  double s = 0, e[3];
  for (int k = 0; k < 3; k++) {
    const cVec3 &a = t[k], &b = t[(k + 1) % 3];
    const double len = std::hypot((double)b.x - a.x, (double)b.y - a.y);
    if (len == 0) return false;
    e[k] = (((double)b.x - a.x) * (py - a.y) - ((double)b.y - a.y) * (px - a.x)) / len;
    s += e[k];
  }
  for (double x : e)
    if ((s > 0 && x <= margin) || (s < 0 && x >= -margin)) return false;
  return true;
}

}  // namespace

TEST(RasterCoverage, EveryPixelOfATiledLayoutOnceByBothWalks) {
  const int W = 157, H = 131;  // odd sizes
  for (uint32_t seed : {1u, 7u, 12345u}) {
    auto tris = TiledLayout(W, H, 13, 11, seed);
    CountOp spans(W, H), edges(W, H);
    for (auto& t : tris) {
      spans.Triangle(t[0], t[1], t[2]);
      edges.PixelTriangle(t[0], t[1], t[2]);
    }
    for (int y = 0; y < H; y++)
      for (int x = 0; x < W; x++) {
        ASSERT_EQ(spans.Hits[(size_t)y * W + x], 1) << "span walk, seed " << seed << " at " << x << "," << y;
        ASSERT_EQ(edges.Hits[(size_t)y * W + x], 1) << "edge walk, seed " << seed << " at " << x << "," << y;
      }
    EXPECT_EQ(spans.Outside, 0);
    EXPECT_EQ(edges.Outside, 0);
  }
}

TEST(RasterCoverage, TwoCornersOnOneRowDrawThatRowOnce) {
  // A square split by its diagonal; the bottom edge lies on one row.
  CountOp op(9, 9);
  const cVec3 a(1, 2.5f, 0), b(7, 2.5f, 0), c(7, 7.5f, 0), d(1, 7.5f, 0);
  op.Triangle(a, b, c);
  op.Triangle(a, c, d);
  int rows = 0;
  for (int y = 0; y < 9; y++) {
    int n = 0;
    for (int x = 0; x < 9; x++) {
      EXPECT_LE(op.Hits[(size_t)y * 9 + x], 1);
      n += op.Hits[(size_t)y * 9 + x];
    }
    if (n) {
      EXPECT_EQ(n, 6) << y;
      rows++;
    }
  }
  EXPECT_EQ(rows, 5);  // rows 2..6: sampled at y + 0.5001 inside [2.5, 7.5)
}

TEST(RasterCoverage, RealUVLayoutDoubleHitsAreTrueOverlaps) {
  const std::string path = "/usr/share/assimp/models/OBJ/spider.obj";
  if (!testfiles::Installed(path)) GTEST_SKIP() << "assimp-testmodels is not installed (scripts/deps.sh --tests)";
  std::unique_ptr<comms::cMesh> mesh(comms::cMeshIO::LoadMesh(path.c_str()));
  ASSERT_TRUE(mesh);
  const int W = 509, H = 487;
  std::vector<std::array<cVec3, 3>> tris;
  mesh->ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell* c) {
    for (int k = 1; k + 1 < h.a; k++) {
      std::array<cVec3, 3> t;
      const int idx[3] = {0, k, k + 1};
      bool ok = true;
      for (int m = 0; m < 3; m++) {
        int uv = c[idx[m]].b;
        if (uv < 0 || uv >= (int)mesh->uvs.size()) ok = false;
        else t[m] = cVec3(mesh->uvs[uv].x * W, (1 - mesh->uvs[uv].y) * H, 0);
      }
      if (ok) tris.push_back(t);
    }
  });
  ASSERT_GT(tris.size(), 100u);
  CountOp op(W, H);
  for (auto& t : tris) op.PixelTriangle(t[0], t[1], t[2]);
  // Index triangles by their pixel boxes to check each pixel cheaply.
  std::vector<std::vector<int>> bins((size_t)W * H / 64 + W + H);
  auto binOf = [&](int x, int y) { return (size_t)(y / 8) * ((W + 7) / 8) + x / 8; };
  for (int i = 0; i < (int)tris.size(); i++) {
    auto& t = tris[i];
    int x0 = std::max(0, (int)std::floor(std::min({t[0].x, t[1].x, t[2].x})) - 1);
    int x1 = std::min(W - 1, (int)std::ceil(std::max({t[0].x, t[1].x, t[2].x})) + 1);
    int y0 = std::max(0, (int)std::floor(std::min({t[0].y, t[1].y, t[2].y})) - 1);
    int y1 = std::min(H - 1, (int)std::ceil(std::max({t[0].y, t[1].y, t[2].y})) + 1);
    for (int by = y0 / 8; by <= y1 / 8; by++)
      for (int bx = x0 / 8; bx <= x1 / 8; bx++) bins[binOf(bx * 8, by * 8)].push_back(i);
  }
  int covered = 0, overlaps = 0;
  for (int y = 0; y < H; y++)
    for (int x = 0; x < W; x++) {
      int strict = 0, loose = 0;
      for (int i : bins[binOf(x, y)]) {
        strict += StrictlyInside(x, y, tris[i], 1e-3);
        loose += StrictlyInside(x, y, tris[i], -1e-3);
      }
      const int hits = op.Hits[(size_t)y * W + x];
      // A pixel well inside some triangle is hit; it is never hit more often
      // than the triangles that (loosely) contain it.
      if (strict) {
        ASSERT_GE(hits, 1) << x << "," << y;
      }
      ASSERT_LE(hits, loose) << x << "," << y;
      if (hits > 1) {
        ASSERT_GE(loose, 2);
        overlaps++;
      }
      covered += hits > 0;
    }
  EXPECT_GT(covered, W * H / 20);
  RecordProperty("overlapping_pixels", overlaps);
}

TEST(RasterCoverage, CoveringWalkLeavesNoHoleUnderASliver) {
  const int W = 61, H = 47;
  CoverOp op(W, H);
  // Thinner than a pixel, long and diagonal.
  op.CoverTriangle(cVec3(2.2f, 3.1f, 0), cVec3(55.7f, 40.3f, 1), cVec3(55.9f, 40.35f, 1));
  // Every pixel that the centre line passes through is marked.
  for (int i = 0; i <= 1000; i++) {
    const float t = i / 1000.0f;
    const float x = 2.2f + (55.8f - 2.2f) * t, y = 3.1f + (40.32f - 3.1f) * t;
    const int px = (int)std::floor(x), py = (int)std::floor(y);
    // The walk marks the pixel or its direct neighbour along the line.
    bool hit = false;
    for (int dy = -1; dy <= 1 && !hit; dy++)
      for (int dx = -1; dx <= 1 && !hit; dx++)
        hit = op.Hits[(size_t)(py + dy) * W + px + dx] > 0 && std::abs(dx) + std::abs(dy) <= 1;
    ASSERT_TRUE(hit) << t;
  }
  // And a pixel-sized triangle entirely inside one pixel still marks it.
  CoverOp tiny(8, 8);
  tiny.CoverTriangle(cVec3(3.1f, 4.2f, 0), cVec3(3.4f, 4.3f, 0), cVec3(3.2f, 4.45f, 0));
  int marked = 0;
  for (int h : tiny.Hits) marked += h > 0;
  EXPECT_GE(marked, 1);
  EXPECT_LE(marked, 4);
}

TEST(RasterCoverage, CoveringWalkMarksEveryPixelItsCentreLinesMeet) {
  const int W = 33, H = 29;
  for (float margin : {0.0f, 1.0f}) {
    CoverOp op(W, H);
    op.Margin = margin;
    const cVec3 a(4.3f, 2.6f, 0), b(29.1f, 9.4f, 10), c(11.7f, 25.2f, 20);
    op.CoverTriangle(a, b, c);
    // A pixel whose middle row or middle column passes through the triangle
    // is marked, and with a margin so are its neighbours along the row.
    int marked = 0;
    for (int y = 0; y < H; y++)
      for (int x = 0; x < W; x++) {
        bool row = false, column = false;
        for (int k = 1; k < 8; k++) {
          row = row || StrictlyInside(x + k / 8.0, y + 0.5, {a, b, c}, 0);
          column = column || StrictlyInside(x + 0.5, y + k / 8.0, {a, b, c}, 0);
        }
        if (row || column) {
          ASSERT_GT(op.Hits[(size_t)y * W + x], 0) << x << "," << y;
        }
        if (row && margin > 0 && x > 0) {
          ASSERT_GT(op.Hits[(size_t)y * W + x - 1], 0) << x << "," << y;
        }
        marked += op.Hits[(size_t)y * W + x] > 0;
      }
    // Not far beyond: the marked area stays within the triangle's box.
    EXPECT_LT(marked, (26 + 2 * (int)margin + 2) * (24 + 2));
    EXPECT_FALSE(op.OnEdge);
  }
}

TEST(RasterCoverage, BadTrianglesAreDropped) {
  CountOp op(16, 16);
  const float inf = INFINITY, nan = NAN;
  op.Triangle(cVec3(0, 0, 0), cVec3(inf, 3, 0), cVec3(2, 9, 0));
  op.PixelTriangle(cVec3(0, 0, nan), cVec3(9, 3, 0), cVec3(2, 9, 0));
  op.Triangle(cVec3(0, 0, 0), cVec3(5, 2500, 0), cVec3(2, 9, 0));  // 2,500 rows
  op.PixelTriangle(cVec3(1, 1, 0), cVec3(5, 5, 0), cVec3(9, 9, 0));  // zero area
  op.PixelTriangle(cVec3(0, 0, 0), cVec3(60000, 0, 0), cVec3(0, 60000, 0));  // 3.6e9 pixels
  int hits = op.Outside;
  for (int h : op.Hits) hits += h;
  EXPECT_EQ(hits, 0);
  // 2,000 rows exactly still draws.
  op.Triangle(cVec3(0, 0, 0), cVec3(8, 0, 0), cVec3(0, 2000, 0));
  EXPECT_GT(op.Hits[0], 0);
}
