// Input sampling: key repeat after 0.4 s every 0.04 s with only the newest key
// repeating, the key classes and Ctrl/Alt, gamepad repeat with catch-up, and
// the fields of wheel and motion events.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/FakePlatform.h"
#include "shell/InputSampler.h"

namespace {
std::vector<InputEvent> Drain(EventQueue& q) {
  std::vector<InputEvent> out;
  InputEvent e;
  while (q.Take(e)) out.push_back(e);
  return out;
}

int CountChars(const std::vector<InputEvent>& v, int key) {
  int n = 0;
  for (auto& e : v) n += e.Kind == InputEvent::Character && e.Key == key;
  return n;
}

struct SamplerTest : ::testing::Test {
  // Samples at `t` seconds and returns what was queued.
  std::vector<InputEvent> At(double t) {
    sampler.Sample(fake, queue, t);
    return Drain(queue);
  }
  FakePlatform fake;
  InputSampler sampler;
  EventQueue queue;
};
}  // namespace

TEST_F(SamplerTest, KeyRepeatsAfterDelayAtItsPeriod) {
  fake.SetKeyDown(keys::A, true);
  auto first = At(1.0);
  ASSERT_EQ(first.size(), 1u);
  EXPECT_EQ(first[0].Code, 'a');
  EXPECT_EQ(first[0].IsKey, 0);
  EXPECT_EQ(CountChars(At(1.39), keys::A), 0) << "no repeat before 0.4 s";
  EXPECT_EQ(CountChars(At(1.40), keys::A), 1);
  EXPECT_EQ(CountChars(At(1.43), keys::A), 0);
  EXPECT_EQ(CountChars(At(1.44), keys::A), 1);
  // A slow frame catches up: 1.48, 1.52, 1.56 have passed by 1.565.
  EXPECT_EQ(CountChars(At(1.565), keys::A), 3);
  fake.SetKeyDown(keys::A, false);
  EXPECT_TRUE(At(2.0).empty());
}

TEST_F(SamplerTest, OnlyTheNewestKeyRepeats) {
  fake.SetKeyDown(keys::A, true);
  At(0.0);
  fake.SetKeyDown(keys::A + 1, true);  // B pressed while A is held
  auto press = At(0.2);
  EXPECT_EQ(CountChars(press, keys::A + 1), 1);
  auto later = At(1.0);
  EXPECT_EQ(CountChars(later, keys::A), 0) << "the older key stopped repeating";
  EXPECT_GT(CountChars(later, keys::A + 1), 0);
  // Releasing the newest does not wake the older one.
  fake.SetKeyDown(keys::A + 1, false);
  EXPECT_EQ(CountChars(At(2.0), keys::A), 0);
}

TEST_F(SamplerTest, KeyClassesAndCtrlAlt) {
  EXPECT_EQ(KeyClass(keys::Shift), 0);
  EXPECT_EQ(KeyClass(keys::F1 + 4), 0);
  EXPECT_EQ(KeyClass(keys::A), 1);
  EXPECT_EQ(KeyClass(keys::Enter), 2);
  EXPECT_EQ(KeyClass(keys::Left), 2);

  fake.SetKeyDown(keys::Shift, true);
  EXPECT_TRUE(At(0.0).empty()) << "class 0 makes no characters";
  fake.SetKeyDown(keys::A, true);
  auto shifted = At(0.01);
  ASSERT_EQ(shifted.size(), 1u);
  EXPECT_EQ(shifted[0].Code, 'A');
  fake.SetKeyDown(keys::A, false);
  fake.SetKeyDown(keys::Shift, false);
  At(0.02);

  fake.SetKeyDown(keys::Enter, true);
  auto enter = At(0.03);
  ASSERT_EQ(enter.size(), 1u);
  EXPECT_EQ(enter[0].Code, keys::Enter);
  EXPECT_EQ(enter[0].IsKey, 1);
  fake.SetKeyDown(keys::Enter, false);

  for (int mod : {keys::Control, keys::Alt}) {
    fake.SetKeyDown(mod, true);
    fake.SetKeyDown(keys::A + 2, true);
    auto e = At(1.0);
    ASSERT_EQ(e.size(), 1u);
    EXPECT_EQ(e[0].Code, keys::A + 2) << "with Ctrl or Alt a character key sends its key code";
    EXPECT_EQ(e[0].IsKey, 1);
    fake.SetKeyDown(mod, false);
    fake.SetKeyDown(keys::A + 2, false);
    At(1.01);
  }
}

TEST_F(SamplerTest, WindowBehindKeepsThePreviousState) {
  fake.SetKeyDown(keys::A, true);
  At(0);
  fake.SetActive(false);
  fake.SetKeyDown(keys::A, false);
  At(0.1);
  EXPECT_TRUE(sampler.KeyState(keys::A));
}

