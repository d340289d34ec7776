// Golden-image tests of drawing: the expected frames are computed from the
// scene's definition (colours by formula, pixel rectangles by the orientation
// rule), except the lit sphere, whose expected frame is the PNG stored in
// tests/render/golden/ (made by a first run and inspected by eye; rerun with
// MORVANE_UPDATE_GOLDEN=1 to make it again). A mismatch writes the frame and
// the expectation as PNG into the test's working folder.
#include <cmath>
#include <cstdlib>

#include "DrawHelpers.h"
#include "GLTestContext.h"
#include "interchange/IO.h"
#include "render/Mesh.h"
#include "render/Viewer.h"

using namespace comms;

namespace rendertest {
namespace {

// An RGB image of the screen's size filled by a function of (x, y from top).
template <class Fn>
cImage Expected(int w, int h, Fn colourAt) {
  cImage img;
  img.Create(w, h, kPixRGB8);
  for (int y = 0; y < h; y++)
    for (int x = 0; x < w; x++) {
      uint32_t c = colourAt(x, y);
      uint8_t* p = img.Pixel(x, h - 1 - y);
      p[0] = uint8_t(c >> 16), p[1] = uint8_t(c >> 8), p[2] = uint8_t(c);
    }
  return img;
}

bool Inside(int x, int y, int l, int t, int r, int b) { return x >= l && x < r && y >= t && y < b; }

class GoldenTest : public GLTest {
 protected:
  // Draws clip-space triangles with the stock "Colored" shader (no camera:
  // positions are clip coordinates).
  void DrawClip(const std::vector<Vertex0>& v) {
    render_->SetShader(render_->GetShaderID("Colored", kVfPosColor, ""));
    render_->DrawUser(kPrimTriangles, v.data(), int(v.size()));
  }
};

}  // namespace

TEST_F(GoldenTest, ClearFillsTheScreenInTheGivenColour) {
  render_->Clear(true, true, 0xff204080u, 1.0f);
  EXPECT_TRUE(ImagesMatch(Screen(), Expected(kWidth, kHeight, [](int, int) { return 0x204080u; }), 0, 0, "clear"));
}

TEST_F(GoldenTest, TwoDRectsLinesAndFramesLandOnTheirPixels) {
  render_->Clear(true, true, 0xff000000u, 1.0f);
  render_->FillRect(cRect(10, 5, 30, 20), 0, 0xffff0000u);
  render_->DrawLine(5, 30, 50, 30, 0, 0xff00ff00u, 0xff00ff00u);
  render_->DrawFrame(cRect(40, 2, 60, 12), 0, 0xff0000ffu);
  const uint32_t corners[4] = {0xffffffffu, 0xffffffffu, 0xff000000u, 0xff000000u};
  render_->FillRect(cRect(0, 36, 64, 48), 0, corners);  // a vertical gradient, white at the top
  render_->Flush2D();
  cImage shot = Screen();
  cImage want = Expected(kWidth, kHeight, [](int x, int y) -> uint32_t {
    if (Inside(x, y, 10, 5, 30, 20)) return 0xff0000;
    if (y == 30 && x >= 5 && x < 50) return 0x00ff00;
    bool frame = (Inside(x, y, 40, 2, 60, 12) && (x == 40 || x == 59 || y == 2 || y == 11));
    if (frame) return 0x0000ff;
    return 0;
  });
  // The gradient's rows: compare separately by formula, within rounding.
  for (int y = 36; y < 48; y++) {
    int v = PixelAt(shot, 20, y).r;
    float t = (y + 0.5f - 36) / 12.0f;
    EXPECT_NEAR(v, 255 * (1 - t), 3) << "row " << y;
    for (int x = 0; x < kWidth; x++) {
      uint8_t* p = want.Pixel(x, kHeight - 1 - y);
      p[0] = p[1] = p[2] = uint8_t(PixelAt(shot, 20, y).r);
    }
  }
  // Line ends and frame corners may differ by a pixel between rasterisers.
  EXPECT_TRUE(ImagesMatch(shot, want, 2, 4, "twod"));
}

TEST_F(GoldenTest, ViewportAndScissorUseTopDownRectangles) {
  render_->Clear(true, true, 0xff000000u, 1.0f);
  render_->SetScissor(cRect(8, 4, 24, 12));
  render_->Clear(true, false, 0xffffff00u, 1.0f);
  render_->SetScissor(cRect(1, 1, 0, 0));  // inverted: off
  // A viewport in the lower right: a full-viewport quad fills just that.
  render_->SetViewPort(cRect(40, 30, 60, 46));
  DrawClip(ClipQuad(-1, -1, 1, 1, 0, 0xff00ffffu));
  render_->SetViewPort(cRect(0, 0, kWidth, kHeight));
  EXPECT_TRUE(ImagesMatch(Screen(), Expected(kWidth, kHeight, [](int x, int y) -> uint32_t {
                            if (Inside(x, y, 8, 4, 24, 12)) return 0xffff00;
                            if (Inside(x, y, 40, 30, 60, 46)) return 0x00ffff;
                            return 0;
                          }),
                          0, 0, "viewport"));
}

TEST_F(GoldenTest, BlendStatesMixAsTheirFactorsSay) {
  render_->Clear(true, true, 0xff0000ffu, 1.0f);
  render_->SetBlendState(render_->GetBlendState(kBlendSrcAlpha, kBlendInvSrcAlpha, kBlendOpAdd, kWriteAll));
  DrawClip(ClipQuad(-1, -1, 0, 1, 0, 0x80ff0000u));  // left half: half red over blue
  render_->SetBlendState(render_->GetBlendState(kBlendOne, kBlendOne, kBlendOpAdd, kWriteAll));
  DrawClip(ClipQuad(0, -1, 1, 0, 0, 0xff00ff00u));  // lower right: green added
  render_->SetBlendState(render_->GetBlendState(kBlendOne, kBlendZero, kBlendOpAdd, kWriteRed));
  DrawClip(ClipQuad(0, 0, 1, 1, 0, 0xffffffffu));  // upper right: red channel only
  render_->SetBlendState(-1);
  EXPECT_TRUE(ImagesMatch(Screen(), Expected(kWidth, kHeight, [](int x, int y) -> uint32_t {
                            if (x < 32) return 0x80007fu;
                            return y >= 24 ? 0x00ffffu : 0xff00ffu;
                          }),
                          1, 0, "blend"));
}

TEST_F(GoldenTest, DepthTestKeepsTheNearestAndCullingDropsOneWinding) {
  render_->Clear(true, true, 0xff000000u, 1.0f);
  render_->SetDepthState(render_->GetDepthState(true, true, kCmpLess));
  DrawClip(ClipQuad(-1, -1, 1, 1, 0.5f, 0xffff0000u));   // red, middle depth
  DrawClip(ClipQuad(-1, -1, 0, 1, -0.5f, 0xff00ff00u));  // green, nearer: wins on the left
  DrawClip(ClipQuad(0, -1, 1, 1, 0.8f, 0xff0000ffu));    // blue, farther: hidden on the right
  // Without writing, a nearer quad shows but leaves the depth as it was.
  render_->SetDepthState(render_->GetDepthState(true, false, kCmpLess));
  DrawClip(ClipQuad(0, 0, 1, 1, 0.0f, 0xffffffffu));
  DrawClip(ClipQuad(0, 0, 1, 1, 0.3f, 0xffff00ffu));  // still in front of red's 0.5
  render_->SetDepthState(-1);
  // Culling: counter-clockwise is the front.
  auto front = ClipQuad(-1, -1, -0.5f, -0.5f, 0, 0xffffff00u);
  auto back = front;
  std::swap(back[1], back[2]);
  std::swap(back[4], back[5]);
  render_->SetCullMode(kCullCounterClockwise);
  DrawClip(front);  // dropped
  render_->SetCullMode(kCullClockwise);
  DrawClip(back);  // dropped
  render_->SetCullMode(kCullNone);
  EXPECT_TRUE(ImagesMatch(Screen(), Expected(kWidth, kHeight, [](int x, int y) -> uint32_t {
                            if (x < 32) return 0x00ff00;
                            return y < 24 ? 0xff00ff : 0xff0000;
                          }),
                          0, 0, "depth"));
  render_->SetCullMode(kCullClockwise);
  DrawClip(front);  // kept
  EXPECT_EQ(PixelAt(Screen(), 2, 45).r, 255);
  EXPECT_EQ(PixelAt(Screen(), 2, 45).g, 255);
}

TEST_F(GoldenTest, StencilCountsFrontAndBackFaces) {
  render_->Clear(true, true, 0xff000000u, 1.0f);
  render_->BeginStencilCount(false);
  DrawClip(ClipQuad(-1, -1, 0.5f, 1, 0, 0xffffffffu));  // front: +1 on x < 0.5
  auto back = ClipQuad(0, -1, 1, 1, 0, 0xffffffffu);
  std::swap(back[1], back[2]);
  std::swap(back[4], back[5]);
  DrawClip(back);  // back: -1 on x >= 0
  render_->StencilNotEqual();
  render_->SetBlendState(-1);
  DrawClip(ClipQuad(-1, -1, 1, 1, 0, 0xffffffffu));
  render_->StencilEqual();
  DrawClip(ClipQuad(-1, -1, 1, 1, 0, 0xff0000ffu));
  render_->EndStencil();
  // Counts: 1 left of the middle, 0 from the middle to 3/4, -1 (wrapped) beyond.
  EXPECT_TRUE(ImagesMatch(Screen(), Expected(kWidth, kHeight, [](int x, int) -> uint32_t {
                            return x < 32 || x >= 48 ? 0xffffff : 0x0000ff;
                          }),
                          0, 0, "stencil"));
  EXPECT_EQ(render_->CreateDepthTarget(-1, kPixD24S8), -1);
}

TEST_F(GoldenTest, MultipleTargetsReceiveTheirOwnOutputs) {
  // The paint pass writes colour and normal at once; its batch format (12:
  // position, texture coordinate, colour word, normal word) comes from the
  // paint engine, a stand-in with the same layout here.
  int fmt = render_->RegisterVertexFormat({{"Pos", kSemPos, kCompFloat, 3}, {"TexCoord", kSemTexCoord, kCompFloat, 2},
                                           {"Color", kSemFree, kCompByte, 4}, {"NormalWord", kSemFree, kCompByte, 4}});
  ASSERT_GE(render_->GetMaxRenderTargets(), 2);
  int shader = render_->GetShaderID("obj_render_mrt", fmt, "");
  ASSERT_GE(shader, 0);
  int targets[2] = {render_->CreateRenderTarget(8, 8, kPixARGB8, -1, false, 0),
                    render_->CreateRenderTarget(8, 8, kPixARGB8, -1, false, 0)};
  render_->SetRenderTargets(targets, 2, -1, nullptr);
  render_->Clear(true, false, 0, 1);
  struct V {
    float p[3], uv[2];
    uint8_t colour[4], normal[4];
  };
  // Two triangles covering texture space: colour bytes in red, green, blue,
  // coverage order; the normal word as stored (z, y, x, specular).
  std::vector<V> v;
  const float uv[6][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 0}, {1, 1}, {0, 1}};
  for (auto& t : uv) v.push_back({{0, 0, 0}, {t[0], t[1]}, {64, 128, 191, 255}, {255, 100, 30, 77}});
  render_->SetShader(shader);
  render_->DrawUser(kPrimTriangles, v.data(), 6);
  cImage a, b;
  ASSERT_TRUE(render_->ReadTexture(targets[0], a));
  ASSERT_TRUE(render_->ReadTexture(targets[1], b));
  render_->SetRenderTargets(nullptr, 0, -1, nullptr);
  for (int y = 0; y < 8; y++)
    for (int x = 0; x < 8; x++) {
      const uint8_t* p = a.Pixel(x, y);
      ASSERT_EQ(p[0], 64);
      ASSERT_EQ(p[1], 128);
      ASSERT_EQ(p[2], 191);
      ASSERT_EQ(p[3], 255);
      const uint8_t* q = b.Pixel(x, y);
      ASSERT_EQ(q[0], 30);  // x
      ASSERT_EQ(q[1], 100);
      ASSERT_EQ(q[2], 255);
      ASSERT_EQ(q[3], 77);  // specular
    }
}

