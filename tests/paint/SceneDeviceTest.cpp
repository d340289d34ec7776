// The paint scene on a real (headless) device: the texture-space passes put
// each face's samples at its own texels, composed tiles land in the maps
// byte for byte and right way up, a painted face shows in the view where it
// lies, and the view's mesh follows a changed face.
#include <gtest/gtest.h>

#include <cmath>

#include "PaintMeshes.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/SceneDevice.h"
#include "paint/scene/SceneView.h"
#include "render/GLTestContext.h"
#include "render/Viewer.h"

using namespace paintmeshes;
using comms::cImage;

namespace {

struct Texel {
  int r, g, b, a;
};
// Images of the renderer keep row 0 at the bottom, as texture space does.
Texel At(const cImage& image, int x, int y) {
  const uint8_t* p = image.Pixel(x, y);
  return {p[0], p[1], p[2], image.format == comms::kPixARGB8 ? p[3] : 255};
}
::testing::AssertionResult Is(const Texel& t, int r, int g, int b, int tolerance = 0) {
  if (std::abs(t.r - r) <= tolerance && std::abs(t.g - g) <= tolerance && std::abs(t.b - b) <= tolerance)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "(" << t.r << ", " << t.g << ", " << t.b << ") instead of (" << r << ", "
                                       << g << ", " << b << ")";
}

void PaintFaceGrid(PaintScene& scene, int face, uint32_t argb) {
  PaintFace& f = scene.Faces[face];
  for (int i = 0; i < f.Nx * f.Ny; i++) f.Grid[i].Color = argb, f.Grid[i].Opacity = 1;
  scene.MarkFaceDirty(face);
}

class SceneDeviceTest : public rendertest::GLTest {
 protected:
  void SetUp() override {
    GLTest::SetUp();
    if (IsSkipped()) return;
    ASSERT_TRUE(RegisterPaintVertexFormats(*render_));
    device_ = std::make_unique<SceneDevice>(*render_, scene_);
    device_->Attach();
  }
  void TearDown() override {
    device_.reset();
    GLTest::TearDown();
  }
  // A camera straight down the z axis onto the sheet's plane.
  comms::cFreeViewer FacingCamera(float cx, float cy, float distance) {
    comms::cFreeViewer camera;
    camera.Fov = 50;
    camera.Znear = 0.01f;
    camera.Zfar = 100;
    camera.ViewRect = comms::cRect(0, 0, float(kWidth), float(kHeight));
    camera.SetHome(comms::cVec3(cx, cy, 0), distance, comms::cQuat());
    camera.Update();
    return camera;
  }

