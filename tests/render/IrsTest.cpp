// The thin global's helpers on the recording back end: the viewport cut to the
// camera, the render-target stack, stock samplers, the clear, the scene pair.
#include <gtest/gtest.h>

#include "render/IRS.h"
#include "render/NullRender.h"
#include "render/Viewer.h"

using namespace comms;

TEST(IrsHelpers, ViewportIsCutToTheCameraAndSetFromTheTopLeft) {
  cNullRender r;
  cIRS irs(&r);
  irs.SetViewPort(10, 20, 300, 200);
  cRect v = irs.GetViewPort();
  EXPECT_EQ(v.left, 10);
  EXPECT_EQ(v.bottom, 220);
  cViewer cam;
  cam.ViewRect = cRect(0, 0, 100, 100);
  r.SetCamera(&cam);
  v = irs.GetViewPort();
  EXPECT_EQ(v.left, 10);
  EXPECT_EQ(v.top, 20);
  EXPECT_EQ(v.right, 100);
  EXPECT_EQ(v.bottom, 100);
}

TEST(IrsHelpers, RenderTargetsStackAndPopBackInOrder) {
  cNullRender r;
  cIRS irs(&r);
  int a = irs.CreateRenderTarget(16, 16), b = irs.CreateRenderTarget(8, 8, kPixRGBA16F, false);
  ASSERT_GE(a, 0);
  ASSERT_GE(b, 0);
  EXPECT_EQ(r.GetTextureFormat(b), kPixRGBA16F);
  irs.SetRenderTarget(a);
  irs.SetRenderTarget(b);
  r.ClearCalls();
  irs.PopRenderTarget();
  irs.PopRenderTarget();
  irs.PopRenderTarget();  // nothing left: no call
  ASSERT_EQ(r.Count("SetRenderTargets"), 2);
  EXPECT_EQ(r.Calls[0].Args[0], a);
  EXPECT_EQ(r.Calls[1].Args[0], -1);  // the back buffer again
}

TEST(IrsHelpers, StockSamplersAndClearScreen) {
  cNullRender r;
  cIRS irs(&r);
  EXPECT_EQ(irs.StockSampler(0), r.GetSamplerState(kFilterLinear, kAddressWrap, kAddressWrap, kAddressWrap));
  EXPECT_EQ(irs.StockSampler(4), r.GetSamplerState(kFilterLinearMipPoint, kAddressClamp, kAddressClamp, kAddressClamp));
  EXPECT_EQ(irs.StockSampler(99), irs.StockSampler(4));
  irs.ClearColor = 0xff112233u;
  r.ClearCalls();
  irs.ClearScreen();
  ASSERT_EQ(r.Count("Clear"), 1);
  EXPECT_EQ(r.Calls[0].Args[0], 1);  // colour
  EXPECT_EQ(r.Calls[0].Args[1], 0);  // not depth
  EXPECT_EQ(uint32_t(r.Calls[0].Args[2]), 0xff112233u);
  EXPECT_EQ(irs.LoadTexture("/nonexistent/picture.png"), -1);
}

TEST(IrsHelpers, SceneBeginsOnceAndEndsWithAPresent) {
  cNullRender r;
  cIRS irs(&r);
  cIRS* previous = IRS;
  IRS = &irs;
  EXPECT_TRUE(BeginScene());
  EXPECT_TRUE(BeginScene());
  EndScene();
  EndScene();
  EXPECT_EQ(r.Count("BeginFrame"), 1);
  EXPECT_EQ(r.Count("EndFrame"), 1);
  r.ScreenWidth = 0;  // minimised: no frame
  EXPECT_FALSE(BeginScene());
  EndScene();
  EXPECT_EQ(r.Count("EndFrame"), 1);
  IRS = previous;
}