TEST_F(SamplerTest, GamepadChangesRepeatAndCatchUp) {
  GamepadRaw raw;
  raw.connected = true;
  raw.buttons = 1;  // A
  fake.SetGamepad(raw);
  auto press = At(0.0);
  ASSERT_EQ(press.size(), 2u);
  EXPECT_EQ(press[0].Kind, InputEvent::KeyChange);
  EXPECT_EQ(press[0].Key, keys::PadA);
  EXPECT_EQ(press[0].Down, 1);
  EXPECT_EQ(press[1].Kind, InputEvent::Character);
  EXPECT_EQ(press[1].Code, keys::PadA);
  EXPECT_EQ(press[1].IsKey, 1);
  EXPECT_EQ(CountChars(At(0.29), keys::PadA), 0);
  EXPECT_EQ(CountChars(At(0.30), keys::PadA), 1);
  // 0.42, 0.54, 0.66, 0.78 have passed: a slow frame gets all four.
  EXPECT_EQ(CountChars(At(0.80), keys::PadA), 4);
  // A stick pushed beyond 0.8 is a key too; the button's release is an event.
  raw.buttons = 0;
  raw.leftX = 32767;
  fake.SetGamepad(raw);
  auto change = At(0.81);
  bool releasedA = false, pressedRight = false;
  for (auto& e : change) {
    releasedA |= e.Kind == 1 && e.Key == keys::PadA && !e.Down;
    pressedRight |= e.Kind == 1 && e.Key == keys::PadLeftStickRight && e.Down;
  }
  EXPECT_TRUE(releasedA);
  EXPECT_TRUE(pressedRight);
}

// Typing faster than frames come: every press and release of "1.5" arrives
// between two samples, and the box must still get "1.5", once, in order.
TEST_F(SamplerTest, KeysPressedBetweenFramesAreTypedInOrder) {
  for (int key : {keys::Digit0 + 1, keys::Period, keys::Digit0 + 5}) {
    PlatformEvent e;
    e.type = PlatformEvent::Type::KeyDown;
    e.key = key;
    sampler.OnPlatformEvent(e, queue, 0.0, &fake);
    e.type = PlatformEvent::Type::KeyUp;
    sampler.OnPlatformEvent(e, queue, 0.0, &fake);
  }
  std::string typed;
  for (const InputEvent& e : At(0.016))
    if (e.Kind == InputEvent::Character) typed += char(e.Code);
  EXPECT_EQ(typed, "1.5");
  EXPECT_TRUE(At(0.032).empty());
}

// A press told by its message and still held at the sample is typed once,
// and then repeats as any held key does.
TEST_F(SamplerTest, HeldKeyTypedByItsMessageIsNotTypedTwice) {
  PlatformEvent e;
  e.type = PlatformEvent::Type::KeyDown;
  e.key = keys::A;
  sampler.OnPlatformEvent(e, queue, 0.0, &fake);
  fake.SetKeyDown(keys::A, true);
  auto first = Drain(queue);
  auto sampled = At(0.016);
  first.insert(first.end(), sampled.begin(), sampled.end());
  EXPECT_EQ(CountChars(first, keys::A), 1);
  EXPECT_EQ(CountChars(At(0.3), keys::A), 0);
  EXPECT_GE(CountChars(At(0.5), keys::A), 1) << "the repeat starts 0.4 s after the press";
}

// Shift pressed just before a letter within one frame gives the capital.
TEST_F(SamplerTest, ShiftByMessageAppliesToTheNextKey) {
  PlatformEvent e;
  e.type = PlatformEvent::Type::KeyDown;
  e.key = keys::Shift;
  sampler.OnPlatformEvent(e, queue, 0.0, &fake);
  e.key = keys::A + 1;
  sampler.OnPlatformEvent(e, queue, 0.0, &fake);
  int code = 0;
  for (const InputEvent& ev : Drain(queue))
    if (ev.Kind == InputEvent::Character) code = ev.Code;
  EXPECT_EQ(code, 'B');
}

TEST(InputEvents, WheelAndMotionFields) {
  InputSampler s;
  EventQueue q;
  PlatformEvent w;
  w.type = PlatformEvent::Type::Wheel;
  w.wheelDelta = -240;
  w.x = 5, w.y = 6;
  s.OnPlatformEvent(w, q, 0);
  PlatformEvent m;
  m.type = PlatformEvent::Type::MouseMove;
  m.x = 100, m.y = 50;
  s.OnPlatformEvent(m, q, 0);
  m.x = 103, m.y = 40;
  s.OnPlatformEvent(m, q, 0);
  PlatformEvent b;
  b.type = PlatformEvent::Type::ButtonDown;
  b.key = keys::RightButton;
  b.x = 7, b.y = 8;
  b.doubleClick = true;
  s.OnPlatformEvent(b, q, 0);
  auto v = Drain(q);
  ASSERT_EQ(v.size(), 4u);
  EXPECT_EQ(v[0].Kind, 1);
  EXPECT_EQ(v[0].Key, keys::WheelDown);
  EXPECT_FLOAT_EQ(v[0].wheel, -2.0f);
  EXPECT_EQ(v[1].Kind, 2);
  EXPECT_FLOAT_EQ(v[1].dx, 0) << "the first motion has none";
  EXPECT_FLOAT_EQ(v[1].dy, 0);
  EXPECT_FLOAT_EQ(v[2].dx, 3);
  EXPECT_FLOAT_EQ(v[2].dy, 10) << "dy grows upwards";
  EXPECT_FLOAT_EQ(v[2].x, 103);
  EXPECT_EQ(v[3].Key, keys::RightButton);
  EXPECT_EQ(v[3].DoubleClick, 1);
  EXPECT_FLOAT_EQ(v[3].x, 7);
}
