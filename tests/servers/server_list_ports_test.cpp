// The port of each configured server: its own, the machine-wide one, or none.

#include <netinet/in.h>

#include "servers/configured_list.h"
#include "support/fake_server.h"

namespace {

using tavtest::ConfiguredListTest;
using tavtest::FakeServer;
using Addresses = std::vector<std::string>;

/// A look at a server's port, which it keeps in network order.
class PortOf : public TAVServerInterface {
 public:
  static unsigned in(TAVServerInterface& server) { return ntohs(server.*(&PortOf::port)); }
};

class ServerListPorts : public ConfiguredListTest {
 protected:
  unsigned port(const char* address) { return PortOf::in(*server(address)); }

  /// A server at 127.0.0.2 with these values.
  TAVServerList& read_with(const std::vector<std::string>& values) {
    std::vector<std::string> lines{R"([tavlib\Addresses\127.0.0.2\])"};
    lines.insert(lines.end(), values.begin(), values.end());
    return read(lines);
  }
};

TEST_F(ServerListPorts, RequestsGoToTheEndpoint) {
  FakeServer peer("p", "127.0.0.2");
  config.write_servers({peer.configured()});
  read();
  ServerInterface::ASyncRequest request;
  unsigned version = 0;
  EXPECT_EQ(list->QueryVersion(peer.address_number(), version, &request), 14U);
  EXPECT_EQ(peer.receive().code(), 1);
}

struct Endpoint {
  const char* written;
  unsigned port;

  friend void PrintTo(const Endpoint& endpoint, std::ostream* out) { *out << endpoint.written; }
};

class ServerListEndpoint : public ServerListPorts, public testing::WithParamInterface<Endpoint> {};

TEST_P(ServerListEndpoint, CountsWithItsLowSixteenBits) {
  read_with({GetParam().written});
  ASSERT_EQ(list->IsValid(), 1);
  EXPECT_EQ(port("127.0.0.2"), GetParam().port);
}

INSTANTIATE_TEST_SUITE_P(Values, ServerListEndpoint,
                         testing::Values(Endpoint{"Endpoint=8080", 8080}, Endpoint{"Endpoint=73616", 8080},
                                         Endpoint{"Endpoint=65535", 65535}, Endpoint{"Endpoint=65536", 0},
                                         Endpoint{"Endpoint=0", 0}, Endpoint{"Endpoint=4294967295", 65535},
                                         Endpoint{R"(Endpoint="8080")", 8080}));

TEST_F(ServerListPorts, TheMachineWidePortServesThoseWithoutAnEndpoint) {
  config.write_fallback_port(4711);
  read({R"([tavlib\Addresses\127.0.0.2\])", R"(Passphrase="a")", R"([tavlib\Addresses\127.0.0.3\])",
        "Endpoint=9"});
  EXPECT_EQ(list->IsValid(), 1);
  EXPECT_EQ(port("127.0.0.2"), 4711U);
  EXPECT_EQ(port("127.0.0.3"), 9U);
}

TEST_F(ServerListPorts, TheMachineWidePortIsCutToItsLowSixteenBits) {
  config.write_fallback_port(73616);
  read_with({});
  EXPECT_EQ(port("127.0.0.2"), 8080U);
}

TEST_F(ServerListPorts, AServerWithoutAnyPortIsSkippedAndLaterOnesAreRead) {
  read({R"([tavlib\Addresses\127.0.0.2\])", R"(Passphrase="a")", R"([tavlib\Addresses\127.0.0.3\])",
        "Endpoint=9", R"([tavlib\Addresses\127.0.0.4\])", "Endpoint=", R"([tavlib\Addresses\127.0.0.5\])",
        "Endpoint=10"});
  EXPECT_EQ(list->IsValid(), 1);
  EXPECT_EQ(addresses(), (Addresses{"127.0.0.3", "127.0.0.5"}));
}

TEST_F(ServerListPorts, APortsKeyWithoutThePortIsNoFallback) {
  tavtest::write_file(config.machine_store(), "[SOFTWARE\\Kestrane\\Norvel\\Ports\\]\nKS-OTHER=9\n");
  read_with({R"(Passphrase="a")"});
  expect_nothing_usable();
}

TEST_F(ServerListPorts, ThePortsKeyIsReadFromTheMachinesStoreAlone) {
  tavtest::write_file(config.user_store(), "[SOFTWARE\\Kestrane\\Norvel\\Ports\\]\nKS-TAV=9\n");
  read({R"([tavlib\Addresses\127.0.0.2\])", R"(Passphrase="a")", R"([SOFTWARE\Kestrane\Norvel\Ports\])",
        "KS-TAV=9"});
  expect_nothing_usable();
}

TEST_F(ServerListPorts, WithoutAnyPortAnywhereNothingIsUsable) {
  read_with({R"(Passphrase="a")"});
  expect_nothing_usable();
}

}  // namespace
