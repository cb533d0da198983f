#include <gtest/gtest.h>
#include <tavlib/platform/tick_count.h>

#include <chrono>
#include <cstdint>

#include "support/fake_time.h"

namespace tavtest {
namespace {

struct Moment {
  time_t seconds;
  suseconds_t microseconds;
  unsigned long ticks;
};

class TickCountAt : public testing::TestWithParam<Moment> {};

TEST_P(TickCountAt, IsTheMillisecondsSinceTheEpochModulo32Bits) {
  const FakeTime time(GetParam().seconds, GetParam().microseconds);
  EXPECT_EQ(GetTickCount(), GetParam().ticks);
}

INSTANTIATE_TEST_SUITE_P(Moments, TickCountAt,
                         testing::Values(Moment{0, 0, 0}, Moment{0, 999, 0}, Moment{0, 1000, 1},
                                         Moment{1, 999999, 1999},  // microseconds are cut, not rounded
                                         Moment{4294967, 295999,
                                                4294967295},          // the last tick before the wrap
                                         Moment{4294967, 296000, 0},  // the wrap, after 49.7 days
                                         Moment{1700000000, 123456, 3487918203},
                                         Moment{4294967296, 5000, 5}));  // seconds beyond 32 bits

TEST(TickCount, MovesWithTheClock) {
  FakeTime time(100, 0);
  const unsigned long before = GetTickCount();
  time.advance(std::chrono::milliseconds(1234));
  EXPECT_EQ(GetTickCount() - before, 1234U);
}

TEST(TickCount, JumpsBackWhenTheSystemTimeIsSetBack) {
  FakeTime time(100, 0);
  ASSERT_EQ(GetTickCount(), 100000U);
  time.set(40, 0);
  EXPECT_EQ(GetTickCount(), 40000U);
}

TEST(TickCount, DifferencesHoldAcrossTheWrap) {
  FakeTime time(4294967, 0);
  const auto before = static_cast<std::uint32_t>(GetTickCount());
  time.advance(std::chrono::seconds(1));
  EXPECT_EQ(static_cast<std::uint32_t>(GetTickCount()) - before, 1000U);
}

TEST(TickCount, FollowsTheSystemClock) {
  using namespace std::chrono;
  const auto clock = [] {
    return static_cast<std::uint32_t>(
        duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count());
  };
  const std::uint32_t before = clock();
  const auto ticks = static_cast<std::uint32_t>(GetTickCount());
  EXPECT_LE(ticks - before, clock() - before);
}

}  // namespace
}  // namespace tavtest
