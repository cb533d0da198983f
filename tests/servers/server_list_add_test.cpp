// Adding an entry to one server, or to all.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <tavlib/api/last_error.h>
#include <tavlib/servers/server_list.h>

#include "servers/sample_entry.h"
#include "servers/scripted_servers.h"
#include "support/config_file.h"
#include "support/oracle.h"

namespace {

using tavtest::long_entry;
using tavtest::Manner;
using tavtest::sample_record;
using tavtest::ScriptedServers;
using tavtest::TestConfig;
using Asked = std::vector<int>;

constexpr unsigned untouched = 99;  // the last error before each call

/// Three servers, of which the first is local.
template <typename Record>
class ServerListAdd : public testing::Test {
 protected:
  ServerListAdd() { TAVSetLastError(untouched); }

  int add(unsigned long address = 0) { return list.AddEntry(sample_record<Record>(), address); }
  unsigned long address(std::size_t index) { return peers[index].address_number(); }
  TAVServerInterface& server(std::size_t index) { return *list.FindByServer(address(index)); }
  std::vector<int> up() { return {server(0).IsCommUp(), server(1).IsCommUp(), server(2).IsCommUp()}; }
  void set_all(Manner manner) {
    for (std::size_t i = 0; i < 3; ++i)
      peers.set(i, manner);
  }

  ScriptedServers peers{{"127.0.0.1", "127.0.0.2", "127.0.0.3"}};
  TestConfig config{peers.configured()};
  TAVServerList list;
};

using Records = testing::Types<_TAVENTRYA, _TAVENTRYW>;
TYPED_TEST_SUITE(ServerListAdd, Records);

TYPED_TEST(ServerListAdd, ToOneServerReachesThatOneAlone) {
  EXPECT_EQ(this->add(this->address(1)), 2);
  EXPECT_EQ(TAVGetLastError(), 0U);
  EXPECT_EQ(this->peers.asked(), Asked{2});
  const auto& sent = this->peers.last();
  EXPECT_EQ(sent.packet, tavtest::seal_reply(tavtest::entry_packet(2, sent.id(), tavtest::sample_on_wire()),
                                             "secret of 127.0.0.2"));
}

TYPED_TEST(ServerListAdd, ToAnUnknownServerIsEleven) {
  EXPECT_EQ(this->add(inet_addr("127.0.0.99")), 0);
  EXPECT_EQ(TAVGetLastError(), 11U);
  EXPECT_TRUE(this->peers.asked().empty());
}

TYPED_TEST(ServerListAdd, ToOneServerThatFailsLeavesTheLastErrorAlone) {
  this->peers.set(1, Manner::refuses);
  EXPECT_EQ(this->add(this->address(1)), 0);
  EXPECT_EQ(TAVGetLastError(), untouched);
  EXPECT_EQ(this->up(), (std::vector<int>{1, 0, 1}));
}

TYPED_TEST(ServerListAdd, ToOneServerAsksItEvenWhenItIsDown) {
  this->server(1).SetCommDown();
  EXPECT_EQ(this->add(this->address(1)), 2);
  EXPECT_EQ(this->up(), (std::vector<int>{1, 0, 1}));
}

TYPED_TEST(ServerListAdd, ToAllReachesEachInAscendingOrder) {
  EXPECT_EQ(this->add(), 2);
  EXPECT_EQ(this->peers.asked(), (Asked{1, 2, 3}));
  EXPECT_EQ(TAVGetLastError(), 0U);
  EXPECT_EQ(this->up(), (std::vector<int>{1, 1, 1}));
}

TYPED_TEST(ServerListAdd, ToAllPassesAServerThatIsDownAndSaysSo) {
  this->server(1).SetCommDown();
  EXPECT_EQ(this->add(), 1);
  EXPECT_EQ(this->peers.asked(), (Asked{1, 3}));
  this->list.SetAllCommsUp();
  EXPECT_EQ(this->add(), 2);
}

TYPED_TEST(ServerListAdd, ToAllTakesAServerThatFailsDownAndGoesOn) {
  this->peers.set(1, Manner::refuses);
  EXPECT_EQ(this->add(), 1);
  EXPECT_EQ(this->peers.asked(), (Asked{1, 2, 3}));
  EXPECT_EQ(TAVGetLastError(), 2U);
  EXPECT_EQ(this->up(), (std::vector<int>{1, 0, 1}));
  EXPECT_EQ(this->add(), 1);
  EXPECT_EQ(this->peers.asked(), (Asked{1, 2, 3, 1, 3}));
}

TYPED_TEST(ServerListAdd, ToAllRemembersTheLastOfSeveralFailures) {
  this->peers.set(0, Manner::refuses);
  this->peers.set(1, Manner::ignores);
  EXPECT_EQ(this->add(), 1);
  EXPECT_EQ(TAVGetLastError(), 4U);
  EXPECT_EQ(this->up(), (std::vector<int>{0, 0, 1}));
}

TYPED_TEST(ServerListAdd, ToAllWithASuccessBeforeTheFailureIsStillASuccess) {
  this->peers.set(1, Manner::ignores);
  this->peers.set(2, Manner::corrupts);
  EXPECT_EQ(this->add(), 1);
  EXPECT_EQ(TAVGetLastError(), 13U);
}

TYPED_TEST(ServerListAdd, ToAllFailsWhenEveryServerDoesAndTakesThemDown) {
  this->set_all(Manner::refuses);
  EXPECT_EQ(this->add(), 0);
  EXPECT_EQ(TAVGetLastError(), untouched);
  EXPECT_EQ(this->up(), (std::vector<int>{0, 0, 0}));
}

TYPED_TEST(ServerListAdd, ToAllFailsWhenEveryServerIsDown) {
  for (std::size_t i = 0; i < 3; ++i)
    this->server(i).SetCommDown();
  EXPECT_EQ(this->add(), 0);
  EXPECT_EQ(TAVGetLastError(), untouched);
  EXPECT_TRUE(this->peers.asked().empty());
}

// The server itself stays up when an entry does not fit; the list takes it for a failure all the same.
TYPED_TEST(ServerListAdd, ToAllOfAnEntryThatDoesNotFitFailsEverywhere) {
  EXPECT_EQ(this->list.AddEntry(long_entry<TypeParam>(1000), 0), 0);
  EXPECT_EQ(TAVGetLastError(), untouched);
  EXPECT_TRUE(this->peers.time().waits().empty());
  EXPECT_EQ(this->up(), (std::vector<int>{0, 0, 0}));
}

TYPED_TEST(ServerListAdd, UsingAServerReturnsItsCodeAndSetsNoError) {
  const auto entry = sample_record<TypeParam>();
  EXPECT_EQ(this->list.AddEntryUsing(entry, &this->server(2)), 0U);
  EXPECT_EQ(this->peers.asked(), Asked{3});
  this->peers.set(2, Manner::refuses);
  EXPECT_EQ(this->list.AddEntryUsing(entry, &this->server(2)), 2U);
  EXPECT_EQ(this->list.AddEntryUsing(long_entry<TypeParam>(1000), &this->server(2)), 11U);
  EXPECT_EQ(TAVGetLastError(), untouched);
}

TYPED_TEST(ServerListAdd, ToAnEmptyListFails) {
  this->config.write("");
  TAVServerList empty;
  TAVSetLastError(untouched);
  EXPECT_EQ(empty.AddEntry(sample_record<TypeParam>(), 0), 0);
  EXPECT_EQ(TAVGetLastError(), untouched);
}

}  // namespace
