// Look-ups that end in the host's event loop.

#include <arpa/inet.h>

#include <deque>

#include "api/sso_fixture.h"

using namespace tavtest;

namespace {

class SsoAsync : public RunningSsoTest {
 protected:
  Lookup lookup;
};

// What arrives for a look-up, and what its callback is told.
struct Outcome {
  const char* name;
  void (*reply)(FakeServer&, const FakeServer::Request&);
  std::vector<int> outcomes;
  unsigned last_error;  // of a failure
  std::string user;
  std::string second;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
  *out << outcome.name;
}

const std::string unwritten(Lookup::size, '#');

WireEntry alice() {
  return {.user = u"ALICE", .string2 = u"STAFF", .string3 = u"TREE"};
}

WireEntry nobody() {
  return {.user = u"ALICE", .string3 = u"TREE", .word12 = 1};
}

const Outcome outcomes[] = {
    {"Answer",
     [](FakeServer& s, const FakeServer::Request& r) { s.reply_entry(r, alice()); },
     {1},
     0,
     "ALICE",
     "TREE"},
    {"Nobody",
     [](FakeServer& s, const FakeServer::Request& r) { s.reply_entry(r, nobody()); },
     {1},
     0,
     "",
     ""},
    {"NoTexts", [](FakeServer& s, const FakeServer::Request& r) { s.reply_entry(r, {}); }, {1}, 0, "", ""},
    {"NoEntry", [](FakeServer& s, const FakeServer::Request& r) { s.reply_no_entry(r); }, {1}, 0, "", ""},
    {"ErrorReply",
     [](FakeServer& s, const FakeServer::Request& r) { s.reply_error(r); },
     {0},
     2,
     unwritten,
     unwritten},
    {"WrongDigest",
     [](FakeServer& s, const FakeServer::Request& r) { s.reply_bad_digest(r); },
     {0},
     13,
     unwritten,
     unwritten},
    {"InterimReply",
     [](FakeServer& s, const FakeServer::Request& r) { s.reply_interim(r); },
     {},
     0,
     unwritten,
     unwritten},
    {"AnswerToNobody",
     [](FakeServer& s, const FakeServer::Request& r) { s.reply_packet(r, make_packet(0x83, r.id() + 1)); },
     {},
     0,
     unwritten,
     unwritten},
    {"Nothing", [](FakeServer&, const FakeServer::Request&) {}, {}, 0, unwritten, unwritten},
};

class AsyncOutcome : public SsoAsync, public testing::WithParamInterface<Outcome> {
 protected:
  // Lets the datagram arrive and the callback run once, with `first`.
  int deliver(int first) {
    lookup.start(somewhere);
    GetParam().reply(server, server.receive());
    TAVSetLastError(untouched);
    return loop.run(first);
  }
};

// A look-up that cannot start, and the code that its callback finds.
class FailedStart : public SsoTest {
 protected:
  void expect_failed(unsigned code) {
    TAVSetLastError(untouched);
    lookup.start(0x0a000001);
    EXPECT_EQ(lookup.outcomes, std::vector<int>{0});
    EXPECT_EQ(lookup.last_error, code);
    EXPECT_EQ(SSO_GetLastError(), code);
    EXPECT_EQ(lookup.user, Lookup::filled());
    EXPECT_TRUE(server.is_idle());
  }

  Lookup lookup;
};

}  // namespace

TEST_F(SsoAsync, SendsTheSameRequestAsABlockingLookupAndReturns) {
  lookup.start(somewhere);
  const auto request = server.receive();
  EXPECT_EQ(undigested(request.packet), lookup_packet(request.id(), 0x0a000001));
  EXPECT_TRUE(time.waits().empty());
  EXPECT_TRUE(lookup.outcomes.empty());
}

TEST_P(AsyncOutcome, IsToldToTheCallback) {
  deliver(0);
  EXPECT_EQ(lookup.outcomes, GetParam().outcomes);
  EXPECT_EQ(lookup.user_text(), GetParam().user);
  EXPECT_EQ(lookup.second_text(), GetParam().second);
  if (GetParam().outcomes == std::vector<int>{0}) {
    EXPECT_EQ(lookup.last_error, GetParam().last_error);
  }
}

TEST_P(AsyncOutcome, LeavesTheReadyCallbacksFirstArgumentAsItsResult) {
  EXPECT_EQ(deliver(-17), -17);
  EXPECT_EQ(loop.run(0x7fffffff), 0x7fffffff);
}

TEST_P(AsyncOutcome, IsToldOnce) {
  deliver(0);
  loop.run();
  loop.run();
  EXPECT_EQ(lookup.outcomes, GetParam().outcomes);
}

