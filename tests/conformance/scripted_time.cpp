#include "conformance/scripted_time.h"

#include <tavlib/tavlib.h>

#include <algorithm>
#include <memory>

namespace tavtest {
namespace {

constexpr std::chrono::milliseconds long_enough{5000};

}  // namespace

ScriptedTime::ScriptedTime(unsigned answers) {
  time_.on_wait([this, left = std::make_shared<unsigned>(answers)](int, timeval) {
    time_.really_wait(*left > 0 ? long_enough : std::chrono::milliseconds(0));
    if (*left > 0) --*left;
  });
}

std::vector<long long> ScriptedTime::waits() const {
  std::vector<long long> seconds = time_.timeouts();
  for (long long& each : seconds)
    each /= 1'000'000;
  return seconds;
}

TimeWithSilentServers::TimeWithSilentServers(std::vector<unsigned long> silent) {
  time_.on_wait([this, silent](int fd, timeval) {
    const bool hears_nothing = std::any_of(silent.begin(), silent.end(),
                                           [fd](unsigned long server) { return TAVGetSocket(server) == fd; });
    time_.really_wait(hears_nothing ? std::chrono::milliseconds(0) : long_enough);
  });
}

}  // namespace tavtest