TEST_F(GoldenTest, EveryPrimitiveKindDraws) {
  auto at = [](float x, float y, uint32_t argb) { return Vertex0{x, y, 0, ToDeviceColour(argb)}; };
  render_->Clear(true, true, 0xff000000u, 1.0f);
  render_->SetShader(render_->GetShaderID("Colored", kVfPosColor, ""));
  // A strip over the left half, a fan over the upper right quarter.
  const Vertex0 strip[4] = {at(-1, -1, 0xffff0000u), at(0, -1, 0xffff0000u), at(-1, 1, 0xffff0000u), at(0, 1, 0xffff0000u)};
  render_->DrawUser(kPrimTriangleStrip, strip, 4);
  const Vertex0 fan[4] = {at(0, 0, 0xff00ff00u), at(1, 0, 0xff00ff00u), at(1, 1, 0xff00ff00u), at(0, 1, 0xff00ff00u)};
  render_->DrawUser(kPrimTriangleFan, fan, 4);
  // A line strip along two edges of the lower right quarter, and a point.
  const float px = 2.0f / kWidth, py = 2.0f / kHeight;  // one pixel in clip units
  const Vertex0 lines[3] = {at(0.5f + px / 2, -1 + py / 2, 0xff0000ffu), at(0.5f + px / 2, -0.5f + py / 2, 0xff0000ffu),
                            at(1 - px / 2, -0.5f + py / 2, 0xff0000ffu)};
  render_->DrawUser(kPrimLineStrip, lines, 3);
  const Vertex0 point = at(0.25f + px / 2, -0.75f + py / 2, 0xffffffffu);
  render_->DrawUser(kPrimPoints, &point, 1);
  cImage s = Screen();
  EXPECT_EQ(PixelAt(s, 5, 5).r, 255);
  EXPECT_EQ(PixelAt(s, 30, 40).r, 255);
  EXPECT_EQ(PixelAt(s, 40, 5).g, 255);
  EXPECT_EQ(PixelAt(s, 62, 22).g, 255);
  EXPECT_EQ(PixelAt(s, 48, 44).b, 255);  // x = 48 column, from the bottom up
  EXPECT_EQ(PixelAt(s, 56, 35).b, 255);  // the row 3/4 down
  EXPECT_EQ(PixelAt(s, 40, 42).r + PixelAt(s, 40, 42).g + PixelAt(s, 40, 42).b, 0);
  EXPECT_EQ(PixelAt(s, 40, 41).r, 255);  // the point
}

