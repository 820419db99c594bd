// The level scale of a preview's waveform lanes: where a sample's value is drawn in its lane,
// and the labelled ticks beside it.
#pragma once

#include <string>
#include <vector>

namespace kivahost {

enum class LevelScale {
  kLinear,  // the value itself: full scale at the lane's edges, silence at its centre line
  kDbfs,    // the level in dBFS: 0 dBFS at the edges, kDbfsFloor and below at the centre line
};

// The lowest level a dBFS lane shows; quieter sound is drawn on the centre line.
constexpr double kDbfsFloor = -60;

// Where `value` is drawn, from -1 (the lane's bottom edge) through 0 (its centre line) to 1 (its
// top edge). Negative values are drawn below the centre line on both scales, so a dBFS lane is
// the linear one with each half stretched by level.
double LevelPosition(LevelScale scale, float value);

struct LevelTick {
  double position = 0;  // as LevelPosition gives it
  std::string label;
};

// The ticks beside a lane, from its top edge to its bottom edge: "+1", "0", "-1" on the linear
// scale; 0, -20, -40 dBFS on each half of a dBFS lane and the floor at its centre line. The
// lower half's dBFS ticks mirror the upper half's and have no labels: a lane is too short for
// seven, and they would repeat the upper three.
std::vector<LevelTick> LevelTicks(LevelScale scale);

}  // namespace kivahost
