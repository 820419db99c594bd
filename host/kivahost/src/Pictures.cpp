#include "Pictures.h"

#include "Console.h"
#include "Envelopes.h"
#include "Failure.h"
#include "JsonText.h"
#include "Naming.h"
#include "OpenedFile.h"
#include "OutputFile.h"
#include "PlainCause.h"
#include "PreviewPainting.h"
#include "TimeAxis.h"

#include <noxui/ui/Application.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include <QBuffer>
#include <QFont>
#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cstdlib>
#include <string>

#include <iostream>
#include <memory>

namespace kivahost {

namespace {

// The plug-in's pixels are B, G, R, A bytes: QImage's ARGB32 on a little-endian machine.
QImage ToImage(const std::vector<std::uint8_t>& pixels, int width, int height) {
  return QImage(pixels.data(), width, height, width * 4, QImage::Format_ARGB32).copy();
}

// Encodes the picture as PNG into the output and puts it in place.
void SavePng(const QImage& picture, OutputFile& output) {
  QByteArray png;
  QBuffer buffer(&png);
  buffer.open(QIODevice::WriteOnly);
  if (!picture.save(&buffer, "PNG")) throw OutputError("the picture could not be encoded as PNG");
  output.Write(png.constData(), static_cast<std::size_t>(png.size()));
  output.Commit();
}

QString Facts(const std::string& path, const OpenedFile& file) {
  const HostFormat& format = file.Format();
  const std::string name = InputName(path);
  QString text = QString::fromStdString(name.substr(name.find_last_of('/') + 1)) + "   " +
                 QString::fromStdString(file.Open().description);
  if (!format.labels.empty()) {
    text +=
        QString("   %1 ch (%2)  %3 Hz  %4 s")
            .arg(format.labels.size())
            .arg(QString::fromStdString(ChannelSetName(format.labels)))
            .arg(format.sampleRate)
            .arg(format.sampleRate > 0 ? static_cast<double>(format.sampleCount) / format.sampleRate
                                       : 0,
                 0, 'f', 2);
  }
  const VideoStreamFacts& video = format.video.facts;
  if (video.streamCount > 0) {
    text += QString("   video %1x%2, %3 frames at %4 fps")
                .arg(video.width)
                .arg(video.height)
                .arg(video.frameCount)
                .arg(video.frameRate, 0, 'f', 3);
  }
  return text;
}

}  // namespace

int RunFrame(const PlugIn& plugIn, const std::string& path, int index, int width, int height,
             const std::string& output, bool json) {
  try {
    OutputFile out(output, {path});
    OpenedFile file(plugIn, path);
    const VideoStreamFacts& video = file.Format().video.facts;
    if (width == 0 || height == 0) {
      width = video.width;
      height = video.height;
    }
    std::vector<std::uint8_t> pixels;
    if (const int status = file.ReadFrame(index, width, height, pixels); status != 0) {
      return Report({"frame " + std::to_string(index) + " of " + path + " at " +
                         std::to_string(width) + "x" + std::to_string(height) + " failed",
                     status,
                     {},
                     FrameCause(video, index, width, height)},
                    json);
    }
    // Encoding a picture needs no application object (and none of its platform set-up).
    SavePng(ToImage(pixels, width, height), out);
    if (json) {
      Results() << JsonText(nlohmann::ordered_json{{"input", InputName(path)},
                                                   {"output", output},
                                                   {"format", "PNG"},
                                                   {"index", index},
                                                   {"width", width},
                                                   {"height", height},
                                                   {"bytes", out.CommittedSize()}})
                << '\n';
    } else {
      Summary() << "Wrote frame " << index << " at " << width << "x" << height << " to "
                << out.Name() << '\n';
    }
    return 0;
  } catch (const PlugInError& error) {
    return ReportFailure(error, path, json);
  } catch (const OutputError& error) {
    return ReportOutputFailure(output, error, json);
  }
}

int RunPreview(const PlugIn& plugIn, const std::string& path, const std::string& output,
               LevelScale scale) {
  try {
    OutputFile out(output, {path});
    OpenedFile file(plugIn, path);
    noxui::ui::EnsureApplication();
    constexpr int kWidth = 1200;
    constexpr int kMargin = 12;
    constexpr int kHeader = 36;
    constexpr int kLane = 96;
    constexpr int kLaneGap = 8;
    constexpr int kAxis = 26;
    constexpr int kFrames = 6;
    constexpr int kStamp = 18;
    // Labels of the time axis are at most "0:00:00.000" wide; this keeps them well apart.
    constexpr int kTickSpacing = 80;
    const HostFormat& format = file.Format();
    const auto channels = static_cast<int>(format.labels.size());
    const VideoStreamFacts& video = format.video.facts;
    const int thumbWidth = (kWidth - kMargin * (kFrames + 1)) / kFrames;
    const int thumbHeight = video.streamCount > 0 && video.width > 0
                                ? std::max(1, thumbWidth * video.height / video.width)
                                : 0;
    const int lanesHeight = channels > 0 ? channels * (kLane + kLaneGap) + kAxis : 0;
    const int strip = thumbHeight > 0 ? thumbHeight + kStamp + kMargin : 0;
    const int height = kHeader + lanesHeight + strip + kMargin;

    QImage picture(kWidth, height, QImage::Format_ARGB32);
    picture.fill(QColor(250, 250, 248));
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(QFont("DejaVu Sans", 10));
    painter.setPen(QColor(30, 30, 30));
    painter.drawText(QRect(kMargin, 0, kWidth - 2 * kMargin, kHeader),
                     Qt::AlignVCenter | Qt::AlignLeft, Facts(path, file));

    const int plotLeft = kMargin + kLaneGutter;
    const int plotWidth = kWidth - kMargin - plotLeft;
    const double duration =
        format.sampleRate > 0 ? static_cast<double>(format.sampleCount) / format.sampleRate : 0;
    const TimeAxis axis = ChooseTimeAxis(duration, plotWidth, kTickSpacing);
    const auto envelopes = Envelopes(file, plotWidth);
    for (int c = 0; c < channels; ++c) {
      const QRect lane(plotLeft, kHeader + c * (kLane + kLaneGap), plotWidth, kLane);
      // One channel is mono whatever its container calls it, as in the probe; a channel without
      // a label among several is named by its number.
      const std::uint32_t label = format.labels[static_cast<std::size_t>(c)];
      const QString name = channels == 1 ? QString("mono")
                           : label != 0  ? QString::fromStdString(LabelName(label))
                                         : QString("ch %1").arg(c + 1);
      PaintLane(painter, lane, name, scale, envelopes[static_cast<std::size_t>(c)], axis, duration);
    }
    if (channels > 0) {
      PaintTimeAxis(painter,
                    QRect(plotLeft, kHeader + channels * (kLane + kLaneGap), plotWidth, kAxis),
                    axis, duration);
    }
    if (thumbHeight > 0 && video.frameCount > 0) {
      const int top = kHeader + lanesHeight;
      // Under each frame its number and time, written as the axis writes times (to the
      // millisecond, as a clock where the file is a minute long or more).
      const double videoDuration = video.frameRate > 0 ? video.frameCount / video.frameRate : 0;
      const double longest = std::max(duration, videoDuration);
      for (int i = 0; i < kFrames; ++i) {
        const int index = kFrames > 1 ? i * (video.frameCount - 1) / (kFrames - 1) : 0;
        std::vector<std::uint8_t> pixels;
        const int left = kMargin + i * (thumbWidth + kMargin);
        if (file.ReadFrame(index, thumbWidth, thumbHeight, pixels) == 0) {
          painter.drawImage(left, top, ToImage(pixels, thumbWidth, thumbHeight));
        }
        QString stamp = QString("#%1").arg(index);
        if (video.frameRate > 0) {
          stamp += "   " + QString::fromStdString(FormatTime(index / video.frameRate, 0.001,
                                                             longest >= 60, longest >= 3600));
        }
        painter.setPen(QColor(95, 95, 95));
        painter.setFont(QFont("DejaVu Sans", 8));
        painter.drawText(QRect(left, top + thumbHeight, thumbWidth, kStamp),
                         Qt::AlignHCenter | Qt::AlignVCenter, stamp);
      }
    }
    painter.end();
    SavePng(picture, out);
    Summary() << "Wrote the preview of " << InputName(path) << " to " << out.Name() << '\n';
    return 0;
  } catch (const PlugInError& error) {
    return ReportFailure(error, path, false);
  } catch (const OutputError& error) {
    return ReportOutputFailure(output, error, false);
  }
}

}  // namespace kivahost