  PaintScene scene_;
  std::unique_ptr<SceneDevice> device_;
};

TEST_F(SceneDeviceTest, MicroVertexPassesPutEachFaceAtItsOwnTexels) {
  ASSERT_TRUE(ImportMeshIntoScene(scene_, Sheet(2, 1), PaintImportMode::MicroVertex, Grid(2)).ok);
  MRenderTarget& rt = *scene_.RenderTargets[0];
  ASSERT_GE(rt.ColorTexture, 0);
  ASSERT_GE(rt.NormalTexture, 0);
  PaintFaceGrid(scene_, 0, 0x20ff2000u);  // specular 0x20
  PaintFaceGrid(scene_, 1, 0x000030ffu);
  scene_.Faces[1].Grid[0].Freeze = 1;
  device_->Update();
  cImage colour, normal;
  ASSERT_TRUE(render_->ReadTexture(rt.ColorTexture, colour));
  ASSERT_TRUE(render_->ReadTexture(rt.NormalTexture, normal));
  const int w = colour.width, h = colour.height;
  // The sheet's UVs: face 0 spans u 1/6..1/2, face 1 u 1/2..5/6; both v 1/4..3/4.
  auto texel = [&](const cImage& im, float u, float v) { return At(im, int(u * w), int(v * h)); };
  EXPECT_TRUE(Is(texel(colour, 1 / 3.0f, 0.5f), 255, 32, 0));
  EXPECT_EQ(texel(colour, 1 / 3.0f, 0.5f).a, 255);  // full coverage
  EXPECT_TRUE(Is(texel(colour, 2 / 3.0f, 0.5f), 0, 48, 255));
  // Rows are not mirrored: the lower half of face 1 is its own colour too,
  // and outside every face the texture keeps the unpainted grey.
  EXPECT_TRUE(Is(texel(colour, 2 / 3.0f, 0.3f), 0, 48, 255));
  EXPECT_TRUE(Is(texel(colour, 0.05f, 0.05f), 128, 128, 128));
  EXPECT_EQ(texel(colour, 0.05f, 0.05f).a, 0);
  // The normal map: +z is (128, 128, 255), specular in alpha.
  const Texel n = texel(normal, 1 / 3.0f, 0.5f);
  EXPECT_TRUE(Is(n, 128, 128, 255, 1));
  EXPECT_EQ(n.a, 0x20);
  // A frozen sample shows a shortened normal: z = 0.3 * 0.5 + 0.5.
  const float u0 = 0.5f + (1 / 3.0f) * 0.125f, v0 = 0.25f + 0.5f * 0.125f;  // face 1, sample (0, 0)
  EXPECT_TRUE(Is(texel(normal, u0, v0), 128, 128, int(std::lround(0.65f * 255)), 2));
}

TEST_F(SceneDeviceTest, ComposedTilesLandInTheMapsByteForByteAndRightWayUp) {
  ASSERT_TRUE(ImportMeshIntoScene(scene_, Sheet(3, 2), PaintImportMode::PerPixel, Grid(2)).ok);
  MRenderTarget& rt = *scene_.RenderTargets[0];
  PixelMap* map = scene_.GetPixelMap(0);
  ASSERT_NE(map, nullptr);
  ASSERT_GE(rt.ColorTexture, 0);
  // An asymmetric patch over a tile border: colour and specular vary per pixel.
  PixelCursor cursor;
  for (int y = 777; y < 780; y++)
    for (int x = 301; x < 318; x++) {
      ASSERT_TRUE(map->FetchPixel(cursor, x, y, true, true, false, 0));
      LayerPixel& p = cursor.Layer->Pixels[cursor.Index];
      p.Color = 0xff000000u | uint32_t(x * 7 & 255) << 16 | uint32_t(y * 3 & 255) << 8 | uint32_t((x + y) & 255);
      p.Specular = uint8_t(x);
    }
  EXPECT_GT(scene_.UpdatePixelMap(0), 0);
  cImage colour, normal;
  ASSERT_TRUE(render_->ReadTexture(rt.ColorTexture, colour));
  ASSERT_TRUE(render_->ReadTexture(rt.NormalTexture, normal));
  ASSERT_EQ(colour.width, map->Width);
  int compared = 0;
  for (int y = 770; y < 786; y++)
    for (int x = 296; x < 322; x++) {
      PixelTile* tile = map->FindTile(x / kTileSide, y / kTileSide);
      ASSERT_NE(tile, nullptr);
      const TilePixel& p = tile->Pixels[(y % kTileSide) * kTileSide + x % kTileSide];
      const Texel c = At(colour, x, y), n = At(normal, x, y);
      ASSERT_EQ(c.r, int(p.Color >> 16 & 255)) << x << ", " << y;
      ASSERT_EQ(c.g, int(p.Color >> 8 & 255)) << x << ", " << y;
      ASSERT_EQ(c.b, int(p.Color & 255)) << x << ", " << y;
      ASSERT_EQ(c.a, int(p.Color >> 24)) << x << ", " << y;
      ASSERT_EQ(n.a, int(p.Specular)) << x << ", " << y;
      ++compared;
    }
  EXPECT_EQ(compared, 16 * 26);
  // The painted pixels came through as painted.
  EXPECT_TRUE(Is(At(colour, 305, 778), 305 * 7 & 255, 778 * 3 & 255, (305 + 778) & 255));
}

TEST_F(SceneDeviceTest, TheViewShowsEachFaceWhereItLiesAndFollowsAChange) {
  ASSERT_TRUE(ImportMeshIntoScene(scene_, Sheet(2, 1), PaintImportMode::MicroVertex, Grid(2)).ok);
  PaintFaceGrid(scene_, 0, 0x00ff0000u);
  PaintFaceGrid(scene_, 1, 0x000000ffu);
  comms::cFreeViewer camera = FacingCamera(1.0f, 0.5f, 2.6f);
  render_->Clear(true, true, 0xff000000u, 1.0f);
  EXPECT_GT(device_->Draw(camera, PaintViewMode::Colour), 0);
  cImage screen = Screen();
  // Face 0 (x 0..1) on the left half, face 1 on the right, the sheet's
  // bottom edge (y = 0) below the middle.
  EXPECT_TRUE(Is(At(screen, kWidth / 4, kHeight / 2), 255, 0, 0));
  EXPECT_TRUE(Is(At(screen, kWidth * 3 / 4, kHeight / 2), 0, 0, 255));
  EXPECT_TRUE(Is(At(screen, kWidth / 2, 1), 0, 0, 0));  // below the sheet: the cleared screen
  const int built = device_->MeshesBuilt();
  // Painting face 1 again rebuilds its block's mesh, not every frame's.
  PaintFaceGrid(scene_, 1, 0x0000ff00u);
  render_->Clear(true, true, 0xff000000u, 1.0f);
  device_->Draw(camera, PaintViewMode::Colour);
  EXPECT_TRUE(Is(At(Screen(), kWidth * 3 / 4, kHeight / 2), 0, 255, 0));
  EXPECT_EQ(device_->MeshesBuilt(), built + 1);
  device_->Draw(camera, PaintViewMode::Colour);
  EXPECT_EQ(device_->MeshesBuilt(), built + 1);
}

TEST_F(SceneDeviceTest, ReplacingTheSceneFreesItsTextures) {
  ASSERT_TRUE(ImportMeshIntoScene(scene_, Sheet(2, 1), PaintImportMode::MicroVertex, Grid(1)).ok);
  const int colour = scene_.RenderTargets[0]->ColorTexture;
  ASSERT_NE(render_->GetTexture(colour), nullptr);
  scene_.ResetScene(true);
  EXPECT_EQ(render_->GetTexture(colour), nullptr);
  comms::cFreeViewer camera;
  EXPECT_EQ(device_->Draw(camera, PaintViewMode::Lit), 0);
}

}  // namespace
