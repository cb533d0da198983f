#include <sys/select.h>
#include <sys/types.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "support/fake_time.h"
#include "support/next_symbol.h"

// glibc's functions with these are the ones that tests replace.
static_assert(sizeof(time_t) == 8 && sizeof(off_t) == 8, "on every host");

namespace tavtest {

using std::chrono::microseconds;

struct FakeTime::State {
  std::mutex mutex;
  microseconds clock{0};
  microseconds uptime{0};  // what CLOCK_MONOTONIC reads
  microseconds bound{0};
  int error_number = 0;
  Hook hook;
  std::vector<Wait> waits;
};

namespace {

using Select = int(int, fd_set*, fd_set*, fd_set*, timeval*);

microseconds microseconds_of(timeval time) {
  return std::chrono::seconds(time.tv_sec) + microseconds(time.tv_usec);
}

timeval timeval_of(microseconds time) {
  return {static_cast<time_t>(time.count() / 1'000'000), static_cast<suseconds_t>(time.count() % 1'000'000)};
}

// The clock in force. Never destroyed: calls go on until the very end of the process.
struct Current {
  std::mutex mutex;
  std::shared_ptr<FakeTime::State> state;
};

Current& current() {
  static auto& one = *new Current;
  return one;
}

std::shared_ptr<FakeTime::State> current_state() {
  const std::lock_guard lock(current().mutex);
  return current().state;
}

void pass(FakeTime::State& state, microseconds time) {
  state.clock += time;
  state.uptime += time;
}

// By hand, since FD_ISSET ends at descriptor 1023.
int lowest_descriptor(const fd_set* set, int count) {
  constexpr int bits = sizeof(unsigned long) * CHAR_BIT;
  const auto* words = reinterpret_cast<const unsigned long*>(set);
  for (int fd = 0; fd < count; ++fd) {
    if ((words[fd / bits] >> (fd % bits) & 1) != 0) return fd;
  }
  return -1;
}

// The steps of one wait that has been taken over, up to the look at the descriptors. The error to fail with,
// or 0.
int prepare_wait(FakeTime::State& state, int fd, timeval timeout) {
  FakeTime::Hook hook;
  {
    const std::lock_guard lock(state.mutex);
    state.waits.push_back({fd, timeout});
    hook = state.hook;
  }
  if (hook) hook(fd, timeout);
  const std::lock_guard lock(state.mutex);
  return state.error_number;
}

timeval real_wait(FakeTime::State& state, timeval timeout) {
  const std::lock_guard lock(state.mutex);
  return timeval_of(std::min(state.bound, microseconds_of(timeout)));
}

int fake_select(FakeTime::State& state, Select* real, int count, fd_set* read, fd_set* write, fd_set* except,
                timeval timeout) {
  const int error_number = prepare_wait(state, lowest_descriptor(read, count), timeout);
  if (error_number != 0) {
    errno = error_number;
    return -1;
  }
  timeval bounded = real_wait(state, timeout);
  const int ready = real(count, read, write, except, &bounded);
  if (ready == 0) {
    const std::lock_guard lock(state.mutex);
    pass(state, microseconds_of(timeout));
  }
  return ready;
}

}  // namespace

FakeTime::FakeTime(time_t seconds, suseconds_t start) : state_(std::make_shared<State>()) {
  set(seconds, start);
  const std::lock_guard lock(current().mutex);
  if (current().state) throw std::logic_error("only one FakeTime at a time");
  current().state = state_;
}

FakeTime::~FakeTime() {
  const std::lock_guard lock(current().mutex);
  current().state.reset();
}

timeval FakeTime::now() const {
  const std::lock_guard lock(state_->mutex);
  return timeval_of(state_->clock);
}

void FakeTime::set(time_t seconds, suseconds_t rest) {
  const std::lock_guard lock(state_->mutex);
  state_->clock = microseconds_of({seconds, rest});
}

void FakeTime::advance(microseconds time) {
  const std::lock_guard lock(state_->mutex);
  pass(*state_, time);
}

void FakeTime::on_wait(Hook hook) {
  const std::lock_guard lock(state_->mutex);
  state_->hook = std::move(hook);
}

void FakeTime::script(std::vector<std::function<void()>> steps) {
  on_wait([steps = std::move(steps), next = std::make_shared<std::size_t>(0)](int, timeval) {
    if (*next < steps.size()) steps[(*next)++]();
  });
}

void FakeTime::fail_waits(int error_number) {
  const std::lock_guard lock(state_->mutex);
  state_->error_number = error_number;
}

void FakeTime::really_wait(std::chrono::milliseconds bound) {
  const std::lock_guard lock(state_->mutex);
  state_->bound = bound;
}

std::vector<FakeTime::Wait> FakeTime::waits() const {
  const std::lock_guard lock(state_->mutex);
  return state_->waits;
}

std::vector<long long> FakeTime::timeouts() const {
  std::vector<long long> result;
  for (const Wait& wait : waits())
    result.push_back(microseconds_of(wait.timeout).count());
  return result;
}

}  // namespace tavtest

TAVTEST_REPLACES_LIBC int select(int count, fd_set* read, fd_set* write, fd_set* except, timeval* timeout) {
  static auto* const real = tavtest::next_symbol<tavtest::Select>(TAVTEST_SYMBOL(select));
  const auto state = tavtest::current_state();
  if (!state || count <= 0 || read == nullptr || timeout == nullptr) {
    return real(count, read, write, except, timeout);
  }
  return tavtest::fake_select(*state, real, count, read, write, except, *timeout);
}

TAVTEST_REPLACES_LIBC int gettimeofday(timeval* time, void* zone) noexcept {
  static auto* const real = tavtest::next_symbol<int(timeval*, void*)>(TAVTEST_SYMBOL(gettimeofday));
  const auto state = tavtest::current_state();
  if (!state) return real(time, zone);
  const std::lock_guard lock(state->mutex);
  *time = tavtest::timeval_of(state->clock);
  return 0;
}

TAVTEST_REPLACES_LIBC int clock_gettime(clockid_t id, timespec* time) noexcept {
  static auto* const real = tavtest::next_symbol<int(clockid_t, timespec*)>(TAVTEST_SYMBOL(clock_gettime));
  const auto state = id == CLOCK_MONOTONIC ? tavtest::current_state() : nullptr;
  if (!state) return real(id, time);
  const std::lock_guard lock(state->mutex);
  const timeval uptime = tavtest::timeval_of(state->uptime);
  *time = {uptime.tv_sec, static_cast<long>(uptime.tv_usec) * 1000};
  return 0;
}
