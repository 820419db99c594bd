#include "Interruption.h"

#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <climits>
#include <cstdio>

namespace kivahost {

namespace {

// Live temporaries, kept where a signal handler can read them without allocating.
constexpr std::size_t kSlots = 8;
std::array<std::array<char, PATH_MAX>, kSlots> sTemporaries{};
std::array<std::atomic<bool>, kSlots> sInUse{};

extern "C" void OnInterruption(int signal) {
  for (std::size_t i = 0; i < kSlots; ++i) {
    if (sInUse[i]) ::unlink(sTemporaries[i].data());
  }
  _exit(128 + signal);
}

}  // namespace

int RegisterTemporary(const std::string& path) {
  for (std::size_t i = 0; i < kSlots; ++i) {
    bool expected = false;
    if (sInUse[i].compare_exchange_strong(expected, true)) {
      std::snprintf(sTemporaries[i].data(), PATH_MAX, "%s", path.c_str());
      return static_cast<int>(i);
    }
  }
  return -1;
}

void UnregisterTemporary(int slot) {
  if (slot >= 0) sInUse[static_cast<std::size_t>(slot)] = false;
}

void RemoveTemporariesOnInterruption() {
  struct sigaction action {};
  action.sa_handler = OnInterruption;
  sigemptyset(&action.sa_mask);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE}) {
    // A signal the process was started with ignored (a background job's SIGINT, nohup's SIGHUP)
    // stays ignored.
    struct sigaction current {};
    if (::sigaction(signal, nullptr, &current) == 0 && current.sa_handler == SIG_IGN) continue;
    ::sigaction(signal, &action, nullptr);
  }
  ::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace kivahost
