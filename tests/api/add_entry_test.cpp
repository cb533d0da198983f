// Adding an entry on every server.

#include <memory>

#include "api/api_fixture.h"

using namespace tavtest;

namespace {

using Replies = void (FakeServer::*)(const FakeServer::Request&);

class AddEntry : public ApiTest {
 protected:
  AddEntry() {
    config.write_servers({server.configured(), remote.configured()});
    EXPECT_EQ(TAVInitialize(), 1);
    TAVSetLastError(untouched);
    entry.user = user;
    entry.address = 0x0a000001;
  }

  // In the waits that follow, the server on this host and then the remote one reply.
  void script(Replies local_reply, Replies remote_reply) {
    time.script({[this, local_reply] { (server.*local_reply)(take(server)); },
                 [this, remote_reply] { (remote.*remote_reply)(take(remote)); }});
  }

  FakeServer::Request take(FakeServer& from) {
    const auto request = from.receive();
    packets.push_back(undigested(request.packet));
    ids.push_back(request.id());
    return request;
  }

  FakeServer remote{"remote secret", "127.0.0.2"};
  char user[6] = "alice";
  _TAVENTRYA entry{};
  std::vector<Bytes> packets;
  std::vector<std::uint32_t> ids;
};

constexpr Replies accepts = &FakeServer::reply_status;
constexpr Replies refuses = &FakeServer::reply_error;
constexpr Replies forges = &FakeServer::reply_bad_digest;

}  // namespace

TEST_F(AddEntry, AcceptedByEveryServerGives2) {
  script(accepts, accepts);
  EXPECT_EQ(TAVAddEntryA(&entry), 2);
  const WireEntry expected{.user = u"alice", .address = 0x0a000001};
  ASSERT_EQ(packets.size(), 2u);
  EXPECT_EQ(packets[0], entry_packet(2, ids[0], expected));
  EXPECT_EQ(packets[1], entry_packet(2, ids[1], expected));
  EXPECT_EQ(time.timeouts(), std::vector<long long>(2, 15'000'000));
}

TEST_F(AddEntry, TakesAWideEntry) {
  wchar_t name[] = L"bob";
  _TAVENTRYW wide{};
  wide.user = name;
  wide.word14 = 14;
  script(accepts, accepts);
  EXPECT_EQ(TAVAddEntryW(&wide), 2);
  EXPECT_EQ(packets.at(1), entry_packet(2, ids.at(1), {.user = u"bob", .word14 = 14}));
}

TEST_F(AddEntry, AcceptedBySomeGives1WithTheLastFailure) {
  script(refuses, accepts);
  EXPECT_EQ(TAVAddEntryA(&entry), 1);
  EXPECT_EQ(TAVGetLastError(), 2u);
}

TEST_F(AddEntry, AcceptedByTheFirstOnlyGives1WithTheLastFailure) {
  script(accepts, forges);
  EXPECT_EQ(TAVAddEntryW(std::make_unique<_TAVENTRYW>().get()), 1);
  EXPECT_EQ(TAVGetLastError(), 13u);
}

TEST_F(AddEntry, AcceptedByNobodyGives0AndLeavesTheLastErrorUntouched) {
  EXPECT_EQ(TAVAddEntryA(&entry), 0);
  EXPECT_EQ(TAVGetLastError(), untouched);
}

TEST_F(AddEntry, PassesAServerThatFailedOverUntilTheNextInitialise) {
  script(refuses, accepts);
  ASSERT_EQ(TAVAddEntryA(&entry), 1);
  time.script({[this] { remote.reply_status(remote.receive()); }});
  EXPECT_EQ(TAVAddEntryA(&entry), 1);
  EXPECT_TRUE(server.is_idle());

  ASSERT_EQ(TAVInitialize(), 1);
  script(accepts, accepts);
  EXPECT_EQ(TAVAddEntryA(&entry), 2);
}

// The first server lets the add wait twice, the second one once.
TEST_F(AddEntry, WaitsFifteenSecondsWhateverTimeoutIsSetBeforeItAndMeanwhile) {
  EXPECT_EQ(TAVSetTimeout(1), 1);
  time.script({[this] {
    EXPECT_EQ(TAVSetTimeout(600), 1);
    server.reply_interim(server.receive());
  }});
  EXPECT_EQ(TAVAddEntryA(&entry), 0);
  EXPECT_EQ(time.timeouts(), std::vector<long long>(3, 15'000'000));
}

TEST_F(AddEntry, ThatDoesNotFitARequestGives0AndSendsNothing) {
  std::string big(2000, 'u');
  entry.user = big.data();
  EXPECT_EQ(TAVAddEntryA(&entry), 0);
  EXPECT_TRUE(server.is_idle());
  EXPECT_TRUE(remote.is_idle());
}
