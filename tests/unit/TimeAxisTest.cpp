// The time axis of kivahost's previews: which step its ticks take and how their labels read.
// Every expectation is worked out by hand from the duration, the width and the spacing.

#include "TimeAxis.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kivahost {
namespace {

std::vector<std::string> Labels(const TimeAxis& axis) {
  std::vector<std::string> labels;
  for (const TimeTick& tick : axis.ticks) labels.push_back(tick.label);
  return labels;
}

// 3.5 s over 1112 px is 317.7 px a second: 0.2 s is 63.5 px (under 80), 0.5 s is 158.9 px.
TEST(TimeAxis, HalfSecondsForAFewSeconds) {
  const TimeAxis axis = ChooseTimeAxis(3.5, 1112, 80);
  EXPECT_DOUBLE_EQ(axis.step, 0.5);
  EXPECT_FALSE(axis.clock);
  EXPECT_EQ(Labels(axis), (std::vector<std::string>{"0.0 s", "0.5 s", "1.0 s", "1.5 s", "2.0 s",
                                                    "2.5 s", "3.0 s", "3.5 s"}));
  EXPECT_DOUBLE_EQ(axis.ticks[3].seconds, 1.5);
}

// 30 s over 1000 px: 2 s is 66.7 px, 5 s is 166.7 px.
TEST(TimeAxis, FiveSecondsForHalfAMinute) {
  const TimeAxis axis = ChooseTimeAxis(30, 1000, 80);
  EXPECT_DOUBLE_EQ(axis.step, 5);
  EXPECT_EQ(Labels(axis),
            (std::vector<std::string>{"0 s", "5 s", "10 s", "15 s", "20 s", "25 s", "30 s"}));
}

// The last tick is the last whole step within the duration: 3.7 s ends at 3.5 s.
TEST(TimeAxis, StopsAtTheLastWholeStep) {
  const TimeAxis axis = ChooseTimeAxis(3.7, 1112, 80);
  EXPECT_DOUBLE_EQ(axis.step, 0.5);
  ASSERT_EQ(axis.ticks.size(), 8u);
  EXPECT_EQ(axis.ticks.back().label, "3.5 s");
}

// 20 ms over 1000 px is 50 px a millisecond: 1 ms is too close, 2 ms is 100 px.
TEST(TimeAxis, MillisecondsForAShortSound) {
  const TimeAxis axis = ChooseTimeAxis(0.02, 1000, 80);
  EXPECT_DOUBLE_EQ(axis.step, 0.002);
  ASSERT_EQ(axis.ticks.size(), 11u);
  EXPECT_EQ(axis.ticks[0].label, "0.000 s");
  EXPECT_EQ(axis.ticks[3].label, "0.006 s");
  EXPECT_EQ(axis.ticks[10].label, "0.020 s");
}

// Tenths stay tenths: 0.3 s is three steps of 0.1, not 0.30000000000000004.
// 1.2 s over 1000 px: 0.05 s is 41.7 px, 0.1 s is 83.3 px.
TEST(TimeAxis, TenthsAreWrittenExactly) {
  const TimeAxis axis = ChooseTimeAxis(1.2, 1000, 80);
  EXPECT_DOUBLE_EQ(axis.step, 0.1);
  ASSERT_EQ(axis.ticks.size(), 13u);
  EXPECT_EQ(axis.ticks[3].label, "0.3 s");
  EXPECT_EQ(axis.ticks[12].label, "1.2 s");
}

// Three minutes over 1000 px is 5.6 px a second: 10 s is 55.6 px, 20 s is 111 px; a clock
// from a minute on.
TEST(TimeAxis, ClockForMinutes) {
  const TimeAxis axis = ChooseTimeAxis(180, 1000, 80);
  EXPECT_DOUBLE_EQ(axis.step, 20);
  EXPECT_TRUE(axis.clock);
  EXPECT_FALSE(axis.hours);
  EXPECT_EQ(Labels(axis), (std::vector<std::string>{"0:00", "0:20", "0:40", "1:00", "1:20", "1:40",
                                                    "2:00", "2:20", "2:40", "3:00"}));
}

// Five minutes over 1112 px is 3.7 px a second: 20 s is 74 px, 30 s is 111 px.
TEST(TimeAxis, HalfMinutesForFiveMinutes) {
  const TimeAxis axis = ChooseTimeAxis(300, 1112, 80);
  EXPECT_DOUBLE_EQ(axis.step, 30);
  ASSERT_EQ(axis.ticks.size(), 11u);
  EXPECT_EQ(axis.ticks[1].label, "0:30");
  EXPECT_EQ(axis.ticks[10].label, "5:00");
}

// Two hours over 1000 px: 5 min is 41.7 px, 10 min is 83.3 px; hours in every label.
TEST(TimeAxis, HoursForALongRecording) {
  const TimeAxis axis = ChooseTimeAxis(7200, 1000, 80);
  EXPECT_DOUBLE_EQ(axis.step, 600);
  EXPECT_TRUE(axis.hours);
  ASSERT_EQ(axis.ticks.size(), 13u);
  EXPECT_EQ(axis.ticks[0].label, "0:00:00");
  EXPECT_EQ(axis.ticks[7].label, "1:10:00");
  EXPECT_EQ(axis.ticks[12].label, "2:00:00");
}

// Past the clock's steps the step doubles: 700000 s (194 h) over 100 px needs steps of at least
// 560000 s (155.6 h); 20 h doubled three times is 160 h (576000 s).
TEST(TimeAxis, DoublesPastTheLongestClockStep) {
  const TimeAxis axis = ChooseTimeAxis(700000, 100, 80);
  EXPECT_DOUBLE_EQ(axis.step, 576000);
  ASSERT_EQ(axis.ticks.size(), 2u);
  EXPECT_EQ(axis.ticks[1].label, "160:00:00");
}

TEST(TimeAxis, NothingToMarkWithoutDurationOrWidth) {
  EXPECT_TRUE(ChooseTimeAxis(0, 1000, 80).ticks.empty());
  EXPECT_TRUE(ChooseTimeAxis(3.5, 0, 80).ticks.empty());
}

TEST(TimeAxis, FrameTimesToTheMillisecond) {
  EXPECT_EQ(FormatTime(1.36, 0.001, false, false), "1.360 s");
  EXPECT_EQ(FormatTime(65.25, 0.001, true, false), "1:05.250");
  EXPECT_EQ(FormatTime(3725.5, 0.001, true, true), "1:02:05.500");
  // 59.9996 s rounds to the next minute, carried into the minutes.
  EXPECT_EQ(FormatTime(59.9996, 0.001, true, false), "1:00.000");
}

}  // namespace
}  // namespace kivahost
