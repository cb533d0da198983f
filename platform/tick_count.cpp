#include <sys/time.h>
#include <tavlib/platform/tick_count.h>

#include <cstdint>

unsigned long GetTickCount() {
  timeval now{};
  gettimeofday(&now, nullptr);
  const auto seconds = static_cast<std::uint32_t>(now.tv_sec);
  return seconds * std::uint32_t{1000} + static_cast<std::uint32_t>(now.tv_usec / 1000);
}
