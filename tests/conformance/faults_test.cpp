// What a host is told when a server, or the network before it, misbehaves: each fault against each kind of
// call.
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "conformance/event_loop.h"
#include "conformance/host.h"
#include "conformance/scripted_time.h"
#include "conformance/tavsim.h"

namespace tavtest {
namespace {

const unsigned long server = address_of("127.0.0.1");
constexpr unsigned still_pending = 14;

struct Fault {
  const char* name;
  std::vector<std::string> arguments;
  unsigned code;       ///< What the host is told; 0 for success.
  unsigned datagrams;  ///< How many the server sends for one request.

  friend std::ostream& operator<<(std::ostream& out, const Fault& each) { return out << each.name; }
};

const std::vector<Fault> faults{
    {"None", {}, 0, 1},
    {"Interim", {"--fault", "interim=every:1", "--interim-count", "3"}, 0, 4},
    {"InterimOnly", {"--fault", "interim=every:1", "--interim-count", "2", "--fault", "loss=every:1"}, 4, 2},
    {"Error", {"--fault", "error=every:1"}, 2, 1},
    {"ErrorAfterInterim", {"--fault", "error=every:1", "--fault", "interim=every:1"}, 2, 2},
    {"Loss", {"--fault", "loss=every:1"}, 4, 0},
    {"Duplicate", {"--fault", "duplicate=every:1"}, 0, 2},
    {"Delay", {"--fault", "delay=every:1", "--delay-ms", "5"}, 0, 1},
    {"BadDigest", {"--fault", "digest=every:1"}, 13, 1},
    {"BadDigestAfterInterim", {"--fault", "digest=every:1", "--fault", "interim=every:1"}, 13, 2},
    {"WrongId", {"--fault", "id=every:1"}, 4, 1},
    {"CutInHalf", {"--fault", "truncate=every:1"}, 4, 1},
    {"CutToItsLengthWord", {"--fault", "truncate=every:1", "--truncate-to", "4"}, 4, 1},
    {"CutToNothing", {"--fault", "truncate=every:1", "--truncate-to", "0"}, 4, 1}};

/// Where a call is made.
struct Scene {
  unsigned datagrams;  ///< How many will arrive.
  EventLoop& loop;
};

/// A kind of call. The result is 0 or the code that the host was told.
struct Call {
  const char* name;
  unsigned (*make)(const Scene& scene);
  bool gives_up;  ///< Otherwise a call without an answer stays pending.

