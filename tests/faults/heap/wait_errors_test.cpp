// Waits on descriptors for which the library needs memory.

#include <gtest/gtest.h>
#include <tavlib/tavlib.h>

#include <optional>

#include "faults/heap/reason_of.h"
#include "faults/hosts/descriptors.h"
#include "platform/wait_readable.h"
#include "support/config_file.h"
#include "support/fake_server.h"
#include "support/fake_time.h"
#include "support/own_allocations.h"

namespace tavtest {
namespace {

TEST(WaitErrors, OfAnInterruptedWait) {
  FakeTime time;
  for (const int code : {EINTR, EBADF}) {
    time.fail_waits(code);
    for (const int fd : {1024, 100'000}) {
      EXPECT_EQ(reason_of(
                    [&] {
                      return tavlib::wait_readable(fd, {1, 0});
                    },
                    -1),
                static_cast<unsigned>(code));
    }
  }
}

class WaitErrorsOfAHost : public testing::Test {
 protected:
  void SetUp() override {
    const int crowd_size = 1024;
    if (!limit.raise_to(crowd_size + 100)) GTEST_SKIP() << "this process may not have so many descriptors";
    crowd.emplace(crowd_size);
    ASSERT_EQ(TAVInitialize(), 1);
    ASSERT_GE(TAVGetSocket(server.address_number()), crowd_size);
  }
  void TearDown() override {
    if (crowd) TAVExit();
  }

  FakeServer server{"open sesame"};
  TestConfig config{{server.configured()}};
  FakeTime time;
  DescriptorLimit limit;
  std::optional<CrowdedHost> crowd;
};

TEST_F(WaitErrorsOfAHost, AWaitIsNotGivenUpAfterASignal) {
  time.script({[this] { time.fail_waits(EINTR); }, [] {},
               [this] {
                 const OwnAllocations own;
                 time.fail_waits(0);
                 server.reply_version(server.receive(), 3);
               }});
  unsigned version = 0;
  int result = 0;
  {
    const SpoiledErrno heap;
    result = TAVQueryVersion(server.address_number(), &version);
  }
  EXPECT_EQ(result, 1);
  EXPECT_EQ(version, 3U);
  EXPECT_EQ(time.waits().size(), 3U);
}

}  // namespace
}  // namespace tavtest
