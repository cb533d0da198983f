// Ending look-ups that were not answered in time.

#include <chrono>

#include "api/sso_fixture.h"

using namespace tavtest;
using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

class SsoExpire : public RunningSsoTest {
 protected:
  // Starts a look-up and returns the request that it sent.
  FakeServer::Request start(Lookup& lookup, unsigned long where = somewhere) {
    lookup.start(where);
    return server.receive();
  }

  static void expect_expired(const Lookup& lookup) {
    EXPECT_EQ(lookup.outcomes, std::vector<int>{0});
    EXPECT_EQ(lookup.last_error, 4u);
    EXPECT_EQ(lookup.user, Lookup::filled());
    EXPECT_EQ(lookup.second, Lookup::filled());
  }

  Lookup first;
  Lookup second;
  Lookup third;
};

}  // namespace

TEST_F(SsoExpire, TellsAnOldLookupOnceWith4) {
  start(first);
  time.advance(seconds(3));
  EXPECT_EQ(SSO_ExpireLookups(2999), 1u);
  expect_expired(first);
  EXPECT_EQ(SSO_ExpireLookups(0), 0u);
  EXPECT_EQ(first.outcomes.size(), 1u);
}

TEST_F(SsoExpire, LeavesALookupAsOldAsTheLimitAndYounger) {
  start(first);
  time.advance(milliseconds(500));
  start(second);
  time.advance(milliseconds(500));
  EXPECT_EQ(SSO_ExpireLookups(1000), 0u);
  time.advance(std::chrono::microseconds(1));
  EXPECT_EQ(SSO_ExpireLookups(1000), 1u);
  expect_expired(first);
  EXPECT_TRUE(second.outcomes.empty());
}

TEST_F(SsoExpire, TellsTheOldestFirst) {
  std::string order;
  first.then = [&] { order += '1'; };
  second.then = [&] { order += '2'; };
  third.then = [&] { order += '3'; };
  start(first);
  start(second);
  start(third);
  time.advance(seconds(1));
  EXPECT_EQ(SSO_ExpireLookups(0), 3u);
  EXPECT_EQ(order, "123");
}

TEST_F(SsoExpire, DropsALateAnswer) {
  const auto request = start(first);
  time.advance(seconds(1));
  ASSERT_EQ(SSO_ExpireLookups(0), 1u);
  server.reply_entry(request, user_at(somewhere));
  loop.run();
  expect_expired(first);
}

TEST_F(SsoExpire, EndsALookupThatWasToldToWait) {
  server.reply_interim(start(first));
  loop.run();
  time.advance(seconds(1));
  EXPECT_EQ(SSO_ExpireLookups(999), 1u);
  expect_expired(first);
}

TEST_F(SsoExpire, FinishesALookupWhoseAnswerAnotherCallRead) {
  const auto answered = start(first);
  start(second);
  time.script({[&] { server.reply_entry(answered, user_at(somewhere)); },
               [&] { server.reply_version(server.receive(), 1); }});
  unsigned version = 0;
  ASSERT_EQ(TAVQueryVersion(address(), &version), 1);
  time.advance(seconds(1));
  EXPECT_EQ(SSO_ExpireLookups(0), 1u);
  EXPECT_EQ(first.outcomes, std::vector<int>{1});
  EXPECT_EQ(first.user_text(), "ALICE");
  expect_expired(second);
}

TEST_F(SsoTest, ExpiringFinishesAnAnsweredLookupOfTheGatewayBefore) {
  const FakeServer later("later", "127.0.0.2");
  config.write_servers({server.configured(), later.configured()}, server.address());
  ASSERT_NE(SSO_Init(), nullptr);
  Lookup lookup;
  lookup.start(1);
  const auto answered = server.receive();
  config.write_servers({server.configured(), later.configured()}, later.address());
  ASSERT_NE(SSO_Init(), nullptr);
  time.script({[&] { server.reply_entry(answered, {.user = u"ALICE"}); },
               [&] { server.reply_version(server.receive(), 1); }});
  unsigned version = 0;
  ASSERT_EQ(TAVQueryVersion(address(), &version), 1);
  time.advance(seconds(1));
  EXPECT_EQ(SSO_ExpireLookups(0), 0u);
  EXPECT_EQ(lookup.outcomes, std::vector<int>{1});
  EXPECT_EQ(lookup.user_text(), "ALICE");
}

