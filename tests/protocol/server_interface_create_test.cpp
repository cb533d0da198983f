// Making and ending a transport.

#include <dirent.h>
#include <fcntl.h>
#include <sys/socket.h>

#include <cerrno>
#include <memory>
#include <type_traits>

#include "protocol/server_interface_fixture.h"
#include "support/allocation_faults.h"
#include "support/socket_faults.h"

namespace {

using tavtest::AllocationFaults;
using tavtest::Bytes;
using tavtest::FakeServer;
using tavtest::OpenTransport;
using tavtest::SocketFaults;
using tavtest::TransportTest;
using Request = ServerInterface::ASyncRequest;
using Calls = std::vector<std::string>;

static_assert(std::has_virtual_destructor_v<ServerInterface>);

std::size_t open_descriptors() {
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir("/proc/self/fd"), closedir);
  std::size_t count = 0;
  while (readdir(folder.get()) != nullptr)
    ++count;
  return count;
}

int socket_option(int socket, int option) {
  int value = -1;
  socklen_t size = sizeof value;
  EXPECT_EQ(getsockopt(socket, SOL_SOCKET, option, &value, &size), 0);
  return value;
}

using ServerInterfaceCreation = TransportTest;

TEST_F(ServerInterfaceCreation, OpensAnUnboundUdpSocketAndIsValid) {
  EXPECT_EQ(transport.IsValid(), 1);
  ASSERT_GE(transport.GetSocket(), 0);
  EXPECT_EQ(socket_option(transport.GetSocket(), SO_DOMAIN), AF_INET);
  EXPECT_EQ(socket_option(transport.GetSocket(), SO_TYPE), SOCK_DGRAM);
  EXPECT_EQ(transport.GetAddress(), server.address_number());
  EXPECT_TRUE(transport.requests.empty());
}

TEST_F(ServerInterfaceCreation, NeitherBindsNorConnects) {
  const SocketFaults record;
  OpenTransport made(server.address_number(), server.port(), secret);
  Request request;
  tavtest::load(request.packet, tavtest::make_packet(1, 0));
  EXPECT_EQ(made.StartRequest(&request), 14U);
  EXPECT_EQ(record.calls(), (Calls{"socket", "setsockopt", "sendto"}));
}

int receive_buffer_of(int socket) {
  int size = 0;
  socklen_t length = sizeof size;
  EXPECT_EQ(getsockopt(socket, SOL_SOCKET, SO_RCVBUF, &size, &length), 0);
  return size;
}

// The system may grant less, and counts in its own way.
TEST_F(ServerInterfaceCreation, AsksForAReceiveBufferOfOneMebibyte) {
  const int asked = 1048576;
  const int like_it = socket(AF_INET, SOCK_DGRAM, 0);
  ASSERT_EQ(setsockopt(like_it, SOL_SOCKET, SO_RCVBUF, &asked, sizeof asked), 0);
  EXPECT_EQ(receive_buffer_of(transport.GetSocket()), receive_buffer_of(like_it));
  close(like_it);
}

TEST_F(ServerInterfaceCreation, TakesARefusedReceiveBufferForNoFailure) {
  SocketFaults faults;
  faults.fail("setsockopt", ENOBUFS);
  errno = 0;
  OpenTransport made(server.address_number(), server.port(), secret);
  EXPECT_EQ(errno, 0);
  EXPECT_EQ(made.IsValid(), 1);
}

TEST_F(ServerInterfaceCreation, KeepsItsSocketFromProgramsThatTheHostStarts) {
  EXPECT_EQ(fcntl(transport.GetSocket(), F_GETFD), FD_CLOEXEC);
}

TEST_F(ServerInterfaceCreation, TakesThePortInHostOrderAndTheAddressAsItStands) {
  Request request;
  start(request);  // the datagram arrived at the server's own port, which receive() insists on
  const FakeServer elsewhere(secret, "127.0.0.77");
  OpenTransport other(elsewhere.address_number(), elsewhere.port(), secret);
  EXPECT_EQ(other.StartRequest(&request), 14U);
  EXPECT_FALSE(elsewhere.is_idle());
}

TEST_F(ServerInterfaceCreation, WithoutASocketIsInvalidAndHasNone) {
  SocketFaults faults;
  faults.fail("socket", EMFILE);
  OpenTransport broken(server.address_number(), server.port(), secret);
  EXPECT_EQ(broken.IsValid(), 0);
  EXPECT_EQ(broken.GetSocket(), -1);
  EXPECT_EQ(broken.GetAddress(), server.address_number());
}

