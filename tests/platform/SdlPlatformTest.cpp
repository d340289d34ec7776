// The SDL platform on SDL's window-less "dummy" video driver: the window
// opens at its size, the title round-trips, the key map gives US characters,
// and a message box that cannot show falls back to the default button.
#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/Platform.h"

namespace {
std::unique_ptr<Platform> DummySdl() {
  setenv("SDL_VIDEODRIVER", "dummy", 1);
  return CreateSdlPlatform();
}
}  // namespace

TEST(SdlPlatform, WindowTitleAndEvents) {
  auto p = DummySdl();
  ASSERT_TRUE(p->OpenWindow("Morvane", {0, 0, 1280, 720}, false));
  ASSERT_TRUE(p->HasWindow());
  int w = 0, h = 0;
  p->ClientSize(w, h);
  EXPECT_EQ(w, 1280);
  EXPECT_EQ(h, 720);
  EXPECT_EQ(p->Title(), "Morvane");
  p->SetTitle("42%");
  EXPECT_EQ(p->Title(), "42%");
  PlatformEvent e;
  while (p->PollEvent(e)) {
  }
  uint32_t t0 = p->TickMs();
  EXPECT_FALSE(p->WaitEvent(e, 30)) << "nothing happens on a dummy display";
  EXPECT_GE(p->TickMs() - t0, 25u);
  GamepadRaw raw;
  EXPECT_FALSE(p->ReadGamepad(raw));
}

TEST(SdlPlatform, KeyCharactersThroughTheLayout) {
  auto p = DummySdl();
  ASSERT_TRUE(p->OpenWindow("Morvane", {0, 0, 640, 480}, false));
  EXPECT_EQ(p->KeyToChar(keys::A, false, false), 'a');
  EXPECT_EQ(p->KeyToChar(keys::A + 25, true, false), 'Z');
  EXPECT_EQ(p->KeyToChar(keys::A, true, true), 'a') << "Shift undoes Caps Lock";
  EXPECT_EQ(p->KeyToChar(keys::Digit0 + 1, false, false), '1');
  EXPECT_EQ(p->KeyToChar(keys::Digit0 + 1, true, false), '!');
  EXPECT_EQ(p->KeyToChar(keys::Digit0, true, false), ')');
  EXPECT_EQ(p->KeyToChar(keys::Slash, true, false), '?');
  EXPECT_EQ(p->KeyToChar(keys::Space, false, false), ' ');
  EXPECT_EQ(p->KeyToChar(keys::Num0 + 7, false, false), '7');
  EXPECT_EQ(p->KeyToChar(keys::NumMultiply, false, false), '*');
  EXPECT_EQ(p->KeyToChar(keys::Enter, false, false), 0) << "Enter types no character";
  EXPECT_EQ(p->KeyToChar(keys::F1, false, false), 0);
  EXPECT_FALSE(p->IsKeyDownNow(keys::Esc));
}

TEST(SdlPlatform, MessageBoxWithoutADisplayTakesTheDefault) {
  auto p = DummySdl();
  ASSERT_TRUE(p->OpenWindow("Morvane", {0, 0, 640, 480}, false));
  SystemDialog d;
  d.buttons = {"Load", "Delete", "Skip"};
  d.defaultButton = 2;
  EXPECT_EQ(p->ShowMessageBox(d), 2);
}
