// Progress of a long read or write on a terminal, redrawn in place at most ten times a second:
// how far, the time it took so far, the speed against real time and the time left, such as
// "Exporting  42%  1:23.5 of 3:18.0  elapsed 2.1 s  39x real time  3 s left". Shown only when
// standard error is a terminal and the run is not quiet.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace kivahost {

class Progress {
 public:
  // `verb` such as "Exporting"; `total` frames at `rate` per second.
  Progress(std::string verb, std::int64_t total, int rate);
  // Ends the line when anything was shown.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // `done` frames of the total are finished.
  void Update(std::int64_t done);

  // The line shown for `done` frames after `elapsed` seconds (for a terminal of any width).
  static std::string Line(const std::string& verb, std::int64_t done, std::int64_t total, int rate,
                          double elapsed);

 private:
  using Clock = std::chrono::steady_clock;
  std::string verb;
  std::int64_t total;
  int rate;
  bool shown;
  Clock::time_point started = Clock::now();
  Clock::time_point lastDrawn{};
  bool drawnOnce = false;
};

}  // namespace kivahost
