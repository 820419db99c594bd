#include "PreviewPainting.h"

#include <QColor>
#include <QFont>

#include <algorithm>
#include <cmath>

namespace kivahost {

namespace {

const QColor kLaneBackground(255, 255, 255);
const QColor kLaneEdge(200, 200, 200);
const QColor kGrid(234, 234, 234);
const QColor kCentreLine(185, 185, 185);
const QColor kWave(40, 90, 170);
const QColor kAxis(60, 60, 60);
const QColor kLabel(95, 95, 95);
const QColor kName(30, 30, 30);
constexpr int kTickLength = 4;

QFont Font(int pixelSize, bool bold = false) {
  QFont font("DejaVu Sans");
  font.setPixelSize(pixelSize);
  font.setBold(bold);
  return font;
}

// The row of a level position in `lane`: its top edge for 1, its bottom edge for -1.
int PositionToY(double position, const QRect& lane) {
  const double half = (lane.height() - 1) / 2.0;
  return lane.top() + static_cast<int>(std::lround(half - position * half));
}

}  // namespace

int TimeToX(double seconds, double duration, int left, int width) {
  return left + static_cast<int>(std::lround(seconds / duration * width));
}

void PaintLane(QPainter& painter, const QRect& lane, const QString& channelName, LevelScale scale,
               const std::vector<std::pair<float, float>>& envelope, const TimeAxis& axis,
               double duration) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing, false);
  painter.fillRect(lane, kLaneBackground);

  // Faint lines at the time and level ticks, so both scales can be read anywhere in the lane.
  painter.setPen(kGrid);
  for (const TimeTick& tick : axis.ticks) {
    const int x = TimeToX(tick.seconds, duration, lane.left(), lane.width());
    painter.drawLine(x, lane.top(), x, lane.bottom());
  }
  const std::vector<LevelTick> ticks = LevelTicks(scale);
  for (const LevelTick& tick : ticks) {
    const int y = PositionToY(tick.position, lane);
    painter.setPen(tick.position == 0 ? kCentreLine : kGrid);
    painter.drawLine(lane.left(), y, lane.right(), y);
  }

  painter.setPen(kWave);
  for (int x = 0; x < lane.width() && x < static_cast<int>(envelope.size()); ++x) {
    const auto [low, high] = envelope[static_cast<std::size_t>(x)];
    painter.drawLine(lane.left() + x, PositionToY(LevelPosition(scale, high), lane),
                     lane.left() + x, PositionToY(LevelPosition(scale, low), lane));
  }
  painter.setPen(kLaneEdge);
  painter.drawRect(lane.adjusted(0, 0, -1, -1));

  // The level ticks and their labels, right-aligned against the lane; the labels at the edges
  // stay inside the lane's height.
  painter.setFont(Font(10));
  const int labelHeight = painter.fontMetrics().height();
  for (const LevelTick& tick : ticks) {
    const int y = PositionToY(tick.position, lane);
    painter.setPen(kAxis);
    painter.drawLine(lane.left() - kTickLength, y, lane.left() - 1, y);
    if (tick.label.empty()) continue;
    const int top = std::clamp(y - labelHeight / 2, lane.top(), lane.bottom() + 1 - labelHeight);
    painter.setPen(kLabel);
    painter.drawText(
        QRect(lane.left() - kLaneGutter, top, kLaneGutter - kTickLength - 3, labelHeight),
        Qt::AlignRight | Qt::AlignVCenter, QString::fromStdString(tick.label));
  }

  // The channel's name, and the scale's unit under it where it has one.
  const QRect nameArea(lane.left() - kLaneGutter, lane.top(), 30, lane.height());
  painter.setPen(kName);
  // Long names ("mono", "ch 12") get a smaller font rather than lose letters.
  for (int size = 13; size >= 8; --size) {
    painter.setFont(Font(size, true));
    if (painter.fontMetrics().horizontalAdvance(channelName) <= nameArea.width()) break;
  }
  painter.drawText(nameArea, Qt::AlignLeft | Qt::AlignVCenter, channelName);
  if (scale == LevelScale::kDbfs) {
    painter.setPen(kLabel);
    painter.setFont(Font(9));
    painter.drawText(nameArea.adjusted(0, 26, 0, 0), Qt::AlignLeft | Qt::AlignVCenter, "dBFS");
  }
  painter.restore();
}

void PaintTimeAxis(QPainter& painter, const QRect& area, const TimeAxis& axis, double duration) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing, false);
  painter.setPen(kAxis);
  painter.drawLine(area.left(), area.top(), area.left() + area.width(), area.top());
  painter.setFont(Font(11));
  for (const TimeTick& tick : axis.ticks) {
    const int x = TimeToX(tick.seconds, duration, area.left(), area.width());
    painter.setPen(kAxis);
    painter.drawLine(x, area.top(), x, area.top() + kTickLength);
    // Centred under its tick, but kept under the lanes: the first label starts at its tick, the
    // last ends at it.
    const QString text = QString::fromStdString(tick.label);
    const int width = painter.fontMetrics().horizontalAdvance(text);
    const int left = std::clamp(x - width / 2, area.left(), area.left() + area.width() - width);
    painter.setPen(kLabel);
    painter.drawText(
        QRect(left, area.top() + kTickLength + 1, width, area.height() - kTickLength - 1),
        Qt::AlignLeft | Qt::AlignTop, text);
  }
  painter.restore();
}

}  // namespace kivahost
