// The logo tool's relief: the slab of a picture is closed and consistently
// wound, its outline follows the picture's level line (not flipped, not
// shifted) on an odd-sized asymmetric picture, any level grid (saddles
// included) gives a closed slab, the slab is written as an OBJ that reads
// back, and pictures that give nothing are refused without a mesh.
#include <gtest/gtest.h>

#include <filesystem>

#include "ClassEngine/DataFolder.h"
#include "ClassEngine/Random.h"
#include "MC/TempFolder.h"
#include "MC/objects/LogoRelief.h"
#include "ReliefKit.h"
#include "interchange/IO.h"
#include "interchange/MeshIO.h"

namespace {

struct LogoTest : TempFolderTest {};

TEST_F(LogoTest, ShippedSampleGivesAClosedSlabWrittenAsObj) {
  const std::string obj = Path("logo.obj");
  std::string why;
  std::unique_ptr<comms::cMesh> mesh = LoadLogoMesh(comms::DataFilePath("ToolsPresets/LogoSample.bmp"), obj, &why);
  ASSERT_TRUE(mesh) << why;
  const MeshTopology t = MeshShape(*mesh);
  ExpectClosed(t);
  EXPECT_GT(t.signedVolume, 0) << "triangles wind outwards";
  // The sample is an "F" and a ring standing on a bar: two pieces, and the
  // ring's hole makes a handle.
  EXPECT_EQ(t.Euler(), 2 * 2 - 2 * 1);
  // Laid flat: the thickness of 8 runs along y.
  float lo = 1e9f, hi = -1e9f;
  for (const auto& p : mesh->positions) lo = std::min(lo, p.y), hi = std::max(hi, p.y);
  EXPECT_FLOAT_EQ(lo, -4);
  EXPECT_FLOAT_EQ(hi, 4);
  // The written file is the slab before it was laid flat.
  std::unique_ptr<comms::cMesh> read(comms::cMeshIO::LoadMesh(obj.c_str()));
  ASSERT_TRUE(read);
  ASSERT_EQ(read->positions.size(), mesh->positions.size());
  for (size_t i = 0; i < mesh->positions.size(); ++i) {
    EXPECT_NEAR(read->positions[i].x, mesh->positions[i].x, 1e-3);
    EXPECT_NEAR(read->positions[i].z, mesh->positions[i].y, 1e-3);
    EXPECT_NEAR(read->positions[i].y, -mesh->positions[i].z, 1e-3);
  }
}

TEST_F(LogoTest, OutlineFollowsAnOddAsymmetricPicture) {
  comms::cImage picture;
  if (!DrawPicture(Path("l.bmp"),
                   "-size 67x45 xc:black -fill white -draw \"polygon 6,5 20,5 20,30 44,30 44,39 6,39\" "
                   "-draw \"circle 53,13 53,5\"",
                   picture))
    GTEST_SKIP() << "ImageMagick is missing";
  ASSERT_EQ(picture.width, 67);
  ASSERT_EQ(picture.height, 45);
  std::vector<float> levels;
  int w = 0, h = 0;
  ASSERT_TRUE(LogoLevels(picture, levels, w, h));
  EXPECT_EQ(w, 71);
  EXPECT_EQ(h, 49);
  const FlatFigure figure = LevelFigure(levels, w, h, 128, 2);
  EXPECT_NEAR(TriangleArea(figure), BorderArea(figure), 1e-3 * BorderArea(figure));
  // Each pixel more than a pixel from the level line is inside exactly
  // when it is bright (rows of a cImage count from the bottom).
  auto bright = [&](int x, int y) { return picture.Pixel(x, y)[1] >= 128; };
  int checked = 0;
  for (int y = 2; y + 2 < picture.height; ++y)
    for (int x = 2; x + 2 < picture.width; ++x) {
      bool same = true;
      for (int dy = -2; dy <= 2 && same; ++dy)
        for (int dx = -2; dx <= 2 && same; ++dx) same = bright(x + dx, y + dy) == bright(x, y);
      if (!same) continue;
      ++checked;
      ASSERT_EQ(FigureCovers(figure, x, y), bright(x, y)) << "pixel " << x << ", " << y;
    }
  EXPECT_GT(checked, 1500);
}

TEST_F(LogoTest, AnyLevelGridGivesAClosedSlab) {
  // Random levels with saddle squares everywhere; the padded border is 0.
  Random rnd(5);
  const int w = 37, h = 29;
  std::vector<float> levels(size_t(w) * h, 0.f);
  for (int y = 2; y + 2 < h; ++y)
    for (int x = 2; x + 2 < w; ++x) levels[size_t(y) * w + x] = float(rnd.Next() % 256);
  for (float level : {128.f, 30.f, 250.f}) {
    const FlatFigure figure = LevelFigure(levels, w, h, level, 0);
    for (size_t t = 0; t < figure.Triangles.size(); t += 3)
      ASSERT_GT(FigureCross(figure, figure.Triangles[t], figure.Triangles[t + 1], figure.Triangles[t + 2]), 0);
    EXPECT_NEAR(TriangleArea(figure), BorderArea(figure), 1e-3 * BorderArea(figure));
    std::unique_ptr<comms::cMesh> slab = ExtrudeFigure(figure, 8);
    ASSERT_TRUE(slab);
    ExpectClosed(MeshShape(*slab));
  }
}

TEST_F(LogoTest, PicturesThatGiveNothingAreRefused) {
  std::string why;
  EXPECT_FALSE(LoadLogoMesh(Path("missing.png"), Path("out.obj"), &why));
  EXPECT_FALSE(why.empty());
  EXPECT_FALSE(std::filesystem::exists(Path("out.obj")));
  comms::cImage dark;
  dark.Create(31, 17, 3);
  EXPECT_FALSE(LogoSlab(dark)) << "nothing reaches the level";
  comms::cImage floats;
  floats.Create(8, 8, 16);
  EXPECT_FALSE(LogoSlab(floats)) << "a float picture is not read";
  comms::cImage shortData;
  shortData.Create(9, 9, 3);
  shortData.data.resize(20);
  EXPECT_FALSE(LogoSlab(shortData));
  // One bright pixel alone is blurred below the level; a 3 x 3 block is not.
  comms::cImage dot;
  dot.Create(9, 9, 1);
  dot.data[4 * 9 + 4] = 255;
  EXPECT_FALSE(LogoSlab(dot));
  for (int y = 3; y <= 5; ++y)
    for (int x = 3; x <= 5; ++x) dot.data[size_t(y) * 9 + x] = 255;
  std::unique_ptr<comms::cMesh> block = LogoSlab(dot);
  ASSERT_TRUE(block);
  ExpectClosed(MeshShape(*block));
}

}  // namespace
