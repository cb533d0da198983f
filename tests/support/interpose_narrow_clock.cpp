// Where long has 32 bits, libstdc++ reads its clocks through a function whose seconds have 32 bits, too. It
// tells the same time as the one that the test program has for everybody else.

#include <time.h>

#include <cstdint>

#include "support/next_symbol.h"

struct NarrowTime {
  std::int32_t seconds;
  std::int32_t nanoseconds;
};

TAVTEST_REPLACES_LIBC int narrow_clock_gettime(clockid_t id, NarrowTime* time) noexcept
    __asm__("clock_gettime");

int narrow_clock_gettime(clockid_t id, NarrowTime* time) noexcept {
  timespec wide{};
  const int result = clock_gettime(id, &wide);
  *time = {static_cast<std::int32_t>(wide.tv_sec), static_cast<std::int32_t>(wide.tv_nsec)};
  return result;
}