TEST_F(GoldenTest, BuffersDrawToTheirEndAndIndexedRanges) {
  render_->Clear(true, true, 0xff000000u, 1.0f);
  auto left = ClipQuad(-1, -1, 0, 1, 0, 0xffff0000u), right = ClipQuad(0, -1, 1, 1, 0, 0xff00ff00u);
  std::vector<Vertex0> all = left;
  all.insert(all.end(), right.begin(), right.end());
  int vb = render_->CreateVertexBuffer(all.data(), int(all.size() * sizeof(Vertex0)));
  ASSERT_GE(vb, 0);
  render_->SetShader(render_->GetShaderID("Colored", kVfPosColor, ""));
  render_->SetVertexBuffer(vb, 0);
  render_->Draw(kPrimTriangles, 6, -1);  // from the right quad to the end
  EXPECT_EQ(PixelAt(Screen(), 10, 10).g, 0);
  EXPECT_EQ(PixelAt(Screen(), 50, 10).g, 255);
  const uint16_t idx[6] = {0, 1, 2, 3, 4, 5};
  int ib = render_->CreateIndexBuffer(idx, 6, 2);
  ASSERT_GE(ib, 0);
  render_->SetIndexBuffer(ib);
  render_->DrawIndexed(kPrimTriangles, 3, -1);  // the left quad's second triangle only
  cImage s = Screen();
  EXPECT_EQ(PixelAt(s, 2, 45).r, 0);    // first triangle (lower right half of the left quad) skipped
  EXPECT_EQ(PixelAt(s, 2, 2).r, 255);   // second triangle drawn
  EXPECT_EQ(render_->CreateIndexBuffer(idx, 6, 3), -1);
  EXPECT_EQ(render_->CreateVertexBuffer(nullptr, 0), -1);
  render_->FreeVertexBuffer(vb);
  EXPECT_EQ(render_->CreateVertexBuffer(all.data(), 16), vb);
}