  friend std::ostream& operator<<(std::ostream& out, const Call& each) { return out << each.name; }
};

unsigned version(const Scene& /*scene*/) {
  unsigned word = 0;
  return error_of(TAVQueryVersion(server, &word));
}

template <typename Entry, auto start, auto next>
unsigned next_entry(const Scene& /*scene*/) {
  Entry entry{};
  TAVQueryEnum* query = nullptr;
  EXPECT_EQ(start(&entry, 0, 0, server, 0, &query), 1);
  const unsigned code = error_of(next(query, &entry));
  TAVQueryClose(query);
  return code;
}

// Additions and listening belong to a list of servers that the host makes itself.
unsigned add(const Scene& /*scene*/) {
  TAVServerList list;
  const _TAVENTRYA entry{};
  return list.AddEntryUsing(entry, list.FindByServer(server));
}

unsigned listen(const Scene& /*scene*/) {
  TAVServerList list;
  return error_of(list.Listen(4000, server));
}

unsigned stop_listening(const Scene& /*scene*/) {
  TAVServerList list;
  return error_of(list.ListenStop(server));
}

unsigned look_up(const Scene& /*scene*/) {
  char text[64];
  return error_of(SSO_GetUserByAddr(user_address("10.1.0.11"), text, sizeof text, text, sizeof text));
}

// Pops as often as there are datagrams, or until the request ends.
unsigned popped(const Scene& scene) {
  unsigned word = 0;
  TAVASYNC async{};
  unsigned code = error_of(TAVQueryVersionAs(server, &word, &async));
  for (unsigned i = 0; i < scene.datagrams && code == still_pending; ++i) {
    EXPECT_TRUE(is_readable(TAVGetSocket(server)));
    TAVASYNC* done = nullptr;
    code = error_of(TAVASyncPop(&done, server));
    if (done != nullptr) {
      EXPECT_EQ(done, &async);
    }
  }
  EXPECT_EQ(async.Request == nullptr, code != still_pending);
  SSO_Exit();
  if (async.Request != nullptr) {
    EXPECT_EQ(error_of(TAVASyncStatus(&async, 0)), 7U);
  }
  return code;
}

struct Outcome {
  int calls = 0;
  unsigned code = still_pending;
};

void told(int success, void* outcome) {
  auto& to = *static_cast<Outcome*>(outcome);
  ++to.calls;
  to.code = success == 1 ? 0 : SSO_GetLastError();
}

unsigned look_up_in_loop(const Scene& scene) {
  Outcome outcome;
  char text[64];
  SSO_GetUserByAddrAsync(user_address("10.1.0.11"), text, sizeof text, text, sizeof text, told, &outcome);
  for (unsigned i = 0; i < scene.datagrams && outcome.calls == 0; ++i) {
    EXPECT_TRUE(is_readable(TAVGetSocket(server)));
    scene.loop.run_once();
  }
  EXPECT_EQ(outcome.calls, outcome.code == still_pending ? 0 : 1);
  SSO_Exit();
  return outcome.code;
}

const std::vector<Call> calls{{"Version", version, true},
                              {"NextA", next_entry<_TAVENTRYA, TAVQueryStartA, TAVQueryNextA>, true},
                              {"NextW", next_entry<_TAVENTRYW, TAVQueryStartW, TAVQueryNextW>, true},
                              {"Add", add, true},
                              {"Listen", listen, true},
                              {"StopListening", stop_listening, true},
                              {"LookUp", look_up, true},
                              {"Popped", popped, false},
                              {"LookUpInLoop", look_up_in_loop, false}};

class Faults : public testing::TestWithParam<std::tuple<Fault, Call>> {};

TEST_P(Faults, AreToldAsTheirCode) {
  const auto& [fault, call] = GetParam();
  Tavsim sim({"127.0.0.1", "secret", sample_entries, fault.arguments});
  const TestConfig config({sim.configured()}, "127.0.0.1");
  EventLoop loop;
  const ScriptedTime time(fault.datagrams);
  ASSERT_STREQ(SSO_Init(), "Norvel TAV/TIZ");
  const unsigned told_code = call.make({fault.datagrams, loop});
  SSO_Exit();
  const unsigned unanswered = call.gives_up ? 4 : still_pending;
  EXPECT_EQ(told_code, fault.code == 4 ? unanswered : fault.code);
}

INSTANTIATE_TEST_SUITE_P(All, Faults, testing::Combine(testing::ValuesIn(faults), testing::ValuesIn(calls)),
                         [](const auto& each) {
                           return std::string(std::get<0>(each.param).name) + "To" +
                                  std::get<1>(each.param).name;
                         });

class OneFault : public testing::Test {
 protected:
  void start(const std::vector<std::string>& arguments) {
    sim_ = std::make_unique<Tavsim>(TavsimOptions{"127.0.0.1", "secret", sample_entries, arguments});
    config_ = std::make_unique<TestConfig>(std::vector{sim_->configured()});
    library_ = std::make_unique<Library>();
  }

