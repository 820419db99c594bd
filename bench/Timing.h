// Wall-clock timing and order statistics shared by the benchmarks.
#pragma once

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

namespace bench {

using Clock = std::chrono::steady_clock;

inline double Seconds(Clock::time_point since) {
  return std::chrono::duration<double>(Clock::now() - since).count();
}

// The value below which `fraction` of the values lie (nearest rank).
inline double Percentile(std::vector<double> values, double fraction) {
  std::sort(values.begin(), values.end());
  return values[std::min(values.size() - 1, static_cast<std::size_t>(fraction * values.size()))];
}

inline double Median(std::vector<double> values) { return Percentile(std::move(values), 0.5); }

}  // namespace bench
