#include "support/fake_time.h"

#include <gtest/gtest.h>
#include <sys/select.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <thread>
#include <utility>

namespace tavtest {
namespace {

class FakeTimeTest : public testing::Test {
 protected:
  FakeTimeTest() { EXPECT_EQ(pipe(ends_), 0); }
  ~FakeTimeTest() override {
    close(ends_[0]);
    close(ends_[1]);
  }

  int wait(timeval timeout) const {
    fd_set set;
    FD_ZERO(&set);
    FD_SET(ends_[0], &set);
    return select(ends_[0] + 1, &set, nullptr, nullptr, &timeout);
  }
  void fill() const { EXPECT_EQ(write(ends_[1], "x", 1), 1); }

  static timeval clock() {
    timeval now{};
    gettimeofday(&now, nullptr);
    return now;
  }

 private:
  int ends_[2]{};
};

TEST_F(FakeTimeTest, TheClockStandsStillUntilItIsMoved) {
  FakeTime time(100, 7);
  EXPECT_EQ(clock().tv_sec, 100);
  EXPECT_EQ(clock().tv_usec, 7);
  time.advance(std::chrono::milliseconds(1500));
  EXPECT_EQ(clock().tv_sec, 101);
  EXPECT_EQ(clock().tv_usec, 500007);
  time.set(5, 0);
  EXPECT_EQ(clock().tv_sec, 5);
}

TEST_F(FakeTimeTest, SettingTheClockLeavesTheMonotonicOneAlone) {
  const auto uptime = [] {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::pair(now.tv_sec, now.tv_nsec);
  };
  FakeTime time(100, 7);
  EXPECT_EQ(uptime(), std::pair(time_t{0}, 0L));
  time.advance(std::chrono::milliseconds(1500));
  time.set(5, 0);
  EXPECT_EQ(uptime(), std::pair(time_t{1}, 500'000'000L));
  EXPECT_EQ(wait({2, 0}), 0);
  EXPECT_EQ(uptime(), std::pair(time_t{3}, 500'000'000L));
}

TEST_F(FakeTimeTest, AWaitForNothingMovesTheClockByItsTimeOut) {
  const FakeTime time(100, 0);
  EXPECT_EQ(wait({15, 250000}), 0);
  EXPECT_EQ(clock().tv_sec, 115);
  EXPECT_EQ(clock().tv_usec, 250000);
  EXPECT_EQ(time.timeouts(), std::vector<long long>{15250000});
}

TEST_F(FakeTimeTest, AWaitForWhatIsThereTakesNoTime) {
  const FakeTime time(100, 0);
  fill();
  EXPECT_EQ(wait({15, 0}), 1);
  EXPECT_EQ(clock().tv_sec, 100);
}

TEST_F(FakeTimeTest, StepsRunOneForEachWait) {
  FakeTime time(100, 0);
  time.script({[&] { time.advance(std::chrono::seconds(3)); }, [&] { fill(); }});
  EXPECT_EQ(wait({15, 0}), 0);
  EXPECT_EQ(clock().tv_sec, 118);
  EXPECT_EQ(wait({15, 0}), 1);
  EXPECT_EQ(wait({15, 0}), 1);
  EXPECT_EQ(clock().tv_sec, 118);
}

TEST_F(FakeTimeTest, WaitsFailWhenTold) {
  FakeTime time(100, 0);
  fill();
  time.fail_waits(EINTR);
  EXPECT_EQ(wait({15, 0}), -1);
  EXPECT_EQ(errno, EINTR);
  time.fail_waits(0);
  EXPECT_EQ(wait({15, 0}), 1);
  EXPECT_EQ(time.waits().size(), 2U);
}

TEST_F(FakeTimeTest, ReallyWaitsForAnotherThreadWhenTold) {
  FakeTime time(100, 0);
  time.really_wait(std::chrono::seconds(20));
  std::thread writer([&] { fill(); });
  EXPECT_EQ(wait({15, 0}), 1);
  writer.join();
  EXPECT_EQ(clock().tv_sec, 100);
}

TEST_F(FakeTimeTest, LeavesWaitsWithoutATimeOutAlone) {
  const FakeTime time;
  fill();
  fd_set set;
  FD_ZERO(&set);
  FD_SET(0, &set);
  timeval at_once{0, 0};
  EXPECT_EQ(select(0, nullptr, nullptr, nullptr, &at_once), 0);
  EXPECT_TRUE(time.waits().empty());
}

TEST_F(FakeTimeTest, IsOneAtATimeAndEndsWithItsObject) {
  {
    const FakeTime time(100, 0);
    EXPECT_THROW(FakeTime(), std::logic_error);
    EXPECT_EQ(clock().tv_sec, 100);
  }
  EXPECT_GT(clock().tv_sec, 1'000'000'000);
  EXPECT_EQ(wait({0, 0}), 0);
}

}  // namespace
}  // namespace tavtest
