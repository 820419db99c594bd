#include "Pictures.h"

#include "Failure.h"
#include "Naming.h"
#include "OpenedFile.h"
#include "OutputFile.h"
#include "PlainCause.h"

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
  QString text = QString::fromStdString(path.substr(path.find_last_of('/') + 1)) + "   " +
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

// Lowest and highest sample of each of `columns` stretches of one channel.
std::vector<std::vector<std::pair<float, float>>> Envelopes(const OpenedFile& file, int columns) {
  const std::size_t channels = file.Format().labels.size();
  const std::int64_t length = file.Format().sampleCount;
  std::vector<std::vector<std::pair<float, float>>> envelopes(
      channels,
      std::vector<std::pair<float, float>>(static_cast<std::size_t>(columns), {0.0f, 0.0f}));
  if (channels == 0 || length <= 0) return envelopes;
  constexpr std::int64_t kBlock = 65536;
  std::vector<std::vector<float>> planes(channels, std::vector<float>(kBlock));
  std::vector<float*> buffers;
  for (auto& plane : planes) buffers.push_back(plane.data());
  for (std::int64_t position = 0; position < length; position += kBlock) {
    const std::int64_t count = std::min(kBlock, length - position);
    std::int64_t read = 0;
    if (file.Read(position, count, buffers, read) != 0) break;
    for (std::size_t c = 0; c < channels; ++c) {
      for (std::int64_t i = 0; i < count; ++i) {
        const auto column = static_cast<std::size_t>((position + i) * columns / length);
        auto& [low, high] = envelopes[c][column];
        low = std::min(low, planes[c][static_cast<std::size_t>(i)]);
        high = std::max(high, planes[c][static_cast<std::size_t>(i)]);
      }
    }
  }
  return envelopes;
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
      struct stat written {};
      ::stat(output.c_str(), &written);
      std::cout << nlohmann::ordered_json{{"input", path},           {"output", output},
                                          {"format", "PNG"},         {"index", index},
                                          {"width", width},          {"height", height},
                                          {"bytes", written.st_size}}
                       .dump(2)
                << '\n';
    } else {
      std::cout << "Wrote frame " << index << " at " << width << "x" << height << " to " << output
                << '\n';
    }
    return 0;
  } catch (const PlugInError& error) {
    return ReportFailure(error, path, json);
  } catch (const OutputError& error) {
    return ReportOutputFailure(output, error, json);
  }
}

int RunPreview(const PlugIn& plugIn, const std::string& path, const std::string& output) {
  try {
    OutputFile out(output, {path});
    OpenedFile file(plugIn, path);
    noxui::ui::EnsureApplication();
    constexpr int kWidth = 1200;
    constexpr int kMargin = 12;
    constexpr int kHeader = 36;
    constexpr int kLane = 70;
    constexpr int kFrames = 6;
    const std::size_t channels = file.Format().labels.size();
    const VideoStreamFacts& video = file.Format().video.facts;
    const int thumbWidth = (kWidth - kMargin * (kFrames + 1)) / kFrames;
    const int thumbHeight = video.streamCount > 0 && video.width > 0
                                ? std::max(1, thumbWidth * video.height / video.width)
                                : 0;
    const int strip = thumbHeight > 0 ? thumbHeight + kMargin : 0;
    const int height = kHeader + static_cast<int>(channels) * kLane + strip + kMargin;

    QImage picture(kWidth, height, QImage::Format_ARGB32);
    picture.fill(QColor(250, 250, 248));
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(QFont("DejaVu Sans", 10));
    painter.setPen(QColor(30, 30, 30));
    painter.drawText(QRect(kMargin, 0, kWidth - 2 * kMargin, kHeader),
                     Qt::AlignVCenter | Qt::AlignLeft, Facts(path, file));

    const int columns = kWidth - 2 * kMargin - 40;
    const auto envelopes = Envelopes(file, columns);
    for (std::size_t c = 0; c < channels; ++c) {
      const int top = kHeader + static_cast<int>(c) * kLane;
      const int middle = top + kLane / 2;
      painter.setPen(QColor(120, 120, 120));
      painter.drawText(QRect(kMargin, top, 36, kLane), Qt::AlignVCenter,
                       QString::fromStdString(LabelName(file.Format().labels[c])));
      painter.setPen(QColor(200, 200, 200));
      painter.drawLine(kMargin + 40, middle, kMargin + 40 + columns, middle);
      painter.setPen(QColor(40, 90, 170));
      for (int x = 0; x < columns; ++x) {
        const auto [low, high] = envelopes[c][static_cast<std::size_t>(x)];
        const int scale = kLane / 2 - 3;
        painter.drawLine(kMargin + 40 + x, middle - static_cast<int>(high * scale),
                         kMargin + 40 + x, middle - static_cast<int>(low * scale));
      }
    }
    if (thumbHeight > 0 && video.frameCount > 0) {
      const int top = kHeader + static_cast<int>(channels) * kLane;
      for (int i = 0; i < kFrames; ++i) {
        const int index = kFrames > 1 ? i * (video.frameCount - 1) / (kFrames - 1) : 0;
        std::vector<std::uint8_t> pixels;
        const int left = kMargin + i * (thumbWidth + kMargin);
        if (file.ReadFrame(index, thumbWidth, thumbHeight, pixels) == 0) {
          painter.drawImage(left, top, ToImage(pixels, thumbWidth, thumbHeight));
        }
        painter.setPen(QColor(255, 255, 255));
        painter.drawText(QRect(left + 4, top + 2, thumbWidth, 16), Qt::AlignLeft,
                         QString("#%1").arg(index));
      }
    }
    painter.end();
    SavePng(picture, out);
    std::cout << "Wrote the preview of " << path << " to " << output << '\n';
    return 0;
  } catch (const PlugInError& error) {
    return ReportFailure(error, path, false);
  } catch (const OutputError& error) {
    return ReportOutputFailure(output, error, false);
  }
}

}  // namespace kivahost
