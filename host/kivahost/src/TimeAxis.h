// The time axis under a preview's waveforms: where its labelled ticks go and how they read.
#pragma once

#include <string>
#include <vector>

namespace kivahost {

struct TimeTick {
  double seconds = 0;
  std::string label;
};

struct TimeAxis {
  double step = 0;     // seconds between two ticks
  bool clock = false;  // labels read as a clock (m:ss, or h:mm:ss from an hour on)
  bool hours = false;
  std::vector<TimeTick> ticks;  // from 0 to the last whole step within the duration
};

// The ticks of `duration` seconds drawn `width` pixels wide: the smallest step whose ticks are at
// least `minimumSpacing` pixels apart, among 1, 2 and 5 times a power of ten below ten seconds,
// and from there the steps a clock reads (10, 20, 30 s, 1, 2, 5, 10, 20, 30 min, 1, 2, 5, 10,
// 20 h, then doubling). Durations of a minute or more are labelled as a clock. No ticks for a
// duration or width of 0.
TimeAxis ChooseTimeAxis(double duration, int width, int minimumSpacing);

// `seconds` written with as many decimals as `step` needs: "2.5 s", or "1:05.5" (or "1:01:05")
// as a clock. Halves are rounded up.
std::string FormatTime(double seconds, double step, bool clock, bool hours);

}  // namespace kivahost
