// Painting a preview's waveform lanes and the time axis under them.
#pragma once

#include "LevelScale.h"
#include "TimeAxis.h"

#include <QPainter>
#include <QRect>
#include <QString>

#include <utility>
#include <vector>

namespace kivahost {

// Widths of what is drawn to the left of a lane: its channel's name, then its level labels.
constexpr int kLaneGutter = 64;

// One channel's lane: `lane` is the waveform's area, one column per stretch of `envelope`;
// the channel's name and the level ticks go into the gutter to its left, the time ticks of
// `axis` (over `duration` seconds) across it as faint lines.
void PaintLane(QPainter& painter, const QRect& lane, const QString& channelName, LevelScale scale,
               const std::vector<std::pair<float, float>>& envelope, const TimeAxis& axis,
               double duration);

// The time axis along the top edge of `area`, as wide as the lanes above it: a line, a tick at
// each of `axis`'s times and its label under it.
void PaintTimeAxis(QPainter& painter, const QRect& area, const TimeAxis& axis, double duration);

// The x coordinate of `seconds` in an area `left` .. `left + width` that spans `duration`.
int TimeToX(double seconds, double duration, int left, int width);

}  // namespace kivahost
