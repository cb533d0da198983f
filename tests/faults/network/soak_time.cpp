#include "faults/network/soak_time.h"

#include <sys/select.h>
#include <time.h>

#include <algorithm>
#include <atomic>

#include "support/next_symbol.h"

namespace tavtest {
namespace {

// Starts above zero, so that everything can be older than it.
std::atomic<long long> uptime_ms{1'000'000};

timeval bounded(timeval timeout) {
  const timeval longest{0, std::chrono::microseconds(longest_wait).count()};
  return timeout.tv_sec > 0 || timeout.tv_usec > longest.tv_usec ? longest : timeout;
}

}  // namespace

std::chrono::milliseconds uptime() {
  return std::chrono::milliseconds(uptime_ms);
}

void pass(std::chrono::milliseconds time) {
  uptime_ms += time.count();
}

}  // namespace tavtest

TAVTEST_REPLACES_LIBC int select(int count, fd_set* read, fd_set* write, fd_set* except, timeval* timeout) {
  static auto* const real =
      tavtest::next_symbol<int(int, fd_set*, fd_set*, fd_set*, timeval*)>(TAVTEST_SYMBOL(select));
  if (timeout == nullptr) return real(count, read, write, except, timeout);
  timeval shorter = tavtest::bounded(*timeout);
  return real(count, read, write, except, &shorter);
}

TAVTEST_REPLACES_LIBC int clock_gettime(clockid_t id, timespec* time) noexcept {
  static auto* const real = tavtest::next_symbol<int(clockid_t, timespec*)>(TAVTEST_SYMBOL(clock_gettime));
  if (id != CLOCK_MONOTONIC) return real(id, time);
  const long long now = tavtest::uptime_ms;
  *time = {static_cast<time_t>(now / 1000), static_cast<long>(now % 1000) * 1'000'000};
  return 0;
}
