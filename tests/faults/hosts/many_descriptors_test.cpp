// A host that has so many descriptors open that the library's get numbers for which fd_set has no bit.

#include <array>
#include <optional>

#include "conformance/event_loop.h"
#include "faults/hosts/descriptors.h"
#include "faults/hosts/host_test.h"

using namespace tavtest;

namespace {

// The parameter is the number of descriptors that the host has open.
class ManyDescriptors : public HostTest, public testing::WithParamInterface<int> {
 protected:
  void SetUp() override {
    const int room = 100;
    if (!limit.raise_to(static_cast<rlim_t>(GetParam() + room))) {
      GTEST_SKIP() << "this process may not have " << GetParam() + room << " descriptors open";
    }
    crowd.emplace(GetParam());
    ASSERT_STREQ(SSO_Init(), "Norvel TAV/TIZ");
    ASSERT_GE(TAVGetSocket(address()), GetParam());
  }

  DescriptorLimit limit;
  EventLoop loop;
  std::optional<CrowdedHost> crowd;
};

}  // namespace

TEST_P(ManyDescriptors, ABlockingLookUpWaitsForItsAnswer) {
  std::array<char, 32> user{};
  std::array<char, 32> tree{};
  ASSERT_EQ(SSO_GetUserByAddr(somewhere, user.data(), 31, tree.data(), 31), 1);
  EXPECT_EQ(user.data(), user_at(somewhere));
  EXPECT_STREQ(tree.data(), "TREE");
  EXPECT_EQ(time.waits().at(0).fd, TAVGetSocket(address()));
}

TEST_P(ManyDescriptors, ALookUpInTheEventLoopEnds) {
  Lookup lookup;
  lookup.start(somewhere);
  server.answer_all();
  ASSERT_TRUE(loop.run_until([&] { return lookup.told != -1; }));
  EXPECT_EQ(lookup.told, 1);
  EXPECT_EQ(lookup.user.data(), user_at(somewhere));
}

TEST_P(ManyDescriptors, ARequestIsPolled) {
  unsigned version = 0;
  TAVASYNC async{};
  ASSERT_EQ(error_of(TAVQueryVersionAs(address(), &version, &async)), 14U);
  time.on_wait({});
  EXPECT_EQ(error_of(TAVASyncStatus(&async, 0)), 14U);
  server.answer_all();
  EXPECT_EQ(TAVASyncStatus(&async, 0), 1);
  EXPECT_EQ(version, 0x00010002U);
}

TEST_P(ManyDescriptors, ARequestIsPopped) {
  unsigned version = 0;
  TAVASYNC async{};
  ASSERT_EQ(error_of(TAVQueryVersionAs(address(), &version, &async)), 14U);
  EXPECT_EQ(TAVASyncSocket(&async), TAVGetSocket(address()));
  server.answer_all();
  TAVASYNC* popped = nullptr;
  EXPECT_EQ(TAVASyncPop(&popped, address()), 1);
  EXPECT_EQ(popped, &async);
  EXPECT_EQ(version, 0x00010002U);
}

TEST_P(ManyDescriptors, AnEntryIsAdded) {
  const _TAVENTRYA entry{};
  EXPECT_EQ(TAVAddEntryA(&entry), 2);
  EXPECT_EQ(server.entries_taken(), 1);
}

TEST_P(ManyDescriptors, ASilentServerIsGivenUp) {
  time.on_wait({});
  unsigned version = 0;
  EXPECT_EQ(error_of(TAVQueryVersion(address(), &version)), 4U);
  EXPECT_EQ(time.timeouts(), (std::vector<long long>{300'000'000}));
}

TEST_P(ManyDescriptors, TheLastExitClosesTheSocketAndTheLibraryCanStartAgain) {
  const std::set<int> before = open_descriptors();
  SSO_Exit();
  EXPECT_EQ(open_descriptors().size(), before.size() - 1);
  ASSERT_EQ(TAVInitialize(), 1);
  EXPECT_EQ(open_descriptors(), before);
  EXPECT_EQ(version_of(address()), 0x00010002U);
}

INSTANTIATE_TEST_SUITE_P(Open, ManyDescriptors, testing::Values(1024, 16384, 65536));
