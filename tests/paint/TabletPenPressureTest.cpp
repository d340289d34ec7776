// A tablet reader as the pens' pressure source: levels map through the pen's
// curve, no contact is the mouse's full press, a failed read keeps the last
// pressure, and no reader at all is a mouse.
#include <gtest/gtest.h>

#include <vector>

#include "paint/GeneralPen.h"
#include "paint/TabletPenPressure.h"

namespace {
class ScriptedReader final : public TabletReader {
 public:
  explicit ScriptedReader(std::vector<int> levels) : levels_(std::move(levels)) {}
  bool Read(int& raw) override {
    if (next_ >= levels_.size()) return false;
    raw = levels_[next_++];
    return true;
  }
  int Levels() const override { return kTabletLevels; }
  std::string DeviceName() const override { return "scripted"; }

 private:
  std::vector<int> levels_;
  size_t next_ = 0;
};

TEST(TabletPenPressure, LevelsFollowThePenCurveAndZeroIsTheMouse) {
  GeneralPenSaver keep;
  ScriptedReader reader(std::vector<int>{256, 0, 1024});
  TabletPenPressure source(&reader);
  ASSERT_TRUE(source.HasTablet());
  GeneralPen::PenSensivity = 0.75f;  // exponent 2
  UpdatePenPressure(source, true);
  EXPECT_FLOAT_EQ(GeneralPen::PenPressure, MapPressure(256, kTabletLevels, GeneralPen::PenSensivity));
  EXPECT_NEAR(GeneralPen::PenPressure, 0.0625f, 1e-6f) << "the curve bends light touches down";
  EXPECT_FLOAT_EQ(GeneralPen::PrevPressure, GeneralPen::PenPressure);
  const float light = GeneralPen::PenPressure;
  UpdatePenPressure(source, false);
  EXPECT_FLOAT_EQ(GeneralPen::PenPressure, 1.f);
  EXPECT_FLOAT_EQ(GeneralPen::PrevPressure, light);
  UpdatePenPressure(source, false);
  EXPECT_FLOAT_EQ(GeneralPen::PenPressure, 1.f);
  // The device stops answering: the last pressure stays.
  GeneralPen::PenPressure = 0.4f;
  UpdatePenPressure(source, false);
  EXPECT_FLOAT_EQ(GeneralPen::PenPressure, 0.4f);
}

TEST(TabletPenPressure, WithoutATabletItIsTheMouse) {
  GeneralPenSaver keep;
  TabletPenPressure source(nullptr);
  EXPECT_FALSE(source.HasTablet());
  GeneralPen::PenPressure = 0.2f;
  UpdatePenPressure(source, true);
  EXPECT_FLOAT_EQ(GeneralPen::PenPressure, 1.f);
}
}  // namespace
