// The blocking look-up: who is at an address?

#include <arpa/inet.h>

#include "api/sso_fixture.h"

using namespace tavtest;

namespace {

class SsoLookup : public RunningSsoTest {
 protected:
  int look_up() { return SSO_GetUserByAddr(somewhere, user.data(), 16, second.data(), 16); }

  std::array<char, 16> user = Lookup::filled();
  std::array<char, 16> second = Lookup::filled();
};

class SsoLookupWithoutLayer : public SsoTest {};

struct Failing {
  const char* name;
  void (FakeServer::*reply)(const FakeServer::Request&);
  unsigned code;
};

void PrintTo(const Failing& failing, std::ostream* out) {
  *out << failing.name;
}

class FailingLookup : public SsoLookup, public testing::WithParamInterface<Failing> {};

}  // namespace

TEST_F(SsoLookup, AsksWithTheAddressAsTheOnlyFilter) {
  FakeServer::Request request;
  answer_next_wait([&](const auto& received) { server.reply_no_entry(request = received); });
  EXPECT_EQ(look_up(), 1);
  EXPECT_EQ(undigested(request.packet), lookup_packet(request.id(), 0x0a000001));
  EXPECT_TRUE(server.is_idle());
  EXPECT_EQ(time.timeouts(), std::vector<long long>{300'000'000});
}

TEST_F(SsoLookup, DeliversTheUserAndTheThirdText) {
  answer_next_wait([this](const auto& request) { server.reply_entry(request, user_at(somewhere)); });
  EXPECT_EQ(look_up(), 1);
  EXPECT_STREQ(user.data(), "ALICE");
  EXPECT_STREQ(second.data(), "TREE");
}

TEST_F(SsoLookup, OfAnAddressWithNoEntrySucceedsWithEmptyTexts) {
  answer_next_wait([this](const auto& request) { server.reply_no_entry(request); });
  EXPECT_EQ(look_up(), 1);
  EXPECT_STREQ(user.data(), "");
  EXPECT_STREQ(second.data(), "");
}

TEST_F(SsoLookup, OfAnAddressWithNobodySucceedsWithEmptyTexts) {
  WireEntry nobody = user_at(somewhere);
  nobody.word12 = 0x80000000;
  answer_next_wait([&](const auto& request) { server.reply_entry(request, nobody); });
  EXPECT_EQ(look_up(), 1);
  EXPECT_STREQ(user.data(), "");
  EXPECT_STREQ(second.data(), "");
}

TEST_F(SsoLookup, AnEntryWithoutTextsGivesEmptyTexts) {
  answer_next_wait([this](const auto& request) { server.reply_entry(request, {.address = somewhere}); });
  EXPECT_EQ(look_up(), 1);
  EXPECT_STREQ(user.data(), "");
  EXPECT_STREQ(second.data(), "");
}

TEST_F(SsoLookup, StartsFromAClearFilterEachTime) {
  FakeServer::Request request;
  time.script({[this] { server.reply_entry(server.receive(), user_at(somewhere)); },
               [&] { server.reply_no_entry(request = server.receive()); }});
  ASSERT_EQ(look_up(), 1);
  EXPECT_EQ(g_SsoEntry.address, somewhere);
  ASSERT_EQ(SSO_GetUserByAddr(0xc0a80001, nullptr, 0, nullptr, 0), 1);
  EXPECT_EQ(undigested(request.packet), lookup_packet(request.id(), 0xc0a80001));
}

TEST_F(SsoLookup, TakesTheLow32BitsOfTheAddress) {
  FakeServer::Request request;
  answer_next_wait([&](const auto& received) { server.reply_no_entry(request = received); });
  EXPECT_EQ(SSO_GetUserByAddr(0xfffffffful, user.data(), 16, second.data(), 16), 1);
  EXPECT_EQ(asked(request), 0xffffffffu);
}

TEST_F(SsoLookup, WaitsThroughInterimReplies) {
  std::optional<FakeServer::Request> request;
  std::vector<std::function<void()>> steps(100, [&] {
    if (!request) request = server.receive();
    server.reply_interim(*request);
  });
  steps.push_back([&] { server.reply_entry(*request, user_at(somewhere)); });
  time.script(steps);
  EXPECT_EQ(look_up(), 1);
  EXPECT_STREQ(user.data(), "ALICE");
  EXPECT_EQ(time.waits().size(), 101u);
}

TEST_P(FailingLookup, FailsWithTheQuerysErrorAndWritesNothing) {
  if (GetParam().reply != nullptr)
    answer_next_wait([this](const auto& request) { (server.*GetParam().reply)(request); });
  EXPECT_TRUE(failed_with(GetParam().code, look_up()));
  EXPECT_EQ(user, Lookup::filled());
  EXPECT_EQ(second, Lookup::filled());
}

INSTANTIATE_TEST_SUITE_P(All, FailingLookup,
                         testing::Values(Failing{"ErrorReply", &FakeServer::reply_error, 2},
                                         Failing{"WrongDigest", &FakeServer::reply_bad_digest, 13},
                                         Failing{"NoReply", nullptr, 4}),
                         ByName());

TEST_F(SsoLookup, OfAGatewayThatIsNotConfiguredFailsWith11) {
  g_SsoServer = inet_addr("127.9.9.9");
  EXPECT_TRUE(failed_with(11, look_up()));
  EXPECT_EQ(user, Lookup::filled());
}

TEST_F(SsoLookupWithoutLayer, FailsWith7WhileNoGatewayIsKnown) {
  EXPECT_TRUE(failed_with(7, SSO_GetUserByAddr(1, nullptr, 0, nullptr, 0)));
  ASSERT_EQ(TAVInitialize(), 1);
  EXPECT_TRUE(failed_with(7, SSO_GetUserByAddr(1, nullptr, 0, nullptr, 0)));
  EXPECT_TRUE(server.is_idle());
}

TEST_F(SsoLookupWithoutLayer, FailsWith7WhenTheGatewayIsNumberZero) {
  config.write_servers({server.configured()}, "0.0.0.0");
  ASSERT_NE(SSO_Init(), nullptr);
  EXPECT_TRUE(failed_with(7, SSO_GetUserByAddr(1, nullptr, 0, nullptr, 0)));
}

TEST_F(SsoLookupWithoutLayer, SetsNoErrorWhenTheGatewayIsKnownAndTheLayerIsDown) {
  ASSERT_NE(SSO_Init(), nullptr);
  SSO_Exit();
  EXPECT_EQ(g_SsoServer, address());
  TAVSetLastError(untouched);
  char user[2] = "#";
  EXPECT_EQ(SSO_GetUserByAddr(1, user, 2, user, 2), 0);
  EXPECT_EQ(TAVGetLastError(), untouched);
  EXPECT_STREQ(user, "#");
}

TEST_F(SsoLookupWithoutLayer, FailsWith12WhenNothingCanBeSent) {
  config.write_servers({{"127.0.0.1", 0, "x"}}, "127.0.0.1");
  ASSERT_NE(SSO_Init(), nullptr);
  EXPECT_TRUE(failed_with(12, SSO_GetUserByAddr(1, nullptr, 0, nullptr, 0)));
}

TEST_F(SsoLookupWithoutLayer, FailsWith7WhenTheLibraryWasExitedBehindTheLayersBack) {
  ASSERT_NE(SSO_Init(), nullptr);
  TAVExit();
  EXPECT_TRUE(failed_with(7, SSO_GetUserByAddr(1, nullptr, 0, nullptr, 0)));
}