TEST_F(GoldenTest, ResizingKeepsRenderTargetsAndAMinimisedWindowDrawsNothing) {
  int rt = render_->CreateRenderTarget(6, 6, kPixARGB8, -1, false, 0);
  render_->SetRenderTargets(&rt, 1, -1, nullptr);
  render_->Clear(true, false, 0xff123456u, 1);
  render_->SetRenderTargets(nullptr, 0, -1, nullptr);
  render_->EndFrame();
  context_->SetSize(0, 0);
  EXPECT_FALSE(render_->BeginFrame());
  context_->SetSize(32, 24);
  ASSERT_TRUE(render_->BeginFrame());
  EXPECT_EQ(render_->GetScreenWidth(), 32);
  cImage img;
  ASSERT_TRUE(render_->ReadTexture(rt, img));
  EXPECT_EQ(img.Pixel(3, 3)[0], 0x12);
  EXPECT_EQ(img.Pixel(3, 3)[2], 0x56);
  ASSERT_TRUE(render_->ResizeRenderTarget(rt, 10, 4));
  EXPECT_EQ(render_->GetTextureWidth(rt), 10);
  EXPECT_EQ(Screen().width, 32);
}

TEST_F(GoldenTest, AMultisampledBackBufferSmoothsEdgesAndReadsBack) {
  render_ = std::make_unique<cRenderGL>();
  render_->DataFolder = DataFolder();
  ASSERT_TRUE(render_->Init(context_, 4));
  ASSERT_TRUE(render_->BeginFrame());
  render_->Clear(true, true, 0xff000000u, 1.0f);
  Vertex0 tri[3] = {{-1, -1, 0, 0xffffffffu}, {1, -1, 0, 0xffffffffu}, {-1, 1, 0, 0xffffffffu}};
  render_->SetShader(render_->GetShaderID("Colored", kVfPosColor, ""));
  render_->DrawUser(kPrimTriangles, tri, 3);
  cImage s = Screen();
  EXPECT_EQ(PixelAt(s, 2, 45).r, 255);  // inside
  EXPECT_EQ(PixelAt(s, 62, 2).r, 0);    // outside
  int partial = 0;                      // along the diagonal: coverage between
  for (int x = 0; x < kWidth; x++)
    for (int y = 0; y < kHeight; y++) partial += PixelAt(s, x, y).r > 0 && PixelAt(s, x, y).r < 255;
  EXPECT_GT(partial, 20);
}

