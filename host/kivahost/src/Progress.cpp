#include "Progress.h"

#include "Console.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <iostream>

namespace kivahost {

namespace {

// A sound position as minutes and seconds to a tenth: "1:23.5".
std::string Position(double seconds) {
  char text[32];
  const long tenths = std::lround(seconds * 10);
  std::snprintf(text, sizeof text, "%ld:%02ld.%ld", tenths / 600, tenths / 10 % 60, tenths % 10);
  return text;
}

constexpr auto kRedrawInterval = std::chrono::milliseconds(100);

}  // namespace

Progress::Progress(std::string verb, std::int64_t total, int rate)
    : verb(std::move(verb)),
      total(total),
      rate(rate),
      shown(isatty(STDERR_FILENO) != 0 && !IsQuiet()) {}

Progress::~Progress() {
  if (drawnOnce) std::cerr << '\n';
}

void Progress::Update(std::int64_t done) {
  if (!shown) return;
  const Clock::time_point now = Clock::now();
  // The last update is always drawn, so that the line ends at 100 %.
  if (drawnOnce && now - lastDrawn < kRedrawInterval && done < total) return;
  lastDrawn = now;
  drawnOnce = true;
  const double elapsed = std::chrono::duration<double>(now - started).count();
  // "\33[K" clears what a longer line before left at the end.
  std::cerr << '\r' << Line(verb, done, total, rate, elapsed) << "\33[K" << std::flush;
}

std::string Progress::Line(const std::string& verb, std::int64_t done, std::int64_t total, int rate,
                           double elapsed) {
  const double fraction = total > 0 ? static_cast<double>(done) / static_cast<double>(total) : 1;
  char text[160];
  int length = std::snprintf(text, sizeof text, "%s %3d%%  %s of %s  elapsed %.1f s", verb.c_str(),
                             static_cast<int>(fraction * 100),
                             Position(static_cast<double>(done) / rate).c_str(),
                             Position(static_cast<double>(total) / rate).c_str(), elapsed);
  // Speed and time left only once they mean something.
  if (elapsed >= 0.2 && done > 0 && length > 0) {
    const double speed = static_cast<double>(done) / rate / elapsed;
    const double left = elapsed * (1 - fraction) / fraction;
    std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length),
                  "  %.1fx real time  %.0f s left", speed, std::ceil(left));
  }
  return text;
}

}  // namespace kivahost
