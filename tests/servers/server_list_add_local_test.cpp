// Adding an entry where several servers count as local: only the first of those that are up is tried.

#include <gtest/gtest.h>
#include <tavlib/api/last_error.h>
#include <tavlib/servers/server_list.h>

#include "servers/sample_entry.h"
#include "servers/scripted_servers.h"
#include "support/config_file.h"

namespace {

using tavtest::FakeServer;
using tavtest::Manner;
using tavtest::ScriptedServers;
using tavtest::TestConfig;
using Asked = std::vector<int>;

/// A list that takes servers by hand: a configuration gives at most one local server.
class OpenList : public TAVServerList {
 public:
  void add(const FakeServer& peer, int is_local) {
    servers[peer.address_number()] =
        new TAVServerInterface(peer.address_number(), peer.port(), peer.passphrase().c_str(), is_local);
  }
};

/// Two local servers and one remote.
class ServerListLocal : public testing::Test {
 protected:
  ServerListLocal() {
    list.add(peers[0], 1);
    list.add(peers[1], 1);
    list.add(peers[2], 0);
  }

  int add() { return list.AddEntry(tavtest::sample_record<_TAVENTRYA>(), 0); }
  TAVServerInterface& server(std::size_t index) { return *list.FindByServer(peers[index].address_number()); }

  ScriptedServers peers{{"127.0.0.1", "127.0.0.2", "127.0.0.3"}};
  TestConfig config;
  OpenList list;
};

TEST_F(ServerListLocal, TheFirstLocalAndTheRemoteReceiveTheEntry) {
  EXPECT_EQ(add(), 2);
  EXPECT_EQ(peers.asked(), (Asked{1, 3}));
}

TEST_F(ServerListLocal, WhenTheFirstFailsTheSecondIsNotTried) {
  peers.set(0, Manner::refuses);
  EXPECT_EQ(add(), 1);
  EXPECT_EQ(peers.asked(), (Asked{1, 3}));
  EXPECT_EQ(server(0).IsCommUp(), 0);
  EXPECT_EQ(server(1).IsCommUp(), 1);
}

TEST_F(ServerListLocal, WhenTheFirstIsDownTheSecondIsTried) {
  server(0).SetCommDown();
  EXPECT_EQ(add(), 1);
  EXPECT_EQ(peers.asked(), (Asked{2, 3}));
}

TEST_F(ServerListLocal, WhenTheSecondIsDownThatCountsAsAServerDown) {
  server(1).SetCommDown();
  EXPECT_EQ(add(), 1);
  EXPECT_EQ(peers.asked(), (Asked{1, 3}));
}

TEST_F(ServerListLocal, WhenTheFirstLocalAndTheRemoteFailNobodyHasTheEntry) {
  peers.set(0, Manner::refuses);
  peers.set(2, Manner::ignores);
  TAVSetLastError(99);
  EXPECT_EQ(add(), 0);
  EXPECT_EQ(peers.asked(), (Asked{1, 3}));
  EXPECT_EQ(TAVGetLastError(), 99U);
}

}  // namespace
