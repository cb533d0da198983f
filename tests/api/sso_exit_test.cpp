// Asynchronous look-ups that are still in flight when the layer or the library ends.

#include "api/sso_fixture.h"

using namespace tavtest;

namespace {

// How everything ends.
struct End {
  const char* name;
  void (*act)();
};

void PrintTo(const End& ending, std::ostream* out) {
  *out << ending.name;
}

class SsoEnd : public RunningSsoTest, public testing::WithParamInterface<End> {
 protected:
  SsoEnd() {
    for (Lookup& lookup : lookups) {
      lookup.start(somewhere);
      requests.push_back(server.receive());
    }
  }

  void expect_no_callback() const {
    for (const Lookup& lookup : lookups) {
      EXPECT_TRUE(lookup.outcomes.empty());
      EXPECT_EQ(lookup.user, Lookup::filled());
    }
  }

  std::array<Lookup, 3> lookups;
  std::vector<FakeServer::Request> requests;
};

}  // namespace

TEST_P(SsoEnd, EndsLookupsInFlightWithoutTheirCallbacks) {
  GetParam().act();
  EXPECT_EQ(g_ServerList, nullptr);
  expect_no_callback();
}

TEST_P(SsoEnd, ALaterRunOfTheReadyCallbackFindsNothing) {
  GetParam().act();
  EXPECT_EQ(loop.run(5), 5);
  EXPECT_EQ(TAVGetLastError(), 7u);
  expect_no_callback();
}

TEST_P(SsoEnd, EndsLookupsWhoseAnswerWasReadBySomebodyElse) {
  ASSERT_EQ(TAVInitialize(), 1);
  unsigned version = 0;
  time.script({[this] { server.reply_entry(requests[1], user_at(somewhere)); },
               [this] { server.reply_version(server.receive(), 1); }});
  ASSERT_EQ(TAVQueryVersion(address(), &version), 1);
  TAVExit();
  GetParam().act();
  expect_no_callback();
}

TEST_P(SsoEnd, LetsTheLayerStartAgain) {
  GetParam().act();
  g_SsoReady = 0;
  ASSERT_NE(SSO_Init(), nullptr);
  Lookup fresh;
  fresh.start(somewhere);
  server.reply_entry(server.receive(), user_at(somewhere));
  loop.run_ready();
  EXPECT_EQ(fresh.outcomes, std::vector<int>{1});
  expect_no_callback();
}

INSTANTIATE_TEST_SUITE_P(All, SsoEnd,
                         testing::Values(End{"LayersExit", [] { SSO_Exit(); }},
                                         End{"LibrarysExit", [] { TAVExit(); }}),
                         ByName());

namespace {

// The library stays up, because the host initialised it, too.
class SsoExitOnly : public RunningSsoTest {
 protected:
  SsoExitOnly() { EXPECT_EQ(TAVInitialize(), 1); }

  Lookup lookup;
  TAVASYNC async{};
  TAVASYNC* popped = nullptr;
  unsigned version = 0;
};

}  // namespace

TEST_F(SsoExitOnly, DropsALateReplyToALookup) {
  lookup.start(somewhere);
  const auto request = server.receive();
  SSO_Exit();
  server.reply_entry(request, user_at(somewhere));
  EXPECT_TRUE(failed_with(14, TAVASyncPop(&popped, address())));
  EXPECT_EQ(popped, nullptr);
  EXPECT_EQ(loop.run(5), 5);  // a loop that still has the callback
  EXPECT_TRUE(lookup.outcomes.empty());
  EXPECT_EQ(lookup.user, Lookup::filled());
}

TEST_F(SsoExitOnly, LeavesTheHostsOwnRequestsInFlight) {
  lookup.start(somewhere);
  server.receive();
  ASSERT_EQ(TAVQueryVersionAs(address(), &version, &async), 0);
  SSO_Exit();
  server.reply_version(server.receive(), 4);
  EXPECT_EQ(TAVASyncPop(&popped, address()), 1);
  EXPECT_EQ(popped, &async);
  EXPECT_EQ(version, 4u);
}

TEST_F(SsoExitOnly, ALookupInFlightDoesNotHinderAnExitThatIsNotTheLast) {
  lookup.start(somewhere);
  const auto request = server.receive();
  TAVExit();
  server.reply_entry(request, user_at(somewhere));
  loop.run_ready();
  EXPECT_EQ(lookup.outcomes, std::vector<int>{1});
}

// The layer is down by then.
TEST_F(SsoExitOnly, AnExitWithinTheHostsFunctionDoesNothing) {
  EXPECT_EQ(TAVInitialize(), 1);
  loop.then = [] {
    SSO_Exit();
    EXPECT_EQ(SSO_GetUserByAddr(somewhere, nullptr, 0, nullptr, 0), 0);
  };
  SSO_Exit();
  loop.then = {};
  EXPECT_EQ(loop.removed.size(), 1u);
  EXPECT_EQ(init_count(), 2u);
  EXPECT_EQ(g_SsoReady, 0u);
  TAVExit();
}
