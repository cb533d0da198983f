#ifndef TAVLIB_TESTS_SUPPORT_FAKE_TIME_H
#define TAVLIB_TESTS_SUPPORT_FAKE_TIME_H

#include <sys/time.h>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace tavtest {

/// A clock that only the test moves, and waits that cost no real time.
///
/// While an object lives (one at a time), gettimeofday reads this clock, CLOCK_MONOTONIC starts at 0 and
/// moves with it except when it is set, and each select with a read set and a time-out (other calls go to
/// libc) goes through these steps:
///   1. the time-out asked for is recorded;
///   2. the on_wait hook, if any, is called: the place where a scripted server sends its reply, or time
///   passes;
///   3. a call of fail_waits makes the wait fail; otherwise the descriptors are polled, and what is ready is
///   reported
///      at once with the clock as it stands;
///   4. with nothing ready the clock moves on by the time-out, and select reports 0.
/// So without a hook and with a silent server every wait times out at once. Any thread may wait; the hook is
/// called without a lock held and may use every function below.
class FakeTime {
 public:
  using Hook = std::function<void(int fd, timeval timeout)>;

  struct Wait {
    int fd;           ///< The lowest descriptor of the read set.
    timeval timeout;  ///< As asked for.
  };

  /// The clock starts at `seconds` and `microseconds` since the epoch.
  explicit FakeTime(time_t seconds = 1'000'000'000, suseconds_t microseconds = 0);
  ~FakeTime();

  FakeTime(const FakeTime&) = delete;
  FakeTime& operator=(const FakeTime&) = delete;

  timeval now() const;

  /// Sets the time of day, as an administrator would.
  void set(time_t seconds, suseconds_t microseconds);
  void advance(std::chrono::microseconds time);

  /// Calls `hook` in each wait before the descriptors are polled. An empty hook removes it.
  void on_wait(Hook hook);

  /// Calls the first of `steps` in the next wait, the second in the one after it, and nothing when they are
  /// used up.
  void script(std::vector<std::function<void()>> steps);

  /// Makes each wait fail with `error_number` after its hook; 0 ends that.
  void fail_waits(int error_number);

  /// Lets each wait really wait for up to `bound` (and never longer than its time-out) before it counts as
  /// timed out: for servers in another process. Zero, as at the start, polls.
  void really_wait(std::chrono::milliseconds bound);

  /// Every wait so far, oldest first.
  std::vector<Wait> waits() const;

  /// The time-outs of those waits, in microseconds.
  std::vector<long long> timeouts() const;

  struct State;

 private:
  std::shared_ptr<State> state_;
};

}  // namespace tavtest

#endif