TEST_F(SsoExpire, FinishesALookupWhoseAnswerACallbackReadMeanwhile) {
  start(first);
  const auto answered = start(second);
  start(third);
  first.then = [&] {
    server.reply_entry(answered, user_at(somewhere));
    TAVASYNC* popped = nullptr;
    EXPECT_TRUE(failed_with(14, TAVASyncPop(&popped, address())));
  };
  time.advance(seconds(1));
  EXPECT_EQ(SSO_ExpireLookups(0), 2u);
  expect_expired(first);
  EXPECT_EQ(second.outcomes, std::vector<int>{1});
  EXPECT_EQ(second.user_text(), "ALICE");
  expect_expired(third);
}

TEST_F(SsoExpire, LeavesRequestsOfTheHostAlone) {
  unsigned version = 0;
  TAVASYNC async{};
  ASSERT_TRUE(failed_with(14, TAVQueryVersionAs(address(), &version, &async)));
  const auto request = server.receive();
  time.advance(seconds(1));
  EXPECT_EQ(SSO_ExpireLookups(0), 0u);
  server.reply_version(request, 5);
  EXPECT_EQ(TAVASyncStatus(&async, 0), 1);
  EXPECT_EQ(version, 5u);
}

TEST_F(SsoExpire, EndsALookupThatTheHostMadeItself) {
  auto* context = new SSO_TAVContext(somewhere, first.user.data(), Lookup::size, first.second.data(),
                                     Lookup::size, Lookup::ended, &first);
  context->Go();
  time.advance(seconds(1));
  EXPECT_EQ(SSO_ExpireLookups(0), 1u);
  expect_expired(first);
}

TEST_F(SsoExpire, IsNotMovedByTheTimeOfDay) {
  start(first);
  time.set(2'000'000'000, 0);
  EXPECT_EQ(SSO_ExpireLookups(0), 0u);
  time.advance(seconds(10));
  time.set(5, 0);
  EXPECT_EQ(SSO_ExpireLookups(9999), 1u);
}

TEST_F(SsoExpire, ALimitLongerThanTheMachineIsUpEndsNothing) {
  start(first);
  time.advance(seconds(10));
  EXPECT_EQ(SSO_ExpireLookups(0xffffffff), 0u);
}

TEST_F(SsoExpire, LeavesALookupThatACallbackStarts) {
  first.then = [this] { start(second); };
  start(first);
  time.advance(seconds(1));
  EXPECT_EQ(SSO_ExpireLookups(0), 1u);
  EXPECT_TRUE(second.outcomes.empty());
  time.advance(seconds(1));
  EXPECT_EQ(SSO_ExpireLookups(0), 1u);
  expect_expired(second);
}

TEST_F(SsoExpire, CalledInACallbackCountsWhatItEndsItself) {
  unsigned inner = 99;
  first.then = [&] { inner = SSO_ExpireLookups(0); };
  start(first);
  start(second);
  start(third);
  time.advance(seconds(1));
  EXPECT_EQ(SSO_ExpireLookups(0), 1u);
  EXPECT_EQ(inner, 2u);
  expect_expired(second);
  expect_expired(third);
}

TEST_F(SsoExpire, EndsWithTheLibraryWhenACallbackExits) {
  first.then = [] { SSO_Exit(); };
  start(first);
  start(second);
  time.advance(seconds(1));
  EXPECT_EQ(SSO_ExpireLookups(0), 1u);
  expect_expired(first);
  EXPECT_TRUE(second.outcomes.empty());
}

TEST_F(SsoExpire, WithoutLibraryGives0With7) {
  SSO_Exit();
  EXPECT_EQ(SSO_ExpireLookups(0), 0u);
  EXPECT_EQ(TAVGetLastError(), 7u);
}

TEST_F(SsoExpire, WithNothingInFlightLeavesTheLastErrorAlone) {
  EXPECT_EQ(SSO_ExpireLookups(0), 0u);
  EXPECT_EQ(TAVGetLastError(), untouched);
}
