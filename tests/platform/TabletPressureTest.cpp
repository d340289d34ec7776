// The tablet's valuator range becomes pressure levels: ends of the range,
// scaling in between, clamping outside, ranges that do not start at zero and
// ranges that make no sense. No device is needed.
#include <gtest/gtest.h>

#include "platform/TabletPressure.h"

TEST(TabletValuatorMapping, EndsAndMiddleOfTheRange) {
  EXPECT_EQ(ValuatorToLevel(0, 0, 2047, kTabletLevels), 0);
  EXPECT_EQ(ValuatorToLevel(2047, 0, 2047, kTabletLevels), kTabletLevels);
  EXPECT_EQ(ValuatorToLevel(1023.5, 0, 2047, kTabletLevels), kTabletLevels / 2);
  // A device with 8192 steps and one with 256 agree on the same share.
  EXPECT_EQ(ValuatorToLevel(2048, 0, 8192, 1024), ValuatorToLevel(64, 0, 256, 1024));
}

TEST(TabletValuatorMapping, RangesAwayFromZero) {
  EXPECT_EQ(ValuatorToLevel(-1000, -1000, 1000, 100), 0);
  EXPECT_EQ(ValuatorToLevel(0, -1000, 1000, 100), 50);
  EXPECT_EQ(ValuatorToLevel(500, -1000, 1000, 100), 75);
  EXPECT_EQ(ValuatorToLevel(150, 100, 200, 10), 5);
}

TEST(TabletValuatorMapping, OutsideTheRangeClamps) {
  EXPECT_EQ(ValuatorToLevel(-5, 0, 1000, 1024), 0);
  EXPECT_EQ(ValuatorToLevel(1e9, 0, 1000, 1024), 1024);
  EXPECT_EQ(ValuatorToLevel(99, 100, 200, 1024), 0);
}

TEST(TabletValuatorMapping, DegenerateRangesAndLevels) {
  // An empty or inverted range says nothing about force: full on contact.
  EXPECT_EQ(ValuatorToLevel(3, 5, 5, 1024), 1024);
  EXPECT_EQ(ValuatorToLevel(3, 10, 0, 1024), 1024);
  EXPECT_EQ(ValuatorToLevel(0.5, 0, 1, 0), 0);
  EXPECT_EQ(ValuatorToLevel(0.5, 0, 1, -4), 0);
}

TEST(TabletReaderOpening, NoDisplayMeansNoReader) {
  EXPECT_EQ(OpenX11Tablet(nullptr), nullptr);
}
