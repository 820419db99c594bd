#include "LevelScale.h"

#include <algorithm>
#include <cmath>

namespace kivahost {

namespace {

constexpr double kDbfsTickStep = 20;

}  // namespace

double LevelPosition(LevelScale scale, float value) {
  if (scale == LevelScale::kLinear) return std::clamp(static_cast<double>(value), -1.0, 1.0);
  const double magnitude = std::abs(static_cast<double>(value));
  if (magnitude == 0) return 0;
  const double height = std::clamp(1 - 20 * std::log10(magnitude) / kDbfsFloor, 0.0, 1.0);
  return value < 0 ? -height : height;
}

std::vector<LevelTick> LevelTicks(LevelScale scale) {
  if (scale == LevelScale::kLinear) return {{1, "+1"}, {0, "0"}, {-1, "-1"}};
  std::vector<LevelTick> upper;
  for (double level = 0; level > kDbfsFloor; level -= kDbfsTickStep) {
    upper.push_back({1 - level / kDbfsFloor, std::to_string(static_cast<int>(level))});
  }
  std::vector<LevelTick> ticks = upper;
  ticks.push_back({0, std::to_string(static_cast<int>(kDbfsFloor))});
  for (auto it = upper.rbegin(); it != upper.rend(); ++it) ticks.push_back({-it->position, ""});
  return ticks;
}

}  // namespace kivahost
