// The progress line: how far, elapsed time, speed against real time and time left.

#include "Progress.h"

#include <gtest/gtest.h>

namespace {

TEST(ProgressLine, HalfWayAfterTwoSecondsOfTenSecondsOfSound) {
  // 50 of 100 frames at 10 Hz: 5 s of 10 s done in 2 s, so 2.5 times real time and 2 s to go.
  EXPECT_EQ(kivahost::Progress::Line("Exporting", 50, 100, 10, 2.0),
            "Exporting  50%  0:05.0 of 0:10.0  elapsed 2.0 s  2.5x real time  2 s left");
}

TEST(ProgressLine, PositionsPastAMinuteReadAsMinutesAndSeconds) {
  // 3,960,000 of 9,504,000 frames at 48 kHz: 1:22.5 of 3:18.0, 41.66 %; after 3 s, 27.5x and
  // 3 x (1 - f) / f = 4.2 s, shown as 5 s left (rounded up: never promise too little).
  EXPECT_EQ(kivahost::Progress::Line("Decoding", 3960000, 9504000, 48000, 3.0),
            "Decoding  41%  1:22.5 of 3:18.0  elapsed 3.0 s  27.5x real time  5 s left");
}

TEST(ProgressLine, NoSpeedOrTimeLeftBeforeTheyMeanAnything) {
  EXPECT_EQ(kivahost::Progress::Line("Exporting", 0, 100, 10, 0.0),
            "Exporting   0%  0:00.0 of 0:10.0  elapsed 0.0 s");
  EXPECT_EQ(kivahost::Progress::Line("Exporting", 10, 100, 10, 0.1),
            "Exporting  10%  0:01.0 of 0:10.0  elapsed 0.1 s");
}

TEST(ProgressLine, TheEndIsAHundredPercentAndNothingLeft) {
  EXPECT_EQ(kivahost::Progress::Line("Exporting", 100, 100, 10, 4.0),
            "Exporting 100%  0:10.0 of 0:10.0  elapsed 4.0 s  2.5x real time  0 s left");
}

}  // namespace
