#include "TimeAxis.h"

#include <cmath>
#include <cstdio>

namespace kivahost {

namespace {

// Steps below ten seconds: 1, 2, 5 x 10^n from a tenth of a millisecond.
constexpr double kDecimalMantissas[] = {1, 2, 5};
constexpr int kSmallestExponent = -4;
// From ten seconds on, steps a clock reads; past the last, the step doubles.
constexpr double kClockSteps[] = {10,   20,   30,   60,   120,   300,   600,
                                  1200, 1800, 3600, 7200, 18000, 36000, 72000};

// The decimals a label needs for a step: none from a second on, one for 0.5 s, three for 1 ms.
int Decimals(double step) {
  int decimals = 0;
  // The tolerance keeps 0.1 (not exactly a tenth in binary) at one decimal.
  while (decimals < 9 && std::abs(step * std::pow(10.0, decimals) -
                                  std::round(step * std::pow(10.0, decimals))) > 1e-6) {
    ++decimals;
  }
  return decimals;
}

bool FarEnoughApart(double step, double duration, int width, int minimumSpacing) {
  return step / duration * width >= minimumSpacing;
}

double ChooseStep(double duration, int width, int minimumSpacing) {
  for (int exponent = kSmallestExponent; exponent < 1; ++exponent) {
    for (const double mantissa : kDecimalMantissas) {
      const double step = mantissa * std::pow(10.0, exponent);
      if (FarEnoughApart(step, duration, width, minimumSpacing)) return step;
    }
  }
  double step = 0;
  for (const double clockStep : kClockSteps) {
    step = clockStep;
    if (FarEnoughApart(step, duration, width, minimumSpacing)) return step;
  }
  while (!FarEnoughApart(step, duration, width, minimumSpacing)) step *= 2;
  return step;
}

}  // namespace

TimeAxis ChooseTimeAxis(double duration, int width, int minimumSpacing) {
  TimeAxis axis;
  if (!(duration > 0) || width <= 0) return axis;
  axis.step = ChooseStep(duration, width, minimumSpacing);
  axis.clock = duration >= 60;
  axis.hours = duration >= 3600;
  // Counted in whole steps, so that 0.1 s steps land on 0.3 s and not on 0.30000000000000004.
  const auto count = static_cast<long long>(std::floor(duration / axis.step + 1e-9));
  for (long long k = 0; k <= count; ++k) {
    const double seconds = static_cast<double>(k) * axis.step;
    axis.ticks.push_back({seconds, FormatTime(seconds, axis.step, axis.clock, axis.hours)});
  }
  return axis;
}

std::string FormatTime(double seconds, double step, bool clock, bool hours) {
  const int decimals = Decimals(step);
  long long scale = 1;
  for (int i = 0; i < decimals; ++i) scale *= 10;
  // In whole units of the last decimal, so that the carry from 59.95 s to 1:00.0 is exact.
  const auto units = static_cast<long long>(std::floor(seconds * static_cast<double>(scale) + 0.5));
  const long long whole = units / scale;
  const long long fraction = units % scale;
  // The decimals as digits, with their leading zeros: ".05".
  std::string decimalPart;
  if (decimals > 0) {
    decimalPart = std::to_string(fraction);
    decimalPart.insert(0, static_cast<std::size_t>(decimals) - decimalPart.size(), '0');
    decimalPart.insert(0, 1, '.');
  }
  char text[64];
  if (!clock) {
    std::snprintf(text, sizeof text, "%lld", whole);
    return text + decimalPart + " s";
  }
  if (hours) {
    std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60,
                  whole % 60);
  } else {
    std::snprintf(text, sizeof text, "%lld:%02lld", whole / 60, whole % 60);
  }
  return text + decimalPart;
}

}  // namespace kivahost
