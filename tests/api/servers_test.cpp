// The list of configured servers and their sockets.

#include <arpa/inet.h>
#include <sys/socket.h>

#include <algorithm>

#include "api/api_fixture.h"

using namespace tavtest;

namespace {

class Servers : public ApiTest {
 protected:
  // Initialises with these servers, in this order.
  void configure(const std::vector<std::string>& addresses) {
    std::vector<ConfiguredServer> servers;
    for (const std::string& each : addresses)
      servers.push_back({each, 9, "x"});
    config.write_servers(servers);
    ASSERT_EQ(TAVInitialize(), 1);
    TAVSetLastError(untouched);
  }
};

std::uint16_t local_port(int socket) {
  sockaddr_in name{};
  socklen_t size = sizeof name;
  EXPECT_EQ(getsockname(socket, reinterpret_cast<sockaddr*>(&name), &size), 0);
  return name.sin_port;
}

}  // namespace

TEST_F(Servers, AreEnumeratedInAscendingOrderOfTheirNumbers) {
  const std::vector<std::string> names{"127.0.1.2", "127.0.2.1", "127.0.0.200", "127.0.0.1"};
  std::vector<unsigned long> expected;
  for (const std::string& name : names)
    expected.push_back(inet_addr(name.c_str()));
  std::sort(expected.begin(), expected.end());

  configure(names);
  std::vector<unsigned long> found(4);
  for (unsigned i = 0; i < 4; ++i)
    EXPECT_EQ(TAVEnumServers(i, &found[i]), 1);
  EXPECT_EQ(found, expected);
  EXPECT_EQ(TAVGetLastError(), untouched);
}

TEST_F(Servers, EndWith6AtTheFirstIndexPastTheLast) {
  configure({"127.0.0.1", "127.0.0.2"});
  unsigned long found = 5;
  EXPECT_EQ(TAVEnumServers(1, &found), 1);
  found = 5;
  EXPECT_TRUE(failed_with(6, TAVEnumServers(2, &found)));
  EXPECT_TRUE(failed_with(6, TAVEnumServers(4294967295u, &found)));
  EXPECT_EQ(found, 5u);
}

TEST_F(Servers, HaveTheSocketFromWhichTheirRequestsCome) {
  ASSERT_EQ(TAVInitialize(), 1);
  const int socket = TAVGetSocket(address());
  TAVASYNC async{};
  unsigned version = 0;
  ASSERT_EQ(TAVQueryVersionAs(address(), &version, &async), 0);
  EXPECT_EQ(server.receive().sender.sin_port, local_port(socket));
  EXPECT_EQ(TAVASyncStatus(&async, 1), 0);
}

TEST_F(Servers, HaveASocketEach) {
  configure({"127.0.0.1", "127.0.0.2"});
  const int first = TAVGetSocket(inet_addr("127.0.0.1"));
  const int second = TAVGetSocket(inet_addr("127.0.0.2"));
  EXPECT_GE(first, 0);
  EXPECT_GE(second, 0);
  EXPECT_NE(first, second);
}

TEST_F(Servers, UnknownOnesHaveNoSocketAndLeaveTheLastErrorUntouched) {
  configure({"127.0.0.1"});
  EXPECT_EQ(TAVGetSocket(inet_addr("127.0.0.2")), -1);
  EXPECT_EQ(TAVGetLastError(), untouched);
}
