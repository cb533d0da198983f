#include "platform/wait_readable.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <climits>

#include "support/fake_time.h"
#include "wrapped_calls.h"

namespace tavtest {
namespace {

using tavlib::wait_readable;

constexpr timeval at_once{0, 0};

// A pipe whose reading end has the wanted descriptor number.
class Pipe {
 public:
  explicit Pipe(int number) : reader_(number) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    writer_ = fcntl(ends[1], F_DUPFD_CLOEXEC, 3);
    EXPECT_EQ(dup2(ends[0], reader_), reader_) << "descriptor " << number << " cannot be had";
    close(ends[1]);
    if (ends[0] != reader_) close(ends[0]);
  }
  ~Pipe() {
    close(reader_);
    close(writer_);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  int reader() const { return reader_; }
  void fill() const { EXPECT_EQ(write(writer_, "x", 1), 1); }

 private:
  int reader_;
  int writer_ = -1;
};

// Room for descriptors up to 3000 while it lives.
class ManyDescriptors {
 public:
  ManyDescriptors() {
    EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before_), 0);
    rlimit raised = before_;
    raised.rlim_cur = std::max<rlim_t>(raised.rlim_cur, 3001);
    raised.rlim_max = std::max(raised.rlim_max, raised.rlim_cur);
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &raised), 0) << "these tests need 3001 descriptors (ulimit -n)";
  }
  ~ManyDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
  ManyDescriptors(const ManyDescriptors&) = delete;
  ManyDescriptors& operator=(const ManyDescriptors&) = delete;

 private:
  rlimit before_{};
};

class WaitReadable : public testing::TestWithParam<int> {
 protected:
  ManyDescriptors many_;
};

INSTANTIATE_TEST_SUITE_P(Descriptors, WaitReadable,
                         testing::Values(100, 127, 128, 1023, 1024, 1025, 1088, 3000));

TEST_P(WaitReadable, TellsWhetherThereIsSomethingToRead) {
  const Pipe pipe(GetParam());
  EXPECT_EQ(wait_readable(pipe.reader(), at_once), 0);
  pipe.fill();
  EXPECT_EQ(wait_readable(pipe.reader(), at_once), 1);
}

TEST_P(WaitReadable, AsksForThisOneDescriptorInTheReadSetOnly) {
  const Pipe pipe(GetParam());
  const Watch selects(Call::select);
  wait_readable(pipe.reader(), at_once);
  EXPECT_EQ(selects.count(), 1);
  EXPECT_EQ(last_arguments().select_count, GetParam() + 1);
  EXPECT_FALSE(last_arguments().select_other_sets);
  int bits = 0;
  for (const unsigned long word : last_arguments().select_read_set)
    bits += std::popcount(word);
  EXPECT_EQ(bits, 1);
  constexpr int word_bits = sizeof(unsigned long) * CHAR_BIT;
  EXPECT_EQ(last_arguments().select_read_set.back(), 1UL << (GetParam() % word_bits));
}

TEST_P(WaitReadable, WaitsForTheWholeTimeOut) {
  const Pipe pipe(GetParam());
  const FakeTime time(50, 0);
  EXPECT_EQ(wait_readable(pipe.reader(), {15, 250000}), 0);
  ASSERT_EQ(time.waits().size(), 1U);
  EXPECT_EQ(time.waits()[0].fd, GetParam());
  EXPECT_EQ(time.waits()[0].timeout.tv_sec, 15);
  EXPECT_EQ(time.waits()[0].timeout.tv_usec, 250000);
}

TEST_P(WaitReadable, EndsAsSoonAsSomethingArrives) {
  const Pipe pipe(GetParam());
  FakeTime time(50, 0);
  time.on_wait([&](int, timeval) { pipe.fill(); });
  EXPECT_EQ(wait_readable(pipe.reader(), {15, 0}), 1);
  EXPECT_EQ(time.now().tv_sec, 50);
}

TEST_P(WaitReadable, PassesAnErrorOfSelectOn) {
  const Pipe pipe(GetParam());
  FakeTime time;
  time.fail_waits(EINTR);
  errno = 0;
  EXPECT_EQ(wait_readable(pipe.reader(), at_once), -1);
  EXPECT_EQ(errno, EINTR);
}

TEST(WaitReadableSets, OrdinaryDescriptorsNeedNoMemory) {
  const Pipe pipe(1023);
  Watch allocations(Call::new_array_nothrow);
  allocations.fail(ENOMEM);
  EXPECT_EQ(wait_readable(pipe.reader(), at_once), 0);
  EXPECT_EQ(allocations.count(), 0);
}

TEST(WaitReadableSets, WithoutMemoryForAHighDescriptorTheWaitFailsAtOnce) {
  Watch allocations(Call::new_array_nothrow);
  const Watch selects(Call::select);
  allocations.fail(0);
  EXPECT_EQ(wait_readable(1024, at_once), -1);
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(selects.count(), 0);
}

TEST(WaitReadableSets, WhatCannotBeADescriptorFailsAtOnce) {
  const Watch selects(Call::select);
  for (const int fd : {-1, INT_MIN, INT_MAX}) {
    errno = 0;
    EXPECT_EQ(wait_readable(fd, at_once), -1);
    EXPECT_EQ(errno, EBADF);
  }
  EXPECT_EQ(selects.count(), 0);
}

TEST(WaitReadableSets, AClosedDescriptorIsAnError) {
  // The kernel overlooks numbers beyond its table of descriptors, which has to hold 200 first.
  { const Pipe widens_the_table(200); }
  errno = 0;
  EXPECT_EQ(wait_readable(200, at_once), -1);
  EXPECT_EQ(errno, EBADF);
}

}  // namespace
}  // namespace tavtest
