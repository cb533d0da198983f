// Finding servers in the list, and what it hands on to them.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <tavlib/api/last_error.h>
#include <tavlib/servers/server_list.h>

#include <algorithm>
#include <type_traits>

#include "servers/sample_entry.h"
#include "servers/scripted_servers.h"
#include "support/config_file.h"
#include "support/oracle.h"

namespace {

using tavtest::FakeServer;
using tavtest::Manner;
using tavtest::ScriptedServers;
using tavtest::TestConfig;

static_assert(std::has_virtual_destructor_v<TAVServerList>);

constexpr unsigned untouched = 99;  // the last error before each call

class ServerList : public testing::Test {
 protected:
  ServerList() { TAVSetLastError(untouched); }

  unsigned long address(std::size_t index) { return peers[index].address_number(); }

  const unsigned long unknown = inet_addr("127.0.0.99");
  ScriptedServers peers{{"127.0.0.3", "127.0.0.1", "127.0.0.2"}};
  TestConfig config{peers.configured()};
  TAVServerList list;
  ServerInterface::ASyncRequest request;
};

TEST_F(ServerList, GivesAddressesInAscendingOrderAndZeroPastTheEnd) {
  EXPECT_EQ(list.IsValid(), 1);
  EXPECT_EQ(list.GetServer(0), inet_addr("127.0.0.1"));
  EXPECT_EQ(list.GetServer(1), inet_addr("127.0.0.2"));
  EXPECT_EQ(list.GetServer(2), inet_addr("127.0.0.3"));
  EXPECT_EQ(list.GetServer(3), 0U);
  EXPECT_EQ(list.GetServer(0xffffffffU), 0U);
  EXPECT_EQ(TAVGetLastError(), untouched);
}

// By the number that inet_addr yields, which on a little-endian host is not the order of the dotted form.
TEST(ServerListOrder, IsThatOfTheNumbers) {
  const TestConfig config({{"127.0.1.2", 9, ""}, {"127.0.2.1", 9, ""}, {"126.0.0.3", 9, ""}});
  TAVServerList list;
  std::vector<unsigned long> expected{inet_addr("127.0.1.2"), inet_addr("127.0.2.1"), inet_addr("126.0.0.3")};
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(list.GetServer(0), expected[0]);
  EXPECT_EQ(list.GetServer(1), expected[1]);
  EXPECT_EQ(list.GetServer(2), expected[2]);
}

TEST_F(ServerList, FindsAServerByItsAddress) {
  ASSERT_NE(list.FindByServer(address(0)), nullptr);
  EXPECT_EQ(list.FindByServer(address(0))->GetAddress(), address(0));
  EXPECT_EQ(list.FindByServer(unknown), nullptr);
  EXPECT_EQ(list.FindByServer(0), nullptr);
  EXPECT_EQ(TAVGetLastError(), untouched);
}

TEST_F(ServerList, FindsAServerByItsSocket) {
  for (std::size_t i = 0; i < 3; ++i) {
    const int socket = list.GetSocket(address(i));
    EXPECT_GE(socket, 0);
    EXPECT_EQ(list.FindBySocket(socket), list.FindByServer(address(i)));
  }
  EXPECT_EQ(list.FindBySocket(-1), nullptr);
  EXPECT_EQ(list.FindBySocket(0), nullptr);
}

TEST_F(ServerList, HasNoSocketForAnUnknownAddress) {
  EXPECT_EQ(list.GetSocket(unknown), -1);
  EXPECT_EQ(TAVGetLastError(), untouched);
}

TEST_F(ServerList, GivesThePassPhraseOfAServer) {
  EXPECT_STREQ(list.GetSecret(address(1)), "secret of 127.0.");
  EXPECT_EQ(TAVGetLastError(), untouched);
  EXPECT_EQ(list.GetSecret(unknown), nullptr);
  EXPECT_EQ(TAVGetLastError(), 11U);
}

TEST_F(ServerList, AsksTheServerNamedForItsVersion) {
  unsigned version = 0;
  EXPECT_EQ(list.QueryVersion(address(2), version, &request), 14U);
  peers[2].reply_version(peers[2].receive(), 7);
  EXPECT_EQ(list.FindByServer(address(2))->CompleteRequest(), &request);
  EXPECT_EQ(version, 7U);
  EXPECT_EQ(TAVGetLastError(), untouched);
}

TEST_F(ServerList, AnUnknownServersVersionIsElevenAndNoLastError) {
  unsigned version = 5;
  EXPECT_EQ(list.QueryVersion(unknown, version, &request), 11U);
  EXPECT_EQ(version, 5U);
  EXPECT_EQ(TAVGetLastError(), untouched);
}

TEST_F(ServerList, HandsAQueryOnWithItsArgumentsInOrder) {
  auto filter = tavtest::sample_record<_TAVENTRYW>();
  EXPECT_EQ(list.QueryEntry(1, 2, filter, 3, address(0), &request), 14U);
  const auto sent = peers[0].receive();
  EXPECT_EQ(sent.packet,
            tavtest::seal_reply(tavtest::query_packet(sent.id(), 1, 2, 3, tavtest::sample_on_wire()),
                                peers[0].passphrase()));
  EXPECT_EQ(TAVGetLastError(), untouched);
}

TEST_F(ServerList, AQueryToAnUnknownServerIsElevenAndNoLastError) {
  auto filter = tavtest::sample_record<_TAVENTRYW>();
  EXPECT_EQ(list.QueryEntry(1, 2, filter, 3, unknown, &request), 11U);
  EXPECT_EQ(TAVGetLastError(), untouched);
}

TEST_F(ServerList, AsksAServerToListenAndToStop) {
  EXPECT_EQ(list.Listen(0x1234, address(0)), 1);
  EXPECT_EQ(peers.last().code(), 4);
  EXPECT_EQ(tavtest::get_be16(peers.last().packet, 28), 0x1234);
  EXPECT_EQ(list.ListenStop(address(1)), 1);
  EXPECT_EQ(peers.last().code(), 5);
  EXPECT_EQ(peers.asked(), (std::vector<int>{3, 1}));
  EXPECT_EQ(TAVGetLastError(), untouched);
}

TEST_F(ServerList, AFailureToListenIsTheLastError) {
  for (const auto& [manner, code] :
       {std::pair{Manner::refuses, 2U}, std::pair{Manner::ignores, 4U}, std::pair{Manner::corrupts, 13U}}) {
    peers.set(0, manner);
    TAVSetLastError(untouched);
    EXPECT_EQ(list.Listen(80, address(0)), 0);
    EXPECT_EQ(TAVGetLastError(), code);
    TAVSetLastError(untouched);
    EXPECT_EQ(list.ListenStop(address(0)), 0);
    EXPECT_EQ(TAVGetLastError(), code);
  }
}

TEST_F(ServerList, ListeningOnAnUnknownServerIsElevenAndSendsNothing) {
  EXPECT_EQ(list.Listen(80, unknown), 0);
  EXPECT_EQ(TAVGetLastError(), 11U);
  TAVSetLastError(untouched);
  EXPECT_EQ(list.ListenStop(unknown), 0);
  EXPECT_EQ(TAVGetLastError(), 11U);
  EXPECT_TRUE(peers.time().waits().empty());
}

TEST_F(ServerList, MarksEveryServerAsUp) {
  for (std::size_t i = 0; i < 3; ++i)
    list.FindByServer(address(i))->SetCommDown();
  list.SetAllCommsUp();
  for (std::size_t i = 0; i < 3; ++i)
    EXPECT_EQ(list.FindByServer(address(i))->IsCommUp(), 1);
}

}  // namespace