  std::unique_ptr<Tavsim> sim_;
  std::unique_ptr<TestConfig> config_;
  std::unique_ptr<Library> library_;
  unsigned version_ = 0;
};

TEST_F(OneFault, RepliesInAnotherOrderReachTheirOwnRequests) {
  start({"--fault", "reorder=first:1"});
  TAVASYNC first{};
  TAVASYNC second{};
  unsigned other = 0;
  ASSERT_EQ(error_of(TAVQueryVersionAs(server, &version_, &first)), 14U);
  ASSERT_EQ(error_of(TAVQueryVersionAs(server, &other, &second)), 14U);
  TAVASYNC* done = nullptr;
  ASSERT_TRUE(is_readable(TAVGetSocket(server)));
  ASSERT_EQ(TAVASyncPop(&done, server), 1);
  EXPECT_EQ(done, &second);
  ASSERT_TRUE(is_readable(TAVGetSocket(server)));
  ASSERT_EQ(TAVASyncPop(&done, server), 1);
  EXPECT_EQ(done, &first);
}

TEST_F(OneFault, TheSecondCopyOfAReplyIsDropped) {
  start({"--fault", "duplicate=first:1"});
  ASSERT_EQ(TAVQueryVersion(server, &version_), 1);
  ASSERT_TRUE(is_readable(TAVGetSocket(server)));
  TAVASYNC* done = nullptr;
  EXPECT_EQ(error_of(TAVASyncPop(&done, server)), 14U);
  EXPECT_EQ(done, nullptr);
  EXPECT_EQ(TAVQueryVersion(server, &version_), 1);
}

TEST_F(OneFault, AnAnswerAfterAnErrorReplyIsDroppedOnceTheErrorWasTold) {
  start({"--fault", "error=first:1", "--final-after-error"});
  EXPECT_EQ(error_of(TAVQueryVersion(server, &version_)), 2U);
  ASSERT_TRUE(is_readable(TAVGetSocket(server)));
  TAVASYNC* done = nullptr;
  EXPECT_EQ(error_of(TAVASyncPop(&done, server)), 14U);
  EXPECT_EQ(version_, 0U);
}

TEST_F(OneFault, AnAnswerThatComesAfterItsRequestWasGivenUpIsDropped) {
  start({"--fault", "delay=first:1", "--delay-ms", "20"});
  {
    const FakeTime clock;
    ASSERT_EQ(error_of(TAVQueryVersion(server, &version_)), 4U);
  }
  ASSERT_TRUE(is_readable(TAVGetSocket(server)));
  TAVASYNC* done = nullptr;
  EXPECT_EQ(error_of(TAVASyncPop(&done, server)), 14U);
  EXPECT_EQ(version_, 0U);
}

TEST_F(OneFault, AFailedStepOfAnEnumerationMayBeTriedAgain) {
  start({"--fault", "digest=first:1", "--fault", "error=every:2"});
  const _TAVENTRYA filter{};
  TAVQueryEnum* query = nullptr;
  ASSERT_EQ(TAVQueryStartA(&filter, 0, 0, server, 0, &query), 1);
  _TAVENTRYA entry{};
  EXPECT_EQ(error_of(TAVQueryNextA(query, &entry)), 13U);
  EXPECT_EQ(error_of(TAVQueryNextA(query, &entry)), 2U);
  EXPECT_EQ(TAVQueryNextA(query, &entry), 1);
  EXPECT_STREQ(entry.user, "ANNA KVIST");
  TAVQueryClose(query);
}

// Each further wait of a blocking exchange begins only within 14999 milliseconds of its start.
TEST_F(OneFault, InterimRepliesDoNotHoldABlockingExchangeForEver) {
  start({"--fault", "interim=every:1", "--interim-count", "3", "--fault", "loss=every:1"});
  FakeTime clock;
  clock.on_wait([&](int, timeval) {
    clock.really_wait(std::chrono::seconds(5));
    clock.advance(std::chrono::milliseconds(7500));
  });
  TAVServerList list;
  EXPECT_EQ(error_of(list.Listen(4000, server)), 4U);
  EXPECT_EQ(clock.timeouts(), (std::vector<long long>{15'000'000, 15'000'000}));
}

TEST_F(OneFault, ABlockingExchangeGivesUpAfter15Seconds) {
  start({"--fault", "loss=every:1"});
  const FakeTime clock;
  TAVServerList list;
  EXPECT_EQ(error_of(list.Listen(4000, server)), 4U);
  EXPECT_EQ(clock.timeouts(), (std::vector<long long>{15'000'000}));
}

// Once the server has answered a request that came later, it has read this one, too.
TEST_F(OneFault, AServerWithAnotherPassPhraseNeverAnswers) {
  start({"--trace"});
  library_.reset();
  const auto port = static_cast<unsigned short>(sim_->configured().port);
  config_->write_servers({{"127.0.0.1", port, "Secret"}});
  library_ = std::make_unique<Library>();
  FakeTime clock;
  clock.on_wait([&](int, timeval) {
    clock.on_wait({});
    clock.really_wait(std::chrono::seconds(5));
    TAVServerInterface trusted(server, port, "secret", 0);
    EXPECT_EQ(trusted.ListenStop(), 0U);
    clock.really_wait(std::chrono::seconds(0));
  });
  EXPECT_EQ(error_of(TAVQueryVersion(server, &version_)), 4U);
  EXPECT_EQ(sim_->stop().size(), 1U) << "only the later one counts as a request";
}

}  // namespace
}  // namespace tavtest
