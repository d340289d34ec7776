// The text tool's relief: glyph outlines from the font make a closed slab,
// a glyph's counter stays a hole (the surface of "g" has a handle, the
// triangles cover exactly the area inside the outlines), the text runs along
// the glyphs' advances, and texts or fonts that give nothing are refused.
#include <gtest/gtest.h>

#include <filesystem>

#include "MC/objects/PolygonFill.h"
#include "MC/objects/TextRelief.h"
#include "ReliefKit.h"

namespace {

bool HaveFont() { return std::filesystem::exists(DefaultTextFont()); }

// The figure of a text and where its pen ended.
FlatFigure Figure(const std::string& text, float* advance = nullptr) {
  FlatFigure f;
  float a = 0;
  std::string why;
  EXPECT_TRUE(TextFigure(text, DefaultTextFont(), f, a, &why)) << why;
  if (advance) *advance = a;
  return f;
}

void ExpectFilledExactly(const FlatFigure& f, const std::string& text) {
  for (size_t t = 0; t < f.Triangles.size(); t += 3)
    EXPECT_GT(FigureCross(f, f.Triangles[t], f.Triangles[t + 1], f.Triangles[t + 2]), -1e-6)
        << text << ": a triangle turned over";
  const double inside = BorderArea(f);
  EXPECT_GT(inside, 0) << text;
  EXPECT_NEAR(TriangleArea(f), inside, 1e-4 * inside) << text << ": a hole filled or a part left open";
}

TEST(TextRelief, FgIsAClosedSlabWhoseCounterStaysOpen) {
  if (!HaveFont()) GTEST_SKIP() << "no DejaVu font";
  std::string why;
  std::unique_ptr<comms::cMesh> slab = TextSlab("Fg", 10, &why);
  ASSERT_TRUE(slab) << why;
  const MeshTopology t = MeshShape(*slab);
  ExpectClosed(t);
  EXPECT_GT(t.signedVolume, 0);
  // "F" is a ball, "g" (one counter) a ring: 2 + 0.
  EXPECT_EQ(t.Euler(), 2);
  const FlatFigure f = Figure("Fg");
  ExpectFilledExactly(f, "Fg");
  // The glyphs stand on the base line as the font sets them.
  float lo = 1e9f, hi = -1e9f;
  for (size_t i = 0; i < f.XY.size(); i += 2) lo = std::min(lo, f.XY[i + 1]), hi = std::max(hi, f.XY[i + 1]);
  EXPECT_LT(lo, -10) << "g descends below the base line";
  EXPECT_GT(hi, 60) << "F stands above it";
  // The slab's thickness is the one asked for.
  float zlo = 1e9f, zhi = -1e9f;
  for (const auto& p : slab->positions) zlo = std::min(zlo, p.z), zhi = std::max(zhi, p.z);
  EXPECT_FLOAT_EQ(zhi - zlo, 10);
}

TEST(TextRelief, GlyphsWithSeveralCountersAndIslandsFillExactly) {
  if (!HaveFont()) GTEST_SKIP() << "no DejaVu font";
  for (const std::string text : {"B8", "@%&", "Q\xc2\xae", "0aeg\xc3\x86"}) {
    const FlatFigure f = Figure(text);
    ExpectFilledExactly(f, text);
    std::unique_ptr<comms::cMesh> slab = ExtrudeFigure(f, 5);
    ASSERT_TRUE(slab) << text;
    ExpectClosed(MeshShape(*slab));
  }
  // "B" has two counters, "8" two: genus 4 over two pieces.
  std::unique_ptr<comms::cMesh> b8 = TextSlab("B8", 10, nullptr);
  ASSERT_TRUE(b8);
  EXPECT_EQ(MeshShape(*b8).Euler(), 2 * 2 - 2 * 4);
}

TEST(TextRelief, WidthFollowsTheAdvances) {
  if (!HaveFont()) GTEST_SKIP() << "no DejaVu font";
  float one = 0, four = 0;
  Figure("i", &one);
  const FlatFigure f = Figure("iiii", &four);
  EXPECT_GT(one, 10);
  EXPECT_NEAR(four, 4 * one, 1e-3);
  // The ink of the last "i" starts three advances after the first one's.
  float x0 = 1e9f, x1 = -1e9f;
  for (size_t i = 0; i < f.XY.size(); i += 2) x0 = std::min(x0, f.XY[i]), x1 = std::max(x1, f.XY[i]);
  float inkStart = 1e9f, inkEnd = -1e9f;
  const FlatFigure single = Figure("i");
  for (size_t i = 0; i < single.XY.size(); i += 2)
    inkStart = std::min(inkStart, single.XY[i]), inkEnd = std::max(inkEnd, single.XY[i]);
  EXPECT_NEAR(x0, inkStart, 1e-3);
  EXPECT_NEAR(x1, 3 * one + inkEnd, 1e-3);
  // A space moves the pen without ink.
  float spaced = 0;
  const FlatFigure gap = Figure("i i", &spaced);
  EXPECT_GT(spaced, 2 * one);
  EXPECT_EQ(gap.Triangles.size(), 2 * single.Triangles.size());
}

TEST(TextRelief, TextsAndFontsThatGiveNothingAreRefused) {
  std::string why;
  EXPECT_FALSE(TextSlab("Fg", 10, &why, "/nonexistent/font.ttf"));
  EXPECT_NE(why.find("font"), std::string::npos);
  if (!HaveFont()) GTEST_SKIP() << "no DejaVu font";
  why.clear();
  EXPECT_FALSE(TextSlab("", 10, &why));
  EXPECT_FALSE(why.empty());
  EXPECT_FALSE(TextSlab("   ", 10, nullptr));
  EXPECT_FALSE(TextSlab("Fg", 0, nullptr)) << "no thickness";
  // Bytes that are no UTF-8 are read as Latin-1 rather than dropped.
  float latin = 0, utf8 = 0;
  Figure("\xe9", &latin);
  Figure("\xc3\xa9", &utf8);
  EXPECT_NEAR(latin, utf8, 1e-4);
  EXPECT_GT(latin, 0);
}

TEST(PolygonFill, NestedOutlinesAlternateBetweenSolidAndHole) {
  // A square, a square hole in it, an island in the hole, whatever the turn
  // of each given outline.
  const std::vector<Outline> outlines = {
      {0, 0, 30, 0, 30, 30, 0, 30}, {5, 5, 5, 25, 25, 25, 25, 5}, {10, 10, 20, 10, 20, 20, 10, 20}, {40, 0, 41, 0}};
  FlatFigure f;
  FillOutlines(outlines, f);
  EXPECT_NEAR(BorderArea(f), 900 - 400 + 100, 1e-6);
  ExpectFilledExactly(f, "squares");
  EXPECT_FALSE(FigureCovers(f, 7, 15)) << "inside the hole";
  EXPECT_TRUE(FigureCovers(f, 15, 15)) << "on the island";
  EXPECT_TRUE(FigureCovers(f, 2, 15));
  EXPECT_EQ(f.VertexCount(), 12) << "the two-point outline is dropped";
}

}  // namespace