TEST_P(AsyncOutcome, LeavesAPendingLookupToEndLater) {
  lookup.start(somewhere);
  const auto request = server.receive();
  GetParam().reply(server, request);
  loop.run();
  server.reply_entry(request, user_at(somewhere, u"LATER"));
  loop.run();
  EXPECT_EQ(lookup.outcomes.size(), 1u);
  EXPECT_EQ(lookup.user_text(), GetParam().outcomes.empty() ? "LATER" : GetParam().user);
}

TEST_P(AsyncOutcome, NeverWaits) {
  deliver(0);
  EXPECT_TRUE(time.waits().empty());
}

INSTANTIATE_TEST_SUITE_P(All, AsyncOutcome, testing::ValuesIn(outcomes), ByName());

TEST_F(SsoAsync, ManyLookupsEndInTheOrderOfTheirAnswers) {
  std::deque<Lookup> lookups(50);
  std::vector<FakeServer::Request> requests;
  for (std::size_t i = 0; i < lookups.size(); ++i) {
    lookups[i].start(i);
    requests.push_back(server.receive());
  }
  std::vector<std::string> ended;
  for (Lookup& each : lookups)
    each.then = [&] { ended.push_back(each.user_text()); };
  std::vector<std::string> expected;
  for (std::size_t i = lookups.size(); i-- > 0;) {
    const std::string name = "USER" + std::to_string(i);
    expected.push_back(name);
    server.reply_entry(requests[i], user_at(i, std::u16string(name.begin(), name.end())));
  }
  EXPECT_EQ(loop.run_ready(), 50);
  EXPECT_EQ(ended, expected);
  EXPECT_EQ(lookups[49].user_text(), "USER49");
}

TEST_F(SsoAsync, AStormOfInterimRepliesEndsNothing) {
  lookup.start(somewhere);
  const auto request = server.receive();
  for (int i = 0; i < 500; ++i) {
    server.reply_interim(request);
    loop.run_ready();
  }
  EXPECT_TRUE(lookup.outcomes.empty());
  server.reply_entry(request, user_at(somewhere));
  loop.run_ready();
  EXPECT_EQ(lookup.outcomes, std::vector<int>{1});
}

TEST_F(SsoAsync, NothingToCompleteIsLastError14) {
  loop.run();
  EXPECT_EQ(TAVGetLastError(), 14u);
}

TEST_F(SsoAsync, WorksWheneverTheLibraryAndTheGatewayAreThere) {
  g_SsoReady = 0;
  lookup.start(somewhere);
  server.reply_entry(server.receive(), user_at(somewhere));
  loop.run_ready();
  EXPECT_EQ(lookup.outcomes, std::vector<int>{1});
  g_SsoReady = 1;
}

TEST_F(FailedStart, WithoutLibraryIsToldWith7BeforeTheCallReturns) {
  expect_failed(7);
}

TEST_F(FailedStart, WithoutGatewayIsToldWith11) {
  ASSERT_EQ(TAVInitialize(), 1);
  expect_failed(11);
}

TEST_F(FailedStart, WithAGatewayThatIsNotConfiguredIsToldWith11) {
  config.write_servers({server.configured()}, "127.9.9.9");
  ASSERT_NE(SSO_Init(), nullptr);
  expect_failed(11);
}

TEST_F(FailedStart, WithAGatewayToWhichNothingCanBeSentIsToldWith12) {
  config.write_servers({{"127.0.0.1", 0, "x"}}, "127.0.0.1");
  ASSERT_NE(SSO_Init(), nullptr);
  expect_failed(12);
}

TEST_F(FailedStart, LeavesNothingForExitToEnd) {
  config.write_servers({server.configured()}, "127.9.9.9");
  ASSERT_NE(SSO_Init(), nullptr);
  expect_failed(11);
  SSO_Exit();
  EXPECT_EQ(lookup.outcomes.size(), 1u);
}

TEST_F(SsoAsync, ANullCallbackCountsAsNone) {
  SSO_GetUserByAddrAsync(somewhere, lookup.user.data(), Lookup::size, nullptr, 0, nullptr, this);
  server.reply_entry(server.receive(), alice());
  EXPECT_EQ(loop.run_ready(), 1);
  EXPECT_EQ(lookup.user_text(), "ALICE");
}

TEST_F(SsoAsync, ANullCallbackCountsAsNoneWhereTheLookupFails) {
  SSO_GetUserByAddrAsync(somewhere, lookup.user.data(), Lookup::size, nullptr, 0, nullptr, this);
  server.reply_error(server.receive());
  EXPECT_EQ(loop.run_ready(), 1);
  g_SsoServer = inet_addr("127.9.9.9");
  SSO_GetUserByAddrAsync(somewhere, lookup.user.data(), Lookup::size, nullptr, 0, nullptr, this);
  EXPECT_EQ(TAVGetLastError(), 11u);
  EXPECT_EQ(lookup.user, Lookup::filled());
}
