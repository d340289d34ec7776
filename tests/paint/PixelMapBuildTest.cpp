// Building a per-pixel map: texel classes and sizes, face texels by tile,
// padding that shows its neighbour, and seam padding that shows the texel
// across the cut, so colour painted on one island continues past the other's
// edge.
#include <gtest/gtest.h>

#include "PaintMeshes.h"
#include "paint/layers/PixelMap.h"


TEST(PixelMapBuild, TexelsPaddingAndSeamsOfACutSheet) {
  PaintScene scene;
  scene.RtSizeX = scene.RtSizeY = 64;
  ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::CutSheet(), PaintImportMode::PerPixel, DPSettings()).ok);
  EXPECT_TRUE(scene.Faces[0].SeamBits & 2);  // the shared edge is a seam
  PixelMap* map = scene.GetPixelMap(0);
  ASSERT_NE(map, nullptr);
  PixelCursor c;
  // Texel centres inside [6.4, 25.6] x [38.4, 57.6] are the left face's.
  ASSERT_TRUE(map->FetchPixel(c, 10, 45, false, false, false));
  EXPECT_EQ(c.Pixel().Class(), (uint32_t)kPixelOnMesh);
  EXPECT_NEAR(c.Pixel().Width, 1.0f / (0.3f * 64), 1e-4f);  // world size of a texel
  int texels = scene.Faces[0].Texels->Count;
  EXPECT_EQ(texels, 20 * 20);
  for (int i = 0; i < texels; i++) {
    const FaceTexel& t = scene.Faces[0].Texels->Texels[i];
    ASSERT_TRUE(t.X >= 6 && t.X <= 25 && t.Y >= 38 && t.Y <= 57);
    EXPECT_NEAR(t.Position.x, (t.X + 0.5f - 6.4f) / 19.2f, 1e-4f);
    EXPECT_NEAR(t.Position.y, (57.6f - t.Y - 0.5f) / 19.2f, 1e-4f);
  }
  // Outside the seam edge: padding that shows the right island's first column.
  for (int y = 40; y < 57; y++) {
    ASSERT_TRUE(map->FetchPixel(c, 26, y, false, false, false));
    EXPECT_EQ(c.Pixel().Class(), (uint32_t)kPixelPadding) << y;
    EXPECT_EQ(c.Pixel().SourceX(), 38) << y;
    EXPECT_EQ(c.Pixel().SourceY(), y) << y;
  }
  // Outside an open border: padding that shows its own neighbour.
  ASSERT_TRUE(map->FetchPixel(c, 5, 45, false, false, false));
  EXPECT_EQ(c.Pixel().Class(), (uint32_t)kPixelPadding);
  EXPECT_EQ(c.Pixel().SourceX(), 6);
  // Far away: outside the mesh.
  ASSERT_TRUE(map->FetchPixel(c, 31, 45, true, false, false));
  EXPECT_EQ(c.Pixel().Class(), (uint32_t)kPixelOutside);

  // Paint the right island's first column; the seam padding shows it.
  int layer = scene.NewLayer(true);
  for (int y = 38; y <= 57; y++) {
    ASSERT_TRUE(map->FetchPixel(c, 38, y, true, true, false, layer));
    c.Layer->Pixels[c.Index].Color = 0xffff0000;
  }
  map->Update();
  for (int y = 40; y < 57; y++) {
    map->FetchPixel(c, 26, y, false, false, false);
    EXPECT_EQ(c.Pixel().Color, 0xffff0000u) << y;
    map->FetchPixel(c, 25, y, false, false, false);
    EXPECT_EQ(c.Pixel().Color >> 24, 0u) << y;  // the left island itself is unpainted
  }
}