TEST_F(GoldenTest, ALitSphereMatchesItsGoldenImage) {
  // A unit sphere of 48 x 24 quads, positions and normals (format 3).
  StaticMesh sphere;
  const int slices = 48, stacks = 24, nv = (slices + 1) * (stacks + 1);
  sphere.Create(*render_, nv, slices * stacks * 6, kVfPosNormal);
  float* v = reinterpret_cast<float*>(sphere.GetVertices());
  for (int j = 0; j <= stacks; j++)
    for (int i = 0; i <= slices; i++) {
      float th = 3.14159265f * j / stacks, ph = 2 * 3.14159265f * i / slices;
      float n[3] = {std::sin(th) * std::cos(ph), std::cos(th), std::sin(th) * std::sin(ph)};
      for (int k = 0; k < 3; k++) v[k] = v[3 + k] = n[k];  // a unit sphere: position = normal
      v += 6;
    }
  uint16_t* idx = sphere.GetIndices16();
  for (int j = 0; j < stacks; j++)
    for (int i = 0; i < slices; i++) {
      uint16_t a = uint16_t(j * (slices + 1) + i), b = uint16_t(a + slices + 1);
      const uint16_t q[6] = {a, uint16_t(a + 1), b, uint16_t(a + 1), uint16_t(b + 1), b};
      for (uint16_t x : q) *idx++ = x;
    }
  sphere.SetVertexCount(nv);
  sphere.SetIndexCount(slices * stacks * 6);
  sphere.SetShader(render_->GetShaderID("mcubes", kVfPosNormal, ""));
  ASSERT_GE(sphere.Shader, 0);
  cFreeViewer camera;
  camera.ViewRect = cRect(0, 0, kWidth, kHeight);
  camera.Fov = 50, camera.Znear = 0.1f, camera.Zfar = 100;
  camera.SetHome(cVec3(0, 0, 0), 3.2f, cQuat::FromAxisAngle(cVec3(1, 0, 0), -0.3f));
  render_->Clear(true, true, 0xff202428u, 1.0f);
  render_->SetCamera(&camera);
  render_->SetDepthState(render_->GetDepthState(true, true, kCmpLessEqual));
  sphere.Draw();
  cImage shot = Screen();
  // Checks that hold whatever the golden: lit grey in the middle, the
  // background in the corners, the upper left brighter (the key light).
  Rgba mid = PixelAt(shot, 32, 24), corner = PixelAt(shot, 1, 1);
  EXPECT_GT(mid.r, 90);
  EXPECT_NEAR(mid.r, mid.b, 30);
  EXPECT_EQ(corner.r, 0x20);
  EXPECT_GT(PixelAt(shot, 26, 18).r, PixelAt(shot, 38, 30).r);
  const std::string golden = DataFolder() + "/../tests/render/golden/lit_sphere.png";
  if (std::getenv("MORVANE_UPDATE_GOLDEN")) {
    ASSERT_TRUE(cIO::SaveImage(golden, shot));
  }
  cImage want;
  ASSERT_TRUE(cIO::LoadImage(golden, want)) << "no golden image " << golden;
  cImage wantRgb = Expected(want.width, want.height, [&](int x, int y) {
    Rgba p = PixelAt(want, x, y);
    return uint32_t(p.r << 16 | p.g << 8 | p.b);
  });
  EXPECT_TRUE(ImagesMatch(shot, wantRgb, 3, 20, "lit_sphere"));
}

}  // namespace rendertest
