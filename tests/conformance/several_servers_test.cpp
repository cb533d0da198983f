// Several servers at once, some of them down.
#include <gtest/gtest.h>
#include <poll.h>

#include <vector>

#include "conformance/host.h"
#include "conformance/scripted_time.h"
#include "conformance/tavsim.h"

namespace tavtest {
namespace {

TavsimOptions numbered(int number, std::vector<std::string> arguments = {}) {
  arguments.insert(arguments.end(), {"--version-word", std::to_string(number), "--trace"});
  return {"127.0.0." + std::to_string(number), "secret of " + std::to_string(number), "[]", arguments};
}

class SeveralServers : public testing::Test {
 protected:
  const unsigned long local = address_of("127.0.0.1");
  const unsigned long second = address_of("127.0.0.2");
  const unsigned long third = address_of("127.0.0.3");

  unsigned version_of(unsigned long server) {
    unsigned version = 0;
    EXPECT_EQ(TAVQueryVersion(server, &version), 1);
    return version;
  }

  // The result of an addition, with the last error's code in the hundreds.
  unsigned add() {
    TAVSetLastError(99);
    const int result = TAVAddEntryA(&entry_);
    return TAVGetLastError() * 100 + static_cast<unsigned>(result);
  }

  Tavsim a_{numbered(1)};
  Tavsim b_{numbered(2)};
  Tavsim c_{numbered(3)};
  // Not in the order of the addresses.
  TestConfig config_{{c_.configured(), a_.configured(), b_.configured()}};
  Library library_;
  _TAVENTRYA entry_{};
};

TEST_F(SeveralServers, AreEnumeratedInAscendingOrder) {
  unsigned long server = 0;
  const unsigned long expected[] = {local, second, third};
  for (unsigned i = 0; i < 3; ++i) {
    EXPECT_EQ(TAVEnumServers(i, &server), 1);
    EXPECT_EQ(server, expected[i]);
  }
  EXPECT_EQ(error_of(TAVEnumServers(3, &server)), 6U);
  EXPECT_EQ(error_of(TAVEnumServers(4000000000U, &server)), 6U);
  EXPECT_EQ(server, third) << "a failure writes nothing";
}

TEST_F(SeveralServers, HaveASocketEach) {
  EXPECT_GE(TAVGetSocket(local), 0);
  EXPECT_GE(TAVGetSocket(second), 0);
  EXPECT_NE(TAVGetSocket(local), TAVGetSocket(second));
  EXPECT_NE(TAVGetSocket(second), TAVGetSocket(third));
}

TEST_F(SeveralServers, AnUnknownOneHasNoSocketAndSetsNoError) {
  TAVSetLastError(99);
  EXPECT_EQ(TAVGetSocket(address_of("127.0.0.4")), -1);
  EXPECT_EQ(TAVGetLastError(), 99U);
}

TEST_F(SeveralServers, AnswerUnderTheirOwnPassPhrases) {
  EXPECT_EQ(version_of(local), 1U);
  EXPECT_EQ(version_of(second), 2U);
  EXPECT_EQ(version_of(third), 3U);
}

TEST_F(SeveralServers, AreAskedAtTheSameTime) {
  constexpr std::size_t each = 30;
  const unsigned long servers[] = {local, second, third};
  std::vector<TAVASYNC> handles(3 * each);
  std::vector<unsigned> versions(3 * each, 0);
  for (std::size_t i = 0; i < handles.size(); ++i) {
    ASSERT_EQ(error_of(TAVQueryVersionAs(servers[i % 3], &versions[i], &handles[i])), 14U);
  }
  pollfd watched[3];
  for (int i = 0; i < 3; ++i)
    watched[i] = {TAVGetSocket(servers[i]), POLLIN, 0};
  std::size_t answered = 0;
  while (answered < handles.size() && poll(watched, 3, 5000) > 0) {
    for (int i = 0; i < 3; ++i) {
      if (watched[i].revents == 0) continue;
      TAVASYNC* done = nullptr;
      EXPECT_EQ(TAVASyncPop(&done, servers[i]), 1);
      ++answered;
    }
  }
  ASSERT_EQ(answered, handles.size());
  for (std::size_t i = 0; i < versions.size(); ++i) {
    EXPECT_EQ(versions[i], i % 3 + 1);
  }
}

TEST_F(SeveralServers, AllTakeAnEntry) {
  EXPECT_EQ(add(), 2U);
  EXPECT_EQ(a_.stop().size(), 1U);
  EXPECT_EQ(b_.stop().size(), 1U);
  EXPECT_EQ(c_.stop().size(), 1U);
}

TEST_F(SeveralServers, OneThatIsDownCostsOneWaitAndIsThenPassedOver) {
  b_.stop();
  const TimeWithSilentServers time({second});
  EXPECT_EQ(add(), 401U);
  EXPECT_EQ(add(), 1U) << "nobody failed this time, and still not everybody has it";
  EXPECT_EQ(a_.stop().size(), 2U);
  EXPECT_EQ(c_.stop().size(), 2U);
}

TEST_F(SeveralServers, AQueryDoesNotBringAServerBackButAFurtherInitialisationDoes) {
  Tavsim fresh{numbered(4, {"--fault", "loss=first:1"})};
  config_.write_servers({a_.configured(), fresh.configured()});
  TAVExit();
  ASSERT_EQ(TAVInitialize(), 1);
  {
    const TimeWithSilentServers time({fresh.number()});
    ASSERT_EQ(add(), 401U);
  }
  EXPECT_EQ(version_of(fresh.number()), 4U);
  EXPECT_EQ(add(), 1U) << "it answers queries and is still passed over";
  ASSERT_EQ(TAVInitialize(), 1);
  EXPECT_EQ(add(), 2U);
  TAVExit();
}

TEST_F(SeveralServers, AllDownTakeNothing) {
  a_.stop();
  b_.stop();
  c_.stop();
  const FakeTime time;
  EXPECT_EQ(add(), 9900U) << "the last error stays";
  EXPECT_EQ(time.timeouts(), (std::vector<long long>{15'000'000, 15'000'000, 15'000'000}));
  EXPECT_EQ(add(), 9900U);
  EXPECT_EQ(time.waits().size(), 3U) << "nobody is asked any more";
}

TEST_F(SeveralServers, OnlyTheirOwnAnswersCount) {
  b_.stop();
  const TimeWithSilentServers time({second});
  unsigned version = 0;
  EXPECT_EQ(error_of(TAVQueryVersion(second, &version)), 4U);
  EXPECT_EQ(version_of(local), 1U);
  EXPECT_EQ(version_of(third), 3U);
}

}  // namespace
}  // namespace tavtest