TEST_F(ServerInterfaceCreation, WithoutMemoryForTheCipherClosesTheSocketAgain) {
  const std::size_t before = open_descriptors();
  const AllocationFaults faults(0);
  OpenTransport broken(server.address_number(), server.port(), secret);
  EXPECT_TRUE(faults.happened());
  EXPECT_EQ(broken.IsValid(), 0);
  EXPECT_EQ(broken.GetSocket(), -1);
  EXPECT_EQ(open_descriptors(), before);
}

TEST_F(ServerInterfaceCreation, AnInvalidTransportAnswersTwelveAndTouchesNothing) {
  SocketFaults faults;
  faults.fail("socket", EMFILE);
  OpenTransport broken(server.address_number(), server.port(), secret);
  Request request;
  tavtest::load(request.packet, tavtest::make_packet(1, 0x55667788));
  request.status = 99;
  request.registeredId = 77;
  EXPECT_EQ(broken.StartRequest(&request), 12U);
  EXPECT_EQ(tavtest::memory_of(request.packet, 100), tavtest::make_packet(1, 0x55667788));
  EXPECT_EQ(request.status, 99U);
  EXPECT_EQ(request.registeredId, 77U);
  EXPECT_EQ(request.owner, nullptr);
}

TEST_F(ServerInterfaceCreation, AnInvalidTransportReadsAndWaitsForNothing) {
  SocketFaults faults;
  faults.fail("socket", EMFILE);
  OpenTransport broken(server.address_number(), server.port(), secret);
  Request request;
  _TAVPACKET packet{};
  EXPECT_EQ(broken.CompleteRequest(), nullptr);
  EXPECT_EQ(broken.AbandonRequest(&request), 0U);
  EXPECT_EQ(broken.TransactServer(&packet, sizeof packet, 1), 12U);
  EXPECT_EQ(tavtest::memory_of(packet), Bytes(sizeof packet));
}

TEST_F(ServerInterfaceCreation, ANullSecretIsTheEmptyOne) {
  FakeServer open("");
  OpenTransport made(open.address_number(), open.port(), nullptr);
  Request request;
  tavtest::load(request.packet, tavtest::make_packet(1, 0));
  EXPECT_EQ(made.StartRequest(&request), 14U);
  EXPECT_EQ(open.receive().code(), 1);  // receive() has verified digest and cipher
}

using ServerInterfaceEnd = TransportTest;

TEST_F(ServerInterfaceEnd, LeavesRequestsInFlightAtPending) {
  auto ending = std::make_unique<OpenTransport>(server.address_number(), server.port(), secret);
  Request first;
  Request second;
  for (Request* request : {&first, &second}) {
    tavtest::load(request->packet, tavtest::make_packet(1, 0));
    ASSERT_EQ(ending->StartRequest(request), 14U);
  }
  ending.reset();
  EXPECT_EQ(first.status, 14U);
  EXPECT_EQ(second.status, 14U);
}

TEST_F(ServerInterfaceEnd, ClosesTheSocket) {
  const std::size_t before = open_descriptors();
  { const OpenTransport passing(server.address_number(), server.port(), secret); }
  EXPECT_EQ(open_descriptors(), before);
}

// The program starts anew for this, so no request has been sent in it.
TEST(RequestIdDeathTest, TheFirstInAProcessIsOneAndAllServersShareTheCount) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto first_ids = [] {
    const FakeServer one("a");
    const FakeServer two("b", "127.0.0.2");
    OpenTransport to_one(one.address_number(), one.port(), "a");
    OpenTransport to_two(two.address_number(), two.port(), "b");
    Request requests[4];
    for (Request& request : requests)
      tavtest::load(request.packet, tavtest::make_packet(1, 0));
    to_one.StartRequest(&requests[0]);
    to_two.StartRequest(&requests[1]);
    to_two.StartRequest(&requests[2]);
    to_one.StartRequest(&requests[3]);
    for (std::uint32_t i = 0; i < 4; ++i) {
      if (requests[i].registeredId != i + 1) return 1;
    }
    return 0;
  };
  EXPECT_EXIT(std::_Exit(first_ids()), testing::ExitedWithCode(0), "");
}

}  // namespace
