// The level scales of kivahost's preview lanes. Positions are worked out by hand: on the dBFS
// scale a level L is drawn at 1 - L / -60 of the half lane.

#include "LevelScale.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace kivahost {
namespace {

TEST(LevelScale, LinearIsTheValueWithinFullScale) {
  EXPECT_DOUBLE_EQ(LevelPosition(LevelScale::kLinear, 0.5f), 0.5);
  EXPECT_DOUBLE_EQ(LevelPosition(LevelScale::kLinear, -0.25f), -0.25);
  EXPECT_DOUBLE_EQ(LevelPosition(LevelScale::kLinear, 0.0f), 0.0);
  // Past full scale (float sources can be) stays at the edge.
  EXPECT_DOUBLE_EQ(LevelPosition(LevelScale::kLinear, 1.5f), 1.0);
  EXPECT_DOUBLE_EQ(LevelPosition(LevelScale::kLinear, -2.0f), -1.0);
}

TEST(LevelScale, DbfsStretchesQuietSound) {
  // 0 dBFS at the edge, -20 dBFS (0.1) two thirds up, -50 dBFS a sixth up, -60 at the centre.
  EXPECT_NEAR(LevelPosition(LevelScale::kDbfs, 1.0f), 1.0, 1e-6);
  EXPECT_NEAR(LevelPosition(LevelScale::kDbfs, 0.1f), 2.0 / 3, 1e-6);
  EXPECT_NEAR(LevelPosition(LevelScale::kDbfs, static_cast<float>(std::pow(10.0, -50.0 / 20))),
              1.0 / 6, 1e-6);
  EXPECT_NEAR(LevelPosition(LevelScale::kDbfs, 0.001f), 0.0, 1e-6);
  // Negative values below the centre line, quieter than the floor on it, silence on it.
  EXPECT_NEAR(LevelPosition(LevelScale::kDbfs, -0.1f), -2.0 / 3, 1e-6);
  EXPECT_DOUBLE_EQ(LevelPosition(LevelScale::kDbfs, 0.0001f), 0.0);
  EXPECT_DOUBLE_EQ(LevelPosition(LevelScale::kDbfs, 0.0f), 0.0);
  EXPECT_DOUBLE_EQ(LevelPosition(LevelScale::kDbfs, 2.0f), 1.0);
}

TEST(LevelScale, LinearTicks) {
  const std::vector<LevelTick> ticks = LevelTicks(LevelScale::kLinear);
  ASSERT_EQ(ticks.size(), 3u);
  EXPECT_EQ(ticks[0].label, "+1");
  EXPECT_DOUBLE_EQ(ticks[0].position, 1);
  EXPECT_EQ(ticks[1].label, "0");
  EXPECT_DOUBLE_EQ(ticks[1].position, 0);
  EXPECT_EQ(ticks[2].label, "-1");
  EXPECT_DOUBLE_EQ(ticks[2].position, -1);
}

TEST(LevelScale, DbfsTicksEveryTwentyDecibels) {
  const std::vector<LevelTick> ticks = LevelTicks(LevelScale::kDbfs);
  const std::vector<double> positions = {1, 2.0 / 3, 1.0 / 3, 0, -1.0 / 3, -2.0 / 3, -1};
  const std::vector<std::string> labels = {"0", "-20", "-40", "-60", "", "", ""};
  ASSERT_EQ(ticks.size(), positions.size());
  for (std::size_t i = 0; i < ticks.size(); ++i) {
    EXPECT_NEAR(ticks[i].position, positions[i], 1e-9) << i;
    EXPECT_EQ(ticks[i].label, labels[i]) << i;
  }
}

}  // namespace
}  // namespace kivahost
